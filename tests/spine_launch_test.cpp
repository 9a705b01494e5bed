// The launch, the program's threads, the crossings to the main thread, the quit and the log.
#include "window_recorder.h"

#include "application/application.h"
#include "library/library.h"

#include <pthread.h>

namespace {

using namespace std::chrono_literals;
using Lines = std::vector<std::string>;

size_t ownstacksize() {
    pthread_attr_t attributes;
    size_t size = 0;
    pthread_getattr_np(pthread_self(), &attributes);
    pthread_attr_getstacksize(&attributes, &size);
    pthread_attr_destroy(&attributes);
    return size;
}

TEST(SpineLaunch, LaunchLogsItsStepsMeasuresTheTitleBarAndStartsTheProgramOnAGigabyteStack) {
    const std::string missing =
        "applicationDidFinishLaunching: Pasteboard window missing, title bar height stays 0.";
    for (bool pasteboard : {true, false}) {
        SCOPED_TRACE(pasteboard ? "pasteboard window there" : "pasteboard window missing");
        auto screen = std::make_shared<standin::Screen>();
        screen->frame[8] = {100, 200, 500, 300.9};
        screen->scrollFrame[8] = {10, 10, 480, 250};
        screen->window[8] = pasteboard;
        standin::install(screen);
        t_TitleBarHeight = 0;
        standin::LogCapture log;
        std::atomic<size_t> stack{0};
        std::atomic<bool> onMain{true};
        ASSERT_TRUE(standin::onmain([&] {
            applicationWillFinishLaunching();
            applicationDidFinishLaunching([&] {
                onMain = ismainthread();
                stack = ownstacksize();
            });
        }));
        ASSERT_TRUE(standin::waitfor([&] { return stack.load() != 0; }));
        Lines expected = {"applicationWillFinishLaunching: Called.",
                          "applicationDidFinishLaunching: Start.",
                          "initkbtools: Start.",
                          "initkbtools: End.",
                          "Program: Start.",
                          "applicationDidFinishLaunching: End."};
        if (!pasteboard) expected.insert(expected.begin() + 4, missing);
        EXPECT_EQ(log.lines(), expected);
        EXPECT_EQ(t_TitleBarHeight.load(), pasteboard ? 30 : 0); // 300.9 - 250 - 20, cut toward zero
        EXPECT_GE(stack.load(), size_t(0x40000000));
        EXPECT_FALSE(onMain.load());
    }
    EXPECT_EQ(t_HexValue['a'], 10);
    char name[32] = {};
    ASSERT_TRUE(standin::onmain([&] { pthread_getname_np(pthread_self(), name, sizeof name); }));
    EXPECT_STREQ(name, "AppDelegate");
    // Names are cut to what Linux keeps, never inside a character.
    for (auto [given, kept] : {std::pair{"t_WindowAutoUpdate", "t_WindowAutoUpd"},
                               {"Antwortfensterübersicht", "Antwortfenster"}}) {
        std::thread([&] {
            setthreadname(given);
            pthread_getname_np(pthread_self(), name, sizeof name);
        }).join();
        EXPECT_STREQ(name, kept);
    }
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

TEST(SpineThreads, CallsCrossToTheMainThreadOnlyFromOtherThreadsAndThePasteboardLivesThere) {
    auto screen = standin::install();
    std::thread::id ranOn, nestedOn;
    t_RunOnMainThread([&] { ranOn = std::this_thread::get_id(); });
    EXPECT_EQ(ranOn, standin::mainthread().id);
    EXPECT_EQ(screen->syncCrossings.load(), 1);
    // On the main thread the block runs at once, as does startprocess: a hand-over to itself never returns.
    std::atomic<size_t> stack{0};
    ASSERT_TRUE(standin::onmain([&] {
        t_RunOnMainThread([&] { nestedOn = std::this_thread::get_id(); });
        startprocess([&] { stack = ownstacksize(); }, 16 << 20);
    })) << "deadlock";
    EXPECT_EQ(nestedOn, standin::mainthread().id);
    ASSERT_TRUE(standin::waitfor([&] { return stack.load() != 0; }));
    EXPECT_EQ(screen->syncCrossings.load(), 1);

    std::atomic<bool> ran{false};
    std::string readBack;
    startprocess(
        [&] {
            setpasteboardstring("Bericht\rZeile 2");
            setpasteboardstring("Bericht für Anna");
            readBack = pasteboardstring();
            ran = true;
        },
        16 << 20);
    ASSERT_TRUE(standin::waitfor([&] { return ran.load(); }));
    EXPECT_EQ(readBack, "Bericht für Anna");
    EXPECT_FALSE(screen->offMain.load());
}

TEST(SpineThreads, StartProcessFromSeveralThreadsAtOnceKeepsEveryFunctionAndStack) {
    auto screen = standin::install();
    const int64_t sizes[] = {2 << 20, 128 << 20, 1 << 30};
    std::atomic<size_t> stacks[3] = {};
    std::vector<std::thread> callers;
    for (int i = 0; i < 3; ++i)
        callers.emplace_back([&, i] { startprocess([&, i] { stacks[i] = ownstacksize(); }, sizes[i]); });
    for (auto& caller : callers) caller.join();
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(standin::waitfor([&] { return stacks[i].load() != 0; })) << i;
        // The C library may hand out a cached stack somewhat larger than asked for, never a smaller one.
        EXPECT_GE(stacks[i].load(), size_t(sizes[i])) << i;
        EXPECT_LE(stacks[i].load(), 4 * size_t(sizes[i])) << i;
    }
    EXPECT_FALSE(StartProcessPending.load());
    EXPECT_EQ(screen->syncCrossings.load(), 3);
}

TEST(SpineThreads, CallAsynchronouslyGivesEveryCallAThreadOfItsOwn) {
    // The first never returns while the test runs, as the refresh process never does; the others still run.
    std::atomic<bool> release{false};
    std::atomic<int> done{0};
    callasynchronously([&] {
        while (!release.load()) std::this_thread::sleep_for(1ms);
        ++done;
    });
    for (int i = 0; i < 3; ++i) callasynchronously([&] { ++done; });
    EXPECT_TRUE(standin::waitfor([&] { return done.load() == 3; }));
    release = true;
    ASSERT_TRUE(standin::waitfor([&] { return done.load() == 4; }));
}

TEST(SpineThreads, QuitProgramEndsOnlyItsThreadAndMainStaysResponsive) {
    for (bool window : {true, false}) {
        SCOPED_TRACE(window ? "window 0 there" : "window 0 missing");
        auto screen = std::make_shared<standin::Screen>();
        screen->window[0] = screen->view[0] = window;
        standin::install(screen);
        windowtest::blankmemory();
        standin::LogCapture log;
        std::atomic<bool> unwound{false}, pastQuit{false};
        startprocess(
            [&] {
                std::shared_ptr<void> mark(nullptr,
                                           [&](void*) { unwound = true; }); // set as the stack unwinds
                t_QuitProgram(0);
                pastQuit = true;
            },
            16 << 20);
        ASSERT_TRUE(standin::waitfor([&] { return unwound.load(); }));
        EXPECT_FALSE(pastQuit.load());
        // Window 0 has no record here: the text routines log their refusals between the pieces of the line.
        const Lines lines = log.lines();
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.front().rfind("t_QuitProgram: Quitting current thread", 0), 0u);
        EXPECT_EQ(lines.back(),
                  window ? " with message in window #0." : "t_QuitProgram: Quitting current thread.");
        EXPECT_TRUE(standin::onmain([] {}, 2s));
    }
}

TEST(SpineLog, PiecesFormOneLineThreadsNeverShareOneAndLevelZeroIsSilent) {
    testsupport::LogCapture log;
    debuglogpart("t_QuitProgram: Quitting current thread");
    debuglogpart(" with message in window #0");
    debuglog(".");
    t_DebugLevel = 0;
    debuglog("hidden");
    debuglogpart("hidden too");
    t_DebugLevel = 1;
    debuglog("shown");
    EXPECT_EQ(log.lines,
              (Lines{"t_QuitProgram: Quitting current thread with message in window #0.", "shown"}));
    log.lines.clear();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t] {
            for (int i = 0; i < 500; ++i) {
                debuglogpart("thread ");
                debuglogpart(std::to_string(t));
                debuglog(" line");
            }
        });
    for (auto& th : threads) th.join();
    ASSERT_EQ(log.lines.size(), 2000u);
    for (const auto& line : log.lines)
        ASSERT_TRUE(line.size() == 13 && line.rfind("thread ", 0) == 0) << line;
}

} // namespace
