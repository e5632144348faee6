// One pass over the work file, in one of two ways with the same result: by reading the file, which shows every step and
// remembers nothing, or by a plan, which touches only what the pass gathers.
#pragma once

#include <cstdint>

#include "rules/object_class.h"

// True once the pass has issued its message.
inline bool isPassAnnounced = false;

// Issues the pass's message, once, when its first entry is met.
void announcePass();

// Returns the kind of the entry in the entry buffer. A class that never reaches the work file ends the run.
EntryKind requireKindOfObject();

// Classifies the entry in the entry buffer, whose extent in the work file is given in bytes, and gathers it, or leaves
// it when it has no place in this pass. Returns false then.
bool settleObject(int64_t bytes);

// The same of an entry whose class and kind are known.
bool settleObjectOfKind(EntryKind kind, int64_t bytes);

// Counts an entry that has been gathered.
void countGathered(EntryKind kind, int64_t bytes);

// Walk the work file, tifp, from where the pass begins to its end.
void walkWorkFile();
void walkPlannedEntries();
