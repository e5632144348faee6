// The records of the output: a new dn: line, attribute lines, an empty line.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/stream.h"
#include "rules/line.h"

// Room for the lines of the entries that are merged, used for every record.
inline std::vector<Line> ownLines;
inline std::vector<Line> otherLines;

// Each writes the record of a slot and returns 0, or -1 when a write fails; what was written before stays. Each
// ends the run with PROCESSING_FAILED when the slot lacks what the record is made of, a line to be merged has no
// colon or a DN does not fit.

// The user's entry merged with its map and, if there is one, its 'Users' entry.
int32_t writeSecUserAddToOutputFile(int32_t slot, Stream* stream);

// The container of the user's policy, to ofp.
int32_t writePolicyContainerAddToOutputFile(int32_t slot);

// The user's policy; nothing for a user without one.
int32_t writeSecPolicyAddToOutputFile(int32_t slot, Stream* stream);

// The group's entry merged with its map.
int32_t writeSecGroupAddToOutputFile(int32_t slot, Stream* stream);
