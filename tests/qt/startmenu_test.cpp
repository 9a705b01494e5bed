// The start menu and the call for the next participant, played through the real program with keys sent
// to its window. Taking the participant's answers and the evaluation are not there yet: behind Return
// at the call stands an input that takes nothing and leaves an empty answer, behind Esc an evaluation
// that prints nothing. So these tests can show which keys are read and where they lead, and the empty
// answer on the clipboard, but not what input or evaluation then do on the screen.
#include "harness.h"
#include "store/store.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

const std::string menu = "<Esc> für Ende, <Return> für weiter, <L> für Liste, <S> für Structure";
const std::string lastIntroductionLine = "die Antworten werden nicht auf dem Bildschirm erscheinen.";
const std::string call = "Bitte den 1. Teilnehmer eingeben.\n"
                         "\n"
                         "Falls kein weiterer Teilnehmer, zum Beginn der Auswertung\n"
                         "die <Esc>-Taste, sonst die <Return>-Taste drücken!";

constexpr int keyF1 = 0x01000030, keyLeft = 0x01000012, keyBackspace = 0x01000003, keyTab = 0x01000001;
constexpr uint32_t shift = 0x02000000, control = 0x04000000, alt = 0x08000000;

// The lines after the header and its rule.
std::string body(const std::string& screen) {
    size_t at = 0;
    for (int line = 0; line < 2 && at != std::string::npos; ++line) at = screen.find('\n', at + 1);
    return at == std::string::npos ? std::string() : screen.substr(at + 1);
}

TEST(StartMenu, EscEndsTheProgramAtOnce) {
    harness::Bundle bundle;
    harness::Game game(bundle);
    ASSERT_TRUE(game.waitforkey()) << game.log();
    const std::string before = game.screen();
    ASSERT_NE(before.find(lastIntroductionLine + "\n\n" + menu), std::string::npos) << before;

    game.escape();
    ASSERT_TRUE(game.screenshows("(Programm Ende)")) << game.screen();
    EXPECT_TRUE(game.logshows("t_QuitProgram: Quitting current thread with message in window #0."))
        << game.log();
    // Nothing of the participant loop came first, and the program no longer reads keys.
    EXPECT_EQ(game.screen().find("Teilnehmer eingeben"), std::string::npos);
    EXPECT_FALSE(game.waitforkey(300ms));
    EXPECT_TRUE(game.running()) << "the application stays until it is quit";
    // The data file is neither made nor touched.
    EXPECT_EQ(bundle.readdata(), "");
}

TEST(StartMenu, LListsNoParticipantsAndOtherLettersDoNothing) {
    harness::Bundle bundle;
    harness::Game game(bundle);
    ASSERT_TRUE(game.waitforkey()) << game.log();
    const std::string start = game.screen();

    // Letters, digits and keys without a meaning here: no echo, no new prompt.
    ASSERT_TRUE(game.type("xqz1 "));
    for (auto [key, text, modifiers] :
         {std::tuple{keyF1, "", 0u}, std::tuple{keyLeft, "", 0u}, std::tuple{keyBackspace, "\b", 0u},
          std::tuple{keyTab, "\t", 0u}, std::tuple{0x41, "\x01", control}, std::tuple{0x41, "a", alt}}) {
        game.press(key, text, modifiers);
        ASSERT_TRUE(game.waitforkey());
    }
    EXPECT_EQ(game.screen(), start);

    // L: the empty list, and the prompt again below it.
    ASSERT_TRUE(game.type("l"));
    const std::string listed = start + "\n\nEs sind keine Teilnehmer vorhanden.\n\n" + menu;
    EXPECT_EQ(game.screen(), listed);
    // A capital L, on the German board's L key, the same.
    game.press('L', "L", shift, 46);
    ASSERT_TRUE(game.waitforkey());
    EXPECT_EQ(game.screen(), listed + "\n\nEs sind keine Teilnehmer vorhanden.\n\n" + menu);
    ASSERT_TRUE(game.type("y"));
    EXPECT_EQ(game.screen(), listed + "\n\nEs sind keine Teilnehmer vorhanden.\n\n" + menu);
}

TEST(StartMenu, ReturnLeadsToTheCallWhereOnlyReturnAndEscAreRead) {
    harness::Bundle bundle;
    harness::Game game(bundle);
    ASSERT_TRUE(game.waitforkey()) << game.log();
    game.setclipboard("vorher");

    game.enter();
    ASSERT_TRUE(game.waitforkey());
    const std::string calling = game.screen();
    EXPECT_EQ(body(calling), "\n" + call) << calling;

    // Everything else is swallowed: the screen stands and nothing is taken in.
    ASSERT_TRUE(game.type("lsjn1 X"));
    game.press(keyF1, "");
    ASSERT_TRUE(game.waitforkey());
    EXPECT_EQ(game.screen(), calling);
    EXPECT_EQ(game.clipboard(), "vorher");
    // Enter on the pad reads as Return: the input runs and leaves its empty answer on the clipboard.
    game.press(0x01000005, "\r", 0x20000000, 104);
    ASSERT_TRUE(game.waitforkey());
    EXPECT_EQ(game.clipboard(), "");
    EXPECT_EQ(game.screen(), calling);
    game.setclipboard("vorher");

    // Esc: the evaluation, which with no participants comes straight back to the call.
    game.escape();
    ASSERT_TRUE(game.waitforkey()) << "Esc at the call must not end the program";
    EXPECT_EQ(game.screen(), calling);
    EXPECT_EQ(game.clipboard(), "vorher");
    EXPECT_EQ(game.screen().find("(Programm Ende)"), std::string::npos);

    ASSERT_TRUE(game.type("q"));
    EXPECT_EQ(game.clipboard(), "vorher");
    // Return: the input, whose empty answer lands on the clipboard, and the call again.
    game.enter();
    ASSERT_TRUE(game.waitforkey());
    EXPECT_EQ(game.clipboard(), "");
    EXPECT_EQ(game.screen(), calling);
}

// A data file as the game writes it, made with the store itself: three participants.
std::string threeparticipants() {
    testsupport::freshstore();
    const Int table = d_CreateTable("Seelenorakel");
    const Int name = d_CreateField(table, "Name", 3), attribute = d_CreateField(table, "Attribute", 3);
    for (const char* person : {"Anna Berger", "Jörg Öztürk", "Carla Dietz"}) {
        const Int record = d_CreateRecord(table);
        d_SetData(table, record, name, person);
        d_SetData(table, record, attribute, std::string(61, '3'));
    }
    return d_DumpDatabase(true, true, false);
}

TEST(StartMenu, StoredParticipantsAreListedInTwoColumnsAndSShowsTheStructure) {
    harness::Bundle bundle;
    bundle.writedata(threeparticipants());
    harness::Game game(bundle);
    ASSERT_TRUE(game.waitforkey()) << game.log();

    ASSERT_TRUE(game.type("l"));
    const std::string listed = "Anna Berger                            Jörg Öztürk\nCarla Dietz\n\n" + menu;
    ASSERT_TRUE(game.screenshows(listed)) << game.screen();

    ASSERT_TRUE(game.type("S"));
    const std::string structure = "Table 0 ::::::::: Seelenorakel\n"
                                  "Field 0         : String  : Name\n"
                                  "Field 1         : String  : Attribute\n\n" +
                                  menu;
    EXPECT_TRUE(game.screenshows(listed + "\n\n" + structure)) << game.screen();
    // Looking does not write the data file.
    EXPECT_EQ(bundle.readdata(), threeparticipants());
}

} // namespace
