#include "window_recorder.h"

#include <gtest/gtest.h>

namespace {

constexpr uint8_t number = 5;

uint32_t argb(const uint8_t (&c)[3]) {
    return 0xFF000000u | uint32_t(c[0]) << 16 | uint32_t(c[1]) << 8 | c[2];
}

// The pixel at (x, y) read the slow way, straight from the layout of the graphic block.
uint32_t expected(const t_Window& w, Int x, Int y) {
    const Int p = y * w.Width + x;
    const uint8_t* m = t_VideoMemory.data() + w.MemoryStart;
    switch (w.BitDepth) {
    case 1:
        return argb(windowtest::palette[(m[p / 8] >> (7 - x % 8)) & 1 ? 15 : 0]);
    case 4:
        return argb(windowtest::palette[x % 2 == 0 ? m[p / 2] >> 4 : m[p / 2] & 15]);
    case 8:
    case 16:
        return 0xFF000000u | uint32_t(m[(p + 1) * w.BitDepth / 8 - 1]) * 0x010101u;
    default:
        const uint8_t* q = m + (p + 1) * w.BitDepth / 8 - 3;
        return 0xFF000000u | uint32_t(q[0]) << 16 | uint32_t(q[1]) << 8 | q[2];
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
        w.Initialized = w.Visible = false;
        w.MemoryStart = w.MemoryEnd = -1;
    }
    // A live, visible window whose block of random bytes ends at the very top of the memory, so that a read
    // past the block would leave the memory too.
    t_Window& makewindow(Int depth, Int width, Int height) {
        t_Window& w = t_WindowTable[number];
        w.BitDepth = depth;
        w.Width = width;
        w.Height = height;
        w.MemoryEnd = static_cast<Int>(t_VideoMemory.size()) - 1;
        w.MemoryStart = w.MemoryEnd - (width * height * depth + 7) / 8 + 1;
        w.Initialized = w.Visible = true;
        unsigned seed = static_cast<unsigned>(depth * width);
        for (Int i = w.MemoryStart; i <= w.MemoryEnd; ++i)
            t_VideoMemory[i] = static_cast<uint8_t>((seed = seed * 1103515245u + 12345u) >> 16);
        return w;
    }
    std::shared_ptr<standin::Screen> screen;
    bool savedMemory = false;
};

TEST_F(Frame, EveryDepthFollowsItsLayoutPixelForPixel) {
    // Widths that leave the fast loops a ragged end: 37 pixels a row at 24 bits is not a multiple of 4.
    for (Int depth : {1, 4, 8, 16, 24, 32}) {
        const t_Window& w = makewindow(depth, depth == 1 ? 40 : depth == 4 ? 36 : 37, 9);
        t_Image frame;
        ASSERT_TRUE(t_WindowImage(number, frame));
        ASSERT_EQ(frame.Width, w.Width);
        ASSERT_EQ(frame.Height, 9);
        ASSERT_EQ(frame.Pixels.size(), size_t(w.Width * 9));
        for (Int y = 0; y < 9; ++y)
            for (Int x = 0; x < w.Width; ++x)
                ASSERT_EQ(frame.Pixels[y * w.Width + x], expected(w, x, y))
                    << "depth " << depth << " at " << x << "," << y;
    }
    // The border is no part of the frame, and a smaller window next is exactly its own size.
    t_Window& w = makewindow(4, 640, 400);
    w.BorderWidth = w.BorderHeight = 16;
    t_Image frame;
    ASSERT_TRUE(t_WindowImage(number, frame));
    EXPECT_EQ(frame.Pixels.size(), size_t(640 * 400));
    makewindow(24, 64, 32);
    const int64_t before = absolutetimems();
    ASSERT_TRUE(t_WindowImage(number, frame));
    EXPECT_EQ(frame.Pixels.size(), size_t(64 * 32));
    EXPECT_GE(w.UpdateFinished.load(), before);
    EXPECT_GE(w.UpdateDuration.load(), 0);
    // The copy is the frame, or nothing without a visible window and view.
    t_Image copy = t_WindowCopyImage(number);
    EXPECT_EQ(copy.Width, 64);
    EXPECT_EQ(copy.Pixels, frame.Pixels);
    EXPECT_EQ(t_WindowCopyImage(8).Width, 0);
    screen->view[number] = false;
    EXPECT_TRUE(t_WindowCopyImage(number).Pixels.empty());
    screen->view[number] = true;
}

TEST_F(Frame, NoFrameWithoutAWordExceptForAWindowNeverMadeOrBroken) {
    t_Window& w = makewindow(24, 32, 32);
    t_Image frame;
    ASSERT_TRUE(t_WindowImage(number, frame));
    const std::vector<uint32_t> shown = frame.Pixels;
    standin::LogCapture log;
    w.Visible = false; // hidden, or the memory not ready: nothing, silently
    EXPECT_FALSE(t_WindowImage(number, frame));
    EXPECT_EQ(t_WindowCopyImage(number).Width, 0);
    w.Visible = true;
    t_MemoryInitialized = false;
    EXPECT_FALSE(t_WindowImage(number, frame));
    t_MemoryInitialized = true;
    EXPECT_TRUE(log.lines().empty());
    w.BitDepth = 12;
    EXPECT_FALSE(t_WindowImage(number, frame));
    w.BitDepth = 24;
    w.MemoryStart += 1; // the block is now one byte short
    EXPECT_FALSE(t_WindowImage(number, frame));
    w.MemoryStart = -1;
    EXPECT_FALSE(t_WindowImage(number, frame));
    w.Initialized = w.Visible = false; // never made, or being made anew
    EXPECT_FALSE(t_WindowImage(number, frame));
    EXPECT_FALSE(t_WindowImage(9, frame));
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               "t_WindowImage: Illegal bit depth.",
                               "t_WindowImage: Data could not be collected, image could not be created.",
                               "t_WindowImage: Data could not be collected, image could not be created.",
                               "t_WindowImage: Graphic window #5 not initialized.",
                               "t_WindowImage: Graphic window #9 not initialized."}));
    EXPECT_EQ(frame.Pixels, shown);
}

} // namespace
