// The program's mouse and menu handlers, each on one thread of its own that a click or a choice wakes.
// A thread per event would let a flood of clicks start thousands of threads; here a flood only raises a
// count, which the queue's limit bounds.
#include "shell/events.h"
#include "shell/menus.h"
#include "shell/platform.h"
#include "shell/shell.h"

// Never destroyed: their threads wait on them until the process ends.
t_HandlerThread& t_MouseHandlerThread =
    *new t_HandlerThread{"t_EventMouse", &t_ProgramMouseHandler, {}, {}, 0, false};
t_HandlerThread& t_MenuHandlerThread =
    *new t_HandlerThread{"t_EventMenu", &t_ProgramMenuHandler, {}, {}, 0, false};

namespace {

[[noreturn]] void handlerloop(t_HandlerThread& thread) {
    if (threadnumber() >= 3) setthreadname(thread.Name);
    for (;;) {
        std::function<void()> handler;
        {
            std::unique_lock<std::mutex> lock(thread.Lock);
            thread.Wake.wait(lock, [&] { return thread.Pending > 0; });
            --thread.Pending;
            // Taken under the lock, so a handler installed before the event is the one that runs.
            handler = *thread.Handler;
        }
        handler();
    }
}

} // namespace

void t_CallHandler(t_HandlerThread& thread) {
    std::lock_guard<std::mutex> lock(thread.Lock);
    // No more runs wait than events can wait in their queue.
    if (thread.Pending < t_EventQueueLimit) ++thread.Pending;
    if (!thread.Started) {
        thread.Started = true;
        callasynchronously([&thread] { handlerloop(thread); });
    }
    thread.Wake.notify_one();
}
