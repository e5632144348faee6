// What lets an entry of the work file into the cache.
#pragma once

#include "rules/object_class.h"

// What entries of an EntryKind are called in the line for one that could not be stepped over.
extern const char* const steppedOverNames[UNKNOWN_KIND];

// Returns the kind of the entry in the entry buffer. A class that never reaches the work file ends the run.
EntryKind requireKindOfObject();

// True while an entry of this kind may be gathered: its matrix counts fewer entries than its side has slots.
bool isOpen(EntryKind kind);
