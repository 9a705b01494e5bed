// The stand-in platform with windows that remember what was done to them, and a fixture that gives every
// test a blank video memory and leaves one behind, so that the order of tests does not matter.
#pragma once

#include "cellfont.h"
#include "spine_standin.h"

#include "display/display.h"
#include "library/library.h"

#include <gtest/gtest.h>

namespace windowtest {

// The 16 colours as the game's documentation lists them, kept apart from the code on purpose.
constexpr uint8_t palette[16][3] = {
    {0x00, 0x00, 0x00}, {0xFF, 0x00, 0x00}, {0x00, 0x00, 0x80}, {0xFF, 0x00, 0xFF},
    {0x00, 0x80, 0x00}, {0x54, 0x54, 0x54}, {0x00, 0x00, 0xFF}, {0x00, 0x80, 0xFF},
    {0x80, 0x40, 0x00}, {0xFF, 0x80, 0x00}, {0xA8, 0xA8, 0xA8}, {0xFF, 0x80, 0x80},
    {0x00, 0xFF, 0x00}, {0xFF, 0xFF, 0x00}, {0x00, 0xFF, 0xFF}, {0xFF, 0xFF, 0xFF},
};

// What the platform was asked to do, on top of what the stand-in's windows look like. Written on the main
// thread only, and read after drainmain().
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

// The log of all threads while the object lives, less the refresh process's lines: a process that another
// test started may still be ending while this one runs.
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
        savedTitleBar = t_TitleBarHeight.exchange(22);
        setbundlepath("/Programme/Seelenorakel.app");
    }
    void TearDown() override {
        drainmain();
        blankmemory();
        t_AutoUpdateRunning = false;
        t_TitleBarHeight = savedTitleBar;
        setbundlepath("");
    }
    // A live window without the log of its making.
    static void quietwindow(uint8_t window, Int depth, Int width, Int height, Int borderWidth,
                            Int borderHeight, const t_Font& font = t_Font{}) {
        quietly(
            [&] { t_InitWindow(window, depth, true, width, height, borderWidth, borderHeight, font, true); });
        ASSERT_TRUE(t_WindowTable[window].Initialized.load());
    }
    std::shared_ptr<Recorder> recorder;
    int64_t savedTitleBar = 0;
};

} // namespace windowtest
