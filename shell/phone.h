// Playing with phones, as the host sees it: the game installs what answers a request (the page, a posted
// form), the host's server calls it, and either side can close the round. No Qt and no game in here.
#pragma once

#include <functional>
#include <string>
#include <string_view>

// A page for a phone. Stored is true when the answer was stored as a new participant.
struct t_PhoneReply {
    int Status = 200;
    std::string Html;
    bool Stored = false;
};

struct t_PhoneHandlers {
    // The empty form. Main thread.
    std::function<std::string()> Page;
    // A posted form: the reply goes to done on the main thread, at once for a form with faults, once the
    // program thread has taken it otherwise. Main thread.
    std::function<void(std::string_view body, std::function<void(const t_PhoneReply&)> done)> Post;
};

// Installed by the game once its participants are loaded; any thread (it crosses to the main thread).
void t_PhoneInstall(t_PhoneHandlers handlers);
// What the game installed; empty functions before that. Main thread.
const t_PhoneHandlers& t_PhoneGame();

// Set by the host: stops its server. The game calls t_PhoneStop, from any thread, once it takes no more
// answers (the evaluation starts, the program ends).
void t_PhoneSetStopHandler(std::function<void()> handler);
void t_PhoneStop();

// One line at the end of the system console window's text. Any thread.
void t_SystemConsoleAppend(std::string_view line);

// A new join code: 8 characters from an alphabet without look-alikes (no 0 and o, 1 and l and i), about
// 40 bits from the system's random source.
std::string t_PhoneJoinCode();
