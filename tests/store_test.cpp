// The record store: tables, typed cells and keys, search, the dump and the data file reader,
// checked by their log lines and file bytes.
#include "store/store.h"
#include "shell/shell.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace {

using testsupport::freshstore;
using testsupport::LogCapture;
using Lines = std::vector<std::string>;

bool load(std::string_view file, bool append) {
    const std::vector<uint8_t> bytes(file.begin(), file.end());
    return d_CreateDatabaseFromBinary(bytes, append);
}

// The participant table as the application makes it, in a fresh store.
Int participanttable() {
    testsupport::participants({});
    return ParticipantTable;
}

TEST(Store, SearchComparesKeysFirstAndTextsAfter) {
    const Int table = participanttable();
    LogCapture log;
    EXPECT_EQ(d_SearchUniqueRecord(table, 2, "x", false) + d_SearchUniqueRecord(table, 0, "x", false), -2);
    for (const char* n : {"Karl Muster", "Anna Maria Meier", "Anna Maria Müller", "Anna Meier", "Jörg Groß"})
        d_SetData(table, d_CreateRecord(table), 0, n);
    EXPECT_EQ(d_SearchUniqueRecord(table, 0, "ANNA MEIER", false), 4);
    const std::string search = "d_SearchUniqueRecord: ";
    EXPECT_EQ(log.lines(),
              (Lines{search + "Field #[2] not found.", search + "Table #0 has no records.",
                     "d_CreateRecord: Working Record created.", search + "Found record [8] #'4'."}));
    // Records 2 and 3 share their first eight characters, and so their key: the texts tell them apart. The
    // first match wins; the Working Record is never searched.
    d_SetData(table, 1, 0, "anna meier");
    d_SetData(table, 0, 0, "Niemand Da");
    const std::tuple<std::string, bool, Int> rows[] = {
        {"ANNA MARIA MÜLLER", false, 3}, {"Anna Maria Meier", true, 2}, {"anna maria meier", true, -1},
        {"Niemand Da", false, -1},       {"Anna Meier", false, 1},      {"Anna Meier", true, 4},
        {"JÖRG GROß", false, 5}};
    for (const auto& [value, caseSensitive, record] : rows)
        EXPECT_EQ(d_SearchUniqueRecord(table, 0, value, caseSensitive), record) << value << caseSensitive;
}

TEST(Store, DumpListsTablesFieldsAndRecords) {
    freshstore();
    EXPECT_EQ(d_DumpDatabase(true, true, true), "");
    d_CreateTable("Leer");
    const Int full = d_CreateTable("Voll");
    const std::string forty = "Vierzig Zeichen: äöü und noch mehr Text.";
    const std::pair<Int, std::string> cells[] = {
        {d_TypeLongTime, "3725000"}, {d_TypeOther, "?"},    {d_TypeReal, "1,5"},  {d_TypeTime, "65000"},
        {d_TypeData, "Roh"},         {d_TypeString, forty}, {d_TypeBoolean, "ja"}};
    for (Int f = 0; f < 7; ++f) d_CreateField(full, "F" + std::to_string(f), cells[f].first);
    const Int r = d_CreateRecord(full);
    for (Int f = 0; f < 7; ++f) d_SetData(full, r, f, cells[f].second);
    d_CreateField(d_CreateTable("Leer am Ende"), "A", d_TypeInteger);
    // Pretty: type names padded, values cut to 32 characters; times as their milliseconds.
    EXPECT_EQ(
        d_DumpDatabase(true, true, true),
        "Table 0 ::::::::: Leer\rTable 1 ::::::::: Voll\rField 0         : LongTime: F0\r"
        "Field 1         : Other   : F1\rField 2         : Real    : F2\rField 3         : Time    : F3\r"
        "Field 4         : Data    : F4\rField 5         : String  : F5\rField 6         : Boolean : F6\r"
        "R1\r f0        L:3725000\r f1        O:?\r f2        R:1,5\r f3        T:65000\r f4        D:Roh\r"
        " f5        S:Vierzig Zeichen: äöü und noch me\r f6        B:True\r\r"
        "Table 2 ::::::::: Leer am Ende\rField 0         : Integer : A\r");
    // The plain dump keeps whole values, and the reader rebuilds every table and type from it alone.
    const std::string plain = d_DumpDatabase(true, true, false);
    EXPECT_EQ(plain.substr(0, 52), "T0          :Leer\rT1          :Voll\rF0         L:F0\r");
    EXPECT_NE(plain.find("\rR1\r f0        L:3725000\r f1        O:?\r f2        R:1,5\r f3        T:65000\r"
                         " f4        D:Roh\r f5        S:" +
                         forty + "\r f6        B:True\r\rT2          :"),
              std::string::npos);
    EXPECT_TRUE(load(plain, false));
    EXPECT_EQ(d_DumpDatabase(true, true, false), plain);
}

TEST(Store, BrokenLinesAreErrorsAndTheRestStays) {
    const std::string r = "d_CreateDatabaseFromBinary: ", set = r + "Could not set field-data.",
                      illegal = r + "Illegal Instruction in line #",
                      working = "d_CreateRecord: Working Record created.",
                      norecord = r + "Could not create record #-1.",
                      notable = "d_CreateRecord: Table #-1 not found.", lacks = r + "Record in line #",
                      cut = r + "The file does not end with a carriage return; it may be cut.";
    // clang-format off
    // dump: behind the participant table's structure when appending
    const struct { std::string file; bool append, result; Lines logged; std::string dump; } rows[] = {
        {"\r f0        S:early\rT0          :Seelenorakel\r f0        S:no record\rR1\r f0        S:Anna\r"
         " f1        S:1\r f2        S:surplus\rR2\r f0        S:Karl\r", true, false,
         {set, set, working, set, lacks + "9 lacks value lines."},
         "R1\r f0        S:Anna\r f1        S:1\rR2\r f0        S:Karl\r f1        S:\r"},
        {"R1\r f0        S:x\r", true, false, {notable, norecord, set}, ""},
        {"T0          :A\rR1\r f0        S:ok\rT7          :B\rR1\r f0        S:lost\r", true, false,
         {working, lacks + "2 lacks value lines.", r + "Table #7 in line #4 not found.", notable, norecord, set},
         "R1\r f0        S:ok\r f1        S:\r"},
        {"T", true, false, {r + "Table line #1 too short.", cut}, ""},
        // A file cut short: a record without all its values.
        {"T0\rR1\r f0        S:kurz\r", true, false, {working, lacks + "2 lacks value lines."},
         "R1\r f0        S:kurz\r f1        S:\r"},
        {"T0  :Kurz\rT0          :Lang\rF0 S:X\rF0         S:Y\r", false, false,
         {r + "Line #1 too short for a table.", "d_CreateTable: Table [Lang] #0 created.",
          r + "Line #3 too short for a field."}, "T0          :Lang\rF0         S:Y\r"},
        // Appending keeps the structure in memory and skips stray lines; a value that isn't UTF-8 comes out
        // empty and makes the load unclean.
        {"T0          :Fremd\rF0         I:Zahl\rX anything at all\rR1\r f0        I:12abc\r f1        S:Gr\xFC\xDF"
         "e\rR2\r f\r f1        S:\xC3\xBC ok", true, false, {working, r + "Line #6 is not UTF-8.", cut},
         "R1\r f0        S:12abc\r f1        S:\rR2\r f0        S:\r f1        S:\xC3\xBC ok\r"},
        // A rebuild takes the file's types, with forgiving numbers and truths.
        {"T0          :Typen\rF0         I:Zahl\rF1         B:Ja\rF2         R:Wert\rR1\r f0        I:  - 40\r"
         " f1        B:NEIN\r f2        R:-1e400\rR2\r f0        I:7\r f1        B:-1\r f2        R:92233720368547758,08e2\r",
         false, true, {"d_CreateTable: Table [Typen] #0 created.", working},
         "T0          :Typen\rF0         I:Zahl\rF1         B:Ja\rF2         R:Wert\rR1\r f0        I:-40\r f1        B:False\r"
         " f2        R:-inf\rR2\r f0        I:7\r f1        B:True\r f2        R:9,223372036854776e+18\r"},
        // Line feeds behind the carriage returns start lines that appending skips and a rebuild reports.
        {"T0          :Seelenorakel\r\nF0         S:Name\r\nR1\r\n f0        S:Anna\r\n", true, false, {cut}, ""},
        {"T0          :Seelenorakel\r\nF0         S:Name\rX anything at all\r\rQ", false, false,
         {"d_CreateTable: Table [Seelenorakel] #0 created.", illegal + "2: [\n] #10: '\nF0         S:Name'",
          illegal + "3: [X] #88: 'X anything at all'", illegal + "4: [\r] #13: ''", illegal + "5: [Q] #81: 'Q'", cut},
         "T0          :Seelenorakel\r"}};
    // clang-format on
    const std::string structure = "T0          :Seelenorakel\rF0         S:Name\rF1         S:Attribute\r";
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.file));
        participanttable();
        LogCapture log;
        EXPECT_EQ(load(row.file, row.append), row.result);
        Lines logged; // between the reader's Start and End, without the deletion of a rebuild
        for (size_t i = 1; i + 1 < log.lines().size(); ++i)
            if (log.lines()[i].rfind("d_DeleteDatabase", 0) != 0) logged.push_back(log.lines()[i]);
        EXPECT_EQ(logged, row.logged);
        EXPECT_EQ(d_DumpDatabase(true, true, false), (row.append ? structure : "") + row.dump);
    }
}

TEST(Store, DeletionsRenumberBlankAndNeverReuseCells) {
    const Int people = participanttable(), other = d_CreateTable("Zweite");
    d_CreateField(other, "X", d_TypeString);
    for (const char* name : {"Anna", "Karl", "Jörg"}) d_SetData(people, d_CreateRecord(people), 0, name);
    d_SetData(other, d_CreateRecord(other), 0, "zwei");
    // A record out of the middle: those behind move down; its cells are blanked and not handed out again.
    const Int karl = d_GetDataIndex(people, 2, 0), next = d_DataNext;
    d_DeleteRecord(people, 2);
    EXPECT_EQ(d_RecordsInTable(people), 2);
    EXPECT_EQ(d_GetData(people, 2, 0), "Jörg");
    EXPECT_EQ(d_DataText[static_cast<size_t>(karl)], "");
    // All records: the Working Record stays, so the next record is number 1, in fresh cells.
    d_DeleteTableRecords(people);
    EXPECT_EQ(d_RecordsInTable(people), 0);
    EXPECT_EQ(d_CreateRecord(people), 1);
    EXPECT_GE(d_GetDataIndex(people, 1, 0), next);
    // A whole table: the one behind it moves down, with its selection.
    LogCapture log;
    d_DeleteTable(people);
    d_DeleteTable(1);
    const std::string table = "d_DeleteTable: ", records = "d_DeleteTableRecords: ";
    EXPECT_EQ(log.lines(),
              (Lines{table + "Start.", records + "Start.", records + "Delete 1 records start.",
                     records + "Delete records end.", records + "Table = #0 #0", records + "End.",
                     table + "Delete WorkingRecord.", table + "Start deleting fields.",
                     table + "End deleting fields.", table + "Table = #0 #0", table + "End.",
                     table + "Start.", table + "Table #1 not found.", table + "End."}));
    EXPECT_EQ(d_TableCount, 1);
    EXPECT_EQ(d_Selections.at(0).SelectionID, "Zweite");
    EXPECT_EQ(d_GetData(0, 1, 0), "zwei");
    // The recursive form empties the store table by table, and numbers start again at 0.
    d_DeleteDatabase(false);
    EXPECT_TRUE(d_Tables.empty() && d_DataText.empty() && d_DataNext == 0);
    EXPECT_EQ(d_CreateTable("Neu"), 0);
}

} // namespace
