#include "terminal_fixture.h"

#include <random>

namespace {

using namespace termtest;

class TerminalScroll : public TerminalTest {
  protected:
    // Every cell a different symbol in its own colours, some of them drawn inverted.
    static void fill(uint8_t window, unsigned seed) {
        std::mt19937 random(seed);
        t_Window& w = record(window);
        for (Int y = 1; y <= w.TextHeight; ++y)
            for (Int x = 1; x <= w.TextWidth; ++x) {
                w.TextInverse = random() % 3 == 0;
                t_PrintSymbol(window, static_cast<uint8_t>(random()), static_cast<uint8_t>(random()), x, y);
            }
        w.TextInverse = false;
    }
    // The symbols of a line, for checking where lines went.
    static std::string line(uint8_t window, Int y) {
        std::string out;
        for (Int x = 1; x <= record(window).TextWidth; ++x)
            out.push_back(static_cast<char>(symbolat(window, x, y)));
        return out;
    }
};

// The block moves of the full-width path and the re-plot of the narrow one must leave the same memories.
// The narrow side scrolls the same lines as two areas, one column and the rest.
TEST_F(TerminalScroll, NarrowAreasEndLikeTheFullWidthBlockMove) {
    for (Int depth : {1, 4, 8, 16, 24, 32})
        for (bool up : {true, false}) {
            makewindow(4, depth, 10, 8);
            makewindow(5, depth, 10, 8);
            fill(4, 11);
            fill(5, 11);
            std::vector<std::string> before;
            for (Int y = 1; y <= 8; ++y) before.push_back(line(4, y));
            for (uint8_t w : {4, 5}) {
                record(w).TextColor = 0x4A;
                record(w).TextInverse =
                    true; // stored cells keep their colours; the fresh line comes out inverted
            }
            auto scroll = up ? t_ScrollUp : t_ScrollDown;
            t_Area(4, 1, 2, 10, 7);
            scroll(4);
            t_Area(5, 1, 2, 9, 7);
            scroll(5);
            t_Area(5, 10, 2, 10, 7);
            scroll(5);
            const std::string context = "depth " + std::to_string(depth) + (up ? " up" : " down");
            EXPECT_EQ(textplanes(4), textplanes(5)) << context;
            EXPECT_EQ(graphicblock(4), graphicblock(5)) << context;
            // Lines outside the area stay, the area moves by one, the fresh line is blank in swapped colours.
            EXPECT_EQ(line(4, 1), before[0]) << context;
            EXPECT_EQ(line(4, 8), before[7]) << context;
            for (Int y = 2; y <= 6; ++y)
                EXPECT_EQ(line(4, up ? y : y + 1), before[up ? y : y - 1]) << context;
            const Int fresh = up ? 7 : 2;
            EXPECT_EQ(line(4, fresh), std::string(10, ' ')) << context;
            EXPECT_EQ(attributeat(4, 1, fresh), 0xA4) << context;
        }
}

TEST_F(TerminalScroll, ScrollLockStopsBothDirectionsWithoutAWord) {
    makewindow(4, 8, 10, 8);
    fill(4, 3);
    const std::vector<uint8_t> graphic = graphicblock(4), text = textplanes(4);
    record(4).ScrollLock = true;
    standin::LogCapture log;
    t_ScrollUp(4);
    t_ScrollDown(4);
    EXPECT_EQ(graphicblock(4), graphic);
    EXPECT_EQ(textplanes(4), text);
    // Not even the guard speaks while the lock is on.
    const bool live = record(7).Initialized;
    record(7).Initialized = false;
    record(7).ScrollLock = true;
    t_ScrollUp(7);
    record(7).ScrollLock = false;
    t_ScrollUp(7);
    record(7).Initialized = live;
    EXPECT_EQ(log.lines(), std::vector<std::string>{"t_ScrollUp: Window #7 not initialized."});

    // Text that reaches the end of the area goes on overwriting the last line.
    t_Vtab(4, 8);
    t_Print(4, "ABCDEFGHIJKLMNO");
    EXPECT_EQ(line(4, 8), "KLMNOFGHIJ");
    EXPECT_EQ(record(4).TextHpos, 6);
    EXPECT_EQ(record(4).TextVpos, 8);
    const std::vector<uint8_t> after = textplanes(4);
    EXPECT_TRUE(std::equal(after.begin(), after.begin() + 70, text.begin()));
}

TEST_F(TerminalScroll, AnAreaOfOneLineIsOnlyBlanked) {
    for (Int lastColumn : {10, 6}) {
        makewindow(4, 24, 10, 8);
        fill(4, 5);
        std::vector<std::string> before;
        for (Int y = 1; y <= 8; ++y) before.push_back(line(4, y));
        t_Area(4, 1, 4, lastColumn, 4);
        t_ScrollUp(4);
        t_ScrollDown(4);
        for (Int y = 1; y <= 8; ++y)
            if (y != 4) {
                EXPECT_EQ(line(4, y), before[y - 1]);
            }
        EXPECT_EQ(line(4, 4), std::string(lastColumn, ' ') + before[3].substr(lastColumn));
    }
}

TEST_F(TerminalScroll, ClearingStartsAtTheCursorAndKeepsIt) {
    makewindow(4, 8, 10, 8);
    fill(4, 9);
    std::vector<std::string> before;
    for (Int y = 1; y <= 8; ++y) before.push_back(line(4, y));
    t_Area(4, 2, 2, 9, 7);
    t_Htab(4, 4); // column 5
    t_Vtab(4, 3);
    record(4).TextColor = 0x1E;
    t_Inverse(4);
    t_ClearEndOfWindow(4);
    t_Normal(4);
    EXPECT_EQ(record(4).TextHpos, 5);
    EXPECT_EQ(record(4).TextVpos, 3);
    EXPECT_EQ(line(4, 2), before[1]);
    EXPECT_EQ(line(4, 3), before[2].substr(0, 4) + "     " + before[2].substr(9));
    for (Int y = 4; y <= 7; ++y)
        EXPECT_EQ(line(4, y), before[y - 1].substr(0, 1) + "        " + before[y - 1].substr(9));
    EXPECT_EQ(line(4, 8), before[7]);
    EXPECT_EQ(attributeat(4, 5, 3), 0xE1);
    EXPECT_EQ(attributeat(4, 2, 7), 0xE1);

    // On the area's last line only the rest of that line goes.
    fill(4, 9);
    t_Htab(4, 3);
    t_Vtab(4, 7);
    t_ClearEndOfWindow(4);
    EXPECT_EQ(line(4, 6), before[5]);
    EXPECT_EQ(line(4, 7), before[6].substr(0, 3) + "      " + before[6].substr(9));

    // A cursor right of a narrow area clears nothing.
    fill(4, 9);
    t_Htab(4, 9); // column 10, beyond the area
    t_ClearEndOfLine(4);
    EXPECT_EQ(line(4, 7), before[6]);
}

} // namespace
