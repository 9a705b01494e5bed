// Whole evenings played through the real program: participants typed on a German keyboard as the X server
// delivers its keys, the data file after each of them, and the evaluation at the end.
#include "../testsupport.h"
#include "harness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace std::chrono_literals;
using harness::dumpof;

// Typed ahead, and a wait until the program has taken them all.
void keys(harness::Game& game, const std::string& text) {
    ASSERT_TRUE(game.type(text)) << game.screen();
}

void backspace(harness::Game& game) {
    game.press(0x01000003, "\b", 0, 22);
}
void left(harness::Game& game) {
    game.press(0x01000012, "", 0, 113);
}

bool shows(harness::Game& game, const std::string& line) {
    return ("\n" + game.screen() + "\n").find("\n" + line + "\n") != std::string::npos;
}

void expectlines(harness::Game& game, std::initializer_list<const char*> lines) {
    for (const char* line : lines) EXPECT_TRUE(shows(game, line)) << line << "\n" << game.screen();
}

const std::string statements = "12345123451234512345123451234512345123";

TEST(Game, AnEveningOfParticipants) {
    harness::Bundle bundle;
    harness::Game game(bundle);
    ASSERT_TRUE(game.waitforkey()) << game.log();
    keys(game, "\r\r");

    // Names, edited with the cursor and Backspace keys.
    keys(game, "Jürgn");
    left(game);
    keys(game, "e\rWeiss");
    backspace(game);
    backspace(game);
    keys(game, "ß\r1981\r7\r3\r");
    expectlines(game, {"Vorname : Jürgen", "Nachname: Weiß", "Eingabe des Geburtsjahres (JJJJ): 1981",
                       "Eingabe des Geburtsmonates  (MM): 7", "Eingabe des Geburtstages    (TT): 3",
                       "bzw. eine 0 falls sie männlich sind:"});

    keys(game, "011178\r");
    expectlines(game, {"Ihre Religion: 1", "1  Katholisch", "5  Sonstige", "Ihre Staatsangehörigkeit: 1",
                       "5  Außerhalb der EG", "Ihre Größe   (cm): 178", "Ihre Gewicht (kg):"});

    // Status and income show their digit, the colour doesn't; statements show none.
    keys(game, "62\r234" + statements.substr(0, 5));
    expectlines(game, {"Aussage: Ich arbeite engagiert für den Frieden.",
                       "Ihre Meinung dazu:", "5  Nein, das stimmt nicht, bestimmt nicht"});
    keys(game, statements.substr(5) + "10");
    expectlines(game, {"Der gewünschte Partner darf verheiratet sein? 1",
                       "Der gewünschte Partner soll meiner Religion angehören? 0",
                       "Der gewünschte Partner soll dem anderen Geschlecht angehören?"});
    // Nothing reached the file before the last answer.
    keys(game, "0");
    EXPECT_EQ(bundle.readdata(), "");
    keys(game, "n");
    // Born, sex, religion, nationality, size, weight, status, income, colour, statements, demands.
    const std::string juergen = "19810703011178062234" + statements + "100";
    EXPECT_EQ(bundle.readdata(), dumpof({{"Jürgen Weiß", juergen}}));
    EXPECT_TRUE(game.logshows("SeelenorakelInput: Record #1 für 'Jürgen Weiß' wurde angelegt."))
        << game.log();
    EXPECT_EQ(game.clipboard(), "");
    EXPECT_TRUE(shows(game, "Bitte den 2. Teilnehmer eingeben.")) << game.screen();

    // Björn asks for changes; 1899 and 29 February 1900 are asked again, 29 February 2000 is taken.
    keys(game, "\rBjörn\rKrüger\r1899\r1900\r2\r29\r");
    EXPECT_TRUE(shows(game, "Eingabe des Geburtstages    (TT):")) << game.screen();
    keys(game, "28\r122170\r70\r111" + std::string(38, '3') + "111");
    EXPECT_TRUE(shows(game, "Änderungen erwünscht? (J/N)")) << game.screen();
    EXPECT_EQ(bundle.readdata(), dumpof({{"Jürgen Weiß", juergen}}));
    keys(game, "j");
    keys(game, "Björn\rKrüger\r2000\r2\r29\r033190\r100\r555" + std::string(38, '5') + "001n");
    const std::string bjoern = "20000229033190100555" + std::string(38, '5') + "001";
    EXPECT_EQ(bundle.readdata(), dumpof({{"Jürgen Weiß", juergen}, {"Björn Krüger", bjoern}}));

    // The same name in another case: J overwrites the old entry, names it anew, and the count stands.
    keys(game, "\rjürgen\rweiß\r");
    EXPECT_TRUE(shows(game, "Ihr Name ist bereits gespeichert.")) << game.screen();
    keys(game, "j1981\r7\r3\r011178\r62\r234" + statements + "100n");
    EXPECT_EQ(bundle.readdata(), dumpof({{"jürgen weiß", juergen}, {"Björn Krüger", bjoern}}));
    EXPECT_TRUE(game.logshows("SeelenorakelInput: Record #1 für 'jürgen weiß' wird geändert.")) << game.log();
    EXPECT_TRUE(shows(game, "Bitte den 3. Teilnehmer eingeben.")) << game.screen();

    // A first name of 16 letters is refused with two lines; N to the clash stores nothing.
    keys(game, "\rMaximilianeeeeee\r");
    expectlines(game, {"Ihr Vorname ist zu lang: Er soll max. 15 Buchstaben lang sein.",
                       "Bitte kürzen Sie ihn sinnvoll ab! Dabei keinen Punkt verwenden!"});
    keys(game, "Björn\rKRÜGER\rn");
    EXPECT_TRUE(shows(game, "Dann tritt ein Anderer an Ihre Stelle.")) << game.screen();
    keys(game, "x");
    EXPECT_TRUE(shows(game, "Bitte den 3. Teilnehmer eingeben.")) << game.screen();
    EXPECT_EQ(bundle.readdata(), dumpof({{"jürgen weiß", juergen}, {"Björn Krüger", bjoern}}));

    // Umlauts count one letter each: 15 and 20 of them are taken.
    const std::string first = "Ömerüäößüäößüäö", last = "Krügerüäößüäößüäößü";
    keys(game, "\r" + first + "\r" + last + "\r1990\r12\r31\r144160\r55\r321" + statements + "111n");
    const std::string oemer = "19901231144160055321" + statements + "111";
    EXPECT_EQ(bundle.readdata(),
              dumpof({{"jürgen weiß", juergen}, {"Björn Krüger", bjoern}, {first + " " + last, oemer}}));

    // Esc: the report on the clipboard with the desktop's line ends, the end note on the screen.
    game.escape();
    ASSERT_TRUE(game.screenshows("(Programm Ende)")) << game.screen();
    const std::string report = game.clipboard();
    EXPECT_EQ(
        report.rfind("Seelenorakel Auswertung\n=======================\n\nAuswertung für jürgen weiß\n", 0),
        0u)
        << report;
    EXPECT_NE(report.find("\nAuswertung für Björn Krüger\n"), std::string::npos) << report;
    EXPECT_EQ(report.find('\r'), std::string::npos);
    EXPECT_TRUE(shows(game, "*: Es wird das andere Geschlecht bevorzugt.")) << game.screen();

    // The printer window shows the pair suggestions, and the clipboard holds the report as it always did.
    // Ömer wants her own religion, which nobody shares, and Björn wants an unmarried woman: nobody pairs.
    const std::string people = "jürgen weiß, Björn Krüger, " + first + " " + last;
    ASSERT_TRUE(game.logshows("t_QuitProgram")) << game.log();
    const std::string printed = harness::unhex(game.ask("text 9"));
    EXPECT_EQ(printed.rfind("Paarvorschläge\n==============\n\nDie drei Besten für jeden:\njürgen weiß: ", 0),
              0u)
        << printed;
    EXPECT_NE(printed.find("\n" + first + " " + last +
                           ": niemand\n\nPaare, die einander zulassen:\nOhne Partner: " + people + "\n"),
              std::string::npos)
        << printed;
    EXPECT_EQ(game.ask("visible 9"), "1");
    testsupport::participants(
        {{"jürgen weiß", juergen}, {"Björn Krüger", bjoern}, {first + " " + last, oemer}});
    std::string expected = SeelenorakelReport();
    std::replace(expected.begin(), expected.end(), '\r', '\n');
    EXPECT_EQ(report, expected);
}

// The data file is what the evening leaves behind: a file that didn't load is kept, leftovers of a cut-off
// save go, and a save that fails shows in the title.
TEST(Game, TheDataFileIsNeverLost) {
    const std::string someone = "\rAb\rCd\r1990\r1\r1\r011170\r70\r111" + std::string(38, '3') + "000n";
    {
        harness::Bundle bundle;
        const std::string edited = "T0\nF0 Name\nAnna\n";
        bundle.writedata(edited);
        std::ofstream(bundle.folder + ".Seelenorakel-Daten.txt.99.0.tmp") << "halb";
        harness::Game game(bundle);
        ASSERT_TRUE(game.waitforkey()) << game.log();
        EXPECT_TRUE(
            game.logshows("removeleftovers: Removed " + bundle.folder + ".Seelenorakel-Daten.txt.99.0.tmp"));
        EXPECT_TRUE(game.logshows("; its bytes were kept in " + bundle.datafile() + ".")) << game.log();
        std::vector<std::string> kept;
        for (const auto& entry : std::filesystem::directory_iterator(bundle.folder))
            if (entry.path().extension() == ".bak") kept.push_back(entry.path().string());
        ASSERT_EQ(kept.size(), 1u);
        std::ifstream in(kept[0], std::ios::binary);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), edited);
        EXPECT_FALSE(std::filesystem::exists(bundle.folder + ".Seelenorakel-Daten.txt.99.0.tmp"));
    }
    harness::Bundle bundle;
    std::filesystem::create_directory(bundle.datafile());
    harness::Game game(bundle);
    ASSERT_TRUE(game.waitforkey()) << game.log();
    keys(game, "\r" + someone);
    EXPECT_TRUE(game.logshows("setstringtofile: Error #")) << game.log();
    EXPECT_EQ(game.ask("title 0"), "Seelenorakel – Letztes Speichern fehlgeschlagen!");
    EXPECT_TRUE(shows(game, "Bitte den 2. Teilnehmer eingeben.")) << game.screen();
}

// Killed at random moments, some of them in the middle of a save, the program leaves the data file as it
// was before the participant or as it is after, never anything between, and no leftover in the way.
TEST(Game, AKillAtAnyMomentLeavesTheDataFileWhole) {
    harness::Bundle bundle;
    harness::People stored;
    std::mt19937 random(20261123);
    int delay = 5000; // microseconds
    for (int kill = 0; kill < 200; ++kill) {
        harness::Game game(bundle);
        ASSERT_TRUE(game.waitforkey()) << game.log();
        const std::string last = {char('a' + kill / 26 % 26), char('a' + kill % 26)};
        const std::string answers = "19800101011170070111" + std::string(38, '3') + "000";
        // Everything typed ahead; the kill comes somewhere while the program takes it and saves.
        // The delay of the kill after the last key follows the moment of the save, however fast the
        // build: later after a kill that came before it, earlier after one that came after it.
        game.send("\r\rNr\r" + last + "\r1980\r1\r1\r011170\r70\r111" + std::string(38, '3') + "000n");
        std::this_thread::sleep_for(std::chrono::microseconds(delay / 2 + random() % delay));
        game.kill();
        const std::string before = dumpof(stored);
        harness::People after = stored;
        after.emplace_back("Nr " + last, answers);
        const std::string now = bundle.readdata();
        if (now == dumpof(after)) {
            stored = after;
            delay = std::max(delay * 4 / 5, 200);
        } else if (!stored.empty() || std::filesystem::exists(bundle.datafile())) {
            // Before the first save there is no file at all.
            ASSERT_EQ(now, before) << "kill " << kill;
            delay = delay * 5 / 4 + 500;
        } else {
            delay = delay * 5 / 4 + 500;
        }
    }
    // Both outcomes came about: kills before the save and after it.
    EXPECT_GT(stored.size(), 0u);
    EXPECT_LT(stored.size(), 200u);
    harness::Game game(bundle);
    ASSERT_TRUE(game.waitforkey());
    for (const auto& entry : std::filesystem::directory_iterator(bundle.folder))
        EXPECT_NE(entry.path().extension(), ".tmp") << entry.path();
}

} // namespace
