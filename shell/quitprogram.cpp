// The end of the program: "(Programm Ende)" in its window, then only the program thread ends, so that
// the windows stay until the application is quit. A coverage build writes its counts from here too.
#include "display/display.h"
#include "shell/platform.h"
#include "shell/shell.h"
#include "terminal/terminal.h"

#include <cerrno>
#include <ctime>
#include <pthread.h>

void t_QuitProgram(uint8_t window) {
    debuglogpart("t_QuitProgram: Quitting current thread");
    if (t_WindowHandle(window)) {
        t_FullArea(window);
        t_CursorEnd(window);
        t_Htab(window, 1);
        t_DisplayMode(window, 0);
        t_Normal(window);
        t_Color(window, 1);
        t_Print(window, "(Programm Ende)");
        t_WindowUpdate(window, false);
        timespec t{0, 100000000};
        while (nanosleep(&t, &t) != 0 && errno == EINTR) {}
        debuglogpart(" with message in window #" + std::to_string(window));
    }
    debuglog(".");
    if (ismainthread()) {
        // Ending the main thread would leave windows that nobody serves: end the process instead.
        debuglog("t_QuitProgram: Called on the main thread, quitting the application.");
        platformport().Terminate();
    }
    // Unwinds this thread's stack (destructors run) and ends only this thread.
    pthread_exit(nullptr);
}

#ifdef SEELENORAKEL_COVERAGE
extern "C" void __gcov_dump();
void writecoverage() {
    __gcov_dump();
}
#else
void writecoverage() {}
#endif
