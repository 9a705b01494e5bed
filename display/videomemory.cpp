// The video memory: 16 MiB from which each window takes a graphic block and a text block, handed out from
// the top down. Making a window anew gives its blocks back and moves the others up, so the memory never
// has holes; what cannot fit is refused with its log lines and leaves the memory as it was.
#include "display/display.h"
#include "library/library.h"
#include "shell/platform.h"
#include "shell/shell.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

namespace {

// 16 MiB and 15 bytes more; the lowest 64 KiB are never handed out.
constexpr Int videoMemorySize = 0x100000F;
constexpr Int reservedFoot = 0x10000;
constexpr Int topOfMemory = 0xFFFFFF;

void sleepms(long ms) {
    timespec t{0, ms * 1000000L};
    while (nanosleep(&t, &t) != 0 && errno == EINTR) {}
}

std::string prefix(uint8_t window) {
    return "t_InitWindow: GraphicWindow #" + std::to_string(window);
}

std::string kilobytes(Int bytes) {
    return formatreal(32, 1, 2, true, static_cast<double>(bytes) / 1024.0);
}

// The start of a block of the given size below high. The mask keeps bit 10, so a start can drop by up to
// 0xBFF bytes below what the size needs; the spare bytes lie at the block's top.
Int blockstart(Int high, Int size) {
    const Int wanted = high - size + 1;
    if (wanted < 0) return -1;
    return static_cast<Int>(static_cast<uint32_t>(wanted) & 0xFFFFF400u);
}

void takeblock(Int size, Int& start, Int& end) {
    start = blockstart(t_HighMemory, size);
    end = t_HighMemory;
    t_HighMemory = start - 1;
}

Int graphicsize(Int width, Int height, Int depth) {
    if (depth == 1) return height * width / 8;
    if (depth == 4) return height * width / 2;
    return height * depth * width / 8;
}

void waitformemory() {
    if (!t_MemoryStarted.load(std::memory_order_acquire)) {
        t_InitMemory();
        return;
    }
    while (!t_MemoryInitialized.load(std::memory_order_acquire)) sleepms(10);
}

void resetrecord(t_Window& w) {
    w.Initialized = false;
    w.Visible = false;
    w.IgnoreEvents = false;
    w.AutoUpdate = false;
    w.QuickUpdate = false;
    w.ScrollLock = false;
    w.VerticalBlank = true;
    w.UpdateStarted = 0;
    w.UpdateFinished = 0;
    w.UpdateDuration = 0;
    w.RefreshRate = 30;
    w.Window = nullptr;
    w.View = nullptr;
    std::fill(std::begin(w.DrawingRect), std::end(w.DrawingRect), 0.0);
    w.TitleHeight = 0;
    w.BorderWidth = 0;
    w.BorderHeight = 0;
    w.RGBColorBorder = t_RGBColor{};
    w.BitDepth = 0;
    w.Width = 0;
    w.Height = 0;
    w.RGBColor = t_RGBColor{};
    w.DrawingMode = 0;
    w.PositionX = 0;
    w.PositionY = 0;
    w.MemoryStart = -1;
    w.MemoryEnd = -1;
    w.Font = t_Font{};
    w.TextWidth = 0;
    w.TextHeight = 0;
    w.TextFirstColumn = 0;
    w.TextLastColumn = 0;
    w.TextFirstLine = 0;
    w.TextLastLine = 0;
    w.TextHpos = 0;
    w.TextVpos = 0;
    w.TextColor = 0;
    w.TextInverse = false;
    w.TextDisplayMode = 0;
    w.TextCursorLevel = 0;
    w.TextRedirectOutput = 1;
    w.InputString.clear();
    w.InputFinished = false;
    w.InputMode = 0;
    w.InputHpos = 0;
    w.InputVpos = 0;
    w.InputCursorPos = 0;
    w.InputMaxCharacters = 0;
    w.LoResOffsetX = 0;
    w.LoResOffsetY = 0;
    w.LoResMode = 0;
    w.TextMemoryStart = -1;
    w.TextMemoryEnd = -1;
}

// Moves a block delta bytes up, highest byte first, so that it may overlap its old place.
void moveblockup(Int start, Int end, Int delta) {
    uint8_t* base = t_VideoMemory.data();
    std::memmove(base + start + delta, base + start, static_cast<size_t>(end - start + 1));
}

void logmove(uint8_t window, const char* kind, uint8_t moved, Int start, Int end, Int delta,
             bool dollarTwice) {
    debuglogpart(prefix(window) + " moving " + kind + " block for win #" + std::to_string(moved));
    debuglogpart("$" + stringfromhex32(start) + "..." + stringfromhex32(end) + " to");
    debuglog((dollarTwice ? "$" : "") + stringfromhex32(start + delta) + "..." +
             stringfromhex32(end + delta));
}

// Gives the blocks of a live window back: everything that lies below them moves up into the gap.
void freeblocks(uint8_t window) {
    t_Window& w = t_WindowTable[window];
    w.Initialized.store(false, std::memory_order_release);
    const Int top = w.MemoryEnd;
    Int delta = w.MemoryEnd - w.MemoryStart + 1;
    debuglog(prefix(window) + " high memory = $" + stringfromhex32(top) +
             ", graphic block size to delete = $" + stringfromhex32(delta) + ".");
    if (w.TextMemoryStart >= 0) {
        const Int t = w.TextMemoryEnd - w.TextMemoryStart + 1;
        debuglog(prefix(window) + " high memory = $" + stringfromhex32(top) +
                 ", text block size to delete = $" + stringfromhex32(t) + ".");
        delta += t;
    }
    // Highest block first: a lower block moved early could land on a higher one not yet moved.
    std::vector<uint8_t> order;
    for (uint8_t n = 0; n < 8; ++n)
        if (t_WindowTable[n].Initialized.load(std::memory_order_acquire) &&
            t_WindowTable[n].MemoryStart < top)
            order.push_back(n);
    std::sort(order.begin(), order.end(), [](uint8_t a, uint8_t b) {
        return t_WindowTable[a].MemoryStart > t_WindowTable[b].MemoryStart;
    });
    std::lock_guard<std::mutex> lock(t_WindowShapeLock);
    for (uint8_t n : order) {
        t_Window& o = t_WindowTable[n];
        logmove(window, "graphic", n, o.MemoryStart, o.MemoryEnd, delta, false);
        moveblockup(o.MemoryStart, o.MemoryEnd, delta);
        if (o.TextMemoryStart >= 0 && o.TextMemoryStart < top) {
            logmove(window, "text", n, o.TextMemoryStart, o.TextMemoryEnd, delta, true);
            moveblockup(o.TextMemoryStart, o.TextMemoryEnd, delta);
            o.TextMemoryStart += delta;
            o.TextMemoryEnd += delta;
        }
        o.MemoryStart += delta;
        o.MemoryEnd += delta;
    }
    t_HighMemory += delta;
}

bool supporteddepth(Int depth) {
    return depth == 1 || depth == 4 || depth == 8 || depth == 16 || depth == 24 || depth == 32;
}

// The application folder's name without ".app"; a window without text memory is the graphics one.
std::string windowtitle(bool hasText) {
    std::string title = pathfilename(bundlepath());
    const Int length = charactercount(title);
    if (length >= 4 && lowercasestring(fromposition(title, length - 3)) == ".app") {
        title = midstring(title, 1, length - 4);
        if (!hasText) title += "-Grafik";
    }
    return title;
}

} // namespace

std::string defaultwindowtitle(bool hasText) {
    return windowtitle(hasText);
}

void t_InitMemory() {
    bool expected = false;
    if (!t_MemoryStarted.compare_exchange_strong(expected, true, std::memory_order_acq_rel)) return;
    debuglog("t_InitMemory: Start.");
    if (threadnumber() == 2) setthreadname("Main Program");
    t_HighMemory = topOfMemory;
    t_VideoMemory.assign(static_cast<size_t>(videoMemorySize), 0xFF);
    {
        std::lock_guard<std::mutex> lock(t_WindowShapeLock);
        for (t_Window& w : t_WindowTable) resetrecord(w);
    }
    t_InitMemoryMenus();
    t_InitMemoryPasteboard();
    t_MemoryInitialized.store(true, std::memory_order_release);
    debuglog("t_InitMemory: End.");
}

void t_InitWindow(uint8_t window, Int bitDepth, Int columns, Int rows, Int border,
                  const std::string& fontName) {
    waitformemory();
    const t_Font font = t_LoadFontResource(fontName);
    if (font.Data.empty()) {
        debuglog("t_InitWindow: Font '" + fontName + "' not found.");
        return;
    }
    t_InitWindow(window, bitDepth, true, font.Width * columns, font.Height * rows, border, border, font,
                 true);
}

void t_InitWindow(uint8_t window, Int bitDepth, bool autoUpdate, Int width, Int height, Int borderWidth,
                  Int borderHeight, const t_Font& font, bool titleVisible) {
    if (window > 7) {
        debuglog("t_InitWindow: Window is not a graphic window.");
        return;
    }
    const std::string pre = prefix(window);
    debuglog(pre + " Start.");
    waitformemory();
    uint8_t none = 255;
    t_DefaultWindow.compare_exchange_strong(none, window);
    t_StartAutoUpdate();
    t_Window& w = t_WindowTable[window];
    if (w.Initialized.load(std::memory_order_acquire)) freeblocks(window);

    const Int free = t_HighMemory - reservedFoot;
    if (width < 32 || width > 8192) {
        debuglog(pre + " cannot display " + std::to_string(width) + " horizontal pixel.");
        width = 0x500;
    }
    if (height < 32 || height > 8192) {
        debuglog(pre + " cannot display " + std::to_string(height) + " vertical pixel.");
        height = 800;
    }
    if (!supporteddepth(bitDepth)) {
        debuglog(pre + " unsupported " + std::to_string(bitDepth) + " bit depth.");
        return;
    }
    if (bitDepth == 4 && width % 4 != 0) {
        debuglog(pre + " width with 4 bit depth must be a multiple of 4.");
        width = ((width + 1) / 4) * 4;
    }
    if (bitDepth == 1 && width % 8 != 0) {
        debuglog(pre + " width with 1 bit depth must be a multiple of 8.");
        width = ((width + 7) / 8) * 8;
    }
    const Int graphic = graphicsize(width, height, bitDepth);
    if (graphic > free) {
        debuglog(pre + " has not enough graphic-video-memory (" + std::to_string(free / 1024) +
                 "K available).");
        const std::string depthText = bitDepth == 1 ? " pixel x 1 bit needs "
                                      : bitDepth == 4
                                          ? " pixel x 4 bit needs "
                                          : " pixel x " + std::to_string(bitDepth) + " bit needs ";
        debuglog("t_InitWindow: Displaying " + std::to_string(width) + " x " + std::to_string(height) +
                 depthText + kilobytes(graphic) + "K video-memory.");
        return;
    }
    if (!titleVisible) {
        t_WindowTitleVisible(window, false);
        debuglog(pre + " title will be invisible.");
    }
    if (borderWidth < 0) borderWidth = t_WindowPos(window, 15) - width;
    if (borderHeight < 0) borderHeight = t_WindowPos(window, 16) - height;

    Int columns = -1, rows = -1, textSize = 0;
    if (!font.Data.empty()) {
        // A cell without size would divide by zero.
        if (font.Width <= 0 || font.Height <= 0) {
            debuglog(pre + " font cell of " + std::to_string(font.Width) + " x " +
                     std::to_string(font.Height) + " pixel cannot be used.");
            return;
        }
        columns = width / font.Width;
        rows = height / font.Height;
        textSize = columns * rows * 2;
    }
    // Both blocks together must leave t_HighMemory at 0 or above, whatever the foot absorbs.
    const Int graphicStart = blockstart(t_HighMemory, graphic);
    if (textSize > free || (textSize > 0 && blockstart(graphicStart - 1, textSize) < 1)) {
        debuglog(pre + " has not enough text-video-memory (" + std::to_string(free / 1024) + "K available).");
        debuglog("t_InitWindow: Displaying " + std::to_string(columns) + " x " + std::to_string(rows) +
                 " characters needs " + kilobytes(textSize) + "K text-video-memory.");
        return;
    }

    w.UpdateStarted = 0;
    w.UpdateFinished = 0;
    w.VerticalBlank = true;
    w.IgnoreEvents = false;
    w.RefreshRate = 30;
    w.AutoUpdate = autoUpdate;
    w.QuickUpdate = true;
    w.ScrollLock = false;
    std::unique_lock<std::mutex> shape(t_WindowShapeLock);
    w.BitDepth = bitDepth;
    w.Width = width;
    w.Height = height;
    w.BorderWidth = borderWidth;
    w.BorderHeight = borderHeight;
    w.TitleHeight = titleVisible ? t_TitleBarHeight.load() : 0;
    w.RGBColor = t_PaletteColor(0);
    w.RGBColorBorder = t_PaletteColor(5);
    w.DrawingMode = 0;
    w.PositionX = 0;
    w.PositionY = 0;
    takeblock(graphic, w.MemoryStart, w.MemoryEnd);
    debuglog(pre + " = " + std::to_string(width) + " x " + std::to_string(height) + " pixel x " +
             std::to_string(bitDepth) + " bit = " + kilobytes(graphic) + "K video-memory = $" +
             stringfromhex32(w.MemoryStart) + ".");
    w.TextWidth = columns;
    w.TextHeight = rows;
    w.TextFirstColumn = 1;
    w.TextLastColumn = columns;
    w.TextFirstLine = 1;
    w.TextLastLine = rows;
    w.TextHpos = 1;
    w.TextVpos = 1;
    w.TextColor = 0xC0;
    w.LoResOffsetX = 0;
    w.LoResOffsetY = 0;
    w.LoResMode = 0;
    if (textSize == 0) {
        w.TextMemoryStart = -1;
        w.TextMemoryEnd = -1;
    } else {
        takeblock(textSize, w.TextMemoryStart, w.TextMemoryEnd);
    }
    shape.unlock();

    const t_Handle view = t_WindowView(window);
    if (!view) {
        w.Initialized = false;
        w.Font = t_Font{};
        debuglog(pre + " could not be initialized, resource undefined.");
        debuglog(pre + " End.");
        return;
    }
    w.View = view;
    w.Window = t_WindowHandle(window);
    w.Font = font;
    // Last, so that the drawing path and the refresh see a complete record.
    w.Initialized.store(true, std::memory_order_release);
    // The first sweep after this makes a request at once.
    t_RefreshWake();
    t_ClearWindowMemory(window);
    t_WindowTitle(window, windowtitle(w.TextMemoryStart >= 0));
    t_WindowSize(window, -1, -1, width, height);
    t_ColorBorder(window, 5);
    debuglog(pre + " End.");
}

void t_ClearWindowMemory(uint8_t window) {
    if (window > 7) return;
    t_Window& w = t_WindowTable[window];
    // A blank record has no block to clear.
    if (w.MemoryStart < 0 || t_VideoMemory.empty()) return;
    const Int rowBytes = graphicsize(w.Width, 1, w.BitDepth);
    uint8_t* row = t_VideoMemory.data() + w.MemoryStart;
    for (Int y = 0; y < w.Height; ++y, row += rowBytes) {
        if (w.BitDepth == 32) {
            for (Int i = 0; i < rowBytes; i += 4) {
                row[i] = 0xFF;
                row[i + 1] = 0;
                row[i + 2] = 0;
                row[i + 3] = 0;
            }
        } else {
            std::memset(row, 0, static_cast<size_t>(rowBytes));
        }
    }
    if (w.TextMemoryStart >= 0) {
        std::lock_guard<std::mutex> lock(t_WindowShapeLock);
        const Int half = (w.TextMemoryEnd - w.TextMemoryStart + 1) / 2;
        uint8_t* symbols = t_VideoMemory.data() + w.TextMemoryStart;
        const size_t cells = static_cast<size_t>(w.TextWidth * w.TextHeight);
        std::memset(symbols, 0x20, cells);
        std::memset(symbols + half, w.TextColor, cells);
    }
}
