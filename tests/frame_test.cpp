// A window's picture as the platform gets it: every depth by its layout, and no picture where there is none.
#include "window_recorder.h"

namespace {

constexpr uint8_t number = 5;

class Frame : public windowtest::WindowTest {
  protected:
    void SetUp() override {
        WindowTest::SetUp();
        t_MemoryInitialized = true;
    }
    // A live, visible window whose block of random bytes ends at the very top of the memory, so that a read
    // past the block would leave the memory too.
    static t_Window& makewindow(Int depth, Int width, Int height) {
        t_Window& w = t_WindowTable[number];
        w.BitDepth = depth, w.Width = width, w.Height = height;
        w.MemoryEnd = static_cast<Int>(t_VideoMemory.size()) - 1;
        w.MemoryStart = w.MemoryEnd - (width * height * depth + 7) / 8 + 1;
        w.Initialized = w.Visible = true;
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

} // namespace
