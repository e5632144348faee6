// The lines that stay behind: those of the directory server, by the road on which an entry reaches the output.
#pragma once

#include <cstdint>

#include "rules/colon_search.h"
#include "rules/line.h"

enum Road : uint8_t {
  STRAIGHT_THROUGH,  // from the input to the output
  OVERSIZED,         // the same, of an entry that is too long to be gathered
  REMAINING,         // from what the passes leave in the work file
  MERGED,            // the record of a user or a group
  POLICY,            // the record of a policy
  INTO_WORK_FILE,    // to be gathered: nothing is left out
  NUMBER_OF_ROADS
};

enum Case : uint8_t { NEVER, EXACTLY, IN_ANY_CASE };

// A text, and how it is compared on each road when it stands anywhere in a line.
struct DroppedText {
  ColonText text;
  Case roads[NUMBER_OF_ROADS];
};

// Kept: the roads differ, in the blank behind the entry UUID and in the control lines, too.
inline constexpr DroppedText droppedTexts[] = {
    //                    straight  oversized remaining    merged       policy       work file
    {"XOQ-ENTRYUUID: ", {EXACTLY, NEVER, NEVER, NEVER, NEVER, NEVER}},
    {"xoq-entryuuid: ", {EXACTLY, NEVER, NEVER, NEVER, NEVER, NEVER}},
    {"XOQ-ENTRYUUID:", {NEVER, EXACTLY, NEVER, NEVER, NEVER, NEVER}},
    {"xoq-entryuuid:", {NEVER, EXACTLY, IN_ANY_CASE, IN_ANY_CASE, IN_ANY_CASE, NEVER}},
    {"aclentry:", {NEVER, NEVER, IN_ANY_CASE, IN_ANY_CASE, IN_ANY_CASE, NEVER}},
    {"aci:", {NEVER, NEVER, IN_ANY_CASE, IN_ANY_CASE, IN_ANY_CASE, NEVER}},
    {"acl:", {NEVER, NEVER, IN_ANY_CASE, IN_ANY_CASE, IN_ANY_CASE, NEVER}},
    {"control:", {NEVER, NEVER, IN_ANY_CASE, NEVER, IN_ANY_CASE, NEVER}},
};

// What shows that one of the texts may stand in a line: the bits of known names, and in the Bloom filter those of
// others.
struct DroppedNames {
  uint32_t names = 0;
  uint64_t endings = 0;
};

constexpr DroppedNames namesOfDropped() {
  DroppedNames all;
  for (const DroppedText& dropped : droppedTexts) {
    all.names |= dropped.text.name;
    if (dropped.text.name == 0) all.endings |= dropped.text.ending;
  }
  return all;
}

// True when one of the texts stands in the line in a letter case that counts on this road.
bool holdsDroppedText(const Line& line, Road road);

// True when the line is left out on this road.
inline bool isDropped(const Line& line, Road road) {
  constexpr DroppedNames DROPPED = namesOfDropped();
  return ((line.names & DROPPED.names) != 0 || (line.endings & DROPPED.endings) != 0) && holdsDroppedText(line, road);
}
