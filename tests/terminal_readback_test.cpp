#include "terminal_fixture.h"

namespace {

using namespace termtest;

class TerminalReadBack : public TerminalTest {
  protected:
    void SetUp() override {
        TerminalTest::SetUp();
        makewindow(4, 24, 10, 8);
    }
};

TEST_F(TerminalReadBack, ScreenTextWithAndWithoutLineEnds) {
    EXPECT_EQ(t_GetScreen(4, "\r"), "");
    EXPECT_EQ(t_GetScreen(4, ""), std::string(80, ' '));

    t_Print(4, "Grüße");
    t_Vtab(4, 4);
    t_Htab(4, 3);
    t_Print(4, "Welt ");
    EXPECT_EQ(t_GetScreen(4, "\r"), "Grüße\r\r\r  Welt");
    // Every cell, no trimming, Latin-1 symbols as their characters.
    const std::string all = t_GetScreen(4, "");
    EXPECT_EQ(all.substr(0, 12), "Grüße     ");
    EXPECT_EQ(all.size(), 82u); // 80 cells, two of them two bytes long
    // Another separator finds no line end: one piece, with only the trailing blanks of the whole dropped.
    const std::string lines[8] = {"Grüße     ", "", "", "  Welt    ", "", "", "", ""};
    for (const std::string separator : {"\n", "\n ", " "}) {
        std::string piece;
        for (const std::string& line : lines)
            piece += (line.empty() ? std::string(10, ' ') : line) + separator;
        piece.erase(piece.find_last_not_of(' ') + 1);
        EXPECT_EQ(t_GetScreen(4, separator), piece);
    }
}

TEST_F(TerminalReadBack, ACellHoldingThirteenSplitsItsLine) {
    t_Print(4, "ab");
    t_PrintChar(4, 13);
    t_Print(4, "cd  ");
    EXPECT_EQ(t_GetScreen(4, "\r"), "ab\rcd");
    EXPECT_EQ(t_GetScreen(4, "").substr(0, 8), "ab\rcd   ");
}

TEST_F(TerminalReadBack, InvertingARectangleTwiceRestoresIt) {
    for (Int y = 1; y <= 8; ++y)
        for (Int x = 1; x <= 10; ++x)
            t_PrintSymbol(4, static_cast<uint8_t>('A' + x), static_cast<uint8_t>(x * 16 + y), x, y);
    const std::vector<uint8_t> graphic = graphicblock(4), text = textplanes(4);
    t_InvertRect(4, 2, 3, 5, 6);
    EXPECT_EQ(attributeat(4, 2, 3), 0x32);
    EXPECT_EQ(attributeat(4, 5, 6), 0x65);
    EXPECT_EQ(attributeat(4, 6, 4), 0x64);
    EXPECT_EQ(attributeat(4, 1, 3), 0x13);
    EXPECT_NE(graphicblock(4), graphic);
    EXPECT_FALSE(record(4).TextInverse);
    t_InvertRect(4, 2, 3, 5, 6);
    EXPECT_EQ(graphicblock(4), graphic);
    EXPECT_EQ(textplanes(4), text);
    // Rectangles that are turned round or leave the grid do nothing and say nothing.
    standin::LogCapture log;
    t_InvertRect(4, 5, 3, 4, 6);
    t_InvertRect(4, 1, 1, 10, 9);
    t_InvertRect(4, 0, 1, 3, 3);
    t_InvertRect(4, 1, 4, 3, 3);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(textplanes(4), text);
}

TEST_F(TerminalReadBack, RulesOutOfALineSymbol) {
    record(4).TextColor = 0x90;
    t_TextHline(4, 4, 4, 2, '=');
    t_TextHline(4, 6, 5, 2, '=');
    EXPECT_EQ(t_GetScreen(4, "\r"), "\r   =");
    t_Area(4, 3, 2, 8, 7);
    t_Htab(4, 3); // column 5
    t_TextLine(4);
    EXPECT_EQ(t_GetScreen(4, "\r"), "\r   =\xc2\x9c\xc2\x9c\xc2\x9c\xc2\x9c");
    EXPECT_EQ(record(4).TextHpos, 3);
    EXPECT_EQ(record(4).TextVpos, 3);
    EXPECT_EQ(attributeat(4, 8, 2), 0x90);
    EXPECT_EQ(symbolat(4, 9, 2), ' ');

    // A font without the rule's glyph leaves the pixels but records the symbol and moves on.
    makewindow(4, 24, 10, 8, testfont(0, 155));
    const std::vector<uint8_t> graphic = graphicblock(4);
    t_TextLine(4);
    EXPECT_EQ(graphicblock(4), graphic);
    EXPECT_EQ(symbolat(4, 1, 1), 156);
    EXPECT_EQ(symbolat(4, 10, 1), 156);
    EXPECT_EQ(record(4).TextVpos, 2);
}

} // namespace
