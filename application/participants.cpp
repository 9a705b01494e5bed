// The game's data file and its participants: where the file lies, the statements read like data lines,
// and the load at the start, which keeps the bytes of a file that did not load cleanly before anything
// could overwrite them.
#include "application/application.h"
#include "application/catalogue.h"

#include "library/library.h"
#include "shell/shell.h"
#include "store/store.h"

#include <ctime>

const std::string& datafilepath() {
    if (DataFilePath.empty()) DataFilePath = pathfolder(bundlepath()) + DataFileName;
    return DataFilePath;
}

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

namespace {

// A data file that didn't load cleanly (written by an editor, say) would be overwritten with what was
// read of it at the next save: its bytes are kept unchanged beside it first.
void keepcopy(bool clean) {
    const std::string& path = datafilepath();
    if (filesize(path) <= 0 || (clean && Participants > 0)) return;
    char stamp[32];
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    strftime(stamp, sizeof stamp, "%Y-%m-%d-%H%M", &local);
    const std::string copy = path + "." + stamp + ".bak";
    const std::vector<uint8_t> bytes = getbinaryfromfile(path);
    if (setstringtofile(copy, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size())) ==
        0)
        debuglog("SeelenorakelLoad: The data file did not load cleanly; its bytes were kept in " + copy +
                 ".");
}

} // namespace

int64_t SeelenorakelLoad() {
    for (const char* statement : SeelenorakelStatements) t_AddStatementData(statement);

    // The structure made here wins over the one in the file: appending skips the file's own.
    ParticipantTable = d_CreateTable("Seelenorakel");
    FieldName = d_CreateField(ParticipantTable, "Name", d_TypeString);
    FieldAttribute = d_CreateField(ParticipantTable, "Attribute", d_TypeString);
    // Nobody at the keyboard reads the log, but whoever installed the program may.
    const std::string folder = pathfolder(datafilepath());
    if (!folderwritable(folder))
        debuglog("SeelenorakelLoad: The folder " + folder +
                 " can't be written, so no participant will be saved.");
    removeleftovers(datafilepath());
    const bool clean = d_AppendDatabase(datafilepath());
    Participants = d_RecordsInTable(ParticipantTable);
    keepcopy(clean);
    return Participants;
}
