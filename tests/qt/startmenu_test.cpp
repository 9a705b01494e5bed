// The start menu and the call for the next participant, played through the real program with keys sent
// to its window: only their keys are read, the list and structure show, and Esc ends at the menu.
#include "harness.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

const std::string menu = "<Esc> für Ende, <Return> für weiter, <L> für Liste, <S> für Structure";
// The header, and its rule of 80 symbols 156, which read back as U+009C.
const std::string header = "Das Seelenorakel" + std::string(32, ' ') + "Partnersuche für die ganze Runde\n" +
                           QString(80, QChar(0x9C)).toStdString() + "\n";
// The introduction and the menu, at the start of the line after the last empty one.
const std::string introduction =
    header +
    "Dieses Programm sucht unter den Teilnehmern zu Jedem den passenden Partner aus.\n\n"
    "Dazu werden Fragen gestellt, die bitte möglichst wahrheitsgetreu beantwortet\n"
    "werden sollen (der Partner soll ja gut zu ihrer Persöhnlichkeit passen).\n\n"
    "Einige Fragen beziehen sich dabei auf ihre Ansprüche an den Partner.\n\n"
    "Beachten sie bitte dabei, das es um so schwieriger wird einen passenden\n"
    "Partner für sie zu finden, je mehr sie von diesem erwarten.\n\n"
    "Sie brauchen nicht zu befürchten, dass ihre Antworten bekannt werden,\n"
    "die Antworten werden nicht auf dem Bildschirm erscheinen.\n\n" +
    menu;
const std::string none = "\n\nEs sind keine Teilnehmer vorhanden.\n\n" + menu;
constexpr int keyF1 = 0x01000030;
constexpr uint32_t control = 0x04000000, alt = 0x08000000;

TEST(StartMenu, OnlyLReturnAndEscAreReadAndReturnLeadsToTheCallWhereOnlyReturnAndEscAreRead) {
    harness::Bundle bundle;
    harness::Game game(bundle);
    ASSERT_TRUE(game.waitforkey()) << game.log();
    const std::string start = game.screen();
    EXPECT_EQ(start, introduction);
    // Header and rule in red on black, the rest in yellow on black, blanks included.
    EXPECT_EQ(game.ask("colours 0 1 1 80 1 40 2 1 3 80 25"), "16 16 16 208 208 ");
    // Letters, digits and keys without a meaning here: no echo, no new prompt.
    ASSERT_TRUE(game.type("xqz1 y"));
    for (auto [key, text, modifiers] : {std::tuple{keyF1, "", 0u},
                                        {0x01000012, "", 0u},
                                        {0x01000003, "\b", 0u},
                                        {0x01000001, "\t", 0u},
                                        {0x41, "\x01", control},
                                        {0x41, "a", alt}}) {
        game.press(key, text, modifiers);
        ASSERT_TRUE(game.waitforkey());
    }
    EXPECT_EQ(game.screen(), start);
    // L: the empty list and the prompt again; a capital L the same.
    ASSERT_TRUE(game.type("lL"));
    EXPECT_EQ(game.screen(), start + none + none);

    game.setclipboard("vorher");
    ASSERT_TRUE(game.type("\r"));
    const std::string calling = game.screen();
    // The text area, which starts below the header, is cleared.
    EXPECT_EQ(calling,
              header + "\nBitte den 1. Teilnehmer eingeben.\n\nFalls kein weiterer Teilnehmer, zum Beginn "
                       "der Auswertung\ndie <Esc>-Taste, sonst die <Return>-Taste drücken!");
    // Everything else is swallowed: the screen stands and nothing is taken in.
    ASSERT_TRUE(game.type("lsjn1 X"));
    game.press(keyF1, "");
    ASSERT_TRUE(game.waitforkey());
    EXPECT_EQ(game.screen(), calling);
    EXPECT_EQ(game.clipboard(), "vorher");
    // Esc: the evaluation, which with no participants comes straight back to the call.
    game.escape();
    ASSERT_TRUE(game.waitforkey()) << "Esc at the call must not end the program";
    EXPECT_EQ(game.screen(), calling);
    EXPECT_EQ(game.clipboard(), "vorher");
    // Return starts the questionnaire; Enter on the pad ends a form field as Return does.
    ASSERT_TRUE(game.type("\r"));
    EXPECT_NE(game.screen().find("Vorname :"), std::string::npos) << game.screen();
    ASSERT_TRUE(game.type("Jo"));
    game.press(0x01000005, "\r", 0x20000000u, 104u);
    ASSERT_TRUE(game.waitforkey());
    EXPECT_NE(game.screen().find("Nachname:"), std::string::npos) << game.screen();
}

TEST(StartMenu, StoredParticipantsAreListedInTwoColumnsSShowsTheStructureAndEscEndsTheProgram) {
    const std::string data = harness::dumpof({{"Anna Berger", std::string(61, '3')},
                                              {"Jörg Öztürk", std::string(61, '3')},
                                              {"Carla Dietz", std::string(61, '3')}});
    harness::Bundle bundle;
    bundle.writedata(data);
    harness::Game game(bundle);
    ASSERT_TRUE(game.waitforkey()) << game.log();
    ASSERT_TRUE(game.type("lS"));
    const std::string listed = "\n\nAnna Berger                            Jörg Öztürk\nCarla Dietz\n\n" +
                               menu +
                               "\n\nTable 0 ::::::::: Seelenorakel\nField 0         : String  : Name\n"
                               "Field 1         : String  : Attribute\n\n" +
                               menu;
    const std::string start = game.screen();
    ASSERT_GT(start.size(), listed.size());
    EXPECT_EQ(start.substr(start.size() - listed.size()), listed) << start;

    game.escape();
    ASSERT_TRUE(game.logshows("t_QuitProgram: Quitting current thread with message in window #0."))
        << game.log();
    // At the start of the text area's last line, which here holds the prompt; nothing else changes.
    const std::string ended = game.screen();
    const size_t last = ended.rfind('\n');
    EXPECT_EQ(ended.substr(last + 1, 16), "(Programm Ende) ") << ended;
    EXPECT_EQ(ended.substr(0, last), start.substr(0, last));
    EXPECT_FALSE(game.waitforkey(300ms)) << "the program no longer reads keys";
    EXPECT_TRUE(game.running()) << "the application stays until it is quit";
    EXPECT_EQ(bundle.readdata(), data) << "looking does not write the data file";
}

} // namespace
