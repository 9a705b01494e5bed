// The matching game: its run, participants, questionnaire and evaluation.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
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
// The evaluation's report of the stored participants, as SeelenorakelEvaluation prints it. Its bytes are
// written once, without the zero fill a std::string gets before it can be written in place.
struct Report {
    std::unique_ptr<char[]> Bytes;
    size_t Size = 0;
    std::string_view text() const { return {Bytes.get(), Size}; }
};
Report SeelenorakelReport();
