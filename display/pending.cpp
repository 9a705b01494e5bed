// Display routines that the run already calls, standing in until their own work lands. Each gives its
// empty result; a routine's block goes away when the real one is written.
#include "display/display.h"

// ---- t_InitWindow, text form (video memory) ----
void t_InitWindow(uint8_t, Int, Int, Int, Int, const std::string&) {}

// ---- t_InitWindow, full form (video memory) ----
void t_InitWindow(uint8_t, Int, bool, Int, Int, Int, Int, const t_Font&, bool) {}

// ---- t_Color (geometry and colours) ----
void t_Color(uint8_t, Int) {}

// ---- t_WindowCenter (geometry and colours) ----
void t_WindowCenter(uint8_t) {}

// ---- t_WindowFront (geometry and colours) ----
void t_WindowFront(uint8_t) {}
