#include "window_recorder.h"

#include "display/display.h"

#include <gtest/gtest.h>

#include <future>

namespace {

using Lines = std::vector<std::string>;

std::string rgb(const t_RGBColor& c) {
    char text[16];
    std::snprintf(text, sizeof text, "%02X%02X%02X/%02X", c.Red, c.Green, c.Blue, c.Alpha);
    return text;
}

class Geometry : public windowtest::WindowTest {};

TEST(Palette, SixteenFixedColoursAndBlackBeyond) {
    EXPECT_EQ(rgb(t_PaletteColor(0)), "000000/FF");
    EXPECT_EQ(rgb(t_PaletteColor(2)), "000080/FF");
    EXPECT_EQ(rgb(t_PaletteColor(5)), "545454/FF");
    EXPECT_EQ(rgb(t_PaletteColor(8)), "804000/FF");
    EXPECT_EQ(rgb(t_PaletteColor(10)), "A8A8A8/FF");
    EXPECT_EQ(rgb(t_PaletteColor(11)), "FF8080/FF");
    EXPECT_EQ(rgb(t_PaletteColor(12)), "00FF00/FF");
    EXPECT_EQ(rgb(t_PaletteColor(15)), "FFFFFF/FF");
    EXPECT_EQ(rgb(t_PaletteColor(16)), "000000/FF");
    EXPECT_EQ(rgb(t_PaletteColor(UINT64_MAX)), "000000/FF");
}

TEST_F(Geometry, ColorSetsTheForegroundNibbleAndKeepsTheBackground) {
    quietwindow(2, 24, 64, 64, 0, 0, windowtest::cellfont(8, 8));
    t_Window& w = t_WindowTable[2];
    ASSERT_EQ(w.TextColor, 0xC0);
    t_Color(2, 1);
    EXPECT_EQ(w.TextColor, 0x10);
    EXPECT_EQ(rgb(w.RGBColor), "FF0000/FF");
    w.TextColor = 0xC7;
    t_Color(2, 17);
    EXPECT_EQ(w.TextColor, 0x17);
    EXPECT_EQ(rgb(w.RGBColor), "FF0000/FF");
    t_Color(2, -1);
    EXPECT_EQ(w.TextColor, 0xF7);
    EXPECT_EQ(rgb(w.RGBColor), "FFFFFF/FF");
    t_Color(2, INT64_MIN + 13);
    EXPECT_EQ(w.TextColor, 0xD7);
    // A window without text memory takes colours too; side windows and blank records do not.
    quietwindow(3, 8, 64, 64, 0, 0);
    t_Color(3, 14);
    EXPECT_EQ(t_WindowTable[3].TextColor, 0xE0);
    windowtest::Log log;
    t_Color(8, 1);
    t_Color(4, 1);
    EXPECT_EQ(t_WindowTable[4].TextColor, 0);
    EXPECT_EQ(log.lines(),
              (Lines{"t_Color: Window is not a graphic window.", "t_Color: Window #4 not initialized."}));
}

TEST_F(Geometry, ColorBorderPaintsTheWindowBackground) {
    quietwindow(2, 24, 64, 64, 8, 8);
    recorder->taken();
    t_ColorBorder(2, 21);
    EXPECT_EQ(rgb(t_WindowTable[2].RGBColorBorder), "545454/FF");
    t_ColorBorder(2, 7);
    EXPECT_EQ(rgb(t_WindowTable[2].RGBColorBorder), "0080FF/FF");
    EXPECT_EQ(recorder->taken(), (Lines{"background 2 84 84 84", "background 2 0 128 255"}));
    windowtest::Log log;
    t_ColorBorder(3, 1);
    EXPECT_EQ(log.lines(), Lines{"t_ColorBorder: Window #3 not initialized."});
    EXPECT_TRUE(recorder->taken().empty());
}

TEST_F(Geometry, WindowPosOfALiveWindowComesFromTheRecord) {
    quietwindow(2, 24, 640, 400, 16, 12, windowtest::cellfont(16, 32));
    t_Window& w = t_WindowTable[2];
    w.TextFirstColumn = 3;
    w.TextLastColumn = 38;
    w.TextFirstLine = 2;
    w.TextLastLine = 11;
    // Whatever the user did to the frame, the measures are the record's.
    recorder->screen->frame[2] = {100.9, 250.5, 999, 999};
    const Int expected[21] = {
        3,    2,    38, 11, 36, 10, 40, 12, 640, 400, 672, 424, 446, 100, 1080 - 250 - 446,
        1920, 1080, 22, 16, 12, 250};
    for (Int s = 0; s <= 20; ++s) EXPECT_EQ(t_WindowPos(2, s), expected[s]) << "selector " << s;
    EXPECT_EQ(t_WindowPos(2, 21), 0);
    EXPECT_EQ(t_WindowPos(2, -1), 0);
}

TEST_F(Geometry, WindowPosBeforeTheMemoryAndOfSideWindowsComesFromTheFrame) {
    recorder->screen->frame[3] = {100.7, 200.9, 700.5, 500.2};
    recorder->screen->frame[9] = {10, 20, 660, 522};
    const Int graphic[21] = {0,    0,    0,  0, 0, 0,  0, 0, 700, 478, 700, 478, 500, 100, 1080 - 200 - 500,
                             1920, 1080, 22, 0, 0, 200};
    const Int side[21] = {
        0,    0,    659, 521, 660, 522, 660, 522, 660, 500, 660, 500, 522, 10, 1080 - 20 - 522,
        1920, 1080, 22,  0,   0,   20};
    for (Int s = 0; s <= 20; ++s) {
        EXPECT_EQ(t_WindowPos(3, s), graphic[s]) << "selector " << s;
        EXPECT_EQ(t_WindowPos(9, s), side[s]) << "selector " << s;
    }
    windowtest::Log log;
    EXPECT_EQ(t_WindowPos(13, 15), 0);
    EXPECT_EQ(log.lines(), Lines{"t_WindowPos: Window does not exist."});
    // Once the memory is there, a graphic window that was never made measures nothing but its borders.
    t_InitMemory();
    EXPECT_EQ(t_WindowPos(3, 8), 0);
    EXPECT_EQ(t_WindowPos(3, 12), 0);
    EXPECT_EQ(t_WindowPos(3, 13), 100);
}

TEST_F(Geometry, WindowSizeWithNoChangesPutsTheFrameBackToTheRecord) {
    quietwindow(2, 24, 640, 400, 16, 12);
    recorder->screen->frame[2] = {300, 120, 900, 900};
    recorder->taken();
    t_WindowSize(2, -1, -1, -1, -1);
    EXPECT_EQ(recorder->taken(), (Lines{"frame 2 300,120 672x446", "view 2 16,12 640x400"}));
    // The view is sized, not the memory.
    t_WindowSize(2, 5, 6, 320, 200);
    EXPECT_EQ(recorder->taken(), (Lines{"frame 2 5,6 352x246", "view 2 16,12 320x200"}));
    EXPECT_EQ(t_WindowTable[2].Width, 640);
    windowtest::Log log;
    t_WindowSize(4, -1, -1, 100, 100);
    t_WindowSize(13, -1, -1, 100, 100);
    EXPECT_EQ(log.lines(),
              (Lines{"t_WindowSize: Window #4 not initialized.", "t_WindowSize: Window does not exist."}));
    EXPECT_TRUE(recorder->taken().empty());
    EXPECT_TRUE(recorder->allOnMain);
}

TEST_F(Geometry, WindowSizeOfSideWindowsAddsTheTitleAndSizesTheScrollView) {
    recorder->screen->scrollFrame[9] = {20, 20, 600, 400};
    t_WindowSize(9, 10, 20, 700, 500);
    EXPECT_EQ(recorder->taken(), (Lines{"frame 9 10,20 700x522", "scroll 9 20,20 660x423"}));
    // Shown, it comes to the front first; a measure not asked for stays.
    recorder->visible[9] = true;
    t_WindowSize(9, 10, 20, -1, 600);
    EXPECT_EQ(recorder->taken(), (Lines{"front 9", "frame 9 10,20 700x622", "scroll 9 20,20 660x523"}));
    t_WindowSize(12, 1, 2, 300, 200);
    EXPECT_EQ(recorder->taken(), Lines{"frame 12 1,2 300x222"});
}

TEST_F(Geometry, FrontShowsTheWindowAndSetsVisibleSoTheRefreshDrawsIt) {
    quietwindow(2, 24, 64, 64, 0, 0);
    t_Window& w = t_WindowTable[2];
    ASSERT_FALSE(w.Visible.load());
    recorder->taken();
    t_WindowFront(2);
    EXPECT_TRUE(w.Visible.load());
    EXPECT_EQ(recorder->taken(), (Lines{"front 2", "key 2"}));
    w.UpdateDuration = 1234;
    t_WindowVisible(2, false);
    EXPECT_FALSE(w.Visible.load());
    EXPECT_EQ(w.UpdateDuration.load(), 0);
    t_WindowVisible(11, true);
    t_WindowVisible(12, false);
    t_WindowCenter(9);
    EXPECT_EQ(recorder->taken(), (Lines{"out 2", "front 11", "out 12", "center 9"}));
    windowtest::Log log;
    t_WindowCenter(13);
    t_WindowFront(255);
    EXPECT_EQ(log.lines(),
              (Lines{"t_WindowCenter: Window does not exist.", "t_WindowFront: Window does not exist."}));
    EXPECT_TRUE(recorder->allOnMain);
}

TEST_F(Geometry, ThePasteboardWindowShowsThePasteboardsText) {
    setpasteboardstring("Bericht\rZeile 2");
    recorder->taken();
    t_WindowVisible(8, true);
    EXPECT_EQ(recorder->of("text"), Lines{"text 8 Bericht\rZeile 2"});
    EXPECT_EQ(recorder->of("front"), Lines{"front 8"});
    EXPECT_EQ(recorder->of("needsdisplay"), Lines{"needsdisplay 8"});
    recorder->taken();
    recorder->screen->pasteboard.clear();
    t_WindowVisible(8, true);
    t_WindowVisible(10, true);
    t_WindowVisible(8, false);
    EXPECT_EQ(recorder->taken(),
              (Lines{"text 8 ", "front 8", "needsdisplay 8", "front 10", "needsdisplay 10", "out 8"}));
}

TEST_F(Geometry, ASideWindowWithoutItsTextViewBeepsEvenWhenHidden) {
    t_BeepForget();
    recorder->textView[9] = false;
    windowtest::Log log;
    t_WindowVisible(9, false);
    windowtest::drainmain();
    const Lines lines = log.lines();
    EXPECT_NE(std::find(lines.begin(), lines.end(),
                        "t_WindowVisible: Virtual printer window is nil, resource undefined."),
              lines.end());
    EXPECT_EQ(recorder->beeps() + static_cast<int>(recorder->plays()), 1);
    EXPECT_TRUE(recorder->of("out").empty());
    t_BeepForget();
}

TEST_F(Geometry, TitleHandsOverWithoutWaitingForTheMainThread) {
    // The main thread is busy until released; the title call must come back all the same.
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    standin::post([released] { released.wait(); });
    auto call = std::async(std::launch::async, [] { t_WindowTitle(4, "Seelenorakel"); });
    EXPECT_EQ(call.wait_for(std::chrono::seconds(5)), std::future_status::ready);
    EXPECT_TRUE(recorder->of("title").empty());
    release.set_value();
    windowtest::drainmain();
    EXPECT_EQ(recorder->of("title"), Lines{"title 4 Seelenorakel"});
    windowtest::Log log;
    t_WindowTitle(13, "x");
    windowtest::drainmain();
    EXPECT_EQ(log.lines(), Lines{"t_WindowTitle: Window does not exist."});
}

TEST_F(Geometry, TitleVisibleSetsTheStyleAndTheTitleHeight) {
    quietwindow(2, 24, 64, 64, 4, 4);
    recorder->taken();
    t_WindowTitleVisible(2, false);
    EXPECT_EQ(t_WindowTable[2].TitleHeight, 0);
    EXPECT_EQ(t_WindowPos(2, 12), 72);
    t_WindowTitleVisible(2, true);
    EXPECT_EQ(t_WindowTable[2].TitleHeight, 22);
    EXPECT_EQ(t_WindowPos(2, 12), 94);
    t_WindowTitleVisible(11, false);
    EXPECT_EQ(recorder->taken(), (Lines{"style 2 0", "style 2 7", "style 11 0"}));
}

} // namespace
