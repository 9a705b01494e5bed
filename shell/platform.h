// The narrow interface between the core and the platform that hosts it (the Qt shell, or a stand-in in
// tests). Everything is keyed by window number 0 to 12; platform objects come back as opaque tokens
// (t_Handle) that the core only compares with each other and with nullptr.
//
// The port is plain data: one record of functions, installed once before any thread of ours starts.
// Each field has a default that does nothing and gives an empty result, so a host or a stand-in fills in
// only what it has. A later operation is one more field with its default.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "display/display.h"
#include "shell/shell.h"

// A rectangle in the toolkit's coordinates: origin bottom left, y grows upward. Window frames count from
// the bottom of the primary screen; view and scroll view frames from the bottom of the window's content.
struct t_PlatformRect {
    double X = 0;
    double Y = 0;
    double Width = 0;
    double Height = 0;
};

struct t_PanelRequest {
    bool Save = false;
    std::string Title;
    std::string Message;
    std::string Prompt;
    std::string NameLabel;
    std::string FileName;
    std::vector<std::string> FileTypes; // empty: every file
    bool Multiple = false;
    bool ChooseFiles = true;
    bool ChooseFolders = false;
};

struct t_PlatformPort {
    // --- Any thread ---
    // True on the thread that runs the platform's event loop.
    std::function<bool()> IsMainThread = [] { return true; };
    // Runs the block on the main thread and returns when it has run. Never called on the main thread
    // itself (t_RunOnMainThread tests that first): a host would wait for itself.
    std::function<void(const std::function<void()>& block)> RunOnMainSync =
        [](const std::function<void()>& b) { b(); };
    // Hands the block to the main thread and returns at once; blocks run in the order given, together
    // with the RunOnMainSync ones.
    std::function<void(std::function<void()> block)> RunOnMainAsync = [](std::function<void()> b) { b(); };

    // --- Main thread only from here on ---
    // Tokens, nullptr when the object does not exist. Window: 0 to 7 the window that holds the view,
    // 8 to 12 the side windows. View: 0 to 7. TextView, ScrollView: 8 to 10. Ruler: 9 and 10.
    std::function<t_Handle(uint8_t window)> Window = [](uint8_t) -> t_Handle { return nullptr; };
    std::function<t_Handle(uint8_t window)> View = [](uint8_t) -> t_Handle { return nullptr; };
    std::function<t_Handle(uint8_t window)> TextView = [](uint8_t) -> t_Handle { return nullptr; };
    std::function<t_Handle(uint8_t window)> ScrollView = [](uint8_t) -> t_Handle { return nullptr; };
    std::function<t_Handle(uint8_t window)> Ruler = [](uint8_t) -> t_Handle { return nullptr; };
    // The application's main (active) window, or nullptr when it has none.
    std::function<t_Handle()> MainWindow = []() -> t_Handle { return nullptr; };

    // Windows 0 to 12. The frame includes the title (menu) bar.
    std::function<t_PlatformRect(uint8_t window)> WindowFrame = [](uint8_t) { return t_PlatformRect{}; };
    std::function<void(uint8_t window, t_PlatformRect frame)> SetWindowFrame = [](uint8_t, t_PlatformRect) {};
    std::function<void(uint8_t window)> WindowCenter = [](uint8_t) {};
    // Show without taking the keys; show and take the keys; hide.
    std::function<void(uint8_t window)> WindowOrderFront = [](uint8_t) {};
    std::function<void(uint8_t window)> WindowMakeKeyAndOrderFront = [](uint8_t) {};
    std::function<void(uint8_t window)> WindowOrderOut = [](uint8_t) {};
    std::function<bool(uint8_t window)> WindowIsVisible = [](uint8_t) { return false; };
    std::function<std::string(uint8_t window)> WindowTitle = [](uint8_t) { return std::string(); };
    std::function<void(uint8_t window, const std::string& title)> SetWindowTitle = [](uint8_t,
                                                                                      const std::string&) {};
    // 7: titled, closable, miniaturizable; 0: borderless.
    std::function<void(uint8_t window, Int mask)> SetWindowStyle = [](uint8_t, Int) {};
    std::function<void(uint8_t window, t_RGBColor color)> SetWindowBackground = [](uint8_t, t_RGBColor) {};
    // Height of the bar above the content inside the frame.
    std::function<Int(uint8_t window)> TitleHeight = [](uint8_t) -> Int { return 0; };
    // The whole screen the window is on, and the part of it that windows may use.
    std::function<t_PlatformRect(uint8_t window)> ScreenFrame = [](uint8_t) { return t_PlatformRect{}; };
    std::function<t_PlatformRect(uint8_t window)> ScreenVisibleFrame = [](uint8_t) {
        return t_PlatformRect{};
    };

    // Views 0 to 7.
    std::function<void(uint8_t window, t_PlatformRect frame)> SetViewFrame = [](uint8_t, t_PlatformRect) {};
    // Mark for the next pass of the event loop; draw now and return when drawn.
    std::function<void(uint8_t window)> ViewNeedsDisplay = [](uint8_t) {};
    std::function<void(uint8_t window)> ViewDisplay = [](uint8_t) {};

    // Side windows 8 to 10.
    std::function<t_PlatformRect(uint8_t window)> ScrollViewFrame = [](uint8_t) { return t_PlatformRect{}; };
    std::function<void(uint8_t window, t_PlatformRect frame)> SetScrollViewFrame = [](uint8_t,
                                                                                      t_PlatformRect) {};
    std::function<void(uint8_t window, t_PlatformRect frame)> SetRulerFrame = [](uint8_t, t_PlatformRect) {};
    std::function<std::string(uint8_t window)> TextViewString = [](uint8_t) { return std::string(); };
    std::function<void(uint8_t window, const std::string& text)> SetTextViewString =
        [](uint8_t, const std::string&) {};
    std::function<void(uint8_t window)> TextViewNeedsDisplay = [](uint8_t) {};

    // The general pasteboard. Text is UTF-8; an image is Width * Height words 0xAARRGGBB.
    std::function<void()> PasteboardClear = [] {};
    std::function<void(const std::string& text)> PasteboardSetText = [](const std::string&) {};
    std::function<std::string()> PasteboardText = [] { return std::string(); };
    std::function<void(const std::vector<uint32_t>& pixels, Int width, Int height)> PasteboardSetImage =
        [](const std::vector<uint32_t>&, Int, Int) {};

    // The top-level menus, by title. MenuItemCount is -1 when there is no such menu; separators count as
    // items with an empty title.
    std::function<Int(const std::string& menu)> MenuItemCount = [](const std::string&) -> Int { return -1; };
    std::function<std::string(const std::string& menu, Int position)> MenuItemTitleAt =
        [](const std::string&, Int) { return std::string(); };
    std::function<void(const std::string& menu, Int position)> MenuRemoveItemAt = [](const std::string&,
                                                                                     Int) {};

    // A modal file panel; the paths chosen as the file system names them, folders ending in "/"; none when
    // cancelled.
    std::function<std::vector<std::string>(const t_PanelRequest& request)> RunPanel =
        [](const t_PanelRequest&) { return std::vector<std::string>(); };

    // The system's beep.
    std::function<void()> Beep = [] {};
    // Starts playing the sound and returns; a host without a way to play it beeps instead.
    std::function<void(std::shared_ptr<const AiffSound> sound)> PlaySound =
        [](std::shared_ptr<const AiffSound>) {};

    // Ends the process the way the Quit command does. Main thread.
    std::function<void()> Terminate = [] {};
};

// The installed port. Installing copies the record and keeps every earlier copy alive, since a thread
// may still be inside one of its functions.
const t_PlatformPort& platformport();
void setplatformport(const t_PlatformPort& port);

// Threads. The names are cut to the 15 bytes that Linux keeps.
void setthreadname(std::string_view name);
bool ismainthread();
// Runs the block on the main thread and returns at once.
void t_RunOnMainThreadAsync(std::function<void()> block);

// Hand-over between startprocess and the thread it starts.
extern std::atomic<bool> StartProcessPending;
extern std::function<void()> StartProcessFunction;
extern int64_t StartProcessStackSize;

// The launch, in the order the host calls it: before its event loop runs, then from inside it with the
// program routine, which gets a thread of its own.
void applicationWillFinishLaunching();
void applicationDidFinishLaunching(const std::function<void()>& program);

// The general pasteboard from any thread: the calls cross to the main thread.
void setpasteboardstring(std::string_view text); // clears it, then puts the text on it
std::string pasteboardstring();                  // empty when it holds no text

// The steps of t_InitMemory that belong to the menus and to the pasteboard window, after the window table.
void t_InitMemoryMenus();
void t_InitMemoryPasteboard();

// Forgets the beep's sound and when it stops playing: the next t_Beep fetches the sound anew.
void t_BeepForget();
