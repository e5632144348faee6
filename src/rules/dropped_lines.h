// The lines that stay behind: those of the directory server, by the road on which an entry reaches the output.
#pragma once

#include "rules/line.h"

enum Road {
  STRAIGHT_THROUGH,  // from the input to the output
  OVERSIZED,         // the same, of an entry that is too long to be gathered
  REMAINING,         // from what the passes leave in the work file
  MERGED,            // the record of a user or a group
  POLICY,            // the record of a policy
  NUMBER_OF_ROADS
};

// True when the line is left out on this road.
bool isDropped(const Line& line, Road road);
