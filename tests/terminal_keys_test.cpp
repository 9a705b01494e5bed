// Reading keys on the program thread: the wait with its cursor, the output pause and the yes/no question.
#include "terminal_fixture.h"

#include "shell/events.h"

#include <thread>

namespace {

using namespace termtest;

constexpr uint8_t win = 2;

class Keys : public TerminalTest {
  protected:
    void SetUp() override {
        TerminalTest::SetUp();
        while (t_NextEvent() != -1) {} // an empty queue
        makewindow(win, 24, 10, 8);
        quietly([] { t_Print(win, "ab"); });
    }
    // A key as a view hands it over; with a key code below 255 and the control flag, Ctrl-S.
    static void typed(const std::string& characters, Int keyCode = 255, uint64_t flags = 0) {
        t_KeyEventHandler(win, t_PlatformKey{keyCode, characters, flags});
    }
    // Until the program thread has been through this many more polls of a wait.
    static bool polled(Int more) {
        const Int from = t_KeyWaitPolls.load();
        return standin::waitfor([&] { return t_KeyWaitPolls.load() >= from + more; });
    }
};

TEST_F(Keys, WaitingShowsTheCursorUntilAKeyComes) {
    std::string got;
    t_CursorLeft(win); // on the "b"
    const std::vector<uint8_t> before = graphicblock(win);
    std::thread program([&] { got = t_WaitKey(win); });
    ASSERT_TRUE(polled(2));
    EXPECT_NE(graphicblock(win), before) << "no inverted cell while waiting";
    typed("ä");
    program.join();
    EXPECT_EQ(got, "ä");
    EXPECT_EQ(graphicblock(win), before);
    EXPECT_EQ(t_NextEvent(), -1);
}

// Ctrl-S typed while output runs: printing stops at the next check, the keys typed before it are lost,
// the key (or menu choice) that ends the pause is used up, and the one after it is read.
TEST_F(Keys, AKeyTypedWhileOutputIsPausedResumesItAndIsNotDelivered) {
    for (bool menu : {false, true}) {
        typed("x");
        typed("\x13", 1, t_ModControl);
        std::atomic<bool> printed{false};
        std::thread program([&] { t_Print(win, "cd"), printed = true; });
        ASSERT_TRUE(polled(3));
        EXPECT_FALSE(printed.load());
        EXPECT_TRUE(([] { return std::scoped_lock(t_KeyQueueLock), t_KeyQueue.empty(); }())); // x is lost
        EXPECT_EQ(t_GetScreen(win, "\r"), menu ? "abcdcd" : "abcd"); // the check comes after the text
        menu ? void(t_MenuQueueSize++) : typed("y");
        program.join();
        typed("z");
        EXPECT_EQ(t_WaitKey(win), "z");
    }
}

TEST_F(Keys, YesNoQuestionByItsTable) {
    const struct {
        std::string key;
        Int fallback, result;
        const char* echo;
    } rows[] = {
        {"\r", 1, 1, "J"}, {"\r", 0, 0, "N"}, {" ", -5, -5, "N"}, {"\x1b", 1, -1, "N"}, {"J", 0, 1, "J"},
        {"y", 0, 1, "J"},  {"n", 1, 0, "N"},  {"N", 1, 0, "N"},   {"ä", 1, -2, "N"},    {"j", 0, 1, ""},
    };
    for (const auto& row : rows) {
        quietly([] { t_Print(win, "\fJa?Q\b"); });
        typed(row.key);
        EXPECT_EQ(t_InputYesNo(win, row.fallback, *row.echo != 0), row.result) << row.key;
        // The cell under the cursor was cleared, then the answer's letter put there; without echo, nothing.
        EXPECT_EQ(t_GetScreen(win, "\r"), std::string("Ja?") + (*row.echo ? row.echo : "Q")) << row.key;
    }
}

} // namespace
