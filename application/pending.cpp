// Parts of the game that the run already calls, standing in until their own work lands. Each leaves
// the buffers as an empty pass would; a routine's block goes away when the real one is written.
#include "application/application.h"

// ---- SeelenorakelInput (questionnaire) ----
void SeelenorakelInput() {
    NameBuffer.clear();
    AttributeBuffer.clear();
}

// ---- SeelenorakelEvaluation (evaluation) ----
void SeelenorakelEvaluation() {}
