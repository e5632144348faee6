// The entries of a file, one after the other, whether it is in memory as a whole or in windows.
#pragma once

#include <cstdint>

#include "survey/entry_walk.h"
#include "survey/surveyed_file.h"

// Where a text ends in the middle of the file an entry that reaches its end may not be whole.
inline bool mayBeCut(const ReadEntry& entry, std::string_view text) {
  return entry.isEndedByText || entry.isOversized || entry.end == text.size();
}

// Reads every entry from a place on and has it taken, with the walk and the place in the file where the walk's text
// begins, until one is the last that is wanted: then take returns false. Of an entry that is too long to be held it
// takes the other lines, too. Returns whether a NUL has been met.
template <typename Take>
bool walkEntries(SurveyedFile& file, ReadEntry& entry, Take take, uint64_t begin = 0) {
  bool hasMetNul = false;
  for (size_t atLeast = 1; begin < file.size;) {
    const std::string_view text = textFrom(file, begin, atLeast);
    const bool isRest = begin + text.size() == file.size;
    EntryWalk walk = walkOver(text);
    size_t passed = 0;
    while (readEntry(walk, entry)) {
      if (!isRest && mayBeCut(entry, text)) break;
      if (!take(walk, begin)) return hasMetNul;
      passed = entry.end;
    }
    hasMetNul = hasMetNul || walk.hasMetNul;
    if (isRest) break;
    // It is read again from a text that begins with it, and is longer where that does not help.
    atLeast = passed == 0 ? text.size() * 2 : 1;
    begin += passed;
  }
  return hasMetNul;
}
