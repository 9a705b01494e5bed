// Feeds arbitrary bytes to the data file reader. The first byte chooses the mode: odd appends to a
// store that has the participant table and a table of every type, even rebuilds the store from the file.
#include "fuzz/entry.h"
#include "store/store.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace {

// The store that appending inputs feed: the participant table, a table of every type, and one without
// fields.
void appendstructure() {
    d_DeleteDatabase(true);
    const Int people = d_CreateTable("Seelenorakel");
    d_CreateField(people, "Name", d_TypeString);
    d_CreateField(people, "Attribute", d_TypeString);
    const Int typed = d_CreateTable("Typen");
    for (Int type = 0; type <= 8; ++type) d_CreateField(typed, "F" + std::to_string(type), type);
    d_CreateTable("Ohne Felder");
}

void checkstore() {
    // What the reader leaves must still hold together: every record inside the allocated cells.
    if (d_TableCount != static_cast<Int>(d_Tables.size()) || d_Tables.size() != d_Selections.size())
        __builtin_trap();
    if (d_DataNext > d_DataCapacity || d_DataText.size() != static_cast<size_t>(d_DataCapacity) ||
        d_DataKey.size() != d_DataText.size())
        __builtin_trap();
    for (const d_table& t : d_Tables)
        for (Int first : t.RecordIndex)
            if (first < 0 || first + static_cast<Int>(t.Field.size()) > d_DataNext) __builtin_trap();
}

// Dumps alike line by line, but for Real values, which may come back in other digits of the same number.
bool alike(std::string_view a, std::string_view b) {
    for (;;) {
        const size_t i = std::min(a.find('\r'), a.size()), j = std::min(b.find('\r'), b.size());
        const std::string_view x = a.substr(0, i), y = b.substr(0, j);
        if (x != y && !(x.size() > 12 && x.substr(0, 13) == y.substr(0, 13) && x[0] == ' ' && x[11] == 'R' &&
                        std::fabs(realfromstring(x.substr(13)) - realfromstring(y.substr(13))) <=
                            1e-12 * std::fabs(realfromstring(x.substr(13)))))
            return false;
        if (i == a.size() || j == b.size()) return i == a.size() && j == b.size();
        a.remove_prefix(i + 1);
        b.remove_prefix(j + 1);
    }
}

} // namespace

int fuzzstore(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const bool append = (data[0] & 1) != 0;
    const std::span<const uint8_t> bytes(data + 1, size - 1);
    if (append) appendstructure();
    d_CreateDatabaseFromBinary(bytes, append);
    checkstore();
    // What was read must dump and search without trouble.
    const std::string dump = d_DumpDatabase(true, true, false);
    d_DumpDatabase(true, true, true);
    for (Int t = 0; t < d_TableCount; ++t)
        if (d_FieldsInTable(t) > 0) d_SearchUniqueRecord(t, 0, "Anna Meier", false);
    // A store rebuilt from its own dump is the dump's fixed point: cells that were never set read back
    // as their type's value ("" as "False" or "0") on the first rebuild, and nothing changes after that.
    auto reload = [](const std::string& text, bool onto) {
        d_CreateDatabaseFromBinary({reinterpret_cast<const uint8_t*>(text.data()), text.size()}, onto);
        checkstore();
        return d_DumpDatabase(true, true, false);
    };
    const std::string settled = reload(dump, false);
    if (!alike(reload(settled, false), settled)) __builtin_trap();
    // The game's own way: a dump appended to a store of the same structure reads back alike.
    if (append) {
        appendstructure();
        if (!alike(reload(settled, true), settled)) __builtin_trap();
    }
    d_DeleteDatabase(false);
    return 0;
}
