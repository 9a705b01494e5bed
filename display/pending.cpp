// Display routines that the run already calls, standing in until their own work lands. Each gives its
// empty result; a routine's block goes away when the real one is written.
#include "display/display.h"
#include "shell/platform.h"

// ---- t_InitMemoryMenus (menus: the action table and the clean-up of the menus) ----
void t_InitMemoryMenus() {}

// ---- t_InitMemoryPasteboard (side windows: the pasteboard text view's set-up) ----
void t_InitMemoryPasteboard() {}
