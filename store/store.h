// Record store: numbered tables of typed fields, records as start indices into one flat pair of
// cell arrays (text and 64-bit key), the data file reader, the dump and the deletions.
// Program thread only; nothing here throws. Failures give -1, false or "" and one log line.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "library/library.h"

// Field type codes; 7 and above are all "Other".
constexpr Int d_TypeInteger = 0;
constexpr Int d_TypeReal = 1;
constexpr Int d_TypeBoolean = 2;
constexpr Int d_TypeString = 3;
constexpr Int d_TypeData = 4;
constexpr Int d_TypeTime = 5;
constexpr Int d_TypeLongTime = 6;
constexpr Int d_TypeOther = 7;

// Names of tables and fields are cut to this many characters.
constexpr Int d_NameLength = 32;
// Cells are allocated in blocks of this size.
constexpr Int d_BlockSize = 10000;

struct d_field {
    std::string FieldID;
    Int FieldType = 0;
};

struct d_table {
    std::string TableID;
    std::vector<d_field> Field;   // position is the field number
    std::vector<Int> RecordIndex; // first cell of each record; element 0 is the Working Record
    Int RecordCurrent = 0;
};

struct d_selection {
    std::string SelectionID;
    Int SelectionRecordSelected = 0;
    std::vector<Int> SelectionRecordIndex;
};

extern std::vector<d_table> d_Tables;
extern Int d_TableCount;
extern std::vector<d_selection> d_Selections;
extern std::vector<std::string> d_DataText;
extern std::vector<int64_t> d_DataKey;
extern Int d_DataNext;
extern Int d_DataCapacity;

// Tables, fields and records.
Int d_GetTableIndex(std::string_view name);
Int d_CreateTable(std::string_view name);
Int d_CreateField(Int table, std::string_view name, Int type);
Int d_GetFieldIndexI(Int table, std::string_view name);
Int d_FieldsInTable(Int table);
Int d_RecordsInTable(Int table);
Int d_CreateRecord(Int table);
void d_LoadRecord(Int table);
Int d_GetDataIndex(Int table, Int record, Int field);
bool d_SetData(Int table, Int record, Int field, std::string_view value);
std::string d_GetData(Int table, Int record, Int field);
Int d_SearchUniqueRecord(Int table, Int field, std::string_view value, bool caseSensitive);
void d_StoreCell(Int cell, Int type, std::string_view value);
Int d_TextKey(std::string_view text);
std::string t_FormatLongTime(Int milliseconds, Int decimals, bool withHours);

// Type names and letters: "Integer"/'I' ... "LongTime"/'L', and "Other"/'O' for 7 and above.
std::string d_FieldTypeName(Int type);
char d_FieldTypeLetter(Int type);

// Data file. With read, the file as it was read stays there for the caller.
struct FileRead;
bool d_AppendDatabase(const std::string& path, FileRead* read = nullptr);
bool d_CreateDatabaseFromBinary(std::span<const uint8_t> bytes, bool append);
Int d_FieldTypeCode(std::string_view text);

// Dump and structure listing; lines end with a carriage return.
std::string d_DumpDatabase(bool structure, bool data, bool pretty);

// Deletion.
void d_DeleteDatabase(bool quick);
void d_DeleteTable(Int table);
void d_DeleteTableRecords(Int table);
void d_DeleteRecord(Int table, Int record);
