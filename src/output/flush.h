// The end of a pass: the gathered users and groups become records of the output, and the cache is emptied.
#pragma once

#include <cstdint>

// Writes every slot in use to ofp, users first, each with its policy, then groups, and releases it. Returns 0
// with every slot released, or -1 at the first slot that fails: that one and those behind it are not released.
// Kept: an entry that filled its row leaves its counter raised when the row behind it was in use.
int32_t copyAllAccumulatedDataToOutputFile();
