// The text terminal on windows of the stand-in platform: glyphs at every depth, the cursor and its area,
// text output with its control codes, scrolling and clearing, read-back, and the game's introduction.
#include "terminal_fixture.h"

#include "application/application.h"
#include "tests/testsupport.h"

#include <chrono>
#include <filesystem>
#include <random>

namespace {

using namespace termtest;
using Lines = std::vector<std::string>;

// Every cell a random symbol in random colours, some drawn inverted.
void fill(uint8_t window, unsigned seed) {
    std::mt19937 random(seed);
    for (Int y = 1; y <= record(window).TextHeight; ++y)
        for (Int x = 1; x <= record(window).TextWidth; ++x) {
            record(window).TextInverse = random() % 3 == 0;
            t_PrintSymbol(window, static_cast<uint8_t>(random()), static_cast<uint8_t>(random()), x, y);
        }
    record(window).TextInverse = false;
}

Lines lines(uint8_t window) {
    Lines out;
    for (Int y = 1; y <= record(window).TextHeight; ++y) out.push_back(line(window, y));
    return out;
}

using Terminal = TerminalTest;

// A larger font makes the grid reach past the window's block: scrolling must not write into the next one.
TEST_F(Terminal, ScrollingAfterALargerFontStaysInTheWindowsBlock) {
    makewindow(1, 24, 10, 8);
    makewindow(0, 24, 10, 8);
    auto above = [] {
        const auto from = t_VideoMemory.begin() + record(0).MemoryEnd + 1;
        return std::vector<uint8_t>(from, from + std::min<Int>(8192, t_VideoMemory.end() - from));
    };
    const std::vector<uint8_t> neighbour = above();
    quietly([] { t_WindowFont(0, testfont(0, 255, 8, 8)); });
    record(0).TextHeight = 8; // the grid as it was, now too large for the block
    record(0).TextLastLine = 8;
    for (int i = 0; i < 12; ++i) quietly([] { t_Print(0, "Zeile\r"); });
    EXPECT_TRUE(above() == neighbour);
}

TEST_F(Terminal, GlyphsBlendInLiteralFigures) {
    // The edges of the blend in literal figures: symbol 1's top row is grey 128, 127, 0, 255.
    t_Font font = testfont();
    std::copy_n(std::vector<uint8_t>{128, 127, 0, 255}.begin(), 4, font.Data.begin() + 16);
    const struct {
        Int depth;
        uint8_t color;
        std::vector<uint8_t> bytes;
    } rows[] = {{4, 0xF0, {0xA5, 0x0F}}, // 128 is grey 384, index 10; 127 is 381, index 5
                {8, 0xF0, {128, 127, 0, 255}},
                {1, 0xF0, {0x90}},
                {1, 0xC0, {0x00}}, // green on black is too dark on average for a bit
                {24, 0x92, {128, 64, 63, 127, 63, 64, 0x00, 0x00, 0x80, 0xFF, 0x80, 0x00}}}; // orange on navy
    for (const auto& row : rows) {
        makewindow(4, row.depth, 10, 8, font);
        t_PrintSymbol(4, 1, row.color, 1, 1);
        std::vector<uint8_t> got = graphicblock(4);
        got.resize(row.bytes.size());
        got[0] &= row.depth == 1 ? 0xF0 : 0xFF;
        EXPECT_EQ(got, row.bytes) << "depth " << row.depth;
    }
}

TEST_F(Terminal, GlyphRefusalsAreLoggedAndChangeNoPixel) {
    quietly([] { t_InitWindow(5, 8, false, 64, 64, 0, 0, t_Font{}, true); });
    makewindow(4, 24, 10, 8);
    const std::vector<uint8_t> before = graphicblock(4);
    const std::string compressed = "Font format must be uncompressed grey for text-printing.",
                      illegal = "Window #4 illegal coordinates (x = ";
    const struct {
        Int format, x, y;
        size_t data;
        std::string line;
    } rows[] = {{102, 1, 1, 4096, compressed},
                {100, 1, 1, 4096, compressed},
                {7, 1, 1, 4096, "Illegal font format."},
                {2, 2, 1, 1600, "Font has no glyph data for symbol 122."},
                {2, 11, 1, 4096, illegal + "11, y = 1)."},
                {2, 1, 9, 4096, illegal + "1, y = 9)."},
                {2, 0, 3, 4096, illegal + "0, y = 3)."},
                {2, 3, -1, 4096, illegal + "3, y = -1)."}};
    for (const auto& row : rows) {
        record(4).Font.Format = row.format;
        record(4).Font.Data.resize(row.data);
        standin::LogCapture log;
        t_PrintSymbol(4, 'z', 0x1F, row.x, row.y);
        EXPECT_EQ(log.lines(), Lines{"t_PrintSymbol: " + row.line});
        EXPECT_EQ(graphicblock(4), before) << row.line;
    }
    EXPECT_EQ(line(4, 1, 1, 3), "zz "); // the cell is recorded all the same
    standin::LogCapture log;
    t_PrintSymbol(5, 'x', 0xF0, 1, 1);
    t_PrintSymbol(9, 'x', 0xF0, 1, 1);
    record(4).Font.Data.clear();
    t_PrintSymbol(4, 'x', 0xF0, 1, 1);
    EXPECT_EQ(log.lines(), (Lines{"t_PrintSymbol: Window #5 not initialized.",
                                  "t_PrintSymbol: Window is not a graphic window.",
                                  "t_PrintSymbol: Window #4 not initialized."}));
}

TEST_F(Terminal, AreaCursorStepsAndCursorLevel) {
    makewindow(4, 24, 10, 8);
    for (Int y = 1; y <= 8; ++y) t_TextHline(4, 1, 10, y, static_cast<uint8_t>('a' + y - 1));
    t_Area(4, 3, 2, 6, 5);
    t_Area(4, 1, 3, 200, 8); // columns beyond the grid: only the lines are taken
    t_Area(4, 2, 6, 9, 4);   // lines the wrong way round: only the columns are taken
    EXPECT_EQ(t_WindowPos(4, 0) * 1000 + t_WindowPos(4, 1) * 100 + t_WindowPos(4, 2) * 10 + t_WindowPos(4, 3),
              2398);
    t_Area(4, 3, 2, 6, 5);
    t_CursorEnd(4);
    t_CursorRight(4); // over the last cell: the area scrolls up
    expectcursor(4, 3, 5);
    EXPECT_EQ(line(4, 2, 2, 7) + line(4, 5, 2, 7), "bccccbe    e");
    t_CursorHome(4);
    t_CursorLeft(4); // before the first cell: the area scrolls down
    expectcursor(4, 6, 2);
    EXPECT_EQ(line(4, 2, 2, 7) + line(4, 3, 2, 7), "b    bcccccc");
    t_CursorRight(4);
    t_CursorDown(4), t_CursorDown(4), t_CursorDown(4);
    expectcursor(4, 3, 5);
    // The cursor level nests and inverts the cell only between 0 and 1; a surplus off needs as many ons.
    t_PrintSymbol(4, 'x', 0xC1, 4, 1);
    t_FullArea(4);
    t_CursorHome(4);
    t_Htab(4, 4);
    const std::vector<uint8_t> plain = graphicblock(4);
    std::string colours;
    for (auto step :
         {t_CursorOn, t_CursorOn, t_CursorOff, t_CursorOff, t_CursorOff, t_CursorOn, t_CursorOn, t_CursorOff})
        step(4), colours += attributeat(4, 4, 1) == 0x1C ? 'I' : attributeat(4, 4, 1) == 0xC1 ? '-' : '?';
    EXPECT_EQ(colours, "III---I-");
    EXPECT_EQ(graphicblock(4), plain);
    EXPECT_FALSE(record(4).TextInverse);
    standin::LogCapture log;
    t_Cr(9);
    EXPECT_EQ(t_Hpos(12), 0);
    EXPECT_EQ(log.lines(),
              (Lines{"t_Cr: Window is not a graphic window.", "t_Hpos: Window is not a graphic window."}));
}

TEST_F(Terminal, WrapPositionsTabsAndSpaces) {
    makewindow(4, 24, 40, 8);
    t_Area(4, 5, 3, 20, 6); // columns count from the area, lines from the window
    t_Htab(4, 2);
    EXPECT_EQ(record(4).TextHpos * 10 + t_Hpos(4), 62);
    for (Int column : {36, 37, 0}) t_Htab(4, column); // 36 is column 40: beyond the area, still in the grid
    for (Int l : {1, 0, 9}) t_Vtab(4, l);
    EXPECT_EQ(t_Vpos(4), 1);
    t_Print(4, "X");
    EXPECT_EQ(symbolat(4, 40, 1), 'X');
    expectcursor(4, 5, 2);
    for (Int column : {9, 9, 3}) t_PrintTab(4, column, '-');
    for (Int count : {0, -3, 2}) t_PrintSpc(4, count);
    EXPECT_EQ(line(4, 2, 4, 10), " ----  ");
    expectcursor(4, 11, 2);
    t_FullArea(4); // a count of a trillion ends at once, where counting on would have put the cursor
    t_CursorHome(4);
    const auto start = std::chrono::steady_clock::now();
    t_PrintSpc(4, 1'000'000'000'003);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    expectcursor(4, 4, 8);
    EXPECT_EQ(t_GetScreen(4, ""), std::string(320, ' '));
}

TEST_F(Terminal, DisplayModesAndEscapeCommands) {
    makewindow(4, 24, 40, 8);
    const struct {
        Int mode;
        uint8_t code, symbol;
    } rows[] = {{1, 65, 193},  {1, 200, 200}, {1, 31, 31},  {2, 65, 1},   {2, 97, 129},
                {2, 200, 200}, {7, 65, 65},   {-1, 66, 66}, {0, 127, 127}};
    for (const auto& row : rows) {
        t_DisplayMode(4, row.mode);
        t_PrintChar(4, row.code);
        EXPECT_EQ(symbolat(4, record(4).TextHpos - 1, 1), row.symbol) << row.mode << ", " << int(row.code);
    }
    t_CursorHome(4);
    // Modes 3 and 4 show control codes, and characters beyond the font, for one character in their colours.
    t_DisplayMode(4, 3);
    printbytes(4, "\x01\x0D"
                  "B");
    t_DisplayMode(4, 4);
    t_Print(4, "\x02z€");
    t_DisplayMode(4, 0);
    t_Print(4, "€");
    EXPECT_EQ(line(4, 1, 1, 7), "AMBBz??");
    std::vector<uint8_t> colours;
    for (Int x = 1; x <= 7; ++x) colours.push_back(attributeat(4, x, 1));
    EXPECT_EQ(colours, std::vector<uint8_t>({0x0C, 0x0C, 0xC0, 0x10, 0xC0, 0x10, 0xC0}));
    EXPECT_FALSE(record(4).TextInverse);
    // Escape sets colours, may straddle two prints, and after an unknown code prints it and waits on.
    t_Print(4, "\x0c\x1b"
               "B\x1b");
    t_Print(4, "R\x1b"
               "1\x01"
               "A");
    EXPECT_EQ(line(4, 1, 1, 2), std::string("1\x01"));
    t_Inverse(4); // the colour is that of the text, not of the swapped drawing
    t_Print(4, "\x1b"
               "O");
    EXPECT_EQ(record(4).TextColor, 0xF2);
    t_Print(4, "\x0e");
    EXPECT_FALSE(record(4).TextInverse);
    // End of the area, its last column, and a border colour.
    t_Print(4, "\x1b"
               "e");
    expectcursor(4, 40, 8);
    t_Print(4, "\x19\x1b"
               "f\x1b"
               "p"); // home first
    expectcursor(4, 40, 1);
    // Stops of ten, twenty and forty; one beyond the width clears the rest of the line.
    const struct {
        Int from;
        char command;
        Int to;
    } stops[] = {{10, 'i', 21}, {1, 'j', 21}, {30, 'j', 41}, {30, 'k', 41}};
    for (const auto& stop : stops) {
        t_Print(4, "\x0c"
                   "0123456789012345678901234567890123456789");
        t_Vtab(4, 1);
        t_Htab(4, stop.from);
        t_Print(4, std::string("\x1b") + stop.command);
        SCOPED_TRACE(std::to_string(stop.from) + stop.command);
        expectcursor(4, stop.to > 40 ? 1 : stop.to, stop.to > 40 ? 2 : 1);
        const Int end = std::min<Int>(stop.to, 41);
        EXPECT_EQ(line(4, 1, stop.from, end - 1), std::string(end - stop.from, ' '));
    }
}

TEST_F(Terminal, ControlCodesActByTheirTableAndTheHeaderFillsALine) {
    makewindow(4, 24, 40, 8);
    t_Print(4, "Hallo\rWelt\x08\x08X"); // two left, then a letter
    EXPECT_EQ(line(4, 2, 1, 4), "WeXt");
    t_Print(4, "\x1a"); // clear the line, to its first column
    expectcursor(4, 1, 2);
    t_Print(4, "\x1e\x1c\x1c\x1d"); // up, right, right, clear to the end of the line
    expectcursor(4, 3, 1);
    t_Print(4, "\x12\x0fQ\x11R\x14"
               "A\x1f"
               "a\x13"
               "A"); // column 1, inverse, Q, reverse, R, modes 1, 2 and back to 0
    EXPECT_EQ(line(4, 1, 1, 5) + line(4, 2, 1, 4), "QR\xc1\x81"
                                                   "A    ");
    EXPECT_EQ(attributeat(4, 1, 1) * 256 + attributeat(4, 2, 1), 0x0CC0);
    t_Print(4, "\x19"); // home
    expectcursor(4, 1, 1);
    t_Print(4, "\x0c\x01\x09\x10\x15\x18"); // home and clear the area; codes without an entry do nothing
    EXPECT_EQ(t_GetScreen(4, "\r"), "");
    t_PrintChar(4, 13); // t_PrintChar never lets a code act
    EXPECT_EQ(symbolat(4, 1, 1), 13);
    expectcursor(4, 2, 1);
    t_Print(4, "\x19");
    t_Header(4, "Links", "Rechts");
    EXPECT_EQ(line(4, 1), "Links" + std::string(29, ' ') + "Rechts");
    expectcursor(4, 1, 2);
    t_Area(4, 1, 8, 10, 8);
    t_Header(4, "Seelen", "orakel"); // without scrolling
    EXPECT_EQ(line(4, 8, 1, 10) + line(4, 1, 1, 5), "SeelenorakLinks");
    expectcursor(4, 1, 8);
}

TEST_F(Terminal, RefusalsBadTextAndExtremeNumbers) {
    quietly([] { t_InitWindow(5, 8, false, 64, 64, 0, 0, t_Font{}, true); });
    makewindow(4, 24, 40, 8);
    standin::LogCapture log;
    t_Print(5, "x");
    t_Color(5, 3); // the record guard lets a window without text through
    const t_Font font = record(4).Font;
    record(4).Font.Data.clear();
    t_Print(4, "x");
    t_WindowFont(4, font);
    t_Print(4, "a\xff"
               "b");
    EXPECT_EQ(line(4, 1, 1, 3), "a?b");
    EXPECT_EQ(log.lines(),
              (Lines{"t_Print: Window #5 not initialized.", "t_Print: Window #4 has no text font.",
                     "t_Print: Text is not well-formed UTF-8; its bad bytes were printed as \"?\"."}));
    EXPECT_EQ(record(5).TextColor, 0x30);
    const std::vector<uint8_t> text = textplanes(4);
    t_Htab(4, INT64_MAX);
    t_PrintTab(4, INT64_MIN, '-');
    t_TextHline(4, INT64_MIN, INT64_MIN + 1, 1, '-');
    t_InvertRect(4, 1, 1, INT64_MAX, 1);
    EXPECT_EQ(textplanes(4), text);
    EXPECT_EQ(record(4).TextHpos, 4);
}

// The block moves of the full-width path and the re-plot of the narrow one must leave the same memories;
// the narrow side scrolls the same lines as two areas, one column and the rest.
TEST_F(Terminal, NarrowAreasScrollLikeTheFullWidthBlockMove) {
    for (Int depth : {1, 4, 8, 16, 24, 32})
        for (auto scroll : {t_ScrollUp, t_ScrollDown}) {
            const bool up = scroll == t_ScrollUp;
            SCOPED_TRACE("depth " + std::to_string(depth) + (up ? " up" : " down"));
            Lines expected;
            for (uint8_t w : {4, 5}) {
                makewindow(w, depth, 10, 8);
                fill(w, 11);
                expected = lines(w);
                record(w).TextColor = 0x4A;
                record(w).TextInverse = true; // stored cells keep their colours; the fresh line is inverted
            }
            t_Area(4, 1, 2, 10, 7);
            scroll(4);
            t_Area(5, 1, 2, 9, 7);
            scroll(5);
            t_Area(5, 10, 2, 10, 7);
            scroll(5);
            EXPECT_EQ(textplanes(4), textplanes(5));
            EXPECT_EQ(graphicblock(4), graphicblock(5));
            expected.erase(expected.begin() + (up ? 1 : 6));
            expected.insert(expected.begin() + (up ? 6 : 1), std::string(10, ' '));
            EXPECT_EQ(lines(4), expected);
            EXPECT_EQ(attributeat(4, 1, up ? 7 : 2), 0xA4);
        }
}

TEST_F(Terminal, ScrollLockOneLineAreasAndClearing) {
    makewindow(4, 8, 10, 8);
    fill(4, 3);
    Lines expected = lines(4);
    record(4).ScrollLock = true;
    t_ScrollUp(4);
    t_ScrollDown(4);
    record(7).ScrollLock = true; // not even the guard speaks while the lock is on
    standin::LogCapture log;
    t_ScrollUp(7);
    record(7).ScrollLock = false;
    t_ScrollUp(7);
    EXPECT_EQ(log.lines(), Lines{"t_ScrollUp: Window #7 not initialized."});
    t_Vtab(4, 8); // text that reaches the end of the area goes on overwriting the last line
    t_Print(4, "ABCDEFGHIJKLMNO");
    expectcursor(4, 6, 8);
    expected[7] = "KLMNOFGHIJ";
    EXPECT_EQ(lines(4), expected);
    record(4).ScrollLock = false;
    for (Int lastColumn : {6, 10}) { // an area of one line is only blanked
        t_Area(4, 1, 4, lastColumn, 4);
        t_ScrollUp(4);
        t_ScrollDown(4);
        expected[3].replace(0, lastColumn, lastColumn, ' ');
        EXPECT_EQ(lines(4), expected);
    }
    // Clearing starts at the cursor, keeps it, and draws in the swapped colours while inverse.
    t_Area(4, 2, 2, 9, 7);
    t_Htab(4, 4); // column 5
    t_Vtab(4, 3);
    record(4).TextColor = 0x1E;
    t_Inverse(4);
    t_ClearEndOfWindow(4);
    t_Normal(4);
    expectcursor(4, 5, 3);
    expected[2].replace(4, 5, 5, ' ');
    for (Int y = 4; y <= 7; ++y) expected[y - 1].replace(1, 8, 8, ' ');
    EXPECT_EQ(lines(4), expected);
    EXPECT_EQ(attributeat(4, 5, 3) * 256 + attributeat(4, 2, 7), 0xE1E1);
    t_Vtab(4, 7); // on the area's last line only the rest of that line goes
    t_ClearEndOfWindow(4);
    expected[6].replace(4, 5, 5, ' ');
    EXPECT_EQ(lines(4), expected);
}

TEST_F(Terminal, ScreenReadBackRulesAndInvertedRectangles) {
    makewindow(4, 24, 10, 8);
    t_Print(4, "Grüße");
    t_Vtab(4, 4);
    t_Htab(4, 3);
    t_Print(4, "Welt ");
    EXPECT_EQ(t_GetScreen(4, "\r"), "Grüße\r\r\r  Welt");
    EXPECT_EQ(t_GetScreen(4, " "),
              "Grüße" + std::string(30, ' ') + "Welt"); // no line end: trailing blanks go
    t_Print(4, "\x0c"
               "ab");
    t_PrintChar(4, 13); // a cell holding 13 splits its line
    t_Print(4, "cd  ");
    record(4).TextColor = 0x90; // rules out of the line symbol
    t_TextHline(4, 4, 4, 2, '=');
    t_TextHline(4, 6, 5, 2, '=');
    t_Area(4, 3, 2, 8, 7);
    t_Htab(4, 3); // column 5
    t_TextLine(4);
    EXPECT_EQ(t_GetScreen(4, "\r"), "ab\rcd\r   =\xc2\x9c\xc2\x9c\xc2\x9c\xc2\x9c");
    expectcursor(4, 3, 3);
    EXPECT_EQ(attributeat(4, 8, 2), 0x90);
    // Inverting a rectangle swaps its colours, and twice restores it; bad rectangles do nothing.
    fill(4, 5);
    t_PrintSymbol(4, 'x', 0x32, 2, 3);
    const std::vector<uint8_t> graphic = graphicblock(4), text = textplanes(4);
    t_InvertRect(4, 2, 3, 5, 6);
    EXPECT_EQ(attributeat(4, 2, 3), 0x23);
    t_InvertRect(4, 2, 3, 5, 6);
    EXPECT_EQ(graphicblock(4), graphic);
    const Int bad[][4] = {{5, 3, 4, 6}, {1, 1, 10, 9}, {0, 1, 3, 3}, {1, 4, 3, 3}};
    for (const auto& r : bad) t_InvertRect(4, r[0], r[1], r[2], r[3]);
    EXPECT_EQ(textplanes(4), text);
    // A font without the rule's glyph leaves the pixels but records the symbol and moves on.
    makewindow(4, 24, 10, 8, testfont(0, 155));
    t_TextLine(4);
    EXPECT_EQ(line(4, 1) + std::to_string(record(4).TextVpos), std::string(10, '\x9c') + "2");
    EXPECT_EQ(graphicblock(4), std::vector<uint8_t>(graphicblock(4).size(), 0));
}

// Text is plotted in runs of cached glyphs; it must draw what cell-by-cell printing draws, with every
// symbol in several colours, inverse, a mode, a narrow area, wraps, scrolls, symbols beyond the font,
// and cells of many sizes in which two glyphs sooner or later meet in one place of the cache.
TEST_F(Terminal, TextDrawsWhatCellByCellPrintingDraws) {
    std::string busy = "\x1bO\x1bP", symbols;
    for (int s = 32; s < 256; ++s) symbols += static_cast<char>(s);
    for (char colour : {'I', 'J', 'K', 'L'})
        busy += std::string("\x1b") + colour + symbols.substr(0, 68) + "\x0f" + symbols.substr(68, 40) +
                "\x0e" + symbols.substr(108, 30) + "\r" + symbols.substr(138, 30) + "\x14" + "ab\x13" +
                symbols.substr(168);
    std::vector<std::tuple<t_Font, Int, Int, bool, std::string>> rows; // font, depth, columns, narrow, text
    for (Int depth : {8, 24})
        for (bool narrow : {false, true})
            for (const t_Font& font : {testfont(0, 250), testfont('f', 250, 16, 32)})
                rows.emplace_back(font, depth, 30, narrow, busy);
    for (Int width = 1; width <= 8; ++width)
        for (Int height = 4; height <= 8; height += 2) {
            t_Font font = testfont(0, 255, width, height);
            for (size_t i = 0; i < font.Data.size(); ++i) font.Data[i] = static_cast<uint8_t>(i * 131 >> 3);
            rows.emplace_back(font, 24, 240, false, symbols);
        }
    for (const auto& [font, depth, columns, narrow, text] : rows) {
        auto print = [&](bool together) {
            makewindow(4, depth, columns, 8, font);
            if (narrow) t_Area(4, 4, 2, 20, 7);
            record(4).TextColor = 0x5A;
            if (together) printbytes(4, text);
            for (const uint8_t code : together ? "" : text) // one at a time: plain codes through t_PrintChar
                if (code >= 32 && record(4).TextDisplayMode == 0)
                    t_PrintChar(4, code);
                else
                    t_Print(4, Text{std::vector<uint8_t>{code}});
            const t_Window& w = record(4);
            return std::tuple{graphicblock(4), textplanes(4), w.TextHpos,
                              w.TextVpos,      w.TextColor,   w.TextInverse};
        };
        EXPECT_TRUE(print(true) == print(false))
            << font.Width << " x " << font.Height << ", depth " << depth << (narrow ? ", narrow" : "");
    }
    // Redirected to the log or to nowhere, the symbols leave the window as it was, and the cursor moves.
    const std::vector<uint8_t> planes = textplanes(4), pixels = graphicblock(4);
    const Int hpos = record(4).TextHpos;
    standin::LogCapture log;
    t_RedirectOutput(4, 2);
    t_Print(4, "Grüße\n");
    t_RedirectOutput(4, 7);
    t_Print(4, "weg\n");
    t_RedirectOutput(4, 1);
    EXPECT_EQ(log.lines(), Lines{"Grüße"});
    EXPECT_EQ(record(4).TextHpos, hpos + 8);
    EXPECT_EQ(textplanes(4), planes);
    EXPECT_EQ(graphicblock(4), pixels);
}

// The start of the game as the players see it: header, rule and introduction, read back from the window.
TEST_F(Terminal, IntroductionStandsInTheWindowAsPrinted) {
    const std::string bundle = testsupport::builtbundle();
    ASSERT_TRUE(std::filesystem::exists(bundle + "/Contents/Resources/MenloBold 16x32.font"))
        << "build the seelenorakel_resources target first; looked in " << bundle;
    setbundlepath(bundle);
    t_DefaultWindow = 255; // as at launch: the run's first window becomes the default
    quietly([] {
        SeelenorakelSetUp();
        SeelenorakelIntroduction();
    });
    setbundlepath("");
    ASSERT_EQ(t_DefaultWindow.load(), 0);
    std::string rule;
    for (int i = 0; i < 80; ++i) rule += "\xc2\x9c"; // symbol 156 reads back as U+009C
    EXPECT_EQ(t_GetScreen(0, "\r"),
              "Das Seelenorakel" + std::string(32, ' ') + "Partnersuche für die ganze Runde\r" + rule + "\r" +
                  "Dieses Programm sucht unter den Teilnehmern zu Jedem den passenden Partner aus.\r"
                  "\r"
                  "Dazu werden Fragen gestellt, die bitte möglichst wahrheitsgetreu beantwortet\r"
                  "werden sollen (der Partner soll ja gut zu ihrer Persöhnlichkeit passen).\r"
                  "\r"
                  "Einige Fragen beziehen sich dabei auf ihre Ansprüche an den Partner.\r"
                  "\r"
                  "Beachten sie bitte dabei, das es um so schwieriger wird einen passenden\r"
                  "Partner für sie zu finden, je mehr sie von diesem erwarten.\r"
                  "\r"
                  "Sie brauchen nicht zu befürchten, dass ihre Antworten bekannt werden,\r"
                  "die Antworten werden nicht auf dem Bildschirm erscheinen.");
    // The cursor waits at the start of the line after the last empty one, inside the area below the header.
    expectcursor(0, 1, 16);
    EXPECT_EQ(record(0).TextFirstLine, 3);
    // Header and rule in red on black, the rest in yellow on black, blanks included.
    const std::pair<Int, Int> cells[] = {{1, 1}, {80, 1}, {40, 2}, {1, 3}, {80, 25}};
    std::vector<uint8_t> colours;
    for (auto [x, y] : cells) colours.push_back(attributeat(0, x, y));
    EXPECT_EQ(colours, std::vector<uint8_t>({0x10, 0x10, 0x10, 0xD0, 0xD0}));
}

} // namespace
