// How many slots to choose.
#pragma once

#include "check/prediction.h"

// Writes a table of slot counts to choose from, what a run takes with each, and which of them suits the memory that the
// machine has free.
void writeSlotCounts(const Prediction& prediction, bool isFolderInMemory);
