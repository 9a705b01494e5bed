// The matching game: its run, participants, questionnaire and evaluation.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "library/library.h"

// Working state of the run; lives for the whole process and is touched by the program thread only.
extern std::string DataFileName;
extern std::string DataFilePath; // worked out on first use, see datafilepath()
extern int64_t ParticipantTable;
extern int64_t FieldName;
extern int64_t FieldAttribute;
extern int64_t Participants;
extern int64_t ParticipantRecord;
extern std::string KeyPressed;
extern std::string NameBuffer;
extern std::string AttributeBuffer;

// Statement store, read like the data lines of a home-computer program.
extern std::vector<std::string> t_StatementData;
extern int64_t t_StatementCount;
extern int64_t t_StatementPointer;

// The folder that holds the application, ending in "/", followed by DataFileName.
const std::string& datafilepath();

uint8_t SeelenorakelWindow(); // the game's text window
void SeelenorakelMain();
// The first two steps of the run: both windows with header and rule, then the introduction.
void SeelenorakelSetUp();
void SeelenorakelIntroduction();
void SeelenorakelList();
// -1 when another copy of the game runs on the data file.
int64_t SeelenorakelLoad();
// Takes the data file for this copy of the game and loads it; false when another copy runs on it.
bool SeelenorakelOpenDataFile();
// Saves the whole store where the participants go, normally the data file; false when that failed.
bool SeelenorakelSave();
void t_AddStatementData(const std::string& text);
void SeelenorakelInput();
// Days of the month in that year; 0 for a month that doesn't exist or a year below 1.
Int t_DaysInMonth(Int month, Int year);
void SeelenorakelEvaluation();
// The evaluation's report of the stored participants, as SeelenorakelEvaluation prints it.
std::string SeelenorakelReport();
// One line of a person's section: the candidate's record number, the points, and the " *" mark.
struct SeelenorakelCandidate {
    int64_t Record;
    int64_t Points;
    bool Marked;
};
// Every person's section in record order (index 0 is record 1), candidates in record order.
std::vector<std::vector<SeelenorakelCandidate>> SeelenorakelSections();

// Pair suggestions beside the report: every person's three best candidates and one pairing of people who
// allow each other, with the most pairs and, among those, the fewest points. Pairs are record numbers,
// the earlier first, ordered by it.
std::vector<std::pair<int64_t, int64_t>>
SeelenorakelPairing(const std::vector<std::vector<SeelenorakelCandidate>>& sections);
std::string SeelenorakelSuggestionText(const std::vector<std::vector<SeelenorakelCandidate>>& sections,
                                       const std::vector<std::string>& names);
// Works the suggestions out from the store and puts them in the printer window, which it shows.
void SeelenorakelSuggestions();
