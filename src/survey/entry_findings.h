// What comes out otherwise than it went in, or not at all, although the run succeeds.
#pragma once

#include <cstdint>
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

// True when it begins with a dn: line.
bool beginsWithDn(const ReadEntry& entry);

// What is found about a line of an entry that is not in the output.
void findLoss(LineFate fate, const Origin& origin, uint64_t begin, FindingSink& findings);

// Finds what is odd about a new DN. Whether there has been the same before is left to a DnComparison: each DN is handed
// on as a NEW_DN_TWICE, the hash of the DN in the place of the line.
void findNameChanges(const RecordMaker& maker, const SlotRows& rows, Side side, FindingSink& findings);

// Hands findings on to another sink; of the new DNs only those that there have been before.
class DnComparison final : public FindingSink {
 public:
  explicit DnComparison(FindingSink& findings) : findings_(findings) {}
  void take(const Finding& finding) override;

 private:
  bool isNew(uint64_t hash);

  FindingSink& findings_;
  std::vector<uint64_t> places_ = std::vector<uint64_t>(1024);  // hash table of the hashes; 0 where there is none
  size_t count_ = 0;
};

// Finds the lines of an entry for the work file that are gone because they read as nothing there.
void findGoneLines(const PreparedEntry& prepared, uint64_t begin, FindingSink& findings);
