#include "store/store.h"
#include "shell/shell.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace {

using testsupport::freshstore;
using testsupport::LogCapture;

Int keyof(const std::string& text) {
    return d_TextKey(text) & 0x7FFFFFFFFFFFFFFF;
}

// A table with one field of the given type and one record; returns the record's cell.
Int onecell(Int type) {
    freshstore();
    const Int table = d_CreateTable("T");
    d_CreateField(table, "F", type);
    const Int record = d_CreateRecord(table);
    return d_GetDataIndex(table, record, 0);
}

TEST(StoreTables, NamesAreCutTo32CharactersAndCompareCut) {
    freshstore();
    LogCapture log;
    const std::string longName(40, 'x');
    const Int table = d_CreateTable(longName);
    ASSERT_EQ(table, 0);
    EXPECT_EQ(d_Tables[0].TableID, std::string(32, 'x'));
    EXPECT_EQ(d_Selections[0].SelectionID, std::string(32, 'x'));
    EXPECT_TRUE(log.has("d_CreateTable: Table [" + std::string(32, 'x') + "] #0 created."));

    // Agreeing in the first 32 characters is the same name.
    EXPECT_EQ(d_CreateTable(std::string(33, 'x')), -1);
    EXPECT_TRUE(log.has("d_CreateTable: Table [" + std::string(33, 'x') + "] already exists."));
    EXPECT_EQ(d_TableCount, 1);
    EXPECT_EQ(d_Selections.size(), 1u);
    EXPECT_EQ(d_GetTableIndex(std::string(50, 'x')), 0);

    // Characters, not bytes: 40 umlauts are 80 bytes and are cut to 32 umlauts.
    std::string umlauts;
    for (int i = 0; i < 40; ++i) umlauts += "ü";
    EXPECT_EQ(d_CreateField(table, umlauts, d_TypeString), 0);
    EXPECT_EQ(d_Tables[0].Field[0].FieldID.size(), 64u);
    EXPECT_EQ(d_CreateField(table, umlauts.substr(0, 66), d_TypeInteger), -1);
    EXPECT_EQ(d_GetFieldIndexI(table, umlauts), 0);
    EXPECT_EQ(d_GetFieldIndexI(table, "none"), -1);
}

TEST(StoreTables, BadNumbersLogAndFail) {
    freshstore();
    LogCapture log;
    EXPECT_EQ(d_CreateField(0, "F", 0), -1);
    EXPECT_EQ(d_FieldsInTable(-1), -1);
    EXPECT_EQ(d_RecordsInTable(3), -1);
    EXPECT_EQ(d_CreateRecord(0), -1);
    EXPECT_EQ(d_GetFieldIndexI(0, "F"), -1);
    EXPECT_EQ(d_GetData(0, 1, 0), "");
    EXPECT_EQ(d_SearchUniqueRecord(0, 0, "x", false), -1);
    const std::vector<std::string> expected = {
        "d_CreateField: Table #0 not found.",       "d_FieldsInTable: Table #-1 not found.",
        "d_RecordsInTable: Table #3 not found.",    "d_CreateRecord: Table #0 not found.",
        "d_GetFieldIndexI: Table #0 not found.",    "d_GetData: Table #0 not found.",
        "d_SearchUniqueRecord: Table #0 not found."};
    EXPECT_EQ(log.lines, expected);

    const Int table = d_CreateTable("T");
    log.lines.clear();
    EXPECT_EQ(d_CreateRecord(table), -1);
    EXPECT_EQ(d_GetFieldIndexI(table, "F"), -1); // no fields: no log line
    EXPECT_EQ(d_RecordsInTable(table), 0);
    EXPECT_EQ(log.lines, std::vector<std::string>{"d_CreateRecord: Table #0 has no fields."});
}

TEST(StoreTables, FirstRecordBringsTheWorkingRecordAndFixesTheFields) {
    freshstore();
    const Int table = d_CreateTable("Seelenorakel");
    ASSERT_EQ(d_CreateField(table, "Name", d_TypeString), 0);
    ASSERT_EQ(d_CreateField(table, "Attribute", d_TypeString), 1);
    EXPECT_EQ(d_CreateField(table, "Name", d_TypeString), -1);
    {
        LogCapture log;
        EXPECT_EQ(d_CreateRecord(table), 1);
        EXPECT_EQ(log.lines, std::vector<std::string>{"d_CreateRecord: Working Record created."});
    }
    const d_table& t = d_Tables[0];
    EXPECT_EQ(t.RecordIndex, (std::vector<Int>{0, 2}));
    EXPECT_EQ(t.RecordCurrent, 1);
    EXPECT_EQ(d_RecordsInTable(table), 1);
    EXPECT_EQ(d_GetDataIndex(table, 0, 1), 1);
    EXPECT_EQ(d_GetDataIndex(table, 1, 0), 2);
    EXPECT_EQ(d_GetDataIndex(table, 2, 0), -1);
    EXPECT_EQ(d_DataCapacity, d_BlockSize);

    LogCapture log;
    EXPECT_EQ(d_CreateField(table, "More", d_TypeString), -1);
    EXPECT_EQ(log.lines, std::vector<std::string>{
                             "d_CreateField: Table is not empty (2 records), cannot create field."});
    EXPECT_EQ(d_FieldsInTable(table), 2);
}

TEST(StoreTables, SecondBlockComesWithRecord4999OfATwoFieldTable) {
    freshstore();
    const Int table = d_CreateTable("T");
    d_CreateField(table, "A", d_TypeString);
    d_CreateField(table, "B", d_TypeInteger);
    for (Int r = 1; r <= 4998; ++r) ASSERT_EQ(d_CreateRecord(table), r);
    EXPECT_EQ(d_DataNext, 9998);
    EXPECT_EQ(d_DataCapacity, 10000);
    EXPECT_EQ(d_CreateRecord(table), 4999);
    EXPECT_EQ(d_DataNext, 10000);
    EXPECT_EQ(d_DataCapacity, 20000);
    EXPECT_EQ(d_DataText.size(), 20000u);
    EXPECT_EQ(d_DataKey.size(), 20000u);
    // The last cell of the first block belongs to record 4999.
    EXPECT_EQ(d_GetDataIndex(table, 4999, 1), 9999);
    EXPECT_TRUE(d_SetData(table, 4999, 1, "42"));
    EXPECT_EQ(d_CreateRecord(table), 5000);
    EXPECT_TRUE(d_SetData(table, 5000, 1, "43"));
    EXPECT_EQ(d_GetData(table, 4999, 1), "42");
    EXPECT_EQ(d_GetData(table, 5000, 1), "43");
    EXPECT_EQ(d_DataKey[10001], 43);
}

TEST(StoreTables, WorkingRecordAndRecordsPastTheLast) {
    freshstore();
    const Int table = d_CreateTable("T");
    d_CreateField(table, "Name", d_TypeString);
    d_CreateRecord(table);
    d_CreateRecord(table);
    ASSERT_TRUE(d_SetData(table, 1, 0, "Erster"));
    ASSERT_TRUE(d_SetData(table, 0, 0, "Arbeit"));
    EXPECT_EQ(d_GetData(table, 0, 0), "Arbeit");

    // Loading makes the Working Record a copy of the current record, key and all.
    d_Tables[0].RecordCurrent = 1;
    d_LoadRecord(table);
    EXPECT_EQ(d_GetData(table, 0, 0), "Erster");
    EXPECT_EQ(d_DataKey[0], d_DataKey[1]);

    LogCapture log;
    EXPECT_FALSE(d_SetData(table, 3, 0, "x"));
    EXPECT_EQ(d_GetData(table, 3, 0), "");
    EXPECT_EQ(d_GetData(table, 1, 1), "");
    EXPECT_FALSE(d_SetData(table, 1, 5, "y"));
    const std::vector<std::string> expected = {
        "d_SetData: Error setting data for table = #0 #0, record = #3, field = #0, data = 'x'",
        "d_GetData: Record #3 not found.", "d_GetData: Field #1 not found.",
        "d_GetDataIndex: Field #5 not found.",
        "d_SetData: Error setting data for table = #0 #0, record = #1, field = #5, data = 'y'"};
    EXPECT_EQ(log.lines, expected);
}

struct CellCase {
    Int type;
    std::string value;
    std::string text;
    int64_t key;
};

TEST(StoreTables, EveryTypeStoresItsTextAndKey) {
    constexpr int64_t maximum = std::numeric_limits<int64_t>::max();
    constexpr int64_t minimum = std::numeric_limits<int64_t>::min();
    const std::vector<CellCase> cases = {
        {d_TypeInteger, "12abc", "12", 12},
        {d_TypeInteger, "  - 40", "-40", -40},
        {d_TypeInteger, "x12", "0", 0},
        {d_TypeInteger, "", "0", 0},
        {d_TypeReal, "12,5", "12,5", 12},
        {d_TypeReal, "-2.7", "-2,7", -2},
        {d_TypeReal, "1e30", stringfromreal(realfromstring("1e30")), maximum},
        {d_TypeReal, "-1e30", stringfromreal(realfromstring("-1e30")), minimum},
        {d_TypeReal, "1e400", "inf", maximum},
        {d_TypeReal, "-1e400", "-inf", minimum},
        {d_TypeBoolean, "Ja", "True", 1},
        {d_TypeBoolean, "YES", "True", 1},
        {d_TypeBoolean, "true", "True", 1},
        {d_TypeBoolean, "7", "True", 1},
        {d_TypeBoolean, "-1", "True", 1},
        {d_TypeBoolean, "NEIN", "False", 0},
        {d_TypeBoolean, "No", "False", 0},
        {d_TypeBoolean, "False", "False", 0},
        {d_TypeBoolean, "x", "False", 0},
        {d_TypeBoolean, "0", "False", 0},
        {d_TypeString, "Anna Meier", "Anna Meier", keyof("anna mei")},
        {d_TypeString, "ÄRGER", "ÄRGER", keyof("ärger")},
        {d_TypeData, "Anna Meier", "Anna Meier", keyof("Anna Mei")},
        {d_TypeTime, "3725000", "62:05", 3725000},
        {d_TypeTime, "59999", "00:59", 59999},
        {d_TypeLongTime, "3725000", "1:02:05", 3725000},
        {d_TypeLongTime, "36000000", "10:00:00", 36000000},
        {d_TypeOther, "MiXed", "MiXed", keyof("MiXed")},
        {12, "MiXed", "MiXed", keyof("MiXed")},
    };
    for (const CellCase& c : cases) {
        const Int cell = onecell(c.type);
        d_StoreCell(cell, c.type, c.value);
        EXPECT_EQ(d_DataText[static_cast<size_t>(cell)], c.text) << c.type << " " << c.value;
        EXPECT_EQ(d_DataKey[static_cast<size_t>(cell)], c.key) << c.type << " " << c.value;
        // Through d_SetData the field's own type decides.
        d_StoreCell(cell, d_TypeData, "reset");
        EXPECT_TRUE(d_SetData(0, 1, 0, c.value));
        EXPECT_EQ(d_GetData(0, 1, 0), c.text) << c.type << " " << c.value;
    }
}

TEST(StoreTables, RealKeySaturatesAtTwoToThe63) {
    const Int cell = onecell(d_TypeReal);
    // 2^63 exactly is not greater than 2^63, yet it does not fit: it is held at the largest value.
    ASSERT_EQ(realfromstring("92233720368547758,08e2"), 9223372036854775808.0);
    d_StoreCell(cell, d_TypeReal, "92233720368547758,08e2");
    EXPECT_EQ(d_DataKey[static_cast<size_t>(cell)], std::numeric_limits<int64_t>::max());
    // -2^63 itself fits.
    d_StoreCell(cell, d_TypeReal, "-92233720368547758,08e2");
    EXPECT_EQ(d_DataKey[static_cast<size_t>(cell)], std::numeric_limits<int64_t>::min());
    d_StoreCell(cell, d_TypeReal, "4611686018427387904");
    EXPECT_EQ(d_DataKey[static_cast<size_t>(cell)], int64_t{1} << 62);
    d_StoreCell(cell, d_TypeReal, "-0,999");
    EXPECT_EQ(d_DataKey[static_cast<size_t>(cell)], 0);
}

TEST(StoreTables, TextKeyPacksTheFirstEightScalars) {
    EXPECT_EQ(d_TextKey(""), 0);
    EXPECT_EQ(d_TextKey("A"), 65);
    EXPECT_EQ(d_TextKey("AB"), 65 + 66 * 256);
    EXPECT_EQ(d_TextKey("ü"), 0xFC); // one scalar, not two bytes
    EXPECT_EQ(d_TextKey("€"), 0xAC); // U+20AC: its low eight bits
    EXPECT_EQ(d_TextKey("abcdefgh"), d_TextKey("abcdefghXYZ"));
    EXPECT_NE(d_TextKey("abcdefg"), d_TextKey("abcdefgh"));
    // A Latin-1 character in eighth place sets the top bit; the cell keys clear it.
    EXPECT_LT(d_TextKey("abcdefgÿ"), 0);
    const Int cell = onecell(d_TypeString);
    d_StoreCell(cell, d_TypeString, "abcdefgÿ");
    EXPECT_EQ(d_DataKey[static_cast<size_t>(cell)], d_TextKey("abcdefgÿ") & 0x7FFFFFFFFFFFFFFF);
    d_StoreCell(cell, d_TypeData, "ABCDEFGÿ");
    EXPECT_GE(d_DataKey[static_cast<size_t>(cell)], 0);
    // Malformed bytes count as one scalar each and never read past the text.
    EXPECT_EQ(d_TextKey(std::string("\xC3", 1)), 0xFD);
    EXPECT_EQ(d_TextKey("\xF0\x9F"), 0xFD + 0xFD * 256);
}

TEST(StoreTables, StringKeysAgreeWithTheLibraryLowerCase) {
    const std::vector<std::string> texts = {"Anna Meier", "ÖZTÜRK Ayşe",  "ΣΟΦΊΑ ΠΑΠΑΔΟΠΟΎΛΟΥ", "İSTANBUL",
                                            "ÆØÅ Ærø",    "Straße ẞ",     "ŁUKASZ Żółć",        "Ünal",
                                            "DŽ Ǆ",       "日本語の名前", "ﬀ ligature",         ""};
    for (const std::string& text : texts) {
        const Int cell = onecell(d_TypeString);
        d_StoreCell(cell, d_TypeString, text);
        EXPECT_EQ(d_DataKey[static_cast<size_t>(cell)], d_TextKey(lowercasestring(text)) & 0x7FFFFFFFFFFFFFFF)
            << text;
    }
}

TEST(StoreTables, SearchComparesKeysFirstAndTextsAfter) {
    freshstore();
    const Int table = d_CreateTable("Seelenorakel");
    const Int name = d_CreateField(table, "Name", d_TypeString);
    d_CreateField(table, "Attribute", d_TypeString);
    {
        LogCapture log;
        EXPECT_EQ(d_SearchUniqueRecord(table, name, "Anna Meier", false), -1);
        EXPECT_EQ(log.lines, std::vector<std::string>{"d_SearchUniqueRecord: Table #0 has no records."});
    }
    for (const char* n : {"Karl Muster", "Anna Maria Meier", "Anna Maria Müller", "Anna Meier"}) {
        const Int r = d_CreateRecord(table);
        d_SetData(table, r, name, n);
        d_SetData(table, r, 1, "1975");
    }
    // Same first eight characters, same key: the texts tell them apart.
    EXPECT_EQ(d_DataKey[static_cast<size_t>(d_GetDataIndex(table, 2, name))],
              d_DataKey[static_cast<size_t>(d_GetDataIndex(table, 3, name))]);

    LogCapture log;
    EXPECT_EQ(d_SearchUniqueRecord(table, name, "ANNA MEIER", false), 4);
    EXPECT_EQ(log.lines, std::vector<std::string>{"d_SearchUniqueRecord: Found record [8] #'4'."});
    EXPECT_EQ(d_SearchUniqueRecord(table, name, "anna maria müller", false), 3);
    EXPECT_EQ(d_SearchUniqueRecord(table, name, "ANNA MARIA MÜLLER", false), 3);
    EXPECT_EQ(d_SearchUniqueRecord(table, name, "Anna Maria Meier", true), 2);
    EXPECT_EQ(d_SearchUniqueRecord(table, name, "anna maria meier", true), -1);
    log.lines.clear();
    EXPECT_EQ(d_SearchUniqueRecord(table, name, "Niemand Da", false), -1);
    EXPECT_TRUE(log.lines.empty());
    // The Working Record is never searched.
    d_SetData(table, 0, name, "Nur Arbeit");
    EXPECT_EQ(d_SearchUniqueRecord(table, name, "Nur Arbeit", false), -1);
    // The first match wins.
    d_SetData(table, 1, name, "anna meier");
    EXPECT_EQ(d_SearchUniqueRecord(table, name, "Anna Meier", false), 1);
    EXPECT_EQ(d_SearchUniqueRecord(table, name, "Anna Meier", true), 4);

    log.lines.clear();
    EXPECT_EQ(d_SearchUniqueRecord(table, 2, "x", false), -1);
    EXPECT_EQ(log.lines, std::vector<std::string>{"d_SearchUniqueRecord: Field #[2] not found."});
}

TEST(StoreTables, LongTimeFormats) {
    EXPECT_EQ(t_FormatLongTime(3725000, 0, true), "1:02:05");
    EXPECT_EQ(t_FormatLongTime(3725123, 3, true), "1:02:05:123");
    EXPECT_EQ(t_FormatLongTime(3725123, 2, true), "1:02:05:12");
    EXPECT_EQ(t_FormatLongTime(3725123, 1, true), "1:02:05:1");
    EXPECT_EQ(t_FormatLongTime(3725123, 4, true), "1:02:05");
    EXPECT_EQ(t_FormatLongTime(3725007, 3, false), "62:05:007");
    EXPECT_EQ(t_FormatLongTime(65000, 0, false), "01:05");
    EXPECT_EQ(t_FormatLongTime(0, 0, true), "0:00:00");
}

} // namespace
