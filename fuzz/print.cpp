// Any bytes printed into a text window of any depth and grid, between them fonts of other cell sizes, areas,
// tabs, scrolling and clearing. After each step the cursor must stand in the grid and the area lie in it, and
// no byte outside the window's two blocks may have changed: the neighbour above and the free memory below.
#include "fuzz/entry.h"
#include "fuzz/textwindow.h"
#include "terminal/terminal.h"

#include <type_traits>

namespace {

using fuzzwindow::window;

// The colour byte, written into the attribute plane as it is, is a byte by its type.
static_assert(std::is_same_v<decltype(t_Window::TextColor), uint8_t>);

void check(const fuzzwindow::Fence& fence) {
    const t_Window& w = t_WindowTable[window];
    fuzzwindow::checkcursor();
    if (w.TextFirstColumn < 1 || w.TextFirstColumn > w.TextLastColumn || w.TextLastColumn > w.TextWidth ||
        w.TextFirstLine < 1 || w.TextFirstLine > w.TextLastLine || w.TextLastLine > w.TextHeight)
        __builtin_trap();
    fence.check();
}

// Columns and lines a little beyond the grid on both sides.
Int place(FuzzBytes& in) {
    return static_cast<Int>(in.byte() % 72) - 4;
}

void step(FuzzBytes& in) {
    const uint8_t op = in.byte();
    switch (op % 10) {
    case 0: {
        const std::string s = in.bytes(48);
        t_Print(window, s);
        break;
    }
    case 1: {
        const std::string s = in.bytes(48);
        t_Print(window, Text{std::vector<uint8_t>(s.begin(), s.end())});
        break;
    }
    case 2: {
        // Cells up to 16 by 16 pixels, now and then with a shorter range of symbols.
        const uint8_t size = in.byte();
        const bool range = op & 0x10;
        const uint8_t start = range ? in.byte() : 0, end = range ? in.byte() : 255;
        t_WindowFont(window, fuzzwindow::font(1 + size % 16, 1 + size / 16, start, end));
        break;
    }
    case 3: {
        const Int c1 = place(in), l1 = place(in), c2 = place(in), l2 = place(in);
        t_Area(window, c1, l1, c2, l2);
        break;
    }
    case 4:
        t_Htab(window, place(in));
        break;
    case 5:
        t_Vtab(window, place(in));
        break;
    case 6:
        t_ScrollUp(window);
        break;
    case 7:
        t_ScrollDown(window);
        break;
    case 8:
        t_ClearEndOfWindow(window);
        break;
    default:
        t_FullArea(window);
        break;
    }
}

} // namespace

int fuzzprint(const uint8_t* data, size_t size) {
    // Cells too big for the window make a log line per symbol; formatting them all would be most of the
    // time, and the lines say nothing the checks don't.
    const int64_t level = t_DebugLevel.exchange(0);
    FuzzBytes in{data, size};
    const Int depth = fuzzwindow::depths[in.byte() % 6];
    const uint8_t cell = in.byte();
    const Int cellWidth = 1 + cell % 8, cellHeight = 1 + cell / 8 % 8;
    const Int width = 32 + in.byte() % 8 * 8, height = 32 + in.byte() % 8 * 8;
    fuzzwindow::open(depth, width, height, fuzzwindow::font(cellWidth, cellHeight));
    const fuzzwindow::Fence fence;
    check(fence);
    while (in.more()) {
        step(in);
        check(fence);
    }
    t_DebugLevel = level;
    return 0;
}
