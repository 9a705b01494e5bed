// The meeting point of the phone server (main thread, in the host) and the game (program thread): the
// game's handlers, the host's stop, the console line and the join code.
#include "shell/phone.h"

#include "shell/platform.h"
#include "shell/shell.h"

#include <sys/random.h>

namespace {

// Both written and read on the main thread only.
t_PhoneHandlers handlers;
std::function<void()> stopHandler = [] {};

} // namespace

void t_PhoneInstall(t_PhoneHandlers h) {
    t_RunOnMainThread([&] { handlers = std::move(h); });
}

const t_PhoneHandlers& t_PhoneGame() {
    return handlers;
}

void t_PhoneSetStopHandler(std::function<void()> handler) {
    stopHandler = handler ? std::move(handler) : [] {};
}

void t_PhoneStop() {
    t_RunOnMainThreadAsync([] { stopHandler(); });
}

void t_SystemConsoleAppend(std::string_view line) {
    t_RunOnMainThreadAsync([text = std::string(line)] {
        const t_PlatformPort& port = platformport();
        if (!port.TextView(10)) return;
        std::string all = port.TextViewString(10);
        if (!all.empty() && all.back() != '\n') all += '\n';
        port.SetTextViewString(10, all + text);
        port.TextViewNeedsDisplay(10);
    });
}

std::string t_PhoneJoinCode() {
    static const char alphabet[] = "23456789abcdefghjkmnpqrstuvwxyz";
    constexpr unsigned size = sizeof alphabet - 1; // 31: 8 of them make 39.6 bits
    std::string code;
    while (code.size() < 8) {
        unsigned char bytes[16];
        if (getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes)) {
            debuglog("t_PhoneJoinCode: The system's random source failed.");
            return {};
        }
        // Only bytes below a multiple of the alphabet's size, so that every character is equally likely.
        for (unsigned char b : bytes)
            if (b < 256 / size * size && code.size() < 8) code += alphabet[b % size];
    }
    return code;
}
