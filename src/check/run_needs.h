// What a run takes of the machine: memory and disk.
#pragma once

#include <cstdint>

#include "check/prediction.h"

// The peak of the memory of its own that the run takes, in bytes. Where the folder of the work file lies in memory,
// what is known of the entries does, too.
uint64_t memoryOfRun(const Prediction& prediction, bool isFolderInMemory);

// The same of a run on that input that comes to its end, whose passes have been played, or are thought of.
uint64_t memoryOfWholeRun(const Prediction& prediction, const PlayedMemory& played, bool isFolderInMemory);

// Bytes that a run needs on the disk of its work file besides the output.
uint64_t diskOfRun(const Prediction& prediction);
