#include "spine_standin.h"

#include "display/display.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

namespace {

using namespace std::chrono_literals;

std::atomic<int64_t> fakeNow{500000};
int64_t fakeclock() {
    return fakeNow.load();
}

// Requests the views got, and on which thread.
struct Requests {
    std::atomic<int> marked[8] = {};
    std::atomic<int> drawn[8] = {};
    std::atomic<int> offMain{0};
};

class Refresh : public ::testing::Test {
  protected:
    void SetUp() override {
        screen = standin::install();
        t_PlatformPort port = platformport();
        auto r = requests;
        port.ViewNeedsDisplay = [r](uint8_t n) {
            if (!ismainthread()) ++r->offMain;
            if (n < 8) ++r->marked[n];
        };
        port.ViewDisplay = [r](uint8_t n) {
            if (!ismainthread()) ++r->offMain;
            // Long enough that a caller not waiting for the drawing would be seen returning early.
            std::this_thread::sleep_for(20ms);
            if (n < 8) ++r->drawn[n];
        };
        setplatformport(port);
        // A process left by another test would request too.
        if (t_AutoUpdateRunning.exchange(false)) std::this_thread::sleep_for(50ms);
        savedMemory = t_MemoryInitialized.load();
        t_MemoryInitialized = true;
        setrefreshclock(fakeclock);
        for (auto& w : t_WindowTable) saved.push_back(w.Initialized.load());
        for (auto& w : t_WindowTable) w.Initialized = false;
    }
    void TearDown() override {
        stop();
        setrefreshclock(nullptr);
        for (int n = 0; n < 8; ++n) {
            t_WindowTable[n].Initialized = saved[n];
            t_WindowTable[n].VerticalBlank = true;
        }
        t_MemoryInitialized = savedMemory;
    }
    // A window as t_InitWindow leaves it.
    t_Window& live(uint8_t n, bool autoUpdate) {
        t_Window& w = t_WindowTable[n];
        w.AutoUpdate = autoUpdate;
        w.VerticalBlank = true;
        w.RefreshRate = 30;
        w.UpdateStarted = 0;
        w.Initialized = true;
        return w;
    }
    void start() {
        process = std::thread(t_WindowAutoUpdateProcess);
        ASSERT_TRUE(standin::waitfor([] { return t_AutoUpdateRunning.load(); }));
    }
    void stop() {
        if (!process.joinable()) return;
        t_AutoUpdateRunning = false;
        process.join();
    }
    std::shared_ptr<standin::Screen> screen;
    std::shared_ptr<Requests> requests = std::make_shared<Requests>();
    std::thread process;
    bool savedMemory = false;
    std::vector<bool> saved;
};

TEST_F(Refresh, ThirtyTwoMillisecondsSkipThirtyThreeTake) {
    fakeNow = 500000;
    t_Window& w = live(2, true);
    start();
    // UpdateStarted 0: the first sweep asks at once.
    ASSERT_TRUE(standin::waitfor([&] { return requests->marked[2] == 1; }));
    EXPECT_EQ(w.UpdateStarted.load(), 500000);
    // Some sweeps at 1 ms each: nothing more while the clock stands.
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(requests->marked[2], 1);
    fakeNow = 500032;
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(requests->marked[2], 1);
    fakeNow = 500033;
    ASSERT_TRUE(standin::waitfor([&] { return requests->marked[2] == 2; }));
    EXPECT_EQ(w.UpdateStarted.load(), 500033);
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(requests->marked[2], 2);
    EXPECT_EQ(requests->offMain, 0);
}

TEST_F(Refresh, OnlyLiveAutoUpdateWindowsOutsideTheirComposingAreAsked) {
    fakeNow = 600000;
    live(0, true).VerticalBlank = false; // window 0's view is composing
    live(1, false);                      // the application's graphics window
    live(2, true);
    t_WindowTable[3].AutoUpdate = true; // not made
    start();
    ASSERT_TRUE(standin::waitfor([&] { return requests->marked[2] == 1; }));
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(requests->marked[0], 0);
    EXPECT_EQ(requests->marked[1], 0);
    EXPECT_EQ(requests->marked[3], 0);
    // Window 0's frame is done: it is asked on the next sweep. Window 1 never is, however long.
    t_WindowTable[0].VerticalBlank = true;
    ASSERT_TRUE(standin::waitfor([&] { return requests->marked[0] == 1; }));
    for (int i = 0; i < 5; ++i) {
        fakeNow += 33;
        ASSERT_TRUE(standin::waitfor([&, i] { return requests->marked[2] == i + 2; }));
    }
    EXPECT_EQ(requests->marked[1], 0);
    EXPECT_EQ(requests->marked[0], 6);
}

TEST_F(Refresh, AMissingViewIsToldAtEachTurn) {
    fakeNow = 700000;
    screen->view[4] = false;
    live(4, true);
    standin::LogCapture log;
    start();
    ASSERT_TRUE(standin::waitfor([&] { return log.lines().size() >= 3; }));
    stop();
    auto lines = log.lines();
    EXPECT_EQ(lines.front(), "t_WindowAutoUpdateProcess: Start.");
    EXPECT_EQ(lines[1], "t_WindowAutoUpdateProcess: Window #4 view is nil, resource undefined.");
    EXPECT_EQ(lines[2], lines[1]);
    EXPECT_EQ(lines.back(), "t_WindowAutoUpdateProcess: End.");
    // The window stays in the sweep, but nothing was stamped.
    EXPECT_EQ(t_WindowTable[4].UpdateStarted.load(), 0);
    screen->view[4] = true;
}

TEST_F(Refresh, TheProcessEndsWhenTheMemoryIsNotReady) {
    t_MemoryInitialized = false;
    standin::LogCapture log;
    t_WindowAutoUpdateProcess();
    EXPECT_FALSE(t_AutoUpdateRunning.load());
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"t_WindowAutoUpdateProcess: Start.",
                                                     "t_WindowAutoUpdateProcess: End."}));
}

TEST_F(Refresh, WindowUpdateDrawsBeforeItReturnsOrOnlyMarks) {
    live(1, false);
    t_WindowUpdate(1, false);
    EXPECT_EQ(requests->drawn[1], 1);
    EXPECT_EQ(requests->marked[1], 0);
    t_WindowUpdate(1, true);
    EXPECT_EQ(requests->marked[1], 1);
    // Neither the record's flags nor the stamp matter to it.
    t_WindowTable[6].Initialized = false;
    t_WindowTable[6].UpdateStarted = 42;
    t_WindowUpdate(6, false);
    EXPECT_EQ(requests->drawn[6], 1);
    EXPECT_EQ(t_WindowTable[6].UpdateStarted.load(), 42);
    // On the main thread itself it draws in place instead of waiting for itself.
    ASSERT_TRUE(standin::onmain([] { t_WindowUpdate(1, false); }, 2s));
    EXPECT_EQ(requests->drawn[1], 2);
    EXPECT_EQ(requests->offMain, 0);
}

TEST_F(Refresh, WindowUpdateRefusesWhatItCannotDraw) {
    standin::LogCapture log;
    screen->view[3] = false;
    t_WindowUpdate(9, false);
    t_WindowUpdate(3, false);
    screen->view[3] = true;
    t_MemoryInitialized = false;
    t_WindowUpdate(2, false);
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{"t_WindowUpdate: Window is not a graphic window.",
                                        "t_WindowUpdate: Window #3 view is nil, resource undefined."}));
    EXPECT_EQ(requests->drawn[2] + requests->drawn[3], 0);
}

} // namespace
