// The refresh: a background process asks every window for a redraw about thirty times a second, the way
// a video chip scans its memory on its own; and the one explicit redraw.
#include "display/display.h"
#include "shell/platform.h"
#include "shell/shell.h"

#include <cerrno>
#include <ctime>
#include <string>

namespace {

std::atomic<int64_t (*)()> refreshClock{nullptr};

int64_t nowms() {
    int64_t (*clock)() = refreshClock.load(std::memory_order_acquire);
    return clock ? clock() : absolutetimems();
}

void sleepmillisecond() {
    timespec t{0, 1000000};
    while (nanosleep(&t, &t) != 0 && errno == EINTR) {}
}

// One look at every window; true when at least one was asked to redraw.
bool sweep() {
    bool requested = false;
    for (uint8_t w = 0; w < 8; ++w) {
        t_Window& record = t_WindowTable[w];
        if (!record.Initialized.load(std::memory_order_acquire) || !record.AutoUpdate.load() ||
            !record.VerticalBlank.load())
            continue;
        const Int rate = record.RefreshRate.load();
        if (rate <= 0) continue;
        if (nowms() - record.UpdateStarted.load() < 1000 / rate) continue;
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

} // namespace

void setrefreshclock(int64_t (*clock)()) {
    refreshClock.store(clock, std::memory_order_release);
}

void t_WindowAutoUpdateProcess() {
    debuglog("t_WindowAutoUpdateProcess: Start.");
    if (threadnumber() > 2) setthreadname("t_WindowAutoUpdate");
    t_AutoUpdateRunning.store(true);
    if (t_MemoryInitialized.load(std::memory_order_acquire)) {
        do {
            // A sweep that asked for nothing sleeps; one that asked goes straight on.
            if (!sweep()) sleepmillisecond();
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
