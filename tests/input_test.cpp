// Line input: key sequences typed ahead into a form field and what the field then holds and shows.
#include "terminal_fixture.h"

#include "application/application.h"
#include "shell/events.h"
#include "testsupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

namespace {

using termtest::record;

constexpr uint8_t window = 0;

struct InputTest : termtest::TerminalTest {
    std::shared_ptr<standin::Screen> screen;
    void SetUp() override {
        TerminalTest::SetUp();
        initkbtools();
        screen = standin::install();
        makewindow(window, 24, 20, 8);
        clearqueue();
    }
    void TearDown() override {
        clearqueue();
        TerminalTest::TearDown();
    }
    static void clearqueue() {
        std::lock_guard<std::mutex> lock(t_KeyQueueLock);
        t_KeyQueue.clear();
        t_KeyEventPending = false;
    }
    // A form whose keys are queued already; Return comes once the field has taken them all and waits.
    static std::string formafterdrain(Int mode, Int maximum) {
        const Int polls = t_KeyWaitPolls.load();
        std::thread typist([polls] {
            while (t_KeyEventPending.load() || t_KeyWaitPolls.load() <= polls)
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            t_PostKeyString("\r");
        });
        const std::string result = t_InputForm(window, "", "", false, mode, maximum);
        typist.join();
        return result;
    }
    // The field's line as it stands on the screen, without the blanks at its end.
    static std::string line(Int y) {
        std::string text = t_GetScreen(window, "\n");
        std::string row;
        for (Int i = 1; i <= y; ++i) {
            const size_t cut = text.find('\n');
            row = text.substr(0, cut);
            text.erase(0, cut == std::string::npos ? text.size() : cut + 1);
        }
        return row.substr(0, row.find_last_not_of(' ') + 1);
    }
};

TEST_F(InputTest, KeySequencesEditAndFilterTheField) {
    struct Row {
        const char* name;
        Int mode, maximum, column;
        std::string defaultText, keys, result;
    };
    const Row rows[] = {
        {"plain text", 0, 80, 1, "", "Hallo\r", "Hallo"},
        {"cursor left, then insert", 0, 80, 1, "", "abc\x08\x08X\r", "aXbc"},
        {"start and end (A, E)", 0, 80, 1, "", "bc\001a\005d\r", "abcd"},
        {"up and down (K, J)", 0, 80, 1, "", "abc\x0bX\x0aY\r", "XabcY"},
        {"delete left twice", 0, 80, 1, "", "abcd\x7f\x7f\r", "ab"},
        {"forward delete at the start", 0, 80, 1, "", "abc\x01\x07\r", "bc"},
        {"delete left at 0 and right at the end change nothing", 0, 80, 1, "", "ab\x01\x7f\x05\x07\r", "ab"},
        {"delete everything left (X)", 0, 80, 1, "", "abcdef\x08\x08\x18\r", "ef"},
        {"clear (Z)", 0, 80, 1, "", "abc\x1aX\r", "X"},
        {"Esc cancels whatever was typed", 0, 80, 1, "vorher", "abc\x1b", ""},
        {"word left twice", 0, 80, 1, "", "eins zwei drei\x13\x13X\r", "eins Xzwei drei"},
        {"word right from the start", 0, 80, 1, "", "eins zwei\x01\x04Y\r", "eins Yzwei"},
        {"capacity", 0, 5, 1, "", "abcdefg\r", "abcde"},
        {"the area's last column", 0, 80, 12, "", "abcdefghijkl\r", "abcdefgh"},
        {"default cut to the maximum", 0, 3, 1, "abcdef", "\r", "abc"},
        {"maximum below 1 takes nothing", 0, 0, 1, "", "abc\r", ""},
        {"whole number", 2, 25, 1, "", "-12a3-\r", "-123"},
        {"real: exponent with sign", 3, 25, 1, "", "1e-5\r", "1e-5"},
        {"real: no sign in the middle", 3, 25, 1, "", "1-5\r", "15"},
        {"real: capital E, point as comma, one comma", 3, 25, 1, "", "1E5.2,3\r", "1e5,23"},
        {"real: a sign at the start even twice", 3, 25, 1, "", "-5\x01-\r", "--5"},
        {"digits with one hyphen, not first", 4, 25, 1, "", "-12-3-\r", "12-3"},
        {"compose 65 is A and eats the x", 0, 80, 1, "", "\03665xB\r", "AB"},
        {"compose 1 is refused outside mode 1", 0, 80, 1, "", "\0361xB\r", "B"},
        {"compose 1 in mode 1", 1, 80, 1, "", "\0361x\r", "\x01"},
        {"compose with no digit drops the key", 0, 80, 1, "", "\x1eqB\r", "B"},
        {"German letters count one each", 0, 4, 1, "", "Jürgen\r", "Jürg"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        t_CursorHome(window);
        t_ClearEndOfWindow(window);
        t_Vtab(window, 2);
        t_Htab(window, row.column);
        t_PostKeyString(row.keys);
        EXPECT_EQ(t_InputForm(window, "", row.defaultText, false, row.mode, row.maximum), row.result);
        // The field shows its text and nothing stale behind it, and Return or Esc moved to the next line.
        if (row.mode != 1) {
            EXPECT_EQ(line(2), std::string(static_cast<size_t>(row.column - 1), ' ') + row.result);
        }
        EXPECT_EQ(t_Vpos(window), 3);
        EXPECT_FALSE(t_KeyEventPending.load());
    }
}

TEST_F(InputTest, PromptShowOnlyAndPasteboard) {
    // Show only: prompt and cut default, no wait and no new line.
    t_Vtab(window, 1);
    t_Htab(window, 1);
    EXPECT_EQ(t_InputForm(window, "Name: ", "Karlheinz", true, 0, 4), "Karl");
    EXPECT_EQ(line(1), "Name: Karl");
    EXPECT_EQ(t_Vpos(window), 1);

    // Copy puts the field on the pasteboard with its escape groups turned back; in mode 1 such a group
    // can be composed.
    t_Vtab(window, 2);
    t_Htab(window, 1);
    t_PostKeyString("Grüße\03602720AC\036029\014\r");
    EXPECT_EQ(t_InputForm(window, "", "", false, 1, 80), "Grüße\03320AC\035");
    EXPECT_EQ(screen->pasteboard, "Grüße€");

    // Paste: the first line only, through the key queue and its filters.
    screen->pasteboard = "12a34\nzweite Zeile";
    t_PostKeyString("\x16");
    EXPECT_EQ(formafterdrain(2, 25), "1234");
    // A scalar above 255 arrives as ESC and cancels; its digits and GS wait for the next reader.
    screen->pasteboard = "a€b";
    t_PostKeyString("\x16");
    EXPECT_EQ(t_InputForm(window, "", "", false, 0, 80), "");
    std::string rest;
    while (t_KeyEventPending.load()) rest += stringfromscalar(t_NextEvent());
    EXPECT_EQ(rest, "20AC\035b");
    // A paste far larger than the field queues what fits, and the log tells of the cut.
    standin::LogCapture log;
    screen->pasteboard = std::string(100000, 'x');
    t_InputForm(window, "", "ab", true, 0, 10);
    t_InputEdit(window, 22);
    EXPECT_EQ(t_KeyQueue.size(), 8u);
    EXPECT_TRUE(
        log.has("t_InputEdit: Pasted text of 100000 bytes cut to the 8 characters the field has room for."));
}

// The evaluation of 1,000 participants printed while 100,000 keys arrive and the refresh has frames
// composed from the window: every key is read afterwards, in its order.
TEST_F(InputTest, KeysArrivingWhileTheReportPrintsAreKeptInOrder) {
    testsupport::People people;
    for (Int i = 1; i <= 1000; ++i) {
        std::string answers = std::to_string(1940 + i % 60) + "0101" + std::to_string(i % 2) + "11170060";
        for (Int k = 0; k < 43; ++k) answers += static_cast<char>('1' + (i * 7 + k) % 5);
        people.emplace_back("Teilnehmer " + std::to_string(i), answers + (i % 3 ? "100" : "001"));
    }
    testsupport::participants(people);

    static std::atomic<int> frames{0};
    t_PlatformPort port = platformport();
    port.ViewNeedsDisplay = [](uint8_t n) {
        t_Image frame;
        frames += t_WindowImage(n, frame);
    };
    setplatformport(port);
    t_WindowTable[window].AutoUpdate = true;
    t_WindowTable[window].Visible = true;
    t_AutoUpdateRunning = false;
    std::thread refresh(t_WindowAutoUpdateProcess);

    constexpr int count = 100000;
    std::thread typist([] {
        for (int i = 0; i < count; i += 100) {
            std::string keys;
            for (int k = i; k < i + 100; ++k) keys += static_cast<char>('a' + k % 26);
            t_PostKeyString(keys);
        }
    });
    termtest::quietly(SeelenorakelEvaluation);
    typist.join();
    t_AutoUpdateRunning = false;
    t_RefreshWake();
    refresh.join();

    EXPECT_GT(frames.load(), 0);
    // The whole report reached the clipboard: a section for everyone, and the footer last.
    size_t sections = 0;
    for (size_t at = 0; (at = screen->pasteboard.find("\nAuswertung für ", at)) != std::string::npos; ++at)
        ++sections;
    EXPECT_EQ(sections, 1000u);
    EXPECT_TRUE(screen->pasteboard.ends_with("\n*: Es wird das andere Geschlecht bevorzugt.\n"));
    int taken = 0;
    for (Int value; (value = t_NextEvent()) >= 0; ++taken)
        if (value != 'a' + taken % 26) break;
    EXPECT_EQ(taken, count);
}

TEST(InputCoding, PasteEncodingAndCopyDecoding) {
    initkbtools();
    EXPECT_EQ(t_TextPasteEncode("ä€\nx"), "ä\03320AC\035\rx");
    EXPECT_EQ(t_TextPasteEncode("😀"), "\033F600\035");
    const struct {
        std::string in, out;
    } decoded[] = {
        {"a\03300fc\035b\03320AC\035", "aüb€"}, {"ohne\x1bGS", "ohne\x1bGS"},
        {"\x1bzz\x1d!", std::string("\0!", 2)}, {"\033FFFFFFFFF\035", std::string(1, '\0')},
        {"\033D800\035", std::string(1, '\0')}, {"x\033\03341\035", std::string("x\0", 2)},
    };
    for (const auto& row : decoded) EXPECT_EQ(t_TextCopyDecode(row.in), row.out) << row.in;
}

TEST(Questionnaire, DaysInMonth) {
    const struct {
        Int month, year, days;
    } rows[] = {{2, 2000, 29}, {2, 1996, 29}, {2, 2096, 29},  {2, 1900, 28}, {2, 2100, 28},
                {2, 1999, 28}, {4, 2000, 30}, {11, 1981, 30}, {7, 1981, 31}, {12, 1, 31},
                {13, 2000, 0}, {0, 2000, 0},  {1, 0, 0}};
    for (const auto& row : rows)
        EXPECT_EQ(t_DaysInMonth(row.month, row.year), row.days) << row.month << "/" << row.year;
}

} // namespace
