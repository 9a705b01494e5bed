// The display: where t_InitWindow puts a window's blocks in the video memory, moves them and what it
// refuses; a window's picture at every depth; window measures and their platform calls; the refresh process;
// font files, whose damage must cost the font and nothing more.
#include "window_recorder.h"
#include "tools/lzw.h"

#include <filesystem>
#include <optional>

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
        return std::ranges::none_of(words, [&](const char* w) { return line.find(w) != line.npos; });
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

constexpr uint8_t number = 5;

struct Frame : windowtest::WindowTest {
    // With the memory ready, a live, visible window whose block of random bytes ends at the very top of the
    // memory, so that a read past the block would leave the memory too.
    static t_Window& makewindow(Int depth, Int width, Int height) {
        t_Window& w = t_WindowTable[number];
        w.BitDepth = depth, w.Width = width, w.Height = height;
        w.MemoryEnd = static_cast<Int>(t_VideoMemory.size()) - 1;
        w.MemoryStart = w.MemoryEnd - (width * height * depth + 7) / 8 + 1;
        w.Initialized = w.Visible = t_MemoryInitialized = true;
        unsigned seed = static_cast<unsigned>(depth * width);
        for (Int i = w.MemoryStart; i <= w.MemoryEnd; ++i)
            t_VideoMemory[i] = static_cast<uint8_t>((seed = seed * 1103515245u + 12345u) >> 16);
        return w;
    }
};

TEST_F(Frame, EveryDepthFollowsItsLayoutPixelForPixel) {
    // Widths that leave the fast loops a ragged end: 37 pixels a row at 24 bits is not a multiple of 4. The
    // frame is used again, so a smaller window after a larger must come out its own size.
    t_Image frame;
    for (Int depth : {1, 4, 8, 16, 24, 32}) {
        const t_Window& w = makewindow(depth, depth == 1 ? 40 : depth == 4 ? 36 : 37, 9);
        ASSERT_TRUE(t_WindowImage(number, frame));
        ASSERT_EQ(frame.Width * 100 + frame.Height, w.Width * 100 + 9);
        ASSERT_EQ(frame.Pixels.size(), size_t(w.Width * 9));
        for (Int p = 0, x = 0; p < w.Width * 9; ++p, x = p % w.Width) {
            // The pixel read the slow way: 1 and 4 bits through the palette, 8 and 16 as grey, else RGB.
            const uint8_t* m = t_VideoMemory.data() + w.MemoryStart +
                               (depth < 8 ? p * depth / 8 : (p + 1) * depth / 8 - (depth > 16 ? 3 : 1));
            const int index = depth == 1   ? (m[0] >> (7 - x % 8) & 1) * 15
                              : x % 2 == 0 ? m[0] >> 4
                                           : m[0] & 15;
            const uint8_t* c = depth <= 4 ? windowtest::palette[index] : m;
            const uint32_t rgb = depth == 8 || depth == 16 ? m[0] * 0x010101u : c[0] << 16 | c[1] << 8 | c[2];
            ASSERT_EQ(frame.Pixels[p], 0xFF000000u | rgb) << "depth " << depth << " at " << p;
        }
    }
    // The border is no part of the frame.
    makewindow(4, 640, 400).BorderWidth = 16;
    ASSERT_TRUE(t_WindowImage(number, frame));
    EXPECT_EQ(frame.Pixels.size(), size_t(640 * 400));
    EXPECT_EQ(t_WindowCopyImage(number).Pixels, frame.Pixels);
}

// Hidden, or with the memory not ready, a window has no picture, silently; a broken or unmade one says so.
TEST_F(Frame, NoFrameWithoutAWordExceptForAWindowNeverMadeOrBroken) {
    t_Window& w = makewindow(24, 32, 32);
    t_Image frame;
    ASSERT_TRUE(t_WindowImage(number, frame));
    const std::vector<uint32_t> shown = frame.Pixels;
    standin::LogCapture log;
    w.Visible = false;
    EXPECT_FALSE(t_WindowImage(number, frame) || t_WindowCopyImage(number).Width);
    w.Visible = true;
    t_MemoryInitialized = false;
    EXPECT_FALSE(t_WindowImage(number, frame));
    t_MemoryInitialized = true;
    w.BitDepth = 12; // broken
    EXPECT_FALSE(t_WindowImage(number, frame));
    w.Initialized = w.Visible = false; // never made, or being made anew
    EXPECT_FALSE(t_WindowImage(number, frame));
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"t_WindowImage: Illegal bit depth.",
                                                     "t_WindowImage: Graphic window #5 not initialized."}));
    EXPECT_EQ(frame.Pixels, shown);
}

using Geometry = windowtest::WindowTest;

TEST_F(Geometry, ColoursMeasuresAndThePlatformCalls) {
    // Before the memory, graphic windows measure their frames, and side windows always do.
    recorder->frame[3] = {100.7, 200.9, 700.5, 500.2};
    recorder->frame[9] = {10, 20, 660, 522};
    const Int graphic[21] = {0,    0,    0,  0, 0, 0,  0, 0, 700, 478, 700, 478, 500, 100, 1080 - 200 - 500,
                             1920, 1080, 22, 0, 0, 200};
    const Int side[21] = {
        0,    0,    659, 521, 660, 522, 660, 522, 660, 500, 660, 500, 522, 10, 1080 - 20 - 522,
        1920, 1080, 22,  0,   0,   20};
    for (Int s = 0; s <= 20; ++s) EXPECT_EQ(t_WindowPos(3, s), graphic[s]) << "selector " << s;
    for (Int s = 0; s <= 20; ++s) EXPECT_EQ(t_WindowPos(9, s), side[s]) << "selector " << s;
    // A live window measures its record, whatever the user did to the frame.
    quietwindow(2, 24, 640, 400, 16, 12, cellfont(16, 32));
    t_Window& w = t_WindowTable[2];
    w.TextFirstColumn = 3, w.TextLastColumn = 38, w.TextFirstLine = 2, w.TextLastLine = 11;
    recorder->frame[2] = {100.9, 250.5, 999, 999};
    const Int live[21] = {3,    2,    38, 11, 36, 10, 40, 12, 640, 400, 672, 424, 446, 100, 1080 - 250 - 446,
                          1920, 1080, 22, 16, 12, 250};
    for (Int s = 0; s <= 20; ++s) EXPECT_EQ(t_WindowPos(2, s), live[s]) << "selector " << s;
    EXPECT_EQ(t_WindowPos(2, 21) + t_WindowPos(2, -1), 0);
    EXPECT_EQ(t_WindowPos(3, 8) + t_WindowPos(3, 12), 0); // never made: nothing but its place
    EXPECT_EQ(t_WindowPos(3, 13), 100);
    // The foreground nibble changes, the background stays; RGBColor is the palette entry.
    const std::pair<Int, uint8_t> colours[] = {{1, 0x10}, {17, 0x10}, {-1, 0xF0}, {INT64_MIN + 13, 0xD0}};
    for (auto [colour, text] : colours) {
        t_Color(2, colour);
        const auto& p = windowtest::palette[text >> 4];
        EXPECT_EQ(std::vector<int>({w.TextColor, w.RGBColor.Red, w.RGBColor.Green, w.RGBColor.Blue}),
                  std::vector<int>({text, p[0], p[1], p[2]}))
            << colour;
    }
    recorder->scrollFrame[9] = {20, 20, 600, 400};
    recorder->taken();
    t_ColorBorder(2, 21);
    t_ColorBorder(2, 7);
    t_WindowSize(2, -1, -1, -1, -1); // puts the frame back to the record
    t_WindowSize(2, 5, 6, 320, 200); // sizes the view, not the memory
    t_WindowSize(9, 10, 20, 700, 500);
    t_WindowSize(12, 1, 2, 300, 200);
    t_WindowFront(2);
    t_WindowVisible(2, false);
    t_WindowVisible(12, false);
    t_WindowVisible(11, true);
    t_WindowVisible(9, true);
    t_WindowSize(9, 10, 20, -1, 600); // shown, it comes to the front first; a measure not asked for stays
    t_WindowCenter(8);
    t_WindowTitleVisible(2, false);
    t_WindowTitleVisible(2, true);
    t_WindowTitleVisible(11, true);
    std::string calls;
    for (const std::string& call : recorder->taken()) calls += call + "|";
    EXPECT_EQ(calls,
              "background 2 84 84 84|background 2 0 128 255|frame 2 100,250 672x446|view 2 16,12 640x400|"
              "frame 2 5,6 352x246|view 2 16,12 320x200|frame 9 10,20 700x522|scroll 9 20,20 660x423|"
              "frame 12 1,2 300x222|front 2|key 2|out 2|out 12|front 11|front 9|needsdisplay 9|front 9|"
              "frame 9 10,20 700x622|scroll 9 20,20 660x523|center 8|style 2 0|style 2 7|style 11 7|");
    EXPECT_TRUE(recorder->allOnMain);
    EXPECT_EQ(std::vector<Int>({w.TitleHeight, t_WindowPos(2, 12), w.Visible, w.Width}),
              std::vector<Int>({22, 446, 0, 640}));
}

using namespace std::chrono_literals;

std::atomic<int64_t> fakeNow{500000};

// The views' requests counted by window, all expected on the main thread.
std::atomic<int> marked[8], offMain;

struct Refresh : windowtest::WindowTest {
    void SetUp() override {
        WindowTest::SetUp();
        recorder->view[4] = false; // window 4 has no view
        t_PlatformPort port = platformport();
        port.ViewNeedsDisplay = [](uint8_t n) { offMain += !ismainthread(), ++marked[n % 8]; };
        setplatformport(port);
        std::ranges::fill(marked, 0);
        offMain = 0;
        t_MemoryInitialized = true;
        setrefreshclock([] { return fakeNow.load(); });
    }
    void TearDown() override {
        if (process.joinable()) t_AutoUpdateRunning = false, process.join();
        setrefreshclock(nullptr);
        WindowTest::TearDown();
    }
    // A window as t_InitWindow leaves it, on the records that blankmemory reset.
    static t_Window& live(uint8_t n, bool autoUpdate) {
        t_WindowTable[n].AutoUpdate = autoUpdate, t_WindowTable[n].Initialized = true;
        return t_WindowTable[n];
    }
    bool marks(uint8_t n, int count) {
        return standin::waitfor([&] { return marked[n] == count; });
    }
    std::thread process;
};

// Every 33 ms of the clock each live auto-update window outside its composing is asked to draw.
TEST_F(Refresh, ThirtyTwoMillisecondsSkipThirtyThreeTake) {
    fakeNow = 500000;
    t_Window& w = live(2, true);
    live(0, true).VerticalBlank = false; // window 0's view is composing
    live(1, false);                      // the application's graphics window
    live(4, true);
    standin::LogCapture log;
    process = std::thread(t_WindowAutoUpdateProcess);
    ASSERT_TRUE(marks(2, 1)); // UpdateStarted 0: the first sweep asks at once
    fakeNow = 500032;
    std::this_thread::sleep_for(30ms); // some sweeps at 1 ms each
    EXPECT_EQ(marked[2] * 10 + marked[0] + marked[1], 10);
    t_WindowTable[0].VerticalBlank = true; // window 0's frame is done: asked on the next sweep
    ASSERT_TRUE(marks(0, 1));
    fakeNow = 500033;
    ASSERT_TRUE(marks(2, 2));
    EXPECT_EQ(w.UpdateStarted.load(), 500033);
    t_AutoUpdateRunning = false;
    process.join();
    // A missing view is told at each turn, and nothing stamped.
    EXPECT_EQ(log.lines().at(1), "t_WindowAutoUpdateProcess: Window #4 view is nil, resource undefined.");
    EXPECT_EQ(t_WindowTable[4].UpdateStarted.load() + offMain, 0);
}

using Bytes = std::vector<uint8_t>;

constexpr size_t fontLimit = 256ull * 255 * 255;

// Codes that expand a tiny stream into n zeros: 0, then 256, 257, ... each the next key, then single zeros.
std::vector<uint64_t> zerobomb(size_t n) {
    std::vector<uint64_t> codes{0};
    size_t total = 1;
    for (uint64_t key = 256; total + key - 254 <= n; ++key) codes.push_back(key), total += key - 254;
    codes.insert(codes.end(), n - total, 0);
    return codes;
}

Bytes file(uint8_t format, const Bytes& data, uint8_t headerSize = 16) {
    Bytes h{headerSize, 'k', 'b', 'f', 'n', format, 0x01, 0x02, 0x03, 0x04, 1, 3, 2, 3, 0xAB, 0xCD};
    h.resize(headerSize, 0xEE);
    h.insert(h.end(), data.begin(), data.end());
    return h;
}

TEST(Font, FilesByTheirTable) {
    Bytes claims40 = file(2, {1, 2, 3}), wrongType = file(2, {9, 9}), spare = lzwpack({0x141, 'B', '!'}, 12);
    claims40[0] = 40;
    wrongType[4] = 'm';
    spare.back() |= 0x0F; // four spare bits at the end
    const std::string load = "t_LoadFontResource: ", head = load + "Invalid header size",
                      width = "t_ExpandFont: Invalid code width ",
                      cutOff = "t_ExpandFont: Expanded data passes the size of any font; font dropped.";
    // clang-format off
    const struct { const char* name; std::optional<Bytes> bytes; std::string line; Int headerSize, format;
                   Bytes data; } rows[] = {
        {"nowhere", std::nullopt, load + "Could not load file „nowhere“", 16, 0, {}},
        {"empty", Bytes{}, load + "Could not load file „empty“", 16, 0, {}}, {"claims40", claims40, head, 40, 0, {}},
        {"short", file(2, {}, 5), head, 5, 0, {}}, // too short for the fields up to the height
        {"wrongtype", wrongType, load + "Invalid file type", 16, 0, {}},
        {"odd", file(55, {9, 8, 7}), "", 16, 55, {9, 8, 7}},
        {"hundred", file(100, lzwencode({1, 1, 1, 1, 2, 2})), "", 16, 0, {1, 1, 1, 1, 2, 2}},
        {"wide", file(2, {10, 20, 30}, 20), "", 20, 2, {10, 20, 30}}, // bytes 16 to 19 are skipped
        {"code equal to the next key", file(102, lzwpack({'a', 'b', 256, 258}, 9)), "", 16, 2,
         {'a', 'b', 'a', 'b', 'a', 'b', 'a'}},
        {"first code cut to 8 bits", file(102, spare), "", 16, 2, {'A', 'B', '!'}},
        {"unknown code", file(102, lzwpack({'A', 'B', 'C', 300}, 9)), "", 16, 2, {}},
        {"width 0", file(102, {0, 1, 2}), width + "0; font dropped.", 16, 2, {}},
        {"width 65", file(102, {65, 1, 2}), width + "65; font dropped.", 16, 2, {}},
        {"a byte beyond the largest font", file(102, lzwpack(zerobomb(fontLimit + 1), 14)), cutOff, 16, 2, {}},
        {"the same at width 64", file(102, lzwpack(zerobomb(fontLimit + 5), 64)), cutOff, 16, 2, {}}};
    // clang-format on
    // In a folder shaped like the application.
    const std::string bundle = testsupport::scratchfolder();
    const std::filesystem::path folder = bundle + "Contents/Resources";
    std::filesystem::create_directories(folder);
    setbundlepath(bundle);
    for (const auto& row : rows) {
        if (row.bytes) setstringtofile(folder / row.name, std::string(row.bytes->begin(), row.bytes->end()));
        testsupport::LogCapture log;
        const t_Font f = t_LoadFontResource(row.name);
        EXPECT_EQ(log.lines().empty() ? "" : log.lines().back(), row.line) << row.name;
        EXPECT_EQ(std::vector<Int>({f.HeaderSize, f.Format}), std::vector<Int>({row.headerSize, row.format}))
            << row.name;
        EXPECT_EQ(f.Data, row.data) << row.name;
    }
    setbundlepath("");
    std::filesystem::remove_all(bundle);
}

} // namespace
