// What the questionnaire asks and within which limits, and the record made of the answers: one table that
// the keyboard questionnaire and the phone page both read, so that a change here changes both.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "library/library.h"

// A question answered with one key from 1 to 5: the heading, the lines that name the digits, the column
// behind the heading where the keyboard's cursor waits, and whether the digit is shown.
struct SeelenorakelMenu {
    const char* Heading;
    std::vector<const char*> Lines;
    Int Column;
    bool Echo;
};

// A number typed into a field: asked again until it lies in the range.
struct SeelenorakelNumber {
    const char* Prompt;
    Int Lowest;
    Int Highest;
};

// A name: at least 2 characters, at most Limit, or the two lines of TooLong.
struct SeelenorakelNameField {
    const char* Prompt;
    Int Limit;
    const char* TooLong;
};

extern const SeelenorakelNameField SeelenorakelFirstName, SeelenorakelLastName;
constexpr Int SeelenorakelNameShortest = 2;
extern const char* const SeelenorakelNameShorten;

// The day's highest value is the month's last day (t_DaysInMonth), not the one given here.
extern const SeelenorakelNumber SeelenorakelYear, SeelenorakelMonth, SeelenorakelDay, SeelenorakelSize,
    SeelenorakelWeight;

extern const char* const SeelenorakelSexLines[2];
extern const SeelenorakelMenu SeelenorakelReligion, SeelenorakelNationality, SeelenorakelStatus,
    SeelenorakelIncome, SeelenorakelColour;

constexpr int SeelenorakelStatementCount = 38;
extern const char* const SeelenorakelStatements[SeelenorakelStatementCount];
extern const char* const SeelenorakelScaleIntro;
extern const char* const SeelenorakelScale[5];

extern const char* const SeelenorakelDemandIntro[2];
extern const char* const SeelenorakelDemands[3];

// One participant's answers, each the number the keyboard takes.
struct SeelenorakelAnswers {
    std::string FirstName, LastName;
    Int Year = 0, Month = 0, Day = 0, Sex = 0, Religion = 0, Nationality = 0, Size = 0, Weight = 0,
        Status = 0, Income = 0, Colour = 0;
    std::array<Int, SeelenorakelStatementCount> Statements{};
    std::array<Int, 3> Demands{};
};

// The stored name: first name, a blank, last name.
std::string SeelenorakelNameText(const SeelenorakelAnswers& answers);
// The 61 digits of the Attribute field, month and day with two digits and the weight with three.
std::string SeelenorakelAttributeText(const SeelenorakelAnswers& answers);
// Stores the answers under the record given, or a new one when it is negative, and saves the data file;
// gives the record. Program thread, like every use of the store.
int64_t SeelenorakelStore(int64_t record, const SeelenorakelAnswers& answers);
// The name typed at the keyboard from the moment it is complete until the participant is stored or gives
// way; empty otherwise. Program thread.
extern std::string SeelenorakelKeyboardName;
