#include "shell/shell.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

using testsupport::LogCapture;

TEST(Log, PiecesFormOneLineAndLevelZeroIsSilent) {
    LogCapture log;
    debuglogpart("t_QuitProgram: Quitting current thread");
    debuglogpart(" with message in window #0");
    debuglog(".");
    t_DebugLevel = 0;
    debuglog("hidden");
    debuglogpart("hidden too");
    t_DebugLevel = 1;
    debuglog("shown");
    ASSERT_EQ(log.lines.size(), 2u);
    EXPECT_EQ(log.lines[0], "t_QuitProgram: Quitting current thread with message in window #0.");
    EXPECT_EQ(log.lines[1], "shown");
}

TEST(Log, ThreadsNeverShareALine) {
    LogCapture log;
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
    for (const auto& line : log.lines) {
        ASSERT_EQ(line.size(), std::string("thread 0 line").size()) << line;
        EXPECT_EQ(line.substr(0, 7), "thread ");
    }
}

TEST(ThreadNumber, OwnRegistryCountsOnlyOurThreads) {
    threadregistermain();
    EXPECT_EQ(threadnumber(), 1);
    int64_t foreign = -1, first = -1, second = -1;
    std::thread([&] { foreign = threadnumber(); }).join();
    std::thread([&] { first = threadregisternew(); }).join();
    std::thread([&] { second = threadregisternew(); }).join();
    EXPECT_EQ(foreign, 0);
    EXPECT_GE(first, 2);
    EXPECT_EQ(second, first + 1);
}

} // namespace
