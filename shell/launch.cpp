// The launch: the steps the host calls before and inside its event loop, the title bar measured, and the
// program routine the host hands over started on a thread of its own with a large stack.
#include "library/library.h"
#include "shell/platform.h"
#include "shell/shell.h"

#include <cmath>

namespace {

// The pasteboard window's scroll view sits 10 points from the content's edges, so the frame height less
// the scroll view's height less 20 is the bar above the content.
void measuretitlebar() {
    t_RunOnMainThread([] {
        const t_PlatformPort& port = platformport();
        if (!port.ScrollView(8) || !port.Window(8)) {
            debuglog("applicationDidFinishLaunching: Pasteboard window missing, title bar height stays 0.");
            return;
        }
        double height = port.WindowFrame(8).Height - port.ScrollViewFrame(8).Height - 20.0;
        t_TitleBarHeight.store(static_cast<int64_t>(std::trunc(height)));
    });
}

} // namespace

void applicationWillFinishLaunching() {
    debuglog("applicationWillFinishLaunching: Called.");
    if (threadnumber() == 1) setthreadname("AppDelegate");
}

void applicationDidFinishLaunching(const std::function<void()>& program) {
    debuglog("applicationDidFinishLaunching: Start.");
    initkbtools();
    measuretitlebar();
    debuglog("Program: Start.");
    startprocess(program, 0x40000000);
    debuglog("applicationDidFinishLaunching: End.");
}
