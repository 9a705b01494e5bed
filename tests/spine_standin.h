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
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

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
        std::promise<void> ready;
        std::thread([m, &ready] {
            m->id = std::this_thread::get_id();
            threadregistermain();
            ready.set_value();
            for (;;) {
                std::function<void()> block;
                {
                    std::unique_lock<std::mutex> lock(m->mutex);
                    m->wake.wait(lock, [m] { return !m->blocks.empty(); });
                    block = std::move(m->blocks.front());
                    m->blocks.pop_front();
                }
                block();
            }
        }).detach();
        ready.get_future().wait();
        return m;
    }();
    return *main;
}

inline void post(std::function<void()> block) {
    MainThread& m = mainthread();
    {
        std::lock_guard<std::mutex> lock(m.mutex);
        m.blocks.push_back(std::move(block));
    }
    m.wake.notify_one();
}

// Runs the block on the stand-in main thread; false when it has not finished within the time given
// (a deadlock, say), in which case the block is left running.
inline bool onmain(std::function<void()> block, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> finished = done->get_future();
    post([block = std::move(block), done] {
        block();
        done->set_value();
    });
    return finished.wait_for(limit) == std::future_status::ready;
}

// What the stand-in's windows look like; tests change it before installing the port.
struct Screen {
    bool window[13] = {true, true, true, true, true, true, true, true, true, true, true, true, true};
    bool view[8] = {true, true, true, true, true, true, true, true};
    t_PlatformRect frame[13];
    t_PlatformRect scrollFrame[13];
    // Which thread each platform call ran on, and how many crossings were asked for.
    std::mutex mutex;
    std::vector<std::thread::id> callThreads;
    std::vector<std::string> pasteboardCalls;
    std::string pasteboard;
    int syncCrossings = 0;
    char tokens[13][3] = {};

    void note() {
        std::lock_guard<std::mutex> lock(mutex);
        callThreads.push_back(std::this_thread::get_id());
    }
    bool allonmain() {
        std::lock_guard<std::mutex> lock(mutex);
        for (auto id : callThreads)
            if (id != mainthread().id) return false;
        return !callThreads.empty();
    }
};

inline std::shared_ptr<Screen> install(std::shared_ptr<Screen> screen = std::make_shared<Screen>()) {
    mainthread();
    t_PlatformPort port;
    port.IsMainThread = [] { return std::this_thread::get_id() == mainthread().id; };
    port.RunOnMainSync = [screen](const std::function<void()>& block) {
        {
            std::lock_guard<std::mutex> lock(screen->mutex);
            ++screen->syncCrossings;
        }
        std::promise<void> done;
        post([&] {
            block();
            done.set_value();
        });
        done.get_future().wait();
    };
    port.RunOnMainAsync = [](std::function<void()> block) { post(std::move(block)); };
    port.Window = [screen](uint8_t n) -> t_Handle {
        screen->note();
        return n <= 12 && screen->window[n] ? &screen->tokens[n][0] : nullptr;
    };
    port.View = [screen](uint8_t n) -> t_Handle {
        screen->note();
        return n <= 7 && screen->view[n] ? &screen->tokens[n][1] : nullptr;
    };
    port.TextView = [screen](uint8_t n) -> t_Handle {
        screen->note();
        return n >= 8 && n <= 10 && screen->window[n] ? &screen->tokens[n][2] : nullptr;
    };
    port.ScrollView = port.TextView;
    port.WindowFrame = [screen](uint8_t n) {
        screen->note();
        return n <= 12 ? screen->frame[n] : t_PlatformRect{};
    };
    port.ScrollViewFrame = [screen](uint8_t n) {
        screen->note();
        return n <= 12 ? screen->scrollFrame[n] : t_PlatformRect{};
    };
    port.PasteboardClear = [screen] {
        screen->note();
        std::lock_guard<std::mutex> lock(screen->mutex);
        screen->pasteboardCalls.push_back("clear");
        screen->pasteboard.clear();
    };
    port.PasteboardSetText = [screen](const std::string& text) {
        screen->note();
        std::lock_guard<std::mutex> lock(screen->mutex);
        screen->pasteboardCalls.push_back("set " + text);
        screen->pasteboard = text;
    };
    port.PasteboardText = [screen] {
        screen->note();
        std::lock_guard<std::mutex> lock(screen->mutex);
        return screen->pasteboard;
    };
    setplatformport(port);
    return screen;
}

// The log of all threads, for the life of the object.
using LogCapture = testsupport::ThreadLogCapture;

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
