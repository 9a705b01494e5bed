// The stand-in platform with windows that remember what was done to them, and a fixture that gives every
// test a blank video memory and leaves one behind, so that the order of tests does not matter.
#pragma once

#include "spine_standin.h"

#include "display/display.h"
#include "shell/platform.h"
#include "library/library.h"
#include "shell/shell.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace windowtest {

// The 16 colours as the game's documentation lists them, kept apart from the code on purpose.
constexpr uint8_t palette[16][3] = {
    {0x00, 0x00, 0x00}, {0xFF, 0x00, 0x00}, {0x00, 0x00, 0x80}, {0xFF, 0x00, 0xFF},
    {0x00, 0x80, 0x00}, {0x54, 0x54, 0x54}, {0x00, 0x00, 0xFF}, {0x00, 0x80, 0xFF},
    {0x80, 0x40, 0x00}, {0xFF, 0x80, 0x00}, {0xA8, 0xA8, 0xA8}, {0xFF, 0x80, 0x80},
    {0x00, 0xFF, 0x00}, {0xFF, 0xFF, 0x00}, {0x00, 0xFF, 0xFF}, {0xFF, 0xFF, 0xFF},
};

struct Recorder {
    std::shared_ptr<standin::Screen> screen;
    std::mutex mutex;
    // One entry per platform call, in order, e.g. "frame 0 10,20 1312x864" or "title 1 Seelenorakel".
    std::vector<std::string> calls;
    bool allOnMain = true;
    bool visible[13] = {};
    bool textView[13] = {false, false, false, false, false, false, false, false, true, true, true};
    t_PlatformRect screenFrame{0, 0, 1920, 1080};
    int systemBeeps = 0;
    std::vector<std::shared_ptr<const AiffSound>> played;

    template <typename Body> auto locked(Body body) {
        std::lock_guard<std::mutex> lock(mutex);
        return body();
    }
    void note(const std::string& call) {
        locked([&] {
            calls.push_back(call);
            allOnMain = allOnMain && std::this_thread::get_id() == standin::mainthread().id;
        });
    }
    std::vector<std::string> taken() {
        return locked([&] { return std::exchange(calls, {}); });
    }
    int beeps() {
        return locked([&] { return systemBeeps; });
    }
    size_t plays() {
        return locked([&] { return played.size(); });
    }
    // The calls that begin with the word.
    std::vector<std::string> of(const std::string& word) {
        std::vector<std::string> out = locked([&] { return calls; });
        std::erase_if(out, [&](const std::string& c) { return c.rfind(word + " ", 0) != 0; });
        return out;
    }
};

// The stand-in's windows, with the window operations recorded on top.
inline std::shared_ptr<Recorder> installrecorder() {
    auto r = std::make_shared<Recorder>();
    r->screen = standin::install();
    t_PlatformPort port = platformport();
    auto n = [](uint8_t w) { return std::to_string(w) + " "; };
    auto rect = [](const t_PlatformRect& f) {
        auto i = [](double v) { return std::to_string(static_cast<long long>(v)); };
        return i(f.X) + "," + i(f.Y) + " " + i(f.Width) + "x" + i(f.Height);
    };
    port.TextView = [r](uint8_t w) -> t_Handle {
        return w <= 12 && r->textView[w] ? &r->screen->tokens[w][2] : nullptr;
    };
    port.ScrollView = port.TextView;
    port.SetWindowFrame = [=](uint8_t w, t_PlatformRect f) {
        r->note("frame " + n(w) + rect(f));
        r->screen->frame[w] = f;
    };
    port.SetViewFrame = [=](uint8_t w, t_PlatformRect f) { r->note("view " + n(w) + rect(f)); };
    port.SetScrollViewFrame = [=](uint8_t w, t_PlatformRect f) {
        r->note("scroll " + n(w) + rect(f));
        r->screen->scrollFrame[w] = f;
    };
    port.WindowCenter = [=](uint8_t w) { r->note("center " + std::to_string(w)); };
    auto show = [=](const char* call, bool shown) {
        return [=](uint8_t w) {
            r->note(call + std::to_string(w));
            r->visible[w] = shown;
        };
    };
    port.WindowOrderFront = show("front ", true);
    port.WindowMakeKeyAndOrderFront = show("key ", true);
    port.WindowOrderOut = show("out ", false);
    port.WindowIsVisible = [r](uint8_t w) { return r->visible[w]; };
    port.SetWindowTitle = [=](uint8_t w, const std::string& t) { r->note("title " + n(w) + t); };
    port.SetWindowStyle = [=](uint8_t w, Int mask) { r->note("style " + n(w) + std::to_string(mask)); };
    port.SetWindowBackground = [=](uint8_t w, t_RGBColor c) {
        r->note("background " + n(w) + std::to_string(c.Red) + " " + std::to_string(c.Green) + " " +
                std::to_string(c.Blue));
    };
    port.ScreenFrame = [r](uint8_t) { return r->screenFrame; };
    port.TextViewNeedsDisplay = [=](uint8_t w) { r->note("needsdisplay " + std::to_string(w)); };
    port.SetTextViewString = [=](uint8_t w, const std::string& t) { r->note("text " + n(w) + t); };
    port.Beep = [r] { r->locked([&] { ++r->systemBeeps; }); };
    port.PlaySound = [r](std::shared_ptr<const AiffSound> sound) {
        r->locked([&] { r->played.push_back(sound); });
    };
    setplatformport(port);
    return r;
}

// The log of all threads while the object lives, less the refresh process's lines: a process that another
// test started may still be ending while this one runs.
struct Log {
    standin::LogCapture capture;
    std::vector<std::string> lines() const {
        std::vector<std::string> out;
        for (const std::string& line : capture.lines())
            if (line.rfind("t_WindowAutoUpdateProcess:", 0) != 0) out.push_back(line);
        return out;
    }
};

// Waits until the main thread has run everything handed to it so far.
inline void drainmain() {
    ASSERT_TRUE(standin::onmain([] {}));
}

// Puts the window table and the video memory back to the state before any t_InitMemory.
inline void blankmemory() {
    const int64_t level = t_DebugLevel.load();
    t_DebugLevel = 0;
    t_MemoryStarted = false;
    t_InitMemory();
    t_DebugLevel = level;
    t_MemoryStarted = false;
    t_MemoryInitialized = false;
    t_HighMemory = 0xFFFFFF;
    t_DefaultWindow = 255;
}

// A font with data and cells of the given size; what the glyphs look like does not matter here.
// Out of line: inlined, GCC 12 takes the font's default identifier for uninitialised.
[[gnu::noinline]] inline t_Font cellfont(Int width, Int height) {
    t_Font font;
    font.Format = 2;
    font.End = 255;
    font.Width = width;
    font.Height = height;
    font.Data.assign(static_cast<size_t>(256 * width * height), 0x80);
    font.Size = static_cast<Int>(font.Data.size());
    return font;
}

class WindowTest : public ::testing::Test {
  protected:
    void SetUp() override {
        initkbtools();
        recorder = installrecorder();
        blankmemory();
        // Processes that earlier tests started end once the memory is gone.
        standin::waitfor([] { return !t_AutoUpdateRunning.load(); }, std::chrono::milliseconds(200));
        // Keeps the refresh process out of these tests; t_InitWindow starts it only when this is false.
        t_AutoUpdateRunning = true;
        savedTitleBar = t_TitleBarHeight.load();
        t_TitleBarHeight = 22;
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
                            Int borderHeight, const t_Font& font = t_Font{}, bool titleVisible = true) {
        Log quiet;
        t_InitWindow(window, depth, true, width, height, borderWidth, borderHeight, font, titleVisible);
        ASSERT_TRUE(t_WindowTable[window].Initialized.load());
    }
    std::shared_ptr<Recorder> recorder;
    int64_t savedTitleBar = 0;
};

} // namespace windowtest
