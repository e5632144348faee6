#include "driver/pass_plan.h"

#include <algorithm>

#include "cache/object_cache.h"
#include "platform/scratch_memory.h"
#include "reporting/run_state.h"
#include "workfile/notes.h"

// The number of an owner in the order in which owners appear among the entries.
struct OwnerRank {
  uint64_t hash;  // of its DN
  uint32_t rank;  // from 1; 0 where the place is free
  uint32_t unused;
};

// A hash table of the owners of both sides, while a plan is made.
struct OwnerRanks {
  ScratchMemory memory;
  OwnerRank* places;
  size_t mask;
  uint32_t count[2];  // of the owners of each Side
};

// The plan: the numbers of the notes, by pass, and where each pass begins among them.
static ScratchMemory numbersMemory;
static ScratchMemory beginsMemory;
static uint32_t passCount = 0;
static uint32_t nextPass = 0;
static bool isPlanned = false;

static uint32_t* numbers() { return reinterpret_cast<uint32_t*>(numbersMemory.data); }
static uint32_t* begins() { return reinterpret_cast<uint32_t*>(beginsMemory.data); }

void rejectPlan() { isPlanned = false; }

void forgetPlan() {
  rejectPlan();
  freeScratchMemory(numbersMemory);
  freeScratchMemory(beginsMemory);
}

static bool isToBeGathered(const Note& note) { return note.isTaken == 0 && note.kind != RESCREDS_KIND; }

// How many notes from the first on need no further look, because none of them is left, or to be gathered.
static uint32_t notLeft = 0;
static uint32_t notToBeGathered = 0;

bool isAnyEntryLeft() {
  while (notLeft < noteCount && notes[notLeft].isTaken != 0) ++notLeft;
  return notLeft < noteCount;
}

bool isAnyEntryToBeGathered() {
  while (notToBeGathered < noteCount && !isToBeGathered(notes[notToBeGathered])) ++notToBeGathered;
  return notToBeGathered < noteCount;
}

static bool beginRanks(OwnerRanks& ranks, size_t places) {
  ranks = {};
  if (!growScratchMemory(ranks.memory, places * sizeof(OwnerRank), workFile.place.folder)) return false;
  ranks.places = reinterpret_cast<OwnerRank*>(ranks.memory.data);
  ranks.mask = places - 1;
  return true;
}

// One bit of the hash tells the sides apart.
static uint64_t hashOf(const Note& note) {
  return sideOf(static_cast<EntryKind>(note.kind)) == USER_SIDE ? note.ownerHash | 1U : note.ownerHash & ~uint64_t{1};
}

static size_t placeOf(const OwnerRanks& ranks, uint64_t hash) { return static_cast<size_t>(hash >> 1U) & ranks.mask; }

// Returns the owner's rank, from 0.
static uint32_t rankOf(OwnerRanks& ranks, Note& note) {
  const uint64_t hash = hashOf(note);
  size_t place = placeOf(ranks, hash);
  while (ranks.places[place].rank != 0 && ranks.places[place].hash != hash) place = (place + 1) & ranks.mask;
  note.isFirst = ranks.places[place].rank == 0 ? 1 : 0;
  if (note.isFirst != 0) ranks.places[place] = {hash, ++ranks.count[sideOf(static_cast<EntryKind>(note.kind))], 0};
  return ranks.places[place].rank - 1;
}

static uint32_t slotsOf(const Note& note) {
  return static_cast<uint32_t>(*cacheSides[sideOf(static_cast<EntryKind>(note.kind))].limit);
}

// An entry whose owner cannot be told ends the run in the pass that meets it.
static uint32_t passOf(const Note& note) { return note.hasOwner == 0 ? 0 : note.rank / slotsOf(note); }

int32_t plannedSlotOf(const Note& note) { return static_cast<int32_t>(note.rank % slotsOf(note)); }

// Returns false when the places do not suffice for all owners: a quarter has to stay free.
static bool rankOwners(OwnerRanks& ranks) {
  passCount = 0;
  // The table may be larger than the processor's cache, and the hashes lead all over it.
  constexpr ptrdiff_t AHEAD = 16;  // notes whose place is fetched before it is needed
  for (Note* note = notes; note != notes + noteCount; ++note) {
    if (notes + noteCount - note > AHEAD) __builtin_prefetch(&ranks.places[placeOf(ranks, hashOf(note[AHEAD]))]);
    if (!isToBeGathered(*note)) continue;
    if (note->hasOwner != 0) note->rank = rankOf(ranks, *note);
    if (ranks.count[USER_SIDE] + ranks.count[GROUP_SIDE] > (ranks.mask + 1) / 4 * 3) return false;
    passCount = std::max(passCount, passOf(*note) + 1);
  }
  return true;
}

// The first table has room for all owners if they have the usual four entries each. Where they have fewer, there are
// more owners, and a table twice as large is made.
static bool rankAllOwners() {
  OwnerRanks ranks;
  size_t places = 1024;
  while (places < noteCount / 2) places *= 2;
  for (; beginRanks(ranks, places); places *= 2) {
    const bool areRanked = rankOwners(ranks);
    freeScratchMemory(ranks.memory);
    if (areRanked) return true;
  }
  return false;
}

// Sorts the notes by pass, in the order of the work file within each.
static bool sortNotes() {
  const size_t beginsSize = (size_t{passCount} + 2) * sizeof(uint32_t);
  if (!growScratchMemory(numbersMemory, size_t{noteCount} * sizeof(uint32_t), workFile.place.folder)) return false;
  if (!growScratchMemory(beginsMemory, beginsSize, workFile.place.folder)) return false;
  uint32_t* const begin = begins();
  std::fill_n(begin, passCount + 2, 0);
  for (uint32_t i = 0; i < noteCount; ++i)
    // Counted two places on: summed up, a pass finds its begin one place on, and by being filled moves that to its end,
    // which is where the next pass begins.
    if (isToBeGathered(notes[i])) ++begin[passOf(notes[i]) + 2];
  for (uint32_t pass = 2; pass < passCount + 2; ++pass) begin[pass] += begin[pass - 1];
  for (uint32_t i = 0; i < noteCount; ++i)
    if (isToBeGathered(notes[i])) numbers()[begin[passOf(notes[i]) + 1]++] = i;
  return true;
}

bool planPasses() {
  if (isPlanned) return true;
  isPlanned = rankAllOwners() && sortNotes();
  nextPass = notLeft = notToBeGathered = 0;
  if (!isPlanned) giveUpNotes();
  return isPlanned;
}

std::span<const uint32_t> notesOfNextPass() {
  if (nextPass >= passCount) return {};
  const uint32_t pass = nextPass++;
  return {numbers() + begins()[pass], begins()[pass + 1] - begins()[pass]};
}
