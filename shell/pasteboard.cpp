// The general pasteboard from any thread: it belongs to the main thread, so every call crosses there.
#include "shell/platform.h"
#include "shell/shell.h"

// The platform's pasteboard belongs to the main thread; the program thread reaches it through here.
void setpasteboardstring(std::string_view text) {
    // Our texts end their lines with carriage returns; other programs on this desktop expect line feeds.
    std::string desktop(text);
    for (char& c : desktop)
        if (c == '\r') c = '\n';
    t_RunOnMainThread([&] {
        const t_PlatformPort& port = platformport();
        port.PasteboardClear();
        port.PasteboardSetText(desktop);
    });
}

std::string pasteboardstring() {
    std::string text;
    t_RunOnMainThread([&] { text = platformport().PasteboardText(); });
    return text;
}
