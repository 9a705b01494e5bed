// The window table's guards and the lookups of the platform's windows by number.
#include "window_recorder.h"

namespace {

TEST(SpineWindowTable, StartsBlankAndTheGuardsRefuseWhatIsNotLive) {
    auto screen = standin::install();
    windowtest::blankmemory();
    EXPECT_EQ(t_DefaultWindow.load(), 255);
    const t_Window& record = t_WindowTable[7];
    EXPECT_FALSE(record.Initialized.load());
    EXPECT_EQ(record.RefreshRate.load(), 30);
    EXPECT_EQ(record.MemoryStart, -1);

    // Window 2 live with text memory, window 3 live without (a graphics-only window).
    const struct {
        uint8_t window;
        bool text, memory, passes;
        std::string line;
    } rows[] = {
        {255, false, true, false, "t_Print: Window is not a graphic window."}, // the number a run starts with
        {8, true, true, false, "t_Print: Window is not a graphic window."},
        {13, false, true, false, "t_Print: Window is not a graphic window."},
        {2, true, true, true, ""},
        {3, false, true, true, ""},
        {3, true, true, false, "t_Print: Window #3 not initialized."},
        {4, false, true, false, "t_Print: Window #4 not initialized."},
        {2, false, false, false, "t_Print: Window #2 not initialized."},
    };
    t_WindowTable[2].Initialized = t_WindowTable[3].Initialized = true;
    t_WindowTable[2].TextMemoryStart = 1000;
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.window) + (row.text ? " text" : " record"));
        t_MemoryInitialized = row.memory;
        standin::LogCapture log;
        EXPECT_EQ((row.text ? t_TextGuard : t_RecordGuard)(row.window, "t_Print"), row.passes);
        EXPECT_EQ(log.lines(), row.line.empty() ? std::vector<std::string>{} : std::vector{row.line});
    }
    windowtest::blankmemory();
    standin::LogCapture log;
    t_DebugLevel = 0;
    EXPECT_FALSE(t_TextGuard(2, "t_Cr"));
    t_DebugLevel = 1;
    EXPECT_EQ(t_PlatformWindowGuard(9, "t_WindowCenter"), &screen->tokens[9][0]);
    EXPECT_EQ(t_PlatformWindowGuard(13, "t_WindowFront"), nullptr);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"t_WindowFront: Window does not exist."});
}

TEST(SpineWindowTable, LookupsAnswerByNumberOnTheMainThread) {
    auto screen = standin::install();
    for (int n = 0; n <= 12; ++n) {
        EXPECT_EQ(t_WindowHandle(n), &screen->tokens[n][0]) << n;
        EXPECT_EQ(t_WindowIndexOf(&screen->tokens[n][0]), n) << n;
        EXPECT_EQ(t_WindowView(n), n <= 7 ? &screen->tokens[n][1] : nullptr) << n;
        EXPECT_EQ(t_WindowTextView(n), n >= 8 && n <= 10 ? &screen->tokens[n][2] : nullptr) << n;
    }
    EXPECT_EQ(t_WindowHandle(13), nullptr);
    int stranger = 0;
    for (t_Handle unknown : {t_Handle(nullptr), t_Handle(&stranger), t_Handle(&screen->tokens[0][1])})
        EXPECT_EQ(t_WindowIndexOf(unknown), 255);
    // A display window is reached through its view; a missing outlet matches nothing, not even nullptr.
    screen->view[4] = screen->window[9] = false;
    EXPECT_EQ(t_WindowHandle(4), nullptr);
    EXPECT_EQ(t_WindowIndexOf(&screen->tokens[4][0]), 255);
    EXPECT_EQ(t_WindowIndexOf(nullptr), 255);
    uint8_t onMain = 0;
    ASSERT_TRUE(standin::onmain([&] { onMain = t_WindowIndexOf(&screen->tokens[12][0]); }));
    EXPECT_EQ(onMain, 12);
    EXPECT_FALSE(screen->offMain.load());
}

} // namespace
