// The auto-update process on a clock of the test's, against views that count the requests to draw.
#include "spine_standin.h"

#include "display/display.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

std::atomic<int64_t> fakeNow{500000};

// The views' requests counted by window, all expected on the main thread.
struct Requests {
    std::atomic<int> marked[8] = {}, offMain{0};
};

class Refresh : public ::testing::Test {
  protected:
    void SetUp() override {
        standin::install()->view[4] = false; // window 4 has no view
        t_PlatformPort port = platformport();
        port.ViewNeedsDisplay = [r = requests](uint8_t n) {
            r->offMain += !ismainthread(), ++r->marked[n % 8];
        };
        setplatformport(port);
        if (t_AutoUpdateRunning.exchange(false)) std::this_thread::sleep_for(50ms); // another test's process
        savedMemory = t_MemoryInitialized.exchange(true);
        setrefreshclock([] { return fakeNow.load(); });
        for (auto& w : t_WindowTable) saved.push_back(w.Initialized.exchange(false));
    }
    void TearDown() override {
        if (process.joinable()) t_AutoUpdateRunning = false, process.join();
        setrefreshclock(nullptr);
        for (int n = 0; n < 8; ++n)
            t_WindowTable[n].Initialized = saved[n], t_WindowTable[n].VerticalBlank = true;
        t_MemoryInitialized = savedMemory;
    }
    // A window as t_InitWindow leaves it.
    static t_Window& live(uint8_t n, bool autoUpdate) {
        t_Window& w = t_WindowTable[n];
        w.AutoUpdate = autoUpdate, w.VerticalBlank = true, w.RefreshRate = 30, w.UpdateStarted = 0;
        w.Initialized = true;
        return w;
    }
    bool marks(uint8_t n, int count) {
        return standin::waitfor([&] { return requests->marked[n] == count; });
    }
    std::shared_ptr<Requests> requests = std::make_shared<Requests>();
    std::thread process;
    bool savedMemory = false;
    std::vector<bool> saved;
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
    EXPECT_EQ(requests->marked[2] * 10 + requests->marked[0] + requests->marked[1], 10);
    t_WindowTable[0].VerticalBlank = true; // window 0's frame is done: asked on the next sweep
    ASSERT_TRUE(marks(0, 1));
    fakeNow = 500033;
    ASSERT_TRUE(marks(2, 2));
    EXPECT_EQ(w.UpdateStarted.load(), 500033);
    t_AutoUpdateRunning = false;
    process.join();
    // A missing view is told at each turn, and nothing stamped.
    EXPECT_EQ(log.lines().at(1), "t_WindowAutoUpdateProcess: Window #4 view is nil, resource undefined.");
    EXPECT_EQ(t_WindowTable[4].UpdateStarted.load() + requests->offMain, 0);
}

} // namespace
