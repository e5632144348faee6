#include "output/row_lines.h"

// Whether the own entry of the record that is being written has been looked through and not been taken yet.
static bool isOwnEntryThere = false;

std::vector<Line>& linesOfRow(const CacheMatrix& matrix, int32_t slot, MergeInput input) {
  std::vector<Line>& lines = mergeInputs[input];
  lines.clear();
  forEachLineOfRow(matrix, slot, [&](const Line& line) {
    lines.push_back(line);
    return true;
  });
  return lines;
}

const std::vector<Line>& lookAtOwnEntry(const CacheMatrix& matrix, int32_t slot) {
  isOwnEntryThere = true;
  return linesOfRow(matrix, slot, OWN_ENTRY);
}

std::vector<Line>& takeOwnEntry(const CacheMatrix& matrix, int32_t slot) {
  if (!isOwnEntryThere) return linesOfRow(matrix, slot, OWN_ENTRY);
  isOwnEntryThere = false;
  return mergeInputs[OWN_ENTRY];
}

void forgetOwnEntry() { isOwnEntryThere = false; }
