#include "store/store.h"
#include "store/storeinternal.h"

#include "shell/shell.h"

#include <charconv>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
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

// Latin-1 capitals lower-case by adding 32; everything else in 0..255 is its own lower case.
inline uint32_t lowerlatin1(uint32_t c) {
    if ((c >= 'A' && c <= 'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7)) return c + 32;
    return c;
}

} // namespace

namespace storeinternal {

namespace {

constexpr uint64_t highBits = 0x8080808080808080ULL;
constexpr uint64_t ones = 0x0101010101010101ULL;

// Up to the first eight bytes of a text, little-endian, zeros behind its end.
inline uint64_t firstword(std::string_view s) {
    uint64_t word = 0;
    if (s.size() >= 8) {
        std::memcpy(&word, s.data(), 8);
        return word;
    }
    for (size_t k = 0; k < s.size(); ++k)
        word |= static_cast<uint64_t>(static_cast<uint8_t>(s[k])) << (8 * k);
    return word;
}

// Upper-case ASCII letters of a word of ASCII bytes to lower case: bytes from 'A' to 'Z' gain 0x20.
inline uint64_t lowerascii(uint64_t word) {
    const uint64_t atLeastA = word + (0x80 - 'A') * ones;
    const uint64_t aboveZ = word + (0x80 - 'Z' - 1) * ones;
    return word | ((atLeastA & ~aboveZ & highBits) >> 2);
}

} // namespace

bool validutf8(std::string_view s) {
    const char* data = s.data();
    const size_t n = s.size();
    size_t i = 0;
    while (i < n) {
        // ASCII goes 32 or 8 bytes at a time, and the first byte with its top bit set is jumped to.
#if defined(__SSE2__)
        if (n - i >= 32) {
            const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + i));
            const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + i + 16));
            const auto high = static_cast<uint32_t>(_mm_movemask_epi8(a)) |
                              (static_cast<uint32_t>(_mm_movemask_epi8(b)) << 16);
            if (high == 0) {
                i += 32;
                continue;
            }
            i += static_cast<size_t>(__builtin_ctz(high));
        } else
#endif
            if (n - i >= 8) {
            uint64_t word;
            std::memcpy(&word, data + i, 8);
            const uint64_t high = word & highBits;
            if (high == 0) {
                i += 8;
                continue;
            }
            i += static_cast<size_t>(__builtin_ctzll(high)) / 8;
        } else if (static_cast<uint8_t>(data[i]) < 0x80) {
            ++i;
            continue;
        }
        // Two-byte characters, the umlauts among them, are the usual case.
        const auto b0 = static_cast<uint8_t>(data[i]);
        if (b0 >= 0xC2 && b0 < 0xE0 && i + 1 < n && (static_cast<uint8_t>(data[i + 1]) & 0xC0) == 0x80) {
            i += 2;
            continue;
        }
        const size_t before = i;
        // U+FFFD itself is three bytes; a malformed byte advances by one.
        if (nextscalar(s, i) == 0xFFFD && i - before == 1) return false;
    }
    return true;
}

// d_TextKey of the lower-cased text. Texts whose first eight scalars lie in Latin-1 are lower-cased
// here, scalar by scalar; only the others pay for the full Unicode lower case of the library.
int64_t lowerkey(std::string_view text) {
    const uint64_t word = firstword(text);
    if ((word & highBits) == 0) return static_cast<int64_t>(lowerascii(word)) & topBitClear;
    uint64_t key = 0;
    size_t i = 0;
    const size_t n = text.size();
    for (int k = 0; k < 8 && i < n; ++k) {
        uint32_t c;
        const auto b = static_cast<uint8_t>(text[i]);
        if (b < 0x80) {
            c = b;
            ++i;
        } else if ((b == 0xC2 || b == 0xC3) && i + 1 < n &&
                   (static_cast<uint8_t>(text[i + 1]) & 0xC0) == 0x80) {
            // The rest of Latin-1, the umlauts among it.
            c = ((b & 0x1Fu) << 6) | (static_cast<uint8_t>(text[i + 1]) & 0x3Fu);
            i += 2;
        } else {
            c = nextscalar(text, i);
            if (c > 0xFF) return d_TextKey(lowercasestring(text)) & topBitClear;
        }
        key |= static_cast<uint64_t>(lowerlatin1(c)) << (8 * k);
    }
    return static_cast<int64_t>(key) & topBitClear;
}

std::string decimal(Int value) {
    char buffer[24];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

} // namespace storeinternal

using storeinternal::decimal;

Int d_TextKey(std::string_view text) {
    // Eight ASCII bytes are their own eight scalars.
    const uint64_t word = storeinternal::firstword(text);
    if ((word & storeinternal::highBits) == 0) return static_cast<Int>(word);
    uint64_t key = 0;
    size_t i = 0;
    for (int k = 0; k < 8 && i < text.size(); ++k)
        key |= static_cast<uint64_t>(storeinternal::nextscalar(text, i) & 0xFF) << (8 * k);
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
    const int64_t key = storeinternal::lowerkey(value);
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
        key = storeinternal::lowerkey(value);
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
