// What a chosen menu item does, found by its tag: side windows shown and hidden, copying, the file
// panels, the menu clean-up at start, and the screen's graphic characters as plain text for the clipboard.
#include "shell/menus.h"

#include "display/display.h"
#include "shell/events.h"
#include "shell/platform.h"
#include "shell/shell.h"
#include "terminal/terminal.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <climits>

std::mutex t_MenuLock;
std::vector<t_MenuAction> t_MenuActions;
std::deque<t_MenuEvent> t_MenuQueue;
std::atomic<bool> t_MenuEventPending{false};
std::function<void()> t_ProgramMenuHandler = [] {};
std::function<void()> t_ProgramPasteHandler = [] { t_Beep(); };

namespace {

constexpr Int lastItem = 65535;

const char* sidewindowname(uint8_t window) {
    return window == 9 ? "Virtual printer" : "System console";
}

// The text view of the printer (9) or the console (10), or the log line and the beep.
bool sidetextview(uint8_t window) {
    if (platformport().TextView(window)) return true;
    debuglog(std::string("t_MenuEventHandler: ") + sidewindowname(window) +
             " window is nil, resource undefined.");
    t_Beep();
    return false;
}

void copytext(uint8_t front) {
    if (front < 8) {
        setpasteboardstring(t_PasteboardText(t_GetScreen(front, "\r")));
    } else if (front == 9 || front == 10) {
        if (sidetextview(front)) setpasteboardstring(platformport().TextViewString(front));
    } else {
        t_Beep();
    }
}

void clearside(uint8_t window) {
    if (!sidetextview(window)) return;
    const t_PlatformPort& port = platformport();
    port.SetTextViewString(window, "");
    port.TextViewNeedsDisplay(window);
}

void showorhide(uint8_t window, bool show) {
    if (show)
        t_WindowFront(window);
    else
        t_WindowVisible(window, false);
}

// Panels ask for a file; the row keeps what was chosen, so the next choice proposes it.
void panel(Int tag, Int action) {
    t_MenuAction row;
    {
        std::lock_guard<std::mutex> lock(t_MenuLock);
        for (const t_MenuAction& r : t_MenuActions)
            if (r.Tag == tag) {
                row = r;
                break;
            }
    }
    const std::string path = action == 100 ? t_OpenPanel(row.Title, row.Note, row.FileTypes, true, false)
                                           : t_SavePanel(row.FileName, row.Title, row.Note, row.FileTypes);
    std::lock_guard<std::mutex> lock(t_MenuLock);
    for (t_MenuAction& r : t_MenuActions)
        if (r.Tag == tag) {
            r.FilePath = path;
            r.FileName = pathfilename(path);
            break;
        }
}

// Side windows shown and hidden by a pair of actions: the first shows, the second hides.
struct SidePair {
    Int Show;
    uint8_t Window;
};
constexpr SidePair sidePairs[] = {{205, 12}, {207, 11}, {209, 9}, {211, 8}, {229, 10}};

void perform(Int tag, Int action) {
    const auto front = [] { return t_FrontWindowIndex(); };
    switch (action) {
    case 100:
    case 101:
        panel(tag, action);
        return;
    case 110: {
        const t_Image image = t_WindowCopyImage(front());
        if (image.Width == 0) {
            t_Beep();
            return;
        }
        const t_PlatformPort& port = platformport();
        port.PasteboardClear();
        port.PasteboardSetImage(image.Pixels, image.Width, image.Height);
        return;
    }
    case 111:
        copytext(front());
        return;
    case 112:
        clearside(9);
        return;
    case 113:
        if (front() < 8)
            t_ProgramPasteHandler();
        else
            t_Beep();
        return;
    case 114:
        clearside(10);
        return;
    case 200:
        for (uint8_t n = 0; n <= 12; ++n) t_WindowVisible(n, false);
        return;
    case 201:
        t_WindowVisible(front(), false);
        return;
    default:
        break;
    }
    for (const SidePair& pair : sidePairs)
        if (action == pair.Show || action == pair.Show + 1) {
            showorhide(pair.Window, action == pair.Show);
            return;
        }
    if (action >= 213 && action <= 228) {
        const auto window = static_cast<uint8_t>((action - 213) / 2);
        if (!t_MemoryInitialized.load() || !t_WindowTable[window].Initialized.load()) {
            debuglog("t_MenuEventHandler: Window #" + std::to_string(window) + " not initialized.");
            t_Beep();
            return;
        }
        showorhide(window, (action - 213) % 2 == 0);
    }
}

// An item position of the menu, or -1 after the log line; 65535 is the last item.
Int itemposition(const std::string& routine, const std::string& menu, Int position) {
    const Int count = platformport().MenuItemCount(menu);
    if (count < 0) {
        debuglog(routine + ": Menu not found.");
        return -1;
    }
    if (position == lastItem && count >= 1) return count - 1;
    if (position >= 0 && position < count) return position;
    debuglog(routine + ": Item position out of range");
    return -1;
}

// The frame-drawing and other graphic characters of the toolkit's font, and what stands for them in plain
// text.
struct PlainCharacter {
    UChar32 From, To;
    const char* Text;
};
constexpr PlainCharacter plainCharacters[] = {
    {127, 127, "#"}, {129, 129, "#"}, {128, 128, "*"}, {130, 130, "<"},      {131, 131, "="}, {159, 159, "="},
    {132, 132, ">"}, {133, 133, "O"}, {134, 137, "+"}, {142, 153, "+"},      {158, 158, "+"}, {138, 139, "|"},
    {156, 157, "|"}, {140, 141, "-"}, {154, 155, "-"}, {160, 160, "\u02FD"},
};

} // namespace

void t_MenuActionAdd(Int tag) {
    std::lock_guard<std::mutex> lock(t_MenuLock);
    t_MenuAction row;
    row.Tag = tag;
    row.Action = tag;
    t_MenuActions.push_back(row);
}

void t_MenuEventHandler(const t_MenuItem& sender) {
    t_MenuEvent event;
    bool handled = false;
    if (sender.InMenu) {
        event.Kind = 3;
        event.MenuTitle = sender.MenuTitle;
        event.ItemTitle = sender.Title;
        event.ItemKeyChar = sender.KeyChar;
        event.ItemKeyMods = sender.KeyMods;
        event.ItemKeyAsc = ascfromstring(sender.KeyChar);
        event.ItemAction = sender.Tag;
        event.Time = absolutetimems();
        Int action = 0;
        if (sender.Tag != 0) {
            std::lock_guard<std::mutex> lock(t_MenuLock);
            for (const t_MenuAction& row : t_MenuActions)
                if (row.Tag == sender.Tag) {
                    action = row.Action;
                    handled = true;
                    break;
                }
        }
        if (handled) perform(sender.Tag, action);
    }
    {
        static bool dropping = false; // under the queue's lock
        std::lock_guard<std::mutex> lock(t_MenuLock);
        appendbounded(t_MenuQueue, std::move(event), dropping, "t_MenuEventHandler");
    }
    t_MenuEventPending = true;
    // The output pause ends when this moves.
    t_MenuQueueSize.fetch_add(1);
    if (handled) return;
    t_CallHandler(t_MenuHandlerThread);
}

bool t_MenuLookup(const std::string& title) {
    bool found = false;
    t_RunOnMainThread([&] { found = platformport().MenuItemCount(title) >= 0; });
    return found;
}

Int t_MenuItemIndex(const std::string& menu, const std::string& item) {
    Int index = -1;
    t_RunOnMainThread([&] {
        const t_PlatformPort& port = platformport();
        const Int count = port.MenuItemCount(menu);
        if (count < 0) {
            debuglog("t_MenuItemIndex: Menu not found.");
            return;
        }
        for (Int i = 0; i < count && index < 0; ++i)
            if (port.MenuItemTitleAt(menu, i) == item) index = i;
    });
    return index;
}

void t_MenuItemDelete(const std::string& menu, Int position) {
    t_RunOnMainThread([&] {
        const Int at = itemposition("t_MenuItemDelete", menu, position);
        if (at >= 0) platformport().MenuRemoveItemAt(menu, at);
    });
}

std::string t_MenuItemTitle(const std::string& menu, Int position) {
    std::string title;
    t_RunOnMainThread([&] {
        const Int at = itemposition("t_MenuItemTitle", menu, position);
        if (at >= 0) title = platformport().MenuItemTitleAt(menu, at);
    });
    return title;
}

std::string t_PasteboardText(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto length = static_cast<int32_t>(std::min<size_t>(text.size(), INT32_MAX));
    for (int32_t i = 0; i < length;) {
        const int32_t start = i;
        UChar32 c;
        U8_NEXT(bytes, i, length, c);
        const char* plain = nullptr;
        for (const PlainCharacter& row : plainCharacters)
            if (c >= row.From && c <= row.To) plain = row.Text;
        if (plain)
            out += plain;
        else
            out.append(text.substr(static_cast<size_t>(start), static_cast<size_t>(i - start)));
    }
    return out;
}

uint8_t t_FrontWindowIndex() {
    uint8_t index = 255;
    t_RunOnMainThread([&] {
        const t_Handle main = platformport().MainWindow();
        if (main) index = t_WindowIndexOf(main);
    });
    return index;
}

void t_WindowDidResize() {
    const uint8_t front = t_FrontWindowIndex();
    if (front < 8 || front > 10) return;
    const t_PlatformPort& port = platformport();
    const t_PlatformRect frame = port.WindowFrame(front);
    const double w = frame.Width, h = frame.Height, t = static_cast<double>(t_TitleBarHeight.load());
    if (front == 8) {
        port.SetScrollViewFrame(8, {10, 10, w - 20, h - 20 - t});
        return;
    }
    const double textHeight = h - 40 - t - 15;
    port.SetScrollViewFrame(front, {20, 20, w - 40, textHeight});
    // The ruler keeps its place just above the text.
    port.SetRulerFrame(front, {24, 20 + textHeight + 2, w - 48, 19});
}

void t_InitMemoryMenus() {
    for (Int tag = 200; tag <= 231; ++tag) t_MenuActionAdd(tag);
    for (Int tag = 110; tag <= 114; ++tag) t_MenuActionAdd(tag);

    static const char* const editItems[] = {"Special Characters…", "Emoji & Symbols", "Emoji & Symbole",
                                            "Start Dictation…", "Diktat starten …"};
    for (const char* item : editItems)
        for (const char* menu : {"Bearbeiten", "Edit"}) t_MenuItemDelete(menu, t_MenuItemIndex(menu, item));
    for (const char* menu : {"Bearbeiten", "Edit"})
        if (t_MenuItemTitle(menu, lastItem).empty()) t_MenuItemDelete(menu, lastItem);

    static const char* const windowItems[] = {"Tile Window to Left of Screen",
                                              "Tile Window to Right of Screen", "Vollbildmodus"};
    for (const char* item : windowItems)
        for (const char* menu : {"Fenster", "Window"}) {
            const Int at = t_MenuItemIndex(menu, item);
            if (at < 0) continue;
            debuglog(std::string("*** Found ") + menu + " Menu Item " + item);
            t_MenuItemDelete(menu, at);
        }
}

void t_InitMemoryPasteboard() {
    t_RunOnMainThread([] {
        const t_PlatformPort& port = platformport();
        port.SetTextViewString(8, "");
        port.TextViewNeedsDisplay(8);
    });
}
