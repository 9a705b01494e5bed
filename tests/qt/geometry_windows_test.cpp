// The window operations on the real Qt windows: sizes, border colour, title bar, centring, and a beep that
// never waits for an audio device.
#include "display/display.h"
#include "library/library.h"
#include "shell/platform.h"
#include "shell/qt/appdelegate.h"
#include "shell/shell.h"
#include "tests/qt/qtsupport.h"

#include <QApplication>
#include <QMenuBar>
#include <QScreen>
#include <QTimer>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <filesystem>
#include <functional>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

using qtsupport::pumpuntil;

// Runs the work on a thread of its own, as the program does, while this (the GUI) thread serves it.
bool onprogramthread(const std::function<void()>& work) {
    std::atomic<bool> done{false};
    std::thread worker([&] {
        work();
        done = true;
    });
    const bool finished = pumpuntil([&] { return done.load(); });
    worker.join();
    return finished;
}

constexpr uint8_t number = 5;
constexpr int width = 320, height = 200, borderWidth = 10, borderHeight = 12;
constexpr QRgb grey = 0xFF545454, black = 0xFF000000;

class GeometryWindows : public ::testing::Test {
  protected:
    void SetUp() override {
        // The bar's height as the launch measures it; the refresh stays out of the way.
        initkbtools();
        t_TitleBarHeight = platformport().TitleHeight(8);
        t_AutoUpdateRunning = true;
        setbundlepath("/Programme/Probe.app");
        if (!t_MemoryStarted.load()) t_InitMemory();
        ASSERT_TRUE(onprogramthread([] {
            t_InitWindow(number, 24, true, width, height, borderWidth, borderHeight, t_Font{}, true);
        }));
        ASSERT_TRUE(t_WindowTable[number].Initialized.load());
        window = t_Delegate->window(number);
    }
    void TearDown() override {
        t_WindowTable[number].Initialized = false;
        platformport().WindowOrderOut(number);
        t_WindowTable[number].Visible = false;
        setbundlepath("");
    }
    QImage content() { return window->centralWidget()->grab().toImage(); }
    QMainWindow* window = nullptr;
};

TEST_F(GeometryWindows, TheWindowTakesTheSizesTheBorderAndTheTitle) {
    const int bar = static_cast<int>(t_TitleBarHeight.load());
    ASSERT_GT(bar, 0);
    EXPECT_EQ(window->size(), QSize(width + 2 * borderWidth, height + 2 * borderHeight + bar));
    EXPECT_EQ(t_Delegate->view(number)->geometry(), QRect(borderWidth, borderHeight, width, height));
    ASSERT_TRUE(pumpuntil([&] { return window->windowTitle() == "Probe-Grafik"; }));

    ASSERT_TRUE(onprogramthread([] { t_WindowFront(number); }));
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(t_WindowTable[number].Visible.load());
    QImage shot = content();
    EXPECT_EQ(shot.pixel(2, 2), grey);
    EXPECT_EQ(shot.pixel(borderWidth - 1, borderHeight + height / 2), grey);
    EXPECT_EQ(shot.pixel(borderWidth + width, borderHeight + height - 1), grey);
    EXPECT_EQ(shot.pixel(borderWidth + width / 2, borderHeight + height + 1), grey);
    EXPECT_EQ(shot.pixel(borderWidth, borderHeight), black);
    EXPECT_EQ(shot.pixel(borderWidth + width - 1, borderHeight + height - 1), black);

    ASSERT_TRUE(onprogramthread([] { t_ColorBorder(number, 9); }));
    shot = content();
    EXPECT_EQ(shot.pixel(2, 2), 0xFFFF8000);
    EXPECT_EQ(shot.pixel(borderWidth + 5, borderHeight + 5), black);
}

TEST_F(GeometryWindows, FramesAreMeasuredFromBelowAndSizeBackToTheRecord) {
    Int measured[4] = {};
    ASSERT_TRUE(onprogramthread([&] {
        t_WindowSize(number, 40, 60, -1, -1);
        measured[0] = t_WindowPos(number, 13);
        measured[1] = t_WindowPos(number, 20);
        measured[2] = t_WindowPos(number, 14);
        measured[3] = t_WindowPos(number, 16);
    }));
    const QRect screen = window->screen()->geometry();
    const int frameHeight = window->height();
    EXPECT_EQ(measured[0], 40);
    EXPECT_EQ(measured[1], 60);
    EXPECT_EQ(measured[3], screen.height());
    // The frame's origin is its bottom left corner, counted up from the bottom of the screen.
    EXPECT_EQ(window->geometry().x(), 40);
    EXPECT_EQ(window->geometry().y() + frameHeight, screen.height() - 60);
    EXPECT_EQ(measured[2], window->geometry().y());
}

TEST_F(GeometryWindows, CentringLeavesATopGapOfAThirdOfTheFreeRoom) {
    ASSERT_TRUE(onprogramthread([] { t_WindowCenter(number); }));
    const QRect area = window->screen()->availableGeometry();
    EXPECT_EQ(window->geometry().x(), area.x() + (area.width() - window->width()) / 2);
    EXPECT_EQ(window->geometry().y(), area.y() + (area.height() - window->height()) / 3);
}

TEST_F(GeometryWindows, WithoutTitleTheBarGoesAndTheViewKeepsItsBorder) {
    ASSERT_TRUE(onprogramthread([] {
        t_WindowTitleVisible(number, false);
        t_WindowSize(number, -1, -1, -1, -1);
    }));
    EXPECT_TRUE(window->menuBar()->isHidden());
    EXPECT_EQ(window->size(), QSize(width + 2 * borderWidth, height + 2 * borderHeight));
    EXPECT_EQ(t_Delegate->view(number)->geometry(), QRect(borderWidth, borderHeight, width, height));
    ASSERT_TRUE(onprogramthread([] {
        t_WindowTitleVisible(number, true);
        t_WindowSize(number, -1, -1, -1, -1);
    }));
    EXPECT_FALSE(window->menuBar()->isHidden());
    EXPECT_EQ(window->height(), height + 2 * borderHeight + static_cast<int>(t_TitleBarHeight.load()));
    EXPECT_EQ(t_Delegate->view(number)->geometry(), QRect(borderWidth, borderHeight, width, height));
}

// With no audio device (offscreen, CI) the beep falls back to the system's; either way the sound is handed
// to the event loop, and the loop goes on serving what comes after it.
TEST(GeometryBeep, TheBeepNeverHoldsUpTheCallerOrTheEventLoop) {
    char buffer[PATH_MAX];
    ssize_t n = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    ASSERT_GT(n, 0);
    const std::filesystem::path exe(std::string(buffer, static_cast<size_t>(n)));
    const std::string bundle = (exe.parent_path().parent_path().parent_path() / "Seelenorakel.app").string();
    ASSERT_TRUE(std::filesystem::exists(bundle + "/Contents/Resources/sysbeep.aif")) << bundle;
    setbundlepath(bundle);
    t_BeepForget();
    ASSERT_TRUE(onprogramthread([] { t_Beep(); }));
    t_BeepForget();
    t_Beep();
    bool served = false;
    QTimer::singleShot(0, [&] { served = true; });
    EXPECT_TRUE(pumpuntil([&] { return served; }));
    t_BeepForget();
    setbundlepath("");
}

} // namespace
