// What comes out otherwise than it went in, or not at all, although the run succeeds.
#pragma once

#include <cstdint>
#include <string_view>

#include "survey/findings.h"
#include "survey/line_fates.h"
#include "survey/record.h"

// Finds what is odd about an entry of the input that can be held; begin is its place.
void findChanges(const ReadEntry& entry, const PreparedEntry& prepared, uint64_t begin, FindingSink& findings);

// Finds entries without a DN that are copied, as it follows the entries in their order: behind one that begins with its
// DN all others should. What stands in front of all of these may be a line in which an export says what it does.
class DnWatch {
 public:
  void take(const ReadEntry& entry, const PreparedEntry& prepared, uint64_t begin, FindingSink& findings);
  // An entry has begun with one.
  bool isAny() const { return isAny_; }

 private:
  bool isAny_ = false;
  uint64_t inFront_ = NO_PLACE;  // the first entry in front of all DNs
};

// Finds what other programs write in front of the first DN, in an entry of so many lines. Returns true when its first
// line is one with the version of LDIF.
bool findOddBegin(std::string_view firstLine, size_t lines, uint64_t begin, FindingSink& findings);

// Finds lines that NULs cut short behind the last entry.
void findNulsBehind(SurveyedFile& file, uint64_t entriesEnd, FindingSink& findings);

// True when it begins with a dn: line.
bool beginsWithDn(const ReadEntry& entry);

// What is found about a line of an entry that goes a road and is not in the output; lost is what a line is that has no
// other reason.
void findLoss(LineFate fate, const Line& line, Road road, const Origin& origin, uint64_t begin, FindingSink& findings,
              FindingId lost = LINE_IS_LOST);

// Finds the lines of an entry for the work file that are gone because they read as nothing there.
void findGoneLines(const PreparedEntry& prepared, uint64_t begin, FindingSink& findings);
