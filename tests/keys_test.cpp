// Keys of a German PC keyboard as the X11 desktop delivers them (X keycode, Qt key, text, modifiers),
// through the translation and the key tables down to the Value a program reads; then the routines
// between a view and the queues.
#include "spine_standin.h"

#include "display/display.h"
#include "shell/events.h"
#include "shell/keymap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <vector>

namespace {

using namespace qtkey;

constexpr uint32_t S = ShiftModifier, C = ControlModifier, A = AltModifier, K = KeypadModifier,
                   G = GroupSwitchModifier;
constexpr int Fn = F1 - 1; // Fn + 5 is F5

struct Typed {
    t_KeyKind kind = t_KeyKind::None;
    bool event = false; // the tables made an event of it
    Int code = -1, value = -1;
    bool cursor = false, function = false;
    uint64_t flags = 0;
};

Typed press(t_KeyComposition& state, uint32_t scan, int key, const std::string& text, uint32_t mods = 0,
            uint32_t native = 0, bool repeat = false) {
    t_LinuxKey k{scan, key, text, mods, native | ((mods & G) ? NativeMod5 : 0), repeat, false};
    const t_TranslatedKey t = translatekey(k, state);
    Typed r{t.Kind, false, -1, -1, false, false, t.Event.ModifierFlags};
    if (t.Kind != t_KeyKind::Key) return r;
    r.code = t.Event.KeyCode;
    t_KeyValue v;
    if ((r.event = t_KeyEventValue(t.Event, v))) {
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

// Scan code 0 is a synthetic event (QTest, the offscreen platform): the Qt key finds the key.
TEST(Keymap, EveryKeyOfTheGermanBoardGivesItsValue) {
    const struct {
        const char* what;
        uint32_t scan;
        int key;
        std::string text;
        uint32_t mods;
        Int value, code;
        char kind; // ' ' plain, 'c' cursor key, 'f' function key
    } rows[] = {
        // clang-format off
        {"a", 38, 'A', "a", 0, 97, 0, ' '},              {"Shift-a", 38, 'A', "A", S, 65, 0, ' '},
        {"z between T and U", 29, 'Z', "z", 0, 122, 16, ' '}, {"y left of X", 52, 'Y', "y", 0, 121, 6, ' '},
        {"1", 10, '1', "1", 0, 49, 18, ' '},             {"Shift-3", 12, 0xA7, "§", S, 167, 20, ' '},
        {"ä", 48, 0xC4, "ä", 0, 228, 39, ' '},           {"Ä", 48, 0xC4, "Ä", S, 196, 39, ' '},
        {"ö", 47, 0xD6, "ö", 0, 246, 41, ' '},           {"Ü", 34, 0xDC, "Ü", S, 220, 33, ' '},
        {"ß", 20, 0xDF, "ß", 0, 223, 27, ' '},           {"Shift-ß", 20, '?', "?", S, 63, 27, ' '},
        {"#", 51, '#', "#", 0, 35, 42, ' '},             {"<", 94, '<', "<", 0, 60, 50, ' '},
        {"Shift-^ gives °", 49, 0xB0, "°", S, 176, 10, ' '}, {"space", 65, ' ', " ", 0, 32, 49, ' '},
        {"Return", 36, Return, "\r", 0, 13, 36, ' '},    {"pad Enter", 104, Enter, "\r", K, 13, 76, ' '},
        {"Esc", 9, Escape, "\x1b", 0, 27, 53, ' '},      {"Backspace", 22, Backspace, "\b", 0, 127, 51, ' '},
        {"Delete", 119, Delete, "\x7f", 0, 7, 117, ' '}, {"Insert is Help", 118, Insert, "", 0, 195, 114, 'f'},
        {"Home", 110, Home, "", 0, 2, 115, 'c'},         {"End", 115, End, "", 0, 5, 119, 'c'},
        {"Page Up", 112, PageUp, "", 0, 18, 116, 'c'},   {"Page Down", 117, PageDown, "", 0, 3, 121, 'c'},
        {"left", 113, Left, "", 0, 8, 123, 'c'},         {"right", 114, Right, "", 0, 21, 124, 'c'},
        {"down", 116, Down, "", 0, 10, 125, 'c'},        {"up", 111, Up, "", 0, 11, 126, 'c'},
        {"Tab", 23, Tab, "\t", 0, 9, 48, ' '},           {"Shift-Tab", 23, Backtab, "", S, 20, 48, ' '},
        {"F1", 67, F1, "", 0, 129, 122, 'f'},            {"F5", 71, Fn + 5, "", 0, 133, 96, 'f'},
        {"F12", 96, Fn + 12, "", 0, 140, 111, 'f'},      {"Print", 107, Print, "", 0, 141, 105, 'f'},
        {"Pause", 127, Pause, "", 0, 143, 113, 'f'},     {"Num Lock is Clear", 77, NumLock, "", 0, 27, 71, ' '},
        {"Ctrl-Return", 36, Return, "\r", C, 13, 36, ' '}, {"Ctrl-A", 38, 'A', "\x01", C, 1, 0, ' '},
        {"Ctrl-S, the pause key", 39, 'S', "\x13", C, 19, 1, ' '}, {"Ctrl-Z", 29, 'Z', "\x1a", C, 26, 16, ' '},
        {"Ctrl-Shift-C", 54, 'C', "\x03", C | S, 3, 8, ' '}, {"Ctrl-H, no cursor key", 43, 'H', "\b", C, 8, 4, ' '},
        {"Ctrl-2 keeps its digit", 11, '2', std::string(1, '\0'), C, 50, 19, ' '},
        {"Ctrl-6 keeps its digit", 15, '6', "\x1e", C, 54, 22, ' '}, {"Ctrl-8 keeps its digit", 17, '8', "\x7f", C, 56, 28, ' '},
        {"Ctrl-ä", 48, 0xC4, "ä", C, 228, 39, ' '},      {"Ctrl-^ key", 49, DeadCircumflex, "", C, 30, 10, ' '},
        {"Ctrl-AltGr-8 ([)", 17, '[', "\x1b", C | G, 27, 28, ' '}, {"Ctrl-Shift-- (_)", 61, '_', "\x1f", C | S, 31, 44, ' '},
        {"Ctrl-Option-L", 46, 'L', "\x0c", C | A, 0, 37, ' '},
        {"AltGr @", 24, '@', "@", G, 64, 12, ' '},       {"AltGr € on E", 26, 0x20AC, "€", G, 164, 14, ' '},
        {"AltGr {", 16, '{', "{", G, 123, 26, ' '},      {"AltGr [", 17, '[', "[", G, 91, 28, ' '},
        {"AltGr ]", 18, ']', "]", G, 93, 25, ' '},       {"AltGr }", 19, '}', "}", G, 125, 29, ' '},
        {"AltGr backslash", 20, '\\', "\\", G, 92, 27, ' '}, {"AltGr ~", 35, '~', "~", G, 126, 30, ' '},
        {"AltGr |", 94, '|', "|", G, 124, 50, ' '},      {"AltGr µ", 58, 0xB5, "µ", G, 181, 46, ' '},
        {"AltGr ²", 11, 0xB2, "²", G, 178, 19, ' '},     {"Option-A", 38, 'A', "a", A, 176, 0, ' '},
        {"Option-E", 26, 'E', "e", A, 164, 14, ' '},     {"Option-Z, Omega", 29, 'Z', "z", A, 128, 16, ' '},
        {"Option-P", 33, 'P', "p", A, 240, 35, ' '},     {"Shift-Option-P", 33, 'P', "P", A | S, 208, 35, ' '},
        {"Option-<", 94, '<', "<", A, 197, 50, ' '},     {"Shift-Option-<", 94, '>', ">", A | S, 198, 50, ' '},
        {"Option-ß", 20, 0xDF, "ß", A, 166, 27, ' '},    {"Option-space", 65, ' ', " ", A, 160, 49, ' '},
        {"Option-Q, no layer", 24, 'Q', "q", A, 113, 12, ' '}, {"Shift-Option-A, no layer", 38, 'A', "A", A | S, 65, 0, ' '},
        {"pad 7", 79, '7', "7", K, 55, 89, ' '},         {"pad 7 without Num Lock", 79, Home, "", K, 55, 89, ' '},
        {"pad 0", 90, '0', "0", K, 48, 82, ' '},         {"Option-pad 0", 90, '0', "0", K | A, 216, 82, ' '},
        {"Option-pad 6", 85, '6', "6", K | A, 186, 88, ' '}, {"Option-pad 7", 79, '7', "7", K | A, 229, 89, ' '},
        {"Option-pad 8", 80, '8', "8", K | A, 230, 91, ' '}, {"Option-pad 9", 81, '9', "9", K | A, 188, 92, ' '},
        {"pad +", 86, '+', "+", K, 43, 69, ' '},         {"pad decimal", 91, ',', ",", K, 44, 65, ' '},
        {"Ctrl-pad 5", 84, '5', "5", K | C, 53, 87, ' '},
        {"synthetic a", 0, 'A', "a", 0, 97, 0, ' '},     {"synthetic z", 0, 'Z', "z", 0, 122, 16, ' '},
        {"synthetic Return", 0, Return, "\r", 0, 13, 36, ' '}, {"synthetic pad Enter", 0, Enter, "\r", K, 13, 76, ' '},
        {"synthetic Esc", 0, Escape, "\x1b", 0, 27, 53, ' '}, {"synthetic Backspace", 0, Backspace, "\b", 0, 127, 51, ' '},
        {"synthetic Delete", 0, Delete, "\x7f", 0, 7, 117, ' '}, {"synthetic left", 0, Left, "", 0, 8, 123, 'c'},
        {"synthetic F3", 0, Fn + 3, "", 0, 131, 99, 'f'}, {"synthetic F20", 0, Fn + 20, "", 0, 148, 90, 'f'},
        {"F24, beyond the board", 0, Fn + 24, "", 0, 152, 255, 'f'}, {"synthetic Shift-Tab", 0, Backtab, "", S, 20, 48, ' '},
        {"synthetic Ctrl-S", 0, 'S', "s", C, 19, 1, ' '}, {"synthetic ^", 0, DeadCircumflex, "", 0, 94, 10, ' '},
        {"synthetic ß", 0, 0xDF, "ß", 0, 223, 27, ' '},  {"synthetic @", 0, '@', "@", G, 64, 12, ' '},
        {"synthetic €", 0, 0x20AC, "€", G, 164, 14, ' '}, {"synthetic Option-A", 0, 'A', "a", A, 176, 0, ' '},
        {"synthetic pad 7 without Num Lock", 0, Home, "", K, 55, 89, ' '},
        {"synthetic Option-pad 8", 0, '8', "8", K | A, 230, 91, ' '},
        {"ç, which no key of the board types", 0, 0xE7, "ç", 0, 231, 255, ' '},
        // clang-format on
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.what);
        const Typed t = press(r.scan, r.key, r.text, r.mods);
        EXPECT_TRUE(t.event);
        EXPECT_EQ(t.value, r.value);
        EXPECT_EQ(t.code, r.code);
        EXPECT_EQ(t.cursor, r.kind == 'c');
        EXPECT_EQ(t.function, r.kind == 'f');
    }
    // Characters beyond Latin-1 that the tables don't know give nothing, and so does € elsewhere.
    EXPECT_FALSE(press(28, 0x167, "ŧ", G).event);
    EXPECT_FALSE(press(13, 0x20AC, "€", G).event);
    EXPECT_FALSE(press(0, 0x142, "ł", G).event);
    // Control with pad 7, 8 or 9 makes no key: the handler switches the output instead.
    for (uint32_t scan : {79u, 80u, 81u}) EXPECT_FALSE(press(scan, '7', "\x1f", K | C).event) << scan;
}

TEST(Keymap, ModifierFlags) {
    t_KeyComposition state;
    // The cursor group and the function keys carry the pad and Fn bits, as on the original keyboard.
    EXPECT_EQ(press(113, Left, "").flags, t_ModNumericPad | t_ModFn);
    EXPECT_EQ(press(67, F1, "").flags, t_ModFn);
    EXPECT_EQ(press(79, '7', "7", K).flags, t_ModNumericPad);
    EXPECT_EQ(press(38, 'A', "a", A).flags, t_ModOption);
    EXPECT_EQ(press(24, '@', "@", G).flags, 0u); // AltGr is not the Option key
    const Typed shift = press(state, 50, Shift, "", S);
    EXPECT_EQ(shift.kind, t_KeyKind::Flags);
    EXPECT_EQ(shift.flags, t_ModShift);
    EXPECT_EQ(press(state, 37, Control, "", C).flags, t_ModControl);
    EXPECT_EQ(press(state, 133, SuperL, "", MetaModifier).flags, t_ModCommand);
    // AltGr and Caps Lock: the native state is the one before the press.
    EXPECT_EQ(press(state, 108, AltGr, "", G).flags, 0u);
    EXPECT_EQ(press(state, 66, CapsLock, "", 0, 0).flags, t_ModCapsLock);
    EXPECT_EQ(press(state, 66, CapsLock, "", 0, NativeLock).flags, 0u);
    EXPECT_EQ(press(state, 38, 'A', "A", 0, NativeLock).flags, t_ModCapsLock);
    // Releasing a modifier reports the flags again; releasing another key gives nothing.
    EXPECT_EQ(translatekey({50, Shift, "", 0, 0, false, true}, state).Kind, t_KeyKind::Flags);
    EXPECT_EQ(translatekey({38, 'A', "a", 0, 0, false, true}, state).Kind, t_KeyKind::None);
    // The menu key and a media key have no counterpart.
    EXPECT_EQ(press(state, 135, Menu, "").kind, t_KeyKind::None);
    EXPECT_EQ(press(state, 121, 0x010000b2, "").kind, t_KeyKind::None);
}

// A dead key is an event of its own with its accent's value and composes the next letter.
TEST(Keymap, DeadKeysComposeTheNextLetter) {
    const struct {
        uint32_t scan;
        int key;
        std::string text;
        uint32_t mods;
        bool repeat;
        Int value; // -1: no key at all
    } steps[] = {
        // clang-format off
        {49, DeadCircumflex, "", 0, false, 94}, {26, 'E', "e", 0, false, 0xEA}, {26, 'E', "e", 0, false, 'e'},
        // A modifier alone between them changes nothing.
        {21, DeadAcute, "", 0, false, 180}, {50, Shift, "", S, false, -1}, {26, 'E', "E", S, false, 0xC9},
        {21, DeadGrave, "", S, false, 96}, {38, 'A', "a", 0, false, 0xE0},
        // Space gives the accent alone, and so does a letter without an accented form, before the letter.
        {49, DeadCircumflex, "", 0, false, 94}, {65, ' ', " ", 0, false, '^'},
        {49, DeadCircumflex, "", 0, false, 94}, {53, 'X', "x", 0, false, '^'}, {53, 'X', "x", 0, false, 'x'},
        // The same dead key twice types the accent once and leaves nothing waiting.
        {49, DeadCircumflex, "", 0, false, 94}, {49, DeadCircumflex, "", 0, false, '^'}, {32, 'O', "o", 0, false, 'o'},
        // Return stays Return and drops the accent.
        {21, DeadAcute, "", 0, false, 180}, {36, Return, "\r", 0, false, 13}, {26, 'E', "e", 0, false, 'e'},
        // Option-U and Option-N are the dead diaeresis and tilde.
        {30, 'U', "u", A, false, 175}, {32, 'O', "o", 0, false, 0xF6},
        {57, 'N', "n", A, false, 126}, {57, 'N', "N", S, false, 0xD1},
        // A dead key outside the table: Value 0, nothing composed.
        {20, 0x01001256, "", G, false, 0}, {26, 'E', "e", 0, false, 'e'},
        // A held dead key repeats nothing; Option between it and the letter leaves the accent waiting.
        {49, DeadCircumflex, "", 0, false, 94}, {49, DeadCircumflex, "", 0, true, -1},
        {64, Alt, "", A, false, -1}, {31, 'I', "i", 0, false, 0xEE},
        // clang-format on
    };
    t_KeyComposition state;
    for (size_t i = 0; i < std::size(steps); ++i) {
        const auto& s = steps[i];
        EXPECT_EQ(press(state, s.scan, s.key, s.text, s.mods, 0, s.repeat).value, s.value) << "step " << i;
    }
}

constexpr uint8_t win = 3;

void clearqueues() {
    {
        std::lock_guard<std::mutex> lock(t_KeyQueueLock);
        t_KeyQueue.clear();
        t_KeyEventPending = false;
    }
    std::lock_guard<std::mutex> lock(t_MouseQueueLock);
    t_MouseQueue.clear();
    t_MouseEventPending = false;
}
std::vector<t_Event> keys() {
    std::lock_guard<std::mutex> lock(t_KeyQueueLock);
    return {t_KeyQueue.begin(), t_KeyQueue.end()};
}
std::vector<t_Event> clicks() {
    std::lock_guard<std::mutex> lock(t_MouseQueueLock);
    return {t_MouseQueue.begin(), t_MouseQueue.end()};
}

// A record made by hand, as the window routines leave it, restored afterwards.
class Events : public ::testing::Test {
  protected:
    void SetUp() override {
        standin::install();
        t_DebugLevel = 1;
        clearqueues();
        savedMemory = t_MemoryInitialized.load();
        t_MemoryInitialized = true;
        for (uint8_t n : {win, uint8_t(6), uint8_t(7)}) saved[n] = t_WindowTable[n].Initialized.load();
        // 40 by 40 pixels inside a border of 8 across and 6 down.
        t_Window& w = t_WindowTable[win];
        w.Width = w.Height = 40;
        w.BorderWidth = 8;
        w.BorderHeight = 6;
        w.TextRedirectOutput = 1;
        w.Initialized = true;
    }
    void TearDown() override {
        clearqueues();
        t_WindowTable[win].IgnoreEvents = false;
        t_WindowTable[win].Visible = false;
        for (uint8_t n : {win, uint8_t(6), uint8_t(7)}) t_WindowTable[n].Initialized = saved[n];
        t_MemoryInitialized = savedMemory;
    }
    bool savedMemory = false;
    bool saved[8] = {};
};

TEST_F(Events, KeysAndClicksThatNoWindowTakesAreDropped) {
    standin::LogCapture log;
    t_MemoryInitialized = false;
    t_KeyIsDown = false;
    viewKeyDown(win, {0, "a", 0});
    t_MemoryInitialized = true;
    EXPECT_TRUE(t_KeyIsDown.load()); // before the memory: dropped silently, but the key is down
    t_WindowTable[7].Initialized = false;
    viewKeyDown(7, {0, "a", 0});
    viewKeyDown(9, {0, "a", 0});
    viewMouseDown(7, {1, 0, 10, 10}, false);
    // A window that ignores events drops them, the pad's redirection keys included.
    t_WindowTable[win].IgnoreEvents = true;
    viewKeyDown(win, {0, "a", 0});
    viewKeyDown(win, {89, "7", t_ModControl | t_ModNumericPad});
    viewMouseDown(win, {1, 0, 10, 10}, false);
    EXPECT_TRUE(keys().empty() && clicks().empty());
    EXPECT_EQ(t_WindowTable[win].TextRedirectOutput, 1);
    EXPECT_FALSE(t_KeyEventPending.load());
    t_MouseEventHandler(8, {1, 0, 1, 2}, 1.7, 2.2);
    t_WindowTable[6].Initialized = false;
    t_MouseEventHandler(6, {1, 0, 1, 2}, 1, 2);
    EXPECT_TRUE(clicks().empty());
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               "viewKeyDown: Graphic window (7) not initialized.",
                               "viewKeyDown: Graphic window (9) not initialized.",
                               "viewMouseDown: Graphic window (7) not initialized.",
                               "t_MouseEventHandler: Unknown window, AbsX = 1, AbsY = 2",
                               "t_MouseEventHandler:  window, X = -3, Y = -3",
                               "t_MouseEventHandler: Calling program mouse handler asynchronously.",
                               "t_MouseEventHandler: Window #6 not initialized.",
                               "t_MouseEventHandler:  window, X = -3, Y = -3",
                               "t_MouseEventHandler: Calling program mouse handler asynchronously."}));
}

TEST_F(Events, AQueuedKeyCarriesItsCodeCharactersValueAndModifiers) {
    const Int before = absolutetimems();
    viewKeyDown(win, {123, stringfromscalar(0xF702), t_ModShift | t_ModNumericPad | t_ModFn | (1u << 3)});
    viewKeyDown(win, {4, "\b", t_ModControl});
    viewKeyDown(win, {76, "\x03", t_ModNumericPad});
    viewKeyDown(win, {200, stringfromscalar(0x263A), 0}); // no event: beyond the tables
    // Control with pad 7, 8 and 9 switches the output instead of typing; with Option it types.
    const uint64_t control = t_ModControl | t_ModNumericPad;
    for (auto [code, target] : {std::pair{89, 0}, {91, 2}, {92, 1}}) {
        viewKeyDown(win, {code, "7", control});
        EXPECT_EQ(t_WindowTable[win].TextRedirectOutput, target) << code;
    }
    viewKeyDown(win, {89, "7", control | t_ModOption});
    ASSERT_TRUE(t_KeyEventPending.load());
    const std::vector<t_Event> q = keys();
    ASSERT_EQ(q.size(), 4u);
    const t_Event& left = q[0];
    EXPECT_EQ(left.Kind * 1000 + left.Index, 1123);
    EXPECT_EQ(left.Description, stringfromscalar(0xF702));
    EXPECT_EQ(left.Value, 8);
    EXPECT_TRUE(left.CursorKeyPressed && !left.FunctionKeyPressed);
    EXPECT_EQ(left.Mods, static_cast<Int>((t_ModShift | t_ModNumericPad | t_ModFn) >> 16));
    EXPECT_TRUE(left.ShiftPressed && left.NumericPadPressed && left.FnPressed);
    EXPECT_FALSE(left.ControlPressed || left.OptionPressed || left.CommandPressed || left.CapsLockPressed);
    EXPECT_EQ(left.Window, win);
    EXPECT_TRUE(left.Time >= before && left.Time <= absolutetimems());
    EXPECT_EQ(left.WindowX + left.WindowY + left.ClickX + left.ClickY + left.CloseBox, 0);
    // Control-H is 8 as well; only the cursor flag tells them apart. Pad Enter is 13.
    EXPECT_TRUE(q[1].Value == 8 && !q[1].CursorKeyPressed && q[1].ControlPressed);
    EXPECT_EQ(q[2].Value * 1000 + q[2].Index, 13076);
    EXPECT_EQ(q[3].Value, 229);
    viewFlagsChanged(win, t_ModOption | t_ModCapsLock);
    EXPECT_TRUE(t_ModifierState.Option.load() && t_ModifierState.CapsLock.load() &&
                !t_ModifierState.Shift.load());
    viewKeyUp(win);
    EXPECT_FALSE(t_KeyIsDown.load());
}

TEST_F(Events, ClicksAreCountedFromThePicturesTopLeftWithMarksForTheBorder) {
    standin::LogCapture log;
    std::atomic<int> handled{0};
    t_ProgramMouseHandler = [&handled] { ++handled; };
    // Window coordinates count up from the bottom edge: the picture spans x 8..47 and y 6..45.
    viewMouseDown(win, {1, t_ModShift, 13.9, 42.5}, false);
    viewMouseUp(win);
    viewMouseDown(win, {2, 0, 48, 20}, true); // just right of the picture, right button
    EXPECT_TRUE(!t_MouseButtonDown[0].load() && t_MouseButtonDown[1].load());
    viewMouseUp(win);
    EXPECT_FALSE(t_MouseButtonDown[1].load());
    viewMouseDown(win, {1, 0, 3, 47}, false);   // in the border left of and above the picture
    viewMouseDown(win, {1, 0, 47, 7.5}, false); // the last column; the last line
    viewMouseDown(win, {1, 0, 20, 2}, false);   // below the picture
    ASSERT_TRUE(standin::waitfor([&] { return handled.load() == 5; }));
    t_ProgramMouseHandler = [] {};
    const std::vector<t_Event> q = clicks();
    ASSERT_EQ(q.size(), 5u);
    EXPECT_TRUE(t_MouseEventPending.load());
    const t_Event& first = q[0];
    EXPECT_EQ(std::vector<Int>({first.Kind, first.Index, first.WindowX, first.WindowY, first.ClickX,
                                first.ClickY, first.Value, first.Window, first.ShiftPressed}),
              std::vector<Int>({2, 1, 13, 42, 5, 4, 0, win, 1}));
    const std::vector<std::pair<Int, Int>> places = {{5, 4}, {-2, 26}, {-1, -1}, {39, 39}, {12, -2}};
    for (size_t i = 0; i < q.size(); ++i) EXPECT_EQ(std::pair(q[i].ClickX, q[i].ClickY), places[i]) << i;
    const auto lines = log.lines();
    for (const std::string line : {"t_MouseEventHandler: Graphic #3 window, X = 5, Y = 4",
                                   "t_MouseEventHandler: Graphic #3 window, X = -1, Y = -1",
                                   "t_MouseEventHandler: Calling program mouse handler asynchronously."})
        EXPECT_NE(std::find(lines.begin(), lines.end(), line), lines.end()) << line;
}

TEST_F(Events, TheCloseBoxHidesTheWindowAndKeepsItsRecord) {
    standin::LogCapture log;
    t_WindowTable[win].Visible = true;
    t_MouseEventPostCloseBoxClick(win);
    EXPECT_TRUE(!t_WindowTable[win].Visible.load() && t_WindowTable[win].Initialized.load());
    EXPECT_TRUE(keys().empty() && clicks().empty());
    t_MouseEventPostCloseBoxClick(255);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"t_MouseEventPostCloseBoxClick: Window = 3",
                                                     "t_WindowVisible: Window does not exist.",
                                                     "t_MouseEventPostCloseBoxClick: Window = 255"}));
}

TEST_F(Events, APasteIsFedAsOneKeyPerCharacter) {
    // A letter with a combining accent and an emoji with a skin tone are one character each; a bad
    // byte comes as the replacement character.
    t_PostKeyString("aée\xcc\x81\xf0\x9f\x91\x8d\xf0\x9f\x8f\xbd\xff\r");
    std::vector<t_Event> q = keys();
    ASSERT_EQ(q.size(), 6u);
    const Int values[] = {'a', 0xE9, 'e', 0x1F44D, 0xFFFD, 13};
    for (size_t i = 0; i < q.size(); ++i) {
        EXPECT_EQ(q[i].Value, values[i]) << i;
        EXPECT_EQ(std::vector<Int>({q[i].Kind, q[i].Index, q[i].Window, q[i].Mods}),
                  std::vector<Int>({1, 0, 1, 0}));
    }
    EXPECT_EQ(q[2].Description, "e\xcc\x81");
    EXPECT_TRUE(t_KeyEventPending.load());
    // A long paste: characters across the reading windows stay whole and in order.
    clearqueues();
    std::string text;
    for (int i = 0; i < 20000; ++i) text += i % 3 ? "e\xcc\x81" : "x";
    t_PostKeyString(text);
    q = keys();
    ASSERT_EQ(q.size(), 20000u);
    int wrong = 0;
    for (size_t i = 0; i < q.size(); ++i) wrong += q[i].Description != (i % 3 ? "e\xcc\x81" : "x");
    EXPECT_EQ(wrong, 0);
    clearqueues();
    t_PostKeyString("");
    EXPECT_FALSE(t_KeyEventPending.load());
}

} // namespace
