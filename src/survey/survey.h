// The first look at an input: every entry is read once, as the preparation pass does, and counted and remembered.
#pragma once

#include <cstdint>

#include "rules/dropped_lines.h"
#include "survey/entry_walk.h"
#include "survey/findings.h"
#include "survey/prepared_entry.h"
#include "survey/registry.h"
#include "survey/surveyed_file.h"

// The most that a run holds of one entry.
struct HeldMost {
  uint64_t longest = 0;                // bytes
  uint64_t longestAt = 0;              // in the input
  uint64_t gatheredBeforeLongest = 0;  // entries
  uint64_t lines = 0;
  uint64_t copied = 0;  // bytes of one in lines that continue others or are cut
};

struct SurveyCounts {
  int64_t entries = 0;
  int64_t policies = 0;  // of users
  int64_t policyData = 0;
  int64_t maps = 0;
  int64_t resourceCredentials = 0;
  int64_t straightThrough = 0;
  int64_t attributeLines = 0;
  uint64_t entriesEnd = 0;   // where the last one ends in the file
  uint64_t outputBytes = 0;  // that the preparation writes straight through
  uint64_t finalBytes = 0;   // of the resource credentials
  bool changetypeSeen = false;
  HeldMost held = {};
  // The entry that ends the preparation, if one does.
  DetailText problem = NO_DETAIL;
  uint64_t problemEntry = 0;    // where it begins
  HeldMost heldToProblem = {};  // up to and with it
};

// A line of an entry that is copied line by line.
enum OversizedLine : uint8_t {
  OWN_LINE,
  MORE_OF_LINE,  // it goes on with the line before
  JOINED_LINE    // it is written behind a line that a NUL has cut, whose newline is gone
};

// What is told of an entry besides, for who wants to know.
class EntryVisitor {
 public:
  // An entry that goes to the output by itself, straight through or at the end. The lines are as they are written, with
  // those that are dropped; begin is its place in the input.
  virtual void takeCopied(Entry lines, std::span<const Origin> origins, Road road, uint64_t begin) = 0;
  // The same of one that is too long to be held: line by line, and then its end.
  virtual void takeOversizedLine(const Line& line, OversizedLine what, uint64_t begin, uint64_t place) = 0;
  virtual void endOversized(const ReadEntry& entry, uint64_t begin) = 0;
  // Any entry, before the other calls for it. Of one that is too long to be held only the class is known, and whether
  // it goes to the output. Lines and origins last until the call returns.
  virtual void takeEntry(const ReadEntry& entry, const PreparedEntry& prepared, uint64_t begin) = 0;

 protected:
  ~EntryVisitor() = default;
};

// True when a run writes more than what the preparation does.
inline bool isMoreWritten(const Registry& registry, const SurveyCounts& counts) {
  return !registry.owners.empty() || counts.finalBytes > 0;
}

// Looks at all entries. Returns what was counted.
SurveyCounts surveyInput(SurveyedFile& file, Registry& registry, EntryVisitor& visitor);

// Has the lines of an entry that is too long to be held, and begins there, taken once more, and its end.
void surveyOversized(SurveyedFile& file, uint64_t begin, EntryVisitor& visitor);
