// A stand-in for the platform in core tests: one thread of the test plays the main thread and serves
// the blocks handed to it in order; windows are tokens without anything behind them.
#pragma once

#include "shell/platform.h"
#include "shell/shell.h"
#include "tests/testsupport.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <future>
#include <thread>

namespace standin {

struct MainThread {
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<std::function<void()>> blocks;
    std::thread::id id;
};

// Started once and never stopped: detached threads of a test may still call into it at process end.
inline MainThread& mainthread() {
    static MainThread* main = [] {
        auto* m = new MainThread;
        std::thread thread([m] {
            threadregistermain();
            for (;;) {
                std::unique_lock<std::mutex> lock(m->mutex);
                m->wake.wait(lock, [m] { return !m->blocks.empty(); });
                std::function<void()> block = std::move(m->blocks.front());
                m->blocks.pop_front();
                lock.unlock();
                block();
            }
        });
        m->id = thread.get_id();
        thread.detach();
        return m;
    }();
    return *main;
}

// Runs the block on the stand-in main thread; false when it has not finished within the time given
// (a deadlock, say, or no time at all), in which case the block is left running.
inline bool onmain(std::function<void()> block, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> finished = done->get_future();
    MainThread& m = mainthread();
    std::unique_lock<std::mutex> lock(m.mutex);
    m.blocks.push_back([block = std::move(block), done] {
        block();
        done->set_value();
    });
    lock.unlock();
    m.wake.notify_one();
    return finished.wait_for(limit) == std::future_status::ready;
}

// What the stand-in's windows look like; tests change it before installing the port.
struct Screen {
    bool window[13] = {true, true, true, true, true, true, true, true, true, true, true, true, true};
    bool view[8] = {true, true, true, true, true, true, true, true};
    t_PlatformRect frame[13], scrollFrame[13];
    std::mutex mutex;
    std::string pasteboard;
    char tokens[13][3] = {};
};

inline std::shared_ptr<Screen> install(std::shared_ptr<Screen> screen = std::make_shared<Screen>()) {
    mainthread();
    t_PlatformPort port;
    port.IsMainThread = [] { return std::this_thread::get_id() == mainthread().id; };
    port.RunOnMainSync = [](const std::function<void()>& block) { onmain(block, std::chrono::hours(24)); };
    port.RunOnMainAsync = [](std::function<void()> block) { onmain(std::move(block), {}); };
    auto handle = [screen](bool exists, uint8_t n, int part) -> t_Handle {
        return exists ? &screen->tokens[n][part] : nullptr;
    };
    port.Window = [=](uint8_t n) { return handle(n <= 12 && screen->window[n], n, 0); };
    port.View = [=](uint8_t n) { return handle(n <= 7 && screen->view[n], n, 1); };
    port.TextView = [=](uint8_t n) { return handle(n >= 8 && n <= 10 && screen->window[n], n, 2); };
    port.ScrollView = port.TextView;
    port.WindowFrame = [=](uint8_t n) { return n <= 12 ? screen->frame[n] : t_PlatformRect{}; };
    port.ScrollViewFrame = [=](uint8_t n) { return n <= 12 ? screen->scrollFrame[n] : t_PlatformRect{}; };
    auto paste = [screen](auto change) {
        std::lock_guard<std::mutex> lock(screen->mutex);
        return change(screen->pasteboard);
    };
    port.PasteboardClear = [paste] { paste([](std::string& p) { p.clear(); }); };
    // Appends, so that a set without the clear before it shows as a doubled text.
    port.PasteboardSetText = [paste](const std::string& text) { paste([&](std::string& p) { p += text; }); };
    port.PasteboardText = [paste] { return paste([](std::string& p) { return p; }); };
    setplatformport(port);
    return screen;
}

using LogCapture = testsupport::LogCapture;

// Polls until the condition holds or the limit passes.
template <typename Condition>
bool waitfor(Condition condition, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace standin
