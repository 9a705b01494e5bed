// Steps of the print path for callers inside the terminal that have passed the window's text guard
// already; each public routine is its guard followed by one of these.
#pragma once

#include "terminal/terminal.h"

// Marks the start of a print call: the glyph cache compares its entries with the font again.
void newprintcall();
// t_PrintSymbol after its guard: redirection, the cell test, the plot and the record.
void plotsymbol(uint8_t window, uint8_t symbol, uint8_t color, Int x, Int y);
// Plain symbols from the cursor along its line, as plotsymbol and stepright would put them one by one, but
// plotted together; returns how many it took, from none up to maxRun. It stops before the area's last
// column, at a symbol that would not plot without a word, and where the window is not plotted this way.
constexpr Int maxRun = 256;
Int plotrun(uint8_t window, const uint8_t* symbols, Int count);
// t_ApplyDisplayMode after its guard.
t_DisplayResult applydisplaymode(uint8_t window, uint64_t code);
// t_CursorRight after its guard.
void stepright(uint8_t window);
