// The text terminal on windows of the stand-in platform: glyphs at every depth, the cursor, text output with
// its control codes, scrolling and clearing, and the game's introduction.
#include "terminal_fixture.h"

#include "application/application.h"

#include <random>

namespace {

using namespace termtest;
using Lines = std::vector<std::string>;
using Terminal = TerminalTest;

TEST_F(Terminal, GlyphsBlendInLiteralFigures) {
    // The edges of the blend in literal figures: symbol 1's top row is grey 128, 127, 0, 255.
    t_Font font = cellfont();
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

TEST_F(Terminal, RefusalsAreLoggedAndChangeNoPixel) {
    makewindow(4, 24, 10, 8);
    const std::vector<uint8_t> before = graphicblock(4);
    const struct {
        Int format, x, y;
        size_t data;
        std::string line;
    } rows[] = {{102, 1, 1, 4096, "Font format must be uncompressed grey for text-printing."},
                {7, 1, 1, 4096, "Illegal font format."},
                {2, 2, 1, 1600, "Font has no glyph data for symbol 122."},
                {2, 11, 1, 4096, "Window #4 illegal coordinates (x = 11, y = 1)."},
                {2, 3, -1, 4096, "Window #4 illegal coordinates (x = 3, y = -1)."}};
    for (const auto& row : rows) {
        record(4).Font.Format = row.format;
        record(4).Font.Data.resize(row.data);
        standin::LogCapture log;
        t_PrintSymbol(4, 'z', 0x1F, row.x, row.y);
        EXPECT_EQ(log.lines(), Lines{"t_PrintSymbol: " + row.line});
        EXPECT_EQ(graphicblock(4), before) << row.line;
    }
    EXPECT_EQ(line(4, 1, 1, 3), "zz "); // the cell is recorded all the same
    // A window without a font; text that is not UTF-8.
    standin::LogCapture log;
    const t_Font font = record(4).Font;
    record(4).Font.Data.clear();
    t_Print(4, "x");
    t_WindowFont(4, font);
    t_Print(4, "a\xff");
    EXPECT_EQ(line(4, 1, 1, 2), "a?");
    EXPECT_EQ(log.lines(),
              (Lines{"t_Print: Window #4 has no text font.",
                     "t_Print: Text is not well-formed UTF-8; its bad bytes were printed as \"?\"."}));
}

// Printed text by its table: the lines held (symbols as bytes), the cursor, the colours of the first cells
// and the text colour. Codes in octal; input is UTF-8, so that "È" is symbol 200 (octal 310).
TEST_F(Terminal, PrintedTextByItsTable) {
    const struct {
        std::vector<std::string> prints;
        std::string screen, cursor;
        std::vector<uint8_t> colours = {};
        uint8_t color = 0xC0;
    } rows[] = {
        {{"Hallo\rWelt\b\bX"}, "Hallo|WeXt", "4,2"}, // two left, then a letter
        // Clear the line to its first column; up, right, right, clear to the end of the line.
        {{"Hallo\rWelt\032\036\034\034\035"}, "Ha", "3,1"},
        // Column 1, inverse, Q, reverse, R, mode 1, mode 2, mode 0.
        {{"ab\022\017Q\021R\024A\037a\023A"}, "QR\301\201A", "6,1", {0x0C, 0xC0}},
        {{"ab\r\f\001\t\020\025\030"}, "", "1,1"},  // home and clear; codes without an entry do nothing
        {{"A\rB\033e\034"}, "B", "1,8"},            // right over the area's last cell scrolls it up,
        {{"AB\031\b"}, "|AB", "40,1"},              // left before its first down,
        {{"A\r\r\r\r\r\r\rB\n"}, "||||||B", "2,8"}, // and down below its last line up
        // Mode 1 lifts 32 to 127 by 128, mode 2 moves 64 to 127; a character beyond a byte shows as "?".
        {{"\024AÈ~\037AaÈ\023\177€"}, "\301\310\376\001\201\310\177?", "9,1"},
        // Escape sets colours, may straddle two prints, and after an unknown code prints it and waits on; the
        // colour is that of the text, not of the swapped drawing.
        {{"\033B\033", "R\0331\001A\017\033O"}, "1\001", "3,1", {0x22, 0x22}, 0xF2},
    };
    for (const auto& row : rows) {
        makewindow(4, 24, 40, 8);
        for (const std::string& text : row.prints) t_Print(4, text);
        std::string got;
        for (Int y = 1; y <= 8; ++y) {
            const std::string l = line(4, y);
            got += l.substr(0, l.find_last_not_of(' ') + 1) + "|";
        }
        got.erase(got.find_last_not_of('|') + 1);
        std::vector<uint8_t> colours;
        for (Int x = 1; x <= Int(row.colours.size()); ++x) colours.push_back(attributeat(4, x, 1));
        SCOPED_TRACE(testing::PrintToString(row.prints[0]));
        EXPECT_EQ(got, row.screen);
        EXPECT_EQ(cursor(4), row.cursor);
        EXPECT_EQ(colours, row.colours);
        EXPECT_EQ(record(4).TextColor, row.color);
    }
}

// The block moves of the full-width path and the re-plot of the narrow one must leave the same memories;
// the narrow side scrolls the same lines as two areas, one column and the rest. Clearing keeps to the area.
TEST_F(Terminal, NarrowAreasScrollLikeTheFullWidthBlockMoveAndClearingKeepsToTheArea) {
    auto lines = [](uint8_t w) {
        Lines out;
        for (Int y = 1; y <= 8; ++y) out.push_back(line(w, y));
        return out;
    };
    for (Int depth : {1, 4, 8, 16, 24, 32})
        for (auto scroll : {t_ScrollUp, t_ScrollDown}) {
            const bool up = scroll == t_ScrollUp;
            SCOPED_TRACE("depth " + std::to_string(depth) + (up ? " up" : " down"));
            Lines expected;
            for (uint8_t w : {4, 5}) {
                makewindow(w, depth, 10, 8);
                std::mt19937 random(11); // every cell a random symbol in random colours, some inverted
                for (Int y = 1; y <= 8; ++y)
                    for (Int x = 1; x <= 10; ++x)
                        record(w).TextInverse = random() % 3 == 0,
                        t_PrintSymbol(w, uint8_t(random()), uint8_t(random()), x, y);
                expected = lines(w);
                record(w).TextColor = 0x4A;
                record(w).TextInverse = true; // stored cells keep their colours; the fresh line is inverted
            }
            t_Area(4, 1, 2, 10, 7);
            scroll(4);
            for (Int c : {1, 10}) t_Area(5, c, 2, c == 1 ? 9 : 10, 7), scroll(5);
            EXPECT_EQ(textplanes(4), textplanes(5));
            EXPECT_EQ(graphicblock(4), graphicblock(5));
            expected.erase(expected.begin() + (up ? 1 : 6));
            expected.insert(expected.begin() + (up ? 6 : 1), std::string(10, ' '));
            EXPECT_EQ(lines(4), expected);
            EXPECT_EQ(attributeat(4, 1, up ? 7 : 2), 0xA4);
            t_Htab(4, 5), t_Vtab(4, 6), t_ClearEndOfWindow(4); // from the cursor to the end of the area
            expected[5].replace(4, 6, 6, ' '), expected[6] = std::string(10, ' ');
            EXPECT_EQ(lines(4), expected);
        }
}

// Text is plotted in runs of cached glyphs: it must draw what cell-by-cell printing draws, for every symbol
// and code path, and for cells of many sizes in which two glyphs sooner or later meet in one cache place.
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
            for (const t_Font& font : {cellfont(4, 4, 0, 250), cellfont(16, 32, 'f', 250)})
                rows.emplace_back(font, depth, 30, narrow, busy);
    for (Int width = 1; width <= 8; ++width)
        for (Int height = 4; height <= 8; height += 2) {
            t_Font font = cellfont(width, height);
            for (size_t i = 0; i < font.Data.size(); ++i) font.Data[i] = static_cast<uint8_t>(i * 131 >> 3);
            rows.emplace_back(font, 24, 240, false, symbols);
        }
    for (const auto& [font, depth, columns, narrow, text] : rows) {
        auto print = [&](bool together) {
            makewindow(4, depth, columns, 8, font);
            if (narrow) t_Area(4, 4, 2, 20, 7);
            record(4).TextColor = 0x5A;
            if (together) t_Print(4, Text{{text.begin(), text.end()}});
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
    const auto before = std::tuple{textplanes(4), graphicblock(4), record(4).TextHpos + 8};
    standin::LogCapture log;
    t_RedirectOutput(4, 2), t_Print(4, "Grüße\n");
    t_RedirectOutput(4, 7), t_Print(4, "weg\n");
    t_RedirectOutput(4, 1);
    EXPECT_EQ(log.lines(), Lines{"Grüße"});
    EXPECT_TRUE(std::tuple(textplanes(4), graphicblock(4), record(4).TextHpos) == before);
}

// The start of the game as the players see it: header, rule and introduction, read back from the window.
TEST_F(Terminal, IntroductionStandsInTheWindowAsPrinted) {
    setbundlepath(testsupport::builtbundle()); // made by the seelenorakel_resources target
    t_DefaultWindow = 255;                     // as at launch: the run's first window becomes the default
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
    EXPECT_EQ(cursor(0) + " " + std::to_string(record(0).TextFirstLine), "1,16 3");
    // Header and rule in red on black, the rest in yellow on black, blanks included.
    EXPECT_EQ(std::vector<int>({attributeat(0, 1, 1), attributeat(0, 80, 1), attributeat(0, 40, 2),
                                attributeat(0, 1, 3), attributeat(0, 80, 25)}),
              std::vector<int>({0x10, 0x10, 0x10, 0xD0, 0xD0}));
}

} // namespace
