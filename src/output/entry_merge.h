// Two entries of one owner become one.
#pragma once

#include <span>

#include "rules/line.h"

// Merges two entries into the entry buffer, in place of what is there; the lines share their texts with the inputs,
// which lose those that are merged or discarded (rules/merge.h). Ends the run with PROCESSING_FAILED for an empty
// input, a line without a colon, or a result that is too long for the buffer.
void mergeObjects(std::span<Line> inputObject1, std::span<Line> inputObject2);
