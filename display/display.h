// Display windows: the window table, video memory, fonts, frames, refresh and window operations.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "library/library.h"

struct t_RGBColor {
    uint8_t Alpha = 255;
    uint8_t Red = 0;
    uint8_t Green = 0;
    uint8_t Blue = 0;
};

// A bitmap font; empty Data is the one mark of a font that failed to load.
struct t_Font {
    Int HeaderSize = 16;
    std::vector<uint8_t> Identifier{0x6B, 0x62, 0x66, 0x6E}; // "kbfn"
    Int Format = 0;
    Int Size = 0;
    uint8_t Start = 0;
    uint8_t End = 0;
    Int Width = 0;
    Int Height = 0;
    Int Reserved = 0;
    std::vector<uint8_t> Data;
};

// Stand-in for a platform window or view: non-null means it exists. Never dereferenced by the core.
using t_Handle = const void*;

// The record of a graphic window 0 to 7. Flags read by other threads are atomic; the text fields and the
// video memory are shared without a lock on purpose (a frame may show a half-plotted glyph).
struct t_Window {
    std::atomic<bool> Initialized{false};
    std::atomic<bool> Visible{false};
    std::atomic<bool> IgnoreEvents{false};
    std::atomic<bool> AutoUpdate{false};
    std::atomic<bool> QuickUpdate{false};
    std::atomic<bool> ScrollLock{false};
    std::atomic<bool> VerticalBlank{true};
    std::atomic<Int> UpdateStarted{0};
    std::atomic<Int> UpdateFinished{0};
    std::atomic<Int> UpdateDuration{0};
    std::atomic<Int> RefreshRate{30};
    t_Handle Window = nullptr;
    t_Handle View = nullptr;
    double DrawingRect[4] = {0, 0, 0, 0};
    Int TitleHeight = 0;
    Int BorderWidth = 0;
    Int BorderHeight = 0;
    t_RGBColor RGBColorBorder;
    Int BitDepth = 0;
    Int Width = 0;
    Int Height = 0;
    t_RGBColor RGBColor;
    Int DrawingMode = 0;
    Int PositionX = 0;
    Int PositionY = 0;
    Int MemoryStart = -1;
    Int MemoryEnd = -1;
    t_Font Font;
    Int TextWidth = 0;
    Int TextHeight = 0;
    Int TextFirstColumn = 0;
    Int TextLastColumn = 0;
    Int TextFirstLine = 0;
    Int TextLastLine = 0;
    Int TextHpos = 0;
    Int TextVpos = 0;
    uint8_t TextColor = 0;
    bool TextInverse = false;
    Int TextDisplayMode = 0;
    Int TextCursorLevel = 0;
    // Switched by Ctrl with the keypad on the main thread, read by the program thread at each symbol.
    std::atomic<Int> TextRedirectOutput{1};
    std::string InputString;
    bool InputFinished = false;
    Int InputMode = 0;
    Int InputHpos = 0;
    Int InputVpos = 0;
    Int InputCursorPos = 0;
    Int InputMaxCharacters = 0;
    Int LoResOffsetX = 0;
    Int LoResOffsetY = 0;
    Int LoResMode = 0;
    Int TextMemoryStart = -1;
    Int TextMemoryEnd = -1;
};

// The size and place of a window's picture and blocks. The program thread changes them, and writes the
// text block, holding t_WindowShapeLock; a thread other than the program's reads them through
// t_WindowShapeOf, or holds the lock while it reads the text block, so that it sees one state of the
// window, never half of a change. The graphic block is read by the frame without the lock, on purpose.
struct t_WindowShape {
    Int BitDepth = 0;
    Int Width = 0;
    Int Height = 0;
    Int BorderWidth = 0;
    Int BorderHeight = 0;
    Int MemoryStart = -1;
    Int MemoryEnd = -1;
};
extern std::mutex t_WindowShapeLock;
t_WindowShape t_WindowShapeOf(uint8_t window);

// Process-wide state beside the table.
extern t_Window t_WindowTable[8];
extern std::vector<uint8_t> t_VideoMemory;
extern Int t_HighMemory;
extern std::atomic<bool> t_MemoryStarted;
extern std::atomic<bool> t_MemoryInitialized;
extern std::atomic<uint8_t> t_DefaultWindow;
extern std::atomic<bool> t_AutoUpdateRunning;

// Fonts.
t_Font t_LoadFontResource(const std::string& name);
t_Font t_ExpandFont(const t_Font& font);
void t_WindowFont(uint8_t window, const t_Font& font);

// ---- Window table ----
#include <string_view>

// From a window number to its platform objects, on the main thread whatever thread asks; nullptr when
// there is none. Window: 0 to 7 the window of the view, 8 to 12 the side windows. View: 0 to 7.
// TextView: 8 to 10. t_WindowIndexOf gives 0 to 12, or 255 for a window it does not know.
t_Handle t_WindowHandle(uint8_t window);
t_Handle t_WindowView(uint8_t window);
t_Handle t_WindowTextView(uint8_t window);
uint8_t t_WindowIndexOf(t_Handle window);

// The guards every t_ routine starts with; true means go ahead. On false the reason has been logged
// under the routine's name. The text guard also wants text memory. The platform-window guard gives the
// window's token, or nullptr after logging.
bool t_RecordGuard(uint8_t window, std::string_view routine);
bool t_TextGuard(uint8_t window, std::string_view routine);
t_Handle t_PlatformWindowGuard(uint8_t window, std::string_view routine);

// ---- Video memory, refresh, geometry ----
void t_InitMemory();
// Text form: a size in characters. Full form: everything.
void t_InitWindow(uint8_t window, Int bitDepth, Int columns, Int rows, Int border,
                  const std::string& fontName);
void t_InitWindow(uint8_t window, Int bitDepth, bool autoUpdate, Int width, Int height, Int borderWidth,
                  Int borderHeight, const t_Font& font, bool titleVisible);
void t_ClearWindowMemory(uint8_t window);
void t_WindowUpdate(uint8_t window, bool deferred);
void t_WindowAutoUpdateProcess();
t_RGBColor t_PaletteColor(uint64_t index);
void t_Color(uint8_t window, Int color);
void t_ColorBorder(uint8_t window, Int color);
Int t_WindowPos(uint8_t window, Int selector);
void t_WindowSize(uint8_t window, Int x, Int y, Int width, Int height);
void t_WindowCenter(uint8_t window);
void t_WindowFront(uint8_t window);
void t_WindowVisible(uint8_t window, bool visible);
// Replaces the text of the printer (9) or the console (10) and shows the window without taking the keys.
// Carriage returns become the text view's line ends.
void t_SideWindowText(uint8_t window, std::string_view text);
void t_WindowTitle(uint8_t window, const std::string& title);
// The title a window gets when it is made: the application's name, "-Grafik" behind it without text.
std::string defaultwindowtitle(bool hasText);
void t_WindowTitleVisible(uint8_t window, bool visible);

// ---- Frames and refresh ----
// A frame: Width * Height pixels, top row first, each a word 0xAARRGGBB with alpha 0xFF (in memory the
// layout of a 32-bit RGB image on this machine).
struct t_Image {
    Int Width = 0;
    Int Height = 0;
    std::vector<uint32_t> Pixels;
};
// Composes one frame of the window into frame, reusing its storage. False when there is none (memory
// not ready, window not made, hidden, or unreadable); frame is then left as it was, so a view can go on
// showing its last one. Main thread.
bool t_WindowImage(uint8_t window, t_Image& frame);
// The frame as a picture of its own, for the pasteboard; Width 0 when there is none.
t_Image t_WindowCopyImage(uint8_t window);
// Starts the refresh process unless it runs, and wakes it: a window was made.
void t_StartAutoUpdate();
// Wakes an idle refresh and brings every window back to its full rate: a key was pressed.
void t_RefreshWake();
// The same for a key, whose echo then shows in the next frame soon after it.
void t_RefreshKey();
// A view tells whether the frame it was asked for showed anything new. Main thread.
void t_WindowFrameShown(uint8_t window, bool changed);
// The refresh's clock in milliseconds; nullptr puts back absolutetimems. For tests.
void setrefreshclock(int64_t (*clock)());
