// Keys of a German PC keyboard as the X11 desktop delivers them (X keycode, Qt key, text, modifiers), through
// the translation and the key tables down to the Value a program reads.
#include "shell/events.h"
#include "shell/keymap.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace {

using namespace qtkey;

constexpr uint32_t S = ShiftModifier, C = ControlModifier, A = AltModifier, K = KeypadModifier,
                   G = GroupSwitchModifier;

// What a press comes to; a Value of -1 is no event at all.
struct Typed {
    Int value = -1, code = -1;
    bool cursor = false, function = false;
};

Typed press(uint32_t scan, int key, const std::string& text, uint32_t mods = 0,
            t_KeyComposition* composition = nullptr, bool repeat = false) {
    t_KeyComposition fresh;
    const t_LinuxKey k{scan, key, text, mods, (mods & G) ? NativeMod5 : 0u, repeat, false};
    const t_TranslatedKey t = translatekey(k, composition ? *composition : fresh);
    t_KeyValue v;
    if (t.Kind != t_KeyKind::Key || !t_KeyEventValue(t.Event, v)) return {};
    return {v.Value, t.Event.KeyCode, v.CursorKey, v.FunctionKey};
}

// Scan code 0 is a synthetic event (QTest, the offscreen platform): the Qt key finds the key.
TEST(Keymap, EveryKeyOfTheGermanBoardGivesItsValue) {
    // clang-format off
    const struct { uint32_t scan; int key; std::string text; uint32_t mods; Int value, code; char kind; } rows[] = {
        {38, 'A', "a", 0, 97, 0, ' '}, {48, 0xC4, "Ä", S, 196, 39, ' '}, {20, 0xDF, "ß", 0, 223, 27, ' '},
        {36, Return, "\r", 0, 13, 36, ' '}, {22, Backspace, "\b", 0, 127, 51, ' '},
        {118, Insert, "", 0, 195, 114, 'f'}, {110, Home, "", 0, 2, 115, 'c'}, {115, End, "", 0, 5, 119, 'c'},
        {112, PageUp, "", 0, 18, 116, 'c'}, {117, PageDown, "", 0, 3, 121, 'c'},
        {113, Left, "", 0, 8, 123, 'c'}, {114, Right, "", 0, 21, 124, 'c'}, {116, Down, "", 0, 10, 125, 'c'},
        {111, Up, "", 0, 11, 126, 'c'}, {23, Backtab, "", S, 20, 48, ' '}, {67, F1, "", 0, 129, 122, 'f'},
        {77, NumLock, "", 0, 27, 71, ' '}, {38, 'A', "\x01", C, 1, 0, ' '}, {15, '6', "\x1e", C, 54, 22, ' '},
        {17, '8', "\x7f", C, 56, 28, ' '}, {48, 0xC4, "ä", C, 228, 39, ' '},
        {49, DeadCircumflex, "", C, 30, 10, ' '}, {17, '[', "\x1b", C | G, 27, 28, ' '},
        {61, '_', "\x1f", C | S, 31, 44, ' '}, {46, 'L', "\x0c", C | A, 0, 37, ' '},
        {24, '@', "@", G, 64, 12, ' '}, {26, 0x20AC, "€", G, 164, 14, ' '}, {38, 'A', "a", A, 176, 0, ' '},
        {33, 'P', "P", A | S, 208, 35, ' '}, {65, ' ', " ", A, 160, 49, ' '}, {24, 'Q', "q", A, 113, 12, ' '},
        {90, '0', "0", K | A, 216, 82, ' '}, {81, '9', "9", K | A, 188, 92, ' '},
        {86, '+', "+", K, 43, 69, ' '}, {0, F1 + 23, "", 0, 152, 255, 'f'},
        {0, DeadCircumflex, "", 0, 94, 10, ' '}, {0, 0x20AC, "€", G, 164, 14, ' '},
        {0, Home, "", K, 55, 89, ' '}, {0, '8', "8", K | A, 230, 91, ' '}, {0, 0xE7, "ç", 0, 231, 255, ' '},
        {0, Enter, "\r", K, 13, 76, ' '}, {0, Delete, "\x7f", 0, 7, 117, ' '}, {91, ',', ",", K, 44, 65, ' '},
        // No key: characters beyond Latin-1 the tables don't know, € elsewhere, Control with pad 7, 8 or 9 (the
        // handler switches the output instead).
        {28, 0x167, "ŧ", G, -1, -1, ' '}, {13, 0x20AC, "€", G, -1, -1, ' '}, {0, 0x142, "ł", G, -1, -1, ' '},
        {79, '7', "\x1f", K | C, -1, -1, ' '}, {80, '8', "", K | C, -1, -1, ' '}, {81, '9', "", K | C, -1, -1, ' '}};
    // clang-format on
    for (const auto& r : rows) {
        const Typed t = press(r.scan, r.key, r.text, r.mods); // kind: ' ' plain, 'c' cursor, 'f' function key
        EXPECT_EQ(std::tuple(t.value, t.code, t.cursor, t.function),
                  std::tuple(r.value, r.code, r.kind == 'c', r.kind == 'f'))
            << r.scan << " " << r.key << " " << r.text;
    }
}

// A dead key is an event of its own with its accent's value and composes the next letter.
TEST(Keymap, DeadKeysComposeTheNextLetter) {
    // clang-format off
    const struct { uint32_t scan; int key; std::string text; uint32_t mods; bool repeat; Int value; } steps[] = {
        {49, DeadCircumflex, "", 0, false, 94}, {26, 'E', "e", 0, false, 0xEA}, {26, 'E', "e", 0, false, 'e'},
        // A modifier alone between them changes nothing.
        {21, DeadAcute, "", 0, false, 180}, {50, Shift, "", S, false, -1}, {26, 'E', "E", S, false, 0xC9},
        // Space gives the accent alone, and so does a letter without an accented form, before the letter.
        {21, DeadGrave, "", S, false, 96}, {65, ' ', " ", 0, false, '`'},
        {49, DeadCircumflex, "", 0, false, 94}, {53, 'X', "x", 0, false, '^'}, {53, 'X', "x", 0, false, 'x'},
        // The same dead key twice types the accent once; Return stays Return and drops the accent.
        {49, DeadCircumflex, "", 0, false, 94}, {49, DeadCircumflex, "", 0, false, '^'},
        {21, DeadAcute, "", 0, false, 180}, {36, Return, "\r", 0, false, 13}, {26, 'E', "e", 0, false, 'e'},
        // Option-U is the dead diaeresis; a dead key outside the table is Value 0 and composes nothing.
        {30, 'U', "u", A, false, 175}, {32, 'O', "o", 0, false, 0xF6},
        {20, 0x01001256, "", G, false, 0}, {26, 'E', "e", 0, false, 'e'},
        // A held dead key repeats nothing; Option between it and the letter leaves the accent waiting.
        {49, DeadCircumflex, "", 0, false, 94}, {49, DeadCircumflex, "", 0, true, -1},
        {64, Alt, "", A, false, -1}, {31, 'I', "i", 0, false, 0xEE}};
    // clang-format on
    t_KeyComposition state;
    for (size_t i = 0; i < std::size(steps); ++i) {
        const auto& s = steps[i];
        EXPECT_EQ(press(s.scan, s.key, s.text, s.mods, &state, s.repeat).value, s.value) << "step " << i;
    }
}

} // namespace
