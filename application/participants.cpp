// The game's data file and its participants: where the file lies, the statements read like data lines,
// and the load at the start, which keeps the bytes of a file that did not load cleanly before anything
// could overwrite them.
#include "application/application.h"

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
    t_AddStatementData("Ich bin sehr selbstständig");
    t_AddStatementData("Ich mag Ausländer");
    t_AddStatementData("Ich interessiere mich für Politik");
    t_AddStatementData("Politik ist Männersache");
    t_AddStatementData("Die Emanzipation der Frau muss weitergehen");
    t_AddStatementData("Ich arbeite engagiert für den Frieden");
    t_AddStatementData("Ich bin gegen einen Kernwaffenstop");
    t_AddStatementData("Ich bin für eine stärkere Staatsgewalt");
    t_AddStatementData("Schwarze und Weisse sollten getrennt bleiben");
    t_AddStatementData("Hausbesetzungen sind grundsätzlich kriminell");
    t_AddStatementData("Ladendiebstahl ist ein Kavaliersdelikt");
    t_AddStatementData("Ich mag Kinder");
    t_AddStatementData("Ich möchte gerne (mehr) Kinder haben");
    t_AddStatementData("Eine strenge Erziehung hat noch Keinem geschadet");
    t_AddStatementData("Treue ist wichtig für eine dauerhafte Beziehung");
    t_AddStatementData("Vertrauen ist die Grundlage einer Freundschaft");
    t_AddStatementData("Ich verliebe mich sehr leicht");
    t_AddStatementData("Eine dauerhafte Beziehung ist nichts für mich");
    t_AddStatementData("Für mein Privatleben habe ich zu wenig Zeit");
    t_AddStatementData("Die Uhr diktiert meinen Tagesablauf");
    t_AddStatementData("Ich bin mit meinem bisherigen Leben zufrieden");
    t_AddStatementData("Der Freitod ist eine Folgerung aus dem Recht auf ein würdiges Leben");
    t_AddStatementData("Ich glaube an Gott");
    t_AddStatementData("Die Entwicklung des Menschen ist ein Evolutionsprozess");
    t_AddStatementData("Es gibt ein Leben nach dem Tode");
    t_AddStatementData("Ich reise gerne");
    t_AddStatementData("Meinen Urlaub verbringe ich hauptsächlich in den Bergen");
    t_AddStatementData("Ich fahre gerne an die See");
    t_AddStatementData("Ich lese gerne");
    t_AddStatementData("Theater und/oder Kino sind (ist) meine Leidenschaft");
    t_AddStatementData("Ich betreibe aktiv Sport");
    t_AddStatementData("Für Fußball interesiere ich mich sehr");
    t_AddStatementData("Schach ist für mich keine Sportart");
    t_AddStatementData("In der Regel falle ich abends müde ins Bett");
    t_AddStatementData("Ich gehe gerne abends aus");
    t_AddStatementData("In großen Gesellschaften fühle ich mich wohl");
    t_AddStatementData("Ich habe einen großen Bekanntenkreis");
    t_AddStatementData("Freunde zu finden fällt mir nicht besonders schwer");

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
