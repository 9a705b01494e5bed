#include "spine_standin.h"

#include "display/display.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

constexpr uint8_t number = 5;

uint32_t word(const t_RGBColor& c) {
    return 0xFF000000u | uint32_t(c.Red) << 16 | uint32_t(c.Green) << 8 | c.Blue;
}

// The pixel at (x, y) read the slow way, straight from the layout of the graphic block.
uint32_t expected(const t_Window& w, Int x, Int y) {
    const Int p = y * w.Width + x;
    const uint8_t* m = t_VideoMemory.data() + w.MemoryStart;
    switch (w.BitDepth) {
    case 1:
        return word(t_PaletteColor((m[p / 8] >> (7 - x % 8)) & 1 ? 15 : 0));
    case 4:
        return word(t_PaletteColor(x % 2 == 0 ? m[p / 2] >> 4 : m[p / 2] & 15));
    case 8:
        return 0xFF000000u | uint32_t(m[p]) * 0x010101u;
    case 16:
        return 0xFF000000u | uint32_t(m[2 * p + 1]) * 0x010101u;
    case 24:
        return 0xFF000000u | uint32_t(m[3 * p]) << 16 | uint32_t(m[3 * p + 1]) << 8 | m[3 * p + 2];
    default:
        return 0xFF000000u | uint32_t(m[4 * p + 1]) << 16 | uint32_t(m[4 * p + 2]) << 8 | m[4 * p + 3];
    }
}

class Frame : public ::testing::Test {
  protected:
    void SetUp() override {
        screen = standin::install();
        savedMemory = t_MemoryInitialized.load();
        if (t_VideoMemory.size() < 0x100000F) t_VideoMemory.assign(0x100000F, 0xFF);
        t_MemoryInitialized = true;
    }
    void TearDown() override {
        t_MemoryInitialized = savedMemory;
        t_Window& w = t_WindowTable[number];
        w.Initialized = false;
        w.Visible = false;
        w.MemoryStart = w.MemoryEnd = -1;
    }
    // A live, visible window whose block ends at the very top of the memory, so that a read past the
    // block would leave the memory too.
    t_Window& makewindow(Int depth, Int width, Int height) {
        t_Window& w = t_WindowTable[number];
        w.BitDepth = depth;
        w.Width = width;
        w.Height = height;
        Int bytes = depth == 1   ? (width * height + 7) / 8
                    : depth == 4 ? (width * height + 1) / 2
                                 : width * height * depth / 8;
        w.MemoryEnd = static_cast<Int>(t_VideoMemory.size()) - 1;
        w.MemoryStart = w.MemoryEnd - bytes + 1;
        w.Initialized = true;
        w.Visible = true;
        return w;
    }
    void fill(const t_Window& w, uint8_t value) {
        std::fill(t_VideoMemory.begin() + w.MemoryStart, t_VideoMemory.begin() + w.MemoryEnd + 1, value);
    }
    void scramble(const t_Window& w, unsigned seed) {
        for (Int i = w.MemoryStart; i <= w.MemoryEnd; ++i) {
            seed = seed * 1103515245u + 12345u;
            t_VideoMemory[i] = static_cast<uint8_t>(seed >> 16);
        }
    }
    // Every pixel of the frame against the slow reading of the block.
    void matchesblock(const t_Window& w) {
        t_Image frame;
        ASSERT_TRUE(t_WindowImage(number, frame));
        ASSERT_EQ(frame.Width, w.Width);
        ASSERT_EQ(frame.Height, w.Height);
        ASSERT_EQ(frame.Pixels.size(), size_t(w.Width * w.Height));
        for (Int y = 0; y < w.Height; ++y)
            for (Int x = 0; x < w.Width; ++x)
                ASSERT_EQ(frame.Pixels[y * w.Width + x], expected(w, x, y))
                    << "depth " << w.BitDepth << " at " << x << "," << y;
    }
    std::shared_ptr<standin::Screen> screen;
    bool savedMemory = false;
};

TEST_F(Frame, EveryDepthFollowsItsLayoutPixelForPixel) {
    // Widths that leave the fast loops a ragged end: 37 pixels a row at 24 bits is not a multiple of 4.
    for (Int depth : {1, 4, 8, 16, 24, 32}) {
        Int width = depth == 1 ? 40 : depth == 4 ? 36 : 37;
        t_Window& w = makewindow(depth, width, 9);
        scramble(w, unsigned(depth));
        matchesblock(w);
    }
}

TEST_F(Frame, OneBitIsBlackOrWhite) {
    t_Window& w = makewindow(1, 32, 32);
    t_Image frame;
    fill(w, 0x00);
    ASSERT_TRUE(t_WindowImage(number, frame));
    EXPECT_TRUE(
        std::all_of(frame.Pixels.begin(), frame.Pixels.end(), [](uint32_t p) { return p == 0xFF000000u; }));
    fill(w, 0xFF);
    ASSERT_TRUE(t_WindowImage(number, frame));
    EXPECT_TRUE(
        std::all_of(frame.Pixels.begin(), frame.Pixels.end(), [](uint32_t p) { return p == 0xFFFFFFFFu; }));
    // The top bit is the leftmost pixel.
    fill(w, 0x00);
    t_VideoMemory[w.MemoryStart] = 0x80;
    ASSERT_TRUE(t_WindowImage(number, frame));
    EXPECT_EQ(frame.Pixels[0], 0xFFFFFFFFu);
    EXPECT_EQ(frame.Pixels[1], 0xFF000000u);
    EXPECT_EQ(frame.Pixels[7], 0xFF000000u);
}

TEST_F(Frame, FourBitsTakeThePaletteHighNibbleFirst) {
    t_Window& w = makewindow(4, 32, 32);
    fill(w, 0x00);
    for (int i = 0; i < 8; ++i)
        t_VideoMemory[w.MemoryStart + i] = static_cast<uint8_t>(2 * i << 4 | (2 * i + 1));
    t_Image frame;
    ASSERT_TRUE(t_WindowImage(number, frame));
    for (int i = 0; i < 16; ++i) EXPECT_EQ(frame.Pixels[i], word(t_PaletteColor(i))) << i;
    EXPECT_EQ(frame.Pixels[1], 0xFFFF0000u);  // red
    EXPECT_EQ(frame.Pixels[5], 0xFF545454u);  // the grey of the border
    EXPECT_EQ(frame.Pixels[12], 0xFF00FF00u); // green
    EXPECT_EQ(frame.Pixels[16], 0xFF000000u);
}

TEST_F(Frame, SixteenBitsShowOnlyTheSecondByte) {
    t_Window& w = makewindow(16, 32, 32);
    for (Int i = w.MemoryStart; i <= w.MemoryEnd; i += 2) {
        t_VideoMemory[i] = 0x00;
        t_VideoMemory[i + 1] = 0x40;
    }
    t_Image before, after;
    ASSERT_TRUE(t_WindowImage(number, before));
    EXPECT_EQ(before.Pixels[0], 0xFF404040u);
    for (Int i = w.MemoryStart; i <= w.MemoryEnd; i += 2) t_VideoMemory[i] = 0xC3;
    ASSERT_TRUE(t_WindowImage(number, after));
    EXPECT_EQ(before.Pixels, after.Pixels);
}

TEST_F(Frame, ThirtyTwoBitsIgnoreTheFirstByte) {
    t_Window& w = makewindow(32, 32, 32);
    for (Int i = w.MemoryStart; i <= w.MemoryEnd; i += 4) {
        t_VideoMemory[i] = 0x00; // would be a transparent alpha if it were taken
        t_VideoMemory[i + 1] = 0x12;
        t_VideoMemory[i + 2] = 0x34;
        t_VideoMemory[i + 3] = 0x56;
    }
    t_Image frame;
    ASSERT_TRUE(t_WindowImage(number, frame));
    EXPECT_TRUE(
        std::all_of(frame.Pixels.begin(), frame.Pixels.end(), [](uint32_t p) { return p == 0xFF123456u; }));
}

TEST_F(Frame, TheFrameHasTheWindowsSizeAndNoBorder) {
    t_Window& w = makewindow(4, 640, 400);
    w.BorderWidth = 16;
    w.BorderHeight = 16;
    fill(w, 0x11);
    t_Image frame;
    ASSERT_TRUE(t_WindowImage(number, frame));
    EXPECT_EQ(frame.Width, 640);
    EXPECT_EQ(frame.Height, 400);
    EXPECT_EQ(frame.Pixels.size() * 4, size_t(2560 * 400));
    // A smaller window next reuses the buffer and is exactly its own size.
    makewindow(24, 64, 32);
    ASSERT_TRUE(t_WindowImage(number, frame));
    EXPECT_EQ(frame.Pixels.size(), size_t(64 * 32));
}

TEST_F(Frame, NoFrameWithoutAWordExceptForAWindowNeverMade) {
    t_Window& w = makewindow(24, 32, 32);
    fill(w, 0x77);
    t_Image frame;
    ASSERT_TRUE(t_WindowImage(number, frame));
    const std::vector<uint32_t> shown = frame.Pixels;
    fill(w, 0x00);
    standin::LogCapture log;

    // Hidden: nothing, silently, and the last frame stays as it was.
    w.Visible = false;
    EXPECT_FALSE(t_WindowImage(number, frame));
    // Memory not ready: nothing, silently.
    w.Visible = true;
    t_MemoryInitialized = false;
    EXPECT_FALSE(t_WindowImage(number, frame));
    t_MemoryInitialized = true;
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(frame.Pixels, shown);

    // Never made (or being made anew): nothing, with the line.
    w.Initialized = false;
    w.Visible = false;
    EXPECT_FALSE(t_WindowImage(number, frame));
    EXPECT_FALSE(t_WindowImage(3, frame));
    EXPECT_FALSE(t_WindowImage(9, frame));
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"t_WindowImage: Graphic window #5 not initialized.",
                                                     "t_WindowImage: Graphic window #3 not initialized.",
                                                     "t_WindowImage: Graphic window #9 not initialized."}));
    EXPECT_EQ(frame.Pixels, shown);
}

TEST_F(Frame, ABrokenRecordGivesOneLineAndNoFrame) {
    t_Window& w = makewindow(24, 32, 32);
    standin::LogCapture log;
    t_Image frame;
    w.BitDepth = 12;
    EXPECT_FALSE(t_WindowImage(number, frame));
    w.BitDepth = 24;
    w.MemoryStart += 1; // the block is now one byte short
    EXPECT_FALSE(t_WindowImage(number, frame));
    w.MemoryStart = -1;
    EXPECT_FALSE(t_WindowImage(number, frame));
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               "t_WindowImage: Illegal bit depth.",
                               "t_WindowImage: Data could not be collected, image could not be created.",
                               "t_WindowImage: Data could not be collected, image could not be created."}));
    EXPECT_EQ(frame.Width, 0);
}

TEST_F(Frame, TimingFieldsTellWhenAndHowLong) {
    t_Window& w = makewindow(24, 640, 400);
    w.UpdateFinished = 0;
    w.UpdateDuration = -1;
    const int64_t before = absolutetimems();
    t_Image frame;
    ASSERT_TRUE(t_WindowImage(number, frame));
    EXPECT_GE(w.UpdateFinished.load(), before);
    EXPECT_LE(w.UpdateFinished.load(), absolutetimems());
    EXPECT_GE(w.UpdateDuration.load(), 0);
    EXPECT_LT(w.UpdateDuration.load(), 1000000);
}

TEST_F(Frame, CopyImageIsTheFrameOrNothing) {
    t_Window& w = makewindow(24, 48, 16);
    scramble(w, 7);
    t_Image frame;
    ASSERT_TRUE(t_WindowImage(number, frame));
    t_Image copy = t_WindowCopyImage(number);
    EXPECT_EQ(copy.Width, 48);
    EXPECT_EQ(copy.Height, 16);
    EXPECT_EQ(copy.Pixels, frame.Pixels);

    EXPECT_EQ(t_WindowCopyImage(8).Width, 0);
    w.Visible = false;
    EXPECT_EQ(t_WindowCopyImage(number).Width, 0);
    w.Visible = true;
    screen->view[number] = false;
    EXPECT_TRUE(t_WindowCopyImage(number).Pixels.empty());
    screen->view[number] = true;
}

} // namespace
