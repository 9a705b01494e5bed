// The German PC keyboard as the X11 desktop delivers it, turned into the key events of the toolkit: key
// codes by position, dead keys composed with the next letter, the Option and Control layers.
#include "shell/keymap.h"

#include "library/library.h"

#include <array>

namespace {

// A key code no physical key has: the key tables send it straight to their default rule.
constexpr Int unplaced = 255;

// X keycode (evdev + 8) to key code, by position on the board; -1 where there is no key.
constexpr std::array<int16_t, 256> scantable = [] {
    std::array<int16_t, 256> t{};
    for (auto& v : t) v = -1;
    const int16_t rows[][2] = {
        // Letters (US legends).
        {38, 0},
        {39, 1},
        {40, 2},
        {41, 3},
        {43, 4},
        {42, 5},
        {52, 6},
        {53, 7},
        {54, 8},
        {55, 9},
        {56, 11},
        {24, 12},
        {25, 13},
        {26, 14},
        {27, 15},
        {29, 16},
        {28, 17},
        {32, 31},
        {30, 32},
        {31, 34},
        {33, 35},
        {46, 37},
        {44, 38},
        {45, 40},
        {57, 45},
        {58, 46},
        // Digits.
        {10, 18},
        {11, 19},
        {12, 20},
        {13, 21},
        {14, 23},
        {15, 22},
        {16, 26},
        {17, 28},
        {18, 25},
        {19, 29},
        // Punctuation; the key left of 1 and the ISO key beside left Shift.
        {20, 27},
        {21, 24},
        {34, 33},
        {35, 30},
        {47, 41},
        {48, 39},
        {51, 42},
        {59, 43},
        {60, 47},
        {61, 44},
        {49, 10},
        {94, 50},
        // Editing and motion.
        {36, 36},
        {23, 48},
        {65, 49},
        {22, 51},
        {9, 53},
        {119, 117},
        {118, 114},
        {110, 115},
        {115, 119},
        {112, 116},
        {117, 121},
        {113, 123},
        {114, 124},
        {116, 125},
        {111, 126},
        // F1 to F12, then Print, Scroll Lock and Pause as F13 to F15.
        {67, 122},
        {68, 120},
        {69, 99},
        {70, 118},
        {71, 96},
        {72, 97},
        {73, 98},
        {74, 100},
        {75, 101},
        {76, 109},
        {95, 103},
        {96, 111},
        {107, 105},
        {78, 107},
        {127, 113},
        // Numeric pad, whatever Num Lock says; Num Lock sits where the Clear key is.
        {90, 82},
        {87, 83},
        {88, 84},
        {89, 85},
        {83, 86},
        {84, 87},
        {85, 88},
        {79, 89},
        {80, 91},
        {81, 92},
        {91, 65},
        {63, 67},
        {86, 69},
        {82, 78},
        {106, 75},
        {104, 76},
        {77, 71},
        {125, 81},
    };
    for (const auto& r : rows) t[static_cast<size_t>(r[0])] = r[1];
    return t;
}();

// Key codes of F1 to F20.
constexpr int16_t functionkeys[20] = {122, 120, 99,  118, 96,  97,  98, 100, 101, 109,
                                      103, 111, 105, 107, 113, 106, 64, 79,  80,  90};

// Function key numbers by key code (F1 is 1), 0 for other keys.
int functionnumber(Int code) {
    for (int n = 0; n < 20; ++n)
        if (functionkeys[n] == code) return n + 1;
    return 0;
}
Int functionkeycode(int number) {
    return number >= 1 && number <= 20 ? functionkeys[number - 1] : unplaced;
}

bool ispad(Int code) {
    return code == 65 || code == 67 || code == 69 || code == 71 || code == 75 || code == 76 || code == 78 ||
           (code >= 81 && code <= 89) || code == 91 || code == 92;
}
bool iscursor(Int code) {
    return code >= 123 && code <= 126;
}
bool isfnkey(Int code) {
    return iscursor(code) || code == 115 || code == 119 || code == 116 || code == 121 || code == 117 ||
           code == 114 || functionnumber(code) > 0;
}

bool isdead(int key) {
    return key >= qtkey::DeadFirst && key <= qtkey::DeadLast;
}

bool ismodifier(const t_LinuxKey& k) {
    switch (k.ScanCode) {
    case 50:
    case 62:
    case 37:
    case 105:
    case 64:
    case 108:
    case 92:
    case 133:
    case 134:
    case 66:
        return true;
    default:
        break;
    }
    switch (k.Key) {
    case qtkey::Shift:
    case qtkey::Control:
    case qtkey::Meta:
    case qtkey::Alt:
    case qtkey::AltGr:
    case qtkey::CapsLock:
    case qtkey::SuperL:
    case qtkey::SuperR:
    case qtkey::HyperL:
    case qtkey::HyperR:
    case qtkey::ModeSwitch:
    case qtkey::DirectionL:
    case qtkey::DirectionR:
        return true;
    default:
        return false;
    }
}

// The key code of a synthetic event, from the Qt key: the key that gives it on a German board.
Int codefromqt(int key, bool keypad) {
    if (keypad) {
        switch (key) {
        case '0':
        case qtkey::Insert:
            return 82;
        case '1':
        case qtkey::End:
            return 83;
        case '2':
        case qtkey::Down:
            return 84;
        case '3':
        case qtkey::PageDown:
            return 85;
        case '4':
        case qtkey::Left:
            return 86;
        case '5':
        case qtkey::Clear:
            return 87;
        case '6':
        case qtkey::Right:
            return 88;
        case '7':
        case qtkey::Home:
            return 89;
        case '8':
        case qtkey::Up:
            return 91;
        case '9':
        case qtkey::PageUp:
            return 92;
        case '.':
        case ',':
        case qtkey::Delete:
            return 65;
        case '*':
            return 67;
        case '+':
            return 69;
        case '/':
            return 75;
        case '-':
            return 78;
        case '=':
            return 81;
        default:
            break;
        }
    }
    if (key >= qtkey::F1 && key <= qtkey::F35) return functionkeycode(key - qtkey::F1 + 1);
    static constexpr int8_t letters[26] = {0,  11, 8,  2,  14, 3, 5,  4,  34, 38, 40, 37, 46,
                                           45, 31, 35, 12, 15, 1, 17, 32, 9,  13, 7,  6,  16};
    if (key >= 'A' && key <= 'Z') return letters[key - 'A'];
    static constexpr int8_t digits[10] = {29, 18, 19, 20, 21, 23, 22, 26, 28, 25};
    if (key >= '0' && key <= '9') return digits[key - '0'];
    switch (key) {
    case qtkey::Escape:
        return 53;
    case qtkey::Tab:
    case qtkey::Backtab:
        return 48;
    case qtkey::Backspace:
        return 51;
    case qtkey::Return:
        return 36;
    case qtkey::Enter:
        return 76;
    case qtkey::Insert:
    case qtkey::Help:
        return 114;
    case qtkey::Delete:
        return 117;
    case qtkey::Pause:
        return 113;
    case qtkey::Print:
        return 105;
    case qtkey::ScrollLock:
        return 107;
    case qtkey::Clear:
    case qtkey::NumLock:
        return 71;
    case qtkey::Home:
        return 115;
    case qtkey::End:
        return 119;
    case qtkey::PageUp:
        return 116;
    case qtkey::PageDown:
        return 121;
    case qtkey::Left:
        return 123;
    case qtkey::Right:
        return 124;
    case qtkey::Down:
        return 125;
    case qtkey::Up:
        return 126;
    case ' ':
        return 49;
    // The German board: what the shifted and AltGr levels of each key give.
    case '^':
    case 0xB0:
    case qtkey::DeadCircumflex:
        return 10;
    case '!':
    case 0xB9:
        return 18;
    case '"':
    case 0xB2:
        return 19;
    case 0xA7:
    case 0xB3:
        return 20;
    case '$':
        return 21;
    case '%':
        return 23;
    case '&':
        return 22;
    case '/':
    case '{':
        return 26;
    case '(':
    case '[':
        return 28;
    case ')':
    case ']':
        return 25;
    case '=':
    case '}':
        return 29;
    case 0xDF:
    case '?':
    case '\\':
        return 27;
    case 0xB4:
    case '`':
    case qtkey::DeadAcute:
    case qtkey::DeadGrave:
        return 24;
    case 0xDC:
        return 33;
    case '+':
    case '*':
    case '~':
        return 30;
    case 0xD6:
        return 41;
    case 0xC4:
        return 39;
    case '#':
    case '\'':
        return 42;
    case ',':
    case ';':
        return 43;
    case '.':
    case ':':
        return 47;
    case '-':
    case '_':
        return 44;
    case '<':
    case '>':
    case '|':
        return 50;
    case '@':
        return 12;
    case 0x20AC:
        return 14;
    case 0xB5:
        return 46;
    default:
        return -1;
    }
}

// What the keys that type no text send, by key code; empty when the key types text.
std::string fixedcharacters(Int code, bool backtab) {
    switch (code) {
    case 36:
        return "\r";
    case 76:
        return "\x03";
    case 48:
        return backtab ? "\x19" : "\t";
    case 51:
        return "\x7f";
    case 53:
        return "\x1b";
    case 117:
        return stringfromscalar(0xF728);
    case 114:
        return stringfromscalar(0xF746);
    case 115:
        return stringfromscalar(0xF729);
    case 119:
        return stringfromscalar(0xF72B);
    case 116:
        return stringfromscalar(0xF72C);
    case 121:
        return stringfromscalar(0xF72D);
    case 123:
        return stringfromscalar(0xF702);
    case 124:
        return stringfromscalar(0xF703);
    case 125:
        return stringfromscalar(0xF701);
    case 126:
        return stringfromscalar(0xF700);
    case 71:
        return stringfromscalar(0xF739);
    default:
        break;
    }
    if (int n = functionnumber(code)) return stringfromscalar(0xF704 + n - 1);
    return {};
}

// The pad types its digits whether Num Lock is on or not.
std::string padcharacters(Int code, const std::string& text) {
    if (code >= 82 && code <= 89) return std::string(1, static_cast<char>('0' + code - 82));
    switch (code) {
    case 91:
        return "8";
    case 92:
        return "9";
    case 67:
        return "*";
    case 69:
        return "+";
    case 75:
        return "/";
    case 78:
        return "-";
    case 81:
        return "=";
    default:
        return text == "." || text == "," ? text : ",";
    }
}

Int accentof(int key) {
    switch (key) {
    case qtkey::DeadCircumflex:
        return '^';
    case qtkey::DeadAcute:
        return 0xB4;
    case qtkey::DeadGrave:
        return '`';
    case qtkey::DeadDiaeresis:
        return 0xA8;
    case qtkey::DeadTilde:
        return '~';
    default:
        return 0;
    }
}

// The accented letter, or the accent followed by what was typed when Latin-1 has no such letter.
std::string compose(Int accent, const std::string& typed) {
    static const struct {
        Int accent;
        const char* bases;
        uint8_t composed[12];
    } tables[] = {
        {'^', "AEIOUaeiou", {0xC2, 0xCA, 0xCE, 0xD4, 0xDB, 0xE2, 0xEA, 0xEE, 0xF4, 0xFB}},
        {0xB4, "AEIOUYaeiouy", {0xC1, 0xC9, 0xCD, 0xD3, 0xDA, 0xDD, 0xE1, 0xE9, 0xED, 0xF3, 0xFA, 0xFD}},
        {'`', "AEIOUaeiou", {0xC0, 0xC8, 0xCC, 0xD2, 0xD9, 0xE0, 0xE8, 0xEC, 0xF2, 0xF9}},
        {0xA8, "AEIOUaeiouy", {0xC4, 0xCB, 0xCF, 0xD6, 0xDC, 0xE4, 0xEB, 0xEF, 0xF6, 0xFC, 0xFF}},
        {'~', "ANOano", {0xC3, 0xD1, 0xD5, 0xE3, 0xF1, 0xF5}},
    };
    if (typed == " ") return stringfromscalar(accent);
    if (typed.size() == 1)
        for (const auto& t : tables) {
            if (t.accent != accent) continue;
            for (int i = 0; t.bases[i]; ++i)
                if (t.bases[i] == typed[0]) return stringfromscalar(t.composed[i]);
        }
    return stringfromscalar(accent) + typed;
}

bool printable(Int scalar) {
    return scalar >= 32 && scalar != 127 && !(scalar >= 0xF700 && scalar <= 0xF8FF);
}

// The Option layer: the characters the key tables fold into their own codes.
Int optioncharacter(Int code, bool shift) {
    static const struct {
        int8_t code;
        int32_t plain, shifted;
    } layer[] = {
        {0, 0x00E5, 0},       {1, 0x201A, 0},  {2, 0x2202, 0},       {3, 0x0192, 0},  {4, 0x00AA, 0},
        {7, 0x2248, 0},       {9, 0x221A, 0},  {11, 0x222B, 0},      {13, 0x2211, 0}, {14, 0x20AC, 0},
        {16, 0x03A9, 0},      {17, 0x2020, 0}, {19, 0x201C, 0},      {27, 0x00BF, 0}, {29, 0x2260, 0},
        {33, 0x2022, 0},      {34, 0x2044, 0}, {35, 0x03C0, 0x220F}, {38, 0x00BA, 0}, {40, 0x2206, 0},
        {41, 0x0153, 0},      {42, 0x2018, 0}, {43, 0x221E, 0},      {44, 0x2013, 0}, {47, 0x2026, 0},
        {50, 0x2264, 0x2265},
    };
    for (const auto& row : layer)
        if (row.code == code) return shift ? row.shifted : row.plain;
    return 0;
}

// Control with a key: the control code of its letter or sign, else the key's own character (the X11
// codes for Control with a digit are undone).
std::string controlcharacters(const t_LinuxKey& k, Int code, bool shift) {
    if (k.Key >= 'A' && k.Key <= 'Z') return std::string(1, static_cast<char>(k.Key - 'A' + 1));
    switch (k.Key) {
    case '@':
        return std::string(1, '\0');
    case '[':
        return "\x1b";
    case '\\':
        return "\x1c";
    case ']':
        return "\x1d";
    case '^':
        return "\x1e";
    case '_':
        return "\x1f";
    default:
        break;
    }
    if (code == 10) return "\x1e";
    if (!k.Text.empty() && printable(ascfromstring(k.Text))) return k.Text;
    if (k.Key >= 0x20 && k.Key <= 0xFF && k.Key != 0x7F) {
        Int c = k.Key;
        // Qt names a Latin-1 letter by its capital.
        if (!shift && c >= 0xC0 && c <= 0xDE && c != 0xD7) c += 0x20;
        return stringfromscalar(c);
    }
    return {};
}

} // namespace

t_TranslatedKey translatekey(const t_LinuxKey& k, t_KeyComposition& composition) {
    t_TranslatedKey out;
    const bool shift = k.Modifiers & qtkey::ShiftModifier;
    const bool control = k.Modifiers & qtkey::ControlModifier;
    const bool altgr = (k.Modifiers & qtkey::GroupSwitchModifier) || (k.NativeModifiers & qtkey::NativeMod5);
    const bool option = (k.Modifiers & qtkey::AltModifier) && !altgr;
    uint64_t flags = 0;
    if (k.NativeModifiers & qtkey::NativeLock) flags |= t_ModCapsLock;
    if (shift) flags |= t_ModShift;
    if (control) flags |= t_ModControl;
    if (option) flags |= t_ModOption;
    if (k.Modifiers & qtkey::MetaModifier) flags |= t_ModCommand;

    if (ismodifier(k)) {
        // The native state is the one before the press.
        if (k.Key == qtkey::CapsLock && !k.Release) flags ^= t_ModCapsLock;
        out.Kind = t_KeyKind::Flags;
        out.Event.ModifierFlags = flags;
        return out;
    }
    if (k.Release) return out;

    const bool keypad = k.Modifiers & qtkey::KeypadModifier;
    const bool dead = isdead(k.Key);
    Int code = -1;
    if (k.ScanCode == 0)
        code = codefromqt(k.Key, keypad);
    else if (k.ScanCode < scantable.size())
        code = scantable[k.ScanCode];
    if (code < 0) {
        // Keys without text that have no place on the board (menu, media keys) give nothing.
        if (k.Text.empty() && !dead && !(k.Key >= qtkey::F1 && k.Key <= qtkey::F35)) return out;
        code = unplaced;
    }
    if (keypad || ispad(code) || iscursor(code)) flags |= t_ModNumericPad;
    if (isfnkey(code) || (k.Key >= qtkey::F1 && k.Key <= qtkey::F35)) flags |= t_ModFn;
    out.Kind = t_KeyKind::Key;
    out.Event.KeyCode = code;
    out.Event.ModifierFlags = flags;
    std::string& characters = out.Event.Characters;

    characters = fixedcharacters(code, shift || k.Key == qtkey::Backtab);
    if (characters.empty() && code == unplaced && k.Key >= qtkey::F1 && k.Key <= qtkey::F35)
        characters = stringfromscalar(0xF704 + k.Key - qtkey::F1);
    if (!characters.empty()) {
        composition.Accent = 0;
        return out;
    }

    Int accent = -1; // the accent of a dead key, 0 for one that composes nothing
    if (dead) {
        if (k.AutoRepeat) return t_TranslatedKey{};
        if (control) {
            composition.Accent = 0;
            if (code == 10) characters.assign(1, '\x1e');
            return out;
        }
        accent = accentof(k.Key);
    } else if (ispad(code)) {
        characters = padcharacters(code, k.Text);
    } else if (control) {
        composition.Accent = 0;
        characters = controlcharacters(k, code, shift);
        return out;
    } else if (option && !shift && (code == 32 || code == 45)) {
        if (k.AutoRepeat) return t_TranslatedKey{};
        accent = code == 32 ? 0xA8 : '~';
    } else if (option && code == 49) {
        characters = stringfromscalar(0xA0);
    } else if (Int layered = option ? optioncharacter(code, shift) : 0) {
        characters = stringfromscalar(layered);
    } else {
        characters = k.Text;
    }

    if (accent >= 0) {
        // A second dead key types the waiting accent, and waits with its own unless it is the same.
        if (composition.Accent) {
            characters = stringfromscalar(composition.Accent);
            composition.Accent = composition.Accent == accent ? 0 : accent;
        } else {
            composition.Accent = accent;
        }
        return out;
    }
    if (composition.Accent && !characters.empty()) {
        if (printable(ascfromstring(characters))) characters = compose(composition.Accent, characters);
        composition.Accent = 0;
    }
    return out;
}
