// Deleting records, a table's records, tables and the whole store. Cells are blanked, never handed back:
// the cell counter only grows until the whole store goes.
#include "store/store.h"
#include "store/storeinternal.h"

#include "shell/shell.h"

using storeinternal::decimal;

namespace {

// Cells are blanked, never handed back: d_DataNext only grows until the whole store goes.
void blankrecord(const d_table& t, size_t record) {
    const auto first = static_cast<size_t>(t.RecordIndex[record]);
    for (size_t f = t.Field.size(); f-- > 0;) {
        if (first + f >= d_DataText.size()) continue;
        d_DataText[first + f].clear();
        d_DataKey[first + f] = 0;
    }
}

} // namespace

void d_DeleteRecord(Int table, Int record) {
    if (d_FieldsInTable(table) < 1) return;
    d_table& t = d_Tables[static_cast<size_t>(table)];
    if (record < 0 || static_cast<size_t>(record) >= t.RecordIndex.size()) {
        debuglog("d_DeleteRecord: Record #" + decimal(record) + " not found.");
        return;
    }
    blankrecord(t, static_cast<size_t>(record));
    t.RecordIndex.erase(t.RecordIndex.begin() + record);
}

void d_DeleteTableRecords(Int table) {
    debuglog("d_DeleteTableRecords: Start.");
    const Int n = d_RecordsInTable(table);
    if (n >= 0) {
        d_table& t = d_Tables[static_cast<size_t>(table)];
        if (n >= 1) {
            debuglog("d_DeleteTableRecords: Delete " + decimal(n) + " records start.");
            // From the last to the first, so no record changes its number while the loop runs.
            for (Int r = n; r >= 1; --r) {
                blankrecord(t, static_cast<size_t>(r));
                t.RecordIndex.pop_back();
            }
            debuglog("d_DeleteTableRecords: Delete records end.");
        }
        debuglog("d_DeleteTableRecords: Table = #" + decimal(table) + " #" + decimal(table));
        if (t.RecordIndex.size() != 1)
            debuglog("d_DeleteTableRecords: Could not delete table-data-subarrays.");
    }
    debuglog("d_DeleteTableRecords: End.");
}

void d_DeleteTable(Int table) {
    debuglog("d_DeleteTable: Start.");
    if (table < 0 || table >= d_TableCount) {
        debuglog("d_DeleteTable: Table #" + decimal(table) + " not found.");
        debuglog("d_DeleteTable: End.");
        return;
    }
    if (d_RecordsInTable(table) >= 1) d_DeleteTableRecords(table);
    d_table& t = d_Tables[static_cast<size_t>(table)];
    if (!t.RecordIndex.empty()) {
        debuglog("d_DeleteTable: Delete WorkingRecord.");
        d_DeleteRecord(table, 0);
    }
    if (!t.Field.empty()) {
        debuglog("d_DeleteTable: Start deleting fields.");
        while (!t.Field.empty()) t.Field.pop_back();
        debuglog("d_DeleteTable: End deleting fields.");
    }
    debuglog("d_DeleteTable: Table = #" + decimal(table) + " #" + decimal(table));
    if (!t.Field.empty() || !t.RecordIndex.empty())
        debuglog("d_DeleteTable: Could not delete table-subarrays.");
    d_Tables.erase(d_Tables.begin() + table);
    if (static_cast<size_t>(table) < d_Selections.size()) d_Selections.erase(d_Selections.begin() + table);
    --d_TableCount;
    debuglog("d_DeleteTable: End.");
}

void d_DeleteDatabase(bool quick) {
    const int64_t start = absolutetimems();
    debuglogpart("d_DeleteDatabase: Start (" + decimal(static_cast<Int>(d_Tables.size())) +
                 " tables in database)");
    if (quick) {
        debuglog(" (quick).");
    } else {
        debuglog(" (recursive).");
        while (d_TableCount > 0) d_DeleteTable(d_TableCount - 1);
    }
    debuglog("d_DeleteDatabase: End (" + decimal(static_cast<Int>(d_Tables.size())) +
             " tables in database, " + decimal(absolutetimems() - start) + " ms.");
    d_TableCount = 0;
    d_DataNext = 0;
    d_DataCapacity = 0;
    d_Tables = {};
    d_Selections = {};
    d_DataText = {};
    d_DataKey = {};
}
