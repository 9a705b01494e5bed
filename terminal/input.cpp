// Line input: one editable field per window, kept in the window's record, one call of t_InputEdit per key.
#include "display/display.h"
#include "library/library.h"
#include "shell/events.h"
#include "shell/platform.h"
#include "shell/shell.h"
#include "terminal/terminal.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <climits>
#include <string>

namespace {

std::string scalartext(Int code) {
    const bool scalar = code >= 0 && code <= 0x10FFFF && !(code >= 0xD800 && code <= 0xDFFF);
    return scalar ? stringfromscalar(code) : std::string(1, '\0');
}

bool digit(Int code) {
    return code >= '0' && code <= '9';
}

// The field's text printed from its first cell in mode 4, so that control codes show as letters.
void showfield(uint8_t window, std::string_view text) {
    t_Window& w = t_WindowTable[window];
    w.TextHpos = w.InputHpos;
    w.TextDisplayMode = 4;
    t_Print(window, text);
    w.TextDisplayMode = 0;
}

// The code a filter lets into the field, or -1.
Int filtered(const t_Window& w, Int code) {
    const std::string& s = w.InputString;
    const Int pos = w.InputCursorPos;
    switch (w.InputMode) {
    case 2:
        return digit(code) || (code == '-' && pos == 0) ? code : -1;
    case 3: {
        code = loweredasc(code);
        if (digit(code)) return code;
        if (code == '.' || code == ',') return s.find(',') == std::string::npos ? ',' : -1;
        if (code == 'e') return s.find('e') == std::string::npos ? code : -1;
        if (code == '-') return pos == 0 || charatposition(s, pos) == "e" ? code : -1;
        return -1;
    }
    case 4:
        if (digit(code)) return code;
        return code == '-' && pos > 0 && s.find('-') == std::string::npos ? code : -1;
    default:
        return code == 0 ? -1 : code;
    }
}

void wordright(t_Window& w) {
    const Int n = charactercount(w.InputString);
    if (w.InputCursorPos >= n) return;
    ++w.InputCursorPos;
    while (w.InputCursorPos < n && charatposition(w.InputString, w.InputCursorPos) != " ") ++w.InputCursorPos;
}

void wordleft(t_Window& w) {
    if (w.InputCursorPos <= 0) return;
    --w.InputCursorPos;
    while (w.InputCursorPos > 0 && charatposition(w.InputString, w.InputCursorPos) != " ") --w.InputCursorPos;
}

// Up to three decimal digits typed after Ctrl-^; the key that ends them is consumed.
void compose(uint8_t window) {
    Int value = 0;
    for (int i = 0; i < 3; ++i) {
        const Int code = ascfromstring(t_WaitKey(window));
        if (!digit(code)) {
            if (i == 0) return;
            break;
        }
        value = value * 10 + (code - '0');
    }
    const Int lowest = t_WindowTable[window].InputMode == 1 ? 1 : 32;
    if (value >= lowest && value <= 255) t_InputInsert(window, value);
}

// Pasted text goes to the key queue, but only as much as the field has room for: a clipboard of
// megabytes would otherwise queue an event per character and keep the program busy for minutes.
void paste(uint8_t window, Int length) {
    const t_Window& w = t_WindowTable[window];
    const std::string line = firstline(t_TextPasteEncode(pasteboardstring()));
    const Int room =
        std::max<Int>(0, std::min(w.InputMaxCharacters, w.TextLastColumn - w.InputHpos) - length);
    const std::string taken = midstring(line, 1, room);
    if (taken.size() < line.size())
        debuglog("t_InputEdit: Pasted text of " + std::to_string(line.size()) + " bytes cut to the " +
                 std::to_string(room) + " characters the field has room for.");
    t_PostKeyString(taken);
}

} // namespace

std::string t_TextPasteEncode(std::string_view text) {
    const std::string clean = cleanutf8(text);
    const auto* bytes = reinterpret_cast<const uint8_t*>(clean.data());
    const auto length = static_cast<int32_t>(std::min<size_t>(clean.size(), INT32_MAX));
    std::string out;
    out.reserve(clean.size());
    for (int32_t i = 0; i < length;) {
        const int32_t start = i;
        UChar32 scalar;
        U8_NEXT(bytes, i, length, scalar);
        if (scalar > 255) {
            const Text hex = hexfrom16(scalar & 0xFFFF);
            out.push_back('\x1b');
            out.append(hex.Elements.begin(), hex.Elements.end());
            out.push_back('\x1d');
        } else if (scalar == 10) {
            out.push_back('\r');
        } else {
            out.append(clean, static_cast<size_t>(start), static_cast<size_t>(i - start));
        }
    }
    return out;
}

std::string t_TextCopyDecode(std::string_view text) {
    std::string s(text);
    size_t from = 0;
    for (;;) {
        const size_t esc = s.find('\x1b', from);
        if (esc == std::string::npos) break;
        const size_t gs = s.find('\x1d', esc + 1);
        // An ESC without a GS behind it ends the conversion; the rest stays as it is.
        if (gs == std::string::npos) break;
        Int value = 0;
        for (size_t i = esc + 1; i < gs && t_HexValue[static_cast<uint8_t>(s[i])] >= 0; ++i) {
            value = value * 16 + t_HexValue[static_cast<uint8_t>(s[i])];
            if (value > 0x10FFFF) value = 0x110000; // no scalar, however many digits follow
        }
        s.replace(esc, gs - esc + 1, scalartext(value));
        // Each replacement is shorter than its group, so going on from here ends.
        from = esc;
    }
    return s;
}

std::string t_InputForm(uint8_t window, std::string_view prompt, std::string_view defaultText, bool showOnly,
                        Int mode, Int maximum) {
    if (!t_TextGuard(window, "t_InputForm")) return {};
    t_Window& w = t_WindowTable[window];
    w.TextDisplayMode = 4;
    t_Print(window, prompt);
    w.TextDisplayMode = 0;
    w.InputHpos = w.TextHpos;
    w.InputVpos = w.TextVpos;
    w.InputMode = mode;
    w.InputMaxCharacters = maximum;
    if (maximum < 1)
        w.InputString.clear();
    else if (charactercount(defaultText) > maximum)
        w.InputString = midstring(defaultText, 1, maximum);
    else
        w.InputString = std::string(defaultText);
    w.InputFinished = false;
    w.InputCursorPos = charactercount(w.InputString);
    t_Print(window, w.InputString);
    if (showOnly) return w.InputString;
    Int code = 0;
    do {
        t_InputEdit(window, 31);
        code = ascfromstring(t_WaitKey(window));
        t_InputEdit(window, code);
    } while (code != 13 && code != 27);
    t_Cr(window);
    return w.InputString;
}

void t_InputEdit(uint8_t window, Int code) {
    if (!t_TextGuard(window, "t_InputEdit")) return;
    t_Window& w = t_WindowTable[window];
    const Int n = charactercount(w.InputString);
    w.TextVpos = w.InputVpos;
    w.TextHpos = w.InputHpos + w.InputCursorPos;
    switch (code) {
    case 0:
        showfield(window, w.InputString);
        w.TextHpos = w.InputHpos + w.InputCursorPos;
        break;
    case 1:
    case 2:
    case 11:
    case 18:
        w.InputCursorPos = 0;
        break;
    case 3:
    case 5:
    case 6:
    case 10:
        w.InputCursorPos = n;
        break;
    case 4:
        wordright(w);
        break;
    case 7:
        if (w.InputCursorPos < n)
            w.InputString = midstring(w.InputString, 1, w.InputCursorPos) +
                            fromposition(w.InputString, w.InputCursorPos + 2);
        showfield(window, w.InputString + " ");
        break;
    case 8:
        --w.InputCursorPos;
        break;
    case 12:
        setpasteboardstring(t_TextCopyDecode(w.InputString));
        break;
    case 13:
        w.InputFinished = true;
        break;
    case 19:
        wordleft(w);
        break;
    case 21:
        ++w.InputCursorPos;
        break;
    case 22:
        paste(window, n);
        break;
    case 24: {
        w.InputString = fromposition(w.InputString, w.InputCursorPos + 1);
        w.InputCursorPos = 0;
        showfield(window, padstring(w.InputString, "", n));
        break;
    }
    case 26:
        w.InputString.clear();
        w.InputCursorPos = 0;
        w.TextHpos = w.InputHpos;
        t_PrintSpc(window, n);
        break;
    case 27:
        w.InputString.clear();
        w.InputFinished = false;
        w.TextHpos = w.InputHpos;
        t_Print(window, filledbytes(' ', n));
        break;
    case 30:
        compose(window);
        break;
    case 31:
        w.TextHpos = w.InputHpos + w.InputCursorPos;
        break;
    case 127:
        if (w.InputCursorPos > 0) {
            w.InputString = midstring(w.InputString, 1, w.InputCursorPos - 1) +
                            fromposition(w.InputString, w.InputCursorPos + 1);
            --w.InputCursorPos;
        }
        showfield(window, w.InputString + " ");
        break;
    case 9:
    case 14:
    case 15:
    case 16:
    case 17:
    case 20:
    case 23:
    case 25:
    case 28:
    case 29:
        break;
    default:
        if (code >= 0) t_InputInsert(window, code);
        break;
    }
    const Int length = charactercount(w.InputString);
    if (w.InputCursorPos < 0) w.InputCursorPos = 0;
    if (w.InputCursorPos > length) w.InputCursorPos = length;
}

void t_InputInsert(uint8_t window, Int code) {
    if (!t_TextGuard(window, "t_InputInsert")) return;
    t_Window& w = t_WindowTable[window];
    const Int n = charactercount(w.InputString);
    // The field never reaches the area's last column, so the cursor always has a cell behind the text.
    if (w.InputHpos + n >= w.TextLastColumn) return;
    if (n >= w.InputMaxCharacters) return;
    code = filtered(w, code);
    if (code < 0) return;
    w.InputString = midstring(w.InputString, 1, w.InputCursorPos) + scalartext(code) +
                    fromposition(w.InputString, w.InputCursorPos + 1);
    ++w.InputCursorPos;
    showfield(window, w.InputString);
}
