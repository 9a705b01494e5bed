#include "window_recorder.h"

#include "display/display.h"
#include "library/library.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <unistd.h>

namespace {

using testsupport::builtbundle;

using windowtest::cellfont;
using Lines = std::vector<std::string>;

bool allbytes(Int from, Int to, uint8_t value) {
    for (Int a = from; a <= to; ++a)
        if (t_VideoMemory[a] != value) return false;
    return true;
}

void fillpattern(Int from, Int to, int seed) {
    for (Int a = from; a <= to; ++a) t_VideoMemory[a] = static_cast<uint8_t>((a * 31 + seed) >> 3);
}

bool haspattern(Int from, Int to, Int movedBy, int seed) {
    for (Int a = from; a <= to; ++a)
        if (t_VideoMemory[a] != static_cast<uint8_t>(((a - movedBy) * 31 + seed) >> 3)) return false;
    return true;
}

class VideoMemory : public windowtest::WindowTest {
  protected:
    // The run's two windows: the text form with the built font, then the graphics window.
    void runswindows() {
        setbundlepath(builtbundle());
        ASSERT_TRUE(std::filesystem::exists(builtbundle() + "/Contents/Resources/MenloBold 16x32.font"))
            << "build the seelenorakel_resources target first";
        t_InitWindow(0, 24, 80, 25, 16, "MenloBold 16x32.font");
        t_InitWindow(1, 4, false, 640, 400, 16, 16, t_Font{}, true);
    }
};

TEST_F(VideoMemory, TheRunsTwoWindowsGetTheWorkedExamplesBlocksAndLogLines) {
    windowtest::Log log;
    runswindows();
    EXPECT_EQ(
        log.lines(),
        (Lines{"t_InitMemory: Start.", "t_InitMemory: End.", "t_InitWindow: GraphicWindow #0 Start.",
               "t_InitWindow: GraphicWindow #0 = 1280 x 800 pixel x 24 bit = 3.000,00K video-memory = "
               "$00D12000.",
               "t_InitWindow: GraphicWindow #0 End.", "t_InitWindow: GraphicWindow #1 Start.",
               "t_InitWindow: GraphicWindow #1 = 640 x 400 pixel x 4 bit = 125,00K video-memory = $00CF1400.",
               "t_InitWindow: GraphicWindow #1 End."}));
    const t_Window& w0 = t_WindowTable[0];
    const t_Window& w1 = t_WindowTable[1];
    EXPECT_EQ(w0.MemoryStart, 0xD12000);
    EXPECT_EQ(w0.MemoryEnd, 0xFFFFFF);
    EXPECT_EQ(w0.TextMemoryStart, 0xD11000);
    EXPECT_EQ(w0.TextMemoryEnd, 0xD11FFF);
    EXPECT_EQ(w1.MemoryStart, 0xCF1400);
    EXPECT_EQ(w1.MemoryEnd, 0xD10FFF);
    EXPECT_EQ(w1.TextMemoryStart, -1);
    EXPECT_EQ(t_HighMemory, 0xCF13FF);
    EXPECT_EQ(t_DefaultWindow.load(), 0);

    // The record of the text window.
    EXPECT_TRUE(w0.Initialized.load());
    EXPECT_TRUE(w0.AutoUpdate.load());
    EXPECT_FALSE(w1.AutoUpdate.load());
    EXPECT_FALSE(w0.Visible.load());
    EXPECT_EQ(w0.Width, 1280);
    EXPECT_EQ(w0.Height, 800);
    EXPECT_EQ(w0.TitleHeight, 22);
    EXPECT_EQ(w0.TextWidth, 80);
    EXPECT_EQ(w0.TextLastLine, 25);
    EXPECT_EQ(w0.TextHpos, 1);
    EXPECT_EQ(w0.TextColor, 0xC0);
    EXPECT_EQ(w0.Font.Width, 16);
    EXPECT_EQ(w0.RGBColorBorder.Red, 0x54);
    EXPECT_NE(w0.View, nullptr);
    EXPECT_NE(w0.Window, nullptr);

    // Cleared: pixels black, cells blank in colour 0xC0; the spare bytes of the text block (its half is
    // 2048 for 2000 cells) keep the 0xFF of a fresh memory.
    EXPECT_TRUE(allbytes(0xD12000, 0xFFFFFF, 0));
    EXPECT_TRUE(allbytes(0xD11000, 0xD11000 + 1999, 0x20));
    EXPECT_TRUE(allbytes(0xD11000 + 2000, 0xD11000 + 2047, 0xFF));
    EXPECT_TRUE(allbytes(0xD11000 + 2048, 0xD11000 + 2048 + 1999, 0xC0));
    EXPECT_TRUE(allbytes(0xCF1400, 0xCF1400 + 127999, 0));
    EXPECT_TRUE(allbytes(0xCF1400 + 128000, 0xD10FFF, 0xFF));
    EXPECT_TRUE(allbytes(0, 0xCF13FF, 0xFF));

    // The platform side: titles from the bundle's name, the frame of the border and title, the border.
    windowtest::drainmain();
    EXPECT_EQ(recorder->of("title"), (Lines{"title 0 Seelenorakel", "title 1 Seelenorakel-Grafik"}));
    EXPECT_EQ(recorder->of("frame"), (Lines{"frame 0 0,0 1312x854", "frame 1 0,0 672x454"}));
    EXPECT_EQ(recorder->of("view"), (Lines{"view 0 16,16 1280x800", "view 1 16,16 640x400"}));
    EXPECT_EQ(recorder->of("background"), (Lines{"background 0 84 84 84", "background 1 84 84 84"}));
    EXPECT_TRUE(recorder->allOnMain);
}

TEST_F(VideoMemory, MakingWindowZeroAnewGivesItsBlocksBackAndMovesWindowOneUp) {
    runswindows();
    fillpattern(0xCF1400, 0xD10FFF, 7);
    t_Window& w0 = t_WindowTable[0];
    t_Window& w1 = t_WindowTable[1];
    // Fields that a new t_InitWindow leaves alone.
    w0.Visible = true;
    w0.TextInverse = true;
    w0.InputString = "Otto";
    windowtest::Log log;
    t_InitWindow(0, 24, true, 1280, 800, 16, 16, cellfont(16, 32), true);
    const Lines lines = log.lines();
    ASSERT_GE(lines.size(), 5u);
    EXPECT_EQ(
        Lines(lines.begin(), lines.begin() + 5),
        (Lines{
            "t_InitWindow: GraphicWindow #0 Start.",
            "t_InitWindow: GraphicWindow #0 high memory = $00FFFFFF, graphic block size to delete = "
            "$002EE000.",
            "t_InitWindow: GraphicWindow #0 high memory = $00FFFFFF, text block size to delete = $00001000.",
            "t_InitWindow: GraphicWindow #0 moving graphic block for win #1$00CF1400...00D10FFF "
            "to00FE0400...00FFFFFF",
            "t_InitWindow: GraphicWindow #0 = 1280 x 800 pixel x 24 bit = 3.000,00K video-memory = "
            "$00CF2400."}));
    EXPECT_EQ(w1.MemoryStart, 0xCF1400 + 0x2EF000);
    EXPECT_EQ(w1.MemoryEnd, 0xFFFFFF);
    EXPECT_TRUE(haspattern(w1.MemoryStart, w1.MemoryEnd, 0x2EF000, 7));
    // 0xFE03FF after the blocks were given back; window 0's new ones lie below window 1.
    EXPECT_EQ(w0.MemoryStart, 0xCF2400);
    EXPECT_EQ(w0.MemoryEnd, 0xFE03FF);
    EXPECT_EQ(w0.TextMemoryStart, 0xCF1400);
    EXPECT_EQ(w0.TextMemoryEnd, 0xCF23FF);
    EXPECT_EQ(t_HighMemory, 0xCF13FF);
    EXPECT_TRUE(w0.Visible.load());
    EXPECT_TRUE(w0.TextInverse);
    EXPECT_EQ(w0.InputString, "Otto");
}

TEST_F(VideoMemory, BlocksMoveHighestFirstWhateverTheWindowNumbers) {
    // In memory from the top: window 0, then 2, then 1. Moving 1 before 2 would write it over 2.
    quietwindow(0, 8, 256, 256, 0, 0, cellfont(8, 8));
    quietwindow(2, 8, 128, 128, 0, 0, cellfont(8, 8));
    quietwindow(1, 8, 64, 64, 0, 0);
    const t_Window& w1 = t_WindowTable[1];
    const t_Window& w2 = t_WindowTable[2];
    fillpattern(w1.MemoryStart, w1.MemoryEnd, 1);
    fillpattern(w2.MemoryStart, w2.MemoryEnd, 2);
    fillpattern(w2.TextMemoryStart, w2.TextMemoryEnd, 3);
    const Int delta = t_WindowTable[0].MemoryEnd - t_WindowTable[0].TextMemoryStart + 1;
    const Int high = t_HighMemory;
    windowtest::Log log;
    t_InitWindow(0, 8, true, 256, 256, 0, 0, cellfont(8, 8), true);
    EXPECT_TRUE(haspattern(w1.MemoryStart, w1.MemoryEnd, delta, 1));
    EXPECT_TRUE(haspattern(w2.MemoryStart, w2.MemoryEnd, delta, 2));
    EXPECT_TRUE(haspattern(w2.TextMemoryStart, w2.TextMemoryEnd, delta, 3));
    Lines moves;
    for (const std::string& line : log.lines())
        if (line.find(" moving ") != std::string::npos) moves.push_back(line.substr(0, line.find('$')));
    EXPECT_EQ(moves, (Lines{"t_InitWindow: GraphicWindow #0 moving graphic block for win #2",
                            "t_InitWindow: GraphicWindow #0 moving text block for win #2",
                            "t_InitWindow: GraphicWindow #0 moving graphic block for win #1"}));
    // The text block's line has the dollar before both addresses.
    for (const std::string& line : log.lines())
        if (line.find("moving text block") != std::string::npos) {
            EXPECT_NE(line.find(" to$"), std::string::npos) << line;
        }
    // The same blocks again, so the memory ends where it was.
    EXPECT_EQ(t_HighMemory, high);
}

TEST_F(VideoMemory, SizesOutsideTheRangeAndOddWidthsAreCorrected) {
    windowtest::Log log;
    t_InitWindow(2, 8, true, 31, 8193, 0, 0, t_Font{}, true);
    EXPECT_EQ(t_WindowTable[2].Width, 1280);
    EXPECT_EQ(t_WindowTable[2].Height, 800);
    t_InitWindow(3, 8, true, 8192, 32, 0, 0, t_Font{}, true);
    EXPECT_EQ(t_WindowTable[3].Width, 8192);
    EXPECT_EQ(t_WindowTable[3].Height, 32);
    const std::pair<Int, Int> fourBit[] = {{641, 640}, {642, 640}, {643, 644}, {644, 644}};
    for (auto [asked, got] : fourBit) {
        t_InitWindow(4, 4, true, asked, 64, 0, 0, t_Font{}, true);
        EXPECT_EQ(t_WindowTable[4].Width, got) << asked;
    }
    t_InitWindow(5, 1, true, 641, 64, 0, 0, t_Font{}, true);
    EXPECT_EQ(t_WindowTable[5].Width, 648);
    // A negative border fills the screen's width or height.
    t_InitWindow(6, 8, true, 640, 400, -1, -5, t_Font{}, true);
    EXPECT_EQ(t_WindowTable[6].BorderWidth, 1920 - 640);
    EXPECT_EQ(t_WindowTable[6].BorderHeight, 1080 - 400);

    Lines said;
    for (const std::string& line : log.lines())
        if (line.find(" cannot display ") != std::string::npos || line.find(" must be ") != std::string::npos)
            said.push_back(line);
    EXPECT_EQ(said,
              (Lines{"t_InitWindow: GraphicWindow #2 cannot display 31 horizontal pixel.",
                     "t_InitWindow: GraphicWindow #2 cannot display 8193 vertical pixel.",
                     "t_InitWindow: GraphicWindow #4 width with 4 bit depth must be a multiple of 4.",
                     "t_InitWindow: GraphicWindow #4 width with 4 bit depth must be a multiple of 4.",
                     "t_InitWindow: GraphicWindow #4 width with 4 bit depth must be a multiple of 4.",
                     "t_InitWindow: GraphicWindow #5 width with 1 bit depth must be a multiple of 8."}));
}

TEST_F(VideoMemory, AnUnsupportedDepthRefusesAndLeavesALiveWindowFreed) {
    quietwindow(3, 8, 64, 64, 0, 0);
    const Int high = t_HighMemory;
    windowtest::Log log;
    t_InitWindow(3, 12, true, 64, 64, 0, 0, t_Font{}, true);
    const Lines lines = log.lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "t_InitWindow: GraphicWindow #3 unsupported 12 bit depth.");
    EXPECT_FALSE(t_WindowTable[3].Initialized.load());
    EXPECT_EQ(t_HighMemory, high + 0x1000);
    // Numbers beyond the table never start.
    windowtest::Log second;
    t_InitWindow(8, 24, true, 64, 64, 0, 0, t_Font{}, true);
    EXPECT_EQ(second.lines(), Lines{"t_InitWindow: Window is not a graphic window."});
}

TEST_F(VideoMemory, ExactlyTheFreeFigureFitsAndOneByteMoreDoesNot) {
    t_InitMemory();
    // 1024 bytes free: a 32 by 32 window of 8 bits needs exactly that.
    t_HighMemory = 0x10000 + 1024;
    quietwindow(2, 8, 32, 32, 0, 0);
    EXPECT_EQ(t_WindowTable[2].MemoryStart, 0x10000);
    EXPECT_EQ(t_HighMemory, 0xFFFF);

    t_HighMemory = 0x10000 + 1023;
    windowtest::Log log;
    t_InitWindow(3, 8, true, 32, 32, 0, 0, t_Font{}, true);
    EXPECT_FALSE(t_WindowTable[3].Initialized.load());
    EXPECT_EQ(t_WindowTable[3].MemoryStart, -1);
    EXPECT_EQ(t_HighMemory, 0x10000 + 1023);
    // The figure is cut toward zero, and negative once the memory lies below the foot.
    t_HighMemory = 0x10000 - 2048;
    t_InitWindow(4, 16, true, 32, 32, 0, 0, t_Font{}, true);
    EXPECT_EQ(log.lines(),
              (Lines{"t_InitWindow: GraphicWindow #3 Start.",
                     "t_InitWindow: GraphicWindow #3 has not enough graphic-video-memory (0K available).",
                     "t_InitWindow: Displaying 32 x 32 pixel x 8 bit needs 1,00K video-memory.",
                     "t_InitWindow: GraphicWindow #4 Start.",
                     "t_InitWindow: GraphicWindow #4 has not enough graphic-video-memory (-2K available).",
                     "t_InitWindow: Displaying 32 x 32 pixel x 16 bit needs 2,00K video-memory."}));
}

TEST_F(VideoMemory, BlocksThatTogetherWouldPassAddressZeroAreRefused) {
    t_InitMemory();
    // Each block alone fits the free 128K; both need 256K.
    t_HighMemory = 0x10000 + 0x20000;
    windowtest::Log log;
    t_InitWindow(2, 8, true, 128, 1024, 0, 0, cellfont(1, 2), true);
    const Lines lines = log.lines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[1], "t_InitWindow: GraphicWindow #2 has not enough text-video-memory (128K available).");
    EXPECT_EQ(lines[2], "t_InitWindow: Displaying 128 x 512 characters needs 128,00K text-video-memory.");
    EXPECT_EQ(t_HighMemory, 0x30000);
    EXPECT_FALSE(t_WindowTable[2].Initialized.load());
    // A cell without size is refused before it divides anything.
    windowtest::Log second;
    t_Font flat = cellfont(0, 8);
    flat.Data.assign(16, 0x80);
    t_InitWindow(3, 8, true, 64, 64, 0, 0, flat, true);
    EXPECT_EQ(second.lines().back(),
              "t_InitWindow: GraphicWindow #3 font cell of 0 x 8 pixel cannot be used.");
    EXPECT_FALSE(t_WindowTable[3].Initialized.load());
}

TEST_F(VideoMemory, AWindowWithoutFontHasNoTextAndRefusesTextRoutines) {
    quietwindow(1, 4, 640, 400, 16, 16);
    const t_Window& w = t_WindowTable[1];
    EXPECT_EQ(w.TextWidth, -1);
    EXPECT_EQ(w.TextHeight, -1);
    EXPECT_EQ(w.TextLastColumn, -1);
    EXPECT_EQ(w.TextLastLine, -1);
    EXPECT_EQ(w.TextMemoryStart, -1);
    EXPECT_EQ(w.TextMemoryEnd, -1);
    EXPECT_EQ(t_WindowPos(1, 6), -1);
    windowtest::Log log;
    EXPECT_FALSE(t_TextGuard(1, "t_Print"));
    EXPECT_TRUE(t_RecordGuard(1, "t_Color"));
    EXPECT_EQ(log.lines(), Lines{"t_Print: Window #1 not initialized."});
    windowtest::drainmain();
    EXPECT_EQ(recorder->of("title"), Lines{"title 1 Seelenorakel-Grafik"});
}

TEST_F(VideoMemory, TheTitleComesFromTheFolderName) {
    const std::pair<const char*, const char*> names[] = {
        {"/Programme/Orakel.APP", "Orakel-Grafik"},
        {"/home/otto/build/Programm", "Programm"},
        {"/home/otto/Grüße.app", "Grüße-Grafik"},
    };
    for (auto [folder, title] : names) {
        setbundlepath(folder);
        quietwindow(3, 8, 64, 64, 0, 0);
    }
    setbundlepath("/x/Orakel.app");
    quietwindow(4, 8, 64, 64, 0, 0, cellfont(8, 8));
    windowtest::drainmain();
    EXPECT_EQ(recorder->of("title"),
              (Lines{"title 3 Orakel-Grafik", "title 3 Programm", "title 3 Grüße-Grafik", "title 4 Orakel"}));
}

TEST_F(VideoMemory, ClearingAt32BitsWritesFFAndBlackAndSparesTheTop) {
    quietwindow(2, 32, 40, 36, 0, 0, cellfont(8, 12));
    t_Window& w = t_WindowTable[2];
    const Int size = 40 * 36 * 4;
    ASSERT_GT(w.MemoryEnd - w.MemoryStart + 1, size); // the rounding left spare bytes
    std::fill(t_VideoMemory.begin() + w.MemoryStart, t_VideoMemory.begin() + w.MemoryEnd + 1, 0x77);
    std::fill(t_VideoMemory.begin() + w.TextMemoryStart, t_VideoMemory.begin() + w.TextMemoryEnd + 1, 0x77);
    w.TextColor = 0x5A;
    t_ClearWindowMemory(2);
    bool pixels = true;
    for (Int a = w.MemoryStart; a < w.MemoryStart + size; a += 4)
        pixels = pixels && t_VideoMemory[a] == 0xFF && t_VideoMemory[a + 1] == 0 &&
                 t_VideoMemory[a + 2] == 0 && t_VideoMemory[a + 3] == 0;
    EXPECT_TRUE(pixels);
    EXPECT_TRUE(allbytes(w.MemoryStart + size, w.MemoryEnd, 0x77));
    const Int half = (w.TextMemoryEnd - w.TextMemoryStart + 1) / 2;
    const Int cells = 5 * 3;
    EXPECT_TRUE(allbytes(w.TextMemoryStart, w.TextMemoryStart + cells - 1, 0x20));
    EXPECT_TRUE(allbytes(w.TextMemoryStart + cells, w.TextMemoryStart + half - 1, 0x77));
    EXPECT_TRUE(allbytes(w.TextMemoryStart + half, w.TextMemoryStart + half + cells - 1, 0x5A));
    EXPECT_TRUE(allbytes(w.TextMemoryStart + half + cells, w.TextMemoryEnd, 0x77));
    // Other depths clear to 0; numbers beyond the table and blank records are left alone.
    quietwindow(3, 16, 40, 36, 0, 0);
    const t_Window& w3 = t_WindowTable[3];
    std::fill(t_VideoMemory.begin() + w3.MemoryStart, t_VideoMemory.begin() + w3.MemoryEnd + 1, 0x77);
    t_ClearWindowMemory(3);
    EXPECT_TRUE(allbytes(w3.MemoryStart, w3.MemoryStart + 40 * 36 * 2 - 1, 0));
    const std::vector<uint8_t> before = t_VideoMemory;
    t_ClearWindowMemory(9);
    t_ClearWindowMemory(5);
    EXPECT_TRUE(before == t_VideoMemory);
}

TEST_F(VideoMemory, WithoutAViewTheBlocksStayTakenAndTheFontIsDropped) {
    const t_Font font = cellfont(8, 8);
    recorder->screen->view[5] = false;
    windowtest::Log log;
    t_InitWindow(5, 8, true, 64, 64, 0, 0, font, true);
    const Lines lines = log.lines();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[lines.size() - 2],
              "t_InitWindow: GraphicWindow #5 could not be initialized, resource undefined.");
    EXPECT_EQ(lines.back(), "t_InitWindow: GraphicWindow #5 End.");
    const t_Window& w = t_WindowTable[5];
    EXPECT_FALSE(w.Initialized.load());
    EXPECT_TRUE(w.Font.Data.empty());
    EXPECT_EQ(w.MemoryEnd, 0xFFFFFF);
    const Int high = t_HighMemory;
    EXPECT_LT(high, 0xFFFFFF - 0x1000);
    // Nothing frees them: the next attempt takes new blocks below.
    recorder->screen->view[5] = true;
    quietwindow(5, 8, 64, 64, 0, 0, font);
    EXPECT_EQ(w.MemoryEnd, high);
}

TEST_F(VideoMemory, AMissingFontChangesNothing) {
    setbundlepath(builtbundle());
    windowtest::Log log;
    t_InitWindow(0, 24, 80, 25, 16, "Nirgends 16x32.font");
    const Lines lines = log.lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "t_InitWindow: Font 'Nirgends 16x32.font' not found.");
    EXPECT_EQ(t_DefaultWindow.load(), 255);
    EXPECT_EQ(t_HighMemory, 0xFFFFFF);
    // The memory itself is set up: every byte 0xFF.
    EXPECT_TRUE(t_MemoryInitialized.load());
    EXPECT_EQ(t_VideoMemory.size(), 0x100000Fu);
    EXPECT_EQ(std::count(t_VideoMemory.begin(), t_VideoMemory.end(), 0xFF), 0x100000F);
}

TEST_F(VideoMemory, AHiddenTitleLeavesNoTitleHeight) {
    windowtest::Log log;
    t_InitWindow(6, 8, true, 64, 64, 4, 4, t_Font{}, false);
    EXPECT_EQ(t_WindowTable[6].TitleHeight, 0);
    const Lines lines = log.lines();
    EXPECT_NE(
        std::find(lines.begin(), lines.end(), "t_InitWindow: GraphicWindow #6 title will be invisible."),
        lines.end());
    windowtest::drainmain();
    EXPECT_EQ(recorder->of("style"), Lines{"style 6 0"});
    EXPECT_EQ(recorder->of("frame"), Lines{"frame 6 0,0 72x72"});
}

TEST_F(VideoMemory, ASecondCallerWaitsUntilTheMemoryIsReady) {
    t_MemoryStarted = true; // as if another thread were inside t_InitMemory
    std::atomic<bool> done{false};
    std::thread caller([&] {
        t_InitWindow(2, 8, true, 64, 64, 0, 0, t_Font{}, true);
        done = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(done.load());
    t_VideoMemory.assign(0x100000F, 0xFF);
    t_MemoryInitialized = true;
    caller.join();
    EXPECT_TRUE(t_WindowTable[2].Initialized.load());
}

} // namespace
