#include "application/application.h"

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
    if (!SeelenorakelOpenDataFile()) return -1;
    Participants = d_RecordsInTable(ParticipantTable);
    return Participants;
}
