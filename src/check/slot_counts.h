// How many slots to choose: what a run takes with so many.
#pragma once

#include <cstdint>

#include "check/prediction.h"

// The peak of the memory of its own that the run takes, in bytes. Where the folder of the work file lies in memory,
// what is known of the entries does, too.
uint64_t memoryOfRun(const Prediction& prediction, bool isFolderInMemory);

// Bytes that a run needs on the disk of its work file besides the output.
uint64_t diskOfRun(const Prediction& prediction);

// Writes a table of slot counts to choose from, and which of them suits the memory that the machine has free.
void writeSlotCounts(const Prediction& prediction, bool isFolderInMemory);
