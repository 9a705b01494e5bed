// The refresh: a background process asks every window for a redraw about thirty times a second, the way
// a video chip scans its memory on its own; and the one explicit redraw.
#include "display/display.h"
#include "shell/platform.h"
#include "shell/shell.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <ctime>
#include <mutex>
#include <string>

namespace {

std::atomic<int64_t (*)()> refreshClock{nullptr};

// An idle process sleeps until the next request is due, or until something changes what is due.
std::mutex wakeLock;
std::condition_variable wakeUp;
bool woken = false;
std::atomic<bool> starting{false};

// Requests in a row whose frame showed nothing new. A screen that has stood still for a second is asked
// less often, until a key or a new window brings it back to its full rate.
std::atomic<int> unchanged[8];
constexpr int stillAfter = 30;
constexpr Int stillPeriod = 200;
// The time of the last key. Its echo is on the screen a moment after it: the next frame comes then, but
// not sooner than half a period after the last one.
std::atomic<Int> keyAt{0};
constexpr Int echoDelay = 2;

int64_t nowms() {
    int64_t (*clock)() = refreshClock.load(std::memory_order_acquire);
    return clock ? clock() : absolutetimems();
}

void sleepmillisecond() {
    timespec t{0, 1000000};
    while (nanosleep(&t, &t) != 0 && errno == EINTR) {}
}

// One look at every window; true when at least one was asked to redraw. Otherwise wait is how many
// milliseconds may pass before a request is due.
bool sweep(Int& wait) {
    bool requested = false;
    wait = stillPeriod;
    for (uint8_t w = 0; w < 8; ++w) {
        t_Window& record = t_WindowTable[w];
        if (!record.Initialized.load(std::memory_order_acquire) || !record.AutoUpdate.load()) continue;
        // A frame being composed: look again soon.
        if (!record.VerticalBlank.load()) {
            wait = 1;
            continue;
        }
        const Int rate = record.RefreshRate.load();
        if (rate <= 0) continue;
        Int period = 1000 / rate;
        if (unchanged[w].load() >= stillAfter) period = std::max(period, stillPeriod);
        const Int started = record.UpdateStarted.load(), key = keyAt.load();
        Int due = started + period;
        if (key > started) due = std::min(due, std::max(started + period / 2, key + echoDelay));
        const Int left = due - nowms();
        if (left > 0) {
            wait = std::min(wait, left);
            continue;
        }
        if (!t_WindowView(w)) {
            debuglog("t_WindowAutoUpdateProcess: Window #" + std::to_string(w) +
                     " view is nil, resource undefined.");
            continue;
        }
        record.UpdateStarted.store(nowms());
        t_RunOnMainThread([w] { platformport().ViewNeedsDisplay(w); });
        requested = true;
    }
    return requested;
}

// With a clock of the tests' the waits stay short, since that clock moves only when a test moves it.
void idle(Int wait) {
    if (refreshClock.load(std::memory_order_acquire)) {
        sleepmillisecond();
        return;
    }
    std::unique_lock<std::mutex> lock(wakeLock);
    wakeUp.wait_for(lock, std::chrono::milliseconds(std::max<Int>(wait, 1)), [] { return woken; });
    woken = false;
}

} // namespace

void t_RefreshWake() {
    for (auto& count : unchanged) count.store(0);
    {
        std::lock_guard<std::mutex> lock(wakeLock);
        woken = true;
    }
    wakeUp.notify_all();
}

void t_RefreshKey() {
    keyAt.store(nowms());
    t_RefreshWake();
}

void t_WindowFrameShown(uint8_t window, bool changed) {
    if (window > 7) return;
    if (changed)
        unchanged[window].store(0);
    else
        unchanged[window].fetch_add(1);
}

void t_StartAutoUpdate() {
    // One process at a time, however quickly windows are made one after the other.
    if (!t_AutoUpdateRunning.load(std::memory_order_acquire) && !starting.exchange(true))
        callasynchronously(t_WindowAutoUpdateProcess);
    t_RefreshWake();
}

void setrefreshclock(int64_t (*clock)()) {
    refreshClock.store(clock, std::memory_order_release);
}

void t_WindowAutoUpdateProcess() {
    debuglog("t_WindowAutoUpdateProcess: Start.");
    if (threadnumber() > 2) setthreadname("t_WindowAutoUpdate");
    t_AutoUpdateRunning.store(true);
    starting.store(false);
    if (t_MemoryInitialized.load(std::memory_order_acquire)) {
        do {
            // A sweep that asked for nothing sleeps until the next request is due; one that asked goes
            // straight on.
            Int wait = 1;
            if (!sweep(wait)) idle(wait);
        } while (t_MemoryInitialized.load(std::memory_order_acquire) && t_AutoUpdateRunning.load());
    }
    t_AutoUpdateRunning.store(false);
    debuglog("t_WindowAutoUpdateProcess: End.");
}

void t_WindowUpdate(uint8_t window, bool deferred) {
    if (!t_MemoryInitialized.load(std::memory_order_acquire)) return;
    if (window > 7) {
        debuglog("t_WindowUpdate: Window is not a graphic window.");
        return;
    }
    if (!t_WindowView(window)) {
        debuglog("t_WindowUpdate: Window #" + std::to_string(window) + " view is nil, resource undefined.");
        return;
    }
    // Inline when already on the main thread, which would otherwise wait for itself.
    t_RunOnMainThread([window, deferred] {
        const t_PlatformPort& port = platformport();
        if (deferred)
            port.ViewNeedsDisplay(window);
        else
            port.ViewDisplay(window);
    });
}
