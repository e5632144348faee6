// What a survey remembers of the entries that a run gathers: little of each, since there can be many millions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/detail_texts.h"
#include "rules/object_class.h"
#include "survey/block_list.h"
#include "survey/kept_lines.h"

constexpr uint32_t NONE = UINT32_MAX;  // no entry, or no owner

struct GatheredEntry {
  uint64_t begin = 0;          // of the entry of the input
  uint32_t part = 0;           // of those that it has become in the work file
  uint32_t keptAt = NOT_KEPT;  // where its lines are kept
  uint32_t owner = NONE;       // number; NONE for an entry whose owner cannot be told
  uint32_t lines = 0;          // in the work file
  EntryKind kind = UNKNOWN_KIND;
  EntryKind rowKind = UNKNOWN_KIND;  // of the row into which it goes: blanks in its DN can make the two differ
  DetailText problem = NO_DETAIL;    // of its owner; it ends a run that looks at the entry
  bool opensForKey : 1 = true;       // a slot that it opens is found by the owner's other entries
  bool isNormal : 1 = true;          // its first line is gathered as it stands
  bool endsPreparation : 1 = false;  // the run does not come so far as to gather it
  bool isPlain : 1 = true;           // it is one in the input, too, and of the same class there
  bool isMeasured : 1 = true;        // its bytes are among those that the registry counts
};
static_assert(sizeof(GatheredEntry) == 32);

// The lines that a row of a kind takes.
inline uint32_t rowLength(EntryKind kind) { return static_cast<uint32_t>(columnsOf(kind)); }

// The kind of an owner's own entry.
constexpr EntryKind ownKindOf(Side side) { return side == USER_SIDE ? SECUSER_KIND : SECGROUP_KIND; }

// True when the entry has room in one row of its kind. One that fills the row has none: nothing says where it ends.
inline bool fitsRow(const GatheredEntry& entry) { return entry.lines < rowLength(entry.rowKind); }

// True when that is the row of the kind as which it was sorted.
inline bool fitsOwnRow(const GatheredEntry& entry) { return entry.rowKind == entry.kind && fitsRow(entry); }

// A user or a group.
struct RegistryOwner {
  uint64_t hash;          // of the DN, with the side
  uint32_t first = NONE;  // of its entries, in the order of the work file
  uint32_t begin = 0;     // of all of them in Registry::byOwner
  uint32_t entries = 0;   // how many
  Side side = USER_SIDE;
  uint8_t kinds = 0;      // of its entries, a bit for each
  bool isRegular = true;  // one entry of each kind at most, all of which fit, find their owner and have no problem
  bool isSpoilt = false;  // an entry ends the preparation
  // Found out by the check when all entries are there.
  bool losesEntry = false;  // an entry of another one's takes the row of one of its own in the passes
  bool hasProblem = false;  // its records cannot be written
  bool isRejected = false;  // the split sets it and its entries apart
  uint32_t bytes = 0;       // of its records
};
static_assert(sizeof(RegistryOwner) == 32);

// Where an owner is found by the hash of its DN: what else stands on the way to it is passed without a look at it.
struct OwnerPlace {
  uint32_t owner = NONE;
  uint32_t mark = 0;  // a part of the hash
};

// An entry whose owner is looked up soon: what is known of owners lies far apart in memory, and is fetched meanwhile.
struct AwaitedEntry {
  GatheredEntry entry;
  uint64_t hash = 0;         // of its owner's key
  uint64_t openerBytes = 0;  // of the text that a run keeps if the entry opens a slot
};

// What entries have in bytes.
struct Measures {
  uint64_t workFile = 0;  // of the work file at the end of the preparation
  uint64_t kept = 0;      // of texts that a run keeps besides while it gathers all entries

  void add(const Measures& other) {
    workFile += other.workFile;
    kept += other.kept;
  }
};

struct Registry {
  BlockList<GatheredEntry> entries;  // in the order of the work file
  BlockList<RegistryOwner> owners;   // in the order in which the entries show them
  // The numbers of the entries that are gathered, in the order of their owners; at the end those that have none.
  std::vector<uint32_t> byOwner;
  std::vector<OwnerPlace> places;  // hash table of the owners
  KeptLines kept;
  uint32_t ownersOf[2] = {0, 0};  // by Side
  uint32_t withoutOwner = 0;      // entries
  bool isRegular = true;          // all of them are, and every entry has one
  bool mayHoldNul = false;        // the input does
  bool hasOpenLines = false;      // a line of an entry may have no line end: it is a piece of a longer one
  static constexpr size_t AWAITED = 16;
  AwaitedEntry awaited[AWAITED] = {};  // the last ones, by their number
  size_t awaitedEnd = 0;               // the number behind the last one
  Measures measured;                   // of the entries that have been
};

// Returns the place of an entry that stands in the work file, to be filled and then added. It is among the others a few
// entries later, or once all are there.
AwaitedEntry& nextEntry(Registry& registry);
void addEntry(Registry& registry);

// Ends the adding.
void endAdding(Registry& registry);

// Returns the numbers of an owner's entries, in the order of the work file, but sorted by their kinds while the passes
// of an irregular registry are played. To be asked when all have been added.
inline std::span<const uint32_t> entriesOf(const Registry& registry, const RegistryOwner& owner) {
  return {registry.byOwner.data() + owner.begin, owner.entries};
}
