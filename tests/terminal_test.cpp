// The text terminal on windows of the stand-in platform. Reading keys on the program thread: the wait with
// its cursor, the output pause, the yes/no question, line input, floods of clicks and choices and their races
// with output. Glyphs at every depth, text output with its control codes, scrolling and clearing.
#include "terminal_fixture.h"

#include "shell/events.h"
#include "shell/menus.h"

#include <random>
#include <set>
#include <sstream>
#include <tuple>

namespace {

using namespace termtest;
using Lines = std::vector<std::string>;
using Terminal = TerminalTest;

constexpr uint8_t window = 0;

struct InputTest : TerminalTest {
    void SetUp() override {
        TerminalTest::SetUp();
        makewindow(window, 24, 20, 8);
        clearqueues();
    }
    void TearDown() override {
        clearqueues();
        TerminalTest::TearDown();
    }
    static void clearqueues() {
        testsupport::clearkeys();
        t_MouseQueue.clear(), t_MenuQueue.clear();
    }
    // A key as a view hands it over; with a key code below 255 and the control flag, Ctrl-S.
    static void typed(const std::string& characters, Int keyCode = 255, uint64_t flags = 0) {
        t_KeyEventHandler(window, t_PlatformKey{keyCode, characters, flags});
    }
    // Until the program thread has been through this many more polls of a wait.
    static bool polled(Int more) {
        const Int from = t_KeyWaitPolls.load();
        return standin::waitfor([&] { return t_KeyWaitPolls.load() >= from + more; });
    }
    // The line as it stands on the screen, without the blanks at its end.
    static std::string line(Int y) {
        std::istringstream rows(t_GetScreen(window, "\n"));
        std::string row;
        for (Int i = 1; i <= y; ++i)
            if (!std::getline(rows, row)) row.clear();
        return row.substr(0, row.find_last_not_of(' ') + 1);
    }
};

TEST_F(InputTest, WaitingShowsTheCursorUntilAKeyComes) {
    quietly([] { t_Print(window, "ab"); });
    t_CursorLeft(window); // on the "b"
    const std::vector<uint8_t> before = graphicblock(window);
    auto got = std::async(std::launch::async, [] { return t_WaitKey(window); });
    ASSERT_TRUE(polled(2));
    EXPECT_NE(graphicblock(window), before) << "no inverted cell while waiting";
    typed("ä");
    EXPECT_EQ(got.get(), "ä");
    EXPECT_EQ(graphicblock(window), before);
    EXPECT_EQ(t_NextEvent(), -1);
}

// Ctrl-S typed while output runs: printing stops at the next check, the keys typed before it are lost,
// the key (or menu choice) that ends the pause is used up, and the one after it is read.
TEST_F(InputTest, AKeyTypedWhileOutputIsPausedResumesItAndIsNotDelivered) {
    quietly([] { t_Print(window, "ab"); });
    for (bool menu : {false, true}) {
        typed("x");
        typed("\x13", 1, t_ModControl);
        auto program = std::async(std::launch::async, [] { t_Print(window, "cd"); });
        ASSERT_TRUE(polled(3));
        EXPECT_EQ(program.wait_for(std::chrono::seconds(0)), std::future_status::timeout);    // paused
        EXPECT_TRUE(([] { return std::scoped_lock(t_KeyQueueLock), t_KeyQueue.empty(); }())); // x is lost
        EXPECT_EQ(t_GetScreen(window, "\r"), menu ? "abcdcd" : "abcd"); // the check comes after the text
        menu ? void(t_MenuQueueSize++) : typed("y");
        program.get();
        typed("z");
        EXPECT_EQ(t_WaitKey(window), "z");
    }
}

TEST_F(InputTest, YesNoQuestionByItsTable) {
    const struct {
        std::string key;
        Int fallback, result;
        const char* echo;
    } rows[] = {
        {"\r", 1, 1, "J"}, {"\r", 0, 0, "N"}, {" ", -5, -5, "N"}, {"\x1b", 1, -1, "N"}, {"J", 0, 1, "J"},
        {"y", 0, 1, "J"},  {"n", 1, 0, "N"},  {"N", 1, 0, "N"},   {"ä", 1, -2, "N"},    {"j", 0, 1, ""},
    };
    for (const auto& row : rows) {
        quietly([] { t_Print(window, "\fJa?Q\b"); });
        typed(row.key);
        EXPECT_EQ(t_InputYesNo(window, row.fallback, *row.echo != 0), row.result) << row.key;
        // The cell under the cursor was cleared, then the answer's letter put there; without echo, nothing.
        EXPECT_EQ(t_GetScreen(window, "\r"), std::string("Ja?") + (*row.echo ? row.echo : "Q")) << row.key;
    }
}

// Control with pad 7, 8 and 9 switches the output; with Option it types. Keys for no window are dropped.
TEST_F(InputTest, ControlWithThePadSwitchesTheOutputAndOtherKeysAreQueued) {
    standin::LogCapture log;
    viewKeyDown(5, {0, "a", 0});
    viewKeyDown(window, {200, stringfromscalar(0x263A), 0}); // no event: beyond the tables
    for (auto [code, target] : {std::pair{89, 0}, {91, 2}, {92, 1}}) {
        viewKeyDown(window, {code, "7", t_ModControl | t_ModNumericPad});
        EXPECT_EQ(record(window).TextRedirectOutput.load(), target) << code;
    }
    viewKeyDown(window, {89, "7", t_ModControl | t_ModNumericPad | t_ModOption});
    std::lock_guard<std::mutex> hold(t_KeyQueueLock);
    ASSERT_EQ(t_KeyQueue.size(), 1u);
    EXPECT_EQ(t_KeyQueue.front().Value, 229);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"viewKeyDown: Graphic window (5) not initialized."});
}

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
    EXPECT_EQ(recorder->pasteboard, "Grüße€");

    // Paste: the first line only, through the key queue and its filters.
    recorder->pasteboard = "12a34\nzweite Zeile";
    t_PostKeyString("\x16");
    const Int polls = t_KeyWaitPolls.load();
    std::thread typist([polls] { // Return once the field has taken the pasted keys and waits
        while (t_KeyEventPending.load() || t_KeyWaitPolls.load() <= polls)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        t_PostKeyString("\r");
    });
    EXPECT_EQ(t_InputForm(window, "", "", false, 2, 25), "1234");
    typist.join();
    // A scalar above 255 arrives as ESC and cancels; its digits and GS wait for the next reader.
    recorder->pasteboard = "a€b";
    t_PostKeyString("\x16");
    EXPECT_EQ(t_InputForm(window, "", "", false, 0, 80), "");
    std::string rest;
    while (t_KeyEventPending.load()) rest += stringfromscalar(t_NextEvent());
    EXPECT_EQ(rest, "20AC\035b");
    // A paste far larger than the field queues what fits, and the log tells of the cut.
    standin::LogCapture log;
    recorder->pasteboard = std::string(100000, 'x');
    t_InputForm(window, "", "ab", true, 0, 10);
    t_InputEdit(window, 22);
    EXPECT_EQ(t_KeyQueue.size(), 8u);
    EXPECT_TRUE(
        log.has("t_InputEdit: Pasted text of 100000 bytes cut to the 8 characters the field has room for."));
}

// A flood of clicks and menu choices keeps the newest 1000 of each, says so once, and runs the program's
// handlers on one thread each, not on a thread per event (told by running number: an id may be reused).
TEST_F(InputTest, FloodsOfClicksAndChoicesAreBounded) {
    standin::LogCapture log;
    std::mutex lock;
    std::set<int64_t> threads;
    t_ProgramMouseHandler = t_ProgramMenuHandler = [&] {
        std::lock_guard<std::mutex> hold(lock);
        threads.insert(threadnumber());
    };
    for (int i = 0; i < 1500; ++i) {
        viewMouseDown(window, {1, 0, double(i), 0}, false);
        ASSERT_TRUE(standin::onmain([i] { t_MenuEventHandler({true, "", "", "", 0, 1000 + i}); }));
    }
    EXPECT_EQ(std::tuple(t_MouseQueue.size(), t_MouseQueue.front().WindowX), std::tuple(1000u, 500));
    EXPECT_EQ(std::tuple(t_MenuQueue.size(), t_MenuQueue.front().ItemAction), std::tuple(1000u, 1500));
    const std::string full = ": Queue full at 1000 events, the oldest are dropped.";
    for (const std::string routine : {"t_MouseEventHandler", "t_MenuEventHandler"})
        EXPECT_EQ(std::ranges::count(log.lines(), routine + full), 1);
    // The runs still due end (they are quick) before the handlers go.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    std::lock_guard<std::mutex> hold(lock);
    t_ProgramMouseHandler = t_ProgramMenuHandler = [] {};
    EXPECT_EQ(threads.size(), 2u);
}

// The program thread prints and makes its window anew while the main thread copies the screen, clicks,
// switches the output and composes frames: under tools/tsan.sh the checker sees every access they share.
TEST_F(InputTest, CopyClickAndRedirectWhileTheProgramPrints) {
    t_PlatformPort port = platformport();
    port.MainWindow = [] { return t_WindowHandle(0); };
    setplatformport(port);
    record(window).Visible = true;
    standin::LogCapture log; // the window's making and the redirected text
    std::atomic<bool> printing{true};
    std::thread program([&] {
        // Two shapes: 80 x 32 pixels with no border, 80 x 40 with a border of 4.
        for (Int n = 0, b = 0; printing; b = ++n / 40 % 2 * 4) {
            if (n % 40 == 0) t_InitWindow(0, 24, false, 80, 32 + 2 * b, b, b, cellfont(), true);
            t_Print(0, "Zeile " + std::to_string(n) + "\r");
        }
    });
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
    for (int i = 0; std::chrono::steady_clock::now() < end || i < 20; ++i)
        ASSERT_TRUE(standin::onmain([i, frame = t_Image()]() mutable {
            t_MenuEventHandler({true, "", "", "", 0, 111});
            viewMouseDown(0, {1, 0, 10, 20}, false);
            viewKeyDown(0, {89 + i % 3 + (i % 3 > 0), "7", t_ModControl | t_ModNumericPad});
            t_WindowImage(0, frame);
        }));
    printing = false;
    program.join();
    // Each click was placed by one shape of the window, never by half of each.
    for (const t_Event& c : t_MouseQueue)
        EXPECT_TRUE(c.ClickX * 100 + c.ClickY == 1012 || c.ClickX * 100 + c.ClickY == 624)
            << c.ClickX << "," << c.ClickY;
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
    EXPECT_EQ(line(4, 1).substr(0, 3), "zz "); // the cell is recorded all the same
    // A window without a font; text that is not UTF-8.
    standin::LogCapture log;
    const t_Font font = record(4).Font;
    record(4).Font.Data.clear();
    t_Print(4, "x");
    t_WindowFont(4, font);
    t_Print(4, "a\xff");
    EXPECT_EQ(line(4, 1).substr(0, 2), "a?");
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
        std::string got; // without trailing blanks
        for (std::string l : lines(4)) got += l.erase(l.find_last_not_of(' ') + 1) + "|";
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

} // namespace
