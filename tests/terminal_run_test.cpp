#include "terminal_fixture.h"

#include "application/application.h"
#include "shell/shell.h"
#include "tests/testsupport.h"

#include <algorithm>
#include <climits>
#include <filesystem>
#include <unistd.h>

namespace {

using testsupport::builtbundle;

using namespace termtest;

class TerminalRun : public TerminalTest {};

// The start of the game as the players see it: header, rule and introduction, read back from the window.
TEST_F(TerminalRun, IntroductionStandsInTheWindowAsPrinted) {
    const std::string bundle = builtbundle();
    ASSERT_TRUE(std::filesystem::exists(bundle + "/Contents/Resources/MenloBold 16x32.font"))
        << "build the seelenorakel_resources target first; looked in " << bundle;
    setbundlepath(bundle);
    t_DefaultWindow = 255; // as at launch: the run's first window becomes the default
    quietly([] {
        SeelenorakelSetUp();
        SeelenorakelIntroduction();
    });
    const t_Font bold = t_LoadFontResource("MenloBold 16x32.font");
    const t_Font regular = t_LoadFontResource("MenloRegular 16x32.font");
    setbundlepath("");
    ASSERT_EQ(t_DefaultWindow.load(), 0);

    std::string rule;
    for (int i = 0; i < 80; ++i) rule += "\xc2\x9c"; // symbol 156 reads back as U+009C
    const std::string expected =
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
        "die Antworten werden nicht auf dem Bildschirm erscheinen.";
    EXPECT_EQ(t_GetScreen(0, "\r"), expected);

    // The cursor waits at the start of the line after the last empty one, inside the area below the header.
    EXPECT_EQ(record(0).TextHpos, 1);
    EXPECT_EQ(record(0).TextVpos, 16);
    EXPECT_EQ(record(0).TextFirstLine, 3);

    // Header and rule in red on black, the rest in yellow on black, blanks included.
    EXPECT_EQ(attributeat(0, 1, 1), 0x10);
    EXPECT_EQ(attributeat(0, 80, 1), 0x10);
    EXPECT_EQ(attributeat(0, 40, 2), 0x10);
    EXPECT_EQ(attributeat(0, 1, 3), 0xD0);
    EXPECT_EQ(attributeat(0, 80, 25), 0xD0);

    // The pixels: the header's first letter in the bold face, the introduction's in the regular one.
    const t_Window& w = record(0);
    ASSERT_EQ(w.BitDepth, 24);
    const uint8_t* block = &t_VideoMemory[w.MemoryStart];
    int mismatches = 0;
    for (Int r = 0; r < 32; ++r)
        for (Int c = 0; c < 16; ++c) {
            const uint8_t* header = block + (r * w.Width + c) * 3;
            const uint8_t* intro = block + ((64 + r) * w.Width + c) * 3;
            const uint8_t gb = bold.Data['D' * 512 + r * 16 + c], gr = regular.Data['D' * 512 + r * 16 + c];
            mismatches += header[0] != gb || header[1] != 0 || header[2] != 0;
            mismatches += intro[0] != gr || intro[1] != gr || intro[2] != 0;
        }
    EXPECT_EQ(mismatches, 0);
    // Only worth checking if the faces differ in that letter.
    EXPECT_FALSE(std::equal(bold.Data.begin() + 'D' * 512, bold.Data.begin() + 'E' * 512,
                            regular.Data.begin() + 'D' * 512));
}

} // namespace
