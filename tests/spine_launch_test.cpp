#include "spine_standin.h"

#include "application/application.h"
#include "library/library.h"
#include "shell/platform.h"

#include <gtest/gtest.h>

#include <atomic>
#include <pthread.h>

namespace {

using Lines = std::vector<std::string>;

std::shared_ptr<standin::Screen> pasteboardscreen(double frameHeight, double scrollHeight) {
    auto screen = std::make_shared<standin::Screen>();
    screen->frame[8] = {100, 200, 500, frameHeight};
    screen->scrollFrame[8] = {10, 10, 480, scrollHeight};
    return standin::install(screen);
}

TEST(SpineLaunch, LaunchLogsItsStepsInOrderAndStartsTheProgramOnAGigabyteStack) {
    pasteboardscreen(300.9, 250);
    t_TitleBarHeight = 0;
    standin::LogCapture log;
    std::atomic<bool> ran{false};
    std::atomic<size_t> stack{0};
    std::atomic<bool> onMainAtStart{true};
    auto program = [&] {
        pthread_attr_t attributes;
        size_t size = 0;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getstacksize(&attributes, &size);
        pthread_attr_destroy(&attributes);
        stack = size;
        onMainAtStart = ismainthread();
        ran = true;
    };
    ASSERT_TRUE(standin::onmain([&] {
        applicationWillFinishLaunching();
        applicationDidFinishLaunching(program);
    }));
    ASSERT_TRUE(standin::waitfor([&] { return ran.load(); }));
    EXPECT_EQ(log.lines(),
              (Lines{"applicationWillFinishLaunching: Called.", "applicationDidFinishLaunching: Start.",
                     "initkbtools: Start.", "initkbtools: End.", "Program: Start.",
                     "applicationDidFinishLaunching: End."}));
    // 300.9 - 250 - 20, cut toward zero.
    EXPECT_EQ(t_TitleBarHeight.load(), 30);
    EXPECT_GE(stack.load(), size_t(0x40000000));
    EXPECT_FALSE(onMainAtStart.load());
    EXPECT_EQ(t_HexValue['a'], 10);

    char name[32] = {};
    ASSERT_TRUE(standin::onmain([&] { pthread_getname_np(pthread_self(), name, sizeof name); }));
    EXPECT_STREQ(name, "AppDelegate");
}

TEST(SpineLaunch, MissingPasteboardWindowLeavesTheTitleHeightAtZeroAndSaysSo) {
    auto screen = pasteboardscreen(300, 250);
    screen->window[8] = false;
    t_TitleBarHeight = 0;
    standin::LogCapture log;
    std::atomic<bool> ran{false};
    ASSERT_TRUE(standin::onmain([&] { applicationDidFinishLaunching([&] { ran = true; }); }));
    ASSERT_TRUE(standin::waitfor([&] { return ran.load(); }));
    EXPECT_EQ(t_TitleBarHeight.load(), 0);
    Lines lines = log.lines();
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_EQ(lines[2], "initkbtools: End.");
    EXPECT_EQ(lines[3],
              "applicationDidFinishLaunching: Pasteboard window missing, title bar height stays 0.");
    EXPECT_EQ(lines[4], "Program: Start.");
}

TEST(SpineRun, DataFileLiesBesideTheApplicationAndIsWorkedOutOnce) {
    DataFilePath.clear();
    setbundlepath("/srv/spiele/Seelenorakel.app");
    EXPECT_EQ(datafilepath(), "/srv/spiele/Seelenorakel-Daten.txt");
    setbundlepath("/elsewhere/Seelenorakel.app");
    EXPECT_EQ(datafilepath(), "/srv/spiele/Seelenorakel-Daten.txt");
    setbundlepath("");
    DataFilePath.clear();
}

TEST(SpineRun, PasteboardCallsFromTheProgramThreadRunOnTheMainThread) {
    auto screen = standin::install();
    std::atomic<bool> ran{false};
    std::string readBack;
    startprocess(
        [&] {
            setpasteboardstring("Bericht\rZeile 2");
            readBack = pasteboardstring();
            setpasteboardstring("");
            ran = true;
        },
        16 << 20);
    ASSERT_TRUE(standin::waitfor([&] { return ran.load(); }));
    EXPECT_EQ(readBack, "Bericht\rZeile 2");
    EXPECT_EQ(screen->pasteboardCalls, (Lines{"clear", "set Bericht\rZeile 2", "clear", "set "}));
    EXPECT_TRUE(screen->allonmain());
}

} // namespace
