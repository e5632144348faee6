#include "rules/dropped_lines.h"

bool holdsDroppedText(const Line& line, Road road) {
  // Their order does not matter: one of them is enough.
  for (const DroppedText& dropped : droppedTexts) {
    const Case how = dropped.roads[road];
    if (how == EXACTLY && findExactly(line, dropped.text) != NOT_FOUND) return true;
    if (how == IN_ANY_CASE && findInAnyCase(line, dropped.text) != NOT_FOUND) return true;
  }
  return false;
}
