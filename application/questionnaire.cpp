// The keyboard questionnaire: one participant at a time, name to demands, then the record stored and the
// data file rewritten. What it asks and within which limits comes from the catalogue.
#include "application/application.h"
#include "application/catalogue.h"

#include "display/display.h"
#include "library/library.h"
#include "shell/shell.h"
#include "store/store.h"
#include "terminal/terminal.h"

#include <string>
#include <vector>

namespace {

void crs(int count) {
    for (int i = 0; i < count; ++i) t_Cr(SeelenorakelWindow());
}

void print(std::string_view text) {
    t_Print(SeelenorakelWindow(), text);
}

void clearscreen() {
    t_CursorHome(SeelenorakelWindow());
    t_ClearEndOfWindow(SeelenorakelWindow());
    crs(1);
}

Int numberof(std::string_view text) {
    return integerfrombytes(bytesfromstring(text));
}

// Asked again on the same line until the number is in range; nothing says what was wrong.
Int numberfield(const SeelenorakelNumber& field, Int highest) {
    for (;;) {
        t_Htab(SeelenorakelWindow(), 1);
        print(field.Prompt);
        t_ClearEndOfLine(SeelenorakelWindow());
        const Int n = numberof(t_InputForm(SeelenorakelWindow(), "", "", false, 2, 25));
        // The field's Return has moved the cursor to the next line.
        t_Vtab(SeelenorakelWindow(), t_Vpos(SeelenorakelWindow()) - 1);
        if (n >= field.Lowest && n <= highest) return n;
    }
}

Int numberfield(const SeelenorakelNumber& field) {
    return numberfield(field, field.Highest);
}

// Keys that give no number in range are swallowed; a key that isn't a digit reads as 0.
Int keyquestion(Int lowest, Int highest) {
    for (;;) {
        const Int n = numberof(t_WaitKey(SeelenorakelWindow()));
        if (n >= lowest && n <= highest) return n;
    }
}

Int menuquestion(const SeelenorakelMenu& menu) {
    print(menu.Heading);
    crs(2);
    for (const char* line : menu.Lines) {
        print(line);
        crs(1);
    }
    const Int k = static_cast<Int>(menu.Lines.size()) + 2;
    t_Vtab(SeelenorakelWindow(), t_Vpos(SeelenorakelWindow()) - k);
    t_Htab(SeelenorakelWindow(), menu.Column);
    const Int n = keyquestion(1, 5);
    if (!menu.Echo) return n;
    t_Print(SeelenorakelWindow(), bytesfrominteger(n));
    t_Vtab(SeelenorakelWindow(), t_Vpos(SeelenorakelWindow()) + k);
    crs(1);
    return n;
}

std::string nextstatement() {
    if (t_StatementCount < t_StatementPointer) return {};
    return t_StatementData[static_cast<size_t>(t_StatementPointer++ - 1)];
}

// A name on its line, asked until it has 2 characters or more and no more than the limit.
std::string name(Int line, const SeelenorakelNameField& field) {
    std::string text;
    do {
        t_Vtab(SeelenorakelWindow(), line);
        t_Htab(SeelenorakelWindow(), 1);
        print(field.Prompt);
        t_ClearEndOfLine(SeelenorakelWindow());
        text = t_InputForm(SeelenorakelWindow(), "", "", false, 0, 80);
        if (charactercount(text) > field.Limit) {
            crs(1);
            print(field.TooLong);
            crs(1);
            print(SeelenorakelNameShorten);
            crs(1);
            text.clear();
        }
    } while (charactercount(text) < SeelenorakelNameShortest);
    t_ClearEndOfWindow(SeelenorakelWindow());
    return text;
}

// A yes-or-no question about the partner; the first two show their answer.
Int demand(std::string_view question, bool echo) {
    print(question);
    const Int n = keyquestion(0, 1);
    if (!echo) return n;
    t_Print(SeelenorakelWindow(), bytesfrominteger(n));
    crs(2);
    return n;
}

// False when the participant gave way to a stored name: nothing to store then.
bool onepass(SeelenorakelAnswers& a) {
    a = SeelenorakelAnswers();
    clearscreen();
    a.FirstName = name(4, SeelenorakelFirstName);
    a.LastName = name(5, SeelenorakelLastName);
    NameBuffer = SeelenorakelNameText(a);
    // From here on no phone may take this name.
    SeelenorakelKeyboardName = NameBuffer;
    ParticipantRecord = d_SearchUniqueRecord(ParticipantTable, FieldName, NameBuffer, false);
    if (ParticipantRecord >= 0) {
        crs(1);
        print("Ihr Name ist bereits gespeichert.");
        crs(2);
        print("Soll die alte Eintragung geändert werden? (J/N) ");
        const Int answer = t_InputYesNo(SeelenorakelWindow(), 1, true);
        crs(1);
        if (answer != 1) {
            crs(1);
            NameBuffer.clear();
            AttributeBuffer.clear();
            print("Dann tritt ein Anderer an Ihre Stelle.");
            crs(2);
            print("Bitte irgendeine Taste drücken ");
            t_WaitKey(SeelenorakelWindow());
            return false;
        }
    }

    crs(1);
    a.Year = numberfield(SeelenorakelYear);
    crs(1);
    a.Month = numberfield(SeelenorakelMonth);
    crs(1);
    a.Day = numberfield(SeelenorakelDay, t_DaysInMonth(a.Month, a.Year));

    crs(2);
    print(SeelenorakelSexLines[0]);
    crs(1);
    print(SeelenorakelSexLines[1]);
    a.Sex = keyquestion(0, 1);

    clearscreen();
    a.Religion = menuquestion(SeelenorakelReligion);
    a.Nationality = menuquestion(SeelenorakelNationality);
    a.Size = numberfield(SeelenorakelSize);
    crs(1);
    a.Weight = numberfield(SeelenorakelWeight);

    clearscreen();
    a.Status = menuquestion(SeelenorakelStatus);
    a.Income = menuquestion(SeelenorakelIncome);
    a.Colour = menuquestion(SeelenorakelColour);

    clearscreen();
    print(SeelenorakelScaleIntro);
    crs(2);
    print("Dabei bedeutet:");
    crs(2);
    for (const char* line : SeelenorakelScale) {
        print(line);
        crs(1);
    }
    t_StatementPointer = 1;
    for (Int& answer : a.Statements) {
        const std::string statement = nextstatement();
        t_Vtab(SeelenorakelWindow(), 14);
        t_Htab(SeelenorakelWindow(), 1);
        print("Aussage: " + statement + ".");
        t_ClearEndOfLine(SeelenorakelWindow());
        crs(2);
        print("Ihre Meinung dazu: ");
        answer = keyquestion(1, 5);
    }

    clearscreen();
    print(SeelenorakelDemandIntro[0]);
    crs(1);
    print(SeelenorakelDemandIntro[1]);
    crs(2);
    for (size_t i = 0; i < a.Demands.size(); ++i) a.Demands[i] = demand(SeelenorakelDemands[i], i < 2);
    AttributeBuffer = SeelenorakelAttributeText(a);
    return true;
}

} // namespace

std::string SeelenorakelKeyboardName;

int64_t SeelenorakelStore(int64_t record, const SeelenorakelAnswers& answers) {
    const std::string name = SeelenorakelNameText(answers);
    if (record < 0) {
        record = d_CreateRecord(ParticipantTable);
        debuglog("SeelenorakelInput: Record #" + std::to_string(record) + " für '" + name +
                 "' wurde angelegt.");
    } else {
        debuglog("SeelenorakelInput: Record #" + std::to_string(record) + " für '" + name +
                 "' wird geändert.");
    }
    d_SetData(ParticipantTable, record, FieldName, name);
    d_SetData(ParticipantTable, record, FieldAttribute, SeelenorakelAttributeText(answers));
    // The whole store after each participant: quitting later loses nobody who finished.
    SeelenorakelSave();
    return record;
}

Int t_DaysInMonth(Int month, Int year) {
    if (month < 1 || month > 12 || year < 1) return 0;
    if (month == 4 || month == 6 || month == 9 || month == 11) return 30;
    if (month == 2) return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0 ? 29 : 28;
    return 31;
}

void SeelenorakelInput() {
    NameBuffer.clear();
    AttributeBuffer.clear();
    SeelenorakelAnswers answers;
    for (;;) {
        if (!onepass(answers)) {
            SeelenorakelKeyboardName.clear();
            return;
        }
        clearscreen();
        print("Änderungen erwünscht? (J/N) ");
        if (t_InputYesNo(SeelenorakelWindow(), 1, true) != 1) break;
        AttributeBuffer.clear();
    }
    ParticipantRecord = SeelenorakelStore(ParticipantRecord, answers);
    NameBuffer.clear();
    AttributeBuffer.clear();
    SeelenorakelKeyboardName.clear();
}
