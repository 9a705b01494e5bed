#include "store/store.h"
#include "store/storeinternal.h"

#include "shell/shell.h"

#include <cmath>
#include <limits>

std::vector<d_table> d_Tables;
Int d_TableCount = 0;
std::vector<d_selection> d_Selections;
std::vector<std::string> d_DataText;
std::vector<int64_t> d_DataKey;
Int d_DataNext = 0;
Int d_DataCapacity = 0;

namespace {

constexpr int64_t topBitClear = 0x7FFFFFFFFFFFFFFF;

bool tableexists(Int table) {
    return table >= 0 && table < d_TableCount;
}

// Names are cut to 32 characters; most are far shorter in bytes, which spares the cluster count.
std::string cutname(std::string_view name) {
    if (name.size() <= static_cast<size_t>(d_NameLength)) return std::string(name);
    return midstring(name, 1, d_NameLength);
}

// d_TextKey of the lower-cased text, top bit cleared: the key of a String cell and of a search.
int64_t lowerkey(std::string_view text) {
    return d_TextKey(lowercasestring(text)) & topBitClear;
}

} // namespace

using storeinternal::decimal;

Int d_TextKey(std::string_view text) {
    uint64_t key = 0;
    size_t i = 0;
    for (int k = 0; k < 8 && i < text.size(); ++k) {
        // A malformed byte counts as U+FFFD.
        const Int c = nextscalar(text, i);
        key |= static_cast<uint64_t>((c < 0 ? 0xFFFD : c) & 0xFF) << (8 * k);
    }
    return static_cast<Int>(key);
}

std::string d_FieldTypeName(Int type) {
    switch (type) {
    case d_TypeInteger:
        return "Integer";
    case d_TypeReal:
        return "Real";
    case d_TypeBoolean:
        return "Boolean";
    case d_TypeString:
        return "String";
    case d_TypeData:
        return "Data";
    case d_TypeTime:
        return "Time";
    case d_TypeLongTime:
        return "LongTime";
    default:
        return "Other";
    }
}

char d_FieldTypeLetter(Int type) {
    return d_FieldTypeName(type)[0];
}

Int d_GetTableIndex(std::string_view name) {
    const std::string cut = cutname(name);
    for (Int t = 0; t < d_TableCount; ++t)
        if (d_Tables[static_cast<size_t>(t)].TableID == cut) return t;
    return -1;
}

Int d_CreateTable(std::string_view name) {
    if (d_GetTableIndex(name) >= 0) {
        debuglog("d_CreateTable: Table [" + std::string(name) + "] already exists.");
        return -1;
    }
    const std::string cut = cutname(name);
    d_Tables.push_back(d_table{cut, {}, {}, 0});
    d_Selections.push_back(d_selection{cut, 0, {}});
    const Int table = d_TableCount;
    ++d_TableCount;
    debuglog("d_CreateTable: Table [" + cut + "] #" + decimal(table) + " created.");
    return table;
}

Int d_CreateField(Int table, std::string_view name, Int type) {
    if (!tableexists(table)) {
        debuglog("d_CreateField: Table #" + decimal(table) + " not found.");
        return -1;
    }
    d_table& t = d_Tables[static_cast<size_t>(table)];
    if (!t.RecordIndex.empty()) {
        debuglog("d_CreateField: Table is not empty (" + decimal(static_cast<Int>(t.RecordIndex.size())) +
                 " records), cannot create field.");
        return -1;
    }
    if (d_GetFieldIndexI(table, name) >= 0) {
        debuglog("d_CreateField: Field [" + std::string(name) + "] already exists.");
        return -1;
    }
    t.Field.push_back(d_field{cutname(name), type});
    return static_cast<Int>(t.Field.size()) - 1;
}

Int d_GetFieldIndexI(Int table, std::string_view name) {
    if (!tableexists(table)) {
        debuglog("d_GetFieldIndexI: Table #" + decimal(table) + " not found.");
        return -1;
    }
    const d_table& t = d_Tables[static_cast<size_t>(table)];
    if (t.Field.empty()) return -1;
    const std::string cut = cutname(name);
    for (size_t f = 0; f < t.Field.size(); ++f)
        if (t.Field[f].FieldID == cut) return static_cast<Int>(f);
    return -1;
}

Int d_FieldsInTable(Int table) {
    if (!tableexists(table)) {
        debuglog("d_FieldsInTable: Table #" + decimal(table) + " not found.");
        return -1;
    }
    return static_cast<Int>(d_Tables[static_cast<size_t>(table)].Field.size());
}

Int d_RecordsInTable(Int table) {
    if (!tableexists(table)) {
        debuglog("d_RecordsInTable: Table #" + decimal(table) + " not found.");
        return -1;
    }
    const auto& index = d_Tables[static_cast<size_t>(table)].RecordIndex;
    return index.empty() ? 0 : static_cast<Int>(index.size()) - 1;
}

Int d_CreateRecord(Int table) {
    if (!tableexists(table)) {
        debuglog("d_CreateRecord: Table #" + decimal(table) + " not found.");
        return -1;
    }
    d_table& t = d_Tables[static_cast<size_t>(table)];
    if (t.Field.empty()) {
        debuglog("d_CreateRecord: Table #" + decimal(table) + " has no fields.");
        return -1;
    }
    const Int record = static_cast<Int>(t.RecordIndex.size());
    t.RecordIndex.push_back(d_DataNext);
    d_DataNext += static_cast<Int>(t.Field.size());
    // A record wider than one block takes as many blocks as it needs.
    while (d_DataNext >= d_DataCapacity) {
        d_DataCapacity += d_BlockSize;
        d_DataText.resize(static_cast<size_t>(d_DataCapacity));
        d_DataKey.resize(static_cast<size_t>(d_DataCapacity), 0);
    }
    t.RecordCurrent = record;
    if (record == 0) {
        debuglog("d_CreateRecord: Working Record created.");
        return d_CreateRecord(table);
    }
    d_LoadRecord(table);
    return record;
}

void d_LoadRecord(Int table) {
    if (d_FieldsInTable(table) < 1) {
        debuglog("d_LoadRecord: Table #" + decimal(table) + " not found or table has no fields.");
        return;
    }
    const d_table& t = d_Tables[static_cast<size_t>(table)];
    // After a deletion the current record may be gone.
    if (t.RecordCurrent < 0 || static_cast<size_t>(t.RecordCurrent) >= t.RecordIndex.size()) {
        debuglog("d_LoadRecord: Record #" + decimal(t.RecordCurrent) + " not found.");
        return;
    }
    const auto from = static_cast<size_t>(t.RecordIndex[static_cast<size_t>(t.RecordCurrent)]);
    const auto to = static_cast<size_t>(t.RecordIndex[0]);
    if (from == to) return;
    for (size_t f = 0; f < t.Field.size(); ++f) {
        // A fresh record is empty, and so is the Working Record that copied the last one.
        if (!d_DataText[to + f].empty() || !d_DataText[from + f].empty())
            d_DataText[to + f] = d_DataText[from + f];
        d_DataKey[to + f] = d_DataKey[from + f];
    }
}

Int d_GetDataIndex(Int table, Int record, Int field) {
    if (!tableexists(table)) {
        debuglog("d_GetDataIndex: Table #" + decimal(table) + " not found.");
        return -1;
    }
    const d_table& t = d_Tables[static_cast<size_t>(table)];
    if (field < 0 || field >= static_cast<Int>(t.Field.size())) {
        debuglog("d_GetDataIndex: Field #" + decimal(field) + " not found.");
        return -1;
    }
    if (record < 0 || record >= static_cast<Int>(t.RecordIndex.size())) return -1;
    return t.RecordIndex[static_cast<size_t>(record)] + field;
}

bool d_SetData(Int table, Int record, Int field, std::string_view value) {
    const Int cell = d_GetDataIndex(table, record, field);
    if (cell < 0) {
        debuglog("d_SetData: Error setting data for table = #" + decimal(table) + " #" + decimal(table) +
                 ", record = #" + decimal(record) + ", field = #" + decimal(field) + ", data = '" +
                 std::string(value) + "'");
        return false;
    }
    d_StoreCell(cell, d_Tables[static_cast<size_t>(table)].Field[static_cast<size_t>(field)].FieldType,
                value);
    return true;
}

std::string d_GetData(Int table, Int record, Int field) {
    if (!tableexists(table)) {
        debuglog("d_GetData: Table #" + decimal(table) + " not found.");
        return "";
    }
    const d_table& t = d_Tables[static_cast<size_t>(table)];
    if (field < 0 || field >= static_cast<Int>(t.Field.size())) {
        debuglog("d_GetData: Field #" + decimal(field) + " not found.");
        return "";
    }
    if (record < 0 || record >= static_cast<Int>(t.RecordIndex.size())) {
        debuglog("d_GetData: Record #" + decimal(record) + " not found.");
        return "";
    }
    return d_DataText[static_cast<size_t>(t.RecordIndex[static_cast<size_t>(record)] + field)];
}

namespace {

// The first record from r on whose key is key, or count. Kept apart so that the walk has the
// registers to itself.
[[gnu::noinline]] size_t nextkey(const int64_t* keys, const Int* index, size_t r, size_t count, int64_t key) {
    while (r < count && keys[index[r]] != key) ++r;
    return r;
}

} // namespace

Int d_SearchUniqueRecord(Int table, Int field, std::string_view value, bool caseSensitive) {
    if (!tableexists(table)) {
        debuglog("d_SearchUniqueRecord: Table #" + decimal(table) + " not found.");
        return -1;
    }
    const d_table& t = d_Tables[static_cast<size_t>(table)];
    if (field < 0 || field >= static_cast<Int>(t.Field.size())) {
        debuglog("d_SearchUniqueRecord: Field #[" + decimal(field) + "] not found.");
        return -1;
    }
    const int64_t key = lowerkey(value);
    // The lower-cased value is only needed behind an equal key, and made then.
    std::string compared;
    bool prepared = false;
    if (t.RecordIndex.size() < 2) {
        debuglog("d_SearchUniqueRecord: Table #" + decimal(table) + " has no records.");
        return -1;
    }
    // One integer comparison per record; a text is looked at only behind an equal key.
    const int64_t* keys = d_DataKey.data() + field;
    const Int* index = t.RecordIndex.data();
    const size_t count = t.RecordIndex.size();
    for (size_t r = nextkey(keys, index, 1, count, key); r < count;
         r = nextkey(keys, index, r + 1, count, key)) {
        if (!prepared) {
            compared = caseSensitive ? std::string(value) : lowercasestring(value);
            prepared = true;
        }
        const std::string& text = d_DataText[static_cast<size_t>(index[r] + field)];
        if (caseSensitive ? text == compared : lowercasestring(text) == compared) {
            debuglog("d_SearchUniqueRecord: Found record [" + decimal(index[r]) + "] #'" +
                     decimal(static_cast<Int>(r)) + "'.");
            return static_cast<Int>(r);
        }
    }
    return -1;
}

std::string t_FormatLongTime(Int milliseconds, Int decimals, bool withHours) {
    std::string text;
    if (withHours)
        text = formatinteger(milliseconds / 3600000, -1, 0, false) + ":" +
               formatinteger((milliseconds / 60000) % 60, 48, 2, false);
    else
        text = formatinteger(milliseconds / 60000, 48, 2, false);
    text += ":" + formatinteger((milliseconds / 1000) % 60, 48, 2, false);
    const Int rest = milliseconds % 1000;
    if (decimals == 3)
        text += ":" + formatinteger(rest, 48, 3, false);
    else if (decimals == 2)
        text += ":" + formatinteger(rest / 10, 48, 2, false);
    else if (decimals == 1)
        text += ":" + formatinteger(rest / 100, 48, 1, false);
    return text;
}

namespace {

int64_t realkey(double x) {
    // 2^63 is exact as a double; everything at or above it saturates, as does everything below -2^63.
    constexpr double limit = 9223372036854775808.0;
    if (std::isnan(x)) return 0;
    if (x >= limit) return std::numeric_limits<int64_t>::max();
    if (x < -limit) return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(x);
}

} // namespace

void d_StoreCell(Int cell, Int type, std::string_view value) {
    if (cell < 0 || cell >= d_DataCapacity) {
        debuglog("d_StoreCell: Cell #" + decimal(cell) + " not found.");
        return;
    }
    std::string& text = d_DataText[static_cast<size_t>(cell)];
    int64_t& key = d_DataKey[static_cast<size_t>(cell)];
    switch (type) {
    case d_TypeInteger: {
        const Int n = integerfrombytes(value);
        text = decimal(n);
        key = n;
        break;
    }
    case d_TypeReal: {
        const double x = realfromstring(value);
        text = stringfromreal(x);
        key = realkey(x);
        break;
    }
    case d_TypeBoolean: {
        const std::string lowered = lowercasestring(value);
        bool truth;
        if (lowered == "true" || lowered == "ja" || lowered == "yes")
            truth = true;
        else if (lowered == "false" || lowered == "nein" || lowered == "no")
            truth = false;
        else
            truth = integerfrombytes(value) != 0;
        text = truth ? "True" : "False";
        key = truth ? 1 : 0;
        break;
    }
    case d_TypeString:
        text = std::string(value);
        key = lowerkey(value);
        break;
    case d_TypeTime: {
        const Int n = integerfrombytes(value);
        text = formatinteger(n / 60000, 48, 2, false) + ":" + formatinteger((n / 1000) % 60, 48, 2, false);
        key = n;
        break;
    }
    case d_TypeLongTime: {
        const Int n = integerfrombytes(value);
        text = t_FormatLongTime(n, 0, true);
        key = n;
        break;
    }
    default:
        text = std::string(value);
        key = d_TextKey(value) & topBitClear;
        break;
    }
}
