// The store that appending inputs feed, shared by the fuzz target and the test that replays its corpus:
// the participant table, a table of every type, and one without fields.
#pragma once

#include "store/store.h"

#include <string>

inline void appendstructure() {
    d_DeleteDatabase(true);
    const Int people = d_CreateTable("Seelenorakel");
    d_CreateField(people, "Name", d_TypeString);
    d_CreateField(people, "Attribute", d_TypeString);
    const Int typed = d_CreateTable("Typen");
    for (Int type = 0; type <= 8; ++type) d_CreateField(typed, "F" + std::to_string(type), type);
    d_CreateTable("Ohne Felder");
}
