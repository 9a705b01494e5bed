// Keys of a German PC keyboard as the X11 desktop delivers them (X keycode, Qt key, text, modifiers),
// through the translation and the key tables, down to the Value a program reads.
#include "shell/events.h"
#include "shell/keymap.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace qtkey;

constexpr uint32_t S = ShiftModifier, C = ControlModifier, A = AltModifier, K = KeypadModifier;
constexpr uint32_t AltGrMods = GroupSwitchModifier;

struct Typed {
    t_KeyKind kind = t_KeyKind::None;
    bool event = false; // the tables made an event of it
    Int code = -1;
    Int value = -1;
    bool cursor = false;
    bool function = false;
    uint64_t flags = 0;
};

Typed press(t_KeyComposition& state, uint32_t scan, int key, const std::string& text, uint32_t mods = 0,
            uint32_t native = 0, bool repeat = false) {
    t_LinuxKey k;
    k.ScanCode = scan;
    k.Key = key;
    k.Text = text;
    k.Modifiers = mods;
    k.NativeModifiers = native | ((mods & GroupSwitchModifier) ? NativeMod5 : 0);
    k.AutoRepeat = repeat;
    const t_TranslatedKey t = translatekey(k, state);
    Typed r;
    r.kind = t.Kind;
    r.flags = t.Event.ModifierFlags;
    if (t.Kind != t_KeyKind::Key) return r;
    r.code = t.Event.KeyCode;
    t_KeyValue v;
    r.event = t_KeyEventValue(t.Event, v);
    if (r.event) {
        r.value = v.Value;
        r.cursor = v.CursorKey;
        r.function = v.FunctionKey;
    }
    return r;
}

Typed press(uint32_t scan, int key, const std::string& text, uint32_t mods = 0) {
    t_KeyComposition fresh;
    return press(fresh, scan, key, text, mods);
}

struct Row {
    const char* what;
    uint32_t scan;
    int key;
    std::string text;
    uint32_t mods;
    Int value;
    Int code;
    bool cursor;
    bool function;
};

void check(const std::vector<Row>& rows) {
    for (const Row& r : rows) {
        const Typed t = press(r.scan, r.key, r.text, r.mods);
        EXPECT_TRUE(t.event) << r.what;
        EXPECT_EQ(t.value, r.value) << r.what;
        EXPECT_EQ(t.code, r.code) << r.what;
        EXPECT_EQ(t.cursor, r.cursor) << r.what;
        EXPECT_EQ(t.function, r.function) << r.what;
    }
}

TEST(Keymap, LettersDigitsAndGermanCharactersByPhysicalKey) {
    check({
        {"a", 38, 'A', "a", 0, 97, 0, false, false},
        {"Shift-a", 38, 'A', "A", S, 65, 0, false, false},
        {"z (between T and U)", 29, 'Z', "z", 0, 122, 16, false, false},
        {"y (left of X)", 52, 'Y', "y", 0, 121, 6, false, false},
        {"1", 10, '1', "1", 0, 49, 18, false, false},
        {"Shift-3", 12, 0xA7, "§", S, 167, 20, false, false},
        {"ä", 48, 0xC4, "ä", 0, 228, 39, false, false},
        {"Ä", 48, 0xC4, "Ä", S, 196, 39, false, false},
        {"ö", 47, 0xD6, "ö", 0, 246, 41, false, false},
        {"ü", 34, 0xDC, "ü", 0, 252, 33, false, false},
        {"Ü", 34, 0xDC, "Ü", S, 220, 33, false, false},
        {"ß", 20, 0xDF, "ß", 0, 223, 27, false, false},
        {"Shift-ß", 20, '?', "?", S, 63, 27, false, false},
        {"#", 51, '#', "#", 0, 35, 42, false, false},
        {"<", 94, '<', "<", 0, 60, 50, false, false},
        {"Shift-^ gives °", 49, 0xB0, "°", S, 176, 10, false, false},
        {"space", 65, ' ', " ", 0, 32, 49, false, false},
    });
}

TEST(Keymap, EditingMotionAndFunctionKeys) {
    check({
        {"Return", 36, Return, "\r", 0, 13, 36, false, false},
        {"pad Enter", 104, Enter, "\r", K, 13, 76, false, false},
        {"Esc", 9, Escape, "\x1b", 0, 27, 53, false, false},
        {"Backspace", 22, Backspace, "\b", 0, 127, 51, false, false},
        {"Delete", 119, Delete, "\x7f", 0, 7, 117, false, false},
        {"Insert is Help", 118, Insert, "", 0, 195, 114, false, true},
        {"Home", 110, Home, "", 0, 2, 115, true, false},
        {"End", 115, End, "", 0, 5, 119, true, false},
        {"Page Up", 112, PageUp, "", 0, 18, 116, true, false},
        {"Page Down", 117, PageDown, "", 0, 3, 121, true, false},
        {"left", 113, Left, "", 0, 8, 123, true, false},
        {"right", 114, Right, "", 0, 21, 124, true, false},
        {"down", 116, Down, "", 0, 10, 125, true, false},
        {"up", 111, Up, "", 0, 11, 126, true, false},
        {"Tab", 23, Tab, "\t", 0, 9, 48, false, false},
        {"Shift-Tab", 23, Backtab, "", S, 20, 48, false, false},
        {"F1", 67, F1, "", 0, 129, 122, false, true},
        {"F5", 71, F1 + 4, "", 0, 133, 96, false, true},
        {"F12", 96, F1 + 11, "", 0, 140, 111, false, true},
        {"Print", 107, Print, "", 0, 141, 105, false, true},
        {"Pause", 127, Pause, "", 0, 143, 113, false, true},
        {"Num Lock is Clear", 77, NumLock, "", 0, 27, 71, false, false},
        {"Control-Return", 36, Return, "\r", C, 13, 36, false, false},
    });
    // The cursor group and the function keys carry the pad and Fn bits, as on the original keyboard.
    const Typed left = press(113, Left, "");
    EXPECT_TRUE(left.flags & t_ModNumericPad);
    EXPECT_TRUE(left.flags & t_ModFn);
    EXPECT_TRUE(press(67, F1, "").flags & t_ModFn);
    EXPECT_FALSE(press(38, 'A', "a").flags & (t_ModNumericPad | t_ModFn));
}

TEST(Keymap, ControlGivesControlCodesAndUndoesTheX11DigitCodes) {
    check({
        {"Ctrl-A", 38, 'A', "\x01", C, 1, 0, false, false},
        {"Ctrl-S, the pause key", 39, 'S', "\x13", C, 19, 1, false, false},
        {"Ctrl-Z on the German Z key", 29, 'Z', "\x1a", C, 26, 16, false, false},
        {"Ctrl-Shift-C", 54, 'C', "\x03", C | S, 3, 8, false, false},
        {"Ctrl-H is 8 but no cursor key", 43, 'H', "\b", C, 8, 4, false, false},
        {"Ctrl-2 keeps its digit", 11, '2', std::string(1, '\0'), C, 50, 19, false, false},
        {"Ctrl-6 keeps its digit", 15, '6', "\x1e", C, 54, 22, false, false},
        {"Ctrl-8 keeps its digit", 17, '8', "\x7f", C, 56, 28, false, false},
        {"Ctrl-ä", 48, 0xC4, "ä", C, 228, 39, false, false},
        {"Ctrl-^ key", 49, DeadCircumflex, "", C, 30, 10, false, false},
        {"Ctrl-AltGr-8 ([)", 17, '[', "\x1b", C | AltGrMods, 27, 28, false, false},
        {"Ctrl-Shift-- (_)", 61, '_', "\x1f", C | S, 31, 44, false, false},
        {"Ctrl-Option-L", 46, 'L', "\x0c", C | A, 0, 37, false, false},
    });
}

TEST(Keymap, AltGrKeepsTheGermanLayoutsCharacters) {
    check({
        {"@", 24, '@', "@", AltGrMods, 64, 12, false, false},
        {"€ on the E key", 26, 0x20AC, "€", AltGrMods, 164, 14, false, false},
        {"{", 16, '{', "{", AltGrMods, 123, 26, false, false},
        {"[", 17, '[', "[", AltGrMods, 91, 28, false, false},
        {"]", 18, ']', "]", AltGrMods, 93, 25, false, false},
        {"}", 19, '}', "}", AltGrMods, 125, 29, false, false},
        {"backslash", 20, '\\', "\\", AltGrMods, 92, 27, false, false},
        {"~", 35, '~', "~", AltGrMods, 126, 30, false, false},
        {"|", 94, '|', "|", AltGrMods, 124, 50, false, false},
        {"µ", 58, 0xB5, "µ", AltGrMods, 181, 46, false, false},
        {"²", 11, 0xB2, "²", AltGrMods, 178, 19, false, false},
    });
    // AltGr is not the Option key.
    EXPECT_FALSE(press(24, '@', "@", AltGrMods).flags & t_ModOption);
    // Characters beyond Latin-1 that the tables do not know give nothing, and so does € elsewhere.
    EXPECT_FALSE(press(28, 0x167, "ŧ", AltGrMods).event);
    EXPECT_FALSE(press(13, 0x20AC, "€", AltGrMods).event);
}

TEST(Keymap, LeftAltIsTheOptionKeyWithItsOwnLayer) {
    check({
        {"Option-A", 38, 'A', "a", A, 176, 0, false, false},
        {"Option-E", 26, 'E', "e", A, 164, 14, false, false},
        {"Option-Z (Omega)", 29, 'Z', "z", A, 128, 16, false, false},
        {"Option-P", 33, 'P', "p", A, 240, 35, false, false},
        {"Shift-Option-P", 33, 'P', "P", A | S, 208, 35, false, false},
        {"Option-<", 94, '<', "<", A, 197, 50, false, false},
        {"Shift-Option-<", 94, '>', ">", A | S, 198, 50, false, false},
        {"Option-ß", 20, 0xDF, "ß", A, 166, 27, false, false},
        {"Option-space", 65, ' ', " ", A, 160, 49, false, false},
        {"Option-Q, outside the layer", 24, 'Q', "q", A, 113, 12, false, false},
        {"Shift-Option-A, outside the layer", 38, 'A', "A", A | S, 65, 0, false, false},
    });
    EXPECT_TRUE(press(38, 'A', "a", A).flags & t_ModOption);
}

TEST(Keymap, DeadKeysGiveTheirOwnValueAndComposeTheNextLetter) {
    t_KeyComposition state;
    // ^ then e: the dead key is an event of its own, the next letter comes composed.
    Typed t = press(state, 49, DeadCircumflex, "");
    EXPECT_EQ(t.value, 94);
    EXPECT_EQ(press(state, 26, 'E', "e").value, 0xEA);
    // The accent is used up.
    EXPECT_EQ(press(state, 26, 'E', "e").value, 'e');

    // ´ then Shift (a modifier alone changes nothing) then E.
    EXPECT_EQ(press(state, 21, DeadAcute, "").value, 180);
    EXPECT_EQ(press(state, 50, Shift, "", S).kind, t_KeyKind::Flags);
    EXPECT_EQ(press(state, 26, 'E', "E", S).value, 0xC9);
    // Shift-´ is the grave accent.
    EXPECT_EQ(press(state, 21, DeadGrave, "", S).value, 96);
    EXPECT_EQ(press(state, 38, 'A', "a").value, 0xE0);
    // ^ then space gives the accent alone; ^ then a letter without an accented form gives the accent.
    press(state, 49, DeadCircumflex, "");
    EXPECT_EQ(press(state, 65, ' ', " ").value, '^');
    press(state, 49, DeadCircumflex, "");
    EXPECT_EQ(press(state, 53, 'X', "x").value, '^');
    EXPECT_EQ(press(state, 53, 'X', "x").value, 'x');
    // The same dead key twice types the accent once and leaves nothing waiting.
    press(state, 49, DeadCircumflex, "");
    EXPECT_EQ(press(state, 49, DeadCircumflex, "").value, '^');
    EXPECT_EQ(press(state, 32, 'O', "o").value, 'o');
    // Return after a dead key stays Return, and the accent is dropped.
    press(state, 21, DeadAcute, "");
    EXPECT_EQ(press(state, 36, Return, "\r").value, 13);
    EXPECT_EQ(press(state, 26, 'E', "e").value, 'e');
    // Option-U and Option-N are the dead diaeresis and tilde.
    t = press(state, 30, 'U', "u", A);
    EXPECT_EQ(t.value, 175);
    EXPECT_EQ(press(state, 32, 'O', "o").value, 0xF6);
    EXPECT_EQ(press(state, 57, 'N', "n", A).value, 126);
    EXPECT_EQ(press(state, 57, 'N', "N", S).value, 0xD1);
    // A dead key outside the table: Value 0, and nothing composed.
    EXPECT_EQ(press(state, 20, 0x01001256, "", AltGrMods).value, 0);
    EXPECT_EQ(press(state, 26, 'E', "e").value, 'e');
    // A held dead key repeats nothing.
    press(state, 49, DeadCircumflex, "");
    EXPECT_EQ(press(state, 49, DeadCircumflex, "", 0, 0, true).kind, t_KeyKind::None);
    EXPECT_EQ(press(state, 31, 'I', "i").value, 0xEE);
}

TEST(Keymap, NumericPadDigitsOptionValuesAndRedirectionKeys) {
    check({
        {"pad 7", 79, '7', "7", K, 55, 89, false, false},
        {"pad 7 without Num Lock", 79, Home, "", K, 55, 89, false, false},
        {"pad 0", 90, '0', "0", K, 48, 82, false, false},
        {"Option-pad 0", 90, '0', "0", K | A, 216, 82, false, false},
        {"Option-pad 6", 85, '6', "6", K | A, 186, 88, false, false},
        {"Option-pad 7", 79, '7', "7", K | A, 229, 89, false, false},
        {"Option-pad 8", 80, '8', "8", K | A, 230, 91, false, false},
        {"Option-pad 9", 81, '9', "9", K | A, 188, 92, false, false},
        {"pad +", 86, '+', "+", K, 43, 69, false, false},
        {"pad decimal", 91, ',', ",", K, 44, 65, false, false},
        {"Ctrl-pad 5", 84, '5', "5", K | C, 53, 87, false, false},
    });
    // Control with pad 7, 8 or 9 makes no key: the handler switches the output instead.
    for (uint32_t scan : {79u, 80u, 81u}) {
        const Typed t = press(scan, '7', "\x1f", K | C);
        EXPECT_EQ(t.kind, t_KeyKind::Key);
        EXPECT_FALSE(t.event) << scan;
    }
    EXPECT_TRUE(press(79, '7', "7", K).flags & t_ModNumericPad);
}

// Events that QTest and the offscreen platform make have no scan code: the Qt key finds the key.
TEST(Keymap, SyntheticEventsFindTheirKeyFromTheQtKey) {
    check({
        {"a", 0, 'A', "a", 0, 97, 0, false, false},
        {"German z", 0, 'Z', "z", 0, 122, 16, false, false},
        {"Return", 0, Return, "\r", 0, 13, 36, false, false},
        {"pad Enter", 0, Enter, "\r", K, 13, 76, false, false},
        {"Esc", 0, Escape, "\x1b", 0, 27, 53, false, false},
        {"Backspace", 0, Backspace, "\b", 0, 127, 51, false, false},
        {"Delete", 0, Delete, "\x7f", 0, 7, 117, false, false},
        {"left", 0, Left, "", 0, 8, 123, true, false},
        {"F3", 0, F1 + 2, "", 0, 131, 99, false, true},
        {"F20", 0, F1 + 19, "", 0, 148, 90, false, true},
        {"F24, beyond the board", 0, F1 + 23, "", 0, 152, 255, false, true},
        {"Shift-Tab", 0, Backtab, "", S, 20, 48, false, false},
        {"Ctrl-S", 0, 'S', "s", C, 19, 1, false, false},
        {"^", 0, DeadCircumflex, "", 0, 94, 10, false, false},
        {"ß", 0, 0xDF, "ß", 0, 223, 27, false, false},
        {"@", 0, '@', "@", AltGrMods, 64, 12, false, false},
        {"€", 0, 0x20AC, "€", AltGrMods, 164, 14, false, false},
        {"Option-A", 0, 'A', "a", A, 176, 0, false, false},
        {"pad 7 without Num Lock", 0, Home, "", K, 55, 89, false, false},
        {"Option-pad 8", 0, '8', "8", K | A, 230, 91, false, false},
        {"a character no key of the board types", 0, 0xE7, "ç", 0, 231, 255, false, false},
    });
    EXPECT_FALSE(press(0, 0x142, "ł", AltGrMods).event);
}

TEST(Keymap, ModifierKeysOnlyChangeTheFlagsAndOtherKeysWithoutTextGiveNothing) {
    t_KeyComposition state;
    Typed t = press(state, 50, Shift, "", S);
    EXPECT_EQ(t.kind, t_KeyKind::Flags);
    EXPECT_EQ(t.flags, t_ModShift);
    EXPECT_EQ(press(state, 64, Alt, "", A).flags, t_ModOption);
    EXPECT_EQ(press(state, 37, Control, "", C).flags, t_ModControl);
    EXPECT_EQ(press(state, 133, SuperL, "", MetaModifier).flags, t_ModCommand);
    // AltGr and Caps Lock: the native state is the one before the press.
    EXPECT_EQ(press(state, 108, AltGr, "", AltGrMods).flags, 0u);
    EXPECT_EQ(press(state, 66, CapsLock, "", 0, 0).flags, t_ModCapsLock);
    EXPECT_EQ(press(state, 66, CapsLock, "", 0, NativeLock).flags, 0u);
    EXPECT_TRUE(press(state, 38, 'A', "A", 0, NativeLock).flags & t_ModCapsLock);
    // Releasing a modifier reports the flags again; releasing another key gives nothing.
    t_LinuxKey release;
    release.ScanCode = 50;
    release.Key = Shift;
    release.Release = true;
    EXPECT_EQ(translatekey(release, state).Kind, t_KeyKind::Flags);
    release.ScanCode = 38;
    release.Key = 'A';
    release.Text = "a";
    EXPECT_EQ(translatekey(release, state).Kind, t_KeyKind::None);
    // The menu key and a media key have no counterpart.
    EXPECT_EQ(press(state, 135, Menu, "").kind, t_KeyKind::None);
    EXPECT_EQ(press(state, 121, 0x010000b2, "").kind, t_KeyKind::None);
    // A modifier between a dead key and its letter leaves the accent waiting.
    press(state, 49, DeadCircumflex, "");
    press(state, 64, Alt, "", A);
    EXPECT_EQ(press(state, 31, 'I', "i").value, 0xEE);
}

} // namespace
