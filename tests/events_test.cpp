// The routines between a view and the queues: which events are dropped and which logged, the fields of
// a queued key and click, the pad's redirection keys, the close box and the paste feed.
#include "spine_standin.h"

#include "display/display.h"

#include "library/library.h"
#include "shell/events.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

namespace {

using namespace std::chrono_literals;

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

t_Window& record(uint8_t window) {
    return t_WindowTable[window];
}

std::vector<t_Event> keys() {
    std::lock_guard<std::mutex> lock(t_KeyQueueLock);
    return {t_KeyQueue.begin(), t_KeyQueue.end()};
}

std::vector<t_Event> clicks() {
    std::lock_guard<std::mutex> lock(t_MouseQueueLock);
    return {t_MouseQueue.begin(), t_MouseQueue.end()};
}

bool haslog(const standin::LogCapture& log, const std::string& line) {
    const auto lines = log.lines();
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

// A record made by hand, as the window routines leave it: the tests run before any window is made in
// this process and leave the table as they found it.
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
        t_Window& w = record(win);
        w.Width = 40;
        w.Height = 40;
        w.BorderWidth = 8;
        w.BorderHeight = 6;
        w.TextRedirectOutput = 1;
        w.Initialized = true;
    }
    void TearDown() override {
        clearqueues();
        record(win).IgnoreEvents = false;
        record(win).Visible = false;
        for (uint8_t n : {win, uint8_t(6), uint8_t(7)}) t_WindowTable[n].Initialized = saved[n];
        t_MemoryInitialized = savedMemory;
    }
    bool savedMemory = false;
    bool saved[8] = {};
};

TEST_F(Events, KeysBeforeTheMemoryOrForAWindowNotMadeAreDroppedButMarkTheKeyDown) {
    standin::LogCapture log;
    t_MemoryInitialized = false;
    t_KeyIsDown = false;
    viewKeyDown(win, {0, "a", 0});
    t_MemoryInitialized = true;
    EXPECT_TRUE(t_KeyIsDown.load());
    EXPECT_TRUE(keys().empty());
    EXPECT_TRUE(log.lines().empty());

    record(7).Initialized = false;
    viewKeyDown(7, {0, "a", 0});
    viewKeyDown(9, {0, "a", 0});
    viewMouseDown(7, {1, 0, 10, 10}, false);
    EXPECT_TRUE(haslog(log, "viewKeyDown: Graphic window (7) not initialized."));
    EXPECT_TRUE(haslog(log, "viewKeyDown: Graphic window (9) not initialized."));
    EXPECT_TRUE(haslog(log, "viewMouseDown: Graphic window (7) not initialized."));
    EXPECT_TRUE(keys().empty());
    EXPECT_TRUE(clicks().empty());

    // A window that ignores events drops them, the pad's redirection keys included.
    record(win).IgnoreEvents = true;
    const Int target = record(win).TextRedirectOutput;
    viewKeyDown(win, {0, "a", 0});
    viewKeyDown(win, {89, "7", t_ModControl | t_ModNumericPad});
    viewMouseDown(win, {1, 0, 10, 10}, false);
    EXPECT_TRUE(keys().empty());
    EXPECT_TRUE(clicks().empty());
    EXPECT_EQ(record(win).TextRedirectOutput, target);
    EXPECT_FALSE(t_KeyEventPending.load());
}

TEST_F(Events, AQueuedKeyCarriesItsCodeCharactersValueAndModifiers) {
    const Int before = absolutetimems();
    const uint64_t flags = t_ModShift | t_ModNumericPad | t_ModFn | (1u << 3);
    viewKeyDown(win, {123, stringfromscalar(0xF702), flags});
    viewKeyDown(win, {4, "\b", t_ModControl});
    viewKeyDown(win, {36, "\r", 0});
    viewKeyDown(win, {76, "\x03", t_ModNumericPad});
    viewKeyDown(win, {200, stringfromscalar(0x263A), 0}); // no event: beyond the tables
    ASSERT_TRUE(t_KeyEventPending.load());
    const std::vector<t_Event> q = keys();
    ASSERT_EQ(q.size(), 4u);

    const t_Event& left = q[0];
    EXPECT_EQ(left.Kind, 1);
    EXPECT_EQ(left.Index, 123);
    EXPECT_EQ(left.Description, stringfromscalar(0xF702));
    EXPECT_EQ(left.Value, 8);
    EXPECT_TRUE(left.CursorKeyPressed);
    EXPECT_FALSE(left.FunctionKeyPressed);
    EXPECT_EQ(left.Mods, static_cast<Int>((t_ModShift | t_ModNumericPad | t_ModFn) >> 16));
    EXPECT_TRUE(left.ShiftPressed && left.NumericPadPressed && left.FnPressed);
    EXPECT_FALSE(left.ControlPressed || left.OptionPressed || left.CommandPressed || left.CapsLockPressed);
    EXPECT_EQ(left.Window, win);
    EXPECT_GE(left.Time, before);
    EXPECT_LE(left.Time, absolutetimems());
    EXPECT_EQ(left.WindowX + left.WindowY + left.ClickX + left.ClickY, 0);
    EXPECT_FALSE(left.CloseBox);
    // Control-H is 8 as well; only the cursor flag tells them apart.
    EXPECT_EQ(q[1].Value, 8);
    EXPECT_FALSE(q[1].CursorKeyPressed);
    EXPECT_TRUE(q[1].ControlPressed);
    // Return and pad Enter: the same Value, their own key codes.
    EXPECT_EQ(q[2].Value, 13);
    EXPECT_EQ(q[2].Index, 36);
    EXPECT_EQ(q[3].Value, 13);
    EXPECT_EQ(q[3].Index, 76);
    // The modifier state is what the last key showed.
    EXPECT_TRUE(t_ModifierState.Control.load() == false && t_ModifierState.Shift.load() == false);
    viewFlagsChanged(win, t_ModOption | t_ModCapsLock);
    EXPECT_TRUE(t_ModifierState.Option.load() && t_ModifierState.CapsLock.load());
    EXPECT_EQ(keys().size(), 4u);
    viewKeyUp(win);
    EXPECT_FALSE(t_KeyIsDown.load());
}

TEST_F(Events, ControlWithPadSevenEightOrNineSwitchesTheOutputInsteadOfTyping) {
    const uint64_t control = t_ModControl | t_ModNumericPad;
    viewKeyDown(win, {89, "7", control});
    EXPECT_EQ(record(win).TextRedirectOutput, 0);
    viewKeyDown(win, {91, "8", control});
    EXPECT_EQ(record(win).TextRedirectOutput, 2);
    viewKeyDown(win, {92, "9", control});
    EXPECT_EQ(record(win).TextRedirectOutput, 1);
    EXPECT_TRUE(keys().empty());
    EXPECT_FALSE(t_KeyEventPending.load());
    // With Option as well they type the Option characters.
    viewKeyDown(win, {89, "7", control | t_ModOption});
    viewKeyDown(win, {91, "8", t_ModOption});
    const std::vector<t_Event> q = keys();
    ASSERT_EQ(q.size(), 2u);
    EXPECT_EQ(q[0].Value, 229);
    EXPECT_EQ(q[1].Value, 230);
}

TEST_F(Events, ClicksAreCountedFromThePicturesTopLeftWithMarksForTheBorder) {
    standin::LogCapture log;
    std::atomic<int> handled{0};
    t_ProgramMouseHandler = [&handled] { ++handled; };
    // Window coordinates count up from the bottom edge: the picture spans x 8..47 and y 6..45.
    viewMouseDown(win, {1, t_ModShift, 13.9, 42.5}, false);
    viewMouseUp(win);
    viewMouseDown(win, {2, 0, 48, 20}, true); // just right of the picture, right button
    EXPECT_FALSE(t_MouseButtonDown[0].load());
    EXPECT_TRUE(t_MouseButtonDown[1].load());
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
    EXPECT_EQ(q[0].Kind, 2);
    EXPECT_EQ(q[0].Index, 1);
    EXPECT_EQ(q[0].WindowX, 13);
    EXPECT_EQ(q[0].WindowY, 42);
    EXPECT_EQ(q[0].ClickX, 5);
    EXPECT_EQ(q[0].ClickY, 4);
    EXPECT_TRUE(q[0].ShiftPressed);
    EXPECT_EQ(q[0].Value, 0);
    EXPECT_EQ(q[0].Window, win);
    EXPECT_EQ(q[1].Index, 2);
    EXPECT_EQ(q[1].ClickX, -2);
    EXPECT_EQ(q[2].ClickX, -1);
    EXPECT_EQ(q[2].ClickY, -1);
    EXPECT_EQ(q[3].ClickX, 39);
    EXPECT_EQ(q[3].ClickY, 39);
    EXPECT_EQ(q[4].ClickY, -2);
    EXPECT_TRUE(haslog(log, "t_MouseEventHandler: Graphic #3 window, X = 5, Y = 4"));
    EXPECT_TRUE(haslog(log, "t_MouseEventHandler: Graphic #3 window, X = -1, Y = -1"));
    EXPECT_TRUE(haslog(log, "t_MouseEventHandler: Calling program mouse handler asynchronously."));
}

TEST_F(Events, ClicksOutsideTheGraphicWindowsAreLoggedWithoutAnEvent) {
    standin::LogCapture log;
    t_MouseEventHandler(8, {1, 0, 1, 2}, 1.7, 2.2);
    record(6).Initialized = false;
    t_MouseEventHandler(6, {1, 0, 1, 2}, 1, 2);
    EXPECT_TRUE(clicks().empty());
    EXPECT_FALSE(t_MouseEventPending.load());
    const std::vector<std::string> expected = {
        "t_MouseEventHandler: Unknown window, AbsX = 1, AbsY = 2",
        "t_MouseEventHandler:  window, X = -3, Y = -3",
        "t_MouseEventHandler: Calling program mouse handler asynchronously.",
        "t_MouseEventHandler: Window #6 not initialized.",
        "t_MouseEventHandler:  window, X = -3, Y = -3",
        "t_MouseEventHandler: Calling program mouse handler asynchronously.",
    };
    EXPECT_EQ(log.lines(), expected);
}

TEST_F(Events, TheCloseBoxHidesTheWindowAndKeepsItsRecord) {
    standin::LogCapture log;
    record(win).Visible = true;
    t_MouseEventPostCloseBoxClick(win);
    EXPECT_FALSE(record(win).Visible.load());
    EXPECT_TRUE(record(win).Initialized.load());
    EXPECT_TRUE(keys().empty() && clicks().empty());
    t_MouseEventPostCloseBoxClick(255);
    const std::vector<std::string> expected = {"t_MouseEventPostCloseBoxClick: Window = 3",
                                               "t_WindowVisible: Window does not exist.",
                                               "t_MouseEventPostCloseBoxClick: Window = 255"};
    EXPECT_EQ(log.lines(), expected);
}

TEST_F(Events, APasteIsFedAsOneKeyPerCharacter) {
    // A letter with a combining accent and an emoji with a skin tone are one character each; a bad
    // byte comes as the replacement character.
    t_PostKeyString("aé"
                    "e\xcc\x81"
                    "\xf0\x9f\x91\x8d\xf0\x9f\x8f\xbd"
                    "\xff"
                    "\r");
    std::vector<t_Event> q = keys();
    ASSERT_EQ(q.size(), 6u);
    const Int values[] = {'a', 0xE9, 'e', 0x1F44D, 0xFFFD, 13};
    for (size_t i = 0; i < q.size(); ++i) {
        EXPECT_EQ(q[i].Value, values[i]) << i;
        EXPECT_EQ(q[i].Kind, 1);
        EXPECT_EQ(q[i].Index, 0);
        EXPECT_EQ(q[i].Window, 1);
        EXPECT_EQ(q[i].Mods, 0);
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
    for (size_t i = 0; i < q.size(); ++i)
        if (q[i].Description != (i % 3 ? "e\xcc\x81" : "x")) ++wrong;
    EXPECT_EQ(wrong, 0);
    clearqueues();
    t_PostKeyString("");
    EXPECT_FALSE(t_KeyEventPending.load());
}

} // namespace
