// Whole evenings played through the real program: participants typed on a German keyboard as the X server
// delivers its keys, the data file after each of them, and the evaluation at the end.
#include "../testsupport.h"
#include "harness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

#include <sys/stat.h>

namespace {

using namespace std::chrono_literals;
using harness::dumpof;

// Whole lines on the screen.
void expectlines(harness::Game& game, std::initializer_list<const char*> lines) {
    const std::string screen = "\n" + game.screen() + "\n";
    for (const char* line : lines)
        EXPECT_NE(screen.find("\n" + std::string(line) + "\n"), std::string::npos) << line << screen;
}

// Typed ahead, a wait until the program has taken them all, and the lines that then show.
void keys(harness::Game& game, const std::string& text, std::initializer_list<const char*> lines = {}) {
    ASSERT_TRUE(game.type(text)) << game.screen();
    expectlines(game, lines);
}

const std::string statements = "12345123451234512345123451234512345123";

TEST(Game, AnEveningOfParticipants) {
    harness::Bundle bundle;
    harness::Game game(bundle);
    ASSERT_TRUE(game.waitforkey()) << game.log();
    keys(game, "\r\r");

    // Names, edited with the cursor and Backspace keys.
    keys(game, "Jürgn");
    game.press(0x01000012, "", 0, 113); // Left
    keys(game, "e\rWeiss");
    for (int i = 0; i < 2; ++i) game.press(0x01000003, "\b", 0, 22); // Backspace
    keys(game, "ß\r1981\r7\r3\r",
         {"Vorname : Jürgen", "Nachname: Weiß", "Eingabe des Geburtsjahres (JJJJ): 1981",
          "Eingabe des Geburtsmonates  (MM): 7", "Eingabe des Geburtstages    (TT): 3",
          "bzw. eine 0 falls sie männlich sind:"});

    keys(game, "011178\r",
         {"Ihre Religion: 1", "1  Katholisch", "5  Sonstige", "Ihre Staatsangehörigkeit: 1",
          "5  Außerhalb der EG", "Ihre Größe   (cm): 178", "Ihre Gewicht (kg):"});

    // Status and income show their digit, the colour doesn't; statements show none.
    keys(game, "62\r234" + statements.substr(0, 5),
         {"Aussage: Ich arbeite engagiert für den Frieden.",
          "Ihre Meinung dazu:", "5  Nein, das stimmt nicht, bestimmt nicht"});
    keys(game, statements.substr(5) + "10",
         {"Der gewünschte Partner darf verheiratet sein? 1",
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
    expectlines(game, {"Bitte den 2. Teilnehmer eingeben."});

    // Björn asks for changes; 1899 and 29 February 1900 are asked again, 29 February 2000 is taken.
    keys(game, "\rBjörn\rKrüger\r1899\r1900\r2\r29\r", {"Eingabe des Geburtstages    (TT):"});
    keys(game, "28\r122170\r70\r111" + std::string(38, '3') + "111", {"Änderungen erwünscht? (J/N)"});
    EXPECT_EQ(bundle.readdata(), dumpof({{"Jürgen Weiß", juergen}}));
    keys(game, "j");
    keys(game, "Björn\rKrüger\r2000\r2\r29\r033190\r100\r555" + std::string(38, '5') + "001n");
    const std::string bjoern = "20000229033190100555" + std::string(38, '5') + "001";
    EXPECT_EQ(bundle.readdata(), dumpof({{"Jürgen Weiß", juergen}, {"Björn Krüger", bjoern}}));

    // The same name in another case: J overwrites the old entry, names it anew, and the count stands.
    keys(game, "\rjürgen\rweiß\r", {"Ihr Name ist bereits gespeichert."});
    keys(game, "j1981\r7\r3\r011178\r62\r234" + statements + "100n");
    EXPECT_EQ(bundle.readdata(), dumpof({{"jürgen weiß", juergen}, {"Björn Krüger", bjoern}}));
    EXPECT_TRUE(game.logshows("SeelenorakelInput: Record #1 für 'jürgen weiß' wird geändert.")) << game.log();
    expectlines(game, {"Bitte den 3. Teilnehmer eingeben."});

    // A first name of 16 letters is refused with two lines; N to the clash stores nothing.
    keys(game, "\rMaximilianeeeeee\r",
         {"Ihr Vorname ist zu lang: Er soll max. 15 Buchstaben lang sein.",
          "Bitte kürzen Sie ihn sinnvoll ab! Dabei keinen Punkt verwenden!"});
    keys(game, "Björn\rKRÜGER\rn", {"Dann tritt ein Anderer an Ihre Stelle."});
    keys(game, "x", {"Bitte den 3. Teilnehmer eingeben."});
    EXPECT_EQ(bundle.readdata(), dumpof({{"jürgen weiß", juergen}, {"Björn Krüger", bjoern}}));

    // Umlauts count one letter each: 15 and 20 of them are taken.
    const std::string first = "Ömerüäößüäößüäö", last = "Krügerüäößüäößüäößü", name = first + " " + last;
    keys(game, "\r" + first + "\r" + last + "\r1990\r12\r31\r144160\r55\r321" + statements + "111n");
    const std::string oemer = "19901231144160055321" + statements + "111";
    const harness::People all = {{"jürgen weiß", juergen}, {"Björn Krüger", bjoern}, {name, oemer}};
    EXPECT_EQ(bundle.readdata(), dumpof(all));

    // Esc: the report on the clipboard with the desktop's line ends, the end note on the screen.
    game.escape();
    ASSERT_TRUE(game.screenshows("(Programm Ende)")) << game.screen();
    const std::string report = game.clipboard();
    EXPECT_TRUE(report.starts_with(
        "Seelenorakel Auswertung\n=======================\n\nAuswertung für jürgen weiß\n"))
        << report;
    EXPECT_NE(report.find("\nAuswertung für Björn Krüger\n"), std::string::npos) << report;
    expectlines(game, {"*: Es wird das andere Geschlecht bevorzugt."});

    // The printer window shows the pair suggestions, and the clipboard holds the report as it always did.
    // Ömer wants her own religion, which nobody shares, and Björn wants an unmarried woman: nobody pairs.
    ASSERT_TRUE(game.logshows("t_QuitProgram")) << game.log();
    const std::string printed = harness::unhex(game.ask("text 9"));
    EXPECT_TRUE(
        printed.starts_with("Paarvorschläge\n==============\n\nDie drei Besten für jeden:\njürgen weiß: "))
        << printed;
    EXPECT_NE(
        printed.find("\n" + name +
                     ": niemand\n\nPaare, die einander zulassen:\nOhne Partner: jürgen weiß, Björn Krüger, " +
                     name + "\n"),
        std::string::npos)
        << printed;
    EXPECT_EQ(game.ask("visible 9"), "1");
    testsupport::participants(all);
    std::string expected = SeelenorakelReport();
    std::replace(expected.begin(), expected.end(), '\r', '\n');
    EXPECT_EQ(report, expected);
}

// The participant "Ab Cd" as typed and as stored, with another first name.
std::string typed(const std::string& first) {
    return "\r" + first + "\rCd\r1990\r1\r1\r011170\r70\r111" + std::string(38, '3') + "000n";
}
const std::string answers = "19900101011170070111" + std::string(38, '3') + "000";

// Files beside the data file that end in extension.
std::vector<std::string> files(const harness::Bundle& bundle, const std::string& extension) {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(bundle.folder))
        if (entry.path().extension() == extension && entry.path().filename() != "Seelenorakel-Daten.txt")
            found.push_back(entry.path().string());
    return found;
}

// The data file is what the evening leaves behind. A file an editor saved (line feeds behind the carriage
// returns, or Latin-1) is kept once, privately, before anything is saved over it; leftovers of cut-off
// saves go, but not those of a copy that still runs.
TEST(Game, TheDataFileIsNeverLost) {
    std::string crlf = dumpof({{"Anna Groß", answers}}), latin = crlf;
    for (size_t at = 0; (at = crlf.find('\r', at)) != std::string::npos; at += 2) crlf.insert(at + 1, "\n");
    latin.replace(latin.find("ß"), 2, "\xDF");
    for (const std::string& edited : {crlf, latin}) {
        harness::Bundle bundle;
        bundle.writedata(edited);
        const std::string dead = bundle.folder + ".Seelenorakel-Daten.txt.4194305.0.tmp",
                          live = bundle.folder + ".Seelenorakel-Daten.txt." + std::to_string(getpid()) +
                                 ".0.tmp";
        for (const std::string& path : {dead, live}) std::ofstream(path) << "halb";
        for (int start = 0; start < 2; ++start) {
            harness::Game game(bundle);
            EXPECT_TRUE(game.logshows("; its bytes were kept in " + bundle.datafile() + ".")) << game.log();
        }
        EXPECT_FALSE(std::filesystem::exists(dead));
        EXPECT_TRUE(std::filesystem::exists(live));
        const std::vector<std::string> kept = files(bundle, ".bak");
        ASSERT_EQ(kept.size(), 1u);
        EXPECT_EQ(harness::contents(kept[0]), edited);
        EXPECT_EQ(std::filesystem::status(kept[0]).permissions(), std::filesystem::perms(0600));
    }
    // Mid-evening a second copy is started on the file and ends; someone fixes a name in an editor,
    // keeping the file's size and time, and the fixed file is kept before the next save.
    harness::Bundle bundle;
    harness::Game game(bundle);
    ASSERT_TRUE(game.waitforkey()) << game.log();
    keys(game, "\r" + typed("Ab"));
    {
        harness::Game second(bundle);
        EXPECT_TRUE(second.screenshows("Das Seelenorakel läuft bereits mit derselben Datendatei."));
        EXPECT_TRUE(second.ended(20s));
    }
    std::string outside = bundle.readdata();
    const auto time = std::filesystem::last_write_time(bundle.datafile());
    bundle.writedata(outside.replace(outside.find("Ab Cd"), 5, "Ab Ce"));
    std::filesystem::last_write_time(bundle.datafile(), time);
    keys(game, typed("Ef"));
    EXPECT_TRUE(game.logshows("The data file was changed by another program; its bytes were kept in"));
    const std::vector<std::string> kept = files(bundle, ".bak");
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_EQ(harness::contents(kept[0]), outside);
    EXPECT_EQ(bundle.readdata(), dumpof({{"Ab Cd", answers}, {"Ef Cd", answers}}));
}

// A data file that exists but can't be read (a folder, a pipe, a device, one over 256 MiB) is never saved
// over: the log says why, the title says so, and the participants go to a file beside it. One the user made
// read-only isn't saved over either, and the title says so.
TEST(Game, ADataFileThatCantBeReadIsLeftAlone) {
    const std::pair<std::string, std::string> rows[] = {{"folder", "Error #Is a directory"},
                                                        {"fifo", "Not a regular file, so not read"},
                                                        {"/dev/zero", "Not a regular file, so not read"},
                                                        {"big", "Larger than 256 MiB, so not read"},
                                                        {"read-only", ""}};
    for (const auto& [what, line] : rows) {
        harness::Bundle bundle;
        const std::string path = bundle.datafile();
        if (what == "folder") std::filesystem::create_directory(path);
        if (what == "fifo") mkfifo(path.c_str(), 0600);
        if (what == "/dev/zero") std::filesystem::create_symlink(what, path);
        if (what == "big")
            std::ofstream(path).close(), std::filesystem::resize_file(path, (256ull << 20) + 1);
        if (what == "read-only") bundle.writedata(""), chmod(path.c_str(), 0444);
        const auto type = std::filesystem::symlink_status(path).type();
        harness::Game game(bundle);
        ASSERT_TRUE(game.waitforkey()) << game.log();
        EXPECT_TRUE(line.empty() || game.logshows("getbinaryfromfile: " + line)) << what << game.log();
        keys(game, "\r" + typed("Ab"));
        const std::vector<std::string> beside = files(bundle, ".txt");
        EXPECT_EQ(std::filesystem::symlink_status(path).type(), type) << what;
        if (what == "read-only") {
            EXPECT_EQ(game.ask("title 0"), "Seelenorakel – Letztes Speichern fehlgeschlagen!");
            continue;
        }
        EXPECT_TRUE(
            game.ask("title 0").starts_with("Seelenorakel – Datendatei nicht lesbar! Gespeichert wird in " +
                                            std::filesystem::path(beside.at(0)).filename().string()))
            << what;
        EXPECT_EQ(harness::contents(beside[0]), dumpof({{"Ab Cd", answers}})) << what;
    }
}

// Quit, SIGTERM and SIGHUP in the middle of a save wait for it to end.
TEST(Game, QuittingWaitsForASaveInProgress) {
    for (const int quit : {SIGTERM, SIGHUP, 0}) {
        harness::Bundle bundle;
        harness::Game game(bundle);
        ASSERT_TRUE(game.waitforkey()) << game.log();
        game.ask("pausesave 1500");
        game.send("\r" + typed("Ab"));
        ASSERT_TRUE(game.logshows("SeelenorakelInput: Record #1"));
        std::this_thread::sleep_for(300ms);
        quit ? game.signal(quit) : void(game.ask("quit")); // 0: the Quit command
        ASSERT_TRUE(game.ended());
        EXPECT_EQ(bundle.readdata(), dumpof({{"Ab Cd", answers}})) << game.log();
        EXPECT_TRUE(files(bundle, ".tmp").empty());
    }
}

// Killed at random moments while a slowed-down save runs, the program leaves the data file as it was
// before the participant or as it is after, never anything between. Kills that landed between the
// temporary file's creation and its rename show as a leftover, which the next start removes; the
// killed copy's lock doesn't hold the next one off.
TEST(Game, AKillAtAnyMomentLeavesTheDataFileWhole) {
    harness::Bundle bundle;
    harness::People stored;
    std::mt19937 random(20261123);
    int inside = 0;
    for (int kill = 0; kill < 20; ++kill) {
        harness::Game game(bundle);
        ASSERT_TRUE(game.waitforkey()) << game.log();
        EXPECT_TRUE(files(bundle, ".tmp").empty());
        game.ask("pausesave 300");
        const std::string first = {char('A' + kill), 'b'};
        game.send("\r" + typed(first));
        ASSERT_TRUE(game.logshows("SeelenorakelInput: Record #"));
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 450));
        game.kill();
        harness::People after = stored;
        after.emplace_back(first + " Cd", answers);
        const std::string now = bundle.readdata();
        inside += !files(bundle, ".tmp").empty();
        if (now == dumpof(after)) {
            stored = after;
        } else if (!stored.empty() || std::filesystem::exists(bundle.datafile())) {
            // Before the first save there is no file at all.
            ASSERT_EQ(now, dumpof(stored)) << "kill " << kill;
        }
    }
    EXPECT_GE(inside, 5);
    EXPECT_GT(stored.size(), 0u);
    EXPECT_LT(stored.size(), 20u);
}

} // namespace
