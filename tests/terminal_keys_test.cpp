// Reading keys on the program thread: the wait with its cursor, the order of a flood of keys from two
// producers, the output pause and the yes/no question.
#include "terminal_fixture.h"

#include "library/library.h"
#include "shell/events.h"

#include <atomic>
#include <thread>

namespace {

using namespace termtest;
using namespace std::chrono_literals;

constexpr uint8_t win = 2;

void clearkeys() {
    std::lock_guard<std::mutex> lock(t_KeyQueueLock);
    t_KeyQueue.clear();
    t_KeyEventPending = false;
}

void queue(Int value) {
    t_Event e;
    e.Kind = 1;
    e.Value = value;
    std::lock_guard<std::mutex> lock(t_KeyQueueLock);
    t_KeyQueue.push_back(e);
    t_KeyEventPending = true;
}

// A key as a view hands it over.
void typed(const std::string& characters, Int keyCode = 255, uint64_t flags = 0) {
    t_KeyEventHandler(win, t_PlatformKey{keyCode, characters, flags});
}

void pausekey() {
    typed("\x13", 1, t_ModControl);
}

size_t queued() {
    std::lock_guard<std::mutex> lock(t_KeyQueueLock);
    return t_KeyQueue.size();
}

// Until the program thread has been through this many more polls of a wait.
bool polled(Int more) {
    const Int from = t_KeyWaitPolls.load();
    return standin::waitfor([&] { return t_KeyWaitPolls.load() >= from + more; });
}

class Keys : public TerminalTest {
  protected:
    void SetUp() override {
        TerminalTest::SetUp();
        clearkeys();
        makewindow(win, 24, 10, 8);
        quietly([] { t_Print(win, "ab"); });
    }
    void TearDown() override {
        clearkeys();
        TerminalTest::TearDown();
    }
};

TEST_F(Keys, QueuedKeysComeAtOnceAndEventsWithoutACharacterAreSkipped) {
    const std::vector<uint8_t> before = graphicblock(win);
    typed("x");
    EXPECT_EQ(t_WaitKey(win), "x");
    EXPECT_EQ(graphicblock(win), before);
    EXPECT_EQ(t_CurrentEvent.Value, 'x');
    // Negative values are skipped; values that are no Unicode scalar read as zero.
    for (Int value : {-1, 0xD800, 0x110000, -7, 0xE4}) queue(value);
    EXPECT_EQ(t_WaitKey(win), std::string(1, '\0'));
    EXPECT_EQ(t_WaitKey(win), std::string(1, '\0'));
    EXPECT_EQ(t_WaitKey(win), "ä");
    EXPECT_EQ(queued(), 0u);
    EXPECT_EQ(record(win).TextCursorLevel, 0);
    // t_NextEvent takes the oldest event whatever it is, or gives -1.
    queue(5);
    queue(-6);
    EXPECT_EQ(t_NextEvent(), 5);
    EXPECT_EQ(t_NextEvent(), -6);
    EXPECT_EQ(t_CurrentEvent.Value, -6);
    EXPECT_EQ(t_NextEvent(), -1);
    EXPECT_FALSE(t_KeyEventPending.load());
}

TEST_F(Keys, WaitingShowsTheCursorUntilTheKeyComesAndThenTakesItAway) {
    t_CursorLeft(win); // on the "b"
    const std::vector<uint8_t> before = graphicblock(win);
    std::string got;
    std::thread program([&] { got = t_WaitKey(win); });
    ASSERT_TRUE(polled(2));
    EXPECT_EQ(record(win).TextCursorLevel, 1);
    EXPECT_NE(graphicblock(win), before) << "no inverted cell while waiting";
    typed("q");
    program.join();
    EXPECT_EQ(got, "q");
    EXPECT_EQ(record(win).TextCursorLevel, 0);
    EXPECT_EQ(graphicblock(win), before);
}

// The views and a paste fill the queue at the same time while the program reads: each producer's keys
// arrive whole and in their order. Values 129 and up come from the function key range, one per key.
TEST_F(Keys, TwoProducersAndAReaderLoseNothing) {
    constexpr Int each = 50000;
    std::string pasted;
    for (Int i = 0; i < each; ++i) pasted += static_cast<char>('a' + i % 26);
    std::thread views([&] {
        for (Int i = 0; i < each; ++i) typed(stringfromscalar(0xF704 + i));
    });
    std::thread paste([&] {
        for (Int i = 0; i < each; i += 1000) t_PostKeyString(std::string_view(pasted).substr(i, 1000));
    });
    Int fromViews = 0, fromPaste = 0, wrong = 0;
    for (Int i = 0; i < 2 * each; ++i) {
        t_WaitKey(win);
        const t_Event& e = t_CurrentEvent;
        if (e.Window == win) {
            wrong += e.Value != 129 + fromViews || e.Description != stringfromscalar(0xF704 + fromViews);
            ++fromViews;
        } else {
            wrong += e.Window != 1 || e.Index != 0 || e.Value != pasted[static_cast<size_t>(fromPaste++)];
        }
    }
    views.join();
    paste.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(fromViews, each);
    EXPECT_EQ(fromPaste, each);
    EXPECT_EQ(queued(), 0u);
}

// Ctrl-S typed while output runs: printing stops at the next check, the keys typed before it are lost,
// the key that ends the pause is used up, and the one after it is read.
TEST_F(Keys, AKeyTypedWhileOutputIsPausedResumesItAndIsNotDelivered) {
    typed("x");
    pausekey();
    std::atomic<bool> printed{false};
    std::thread program([&] {
        t_Print(win, "cd");
        printed = true;
    });
    ASSERT_TRUE(polled(3));
    EXPECT_FALSE(printed.load());
    EXPECT_EQ(queued(), 0u);
    EXPECT_EQ(t_GetScreen(win, "|").substr(0, 4), "abcd"); // the check comes after the text
    typed("y");
    program.join();
    EXPECT_EQ(queued(), 0u);
    EXPECT_EQ(t_CurrentEvent.Value, 'y');
    typed("z");
    EXPECT_EQ(t_WaitKey(win), "z");
    // A menu choice ends the pause too, and no key is taken.
    pausekey();
    printed = false;
    program = std::thread([&] {
        t_Print(win, "cd");
        printed = true;
    });
    ASSERT_TRUE(polled(2));
    EXPECT_FALSE(printed.load());
    t_MenuQueueSize++;
    program.join();
    typed("m");
    EXPECT_EQ(t_WaitKey(win), "m");
}

TEST_F(Keys, OnlyThePauseKeyAsTheNewestKeyPauses) {
    pausekey();
    typed("a");
    std::atomic<bool> printed{false};
    std::thread program([&] {
        t_Print(win, "cd");
        t_Cr(win);
        printed = true;
    });
    ASSERT_TRUE(standin::waitfor([&] { return printed.load(); }, 2s)) << "output paused";
    program.join();
    EXPECT_EQ(t_WaitKey(win), "\x13");
    EXPECT_EQ(t_WaitKey(win), "a");
    // Asked without waiting, the pause drops the keys and returns.
    EXPECT_FALSE(t_CheckPause(19, false));
    typed("a");
    pausekey();
    EXPECT_TRUE(t_CheckPause(19, false));
    EXPECT_EQ(queued(), 0u);
    EXPECT_FALSE(t_CheckPause(19, false));
}

TEST_F(Keys, YesNoQuestionByItsTable) {
    struct Case {
        std::string key;
        Int fallback;
        Int result;
        const char* echo;
    } cases[] = {
        {"\r", 1, 1, "J"}, {"\r", 0, 0, "N"}, {" ", 1, 1, "J"},  {" ", -5, -5, "N"}, {"\x1b", 1, -1, "N"},
        {"j", 0, 1, "J"},  {"J", 0, 1, "J"},  {"y", 0, 1, "J"},  {"Y", 0, 1, "J"},   {"n", 1, 0, "N"},
        {"N", 1, 0, "N"},  {"x", 1, -2, "N"}, {"ä", 1, -2, "N"}, {"?", 1, -2, "N"},
    };
    for (const Case& c : cases) {
        quietly([] {
            t_Print(win, "\x0c"
                         "Ja?Q");
            t_CursorLeft(win);
        });
        typed(c.key);
        EXPECT_EQ(t_InputYesNo(win, c.fallback, true), c.result) << c.key;
        // The cell under the cursor was cleared, then the answer's letter put there.
        EXPECT_EQ(t_GetScreen(win, "\r"), std::string("Ja?") + c.echo) << c.key;
    }
    // Without echo nothing is printed.
    typed("j");
    EXPECT_EQ(t_InputYesNo(win, 0, false), 1);
    EXPECT_EQ(t_GetScreen(win, "\r"), "Ja?N");
}

} // namespace
