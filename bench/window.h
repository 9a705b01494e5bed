// The run's window 0 for benches: a platform whose every thread is the main thread, and the window in the
// run's font (a made-up font of the same size if the bundle has not been built).
#pragma once

#include "display/display.h"
#include "shell/platform.h"
#include "shell/shell.h"
#include "terminal/terminal.h"
#include "tests/cellfont.h"
#include "tests/testsupport.h"

#include <cstdio>
#include <string>

namespace benchwindow {

constexpr uint8_t window = 0;

// A platform whose every thread is the main thread and whose windows are tokens.
inline void installplatform() {
    static char tokens[16];
    t_PlatformPort port;
    port.IsMainThread = [] { return true; };
    port.Window = [](uint8_t n) -> t_Handle { return n <= 12 ? &tokens[n] : nullptr; };
    port.View = [](uint8_t n) -> t_Handle { return n <= 7 ? &tokens[n] : nullptr; };
    setplatformport(port);
}

// The run's window in the run's font; a window of the same size with a made-up font if the bundle has
// not been built.
inline void makewindow() {
    t_DebugLevel = 0;
    t_AutoUpdateRunning = true; // no refresh process in a measurement
    setbundlepath(testsupport::builtbundle());
    t_InitWindow(window, 24, 80, 25, 16, "MenloRegular 16x32.font");
    if (!t_WindowTable[window].Initialized) {
        std::fprintf(stderr, "bench: no built font, printing with a made-up one\n");
        t_InitWindow(window, 24, true, 1280, 800, 16, 16, cellfont(16, 32), true);
    }
    t_Color(window, 13);
}

} // namespace benchwindow
