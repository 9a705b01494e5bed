#include "application/application.h"

#include "display/display.h"
#include "library/library.h"
#include "shell/shell.h"
#include "store/store.h"
#include "terminal/terminal.h"

#include <string>
#include <vector>

namespace {

uint8_t window() {
    return t_DefaultWindow.load();
}

void crs(int count) {
    for (int i = 0; i < count; ++i) t_Cr(window());
}

void print(std::string_view text) {
    t_Print(window(), text);
}

void clearscreen() {
    t_CursorHome(window());
    t_ClearEndOfWindow(window());
    crs(1);
}

Int numberof(std::string_view text) {
    return integerfrombytes(bytesfromstring(text));
}

// The decimal text in a fixed width: behind a "0", cut to its last digits when that is too long.
std::string fixedwidth(Int value, size_t width) {
    std::string text = "0" + std::to_string(value);
    return text.size() > width ? text.substr(text.size() - width) : text;
}

// Asked again on the same line until the number is in range; nothing says what was wrong.
Int numberfield(std::string_view prompt, Int lowest, Int highest) {
    for (;;) {
        t_Htab(window(), 1);
        print(prompt);
        t_ClearEndOfLine(window());
        const Int n = numberof(t_InputForm(window(), "", "", false, 2, 25));
        // The field's Return has moved the cursor to the next line.
        t_Vtab(window(), t_Vpos(window()) - 1);
        if (n >= lowest && n <= highest) return n;
    }
}

// Keys that give no number in range are swallowed; a key that isn't a digit reads as 0.
Int keyquestion(Int lowest, Int highest) {
    for (;;) {
        const Int n = numberof(t_WaitKey(window()));
        if (n >= lowest && n <= highest) return n;
    }
}

struct Menu {
    const char* Heading;
    std::vector<const char*> Lines;
    Int Column;
    bool Echo;
};

void menuquestion(const Menu& menu) {
    print(menu.Heading);
    crs(2);
    for (const char* line : menu.Lines) {
        print(line);
        crs(1);
    }
    const Int k = static_cast<Int>(menu.Lines.size()) + 2;
    t_Vtab(window(), t_Vpos(window()) - k);
    t_Htab(window(), menu.Column);
    const Int n = keyquestion(1, 5);
    AttributeBuffer += std::to_string(n);
    if (!menu.Echo) return;
    t_Print(window(), bytesfrominteger(n));
    t_Vtab(window(), t_Vpos(window()) + k);
    crs(1);
}

const Menu religion{
    "Ihre Religion: ",
    {"1  Katholisch", "2  Evangelisch", "3  Keine Religionsgemeinschaft", "4  Jüdisch", "5  Sonstige"},
    16,
    true};
const Menu nationality{"Ihre Staatsangehörigkeit: ",
                       {"1  Deutsch", "2  Österreich", "3  Benelux, Frankreich",
                        "4  Sonstige innerhalb der EG", "5  Außerhalb der EG"},
                       27,
                       true};
const Menu status{"Eingabe ihres Familienstandes: ",
                  {"1  Geschieden", "2  Ledig", "3  Verwitwet", "4  Verlobt", "5  Verheiratet"},
                  32,
                  true};
const Menu income{
    "Eingabe ihres monatlichen Einkommens: ",
    {"1      0 ...  800", "2    801 ... 1600", "3   1601 ... 3200", "4   3201 ... 6400", "5   6401 ....."},
    39,
    true};
const Menu colour{"Eingabe ihrer Lieblingsfarbe: ",
                  {"1  Blau        4  Grün", "2  Rot         5  Gelb", "3  Keine der Genannten"},
                  31,
                  false};
const char* const scale[] = {"1  Ja, stimmt genau", "2  Stimmt teilweise, stimmt vielleicht",
                             "3  Ich habe dazu keine Meinung, ich weiß nicht",
                             "4  Stimmt eher nicht, vielleicht nicht",
                             "5  Nein, das stimmt nicht, bestimmt nicht"};

std::string nextstatement() {
    if (t_StatementCount < t_StatementPointer) return {};
    return t_StatementData[static_cast<size_t>(t_StatementPointer++ - 1)];
}

// A name on its line, asked until it has 2 characters or more and no more than the limit.
std::string name(Int line, std::string_view prompt, Int limit, std::string_view tooLong) {
    std::string text;
    do {
        t_Vtab(window(), line);
        t_Htab(window(), 1);
        print(prompt);
        t_ClearEndOfLine(window());
        text = t_InputForm(window(), "", "", false, 0, 80);
        if (charactercount(text) > limit) {
            crs(1);
            print(tooLong);
            crs(1);
            print("Bitte kürzen Sie ihn sinnvoll ab! Dabei keinen Punkt verwenden!");
            crs(1);
            text.clear();
        }
    } while (charactercount(text) < 2);
    t_ClearEndOfWindow(window());
    return text;
}

// A yes-or-no question about the partner; the first two show their answer.
void demand(std::string_view question, bool echo) {
    print(question);
    const Int n = keyquestion(0, 1);
    AttributeBuffer += std::to_string(n);
    if (!echo) return;
    t_Print(window(), bytesfrominteger(n));
    crs(2);
}

// False when the participant gave way to a stored name: nothing to store then.
bool onepass() {
    clearscreen();
    const std::string first =
        name(4, "Vorname : ", 15, "Ihr Vorname ist zu lang: Er soll max. 15 Buchstaben lang sein.");
    const std::string last =
        name(5, "Nachname: ", 20, "Ihr Nachname ist zu lang: Er soll max. 20 Buchstaben lang sein.");
    NameBuffer = first + " " + last;
    ParticipantRecord = d_SearchUniqueRecord(ParticipantTable, FieldName, NameBuffer, false);
    if (ParticipantRecord >= 0) {
        crs(1);
        print("Ihr Name ist bereits gespeichert.");
        crs(2);
        print("Soll die alte Eintragung geändert werden? (J/N) ");
        const Int answer = t_InputYesNo(window(), 1, true);
        crs(1);
        if (answer != 1) {
            crs(1);
            NameBuffer.clear();
            AttributeBuffer.clear();
            print("Dann tritt ein Anderer an Ihre Stelle.");
            crs(2);
            print("Bitte irgendeine Taste drücken ");
            t_WaitKey(window());
            return false;
        }
    }

    crs(1);
    const Int year = numberfield("Eingabe des Geburtsjahres (JJJJ): ", 1900, 2100);
    AttributeBuffer += std::to_string(year);
    crs(1);
    const Int month = numberfield("Eingabe des Geburtsmonates  (MM): ", 1, 12);
    AttributeBuffer += fixedwidth(month, 2);
    crs(1);
    AttributeBuffer +=
        fixedwidth(numberfield("Eingabe des Geburtstages    (TT): ", 1, t_DaysInMonth(month, year)), 2);

    crs(2);
    print("Geben sie eine 1 ein, falls sie weiblich");
    crs(1);
    print("bzw. eine 0 falls sie männlich sind: ");
    AttributeBuffer += std::to_string(keyquestion(0, 1));

    clearscreen();
    menuquestion(religion);
    menuquestion(nationality);
    AttributeBuffer += std::to_string(numberfield("Ihre Größe   (cm): ", 120, 260));
    crs(1);
    AttributeBuffer += fixedwidth(numberfield("Ihre Gewicht (kg): ", 30, 250), 3);

    clearscreen();
    menuquestion(status);
    menuquestion(income);
    menuquestion(colour);

    clearscreen();
    print("Bewerten sie die folgenden Aussagen mit den Tasten 1 bis 5.");
    crs(2);
    print("Dabei bedeutet:");
    crs(2);
    for (const char* line : scale) {
        print(line);
        crs(1);
    }
    t_StatementPointer = 1;
    for (int round = 0; round < 38; ++round) {
        const std::string statement = nextstatement();
        t_Vtab(window(), 14);
        t_Htab(window(), 1);
        print("Aussage: " + statement + ".");
        t_ClearEndOfLine(window());
        crs(2);
        print("Ihre Meinung dazu: ");
        AttributeBuffer += std::to_string(keyquestion(1, 5));
    }

    clearscreen();
    print("Antworten sie jetzt mit 1, falls sie die nun folgenden Fragen mit Ja,");
    crs(1);
    print("oder mit 0, falls sie die Fragen mit Nein beantworten möchten.");
    crs(2);
    demand("Der gewünschte Partner darf verheiratet sein? ", true);
    demand("Der gewünschte Partner soll meiner Religion angehören? ", true);
    demand("Der gewünschte Partner soll dem anderen Geschlecht angehören? ", false);
    return true;
}

void store() {
    if (ParticipantRecord < 0) {
        ParticipantRecord = d_CreateRecord(ParticipantTable);
        debuglog("SeelenorakelInput: Record #" + std::to_string(ParticipantRecord) + " für '" + NameBuffer +
                 "' wurde angelegt.");
    } else {
        debuglog("SeelenorakelInput: Record #" + std::to_string(ParticipantRecord) + " für '" + NameBuffer +
                 "' wird geändert.");
    }
    d_SetData(ParticipantTable, ParticipantRecord, FieldName, NameBuffer);
    d_SetData(ParticipantTable, ParticipantRecord, FieldAttribute, AttributeBuffer);
    // The whole store after each participant: quitting later loses nobody who finished.
    SeelenorakelSave();
    NameBuffer.clear();
    AttributeBuffer.clear();
}

} // namespace

Int t_DaysInMonth(Int month, Int year) {
    if (month < 1 || month > 12 || year < 1) return 0;
    if (month == 4 || month == 6 || month == 9 || month == 11) return 30;
    if (month == 2) return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0 ? 29 : 28;
    return 31;
}

void SeelenorakelInput() {
    NameBuffer.clear();
    AttributeBuffer.clear();
    for (;;) {
        if (!onepass()) return;
        clearscreen();
        print("Änderungen erwünscht? (J/N) ");
        if (t_InputYesNo(window(), 1, true) != 1) break;
        AttributeBuffer.clear();
    }
    store();
}
