#include "shell/platform.h"
#include "shell/shell.h"

// The platform's pasteboard belongs to the main thread; the program thread reaches it through here.
void setpasteboardstring(const std::string& text) {
    t_RunOnMainThread([&] {
        const t_PlatformPort& port = platformport();
        port.PasteboardClear();
        port.PasteboardSetText(text);
    });
}

std::string pasteboardstring() {
    std::string text;
    t_RunOnMainThread([&] { text = platformport().PasteboardText(); });
    return text;
}
