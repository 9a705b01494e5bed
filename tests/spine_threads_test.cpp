#include "spine_standin.h"

#include "shell/platform.h"
#include "shell/shell.h"

#include <gtest/gtest.h>

#include <atomic>
#include <pthread.h>
#include <set>

namespace {

using namespace std::chrono_literals;

struct ThreadFacts {
    std::atomic<bool> ran{false};
    size_t stackSize = 0;
    int64_t number = -1;
    std::thread::id id;
};

// Reads the stack the running thread was given.
size_t ownstacksize() {
    pthread_attr_t attributes;
    size_t size = 0;
    if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
        pthread_attr_getstacksize(&attributes, &size);
        pthread_attr_destroy(&attributes);
    }
    return size;
}

// The C library may hand a thread a cached stack somewhat larger than asked for, never a smaller one
// and never more than four times the size.
bool stackfits(size_t got, int64_t asked) {
    return got >= size_t(asked) && got <= 4 * size_t(asked);
}

std::function<void()> recorder(ThreadFacts& facts) {
    return [&facts] {
        facts.stackSize = ownstacksize();
        facts.number = threadnumber();
        facts.id = std::this_thread::get_id();
        facts.ran.store(true);
    };
}

class SpineThreads : public ::testing::Test {
  protected:
    void SetUp() override { screen = standin::install(); }
    std::shared_ptr<standin::Screen> screen;
};

TEST_F(SpineThreads, RunOnMainThreadCrossesFromOtherThreadsAndRunsInlineOnMain) {
    std::thread::id ranOn;
    int value = 0;
    t_RunOnMainThread([&] {
        ranOn = std::this_thread::get_id();
        value = 42;
    });
    // The caller stood still until the block had run.
    EXPECT_EQ(value, 42);
    EXPECT_EQ(ranOn, standin::mainthread().id);
    EXPECT_EQ(screen->syncCrossings, 1);

    // On the main thread itself the block runs at once; a hand-over to itself would never return.
    std::thread::id nestedOn;
    bool finished =
        standin::onmain([&] { t_RunOnMainThread([&] { nestedOn = std::this_thread::get_id(); }); });
    ASSERT_TRUE(finished) << "t_RunOnMainThread on the main thread deadlocked";
    EXPECT_EQ(nestedOn, standin::mainthread().id);
    EXPECT_EQ(screen->syncCrossings, 1);
}

TEST_F(SpineThreads, TwoStartProcessCallsInQuickSuccessionKeepBothFunctionsAndStacks) {
    ThreadFacts first, second;
    startprocess(recorder(first), 0x40000000);
    startprocess(recorder(second), 64 << 20);
    ASSERT_TRUE(standin::waitfor([&] { return first.ran.load() && second.ran.load(); }));
    EXPECT_TRUE(stackfits(first.stackSize, 0x40000000)) << first.stackSize;
    EXPECT_TRUE(stackfits(second.stackSize, 64 << 20)) << second.stackSize;
    EXPECT_NE(first.id, second.id);
    EXPECT_GE(first.number, 2);
    EXPECT_EQ(second.number, first.number + 1);
    EXPECT_FALSE(StartProcessPending.load());
    // From a thread other than the main thread, each thread is created on the main thread.
    EXPECT_EQ(screen->syncCrossings, 2);
}

TEST_F(SpineThreads, StartProcessFromSeveralThreadsAtOnceLosesNothing) {
    constexpr int count = 4;
    const int64_t sizes[count] = {2 << 20, 16 << 20, 128 << 20, 1 << 30};
    ThreadFacts facts[count];
    std::vector<std::thread> callers;
    for (int i = 0; i < count; ++i)
        callers.emplace_back([&, i] { startprocess(recorder(facts[i]), sizes[i]); });
    for (auto& caller : callers) caller.join();
    ASSERT_TRUE(standin::waitfor([&] {
        for (auto& f : facts)
            if (!f.ran.load()) return false;
        return true;
    }));
    for (int i = 0; i < count; ++i)
        EXPECT_TRUE(stackfits(facts[i].stackSize, sizes[i])) << i << " " << facts[i].stackSize;
}

TEST_F(SpineThreads, StartProcessOnTheMainThreadCreatesDirectly) {
    ThreadFacts facts;
    ASSERT_TRUE(standin::onmain([&] { startprocess(recorder(facts), 16 << 20); }));
    ASSERT_TRUE(standin::waitfor([&] { return facts.ran.load(); }));
    EXPECT_TRUE(stackfits(facts.stackSize, 16 << 20)) << facts.stackSize;
    EXPECT_EQ(screen->syncCrossings, 0);
}

TEST_F(SpineThreads, CallAsynchronouslyGivesEveryCallAThreadOfItsOwn) {
    // The first function never returns while the test runs, as the refresh process never does; the
    // others must still run.
    std::atomic<bool> release{false};
    std::atomic<int> done{0};
    std::atomic<int64_t> blockerNumber{-1};
    callasynchronously([&] {
        blockerNumber = threadnumber();
        while (!release.load()) std::this_thread::sleep_for(1ms);
        ++done;
    });
    std::atomic<int64_t> numbers[3] = {-1, -1, -1};
    for (int i = 0; i < 3; ++i)
        callasynchronously([&, i] {
            numbers[i] = threadnumber();
            ++done;
        });
    EXPECT_TRUE(standin::waitfor([&] { return done.load() == 3; }));
    release = true;
    ASSERT_TRUE(standin::waitfor([&] { return done.load() == 4; }));
    // Each pool thread has a number of its own above the program thread's.
    std::set<int64_t> distinct{blockerNumber.load()};
    for (auto& n : numbers) distinct.insert(n.load());
    EXPECT_EQ(distinct.size(), 4u);
    for (int64_t n : distinct) EXPECT_GE(n, 2);
}

struct UnwindMark {
    std::atomic<bool>& flag;
    ~UnwindMark() { flag = true; }
};

TEST_F(SpineThreads, QuitProgramEndsOnlyItsThreadAndMainStaysResponsive) {
    standin::LogCapture log;
    std::atomic<bool> unwound{false}, pastQuit{false};
    startprocess(
        [&] {
            UnwindMark mark{unwound};
            t_QuitProgram(0);
            pastQuit = true;
        },
        16 << 20);
    ASSERT_TRUE(standin::waitfor([&] { return unwound.load(); }));
    EXPECT_FALSE(pastQuit.load());
    // Window 0 has no record here, so the text routines that write the message log their refusals in
    // between the pieces of the quitting line.
    std::string all;
    for (const std::string& line : log.lines()) all += line + "\n";
    EXPECT_EQ(all.rfind("t_QuitProgram: Quitting current thread", 0), 0u) << all;
    EXPECT_NE(all.find(" with message in window #0.\n"), std::string::npos) << all;

    // The main thread goes on serving, and so does this thread.
    int served = 0;
    EXPECT_TRUE(standin::onmain([&] { served = 1; }, 2s));
    t_RunOnMainThread([&] { ++served; });
    EXPECT_EQ(served, 2);
}

TEST_F(SpineThreads, QuitProgramForAMissingWindowSkipsTheMessage) {
    screen->window[0] = false;
    screen->view[0] = false;
    standin::LogCapture log;
    std::atomic<bool> unwound{false};
    startprocess(
        [&] {
            UnwindMark mark{unwound};
            t_QuitProgram(0);
        },
        16 << 20);
    ASSERT_TRUE(standin::waitfor([&] { return unwound.load(); }));
    auto lines = log.lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "t_QuitProgram: Quitting current thread.");
}

TEST(SpineThreadNames, NamesAreCutToWhatLinuxKeeps) {
    char name[32] = {};
    std::thread([&] {
        setthreadname("t_WindowAutoUpdate");
        pthread_getname_np(pthread_self(), name, sizeof name);
    }).join();
    EXPECT_STREQ(name, "t_WindowAutoUpd");
    std::thread([&] {
        setthreadname("Main Program");
        pthread_getname_np(pthread_self(), name, sizeof name);
    }).join();
    EXPECT_STREQ(name, "Main Program");
}

} // namespace
