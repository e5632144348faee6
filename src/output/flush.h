// The end of a pass: the gathered users and groups become records of the output, and the cache is emptied.
#pragma once

#include <cstdint>

// Writes every slot in use to ofp, users first, each with its policy, then groups, and releases it. Returns 0
// with an empty cache, or -1 at the first slot that fails: that one and those behind it stay as they are.
int32_t copyAllAccumulatedDataToOutputFile();
