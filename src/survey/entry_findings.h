// What comes out otherwise than it went in, or not at all, although the run succeeds.
#pragma once

#include <cstdint>
#include <unordered_set>
#include <vector>

#include "survey/findings.h"
#include "survey/line_fates.h"
#include "survey/record.h"

// Finds what is odd about an entry of the input; begin is its place. Behind one that begins with its DN all others
// should.
void findChanges(const ReadEntry& entry, const PreparedEntry& prepared, uint64_t begin, bool isBehindDn,
                 FindingSink& findings);

// Finds the lines that NULs cut short of an entry that is too long to be held.
void findNuls(const ReadEntry& entry, uint64_t begin, FindingSink& findings);

// The same of what stands behind the last entry.
void findNulsBehind(SurveyedFile& file, uint64_t entriesEnd, FindingSink& findings);

// True when it begins with a dn: line.
bool beginsWithDn(const ReadEntry& entry);

// What is found about a line of an entry that goes a road and is not in the output.
void findLoss(LineFate fate, const Line& line, Road road, const Origin& origin, uint64_t begin, FindingSink& findings);

// The new DN of a record.
struct RecordDn {
  uint64_t hash;
  uint64_t entry;               // where the owner's own entry begins
  uint64_t policy = NO_PLACE;   // where that begins for whose sake a container is written below it
  bool isPolicyWritten = true;  // below the container
};

// Finds what is odd about it, but for whether there has been the same before. Returns it for that question.
RecordDn findNameChanges(RecordMaker& maker, const SlotRows& rows, Side side, FindingSink& findings);

// Finds the new DNs that there have been before.
class DnComparison {
 public:
  // The DN of an entry that is copied. It has to be taken before the new ones.
  void takeCopied(const Line& firstLine);
  // With it those of its container and policy, which differ from one another where it does.
  void compare(const RecordDn& dn, FindingSink& findings);
  // Brings near what a comparison will ask for.
  void fetch(const RecordDn& dn) const { __builtin_prefetch(&places_[firstPlace(dn.hash)]); }

 private:
  size_t firstPlace(uint64_t hash) const { return static_cast<size_t>(hash >> 1U) & (places_.size() - 1); }
  // Returns false when it is there already.
  bool add(uint64_t hash);
  void insert(uint64_t hash);
  void grow();

  std::vector<uint64_t> places_ = std::vector<uint64_t>(1024);  // hash table of the hashes; 0 where there is none
  size_t count_ = 0;
  // Of entries that are copied and have the DN of a container or a policy, the hashes of what they stand below.
  std::unordered_set<uint64_t> aboveContainers_;
  std::unordered_set<uint64_t> abovePolicies_;
};

// Finds the lines of an entry for the work file that are gone because they read as nothing there.
void findGoneLines(const PreparedEntry& prepared, uint64_t begin, FindingSink& findings);
