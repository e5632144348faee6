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

// Finds the lines of an entry that are gone.
void findLosses(const Fates& fates, std::span<const Origin> origins, uint64_t begin, FindingSink& findings);

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

// Finds the fates of all lines of the entries of a slot, which stand there whole, and has each of these entries taken.
// Returns false where they do not.
template <typename TakeEntry>
bool findFatesOfSlot(RecordMaker& maker, const SlotRows& rows, Side side, RecordSurvivors& survivors, Fates& fates,
                     bool withPolicyData, TakeEntry takeEntry) {
  for (const auto& parts : rows.parts)
    if (parts.size() > 1 || (parts.size() == 1 && maker.registry->entries[parts[0].entry].lines != parts[0].count))
      return false;
  findSurvivors(maker.records, survivors);
  const EntryKind ownKind = side == USER_SIDE ? SECUSER_KIND : SECGROUP_KIND;
  const EntryKind baseKind = rows.parts[USERS_SECUSER_KIND].empty() ? ownKind : USERS_SECUSER_KIND;
  for (uint8_t kind = 0; kind < RESCREDS_KIND; ++kind) {
    if (rows.parts[kind].empty() || (kind == SECPOLICYDATA_KIND && !withPolicyData)) continue;
    const LoadedEntry& entry = loadedEntry(maker, rows.parts[kind][0].entry);
    if (kind == SECPOLICYDATA_KIND)
      fates.assign(entry.lines.size(), LEFT_OUT);
    else if (kind == SECPOLICY_KIND)
      findFatesAlone(entry.lines, entry.origins, POLICY, true, fates);
    else
      findMergedFates(entry, survivors, kind == ownKind, kind == baseKind, fates);
    takeEntry(entry, static_cast<EntryKind>(kind), fates);
  }
  return true;
}
