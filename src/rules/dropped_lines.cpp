#include "rules/dropped_lines.h"

#include "rules/colon_search.h"

enum Case : uint8_t { NEVER, EXACTLY, IN_ANY_CASE };

// A text, and how it is compared on each road when it stands anywhere in a line.
struct DroppedText {
  ColonText text;
  Case roads[NUMBER_OF_ROADS];
};

// Kept: the roads differ, in the blank behind the entry UUID and in the control lines, too.
static constexpr DroppedText droppedTexts[] = {
    //                    straight  oversized remaining    merged       policy
    {"XOQ-ENTRYUUID: ", {EXACTLY, NEVER, NEVER, NEVER, NEVER}},
    {"xoq-entryuuid: ", {EXACTLY, NEVER, NEVER, NEVER, NEVER}},
    {"XOQ-ENTRYUUID:", {NEVER, EXACTLY, NEVER, NEVER, NEVER}},
    {"xoq-entryuuid:", {NEVER, EXACTLY, IN_ANY_CASE, IN_ANY_CASE, IN_ANY_CASE}},
    {"aclentry:", {NEVER, NEVER, IN_ANY_CASE, IN_ANY_CASE, IN_ANY_CASE}},
    {"aci:", {NEVER, NEVER, IN_ANY_CASE, IN_ANY_CASE, IN_ANY_CASE}},
    {"acl:", {NEVER, NEVER, IN_ANY_CASE, IN_ANY_CASE, IN_ANY_CASE}},
    {"control:", {NEVER, NEVER, IN_ANY_CASE, NEVER, IN_ANY_CASE}},
};

static constexpr uint32_t namesOnAnyRoad() {
  uint32_t names = 0;
  for (const DroppedText& dropped : droppedTexts) names |= dropped.text.name;
  return names;
}

bool isDropped(const Line& line, Road road) {
  constexpr uint32_t NAMES = namesOnAnyRoad();
  if ((line.names & NAMES) == 0) return false;
  for (const DroppedText& dropped : droppedTexts) {
    const Case how = dropped.roads[road];
    if (how == EXACTLY && findExactly(line, dropped.text) != NOT_FOUND) return true;
    if (how == IN_ANY_CASE && findInAnyCase(line, dropped.text) != NOT_FOUND) return true;
  }
  return false;
}
