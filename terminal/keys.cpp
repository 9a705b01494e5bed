// Reading keys on the program thread: the wait for a key with its cursor shown, the pause of the output
// on Ctrl-S, and the yes/no question.
#include "terminal/terminal.h"

#include "display/display.h"
#include "library/library.h"
#include "shell/events.h"
#include "shell/shell.h"

#include <cerrno>
#include <chrono>
#include <ctime>

std::atomic<Int> t_KeyWaitPolls{0};
std::atomic<void (*)()> t_KeyWaitHook{nullptr};

namespace {

// Waits 10 ms for a key, ended at once by one that arrives.
void poll() {
    {
        std::unique_lock<std::mutex> lock(t_KeyQueueLock);
        t_KeyArrived.wait_for(lock, std::chrono::milliseconds(10),
                              [] { return t_KeyEventPending.load(std::memory_order_acquire); });
    }
    // Release: whoever sees the count move may read what the thread wrote before it began to wait
    // (the screen, the cursor).
    t_KeyWaitPolls.fetch_add(1, std::memory_order_release);
    if (void (*hook)() = t_KeyWaitHook.load()) hook();
}

// Takes the oldest event into t_CurrentEvent; false when the queue was empty. The flag is stored anew
// either way.
bool takeoldest() {
    t_Event event;
    {
        std::lock_guard<std::mutex> lock(t_KeyQueueLock);
        if (t_KeyQueue.empty()) {
            t_KeyEventPending.store(false, std::memory_order_release);
            return false;
        }
        event = std::move(t_KeyQueue.front());
        t_KeyQueue.pop_front();
        t_KeyEventPending.store(!t_KeyQueue.empty(), std::memory_order_release);
    }
    t_CurrentEvent = std::move(event);
    return true;
}

void storepending() {
    std::lock_guard<std::mutex> lock(t_KeyQueueLock);
    t_KeyEventPending.store(!t_KeyQueue.empty(), std::memory_order_release);
}

} // namespace

std::string t_WaitKey(uint8_t window) {
    for (;;) {
        // The cursor shows only while there really is nothing to read.
        if (!t_KeyEventPending.load(std::memory_order_acquire)) {
            t_CursorOn(window);
            while (!t_KeyEventPending.load(std::memory_order_acquire)) poll();
            t_CursorOff(window);
        }
        if (!takeoldest()) continue;
        const Int value = t_CurrentEvent.Value;
        if (value < 0) continue;
        const bool scalar = value <= 0x10FFFF && !(value >= 0xD800 && value <= 0xDFFF);
        return scalar ? stringfromscalar(value) : std::string(1, '\0');
    }
}

Int t_NextEvent() {
    if (!t_KeyEventPending.load(std::memory_order_acquire)) return -1;
    return takeoldest() ? t_CurrentEvent.Value : -1;
}

bool t_CheckPause(Int key, bool wait) {
    if (!t_KeyEventPending.load(std::memory_order_acquire)) return false;
    {
        std::lock_guard<std::mutex> lock(t_KeyQueueLock);
        const bool any = !t_KeyQueue.empty();
        t_KeyEventPending.store(any, std::memory_order_release);
        // Only the newest key counts: one typed after the pause key cancels it.
        if (!any || t_KeyQueue.back().Value != key) return false;
        t_KeyQueue.clear();
        t_KeyEventPending.store(false, std::memory_order_release);
    }
    if (!wait) return true;
    const Int menus = t_MenuQueueSize.load();
    while (!t_KeyEventPending.load(std::memory_order_acquire) && t_MenuQueueSize.load() == menus) poll();
    // The key that ends the pause does nothing else.
    if (t_KeyEventPending.load(std::memory_order_acquire)) t_NextEvent();
    storepending();
    return true;
}

Int t_InputYesNo(uint8_t window, Int defaultAnswer, bool echo) {
    if (echo) t_Print(window, " \b");
    Int code = ascfromstring(t_WaitKey(window));
    // Only j, y and n matter below, and no other letter has one of them as its capital.
    if (code >= 'a' && code <= 'z') code -= 32;
    Int result = -2;
    switch (code) {
    case 13:
    case 32:
        result = defaultAnswer;
        break;
    case 27:
        result = -1;
        break;
    case 'J':
    case 'Y':
        result = 1;
        break;
    case 'N':
        result = 0;
        break;
    default:
        break;
    }
    if (echo) {
        const bool yes = result == 1 || ((code == 13 || code == 32) && defaultAnswer == 1);
        t_Print(window, yes ? "J" : "N");
    }
    return result;
}
