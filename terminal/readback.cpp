// Work on the text block as a grid of cells: read the screen back as text, invert a rectangle, draw a
// rule out of a line symbol.
#include "display/display.h"
#include "library/library.h"
#include "shell/shell.h"
#include "terminal/terminal.h"

#include <string>
#include <vector>

namespace {

// A symbol reads back as the character of the same number.
void appendsymbol(std::string& out, uint8_t symbol) {
    if (symbol < 0x80) {
        out.push_back(static_cast<char>(symbol));
    } else {
        out.push_back(static_cast<char>(0xC0 | (symbol >> 6)));
        out.push_back(static_cast<char>(0x80 | (symbol & 0x3F)));
    }
}

// Lines split at byte 13 whatever the separator was; trailing blanks and trailing empty lines go.
std::string tidy(const std::string& raw) {
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < raw.size()) {
        size_t end = raw.find('\r', start);
        if (end == std::string::npos) end = raw.size();
        lines.push_back(raw.substr(start, end - start));
        start = end + 1;
    }
    if (lines.empty()) lines.emplace_back();
    for (std::string& line : lines) line.erase(line.find_last_not_of(' ') + 1);
    while (lines.size() >= 2 && lines.back().empty()) lines.pop_back();
    std::string out;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (i > 0) out.push_back('\r');
        out += lines[i];
    }
    if (wellformedutf8(out)) return out;
    return stringfrombytes(Text{std::vector<uint8_t>(out.begin(), out.end())});
}

} // namespace

std::string t_GetScreen(uint8_t window, std::string_view separator) {
    // A copy from the menu runs on the main thread while the program thread prints or makes the window
    // anew: the lock keeps both still while the grid is checked against the memory and read.
    std::lock_guard<std::mutex> lock(t_WindowShapeLock);
    if (!t_TextGuard(window, "t_GetScreen")) return {};
    const t_Window& w = t_WindowTable[window];
    const Int start = w.TextMemoryStart, end = w.TextMemoryEnd, width = w.TextWidth, height = w.TextHeight;
    const Int half = (end - start + 1) / 2;
    const bool inMemory = start >= 0 && width >= 0 && height >= 0 && width <= 0x10000 && height <= 0x10000 &&
                          start + width * height <= static_cast<Int>(t_VideoMemory.size());
    if (width * height > half || !inMemory) {
        // A guard and log line of our own: the planes are read by cell, so a grid larger than its block
        // would read past it.
        debuglog("t_GetScreen: Window #" + std::to_string(window) + " text block smaller than its grid.");
        return {};
    }
    std::string raw;
    raw.reserve(static_cast<size_t>(height * (width + static_cast<Int>(separator.size()))));
    const uint8_t* symbols = t_VideoMemory.data() + start;
    for (Int y = 0; y < height; ++y) {
        for (Int x = 0; x < width; ++x) appendsymbol(raw, symbols[x + width * y]);
        raw += separator;
    }
    if (separator.empty()) return raw;
    return tidy(raw);
}

void t_InvertRect(uint8_t window, Int left, Int top, Int right, Int bottom) {
    if (!t_TextGuard(window, "t_InvertRect")) return;
    t_Window& w = t_WindowTable[window];
    if (!(1 <= left && left <= right && right <= w.TextWidth && 1 <= top && top <= bottom &&
          bottom <= w.TextHeight))
        return;
    const Int half = (w.TextMemoryEnd - w.TextMemoryStart + 1) / 2;
    // A guard and log line of our own, as in t_GetScreen.
    if (w.TextWidth * w.TextHeight > half) {
        debuglog("t_InvertRect: Window #" + std::to_string(window) + " text block smaller than its grid.");
        return;
    }
    const bool inverse = w.TextInverse;
    w.TextInverse = true;
    for (Int y = top; y <= bottom; ++y)
        for (Int x = left; x <= right; ++x) {
            const Int cell = w.TextMemoryStart + (x - 1) + w.TextWidth * (y - 1);
            t_PrintSymbol(window, t_VideoMemory[static_cast<size_t>(cell)],
                          t_VideoMemory[static_cast<size_t>(cell + half)], x, y);
        }
    w.TextInverse = inverse;
}

void t_TextHline(uint8_t window, Int fromColumn, Int toColumn, Int line, uint8_t symbol) {
    if (!t_TextGuard(window, "t_TextHline")) return;
    const t_Window& w = t_WindowTable[window];
    if (toColumn < fromColumn) return;
    // Our choice, not the plain column loop: the range is clamped to one cell past each side of the
    // grid. Cells outside are refused by the plotter one by one, so a huge range would only hold the
    // program thread and flood the log; the edge cells still log their refusal.
    if (fromColumn < 0) fromColumn = 0;
    if (toColumn > w.TextWidth + 1) toColumn = w.TextWidth + 1;
    for (Int x = fromColumn; x <= toColumn; ++x) t_PrintSymbol(window, symbol, w.TextColor, x, line);
}

void t_TextLine(uint8_t window) {
    if (!t_TextGuard(window, "t_TextLine")) return;
    const t_Window& w = t_WindowTable[window];
    t_TextHline(window, w.TextHpos, w.TextLastColumn, w.TextVpos, 156);
    t_Cr(window);
}
