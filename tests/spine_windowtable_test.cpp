#include "spine_standin.h"

#include "display/display.h"

#include <gtest/gtest.h>

namespace {

class SpineWindowTable : public ::testing::Test {
  protected:
    void SetUp() override {
        screen = standin::install();
        savedMemory = t_MemoryInitialized.load();
        for (int n = 0; n < 8; ++n) {
            savedInitialized[n] = t_WindowTable[n].Initialized.load();
            savedTextStart[n] = t_WindowTable[n].TextMemoryStart;
        }
    }
    void TearDown() override {
        t_MemoryInitialized = savedMemory;
        for (int n = 0; n < 8; ++n) {
            t_WindowTable[n].Initialized = savedInitialized[n];
            t_WindowTable[n].TextMemoryStart = savedTextStart[n];
        }
    }
    // Window 2 live with text memory, window 3 live without (a graphics-only window).
    void livewindows() {
        t_MemoryInitialized = true;
        t_WindowTable[2].Initialized = true;
        t_WindowTable[2].TextMemoryStart = 1000;
        t_WindowTable[3].Initialized = true;
        t_WindowTable[3].TextMemoryStart = -1;
    }
    std::shared_ptr<standin::Screen> screen;
    bool savedMemory = false;
    bool savedInitialized[8] = {};
    Int savedTextStart[8] = {};
};

TEST_F(SpineWindowTable, GuardsRefuseSideWindowsAndNumbersBeyondTheTable) {
    livewindows();
    standin::LogCapture log;
    EXPECT_FALSE(t_TextGuard(8, "t_Vtab"));
    EXPECT_FALSE(t_RecordGuard(255, "t_Color"));
    EXPECT_FALSE(t_TextGuard(13, "t_Print"));
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"t_Vtab: Window is not a graphic window.",
                                                     "t_Color: Window is not a graphic window.",
                                                     "t_Print: Window is not a graphic window."}));
}

TEST_F(SpineWindowTable, TextGuardWantsTextMemoryRecordGuardDoesNot) {
    livewindows();
    standin::LogCapture log;
    EXPECT_TRUE(t_TextGuard(2, "t_Print"));
    EXPECT_TRUE(t_RecordGuard(3, "t_Color"));
    EXPECT_FALSE(t_TextGuard(3, "t_Print"));
    EXPECT_FALSE(t_RecordGuard(4, "t_Color"));
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"t_Print: Window #3 not initialized.",
                                                     "t_Color: Window #4 not initialized."}));
}

TEST_F(SpineWindowTable, NothingPassesBeforeTheMemoryIsSetUp) {
    livewindows();
    t_MemoryInitialized = false;
    standin::LogCapture log;
    EXPECT_FALSE(t_TextGuard(2, "t_Cr"));
    EXPECT_FALSE(t_RecordGuard(2, "t_Normal"));
    t_DebugLevel = 0;
    EXPECT_FALSE(t_TextGuard(2, "t_Cr"));
    t_DebugLevel = 1;
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"t_Cr: Window #2 not initialized.",
                                                     "t_Normal: Window #2 not initialized."}));
}

TEST_F(SpineWindowTable, PlatformWindowGuardTakesSideWindowsAndRefusesMissingOnes) {
    standin::LogCapture log;
    EXPECT_NE(t_PlatformWindowGuard(9, "t_WindowCenter"), nullptr);
    EXPECT_NE(t_PlatformWindowGuard(0, "t_WindowCenter"), nullptr);
    EXPECT_EQ(t_PlatformWindowGuard(13, "t_WindowCenter"), nullptr);
    EXPECT_EQ(t_PlatformWindowGuard(255, "t_WindowFront"), nullptr);
    screen->window[11] = false;
    EXPECT_EQ(t_PlatformWindowGuard(11, "t_WindowVisible"), nullptr);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"t_WindowCenter: Window does not exist.",
                                                     "t_WindowFront: Window does not exist.",
                                                     "t_WindowVisible: Window does not exist."}));
}

TEST_F(SpineWindowTable, LookupsAnswerByNumberOnTheMainThread) {
    for (int n = 0; n <= 12; ++n) EXPECT_EQ(t_WindowHandle(n), &screen->tokens[n][0]) << n;
    EXPECT_EQ(t_WindowHandle(13), nullptr);
    EXPECT_EQ(t_WindowHandle(255), nullptr);
    for (int n = 0; n <= 7; ++n) EXPECT_EQ(t_WindowView(n), &screen->tokens[n][1]) << n;
    EXPECT_EQ(t_WindowView(8), nullptr);
    EXPECT_EQ(t_WindowTextView(7), nullptr);
    for (int n = 8; n <= 10; ++n) EXPECT_EQ(t_WindowTextView(n), &screen->tokens[n][2]) << n;
    EXPECT_EQ(t_WindowTextView(11), nullptr);
    EXPECT_TRUE(screen->allonmain());
}

TEST_F(SpineWindowTable, DisplayWindowIsReachedThroughItsView) {
    screen->view[4] = false;
    EXPECT_EQ(t_WindowHandle(4), nullptr);
    EXPECT_EQ(t_WindowView(4), nullptr);
    // Its platform window is there, yet the reverse lookup does not know it either.
    EXPECT_EQ(t_WindowIndexOf(&screen->tokens[4][0]), 255);
}

TEST_F(SpineWindowTable, IndexOfReversesTheLookupAndKnowsNothingElse) {
    for (int n = 0; n <= 12; ++n) EXPECT_EQ(t_WindowIndexOf(t_WindowHandle(n)), n) << n;
    EXPECT_EQ(t_WindowIndexOf(nullptr), 255);
    int stranger = 0;
    EXPECT_EQ(t_WindowIndexOf(&stranger), 255);
    // A view token is not a window.
    EXPECT_EQ(t_WindowIndexOf(&screen->tokens[0][1]), 255);
    // Missing outlets are skipped, even when asked with nullptr.
    screen->window[9] = false;
    EXPECT_EQ(t_WindowIndexOf(nullptr), 255);
    // Same answer on the main thread itself.
    uint8_t onMain = 0;
    ASSERT_TRUE(standin::onmain([&] { onMain = t_WindowIndexOf(&screen->tokens[12][0]); }));
    EXPECT_EQ(onMain, 12);
}

TEST_F(SpineWindowTable, TableStartsBlankWithNoDefaultWindow) {
    EXPECT_EQ(t_DefaultWindow.load(), 255);
    EXPECT_EQ(t_HighMemory, 0xFFFFFF);
    EXPECT_FALSE(t_AutoUpdateRunning.load());
    const t_Window& record = t_WindowTable[7];
    EXPECT_FALSE(record.Initialized.load());
    EXPECT_TRUE(record.VerticalBlank.load());
    EXPECT_EQ(record.RefreshRate.load(), 30);
    EXPECT_EQ(record.MemoryStart, -1);
    EXPECT_EQ(record.TextRedirectOutput, 1);
    EXPECT_TRUE(record.Font.Data.empty());
    // The first guard message for the window number the run starts with.
    standin::LogCapture log;
    EXPECT_FALSE(t_TextGuard(t_DefaultWindow.load(), "t_Print"));
    EXPECT_EQ(log.lines(), std::vector<std::string>{"t_Print: Window is not a graphic window."});
}

} // namespace
