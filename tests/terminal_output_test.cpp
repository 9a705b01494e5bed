#include "terminal_fixture.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdint>

namespace {

using namespace termtest;

class TerminalOutput : public TerminalTest {
  protected:
    void SetUp() override {
        TerminalTest::SetUp();
        makewindow(4, 24, 40, 8);
    }
    static std::string row(Int y, Int from = 1, Int to = 40) {
        std::string out;
        for (Int x = from; x <= to; ++x) out.push_back(static_cast<char>(symbolat(4, x, y)));
        return out;
    }
    static void expectcursor(Int x, Int y) {
        EXPECT_EQ(record(4).TextHpos, x);
        EXPECT_EQ(record(4).TextVpos, y);
    }
};

TEST_F(TerminalOutput, WrapIsEagerAndTheLastCellScrolls) {
    t_Area(4, 1, 6, 10, 8);
    t_Print(4, "0123456789");
    expectcursor(1, 7);
    t_Print(4, "abcdefghijABCDEFGHIJ");
    // The last cell scrolled the area at once: the lines moved up and the cursor starts the fresh one.
    expectcursor(1, 8);
    EXPECT_EQ(row(6, 1, 10), "abcdefghij");
    EXPECT_EQ(row(7, 1, 10), "ABCDEFGHIJ");
    EXPECT_EQ(row(8, 1, 10), "          ");
    EXPECT_EQ(row(6, 11, 12), "  "); // right of the narrow area nothing moved
}

TEST_F(TerminalOutput, PositionsCountFromTheAreaForColumnsAndFromTheWindowForLines) {
    t_Area(4, 5, 3, 20, 6);
    t_Htab(4, 2);
    EXPECT_EQ(record(4).TextHpos, 6);
    EXPECT_EQ(t_Hpos(4), 2);
    t_Htab(4, 36); // column 40: beyond the area, still in the grid
    EXPECT_EQ(record(4).TextHpos, 40);
    t_Htab(4, 37);
    t_Htab(4, 0);
    EXPECT_EQ(record(4).TextHpos, 40);
    t_Vtab(4, 1); // above the area
    EXPECT_EQ(t_Vpos(4), 1);
    t_Vtab(4, 0);
    t_Vtab(4, 9);
    EXPECT_EQ(t_Vpos(4), 1);
    // The next character goes to column 40, and the wrap follows.
    t_Print(4, "X");
    EXPECT_EQ(symbolat(4, 40, 1), 'X');
    expectcursor(5, 2);
}

TEST_F(TerminalOutput, TabAndSpaceRepeatUpToAColumn) {
    t_Htab(4, 5);
    t_PrintTab(4, 5, '-');
    t_PrintTab(4, 3, '-');
    EXPECT_EQ(record(4).TextHpos, 5);
    t_PrintTab(4, 8, '-');
    EXPECT_EQ(row(1, 1, 9), "    ---  ");
    t_PrintSpc(4, 0);
    t_PrintSpc(4, -3);
    EXPECT_EQ(record(4).TextHpos, 8);
    t_PrintSpc(4, 2);
    EXPECT_EQ(record(4).TextHpos, 10);
    // A count of a trillion ends at once, where counting on would have put the cursor.
    t_Print(4, "abc");
    t_CursorHome(4);
    const auto start = std::chrono::steady_clock::now();
    t_PrintSpc(4, 1'000'000'000'003);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    expectcursor(4, 8);
    EXPECT_EQ(t_GetScreen(4, ""), std::string(320, ' '));
}

TEST_F(TerminalOutput, DisplayModesTranslateCodes) {
    const struct {
        Int mode;
        uint8_t code;
        uint8_t symbol;
    } cases[] = {{1, 65, 193},  {1, 200, 200}, {1, 31, 31},  {2, 65, 1},   {2, 97, 129},
                 {2, 200, 200}, {7, 65, 65},   {-1, 66, 66}, {0, 127, 127}};
    for (const auto& c : cases) {
        t_DisplayMode(4, c.mode);
        t_PrintChar(4, c.code);
        EXPECT_EQ(symbolat(4, record(4).TextHpos - 1, 1), c.symbol)
            << "mode " << c.mode << ", code " << int(c.code);
    }
}

TEST_F(TerminalOutput, ModesThreeAndFourShowControlCodesForOneCharacter) {
    record(4).TextColor = 0xC0;
    t_DisplayMode(4, 3);
    printbytes(4, "\x01\x0D"
                  "B");
    EXPECT_EQ(row(1, 1, 3), "AMB"); // code 13 does not act from mode 3 on
    EXPECT_EQ(attributeat(4, 1, 1), 0x0C);
    EXPECT_EQ(attributeat(4, 2, 1), 0x0C);
    EXPECT_EQ(attributeat(4, 3, 1), 0xC0);
    EXPECT_FALSE(record(4).TextInverse);

    t_DisplayMode(4, 4);
    t_Print(4, "\x02z€");
    EXPECT_EQ(row(1, 4, 6), "Bz?");
    EXPECT_EQ(attributeat(4, 4, 1), 0x10);
    EXPECT_EQ(attributeat(4, 5, 1), 0xC0);
    EXPECT_EQ(attributeat(4, 6, 1), 0x10); // a character beyond the font in red as well
    EXPECT_EQ(record(4).TextColor, 0xC0);
    EXPECT_EQ(record(4).RGBColor.Red, 0xFF); // t_Color's other half stays
    EXPECT_EQ(record(4).RGBColor.Green, 0);

    // In mode 0 the same character beyond the font is a plain question mark.
    t_DisplayMode(4, 0);
    t_Print(4, "€");
    EXPECT_EQ(symbolat(4, 7, 1), '?');
    EXPECT_EQ(attributeat(4, 7, 1), 0xC0);
}

TEST_F(TerminalOutput, EscapeCommandsSetColoursAndMayStraddleTwoPrints) {
    record(4).TextColor = 0xC0;
    t_Print(4, "\x1b"
               "B");
    EXPECT_EQ(record(4).TextColor, 0x20);
    EXPECT_EQ(record(4).TextDisplayMode, 0);
    EXPECT_EQ(record(4).TextHpos, 1); // nothing printed
    t_Print(4, "\x1b");
    EXPECT_EQ(record(4).TextDisplayMode, 99);
    t_Print(4, "R");
    EXPECT_EQ(record(4).TextColor, 0x22);
    // An unknown code after escape prints as it is, and the escape waits on.
    t_Print(4, "\x1b"
               "1\x01"
               "A");
    EXPECT_EQ(row(1, 1, 2), std::string("1\x01"));
    EXPECT_EQ(record(4).TextColor, 0x12);
    EXPECT_EQ(record(4).TextDisplayMode, 0);
    // The colour is that of the text, not of the swapped drawing.
    t_Inverse(4);
    t_Print(4, "\x1b"
               "O");
    EXPECT_EQ(record(4).TextColor, 0xF2);
    EXPECT_TRUE(record(4).TextInverse);
    t_Print(4, "\x0e"); // normal
    EXPECT_FALSE(record(4).TextInverse);
}

TEST_F(TerminalOutput, TabStopsOfTenTwentyAndForty) {
    const struct {
        Int from;
        const char* command;
        Int to;
    } cases[] = {{1, "i", 11}, {10, "i", 21}, {11, "i", 21}, {20, "i", 31}, {1, "j", 21}, {21, "j", 41}};
    for (const auto& c : cases) {
        t_CursorHome(4);
        t_ClearEndOfLine(4);
        t_Print(4, "xyz");
        t_Htab(4, c.from);
        t_Print(4, std::string("\x1b") + c.command);
        EXPECT_EQ(record(4).TextDisplayMode, 0);
        if (c.to <= 40) {
            EXPECT_EQ(record(4).TextHpos, c.to) << c.from << c.command;
            EXPECT_EQ(record(4).TextVpos, 1);
            EXPECT_EQ(row(1, c.from, c.to - 1), std::string(c.to - c.from, ' ')) << c.from << c.command;
        }
    }
    // A stop beyond the width clears the rest of the line and goes on with the next one.
    for (const char* command : {"j", "k"}) {
        t_CursorHome(4);
        t_Print(4, "0123456789012345678901234567890123456789");
        t_CursorHome(4);
        t_Htab(4, 30);
        t_Print(4, std::string("\x1b") + command);
        expectcursor(1, 2);
        EXPECT_EQ(row(1), "01234567890123456789012345678" + std::string(11, ' '));
    }
}

TEST_F(TerminalOutput, ControlCodesActByTheirTable) {
    t_Print(4, "Hallo\rWelt");
    expectcursor(5, 2);
    t_Print(4, "\x08\x08"
               "X"); // two left, then a letter
    EXPECT_EQ(row(2, 1, 4), "WeXt");
    t_Print(4, "\x1a"); // clear the line, to its first column
    EXPECT_EQ(row(2, 1, 4), "    ");
    expectcursor(1, 2);
    t_Print(4, "\x1e\x1c\x1c"); // up, right, right
    expectcursor(3, 1);
    t_Print(4, "\x1d"); // clear to the end of the line
    EXPECT_EQ(row(1, 1, 5), "Ha   ");
    t_Print(4, "\x12"
               "\x0f"
               "Q\x11"
               "R"); // column 1, inverse, Q, reverse, R
    EXPECT_EQ(row(1, 1, 2), "QR");
    EXPECT_EQ(attributeat(4, 1, 1), 0x0C);
    EXPECT_EQ(attributeat(4, 2, 1), 0xC0);
    t_Print(4, "\x14"
               "A\x1f"
               "a\x13"
               "A"); // modes 1, 2 and back to 0
    EXPECT_EQ(row(1, 3, 5), "\xc1\x81"
                            "A");
    t_Print(4, "\x19"); // home
    expectcursor(1, 1);
    t_Print(4, "\x0c"); // home and clear the area
    EXPECT_EQ(t_GetScreen(4, "\r"), "");
    // Codes without an entry do nothing, and t_PrintChar never lets a code act.
    t_Print(4, "\x01\x09\x10\x15\x18");
    expectcursor(1, 1);
    t_PrintChar(4, 13);
    EXPECT_EQ(symbolat(4, 1, 1), 13);
    expectcursor(2, 1);
}

TEST_F(TerminalOutput, HeaderFillsTheAreaWithoutScrolling) {
    t_Header(4, "Links", "Rechts");
    EXPECT_EQ(row(1), "Links" + std::string(29, ' ') + "Rechts");
    expectcursor(1, 2);
    t_Area(4, 1, 8, 10, 8);
    t_Print(4, "\x0c");
    t_PrintSymbol(4, '#', 0xC0, 1, 7);
    t_Header(4, "Seelen", "orakel");
    EXPECT_EQ(row(8, 1, 10), "Seelenorak");
    expectcursor(1, 8);
    EXPECT_EQ(symbolat(4, 1, 7), '#');
}

TEST_F(TerminalOutput, RefusalsAndBadText) {
    quietly([] { t_InitWindow(5, 8, false, 64, 64, 0, 0, t_Font{}, true); });
    standin::LogCapture log;
    t_Print(5, "x");
    t_Color(5, 3); // the record guard lets a window without text through
    record(4).Font.Data.clear();
    t_Print(4, "x");
    makewindow(4, 24, 40, 8);
    t_Print(4, "a\xff"
               "b");
    EXPECT_EQ(row(1, 1, 3), "a?b");
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               "t_Print: Window #5 not initialized.",
                               "t_Print: Window #4 has no text font.",
                               "t_Print: Text is not well-formed UTF-8; its bad bytes were printed as \"?\".",
                           }));
    EXPECT_EQ(record(5).TextColor, 0x30);

    // Extreme numbers are refused or cut short, not wrapped round.
    const std::vector<uint8_t> text = textplanes(4);
    t_Htab(4, INT64_MAX);
    t_PrintTab(4, INT64_MIN, '-');
    t_TextHline(4, INT64_MIN, INT64_MIN + 1, 1, '-');
    t_InvertRect(4, 1, 1, INT64_MAX, 1);
    EXPECT_EQ(textplanes(4), text);
    EXPECT_EQ(record(4).TextHpos, 4);
}

} // namespace
