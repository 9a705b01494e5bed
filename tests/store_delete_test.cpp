#include "store/store.h"
#include "shell/shell.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using testsupport::freshstore;
using testsupport::LogCapture;

// A table of two String fields with the given names in field 0.
Int filledtable(const std::string& name, const std::vector<std::string>& values) {
    const Int table = d_CreateTable(name);
    d_CreateField(table, "Name", d_TypeString);
    d_CreateField(table, "Wert", d_TypeInteger);
    for (const std::string& v : values) {
        const Int r = d_CreateRecord(table);
        d_SetData(table, r, 0, v);
        d_SetData(table, r, 1, std::to_string(r));
    }
    return table;
}

TEST(StoreDelete, EmptyStoreAndQuickDeletionStartAfresh) {
    freshstore();
    {
        LogCapture log;
        d_DeleteDatabase(true);
        ASSERT_EQ(log.lines.size(), 2u);
        EXPECT_EQ(log.lines[0], "d_DeleteDatabase: Start (0 tables in database) (quick).");
        EXPECT_EQ(log.lines[1].rfind("d_DeleteDatabase: End (0 tables in database, ", 0), 0u);
    }
    filledtable("Eins", {"a", "b"});
    filledtable("Zwei", {"c"});
    LogCapture log;
    d_DeleteDatabase(true);
    EXPECT_EQ(log.lines[0], "d_DeleteDatabase: Start (2 tables in database) (quick).");
    EXPECT_EQ(log.lines[1].rfind("d_DeleteDatabase: End (2 tables in database, ", 0), 0u);
    EXPECT_EQ(d_TableCount, 0);
    EXPECT_TRUE(d_Tables.empty() && d_Selections.empty() && d_DataText.empty() && d_DataKey.empty());
    EXPECT_EQ(d_DataNext, 0);
    EXPECT_EQ(d_DataCapacity, 0);
    // Table numbers and cells start at 0 again.
    EXPECT_EQ(filledtable("Neu", {"x"}), 0);
    EXPECT_EQ(d_GetDataIndex(0, 1, 0), 2);
}

TEST(StoreDelete, RecursiveDeletionGoesThroughEveryTable) {
    freshstore();
    filledtable("Eins", {"a", "b"});
    d_CreateTable("Leer");
    LogCapture log;
    d_DeleteDatabase(false);
    const std::vector<std::string> expected = {"d_DeleteDatabase: Start (2 tables in database) (recursive).",
                                               "d_DeleteTable: Start.",
                                               "d_DeleteTable: Table = #1 #1",
                                               "d_DeleteTable: End.",
                                               "d_DeleteTable: Start.",
                                               "d_DeleteTableRecords: Start.",
                                               "d_DeleteTableRecords: Delete 2 records start.",
                                               "d_DeleteTableRecords: Delete records end.",
                                               "d_DeleteTableRecords: Table = #0 #0",
                                               "d_DeleteTableRecords: End.",
                                               "d_DeleteTable: Delete WorkingRecord.",
                                               "d_DeleteTable: Start deleting fields.",
                                               "d_DeleteTable: End deleting fields.",
                                               "d_DeleteTable: Table = #0 #0",
                                               "d_DeleteTable: End."};
    ASSERT_EQ(log.lines.size(), expected.size() + 1);
    EXPECT_EQ(std::vector<std::string>(log.lines.begin(), log.lines.end() - 1), expected);
    EXPECT_EQ(log.lines.back().rfind("d_DeleteDatabase: End (0 tables in database, ", 0), 0u);
    EXPECT_EQ(d_TableCount, 0);
    EXPECT_EQ(d_DataNext, 0);
}

TEST(StoreDelete, DeletingATableRenumbersThoseBehindIt) {
    freshstore();
    filledtable("Eins", {"a"});
    filledtable("Zwei", {"b", "c"});
    const Int next = d_DataNext;
    d_DeleteTable(0);
    ASSERT_EQ(d_TableCount, 1);
    ASSERT_EQ(d_Tables.size(), 1u);
    EXPECT_EQ(d_Tables[0].TableID, "Zwei");
    EXPECT_EQ(d_Selections[0].SelectionID, "Zwei");
    EXPECT_EQ(d_GetData(0, 2, 0), "c");
    EXPECT_EQ(d_GetTableIndex("Eins"), -1);
    // The deleted table's cells are blank but stay allocated.
    EXPECT_EQ(d_DataNext, next);
    EXPECT_EQ(d_DataText[2], "");
    EXPECT_EQ(d_DataKey[3], 0);
    // Its name is free again, under the next number.
    EXPECT_EQ(d_CreateTable("Eins"), 1);

    LogCapture log;
    d_DeleteTable(5);
    EXPECT_EQ(log.lines,
              (std::vector<std::string>{"d_DeleteTable: Start.", "d_DeleteTable: Table #5 not found.",
                                        "d_DeleteTable: End."}));
    EXPECT_EQ(d_TableCount, 2);
}

TEST(StoreDelete, TableRecordsGoAndTheWorkingRecordStays) {
    freshstore();
    const Int table = filledtable("Eins", {"a"});
    const Int next = d_DataNext;
    d_DeleteTableRecords(table);
    EXPECT_EQ(d_RecordsInTable(table), 0);
    EXPECT_EQ(d_Tables[0].RecordIndex.size(), 1u);
    {
        LogCapture log;
        EXPECT_EQ(d_GetData(table, 1, 0), "");
        EXPECT_EQ(log.lines, std::vector<std::string>{"d_GetData: Record #1 not found."});
    }
    EXPECT_EQ(d_DataText[2], "");
    EXPECT_EQ(d_DataKey[2], 0);
    // The next record is number 1 again, in fresh cells; no second Working Record.
    {
        LogCapture log;
        EXPECT_EQ(d_CreateRecord(table), 1);
        EXPECT_TRUE(log.lines.empty());
    }
    EXPECT_EQ(d_GetDataIndex(table, 1, 0), next);
    EXPECT_EQ(d_CreateField(table, "Neu", d_TypeString), -1);

    LogCapture log;
    d_DeleteTableRecords(9);
    EXPECT_EQ(log.lines, (std::vector<std::string>{"d_DeleteTableRecords: Start.",
                                                   "d_RecordsInTable: Table #9 not found.",
                                                   "d_DeleteTableRecords: End."}));
}

TEST(StoreDelete, DeletingOneRecordMovesTheOthersDown) {
    freshstore();
    const Int table = filledtable("Eins", {"a", "b", "c"});
    const Int cellOfB = d_GetDataIndex(table, 2, 0);
    d_DeleteRecord(table, 2);
    EXPECT_EQ(d_RecordsInTable(table), 2);
    EXPECT_EQ(d_GetData(table, 1, 0), "a");
    EXPECT_EQ(d_GetData(table, 2, 0), "c");
    EXPECT_EQ(d_DataText[static_cast<size_t>(cellOfB)], "");
    EXPECT_EQ(d_SearchUniqueRecord(table, 0, "c", false), 2);
    EXPECT_EQ(d_SearchUniqueRecord(table, 0, "b", false), -1);

    // Numbers that don't exist change nothing.
    LogCapture log;
    d_DeleteRecord(table, 7);
    d_DeleteRecord(4, 1);
    EXPECT_EQ(d_RecordsInTable(table), 2);
    EXPECT_EQ(log.lines, (std::vector<std::string>{"d_DeleteRecord: Record #7 not found.",
                                                   "d_FieldsInTable: Table #4 not found."}));
}

} // namespace
