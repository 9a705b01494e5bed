// The video memory: where t_InitWindow puts a window's blocks, how it moves the others when a window is
// made anew, and what it corrects or refuses, each with its log lines.
#include "window_recorder.h"

namespace {

using Lines = std::vector<std::string>;

bool allbytes(Int from, Int to, uint8_t value) {
    return std::all_of(t_VideoMemory.begin() + from, t_VideoMemory.begin() + to + 1,
                       [&](uint8_t b) { return b == value; });
}

// Fills the block of the window, or with a delta checks that it holds the fill moved up by that much.
bool patterned(const t_Window& w, int seed, Int delta = -1) {
    bool same = true;
    for (Int a = w.MemoryStart; a <= w.MemoryEnd; ++a) {
        const auto value = static_cast<uint8_t>(((a - std::max<Int>(delta, 0)) * 31 + seed) >> 3);
        delta < 0 ? void(t_VideoMemory[a] = value) : void(same = same && t_VideoMemory[a] == value);
    }
    return same;
}

// The log lines that contain one of the words.
Lines said(const windowtest::Log& log, std::initializer_list<const char*> words) {
    Lines out = log.lines();
    std::erase_if(out, [&](const std::string& line) {
        return std::none_of(words.begin(), words.end(),
                            [&](const char* w) { return line.find(w) != line.npos; });
    });
    return out;
}

using VideoMemory = windowtest::WindowTest;

TEST_F(VideoMemory, TheRunsTwoWindowsGetTheWorkedExamplesBlocksAndLogLines) {
    setbundlepath(testsupport::builtbundle());
    windowtest::Log log;
    t_InitWindow(0, 24, 80, 25, 16, "MenloBold 16x32.font");
    t_InitWindow(1, 4, false, 640, 400, 16, 16, t_Font{}, true);
    const std::string window = "t_InitWindow: GraphicWindow #";
    EXPECT_EQ(said(log, {"t_InitMemory", "t_InitWindow"}),
              (Lines{"t_InitMemory: Start.", "t_InitMemory: End.", window + "0 Start.",
                     window + "0 = 1280 x 800 pixel x 24 bit = 3.000,00K video-memory = $00D12000.",
                     window + "0 End.", window + "1 Start.",
                     window + "1 = 640 x 400 pixel x 4 bit = 125,00K video-memory = $00CF1400.",
                     window + "1 End."}));
    t_Window &w0 = t_WindowTable[0], &w1 = t_WindowTable[1];
    EXPECT_EQ(std::vector<Int>({w0.TitleHeight, w0.TextWidth, w0.TextLastLine, t_DefaultWindow.load()}),
              std::vector<Int>({22, 80, 25, 0}));
    EXPECT_TRUE(w0.AutoUpdate.load() && !w1.AutoUpdate.load() && !w0.Visible.load());
    // Cleared: pixels black, cells blank in colour 0xC0 (the text block's halves are 2048 for 2000 cells).
    EXPECT_TRUE(allbytes(0xD12000, 0xFFFFFF, 0) && allbytes(0xD11000, 0xD11000 + 1999, 0x20) &&
                allbytes(0xD11000 + 2048, 0xD11FCF, 0xC0) && allbytes(0xCF1400, 0xCF1400 + 127999, 0));

    // Made anew, window 0 gives its blocks back first: window 1's block moves up, the fields stay.
    patterned(w1, 7);
    w0.TextInverse = true;
    windowtest::Log again;
    t_InitWindow(0, 24, true, 1280, 800, 16, 16, cellfont(16, 32), true);
    EXPECT_EQ(said(again, {"memory = ", " moving "}),
              (Lines{window + "0 high memory = $00FFFFFF, graphic block size to delete = $002EE000.",
                     window + "0 high memory = $00FFFFFF, text block size to delete = $00001000.",
                     window + "0 moving graphic block for win #1$00CF1400...00D10FFF to00FE0400...00FFFFFF",
                     window + "0 = 1280 x 800 pixel x 24 bit = 3.000,00K video-memory = $00CF2400."}));
    EXPECT_TRUE(patterned(w1, 7, 0x2EF000));
    EXPECT_TRUE(w0.TextInverse);
}

TEST_F(VideoMemory, SizesAreCorrectedAndShortMemoryRefused) {
    windowtest::Log log;
    t_InitWindow(2, 8, true, 31, 8193, 0, 0, t_Font{}, true);
    t_InitWindow(4, 4, true, 643, 64, 0, 0, t_Font{}, true);
    t_InitWindow(6, 8, true, 640, 400, -1, -5, t_Font{}, false); // a negative border fills the screen
    const t_Window& w = t_WindowTable[6];
    EXPECT_EQ(std::vector<Int>({t_WindowTable[2].Width, t_WindowTable[2].Height, t_WindowTable[4].Width,
                                w.BorderWidth, w.BorderHeight, w.TitleHeight}),
              std::vector<Int>({1280, 800, 644, 1920 - 640, 1080 - 400, 0}));
    EXPECT_EQ(said(log, {" pixel.", " multiple ", " title "}),
              (Lines{"t_InitWindow: GraphicWindow #2 cannot display 31 horizontal pixel.",
                     "t_InitWindow: GraphicWindow #2 cannot display 8193 vertical pixel.",
                     "t_InitWindow: GraphicWindow #4 width with 4 bit depth must be a multiple of 4.",
                     "t_InitWindow: GraphicWindow #6 title will be invisible."}));

    windowtest::blankmemory();
    t_InitMemory();
    t_HighMemory = 0x10000 + 1024; // 1024 bytes free: a 32 by 32 window of 8 bits needs exactly that
    quietwindow(2, 8, 32, 32, 0, 0);
    EXPECT_EQ(t_WindowTable[2].MemoryStart, 0x10000);
    t_HighMemory = 0x10000 + 1023;
    windowtest::Log refused;
    t_InitWindow(3, 8, true, 32, 32, 0, 0, t_Font{}, true);
    t_HighMemory = 0x10000 - 2048; // the figure is cut toward zero, and negative below the foot
    t_InitWindow(4, 16, true, 32, 32, 0, 0, t_Font{}, true);
    t_HighMemory = 0x10000 + 0x20000; // each block alone fits the free 128K; both need 256K
    t_InitWindow(5, 8, true, 128, 1024, 0, 0, cellfont(1, 2), true);
    EXPECT_EQ(said(refused, {"memory"}),
              (Lines{"t_InitWindow: GraphicWindow #3 has not enough graphic-video-memory (0K available).",
                     "t_InitWindow: Displaying 32 x 32 pixel x 8 bit needs 1,00K video-memory.",
                     "t_InitWindow: GraphicWindow #4 has not enough graphic-video-memory (-2K available).",
                     "t_InitWindow: Displaying 32 x 32 pixel x 16 bit needs 2,00K video-memory.",
                     "t_InitWindow: GraphicWindow #5 has not enough text-video-memory (128K available).",
                     "t_InitWindow: Displaying 128 x 512 characters needs 128,00K text-video-memory."}));
    EXPECT_EQ(t_HighMemory, 0x30000);
    EXPECT_FALSE(t_WindowTable[3].Initialized.load() || t_WindowTable[5].Initialized.load());
}

TEST_F(VideoMemory, RefusalsLeaveTheMemoryAsItWas) {
    quietwindow(3, 8, 64, 64, 0, 0);
    const Int high = t_HighMemory;
    t_Font flat = cellfont(0, 8);
    flat.Data.assign(16, 0x80);
    recorder->view[5] = false;
    windowtest::Log log;
    t_InitWindow(3, 12, true, 64, 64, 0, 0, t_Font{}, true); // a live window is freed first
    t_InitWindow(4, 8, true, 64, 64, 0, 0, flat, true);
    t_InitWindow(5, 8, true, 64, 64, 0, 0, cellfont(8, 8), true); // without a view the blocks stay taken
    setbundlepath(testsupport::builtbundle());
    t_InitWindow(0, 24, 80, 25, 16, "Nirgends 16x32.font"); // a missing font changes nothing
    EXPECT_EQ(said(log, {"nsupported", "cannot be", "resource", "16x32.font'"}),
              (Lines{"t_InitWindow: GraphicWindow #3 unsupported 12 bit depth.",
                     "t_InitWindow: GraphicWindow #4 font cell of 0 x 8 pixel cannot be used.",
                     "t_InitWindow: GraphicWindow #5 could not be initialized, resource undefined.",
                     "t_InitWindow: Font 'Nirgends 16x32.font' not found."}));
    EXPECT_EQ(t_WindowTable[5].MemoryEnd, high + 0x1000);
    EXPECT_LT(t_HighMemory, high);
    EXPECT_TRUE(t_WindowTable[5].Font.Data.empty());
    for (uint8_t n : {0, 3, 4, 5}) EXPECT_FALSE(t_WindowTable[n].Initialized.load()) << int(n);
}

TEST_F(VideoMemory, ASecondCallerWaitsUntilTheMemoryIsReady) {
    t_MemoryStarted = true; // as if another thread were inside t_InitMemory
    std::atomic<bool> done{false};
    std::thread caller([&] { t_InitWindow(2, 8, true, 64, 64, 0, 0, t_Font{}, true), done = true; });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(done.load());
    t_VideoMemory.assign(0x100000F, 0xFF);
    t_MemoryInitialized = true;
    caller.join();
    EXPECT_TRUE(t_WindowTable[2].Initialized.load());
}

} // namespace
