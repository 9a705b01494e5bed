// Line input: a field of any mode, capacity and first column in a window of any depth and area, then key
// codes one at a time through t_InputEdit. After each the field must keep to its capacity and to the area,
// the edit position must lie in the text, the cursor in the grid, and the memory outside the window's
// blocks must stay as it was.
#include "fuzz/entry.h"
#include "fuzz/textwindow.h"
#include "shell/events.h"
#include "terminal/terminal.h"
#include "tests/testsupport.h"

namespace {

using fuzzwindow::window;

// The keys that compose reads, so that it never waits: up to three digits, and behind fewer than three a
// key that ends them.
void queuecompose(FuzzBytes& in) {
    const uint8_t digits = in.byte() % 4;
    std::string keys;
    for (uint8_t i = 0; i < digits; ++i) keys += static_cast<char>('0' + in.byte() % 10);
    if (digits < 3) keys += static_cast<char>('a' + in.byte() % 26);
    t_PostKeyString(keys);
}

// Mostly the codes 0 to 255; now and then one beyond a byte, a scalar, or any number at all.
Int codefrom(FuzzBytes& in) {
    const uint8_t b = in.byte();
    switch (b) {
    case 0xF8:
        return in.byte();
    case 0xF9:
        return 0x100 + in.byte();
    case 0xFA:
        return static_cast<Int>(in.word() % 0x110000);
    case 0xFB:
        return static_cast<int32_t>(in.word());
    case 0xFC:
        return -1 - in.byte();
    default:
        return b;
    }
}

void check() {
    const t_Window& w = t_WindowTable[window];
    const Int length = charactercount(w.InputString);
    if (w.InputMaxCharacters >= 0 && length > w.InputMaxCharacters) __builtin_trap();
    if (w.InputHpos + length >= w.TextLastColumn + 1) __builtin_trap();
    if (w.InputCursorPos < 0 || w.InputCursorPos > length) __builtin_trap();
    fuzzwindow::checkcursor();
}

} // namespace

int fuzzinput(const uint8_t* data, size_t size) {
    FuzzBytes in{data, size};
    const Int depth = fuzzwindow::depths[in.byte() % 6];
    const Int columns = 8 + in.byte() % 32, rows = 8 + in.byte() % 4;
    fuzzwindow::open(depth, columns * 4, rows * 4, fuzzwindow::font(4, 4));
    testsupport::clearkeys();
    t_Window& w = t_WindowTable[window];
    const Int first = 1 + in.byte() % columns, firstLine = 1 + in.byte() % rows;
    t_Area(window, first, firstLine, first + in.byte() % columns, firstLine + in.byte() % rows);

    const uint8_t mode = in.byte() % 6;
    w.InputMode = mode < 5 ? mode : static_cast<int8_t>(in.byte());
    w.InputMaxCharacters = static_cast<int8_t>(in.byte());
    w.InputHpos = w.TextFirstColumn + in.byte() % (w.TextLastColumn - w.TextFirstColumn + 1);
    w.InputVpos = w.TextFirstLine + in.byte() % (w.TextLastLine - w.TextFirstLine + 1);
    w.InputString.clear();
    w.InputCursorPos = 0;
    check();

    {
        const fuzzwindow::Fence fence;
        while (in.more()) {
            const Int code = codefrom(in);
            if (code == 30) queuecompose(in);
            t_InputEdit(window, code);
            check();
            fence.check();
        }
    }
    testsupport::clearkeys();
    return 0;
}
