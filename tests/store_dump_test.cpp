#include "store/store.h"
#include "shell/shell.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using testsupport::freshstore;
using testsupport::LogCapture;

TEST(StoreDump, StructureListingOfTheParticipantTable) {
    freshstore();
    const Int table = d_CreateTable("Seelenorakel");
    d_CreateField(table, "Name", d_TypeString);
    d_CreateField(table, "Attribute", d_TypeString);
    for (int i = 0; i < 3; ++i) d_SetData(table, d_CreateRecord(table), 0, "Jemand");
    LogCapture log;
    EXPECT_EQ(d_DumpDatabase(true, false, true), "Table 0 ::::::::: Seelenorakel\r"
                                                 "Field 0         : String  : Name\r"
                                                 "Field 1         : String  : Attribute\r");
    ASSERT_EQ(log.lines.size(), 2u);
    EXPECT_EQ(log.lines[0], "d_DumpDatabase: Start.");
    EXPECT_EQ(log.lines[1].rfind("d_DumpDatabase: End ", 0), 0u);
    EXPECT_EQ(log.lines[1].substr(log.lines[1].size() - 4), " ms.");
    EXPECT_EQ(t_DebugLevel.load(), 1);
}

TEST(StoreDump, TablesWithoutFieldsOrRecordsAndTheEmptyLinesBetween) {
    freshstore();
    d_CreateTable("Leer");
    const Int plain = d_CreateTable("Ohne Daten");
    d_CreateField(plain, "A", d_TypeInteger);
    const Int full = d_CreateTable("Voll");
    d_CreateField(full, "B", d_TypeBoolean);
    d_SetData(full, d_CreateRecord(full), 0, "ja");
    d_CreateTable("Leer am Ende");

    EXPECT_EQ(d_DumpDatabase(true, true, false), "T0          :Leer\r"
                                                 "T1          :Ohne Daten\r"
                                                 "F0         I:A\r"
                                                 "\r"
                                                 "T2          :Voll\r"
                                                 "F0         B:B\r"
                                                 "R1\r"
                                                 " f0        B:True\r"
                                                 "\r"
                                                 "T3          :Leer am Ende\r");
    EXPECT_EQ(d_DumpDatabase(false, true, false), "\r"
                                                  "R1\r"
                                                  " f0        B:True\r"
                                                  "\r");
    EXPECT_EQ(d_DumpDatabase(true, false, false), "T0          :Leer\r"
                                                  "T1          :Ohne Daten\r"
                                                  "F0         I:A\r"
                                                  "\r"
                                                  "T2          :Voll\r"
                                                  "F0         B:B\r"
                                                  "\r"
                                                  "T3          :Leer am Ende\r");
    freshstore();
    EXPECT_EQ(d_DumpDatabase(true, true, true), "");
}

TEST(StoreDump, PrettyCutsValuesAndNamesAndPadsTypeNames) {
    freshstore();
    for (int i = 0; i < 10; ++i) d_CreateTable("Platz " + std::to_string(i));
    const Int table = d_CreateTable("Zehn");
    const std::vector<Int> types = {d_TypeLongTime, d_TypeOther, d_TypeReal, d_TypeTime, d_TypeString};
    for (size_t f = 0; f < types.size(); ++f)
        d_CreateField(table, f == 4 ? std::string(32, 'N') : "F" + std::to_string(f), types[f]);
    const Int r = d_CreateRecord(table);
    const std::string forty = "Vierzig Zeichen: äöü und noch mehr Text.";
    ASSERT_EQ(charactercount(forty), 40);
    d_SetData(table, r, 0, "3725000");
    d_SetData(table, r, 1, "?");
    d_SetData(table, r, 2, "1,5");
    d_SetData(table, r, 3, "65000");
    d_SetData(table, r, 4, forty);
    const std::string tail = "Table 10 :::::::: Zehn\r"
                             "Field 0         : LongTime: F0\r"
                             "Field 1         : Other   : F1\r"
                             "Field 2         : Real    : F2\r"
                             "Field 3         : Time    : F3\r"
                             "Field 4         : String  : " +
                             std::string(32, 'N') +
                             "\r"
                             "R1\r"
                             " f0        L:3725000\r"
                             " f1        O:?\r"
                             " f2        R:1,5\r"
                             " f3        T:65000\r"
                             " f4        S:" +
                             midstring(forty, 1, 32) + "\r";
    const std::string pretty = d_DumpDatabase(true, true, true);
    ASSERT_GE(pretty.size(), tail.size());
    EXPECT_EQ(pretty.substr(pretty.size() - tail.size()), tail);
    EXPECT_EQ(pretty.substr(0, 21), "Table 0 ::::::::: Pla");
    EXPECT_EQ(pretty.find("Table 9 ::::::::: Platz 9\r"), pretty.find("Table 9"));

    const std::string plain = d_DumpDatabase(true, true, false);
    EXPECT_NE(plain.find("T10         :Zehn\r"), std::string::npos);
    EXPECT_NE(plain.find(" f4        S:" + forty + "\r"), std::string::npos);
    EXPECT_NE(plain.find(" f3        T:65000\r"), std::string::npos);
    EXPECT_EQ(d_GetData(table, r, 3), "01:05");
}

} // namespace
