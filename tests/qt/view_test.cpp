// The display views in the Qt host: the frame where it belongs, the border round it, the last frame kept,
// and window 0's composing bracket.
#include "display/display.h"
#include "shell/platform.h"
#include "shell/qt/appdelegate.h"
#include "shell/shell.h"
#include "tests/qt/qtsupport.h"

#include <QApplication>
#include <QMenuBar>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <mutex>

namespace {

using namespace std::chrono_literals;

using qtsupport::pumpuntil;

constexpr QRgb red = 0xFFFF0000, blue = 0xFF0000FF, green = 0xFF00FF00, white = 0xFFFFFFFF;
constexpr int border = 16, frameWidth = 64, frameHeight = 32;

class View : public ::testing::Test {
  protected:
    void SetUp() override {
        savedMemory = t_MemoryInitialized.load();
        if (t_VideoMemory.size() < 0x100000F) t_VideoMemory.assign(0x100000F, 0xFF);
        t_MemoryInitialized = true;
    }
    void TearDown() override {
        for (uint8_t n : used) {
            t_WindowTable[n].Initialized = false;
            t_WindowTable[n].Visible = false;
            platformport().WindowOrderOut(n);
        }
        t_MemoryInitialized = savedMemory;
    }
    // A 24-bit window of 64 by 32 as t_InitWindow and t_WindowSize leave it, shown: left half red, right
    // half blue, the top left pixel green.
    void makewindow(uint8_t n, Int start) {
        used.push_back(n);
        t_Window& w = t_WindowTable[n];
        w.BitDepth = 24;
        w.Width = frameWidth;
        w.Height = frameHeight;
        w.BorderWidth = w.BorderHeight = border;
        w.MemoryStart = start;
        w.MemoryEnd = start + frameWidth * frameHeight * 3 - 1;
        for (int y = 0; y < frameHeight; ++y)
            for (int x = 0; x < frameWidth; ++x) paint(n, x, y, x < frameWidth / 2 ? red : blue);
        paint(n, 0, 0, green);
        w.Initialized = true;
        w.Visible = true;
        QMainWindow* window = t_Delegate->window(n);
        const int bar = window->menuBar()->sizeHint().height();
        window->setFixedSize(frameWidth + 2 * border, frameHeight + 2 * border + bar);
        t_Delegate->view(n)->setGeometry(border, border, frameWidth, frameHeight);
        platformport().WindowOrderFront(n);
        ASSERT_TRUE(pumpuntil([&] { return window->isVisible(); }));
    }
    void paint(uint8_t n, int x, int y, QRgb color) {
        uint8_t* p = t_VideoMemory.data() + t_WindowTable[n].MemoryStart + 3 * (y * frameWidth + x);
        p[0] = qRed(color);
        p[1] = qGreen(color);
        p[2] = qBlue(color);
    }
    QImage viewshot(uint8_t n) { return t_Delegate->view(n)->grab().toImage(); }
    // A pixel of the view at logical coordinates, whatever the density of the screen.
    QRgb viewpixel(uint8_t n, int x, int y) {
        const QImage shot = viewshot(n);
        const int dpr = qRound(shot.devicePixelRatio());
        return shot.pixel(x * dpr, y * dpr);
    }
    bool savedMemory = false;
    std::vector<uint8_t> used;
};

TEST_F(View, FrameSitsUnscaledInsideTheBorderColour) {
    makewindow(6, 0x200000);
    platformport().SetWindowBackground(6, t_PaletteColor(5));
    QMainWindow* window = t_Delegate->window(6);
    const QImage shot = window->grab().toImage();
    // In logical pixels: on a dense screen the frame is as large as elsewhere, each pixel made bigger.
    const int dpr = qRound(shot.devicePixelRatio());
    auto at = [&](int x, int y) { return shot.pixel(x * dpr, y * dpr); };
    const int top = window->centralWidget()->y();
    ASSERT_EQ(shot.width(), (frameWidth + 2 * border) * dpr);
    EXPECT_EQ(at(border, top + border), green);
    EXPECT_EQ(at(border + 1, top + border), red);
    EXPECT_EQ(at(border + frameWidth / 2 - 1, top + border + frameHeight - 1), red);
    EXPECT_EQ(at(border + frameWidth / 2, top + border), blue);
    EXPECT_EQ(at(border + frameWidth - 1, top + border + frameHeight - 1), blue);
    // The border on all four sides, right up to the frame.
    const QRgb grey = 0xFF545454;
    EXPECT_EQ(at(border - 1, top + border), grey);
    EXPECT_EQ(at(border + frameWidth, top + border), grey);
    EXPECT_EQ(at(border, top + border - 1), grey);
    EXPECT_EQ(at(border, top + border + frameHeight), grey);
    EXPECT_EQ(at(0, top + frameHeight + 2 * border - 1), grey);
    // Another border colour shows at once.
    platformport().SetWindowBackground(6, t_PaletteColor(2));
    EXPECT_EQ(window->grab().toImage().pixel(2 * dpr, (top + 2) * dpr), 0xFF000080);
}

TEST_F(View, ARefreshRequestShowsTheNewFrameAndAHiddenWindowKeepsTheOld) {
    makewindow(7, 0x210000);
    DisplayView* view = t_Delegate->view(7);
    ASSERT_EQ(viewpixel(7, frameWidth - 1, 0), blue);

    // Through the path of the refresh: a request, then the event loop draws.
    paint(7, frameWidth - 1, 0, white);
    t_WindowTable[7].UpdateFinished = 0;
    platformport().ViewNeedsDisplay(7);
    ASSERT_TRUE(pumpuntil([] { return t_WindowTable[7].UpdateFinished.load() != 0; }));
    EXPECT_EQ(view->Frame.Pixels[frameWidth - 1], white);
    EXPECT_EQ(viewpixel(7, frameWidth - 1, 0), white);

    // Hidden in the record, and being made anew: the view goes on showing what it showed.
    paint(7, frameWidth - 1, 0, red);
    t_WindowTable[7].Visible = false;
    EXPECT_EQ(viewpixel(7, frameWidth - 1, 0), white);
    t_WindowTable[7].Visible = true;
    t_WindowTable[7].Initialized = false;
    EXPECT_EQ(viewpixel(7, frameWidth - 1, 0), white);
    t_WindowTable[7].Initialized = true;
    EXPECT_EQ(viewpixel(7, frameWidth - 1, 0), red);
}

TEST_F(View, ARequestRedrawsOnlyWhenTheBlockOrItsPlaceChanged) {
    makewindow(5, 0x220000);
    t_Window& w = t_WindowTable[5];
    auto requestdraws = [&] {
        w.UpdateFinished = 0;
        platformport().ViewNeedsDisplay(5);
        return pumpuntil([&] { return w.UpdateFinished.load() != 0; }, 300ms);
    };
    // Let the paint of the window's first showing pass.
    pumpuntil([] { return false; }, 100ms);
    EXPECT_FALSE(requestdraws());
    // The last byte of the block: the blue of the bottom right pixel.
    t_VideoMemory[w.MemoryEnd] = 0x80;
    EXPECT_TRUE(requestdraws());
    EXPECT_EQ(viewpixel(5, frameWidth - 1, frameHeight - 1), 0xFF000080);
    EXPECT_FALSE(requestdraws());
    // Hidden in the record the view keeps its frame; shown again it draws, though no byte changed.
    w.Visible = false;
    viewshot(5);
    w.Visible = true;
    EXPECT_TRUE(requestdraws());
    // The same bytes at another place (the block moved when another window was made anew).
    std::copy(t_VideoMemory.begin() + w.MemoryStart, t_VideoMemory.begin() + w.MemoryEnd + 1,
              t_VideoMemory.begin() + 0x230000);
    w.MemoryEnd += 0x230000 - w.MemoryStart;
    w.MemoryStart = 0x230000;
    EXPECT_TRUE(requestdraws());
    EXPECT_FALSE(requestdraws());
}

TEST_F(View, OnlyViewZeroBracketsItsComposingWithVerticalBlank) {
    // A window not made logs from inside the composing, so the sink sees the flags of that moment.
    for (uint8_t n : {0, 1}) {
        used.push_back(n);
        t_WindowTable[n].Initialized = false;
    }
    t_WindowTable[1].VerticalBlank = false;
    std::vector<std::pair<bool, bool>> seen;
    std::mutex mutex;
    debuglogsink([&](std::string_view) {
        std::lock_guard<std::mutex> lock(mutex);
        seen.emplace_back(t_WindowTable[0].VerticalBlank.load(), t_WindowTable[1].VerticalBlank.load());
    });
    viewshot(0);
    viewshot(1);
    debuglogsink(nullptr);
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0], std::make_pair(false, false)); // view 0 composing
    EXPECT_EQ(seen[1], std::make_pair(true, false));  // view 1 leaves both alone
    EXPECT_TRUE(t_WindowTable[0].VerticalBlank.load());
    EXPECT_FALSE(t_WindowTable[1].VerticalBlank.load());
    t_WindowTable[1].VerticalBlank = true;
}

} // namespace
