#include "store/store.h"
#include "application/application.h"
#include "shell/shell.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using testsupport::freshstore;
using testsupport::LogCapture;

std::string tempfolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "storetest.XXXXXX").string();
    return std::string(mkdtemp(pattern.data())) + "/";
}

std::vector<uint8_t> bytesof(std::string_view s) {
    return {s.begin(), s.end()};
}

bool load(std::string_view file, bool append) {
    const std::vector<uint8_t> bytes = bytesof(file);
    return d_CreateDatabaseFromBinary(bytes, append);
}

// The participant table as the application makes it.
Int participanttable() {
    const Int table = d_CreateTable("Seelenorakel");
    d_CreateField(table, "Name", d_TypeString);
    d_CreateField(table, "Attribute", d_TypeString);
    return table;
}

const std::string attributeA = "1975041212116806223112345123451234512345123451234512345123110";
const std::string attributeB = "1970110303118208114433333333333333333333333333333333333333001";
const std::string exampleFile = "T0          :Seelenorakel\r"
                                "F0         S:Name\r"
                                "F1         S:Attribute\r"
                                "R1\r"
                                " f0        S:Anna Beispiel\r"
                                " f1        S:" +
                                attributeA +
                                "\r"
                                "R2\r"
                                " f0        S:Karl Muster\r"
                                " f1        S:" +
                                attributeB + "\r";

TEST(StoreDataFile, DumpWritesTheParticipantFileAndAppendReadsItBack) {
    freshstore();
    const Int table = participanttable();
    const std::vector<std::pair<std::string, std::string>> people = {{"Anna Beispiel", attributeA},
                                                                     {"Karl Muster", attributeB}};
    for (const auto& [name, attribute] : people) {
        const Int r = d_CreateRecord(table);
        d_SetData(table, r, 0, name);
        d_SetData(table, r, 1, attribute);
    }
    EXPECT_EQ(d_DumpDatabase(true, true, false), exampleFile);

    // More people, with texts that a lower-case or a cut would change.
    for (const std::string name :
         {"ÄNNE Öztürk-Müller", "Σοφία Παπαδοπούλου", "Zoë O Brien", "Ein sehr langer Name mit 36 Zeichen"}) {
        const Int r = d_CreateRecord(table);
        d_SetData(table, r, 0, name);
        d_SetData(table, r, 1, attributeA);
    }
    const std::string folder = tempfolder();
    const std::string path = folder + "Seelenorakel-Daten.txt";
    ASSERT_EQ(setstringtofile(path, d_DumpDatabase(true, true, false)), 0);
    const std::vector<std::string> texts(d_DataText.begin(), d_DataText.begin() + d_DataNext);
    const std::vector<int64_t> keys(d_DataKey.begin(), d_DataKey.begin() + d_DataNext);

    freshstore();
    participanttable();
    LogCapture log;
    EXPECT_TRUE(d_AppendDatabase(path));
    EXPECT_EQ(log.count("d_AppendDatabase: Datafile loaded, "), 1u);
    EXPECT_EQ(
        log.count("d_CreateDatabaseFromBinary: End (1 tables in database, 10000 data-entries in database, "),
        1u);
    EXPECT_EQ(d_RecordsInTable(0), 6);
    // Records and the Working Record take the same cells as before; only the Working Record's copy differs.
    for (Int cell = 2; cell < d_DataNext; ++cell) {
        EXPECT_EQ(d_DataText[static_cast<size_t>(cell)], texts[static_cast<size_t>(cell)]);
        EXPECT_EQ(d_DataKey[static_cast<size_t>(cell)], keys[static_cast<size_t>(cell)]);
    }
    EXPECT_EQ(d_SearchUniqueRecord(0, 0, "änne öztürk-müller", false), 3);

    // Appending the same file again puts the records behind those there.
    EXPECT_TRUE(d_AppendDatabase(path));
    EXPECT_EQ(d_RecordsInTable(0), 12);
    EXPECT_EQ(d_GetData(0, 7, 0), "Anna Beispiel");
    std::filesystem::remove_all(folder);
}

TEST(StoreDataFile, EveryTypeSurvivesDumpAndLoad) {
    freshstore();
    const Int table = d_CreateTable("Typen");
    const std::vector<Int> types = {d_TypeInteger, d_TypeReal, d_TypeBoolean,  d_TypeString,
                                    d_TypeData,    d_TypeTime, d_TypeLongTime, d_TypeOther};
    for (size_t f = 0; f < types.size(); ++f) d_CreateField(table, "F" + std::to_string(f), types[f]);
    const std::vector<std::string> values = {"-17", "3,25", "ja", "Grüße", "Roh", "3725000", "90061000", "?"};
    const Int r = d_CreateRecord(table);
    for (size_t f = 0; f < values.size(); ++f) d_SetData(table, r, static_cast<Int>(f), values[f]);
    const std::string dump = d_DumpDatabase(true, true, false);
    EXPECT_NE(dump.find(" f5        T:3725000\r"), std::string::npos);
    EXPECT_NE(dump.find(" f6        L:90061000\r"), std::string::npos);
    EXPECT_NE(dump.find("F7         O:F7\r"), std::string::npos);
    const std::vector<std::string> texts(d_DataText.begin() + 8, d_DataText.begin() + 16);
    const std::vector<int64_t> keys(d_DataKey.begin() + 8, d_DataKey.begin() + 16);

    // Rebuilt from the file alone, structure and all.
    EXPECT_TRUE(load(dump, false));
    ASSERT_EQ(d_TableCount, 1);
    ASSERT_EQ(d_FieldsInTable(0), 8);
    for (size_t f = 0; f < types.size(); ++f) EXPECT_EQ(d_Tables[0].Field[f].FieldType, types[f]);
    EXPECT_EQ(std::vector<std::string>(d_DataText.begin() + 8, d_DataText.begin() + 16), texts);
    EXPECT_EQ(std::vector<int64_t>(d_DataKey.begin() + 8, d_DataKey.begin() + 16), keys);
    EXPECT_EQ(d_GetData(0, 1, 6), "25:01:01");
}

TEST(StoreDataFile, TwoTablesWithAndWithoutAppend) {
    const std::string file = "T0          :Erste\r"
                             "F0         I:Zahl\r"
                             "R1\r"
                             " f0        I:5\r"
                             "\r"
                             "T1          :Zweite\r"
                             "F0         S:Wort\r"
                             "R1\r"
                             " f0        S:Hallo\r"
                             "R2\r"
                             " f0        S:Welt\r";
    freshstore();
    {
        LogCapture log;
        EXPECT_TRUE(load(file, false));
        EXPECT_EQ(log.count("d_CreateDatabaseFromBinary: Illegal Instruction in line #5: [\r] #13: ''"), 1u);
    }
    EXPECT_EQ(d_TableCount, 2);
    EXPECT_EQ(d_GetData(0, 1, 0), "5");
    EXPECT_EQ(d_GetData(1, 2, 0), "Welt");
    EXPECT_EQ(d_DumpDatabase(true, true, false), file);

    // Appending feeds the tables there, by number; the empty line is no instruction.
    LogCapture log;
    EXPECT_TRUE(load(file, true));
    EXPECT_EQ(log.count("d_CreateDatabaseFromBinary: Illegal"), 0u);
    EXPECT_EQ(d_RecordsInTable(0), 2);
    EXPECT_EQ(d_RecordsInTable(1), 4);
    EXPECT_EQ(d_GetData(1, 4, 0), "Welt");
}

TEST(StoreDataFile, AppendKeepsTheStructureInMemory) {
    freshstore();
    participanttable();
    // Another table's name, another type letter, a stray letter line and no final carriage return.
    const std::string file = "T0          :Fremd\r"
                             "F0         I:Zahl\r"
                             "X anything at all\r"
                             "R1\r"
                             " f0        I:12abc\r"
                             " f1        I:" +
                             attributeA;
    LogCapture log;
    EXPECT_TRUE(load(file, true));
    EXPECT_EQ(log.count("d_CreateDatabaseFromBinary: Illegal"), 0u);
    EXPECT_EQ(d_Tables[0].TableID, "Seelenorakel");
    EXPECT_EQ(d_GetData(0, 1, 0), "12abc");
    EXPECT_EQ(d_GetData(0, 1, 1), attributeA);

    log.lines.clear();
    EXPECT_TRUE(load("X anything at all\rQ\r", false));
    EXPECT_TRUE(
        log.has("d_CreateDatabaseFromBinary: Illegal Instruction in line #1: [X] #88: 'X anything at all'"));
    EXPECT_TRUE(log.has("d_CreateDatabaseFromBinary: Illegal Instruction in line #2: [Q] #81: 'Q'"));
}

TEST(StoreDataFile, LineFeedsAreNoLineEnds) {
    const std::string withFeeds = "T0          :Seelenorakel\r\n"
                                  "F0         S:Name\r\n"
                                  "F1         S:Attribute\r\n"
                                  "R1\r\n"
                                  " f0        S:Anna\r\n";
    // Behind each carriage return a line starts with a line feed, which appending skips as unknown.
    freshstore();
    participanttable();
    EXPECT_TRUE(load(withFeeds, true));
    EXPECT_EQ(d_RecordsInTable(0), 0);
    // Without append each such line is an illegal instruction, shown whole.
    freshstore();
    LogCapture log;
    EXPECT_TRUE(load(withFeeds, false));
    EXPECT_EQ(d_TableCount, 1);
    EXPECT_EQ(d_FieldsInTable(0), 0);
    EXPECT_EQ(log.count("d_CreateDatabaseFromBinary: Illegal Instruction in line #"), 5u);
    EXPECT_TRUE(log.has("d_CreateDatabaseFromBinary: Illegal Instruction in line #4: [\n] #10: '\nR1'"));

    // Line feeds alone: the whole file is one table line.
    freshstore();
    participanttable();
    std::string feedsOnly = withFeeds;
    std::erase(feedsOnly, '\r');
    EXPECT_TRUE(load(feedsOnly, true));
    EXPECT_EQ(d_RecordsInTable(0), 0);
}

TEST(StoreDataFile, InvalidUtf8AndEmptyValues) {
    freshstore();
    const Int table = d_CreateTable("T");
    d_CreateField(table, "Name", d_TypeString);
    d_CreateField(table, "Zahl", d_TypeInteger);
    d_CreateField(table, "Rest", d_TypeString);
    const std::string file = "T0          :T\r"
                             "R1\r"
                             " f0        S:Gr\xFC\xDF"
                             "e\r"
                             " f\r"
                             " f2        S:\xC3\xBC ok\r";
    EXPECT_TRUE(load(file, true));
    EXPECT_EQ(d_GetData(table, 1, 0), "");
    EXPECT_EQ(d_DataKey[static_cast<size_t>(d_GetDataIndex(table, 1, 0))], 0);
    EXPECT_EQ(d_GetData(table, 1, 1), "0");
    EXPECT_EQ(d_GetData(table, 1, 2), "ü ok");
}

TEST(StoreDataFile, SurplusAndMisplacedLinesAreErrorsAndTheRestStays) {
    freshstore();
    participanttable();
    const std::string file = " f0        S:too early\r"
                             "T0          :Seelenorakel\r"
                             " f0        S:still no record\r"
                             "R1\r"
                             " f0        S:Anna\r"
                             " f1        S:1\r"
                             " f2        S:surplus\r"
                             "R2\r"
                             " f0        S:Karl\r";
    LogCapture log;
    EXPECT_FALSE(load(file, true));
    EXPECT_EQ(log.count("d_CreateDatabaseFromBinary: Could not set field-data."), 3u);
    EXPECT_EQ(d_RecordsInTable(0), 2);
    EXPECT_EQ(d_GetData(0, 1, 0), "Anna");
    EXPECT_EQ(d_GetData(0, 2, 0), "Karl");
    EXPECT_EQ(d_GetData(0, 2, 1), ""); // missing value lines leave the cell empty
}

TEST(StoreDataFile, BrokenTableAndCreateLinesNeverTouchAMissingTable) {
    // A record line before any table.
    freshstore();
    {
        LogCapture log;
        EXPECT_FALSE(load("R1\r f0        S:x\r", true));
        const std::vector<std::string> expected = {"d_CreateDatabaseFromBinary: Start.",
                                                   "d_CreateRecord: Table #-1 not found.",
                                                   "d_CreateDatabaseFromBinary: Could not create record #-1.",
                                                   "d_CreateDatabaseFromBinary: Could not set field-data."};
        ASSERT_GE(log.lines.size(), expected.size());
        EXPECT_EQ(std::vector<std::string>(log.lines.begin(), log.lines.begin() + 4), expected);
    }
    // A table number that names no table: its records go nowhere, not into the table before.
    freshstore();
    participanttable();
    {
        LogCapture log;
        EXPECT_FALSE(
            load("T0          :A\rR1\r f0        S:ok\rT7          :B\rR1\r f0        S:lost\r", true));
        EXPECT_TRUE(log.has("d_CreateDatabaseFromBinary: Table #7 in line #4 not found."));
        EXPECT_EQ(d_RecordsInTable(0), 1);
        EXPECT_EQ(d_GetData(0, 1, 0), "ok");
    }
    // The file ends within the ten bytes of the number.
    for (const std::string cut : {"T", "T0", "T0        "}) {
        freshstore();
        participanttable();
        LogCapture log;
        EXPECT_FALSE(load(cut, true)) << cut;
        EXPECT_TRUE(log.has("d_CreateDatabaseFromBinary: Table line #1 too short."));
    }
    // A short line that does end in a carriage return reads its number from what it holds.
    freshstore();
    participanttable();
    EXPECT_TRUE(load("T0\rR1\r f0        S:kurz\r", true));
    EXPECT_EQ(d_GetData(0, 1, 0), "kurz");

    // Create lines shorter than 13 bytes.
    freshstore();
    {
        LogCapture log;
        EXPECT_FALSE(load("T0  :Kurz\rT0          :Lang\rF0 S:X\rF0         S:Y\r", false));
        EXPECT_TRUE(log.has("d_CreateDatabaseFromBinary: Line #1 too short for a table."));
        EXPECT_TRUE(log.has("d_CreateDatabaseFromBinary: Line #3 too short for a field."));
    }
    ASSERT_EQ(d_TableCount, 1);
    EXPECT_EQ(d_Tables[0].TableID, "Lang");
    ASSERT_EQ(d_FieldsInTable(0), 1);
    EXPECT_EQ(d_Tables[0].Field[0].FieldID, "Y");

    // A duplicate table leaves the current table as it was.
    freshstore();
    {
        LogCapture log;
        EXPECT_FALSE(load("T0          :A\rF0         S:X\rT1          :A\rF1         S:Y\r", false));
        EXPECT_TRUE(log.has("d_CreateDatabaseFromBinaryt: Could not create table."));
    }
    EXPECT_EQ(d_TableCount, 1);
    EXPECT_EQ(d_FieldsInTable(0), 2);
}

TEST(StoreDataFile, MissingOrEmptyFileIsNoLoad) {
    freshstore();
    participanttable();
    const std::string folder = tempfolder();
    LogCapture log;
    EXPECT_FALSE(d_AppendDatabase(folder + "fehlt.txt"));
    ASSERT_EQ(setstringtofile(folder + "leer.txt", ""), 0);
    EXPECT_FALSE(d_AppendDatabase(folder + "leer.txt"));
    EXPECT_EQ(log.count("d_AppendDatabase: Datafile not found."), 2u);
    EXPECT_EQ(log.count("getbinaryfromfile: Error #"), 1u);
    EXPECT_EQ(d_RecordsInTable(0), 0);
    // No bytes at all count as an error of the reader too.
    EXPECT_FALSE(load("", true));
    std::filesystem::remove_all(folder);
}

TEST(StoreDataFile, SeelenorakelLoadFeedsItsOwnTable) {
    const std::string folder = tempfolder();
    // The data file goes to a folder of the test's own, never beside a real game.
    DataFilePath = folder + DataFileName;
    if (datafilepath() != DataFilePath) GTEST_SKIP() << "data file path fixed elsewhere: " << datafilepath();
    ASSERT_EQ(setstringtofile(DataFilePath, "T0          :Irgendwas\r"
                                            "F0         I:Anders\r"
                                            "R1\r"
                                            " f0        S:Anna Beispiel\r"
                                            " f1        S:" +
                                                attributeA + "\r"),
              0);
    freshstore();
    t_StatementData.clear();
    t_StatementCount = 0;
    EXPECT_EQ(SeelenorakelLoad(), 1);
    EXPECT_EQ(Participants, 1);
    EXPECT_EQ(ParticipantTable, 0);
    EXPECT_EQ(FieldName, 0);
    EXPECT_EQ(FieldAttribute, 1);
    EXPECT_EQ(d_Tables[0].TableID, "Seelenorakel");
    EXPECT_EQ(d_Tables[0].Field[1].FieldID, "Attribute");
    EXPECT_EQ(d_Tables[0].Field[1].FieldType, d_TypeString);
    EXPECT_EQ(d_GetData(ParticipantTable, 1, FieldAttribute), attributeA);
    ASSERT_EQ(t_StatementCount, 38);
    ASSERT_EQ(t_StatementData.size(), 38u);
    EXPECT_EQ(t_StatementData[0], "Ich bin sehr selbstständig");
    EXPECT_EQ(t_StatementData[31], "Für Fußball interesiere ich mich sehr");
    EXPECT_EQ(t_StatementData[37], "Freunde zu finden fällt mir nicht besonders schwer");
    std::filesystem::remove_all(folder);
}

} // namespace
