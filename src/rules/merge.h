// Two entries of one owner become one.
#pragma once

#include <cstdint>
#include <span>

#include "rules/line.h"

// What a line without a colon stops: it has no attribute name.
struct MergeProblem {
  const Line* line = nullptr;  // null when there is none
  bool isInFirst = false;      // of the two entries
};

// Where the merged lines go.
struct MergedEntry {
  Line* lines;
  int32_t capacity;
  int32_t count = 0;  // beyond the capacity when there was no room for all
};

// Merges two entries, which must have lines, into a third, appending to it; the texts of the lines are shared. Of the
// two the lines that were neither merged nor discarded are left; the others are GONE, and have in their endings the
// place in the third of the line that they have become or that stands for them. The result has the lines of the first
// entry in their places, each with the value of the second one's first line that holds its attribute name; then the
// second one's remaining lines. Of secAuthority, the dn: line and the object classes the first one's count.
// Access-control, control and entry-UUID attributes are left out in their usual spellings, unless such a line of the
// second entry is taken as the match of an attribute of the first. Takes time in proportion to the size of both.
MergeProblem mergeEntries(std::span<Line> first, std::span<Line> second, MergedEntry& merged);
