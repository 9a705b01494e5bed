// Threads: the program thread and the pool, the installed platform port, and blocks run on the main
// thread, synchronously or not.
#include "shell/platform.h"
#include "shell/shell.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <ctime>
#include <list>
#include <mutex>
#include <pthread.h>

std::atomic<int64_t> t_TitleBarHeight{0};
std::function<void()> t_ProgramTerminateHandler = [] {};

std::atomic<bool> StartProcessPending{false};
std::function<void()> StartProcessFunction = [] {};
int64_t StartProcessStackSize = 0;

namespace {

std::atomic<const t_PlatformPort*> installedPort{nullptr};

void sleepnanoseconds(long ns) {
    timespec t{0, ns};
    while (nanosleep(&t, &t) != 0 && errno == EINTR) {}
}

// Entry of every thread we start. Not noexcept, and nothing here catches: pthread_exit unwinds
// through this frame (t_QuitProgram).
void* programthread(void*) {
    threadregisternew();
    std::function<void()> function = StartProcessFunction;
    StartProcessPending.store(false, std::memory_order_release);
    function();
    return nullptr;
}

void* poolthread(void* argument) {
    threadregisternew();
    std::function<void()>* heap = static_cast<std::function<void()>*>(argument);
    std::function<void()> function = std::move(*heap);
    delete heap;
    function();
    return nullptr;
}

// A detached thread; stackSize 0 takes the system's default. Gives the error number, 0 on success.
int createthread(void* (*entry)(void*), void* argument, int64_t stackSize) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    int result = 0;
    if (stackSize > 0) {
        size_t size = static_cast<size_t>(stackSize);
        if (size < static_cast<size_t>(PTHREAD_STACK_MIN)) size = PTHREAD_STACK_MIN;
        result = pthread_attr_setstacksize(&attributes, size);
    }
    pthread_t thread;
    if (result == 0) result = pthread_create(&thread, &attributes, entry, argument);
    pthread_attr_destroy(&attributes);
    return result;
}

} // namespace

const t_PlatformPort& platformport() {
    static const t_PlatformPort fallback;
    const t_PlatformPort* port = installedPort.load(std::memory_order_acquire);
    return port ? *port : fallback;
}

void setplatformport(const t_PlatformPort& port) {
    // Every record ever installed stays until the process ends: a thread may still be running one of an
    // old record's functions. The list itself is never destroyed, so no exit handler frees a record
    // under a thread that is still at work; it stays reachable from here all the same.
    static std::mutex guard;
    static std::list<t_PlatformPort>* const kept = new std::list<t_PlatformPort>;
    std::lock_guard<std::mutex> lock(guard);
    kept->push_back(port);
    installedPort.store(&kept->back(), std::memory_order_release);
}

void setthreadname(std::string_view name) {
    char cut[16];
    size_t n = name.size() < 15 ? name.size() : 15;
    // Do not leave half a UTF-8 sequence at the end.
    if (n < name.size())
        while (n > 0 && (static_cast<uint8_t>(name[n]) & 0xC0) == 0x80) --n;
    std::memcpy(cut, name.data(), n);
    cut[n] = 0;
    pthread_setname_np(pthread_self(), cut);
}

bool ismainthread() {
    return platformport().IsMainThread();
}

void t_RunOnMainThread(const std::function<void()>& block) {
    const t_PlatformPort& port = platformport();
    // Always this test first: a blocking hand-over from the main thread to itself never returns.
    if (port.IsMainThread()) {
        block();
        return;
    }
    port.RunOnMainSync(block);
}

void t_RunOnMainThreadAsync(std::function<void()> block) {
    platformport().RunOnMainAsync(std::move(block));
}

void startprocess(std::function<void()> function, int64_t stackSize) {
    // Claim the hand-over slot; a second caller waits until the last thread has taken its function.
    bool expected = false;
    while (!StartProcessPending.compare_exchange_weak(expected, true, std::memory_order_acq_rel)) {
        expected = false;
        sleepnanoseconds(1000000);
    }
    StartProcessStackSize = stackSize;
    StartProcessFunction = std::move(function);
    sleepnanoseconds(10000000);
    t_RunOnMainThread([] {
        int error = createthread(programthread, nullptr, StartProcessStackSize);
        if (error != 0) {
            debuglog(std::string("startprocess: Thread could not be started (") + std::strerror(error) +
                     ").");
            StartProcessFunction = [] {};
            StartProcessPending.store(false, std::memory_order_release);
        }
    });
}

void callasynchronously(std::function<void()> function) {
    // A fresh thread per call: the refresh process never returns, so a fixed pool would starve.
    auto* heap = new std::function<void()>(std::move(function));
    int error = createthread(poolthread, heap, 0);
    if (error != 0) {
        delete heap;
        debuglog(std::string("callasynchronously: Thread could not be started (") + std::strerror(error) +
                 ").");
    }
}
