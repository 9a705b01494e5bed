// Terminal routines that the run already calls, standing in until their own work lands. Each gives its
// empty result; a routine's block goes away when the real one is written.
#include "terminal/terminal.h"

#include <cerrno>
#include <ctime>

// ---- t_WaitKey (key reading) ----
// No key ever arrives yet: the program thread rests here, polling every 10 ms, until the process quits.
std::string t_WaitKey(uint8_t) {
    for (;;) {
        timespec t{0, 10000000};
        while (nanosleep(&t, &t) != 0 && errno == EINTR) {}
    }
}

// ---- t_CheckPause (key reading) ----
// No key queue yet, so nothing can ask for a pause.
bool t_CheckPause(Int, bool) {
    return false;
}
