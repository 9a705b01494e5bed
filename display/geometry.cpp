// Window measures and operations: the palette and colours, t_WindowPos's selectors, and sizing, showing,
// centring and titling windows. Everything the platform does happens on the main thread.
#include "display/display.h"
#include "shell/platform.h"
#include "shell/shell.h"

#include <algorithm>
#include <string>

namespace {

const t_RGBColor t_Palette[16] = {
    {255, 0x00, 0x00, 0x00}, {255, 0xFF, 0x00, 0x00}, {255, 0x00, 0x00, 0x80}, {255, 0xFF, 0x00, 0xFF},
    {255, 0x00, 0x80, 0x00}, {255, 0x54, 0x54, 0x54}, {255, 0x00, 0x00, 0xFF}, {255, 0x00, 0x80, 0xFF},
    {255, 0x80, 0x40, 0x00}, {255, 0xFF, 0x80, 0x00}, {255, 0xA8, 0xA8, 0xA8}, {255, 0xFF, 0x80, 0x80},
    {255, 0x00, 0xFF, 0x00}, {255, 0xFF, 0xFF, 0x00}, {255, 0x00, 0xFF, 0xFF}, {255, 0xFF, 0xFF, 0xFF},
};

// Frames are cut, not rounded, to whole pixels.
Int whole(double value) {
    return static_cast<Int>(value);
}

bool memoryready() {
    return t_MemoryInitialized.load(std::memory_order_acquire);
}

bool recordready(uint8_t window) {
    return window <= 7 && memoryready() && t_WindowTable[window].Initialized.load(std::memory_order_acquire);
}

// What the platform knows of a window: its frame and its screen, read on the main thread.
struct PlatformGeometry {
    t_PlatformRect frame;
    t_PlatformRect screen;
};

PlatformGeometry platformgeometry(uint8_t window) {
    PlatformGeometry g;
    t_RunOnMainThread([&] {
        const t_PlatformPort& port = platformport();
        g.frame = port.WindowFrame(window);
        g.screen = port.ScreenFrame(window);
    });
    return g;
}

// The measures every selector is worked out from.
struct Measures {
    Int W = 0, H = 0, title = 0, borderWidth = 0, borderHeight = 0;
};

} // namespace

t_RGBColor t_PaletteColor(uint64_t index) {
    return index < 16 ? t_Palette[index] : t_RGBColor{};
}

void t_Color(uint8_t window, Int color) {
    if (!t_RecordGuard(window, "t_Color")) return;
    t_Window& w = t_WindowTable[window];
    w.TextColor = static_cast<uint8_t>((static_cast<uint64_t>(color) << 4) | (w.TextColor & 0x0F));
    w.RGBColor = t_PaletteColor(static_cast<uint64_t>(color) & 15);
}

void t_ColorBorder(uint8_t window, Int color) {
    if (!t_RecordGuard(window, "t_ColorBorder")) return;
    t_Window& w = t_WindowTable[window];
    const t_RGBColor rgb = t_PaletteColor(static_cast<uint64_t>(color) & 15);
    w.RGBColorBorder = rgb;
    if (!w.Window) return;
    t_RunOnMainThread([&] { platformport().SetWindowBackground(window, rgb); });
}

Int t_WindowPos(uint8_t window, Int selector) {
    if (!t_PlatformWindowGuard(window, "t_WindowPos")) return 0;
    const bool graphic = window <= 7;
    const bool fromRecord = graphic && memoryready();
    const bool needsPlatform =
        !fromRecord || selector == 13 || selector == 14 || selector == 15 || selector == 16 || selector == 20;
    PlatformGeometry g;
    if (needsPlatform) g = platformgeometry(window);

    Measures m;
    if (fromRecord) {
        const t_Window& w = t_WindowTable[window];
        m.title = w.TitleHeight;
        m.borderWidth = w.BorderWidth;
        m.borderHeight = w.BorderHeight;
        m.W = w.Width + 2 * m.borderWidth;
        m.H = w.Height + 2 * m.borderHeight + m.title;
    } else {
        m.W = whole(g.frame.Width);
        m.H = whole(g.frame.Height);
        m.title = t_TitleBarHeight.load();
    }

    if (selector >= 0 && selector <= 7) {
        if (fromRecord) {
            const t_Window& w = t_WindowTable[window];
            switch (selector) {
            case 0:
                return w.TextFirstColumn;
            case 1:
                return w.TextFirstLine;
            case 2:
                return w.TextLastColumn;
            case 3:
                return w.TextLastLine;
            case 4:
                return w.TextLastColumn - w.TextFirstColumn + 1;
            case 5:
                return w.TextLastLine - w.TextFirstLine + 1;
            case 6:
                return w.TextWidth;
            default:
                return w.TextHeight;
            }
        }
        if (graphic) return 0;
        switch (selector) {
        case 2:
            return m.W - 1;
        case 3:
            return m.H - 1;
        case 4:
        case 6:
            return m.W;
        case 5:
        case 7:
            return m.H;
        default:
            return 0;
        }
    }
    switch (selector) {
    case 8:
        return m.W - 2 * m.borderWidth;
    case 9:
        return m.H - (m.title + 2 * m.borderHeight);
    case 10:
        return m.W;
    case 11:
        return m.H - m.title;
    case 12:
        return m.H;
    case 13:
        return whole(g.frame.X);
    case 14:
        return whole(g.screen.Height) - whole(g.frame.Y) - m.H;
    case 15:
        return whole(g.screen.Width);
    case 16:
        return whole(g.screen.Height);
    case 17:
        return m.title;
    case 18:
        return m.borderWidth;
    case 19:
        return m.borderHeight;
    case 20:
        return whole(g.frame.Y);
    default:
        return 0;
    }
}

void t_WindowSize(uint8_t window, Int x, Int y, Int width, Int height) {
    if (!t_PlatformWindowGuard(window, "t_WindowSize")) return;
    const Int askedWidth = width, askedHeight = height;
    if (x == -1) x = t_WindowPos(window, 13);
    if (y == -1) y = t_WindowPos(window, 20);
    if (width == -1) width = t_WindowPos(window, 8);
    if (height == -1) height = t_WindowPos(window, 9);
    const double X = double(x), Y = double(y), Width = double(width), Height = double(height);

    if (window <= 7) {
        if (!recordready(window)) {
            debuglog("t_WindowSize: Window #" + std::to_string(window) + " not initialized.");
            return;
        }
        const t_Window& w = t_WindowTable[window];
        const t_PlatformRect frame{X, Y, double(width + 2 * w.BorderWidth),
                                   double(height + 2 * w.BorderHeight + w.TitleHeight)};
        const t_PlatformRect view{double(w.BorderWidth), double(w.BorderHeight), Width, Height};
        t_RunOnMainThread([&] {
            const t_PlatformPort& port = platformport();
            port.SetWindowFrame(window, frame);
            port.SetViewFrame(window, view);
        });
        return;
    }
    const t_PlatformRect frame{X, Y, Width, Height + double(t_TitleBarHeight.load())};
    t_RunOnMainThread([&] {
        const t_PlatformPort& port = platformport();
        if (window <= 10 && port.WindowIsVisible(window)) port.WindowOrderFront(window);
        port.SetWindowFrame(window, frame);
        if (window > 10 || !port.ScrollView(window)) return;
        // The scroll view keeps its place; the margins are those of the side windows' layout.
        t_PlatformRect scroll = port.ScrollViewFrame(window);
        if (askedWidth > 0) scroll.Width = double(askedWidth - 40);
        if (askedHeight > 0) scroll.Height = double(askedHeight - 77);
        port.SetScrollViewFrame(window, scroll);
    });
}

void t_WindowCenter(uint8_t window) {
    if (!t_PlatformWindowGuard(window, "t_WindowCenter")) return;
    t_RunOnMainThread([&] { platformport().WindowCenter(window); });
}

void t_WindowFront(uint8_t window) {
    if (!t_PlatformWindowGuard(window, "t_WindowFront")) return;
    t_WindowVisible(window, true);
    t_RunOnMainThread([&] { platformport().WindowMakeKeyAndOrderFront(window); });
}

void t_WindowVisible(uint8_t window, bool visible) {
    if (!t_PlatformWindowGuard(window, "t_WindowVisible")) return;
    if (window >= 8 && window <= 10 && !t_WindowTextView(window)) {
        static const char* const names[3] = {"Pasteboard", "Virtual printer", "System console"};
        debuglog(std::string("t_WindowVisible: ") + names[window - 8] +
                 " window is nil, resource undefined.");
        t_Beep();
        return;
    }
    t_RunOnMainThread([&] {
        const t_PlatformPort& port = platformport();
        if (!visible) {
            port.WindowOrderOut(window);
            return;
        }
        if (window == 8) port.SetTextViewString(8, port.PasteboardText());
        port.WindowOrderFront(window);
        if (window >= 8 && window <= 10) port.TextViewNeedsDisplay(window);
    });
    // After the platform call has returned, on the caller's thread.
    if (window <= 7) {
        t_Window& w = t_WindowTable[window];
        w.Visible.store(visible, std::memory_order_release);
        if (!visible) w.UpdateDuration = 0;
    }
}

void t_SideWindowText(uint8_t window, std::string_view text) {
    if (window != 9 && window != 10) {
        debuglog("t_SideWindowText: Window " + std::to_string(window) + " holds no text.");
        return;
    }
    std::string lines(text);
    std::replace(lines.begin(), lines.end(), '\r', '\n');
    t_RunOnMainThread([&] { platformport().SetTextViewString(window, lines); });
    t_WindowVisible(window, true);
}

void t_WindowTitle(uint8_t window, const std::string& title) {
    auto set = [window, title] {
        if (!t_PlatformWindowGuard(window, "t_WindowTitle")) return;
        platformport().SetWindowTitle(window, title);
    };
    // The one window call that does not wait for the main thread.
    if (ismainthread())
        set();
    else
        t_RunOnMainThreadAsync(set);
}

void t_WindowTitleVisible(uint8_t window, bool visible) {
    if (!t_PlatformWindowGuard(window, "t_WindowTitleVisible")) return;
    if (window <= 7) t_WindowTable[window].TitleHeight = visible ? t_TitleBarHeight.load() : 0;
    t_RunOnMainThread([&] { platformport().SetWindowStyle(window, visible ? 7 : 0); });
}
