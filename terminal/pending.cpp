// Terminal routines that the run already calls, standing in until their own work lands. Each gives its
// empty result; a routine's block goes away when the real one is written.
#include "terminal/terminal.h"

#include <cerrno>
#include <ctime>

// ---- t_Print (text output) ----
void t_Print(uint8_t, const Text&) {}
void t_Print(uint8_t, std::string_view) {}

// ---- t_Htab (text output) ----
void t_Htab(uint8_t, Int) {}

// ---- t_Hpos (text output) ----
Int t_Hpos(uint8_t) {
    return 0;
}

// ---- t_Header (text output) ----
void t_Header(uint8_t, std::string_view, std::string_view) {}

// ---- t_WaitKey (key reading) ----
// No key ever arrives yet: the program thread rests here, polling every 10 ms, until the process quits.
std::string t_WaitKey(uint8_t) {
    for (;;) {
        timespec t{0, 10000000};
        while (nanosleep(&t, &t) != 0 && errno == EINTR) {}
    }
}

// ---- t_CursorHome (cursor) ----
void t_CursorHome(uint8_t) {}

// ---- t_CursorEnd (cursor) ----
void t_CursorEnd(uint8_t) {}

// ---- t_Cr (cursor) ----
void t_Cr(uint8_t) {}

// ---- t_FullArea (text area) ----
void t_FullArea(uint8_t) {}

// ---- t_Area (text area) ----
void t_Area(uint8_t, Int, Int, Int, Int) {}

// ---- t_ClearEndOfWindow (clearing) ----
void t_ClearEndOfWindow(uint8_t) {}

// ---- t_Normal (display modes) ----
void t_Normal(uint8_t) {}

// ---- t_DisplayMode (display modes) ----
void t_DisplayMode(uint8_t, Int) {}

// ---- t_TextLine (lines) ----
void t_TextLine(uint8_t) {}
