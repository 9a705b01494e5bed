// The data file reader: line by line into the store, either rebuilding it or appending to the tables in
// memory. A broken line is an error with its log line, and the lines after it are still read.
#include "store/store.h"
#include "store/storeinternal.h"

#include "shell/shell.h"

#include <algorithm>

using storeinternal::decimal;

namespace {

constexpr uint8_t lineEnd = 13;
// Bytes in front of a name or value: instruction, number field, type letter and ":".
constexpr size_t valueOffset = 13;
// Bytes behind "T" that hold the table number.
constexpr size_t numberWidth = 10;

// The reader's state between lines.
struct Reader {
    std::span<const uint8_t> bytes;
    bool append = true;
    Int table = -1;
    Int record = -1;
    Int counter = 0;
    Int fields = 0;
    std::vector<Int> types;
    Int errors = 0;
    Int line = 1;
    Int recordline = 0;
    // The line being read: bytes p up to e, e being its carriage return or the end of the bytes.
    size_t p = 0;
    size_t e = 0;

    std::string_view raw(size_t offset) const {
        if (p + offset >= e) return {};
        return {reinterpret_cast<const char*>(bytes.data()) + p + offset, e - p - offset};
    }
    // Texts from the file are UTF-8; a piece that isn't comes out empty.
    std::string_view text(size_t offset) const {
        std::string_view piece = raw(offset);
        return wellformedutf8(piece) ? piece : std::string_view{};
    }
    // The same for a name or value, which is then an error: a file an editor saved in another encoding
    // would lose every name with an umlaut at the next save.
    std::string_view content() {
        const std::string_view piece = raw(valueOffset);
        if (wellformedutf8(piece)) return piece;
        debuglog("d_CreateDatabaseFromBinary: Line #" + decimal(line) + " is not UTF-8.");
        ++errors;
        return {};
    }
    // A record without all its value lines is a sign of a file cut short.
    void endrecord() {
        if (record < 0 || counter >= fields) return;
        debuglog("d_CreateDatabaseFromBinary: Record in line #" + decimal(recordline) +
                 " lacks value lines.");
        ++errors;
    }

    void failtable() {
        ++errors;
        table = -1;
        record = -1;
        types.clear();
        fields = 0;
        counter = 0;
    }

    void selecttable() {
        // The file may end inside the number; a carriage return inside it ends the number as any non-digit
        // does.
        if (p + 1 + numberWidth > bytes.size()) {
            debuglog("d_CreateDatabaseFromBinary: Table line #" + decimal(line) + " too short.");
            failtable();
            return;
        }
        const Int number = integerfrombytes(raw(1).substr(0, numberWidth));
        if (number < 0 || number >= d_TableCount) {
            debuglog("d_CreateDatabaseFromBinary: Table #" + decimal(number) + " in line #" + decimal(line) +
                     " not found.");
            failtable();
            return;
        }
        table = number;
        types.clear();
        for (const d_field& f : d_Tables[static_cast<size_t>(table)].Field) types.push_back(f.FieldType);
        fields = static_cast<Int>(types.size());
        counter = 0;
        record = -1;
    }

    bool longenough(const char* what) {
        if (e - p >= valueOffset) return true;
        debuglog("d_CreateDatabaseFromBinary: Line #" + decimal(line) + " too short for a " + what + ".");
        ++errors;
        return false;
    }

    void createtable() {
        if (!longenough("table")) return;
        const Int created = d_CreateTable(content());
        if (created < 0) {
            debuglog("d_CreateDatabaseFromBinaryt: Could not create table.");
            ++errors;
            return;
        }
        table = created;
        types.clear();
        fields = 0;
        counter = 0;
        record = -1;
    }

    void createfield() {
        if (!longenough("field")) return;
        const char letter = static_cast<char>(bytes[p + 11]);
        const Int type = d_FieldTypeCode(std::string_view(&letter, 1));
        if (d_CreateField(table, content(), type) < 0) {
            debuglog("d_CreateDatabaseFromBinary: Could not create layout-field.");
            ++errors;
            return;
        }
        types.push_back(type);
        ++fields;
    }

    void createrecord() {
        endrecord();
        recordline = line;
        record = d_CreateRecord(table);
        if (record < 0) {
            debuglog("d_CreateDatabaseFromBinary: Could not create record #" + decimal(record) + ".");
            ++errors;
            return;
        }
        counter = 0;
    }

    void setvalue() {
        // The table's own field count and record list bound the cell, whatever the file claims.
        const bool inrange =
            table >= 0 && table < d_TableCount && record >= 0 && counter < fields &&
            static_cast<size_t>(record) < d_Tables[static_cast<size_t>(table)].RecordIndex.size() &&
            counter < static_cast<Int>(d_Tables[static_cast<size_t>(table)].Field.size());
        if (!inrange) {
            debuglog("d_CreateDatabaseFromBinary: Could not set field-data.");
            ++errors;
            return;
        }
        const Int cell =
            d_Tables[static_cast<size_t>(table)].RecordIndex[static_cast<size_t>(record)] + counter;
        d_StoreCell(cell, types[static_cast<size_t>(counter)], content());
        ++counter;
    }

    void illegal(uint8_t c) {
        debuglogpart("d_CreateDatabaseFromBinary: Illegal Instruction in line #" + decimal(line) + ": ");
        debuglog("[" + stringfromscalar(c) + "] #" + decimal(c) + ": '" + std::string(text(0)) + "'");
    }

    void run() {
        const auto* data = bytes.data();
        const size_t size = bytes.size();
        p = 0;
        while (p < size) {
            const uint8_t c = data[p];
            e = static_cast<size_t>(std::find(data + p, data + size, lineEnd) - data);
            switch (c) {
            case lineEnd:
                if (!append) illegal(c);
                break;
            case ' ':
                setvalue();
                break;
            case 'R':
                createrecord();
                break;
            case 'T':
                endrecord();
                if (append)
                    selecttable();
                else
                    createtable();
                break;
            case 'F':
                if (!append) createfield();
                break;
            default:
                if (!append) illegal(c);
                break;
            }
            p = e + 1;
            ++line;
        }
        endrecord();
        if (size > 0 && data[size - 1] != lineEnd) {
            debuglog(
                "d_CreateDatabaseFromBinary: The file does not end with a carriage return; it may be cut.");
            ++errors;
        }
    }
};

} // namespace

Int d_FieldTypeCode(std::string_view text) {
    if (text == "I" || text == "Integer") return d_TypeInteger;
    if (text == "R" || text == "Real") return d_TypeReal;
    if (text == "B" || text == "Boolean") return d_TypeBoolean;
    if (text == "S" || text == "String") return d_TypeString;
    if (text == "D" || text == "Data") return d_TypeData;
    if (text == "T" || text == "Time") return d_TypeTime;
    if (text == "L" || text == "LongTime") return d_TypeLongTime;
    return d_TypeOther;
}

bool d_AppendDatabase(const std::string& path, FileRead* read) {
    const int64_t start = absolutetimems();
    FileRead own;
    FileRead& file = read ? *read : own;
    file = readfile(path);
    const std::vector<uint8_t>& bytes = file.Bytes;
    if (bytes.empty()) {
        debuglog("d_AppendDatabase: Datafile not found.");
        return false;
    }
    debuglog("d_AppendDatabase: Datafile loaded, " + decimal(absolutetimems() - start) + " ms.");
    return d_CreateDatabaseFromBinary(bytes, true);
}

bool d_CreateDatabaseFromBinary(std::span<const uint8_t> bytes, bool append) {
    debuglog("d_CreateDatabaseFromBinary: Start.");
    if (!append) d_DeleteDatabase(true);
    const int64_t start = absolutetimems();
    Reader reader;
    reader.bytes = bytes;
    reader.append = append;
    if (bytes.empty())
        reader.errors = 1;
    else
        reader.run();
    debuglogpart("d_CreateDatabaseFromBinary: End (" + decimal(static_cast<Int>(d_Tables.size())) +
                 " tables in database, " + decimal(static_cast<Int>(d_DataText.size())));
    debuglog(" data-entries in database, " + decimal(absolutetimems() - start) + " ms.");
    return reader.errors == 0;
}
