// The run of the game: its window and introduction, the start menu, the call for the next participant,
// and the list of those stored.
#include "application/application.h"
#include "application/phone.h"
#include "display/display.h"
#include "library/library.h"
#include "shell/platform.h"
#include "shell/shell.h"
#include "store/store.h"
#include "terminal/terminal.h"

#include <cerrno>
#include <ctime>

// The window the game prints in: the toolkit's default window.
uint8_t SeelenorakelWindow() {
    return t_DefaultWindow.load();
}

namespace {

constexpr const char* returnKey = "\r";
constexpr const char* escapeKey = "\x1b";

void crs(int count) {
    for (int i = 0; i < count; ++i) t_Cr(SeelenorakelWindow());
}

void setupwindows() {
    t_InitWindow(0, 24, 80, 25, 16, "MenloBold 16x32.font");
    t_InitWindow(1, 4, false, 640, 400, 16, 16, t_Font{}, true);
    t_Color(0, 1);
    t_WindowCenter(0);
    t_WindowFront(0);
    t_Header(SeelenorakelWindow(), "Das Seelenorakel", "Partnersuche für die ganze Runde");
    t_Font font = t_LoadFontResource("MenloRegular 16x32.font");
    t_WindowFont(SeelenorakelWindow(), font);
    t_TextLine(SeelenorakelWindow());
    t_Area(SeelenorakelWindow(), 1, 3, 80, 25);
    t_Color(SeelenorakelWindow(), 13);
    t_CursorHome(SeelenorakelWindow());
    t_ClearEndOfWindow(SeelenorakelWindow());
}

void introduction() {
    static const struct {
        const char* text;
        int crs;
    } lines[] = {
        {"Dieses Programm sucht unter den Teilnehmern zu Jedem den passenden Partner aus.", 2},
        {"Dazu werden Fragen gestellt, die bitte möglichst wahrheitsgetreu beantwortet", 1},
        {"werden sollen (der Partner soll ja gut zu ihrer Persöhnlichkeit passen).", 2},
        {"Einige Fragen beziehen sich dabei auf ihre Ansprüche an den Partner.", 2},
        {"Beachten sie bitte dabei, das es um so schwieriger wird einen passenden", 1},
        {"Partner für sie zu finden, je mehr sie von diesem erwarten.", 2},
        {"Sie brauchen nicht zu befürchten, dass ihre Antworten bekannt werden,", 1},
        {"die Antworten werden nicht auf dem Bildschirm erscheinen.", 2},
    };
    for (const auto& line : lines) {
        t_Print(SeelenorakelWindow(), line.text);
        crs(line.crs);
    }
}

// Returns when Return was pressed; Esc ends the program here.
void startmenu() {
    KeyPressed = "";
    for (;;) {
        if (KeyPressed.empty())
            t_Print(SeelenorakelWindow(),
                    "<Esc> für Ende, <Return> für weiter, <L> für Liste, <S> für Structure ");
        KeyPressed = lowercasestring(t_WaitKey(SeelenorakelWindow()));
        if (KeyPressed == "l") {
            crs(2);
            SeelenorakelList();
            KeyPressed = "";
        }
        if (KeyPressed == "s") {
            crs(2);
            t_Print(SeelenorakelWindow(), d_DumpDatabase(true, false, true));
            crs(1);
            KeyPressed = "";
        }
        if (KeyPressed == escapeKey) {
            SeelenorakelPhoneClose();
            t_QuitProgram(0);
        }
        if (KeyPressed == returnKey) return;
    }
}

// Another copy of the game plays on the same data file: two copies would each save their own
// participants over the other's. This one says so and ends the process, after a key or a few seconds.
[[noreturn]] void secondcopy() {
    crs(1);
    t_Print(SeelenorakelWindow(), "Das Seelenorakel läuft bereits mit derselben Datendatei.");
    crs(1);
    t_Print(SeelenorakelWindow(),
            "Bitte im schon geöffneten Fenster weiterspielen; dieses hier wird beendet.");
    crs(1);
    for (int tick = 0; tick < 800 && t_NextEvent() < 0; ++tick) {
        timespec t{0, 10000000};
        while (nanosleep(&t, &t) != 0 && errno == EINTR) {}
    }
    platformport().Terminate();
    t_QuitProgram(0);
}

void participantloop() {
    for (;;) {
        Participants = d_RecordsInTable(ParticipantTable);
        t_CursorHome(SeelenorakelWindow());
        t_ClearEndOfWindow(SeelenorakelWindow());
        crs(1);
        t_Print(SeelenorakelWindow(),
                "Bitte den " + std::to_string(Participants + 1) + ". Teilnehmer eingeben.");
        crs(2);
        t_Print(SeelenorakelWindow(), "Falls kein weiterer Teilnehmer, zum Beginn der Auswertung");
        crs(1);
        t_Print(SeelenorakelWindow(), "die <Esc>-Taste, sonst die <Return>-Taste drücken! ");
        KeyPressed = "";
        while (KeyPressed != returnKey && KeyPressed != escapeKey)
            KeyPressed = lowercasestring(t_WaitKey(SeelenorakelWindow()));
        if (KeyPressed == escapeKey) {
            crs(2);
            SeelenorakelPhoneClose();
            SeelenorakelEvaluation();
        } else {
            SeelenorakelInput();
            setpasteboardstring(AttributeBuffer);
        }
        if (!NameBuffer.empty()) return;
    }
}

} // namespace

void SeelenorakelSetUp() {
    setupwindows();
}

void SeelenorakelIntroduction() {
    introduction();
}

void SeelenorakelMain() {
    SeelenorakelSetUp();
    SeelenorakelIntroduction();
    if (SeelenorakelLoad() < 0) secondcopy();
    SeelenorakelPhoneOpen();
    startmenu();
    participantloop();
    t_QuitProgram(0);
}

void SeelenorakelList() {
    if (Participants < 1) {
        t_Print(SeelenorakelWindow(), "Es sind keine Teilnehmer vorhanden.");
        crs(2);
        return;
    }
    for (int64_t k = 1; k <= Participants; ++k) {
        NameBuffer = d_GetData(ParticipantTable, k, FieldName);
        AttributeBuffer = d_GetData(ParticipantTable, k, FieldAttribute);
        t_Print(SeelenorakelWindow(), NameBuffer);
        if (k % 2 == 0)
            crs(1);
        else
            t_Htab(SeelenorakelWindow(), 40);
    }
    crs(t_Hpos(SeelenorakelWindow()) == 40 ? 2 : 1);
}
