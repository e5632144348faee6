// The new DNs of users and groups: what is odd about them, and which are there twice.
#pragma once

#include <cstdint>
#include <unordered_set>
#include <vector>

#include "survey/findings.h"
#include "survey/record.h"

// The new DN of a record.
struct RecordDn {
  uint64_t hash;
  uint64_t entry;               // where the owner's own entry begins
  uint64_t policy = NO_PLACE;   // where that begins for whose sake a container is written below it
  bool isPolicyWritten = true;  // below the container
};

// Finds what is odd about the new DNs of a slot whose records have been made, but for whether one has been there
// before. Returns what answers that.
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
