// The window table and the memory flags, the platform handles of a window, and the guards every window
// routine passes before it touches a record.
#include "display/display.h"
#include "shell/platform.h"
#include "shell/shell.h"

t_Window t_WindowTable[8];
std::vector<uint8_t> t_VideoMemory;
Int t_HighMemory = 0xFFFFFF;
std::atomic<bool> t_MemoryStarted{false};
std::atomic<bool> t_MemoryInitialized{false};
std::atomic<uint8_t> t_DefaultWindow{255};
std::atomic<bool> t_AutoUpdateRunning{false};
std::mutex t_WindowShapeLock;

t_WindowShape t_WindowShapeOf(uint8_t window) {
    if (window > 7) return {};
    const t_Window& w = t_WindowTable[window];
    std::lock_guard<std::mutex> lock(t_WindowShapeLock);
    return {w.BitDepth, w.Width, w.Height, w.BorderWidth, w.BorderHeight, w.MemoryStart, w.MemoryEnd};
}

t_Handle t_WindowHandle(uint8_t window) {
    if (window > 12) return nullptr;
    t_Handle result = nullptr;
    t_RunOnMainThread([&] {
        const t_PlatformPort& port = platformport();
        // A display window is reached through its view.
        if (window <= 7 && !port.View(window)) return;
        result = port.Window(window);
    });
    return result;
}

t_Handle t_WindowView(uint8_t window) {
    if (window > 7) return nullptr;
    t_Handle result = nullptr;
    t_RunOnMainThread([&] { result = platformport().View(window); });
    return result;
}

t_Handle t_WindowTextView(uint8_t window) {
    if (window < 8 || window > 10) return nullptr;
    t_Handle result = nullptr;
    t_RunOnMainThread([&] { result = platformport().TextView(window); });
    return result;
}

uint8_t t_WindowIndexOf(t_Handle window) {
    uint8_t result = 255;
    t_RunOnMainThread([&] {
        const t_PlatformPort& port = platformport();
        // The side windows first, in this order; a missing outlet matches nothing.
        for (uint8_t n : {9, 10, 8, 11, 12}) {
            t_Handle outlet = port.Window(n);
            if (outlet && outlet == window) {
                result = n;
                return;
            }
        }
        for (uint8_t n = 0; n <= 7; ++n) {
            if (!port.View(n)) continue;
            t_Handle outlet = port.Window(n);
            if (outlet && outlet == window) {
                result = n;
                return;
            }
        }
    });
    return result;
}

namespace {

bool guard(uint8_t window, std::string_view routine, bool wantsText) {
    if (window > 7) {
        debuglog(std::string(routine) + ": Window is not a graphic window.");
        return false;
    }
    const t_Window& record = t_WindowTable[window];
    if (t_MemoryInitialized.load(std::memory_order_acquire) &&
        record.Initialized.load(std::memory_order_acquire) && (!wantsText || record.TextMemoryStart >= 0))
        return true;
    debuglog(std::string(routine) + ": Window #" + std::to_string(window) + " not initialized.");
    return false;
}

} // namespace

bool t_RecordGuard(uint8_t window, std::string_view routine) {
    return guard(window, routine, false);
}

bool t_TextGuard(uint8_t window, std::string_view routine) {
    return guard(window, routine, true);
}

t_Handle t_PlatformWindowGuard(uint8_t window, std::string_view routine) {
    t_Handle handle = t_WindowHandle(window);
    if (!handle) debuglog(std::string(routine) + ": Window does not exist.");
    return handle;
}
