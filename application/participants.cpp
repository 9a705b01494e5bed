// The game's data file and its participants: where the file lies, the statements read like data lines,
// and the load at the start, which keeps the bytes of a file that did not load cleanly before anything
// could overwrite them.
#include "application/application.h"
#include "application/catalogue.h"

#include "library/library.h"
#include "shell/shell.h"
#include "store/store.h"

void t_AddStatementData(const std::string& text) {
    std::string rest = text;
    do {
        auto [field, next] = nextfield(rest);
        t_StatementData.push_back(field);
        ++t_StatementCount;
        // A split that consumes nothing would never end.
        if (next.size() >= rest.size()) break;
        rest = std::move(next);
    } while (!rest.empty());
}

int64_t SeelenorakelLoad() {
    for (const char* statement : SeelenorakelStatements) t_AddStatementData(statement);

    // The structure made here wins over the one in the file: appending skips the file's own.
    ParticipantTable = d_CreateTable("Seelenorakel");
    FieldName = d_CreateField(ParticipantTable, "Name", d_TypeString);
    FieldAttribute = d_CreateField(ParticipantTable, "Attribute", d_TypeString);
    if (!SeelenorakelOpenDataFile()) return -1;
    Participants = d_RecordsInTable(ParticipantTable);
    return Participants;
}
