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
        uint32_t scan;
        int key;
        std::string text;
        uint32_t mods;
        Int value, code;
        char kind; // ' ' plain, 'c' cursor key, 'f' function key
    } rows[] = {
        // clang-format off
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
        {86, '+', "+", K, 43, 69, ' '}, {0, Fn + 24, "", 0, 152, 255, 'f'},
        {0, DeadCircumflex, "", 0, 94, 10, ' '}, {0, 0x20AC, "€", G, 164, 14, ' '},
        {0, Home, "", K, 55, 89, ' '}, {0, '8', "8", K | A, 230, 91, ' '}, {0, 0xE7, "ç", 0, 231, 255, ' '},
        {0, Enter, "\r", K, 13, 76, ' '}, {0, Delete, "\x7f", 0, 7, 117, ' '},
        {0, 0xDF, "ß", 0, 223, 27, ' '}, {0, '@', "@", G, 64, 12, ' '}, {91, ',', ",", K, 44, 65, ' '}
        // clang-format on
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(std::to_string(r.scan) + " " + std::to_string(r.key) + " " + r.text);
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
    using enum t_KeyKind;
    // The cursor group and the function keys carry the pad and Fn bits, as on the original keyboard; AltGr
    // is not the Option key; the native Caps Lock state is the one before the press.
    const struct {
        uint32_t scan;
        int key;
        uint32_t mods, native;
        uint64_t flags;
        t_KeyKind kind;
    } rows[] = {
        // clang-format off
        {113, Left, 0, 0, t_ModNumericPad | t_ModFn, Key}, {67, F1, 0, 0, t_ModFn, Key},
        {79, '7', K, 0, t_ModNumericPad, Key}, {38, 'A', A, 0, t_ModOption, Key}, {24, '@', G, 0, 0, Key},
        {50, Shift, S, 0, t_ModShift, Flags}, {37, Control, C, 0, t_ModControl, Flags},
        {133, SuperL, MetaModifier, 0, t_ModCommand, Flags}, {108, AltGr, G, 0, 0, Flags},
        {66, CapsLock, 0, 0, t_ModCapsLock, Flags}, {66, CapsLock, 0, NativeLock, 0, Flags},
        {38, 'A', 0, NativeLock, t_ModCapsLock, Key}, {135, Menu, 0, 0, 0, None}, {121, 0x010000b2, 0, 0, 0, None}
        // clang-format on
    };
    t_KeyComposition state;
    for (const auto& r : rows) {
        const Typed t = press(state, r.scan, r.key, "", r.mods, r.native);
        EXPECT_EQ(t.flags, r.flags) << r.scan;
        EXPECT_EQ(t.kind, r.kind) << r.scan;
    }
    // Releasing a modifier reports the flags again; releasing another key gives nothing.
    EXPECT_EQ(translatekey({50, Shift, "", 0, 0, false, true}, state).Kind, Flags);
    EXPECT_EQ(translatekey({38, 'A', "a", 0, 0, false, true}, state).Kind, None);
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
    std::scoped_lock lock(t_KeyQueueLock, t_MouseQueueLock);
    t_KeyQueue.clear();
    t_MouseQueue.clear();
    t_KeyEventPending = t_MouseEventPending = false;
}
template <typename Queue> std::vector<t_Event> queued(std::mutex& lock, const Queue& queue) {
    std::lock_guard<std::mutex> hold(lock);
    return {queue.begin(), queue.end()};
}
std::vector<t_Event> keys() {
    return queued(t_KeyQueueLock, t_KeyQueue);
}
std::vector<t_Event> clicks() {
    return queued(t_MouseQueueLock, t_MouseQueue);
}

// Window 3 made by hand, 40 by 40 pixels inside a border of 8 across and 6 down; windows 3, 6 and 7
// and the memory flag are put back afterwards.
class Events : public ::testing::Test {
  protected:
    void SetUp() override {
        standin::install();
        t_DebugLevel = 1;
        clearqueues();
        savedMemory = t_MemoryInitialized.exchange(true);
        for (uint8_t n : {3, 6, 7}) saved[n] = t_WindowTable[n].Initialized.load();
        t_Window& w = t_WindowTable[win];
        w.Width = w.Height = 40;
        w.BorderWidth = 8;
        w.BorderHeight = 6;
        w.TextRedirectOutput = 1;
        w.Initialized = true;
    }
    void TearDown() override {
        clearqueues();
        t_WindowTable[win].IgnoreEvents = t_WindowTable[win].Visible = false;
        for (uint8_t n : {3, 6, 7}) t_WindowTable[n].Initialized = saved[n];
        t_MemoryInitialized = savedMemory;
    }
    bool savedMemory = false, saved[8] = {};
    standin::LogCapture log;
};

TEST_F(Events, KeysAndClicksThatNoWindowTakesAreDropped) {
    t_MemoryInitialized = false;
    t_KeyIsDown = false;
    viewKeyDown(win, {0, "a", 0});
    t_MemoryInitialized = true;
    EXPECT_TRUE(t_KeyIsDown.load()); // before the memory: dropped silently, but the key is down
    t_WindowTable[7].Initialized = t_WindowTable[6].Initialized = false;
    viewKeyDown(7, {0, "a", 0});
    viewKeyDown(9, {0, "a", 0});
    viewMouseDown(7, {1, 0, 10, 10}, false);
    // A window that ignores events drops them, the pad's redirection keys included.
    t_WindowTable[win].IgnoreEvents = true;
    viewKeyDown(win, {0, "a", 0});
    viewKeyDown(win, {89, "7", t_ModControl | t_ModNumericPad});
    viewMouseDown(win, {1, 0, 10, 10}, false);
    // Clicks beside the graphic windows call the program's handler without an event; it runs
    // elsewhere, and is waited for so that it ends within this test.
    std::atomic<int> handled{0};
    t_ProgramMouseHandler = [&handled] { ++handled; };
    t_MouseEventHandler(8, {1, 0, 1, 2}, 1.7, 2.2);
    t_MouseEventHandler(6, {1, 0, 1, 2}, 1, 2);
    EXPECT_TRUE(standin::waitfor([&] { return handled.load() == 2; }));
    t_ProgramMouseHandler = [] {};
    EXPECT_TRUE(keys().empty() && clicks().empty() && !t_KeyEventPending && !t_MouseEventPending);
    EXPECT_EQ(t_WindowTable[win].TextRedirectOutput, 1);
    const std::string mouse = "t_MouseEventHandler: ", unplaced = mouse + " window, X = -3, Y = -3",
                      async = mouse + "Calling program mouse handler asynchronously.";
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{"viewKeyDown: Graphic window (7) not initialized.",
                                        "viewKeyDown: Graphic window (9) not initialized.",
                                        "viewMouseDown: Graphic window (7) not initialized.",
                                        mouse + "Unknown window, AbsX = 1, AbsY = 2", unplaced, async,
                                        mouse + "Window #6 not initialized.", unplaced, async}));
}

TEST_F(Events, AQueuedKeyCarriesItsCodeCharactersValueAndModifiers) {
    const Int before = absolutetimems();
    viewKeyDown(win, {123, stringfromscalar(0xF702), t_ModShift | t_ModNumericPad | t_ModFn | (1u << 3)});
    viewKeyDown(win, {4, "\b", t_ModControl});
    viewKeyDown(win, {76, "\x03", t_ModNumericPad});
    viewKeyDown(win, {200, stringfromscalar(0x263A), 0}); // no event: beyond the tables
    // Control with pad 7, 8 and 9 switches the output instead of typing; with Option it types.
    for (auto [code, target] : {std::pair{89, 0}, {91, 2}, {92, 1}}) {
        viewKeyDown(win, {code, "7", t_ModControl | t_ModNumericPad});
        EXPECT_EQ(t_WindowTable[win].TextRedirectOutput, target) << code;
    }
    viewKeyDown(win, {89, "7", t_ModControl | t_ModNumericPad | t_ModOption});
    ASSERT_TRUE(t_KeyEventPending.load());
    const std::vector<t_Event> q = keys();
    ASSERT_EQ(q.size(), 4u);
    const t_Event& left = q[0];
    EXPECT_EQ(std::vector<Int>({left.Kind, left.Index, left.Value, left.Mods, left.Window}),
              std::vector<Int>({1, 123, 8, (t_ModShift | t_ModNumericPad | t_ModFn) >> 16, win}));
    EXPECT_EQ(left.Description, stringfromscalar(0xF702));
    EXPECT_TRUE(left.CursorKeyPressed && left.ShiftPressed && left.NumericPadPressed && left.FnPressed);
    EXPECT_FALSE(left.FunctionKeyPressed || left.ControlPressed || left.OptionPressed ||
                 left.CommandPressed || left.CapsLockPressed || left.CloseBox);
    EXPECT_TRUE(left.Time >= before && left.Time <= absolutetimems());
    EXPECT_EQ(left.WindowX + left.WindowY + left.ClickX + left.ClickY, 0);
    // Control-H is 8 as well; only the cursor flag tells them apart. Pad Enter is 13.
    EXPECT_TRUE(q[1].Value == 8 && !q[1].CursorKeyPressed && q[1].ControlPressed);
    EXPECT_EQ(std::pair(q[2].Value, q[2].Index), (std::pair<Int, Int>(13, 76)));
    EXPECT_EQ(q[3].Value, 229);
    viewFlagsChanged(win, t_ModOption | t_ModCapsLock);
    EXPECT_TRUE(t_ModifierState.Option && t_ModifierState.CapsLock && !t_ModifierState.Shift);
    viewKeyUp(win);
    EXPECT_FALSE(t_KeyIsDown.load());
}

TEST_F(Events, ClicksAreCountedFromThePicturesTopLeftWithMarksForTheBorder) {
    std::atomic<int> handled{0};
    t_ProgramMouseHandler = [&handled] { ++handled; };
    // Window coordinates count up from the bottom edge: the picture spans x 8..47 and y 6..45.
    viewMouseDown(win, {1, t_ModShift, 13.9, 42.5}, false);
    viewMouseUp(win);
    viewMouseDown(win, {2, 0, 48, 20}, true); // just right of the picture, right button
    EXPECT_TRUE(!t_MouseButtonDown[0] && t_MouseButtonDown[1]);
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
    const t_Event& c = q[0];
    EXPECT_EQ(std::vector<Int>({c.Kind, c.Index, c.WindowX, c.WindowY, c.Value, c.Window, c.ShiftPressed}),
              std::vector<Int>({2, 1, 13, 42, 0, win, 1}));
    const std::vector<std::pair<Int, Int>> places = {{5, 4}, {-2, 26}, {-1, -1}, {39, 39}, {12, -2}};
    for (size_t i = 0; i < q.size(); ++i) EXPECT_EQ(std::pair(q[i].ClickX, q[i].ClickY), places[i]) << i;
    EXPECT_EQ(q[1].Index, 2);
    const auto lines = log.lines();
    for (const std::string line : {"t_MouseEventHandler: Graphic #3 window, X = 5, Y = 4",
                                   "t_MouseEventHandler: Graphic #3 window, X = -1, Y = -1",
                                   "t_MouseEventHandler: Calling program mouse handler asynchronously."})
        EXPECT_NE(std::find(lines.begin(), lines.end(), line), lines.end()) << line;
}

TEST_F(Events, TheCloseBoxHidesTheWindowAndKeepsItsRecord) {
    t_WindowTable[win].Visible = true;
    t_MouseEventPostCloseBoxClick(win);
    EXPECT_TRUE(!t_WindowTable[win].Visible && t_WindowTable[win].Initialized && keys().empty() &&
                clicks().empty());
    t_MouseEventPostCloseBoxClick(255);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"t_MouseEventPostCloseBoxClick: Window = 3",
                                                     "t_WindowVisible: Window does not exist.",
                                                     "t_MouseEventPostCloseBoxClick: Window = 255"}));
}

} // namespace
