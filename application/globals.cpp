// The game's working state: the data file's name, the participant table's numbers, the buffers of the
// participant being asked, and the statements. Plain globals, as the run is one routine on one thread.
#include "application/application.h"

std::string DataFileName = "Seelenorakel-Daten.txt";
std::string DataFilePath;
int64_t ParticipantTable = -1;
int64_t FieldName = -1;
int64_t FieldAttribute = -1;
int64_t Participants = 0;
int64_t ParticipantRecord = 0;
std::string KeyPressed;
std::string NameBuffer;
std::string AttributeBuffer;

std::vector<std::string> t_StatementData;
int64_t t_StatementCount = 0;
int64_t t_StatementPointer = 1;
