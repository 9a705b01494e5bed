// The dump: the store as text, plain as the data file holds it or padded for a person to read. The text
// is sized first so that it grows once.
#include "store/store.h"
#include "store/storeinternal.h"

#include "shell/shell.h"

#include <charconv>

using storeinternal::decimal;

namespace {

constexpr char lineEnd = '\r';

// A number in a field of nine: followed by blanks, or cut to its first nine digits.
std::string numberfield(Int n) {
    return (decimal(n) + "        ").substr(0, 9);
}

// Bytes of the data lines of one table, so that the text grows once.
size_t datasize(const d_table& t) {
    const size_t fields = t.Field.size();
    size_t size = 0;
    for (size_t r = 1; r < t.RecordIndex.size(); ++r) {
        size += 2 + 20;
        const auto first = static_cast<size_t>(t.RecordIndex[r]);
        for (size_t f = 0; f < fields; ++f) size += 14 + d_DataText[first + f].size();
    }
    return size;
}

void appenddata(std::string& out, const d_table& t, bool pretty) {
    const size_t fields = t.Field.size();
    // The head of each value line is the same for every record.
    std::vector<std::string> heads(fields);
    std::vector<bool> timed(fields);
    for (size_t f = 0; f < fields; ++f) {
        const Int type = t.Field[f].FieldType;
        heads[f] = " f" + numberfield(static_cast<Int>(f)) + d_FieldTypeLetter(type) + ":";
        // Times are kept as milliseconds, not as the text that is shown.
        timed[f] = type == d_TypeTime || type == d_TypeLongTime;
    }
    char number[24];
    for (size_t r = 1; r < t.RecordIndex.size(); ++r) {
        out += 'R';
        out.append(number, std::to_chars(number, number + sizeof number, static_cast<Int>(r)).ptr);
        out += lineEnd;
        const auto first = static_cast<size_t>(t.RecordIndex[r]);
        for (size_t f = 0; f < fields; ++f) {
            out += heads[f];
            if (timed[f])
                out.append(number, std::to_chars(number, number + sizeof number, d_DataKey[first + f]).ptr);
            else if (pretty)
                out += midstring(d_DataText[first + f], 1, d_NameLength);
            else
                out += d_DataText[first + f];
            out += lineEnd;
        }
    }
}

} // namespace

std::string d_DumpDatabase(bool structure, bool data, bool pretty) {
    debuglog("d_DumpDatabase: Start.");
    t_DebugLevel.fetch_sub(1);
    const int64_t start = absolutetimems();
    std::string out;
    if (data) {
        size_t size = 0;
        for (const d_table& t : d_Tables) size += datasize(t);
        out.reserve(size);
    }
    for (Int number = 0; number < d_TableCount; ++number) {
        const d_table& t = d_Tables[static_cast<size_t>(number)];
        if (structure) {
            if (pretty)
                out += "Table " + (decimal(number) + " ::::::::::").substr(0, 11) + " ";
            else
                out += "T" + numberfield(number) + "  :";
            out += t.TableID;
            out += lineEnd;
        }
        if (t.Field.empty()) continue;
        if (structure) {
            for (size_t f = 0; f < t.Field.size(); ++f) {
                const d_field& field = t.Field[f];
                if (pretty)
                    out += "Field " + numberfield(static_cast<Int>(f)) + " : " +
                           (d_FieldTypeName(field.FieldType) + "        ").substr(0, 8) + ": " +
                           midstring(field.FieldID, 1, d_NameLength);
                else
                    out += "F" + numberfield(static_cast<Int>(f)) + " " + d_FieldTypeLetter(field.FieldType) +
                           ":" + field.FieldID;
                out += lineEnd;
            }
        }
        if (data && t.RecordIndex.size() >= 2) appenddata(out, t, pretty);
        if (number != d_TableCount - 1) out += lineEnd;
    }
    t_DebugLevel.fetch_add(1);
    debuglog("d_DumpDatabase: End " + decimal(absolutetimems() - start) + " ms.");
    return out;
}
