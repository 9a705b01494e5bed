// The stand-in platform of the core tests: a thread plays the main thread; windows are tokens that remember
// what was done to them. The fixture leaves every test a blank video memory, so test order does not matter.
#pragma once

#include "cellfont.h"
#include "tests/testsupport.h"

#include "display/display.h"
#include "library/library.h"
#include "shell/platform.h"
#include "shell/shell.h"

#include <gtest/gtest.h>

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

// Runs the block on the stand-in main thread; false when it has not finished in time (it then runs on).
inline bool onmain(std::function<void()> block, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    auto task = std::make_shared<std::packaged_task<void()>>(std::move(block));
    std::future<void> finished = task->get_future();
    MainThread& m = mainthread();
    std::unique_lock<std::mutex> lock(m.mutex);
    m.blocks.push_back([task] { (*task)(); });
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
    for (auto end = std::chrono::steady_clock::now() + limit; !condition();
         std::this_thread::sleep_for(std::chrono::milliseconds(1)))
        if (std::chrono::steady_clock::now() > end) return false;
    return true;
}

} // namespace standin

namespace windowtest {

// The 16 colours as the game's documentation lists them, kept apart from the code on purpose.
constexpr uint8_t palette[16][3] = {
    {0x00, 0x00, 0x00}, {0xFF, 0x00, 0x00}, {0x00, 0x00, 0x80}, {0xFF, 0x00, 0xFF},
    {0x00, 0x80, 0x00}, {0x54, 0x54, 0x54}, {0x00, 0x00, 0xFF}, {0x00, 0x80, 0xFF},
    {0x80, 0x40, 0x00}, {0xFF, 0x80, 0x00}, {0xA8, 0xA8, 0xA8}, {0xFF, 0x80, 0x80},
    {0x00, 0xFF, 0x00}, {0xFF, 0xFF, 0x00}, {0x00, 0xFF, 0xFF}, {0xFF, 0xFF, 0xFF},
};

// What the platform was asked to do, written on the main thread only and read after drainmain().
struct Recorder : standin::Screen {
    // One entry per window call, in order, e.g. "frame 0 10,20 1312x864" or "title 1 Seelenorakel".
    std::vector<std::string> calls;
    bool allOnMain = true;
    bool visible[13] = {};
    int beeps = 0;
    std::vector<std::shared_ptr<const AiffSound>> played;

    void note(const std::string& call) {
        calls.push_back(call);
        allOnMain = allOnMain && std::this_thread::get_id() == standin::mainthread().id;
    }
    std::vector<std::string> taken() { return std::exchange(calls, {}); }
};

// The stand-in's windows, with the window operations recorded on top.
inline std::shared_ptr<Recorder> installrecorder() {
    auto r = std::make_shared<Recorder>();
    standin::install(r);
    t_PlatformPort port = platformport();
    auto n = [](const char* call, uint8_t w) { return call + (" " + std::to_string(w)); };
    auto rect = [=](const char* call, uint8_t w, const t_PlatformRect& f) {
        auto i = [](double v) { return std::to_string(static_cast<long long>(v)); };
        r->note(n(call, w) + " " + i(f.X) + "," + i(f.Y) + " " + i(f.Width) + "x" + i(f.Height));
    };
    port.SetWindowFrame = [=](uint8_t w, t_PlatformRect f) { rect("frame", w, r->frame[w] = f); };
    port.SetViewFrame = [=](uint8_t w, t_PlatformRect f) { rect("view", w, f); };
    port.SetScrollViewFrame = [=](uint8_t w, t_PlatformRect f) { rect("scroll", w, r->scrollFrame[w] = f); };
    port.WindowCenter = [=](uint8_t w) { r->note(n("center", w)); };
    auto show = [=](const char* call, bool shown) {
        return [=](uint8_t w) { r->note(n(call, w)), r->visible[w] = shown; };
    };
    port.WindowOrderFront = show("front", true);
    port.WindowMakeKeyAndOrderFront = show("key", true);
    port.WindowOrderOut = show("out", false);
    port.WindowIsVisible = [r](uint8_t w) { return r->visible[w]; };
    port.SetWindowTitle = [=](uint8_t w, const std::string& t) { r->note(n("title", w) + " " + t); };
    port.SetWindowStyle = [=](uint8_t w, Int mask) { r->note(n("style", w) + " " + std::to_string(mask)); };
    port.SetWindowBackground = [=](uint8_t w, t_RGBColor c) {
        r->note(n("background", w) + " " + std::to_string(c.Red) + " " + std::to_string(c.Green) + " " +
                std::to_string(c.Blue));
    };
    port.ScreenFrame = [](uint8_t) { return t_PlatformRect{0, 0, 1920, 1080}; };
    port.TextViewNeedsDisplay = [=](uint8_t w) { r->note(n("needsdisplay", w)); };
    port.SetTextViewString = [=](uint8_t w, const std::string& t) { r->note(n("text", w) + " " + t); };
    port.Beep = [r] { ++r->beeps; };
    port.PlaySound = [r](std::shared_ptr<const AiffSound> sound) { r->played.push_back(sound); };
    setplatformport(port);
    return r;
}

// The log of all threads, less the refresh process's lines: another test's process may still be ending.
struct Log : standin::LogCapture {
    Log() : LogCapture("t_WindowAutoUpdateProcess:") {}
};

// Runs the body without the log lines it would write.
template <typename Body> void quietly(Body body) {
    const int64_t level = t_DebugLevel.exchange(0);
    body();
    t_DebugLevel = level;
}

// Waits until the main thread has run everything handed to it so far.
inline void drainmain() {
    ASSERT_TRUE(standin::onmain([] {}));
}

// Puts the window table and the video memory back to the state before any t_InitMemory.
inline void blankmemory() {
    t_MemoryStarted = false;
    quietly(t_InitMemory);
    t_MemoryStarted = false;
    t_MemoryInitialized = false;
    t_HighMemory = 0xFFFFFF;
    t_DefaultWindow = 255;
}

class WindowTest : public ::testing::Test {
  protected:
    void SetUp() override {
        t_DebugLevel = 1;
        initkbtools();
        recorder = installrecorder();
        blankmemory();
        // Processes that earlier tests started end once the memory is gone.
        standin::waitfor([] { return !t_AutoUpdateRunning.load(); }, std::chrono::milliseconds(200));
        // Keeps the refresh process out of these tests; t_InitWindow starts it only when this is false.
        t_AutoUpdateRunning = true;
        t_TitleBarHeight = 22;
        setbundlepath("/Programme/Seelenorakel.app");
    }
    void TearDown() override {
        drainmain();
        blankmemory();
        t_AutoUpdateRunning = false;
        t_TitleBarHeight = 0; // as before the launch measures it
        setbundlepath("");
    }
    // A live window without the log of its making.
    static void quietwindow(uint8_t window, Int depth, Int width, Int height, Int borderX, Int borderY,
                            const t_Font& font = t_Font{}, bool autoUpdate = true) {
        quietly(
            [&] { t_InitWindow(window, depth, autoUpdate, width, height, borderX, borderY, font, true); });
        ASSERT_TRUE(t_WindowTable[window].Initialized.load());
    }
    std::shared_ptr<Recorder> recorder;
};

} // namespace windowtest
