// Replays the fuzz seed corpus through the reader, so the seeds are checked without clang.
#include "store/store.h"
#include "shell/shell.h"
#include "fuzz/appendstructure.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace {

const std::filesystem::path corpus =
    std::filesystem::path(__FILE__).parent_path().parent_path() / "fuzz" / "corpus";

void expectconsistent(const std::string& name) {
    EXPECT_EQ(d_TableCount, static_cast<Int>(d_Tables.size())) << name;
    EXPECT_EQ(d_Tables.size(), d_Selections.size()) << name;
    EXPECT_LE(d_DataNext, d_DataCapacity) << name;
    EXPECT_EQ(d_DataText.size(), static_cast<size_t>(d_DataCapacity)) << name;
    EXPECT_EQ(d_DataKey.size(), d_DataText.size()) << name;
    for (const d_table& t : d_Tables)
        for (Int first : t.RecordIndex)
            EXPECT_LE(first + static_cast<Int>(t.Field.size()), d_DataNext) << name;
}

TEST(StoreCorpus, EverySeedReadsDumpsAndReadsBack) {
    ASSERT_TRUE(std::filesystem::is_directory(corpus)) << corpus;
    // Seeds with a known outcome: result of the reader and records of table 0 afterwards.
    const std::map<std::string, std::pair<bool, Int>> known = {
        {"participants-append", {true, 5}}, {"participants-rebuild", {true, 5}}, {"types-append", {true, 1}},
        {"types-rebuild", {true, 1}},       {"no-final-return", {true, 5}},      {"line-feeds", {true, 0}},
        {"invalid-utf8", {true, 1}},        {"empty-values", {true, 1}}};
    const Int level = t_DebugLevel;
    t_DebugLevel = 0;
    size_t seeds = 0;
    for (const auto& entry : std::filesystem::directory_iterator(corpus)) {
        const std::string name = entry.path().filename();
        const std::vector<uint8_t> input = getbinaryfromfile(entry.path());
        if (input.empty()) continue;
        ++seeds;
        const bool append = (input[0] & 1) != 0;
        if (append) appendstructure();
        const bool result = d_CreateDatabaseFromBinary(std::span(input).subspan(1), append);
        expectconsistent(name);
        if (auto it = known.find(name); it != known.end()) {
            EXPECT_EQ(result, it->second.first) << name;
            EXPECT_EQ(d_RecordsInTable(0), it->second.second) << name;
        }
        // A store rebuilt from its own dump dumps the same again.
        const std::string dump = d_DumpDatabase(true, true, false);
        const std::vector<uint8_t> bytes(dump.begin(), dump.end());
        d_CreateDatabaseFromBinary(bytes, false);
        expectconsistent(name);
        EXPECT_EQ(d_DumpDatabase(true, true, false), dump) << name;
    }
    t_DebugLevel = level;
    EXPECT_GE(seeds, 8u);
    d_DeleteDatabase(true);
}

} // namespace
