// The launch: its log, the title bar measured, and the program started on a thread of its own.
#include "window_recorder.h"

#include "application/application.h"

#include <pthread.h>

namespace {

TEST(SpineLaunch, LaunchLogsItsStepsMeasuresTheTitleBarAndStartsTheProgramOnAGigabyteStack) {
    for (bool pasteboard : {true, false}) {
        SCOPED_TRACE(pasteboard ? "pasteboard window there" : "pasteboard window missing");
        auto screen = std::make_shared<standin::Screen>();
        screen->frame[8] = {100, 200, 500, 300.9};
        screen->scrollFrame[8] = {10, 10, 480, 250};
        screen->window[8] = pasteboard;
        standin::install(screen);
        t_TitleBarHeight = 0;
        standin::LogCapture log;
        std::promise<std::pair<size_t, bool>>
            program; // its stack's size, and whether it runs on the main thread
        ASSERT_TRUE(standin::onmain([&] {
            applicationWillFinishLaunching();
            applicationDidFinishLaunching([&] {
                pthread_attr_t attributes;
                size_t size = 0;
                pthread_getattr_np(pthread_self(), &attributes);
                pthread_attr_getstacksize(&attributes, &size);
                pthread_attr_destroy(&attributes);
                program.set_value({size, ismainthread()});
            });
        }));
        std::future<std::pair<size_t, bool>> ran = program.get_future();
        ASSERT_EQ(ran.wait_for(std::chrono::seconds(10)), std::future_status::ready);
        const auto [stack, onMain] = ran.get();
        std::string lines;
        for (const std::string& line : log.lines()) lines += line + "|";
        const std::string missing =
            "applicationDidFinishLaunching: Pasteboard window missing, title bar height stays 0.|";
        EXPECT_EQ(lines, "applicationWillFinishLaunching: Called.|applicationDidFinishLaunching: Start.|"
                         "initkbtools: Start.|initkbtools: End.|" +
                             (pasteboard ? "" : missing) +
                             "Program: Start.|applicationDidFinishLaunching: End.|");
        EXPECT_EQ(t_TitleBarHeight.load(), pasteboard ? 30 : 0); // 300.9 - 250 - 20, cut toward zero
        EXPECT_GE(stack, size_t(0x40000000));
        EXPECT_FALSE(onMain);
    }
}

} // namespace
