#include "terminal_fixture.h"

namespace {

using namespace termtest;

class TerminalCursor : public TerminalTest {
  protected:
    void SetUp() override {
        TerminalTest::SetUp();
        makewindow(4, 24, 10, 8);
        // Each line its own letter, so that scrolls show.
        for (Int y = 1; y <= 8; ++y)
            for (Int x = 1; x <= 10; ++x) t_PrintSymbol(4, static_cast<uint8_t>('a' + y - 1), 0xF0, x, y);
    }
    static void at(Int x, Int y) {
        record(4).TextHpos = x;
        record(4).TextVpos = y;
    }
    static void expectcursor(Int x, Int y) {
        EXPECT_EQ(record(4).TextHpos, x);
        EXPECT_EQ(record(4).TextVpos, y);
    }
};

TEST_F(TerminalCursor, AreaTakesColumnsAndLinesEachOnTheirOwnAndHomes) {
    t_Area(4, 3, 2, 6, 5);
    at(5, 5);
    t_Area(4, 1, 3, 200, 8); // columns beyond the grid: only the lines are taken
    EXPECT_EQ(record(4).TextFirstColumn, 3);
    EXPECT_EQ(record(4).TextLastColumn, 6);
    EXPECT_EQ(record(4).TextFirstLine, 3);
    EXPECT_EQ(record(4).TextLastLine, 8);
    expectcursor(3, 3);
    t_Area(4, 2, 6, 9, 4); // lines the wrong way round: only the columns are taken
    EXPECT_EQ(record(4).TextFirstColumn, 2);
    EXPECT_EQ(record(4).TextLastColumn, 9);
    EXPECT_EQ(record(4).TextFirstLine, 3);
    expectcursor(2, 3);
    t_CursorEnd(4);
    expectcursor(9, 8);
    t_FullArea(4);
    expectcursor(9, 8); // the full area leaves the cursor
    EXPECT_EQ(record(4).TextLastColumn, 10);
    EXPECT_EQ(record(4).TextFirstLine, 1);
}

TEST_F(TerminalCursor, StepsOverTheEdgesWrapAndScrollTheArea) {
    t_Area(4, 3, 2, 6, 5);
    // Right of the last cell: the area scrolls up, the cursor stands at the start of its last line.
    at(6, 5);
    t_CursorRight(4);
    expectcursor(3, 5);
    EXPECT_EQ(symbolat(4, 3, 2), 'c');
    EXPECT_EQ(symbolat(4, 3, 5), ' ');
    EXPECT_EQ(symbolat(4, 2, 2), 'b'); // outside the area nothing moves
    // Left of the first cell: the area scrolls down, the cursor stands at the end of its first line.
    at(3, 2);
    t_CursorLeft(4);
    expectcursor(6, 2);
    EXPECT_EQ(symbolat(4, 3, 3), 'c');
    EXPECT_EQ(symbolat(4, 3, 2), ' ');
    // Inside the area the same steps only move.
    at(6, 3);
    t_CursorRight(4);
    expectcursor(3, 4);
    t_CursorLeft(4);
    expectcursor(6, 3);
    // Up and down keep the column.
    at(4, 5);
    t_CursorDown(4);
    expectcursor(4, 5);
    EXPECT_EQ(symbolat(4, 4, 2), 'c');
    EXPECT_EQ(symbolat(4, 4, 5), ' ');
    t_CursorUp(4);
    t_CursorUp(4);
    t_CursorUp(4);
    t_CursorUp(4);
    expectcursor(4, 2);
}

TEST_F(TerminalCursor, WithScrollLockTheCursorStaysOnTheEdgeLine) {
    record(4).ScrollLock = true;
    at(10, 8);
    t_CursorRight(4);
    expectcursor(1, 8);
    t_CursorDown(4);
    expectcursor(1, 8);
    at(1, 1);
    t_CursorLeft(4);
    expectcursor(10, 1);
    t_CursorUp(4);
    expectcursor(10, 1);
    for (Int y = 1; y <= 8; ++y) EXPECT_EQ(symbolat(4, 5, y), 'a' + y - 1);
    record(4).ScrollLock = false;
}

TEST_F(TerminalCursor, CursorLevelNestsAndInvertsOnlyAtTheStepsBetweenZeroAndOne) {
    at(4, 4);
    const uint8_t plain = attributeat(4, 4, 4);
    const std::vector<uint8_t> picture = graphicblock(4);
    t_CursorOn(4);
    EXPECT_EQ(attributeat(4, 4, 4), 0x0F);
    t_CursorOn(4);
    t_CursorOff(4);
    EXPECT_EQ(attributeat(4, 4, 4), 0x0F); // still shown
    t_CursorOff(4);
    EXPECT_EQ(attributeat(4, 4, 4), plain);
    EXPECT_EQ(graphicblock(4), picture);
    // A surplus off needs as many ons again.
    t_CursorOff(4);
    EXPECT_EQ(record(4).TextCursorLevel, -1);
    t_CursorOn(4);
    EXPECT_EQ(attributeat(4, 4, 4), plain);
    t_CursorOn(4);
    EXPECT_EQ(attributeat(4, 4, 4), 0x0F);
    t_CursorOff(4);
    EXPECT_EQ(graphicblock(4), picture);
    EXPECT_EQ(record(4).TextInverse, false);
}

TEST_F(TerminalCursor, GuardsSpeakUnderTheRoutinesOwnNames) {
    standin::LogCapture log;
    t_Cr(9);
    t_CursorOn(8);
    t_FullArea(12);
    EXPECT_EQ(t_Hpos(9), 0);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"t_Cr: Window is not a graphic window.",
                                                     "t_CursorOn: Window is not a graphic window.",
                                                     "t_FullArea: Window is not a graphic window.",
                                                     "t_Hpos: Window is not a graphic window."}));
}

} // namespace
