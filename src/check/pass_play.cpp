#include "check/pass_play.h"

#include <algorithm>
#include <functional>
#include <queue>

#include "check/regular_records.h"
#include "check/slot_play.h"

static void noteBytes(Play& play) {
  if (play.run.failure.code == 0) play.run.memory.bytes = play.run.bytes;
}

// What passes need in which something odd can happen.
static void prepareOddPasses(Play& play) {
  auto& all = play.registry.entries;
  // What has been kept for making records gives its memory to the queues: nearly all have been made, or a trial comes
  // first, which few files need.
  play.registry.kept = {};
  for (uint32_t i = 0; i < all.size(); ++i) all[i].keptAt = NOT_KEPT;
  for (const Side side : {USER_SIDE, GROUP_SIDE})
    play.slots.of[side].reserve(std::min(play.registry.ownersOf[side], static_cast<uint32_t>(play.limits[side])));
  fillQueues(play.queues);
  play.slotOfOwner.assign(noOwner(play.queues), NO_SLOT);
}

static void skipToSide(Play& play, Side side) {
  uint32_t& next = play.nextOwner[side];
  while (next < play.registry.owners.size() && play.registry.owners[next].side != side) ++next;
}

// The next owners of a side, in the order of their first entries that are left: as many as there are slots.
// A pass meets entries in the order of the work file, and the first entries that it meets open its slots. So owners
// that an earlier pass has met, and of which entries are left, take their turn by the place of these.
static std::vector<uint32_t> takeOwners(Play& play, Side side) {
  std::vector<uint32_t> owners;
  auto& met = play.metBefore[side];
  const auto limit = static_cast<size_t>(play.limits[side]);
  for (skipToSide(play, side); owners.size() < limit; skipToSide(play, side)) {
    const bool isNew = play.nextOwner[side] < play.registry.owners.size();
    const uint32_t entry = isNew ? play.registry.owners[play.nextOwner[side]].first : NONE;
    if (!met.empty() && *met.begin() < entry) {
      owners.push_back(play.registry.entries[*met.begin()].owner);
      met.erase(met.begin());
    } else if (isNew) {
      owners.push_back(play.nextOwner[side]++);
    } else {
      break;
    }
  }
  return owners;
}

static bool arePlain(const Play& play, const std::vector<uint32_t>& owners) {
  const auto& all = play.registry.owners;
  return std::all_of(owners.begin(), owners.end(), [&](uint32_t i) { return isKnown(all[i]); });
}

// A count of a kind that is not back at zero after a pass keeps entries of that kind out of the next ones, and from
// then on nothing is regular any more.
static bool areCountsZero(const Play& play) {
  return std::all_of(std::begin(play.counts), std::end(play.counts), [](int32_t count) { return count == 0; });
}

// A pass in which nothing can happen but that every owner's entries meet in a slot.
static void playPlainPass(Play& play, const std::vector<uint32_t> (&owners)[2]) {
  if (play.run.failure.code == 0) ++play.run.passes;
  for (const Side side : {USER_SIDE, GROUP_SIDE}) noteSlots(play, side, owners[side].size());
  SlotRows rows;
  for (const auto& side : owners) {
    int32_t slot = 0;
    for (const uint32_t number : side) {
      const RegistryOwner& owner = play.registry.owners[number];
      const int32_t ofOwner = slot++;
      play.run.bytes += owner.bytes;
      if (!owner.hasProblem || play.run.failure.code != 0) continue;
      fillRows(play.registry, owner, rows);
      const SlotRecords& records = makeRecords(play.maker, owner.side, rows);
      failForRecords(play, records, rows, owner.side, ofOwner, true);
    }
    noteBytes(play);
    // Only where odd passes come, too, does anybody ask which entries have been taken.
    if (play.registry.isRegular) continue;
    for (const uint32_t number : side)
      for (EntryQueue& queue : queuesOf(play.queues, number)) queue.next = queue.end;
  }
}

// The entries that the pass meets first. Where earlier ones have left a count that keeps entries away, that can be any.
static std::vector<uint32_t> headsInReach(Play& play, const std::vector<uint32_t> (&owners)[2]) {
  std::vector<uint32_t> heads;
  heads.reserve(play.queues.all.size());
  // Owners that the plan has not chosen may find a slot, since those that it has chosen may not.
  if (!areCountsZero(play)) {
    addHeads(play.queues, play.queues.all, heads);
  } else {
    for (const auto& side : owners)
      for (const uint32_t owner : side) addHeads(play.queues, queuesOf(play.queues, owner), heads);
    addHeads(play.queues, queuesOf(play.queues, noOwner(play.queues)), heads);
  }
  std::sort(heads.begin(), heads.end(), std::greater());
  return heads;
}

// Has the pass meet the entries in the order of the work file. Returns false when it can gather none.
// There can be as many passes as an owner has entries of a kind, so that no pass looks at all of them.
static bool meetEntries(Play& play, std::vector<uint32_t> heads) {
  bool isAny = false;
  std::priority_queue<uint32_t, std::vector<uint32_t>, std::greater<>> followers;
  while (!heads.empty() || !followers.empty()) {
    const bool isFollower = heads.empty() || (!followers.empty() && heads.back() > followers.top());
    const uint32_t head = isFollower ? followers.top() : heads.back();
    if (isFollower)
      followers.pop();
    else
      heads.pop_back();
    if (play.isPlanLeft) noteLookUp(play);
    if (!meet(play, head)) {
      play.isPlanLeft = true;
      continue;
    }
    isAny = true;
    EntryQueue& left = queueOf(play.queues, head);
    if (++left.next < left.end) followers.push(headOf(play.queues, left));
  }
  return isAny;
}

// Owners of which entries are left take their turn again. Returns false when there are none.
static bool putBack(Play& play, const std::vector<uint32_t> (&owners)[2]) {
  bool isAny = false;
  for (const auto& side : owners)
    for (const uint32_t owner : side) {
      const uint32_t left = firstLeft(play.queues, owner);
      if (left == NONE) continue;
      play.metBefore[play.registry.owners[owner].side].insert(left);
      isAny = true;
    }
  return isAny;
}

static uint64_t ownersLeft(const Play& play) {
  const uint32_t next = std::min(play.nextOwner[USER_SIDE], play.nextOwner[GROUP_SIDE]);
  return play.metBefore[USER_SIDE].size() + play.metBefore[GROUP_SIDE].size() + (noOwner(play.queues) - next);
}

// Returns false when nothing can be gathered any more.
static bool playOddPass(Play& play, const std::vector<uint32_t> (&owners)[2]) {
  play.isPlanLeft = false;
  const bool isAny = meetEntries(play, headsInReach(play, owners));
  const bool hasGathered = play.inUse[USER_SIDE] != 0 || play.inUse[GROUP_SIDE] != 0;
  if (hasGathered) {
    if (play.run.failure.code == 0) ++play.run.passes;
    flush(play);
    noteBytes(play);
  } else if (!isAny) {
    // The run would go round for ever, and ends with a message instead.
    // Behind a failure what is left over is owed to the entry that has failed.
    if (play.run.failure.code == 0) play.findings.take({NOTHING_CAN_BE_GATHERED, AT_GIVEN});
    fail(play, PROCESSING_FAILED, NOTHING_GATHERED, {});
    return false;
  }
  const bool isMore = putBack(play, owners) || !areCountsZero(play);
  if (isMore && play.run.failure.code == 0)
    play.run.memory.mostLeft = std::max(play.run.memory.mostLeft, ownersLeft(play));
  return true;
}

// What is wrong with an owner's records may be in lines that others have written over.
static void reportAlone(Play& play, const RegistryOwner& owner) {
  SlotRows rows;
  fillRows(play.registry, owner, rows);
  const SlotRecords& records = makeRecords(play.maker, owner.side, rows);
  reportOnce(play, findingOf(records.problem), AT_OTHERS, entryOf(rows, records, owner.side));
}

// What would end a run at other slot counts.
static void reportOthers(Play& play) {
  for (uint32_t number = 0; number < play.registry.owners.size(); ++number) {
    const RegistryOwner& owner = play.registry.owners[number];
    if (owner.losesEntry && owner.hasProblem) reportAlone(play, owner);
    // Both are matters of slots: of two entries of a kind, one is gathered in a later pass, or not at all if it meets
    // the first one in its slot; a long one runs on into rows that may be empty, or not there.
    if (owner.isRegular) continue;
    // Of two entries of a row the second one is told, and the passes have sorted them by their kinds.
    const auto begin = play.registry.byOwner.begin() + owner.begin;
    std::sort(begin, begin + owner.entries);
    bool has[RESCREDS_KIND] = {};
    for (const uint32_t i : entriesOf(play.registry, owner)) {
      const EntryKind kind = play.registry.entries[i].rowKind;
      const bool isDouble = has[kind];
      has[kind] = true;
      if (isDouble) reportOnce(play, DOUBLED_ENTRY, AT_OTHERS, i);
      if (play.registry.entries[i].lines >= rowLength(kind)) reportOnce(play, TOO_MANY_LINES, AT_OTHERS, i);
    }
  }
}

// While counts are left over, which owners come next cannot be told beforehand: all of them can.
static void dropChoice(Play& play, std::vector<uint32_t> (&owners)[2]) {
  if (areCountsZero(play)) return;
  putBack(play, owners);
  for (auto& side : owners) side.clear();
}

static void playAll(Play& play) {
  // Most registries are regular through and through, so that no entry is looked at here, only the owners' sums.
  const bool isRegular = play.registry.isRegular;
  if (!isRegular) prepareOddPasses(play);
  for (;;) {
    std::vector<uint32_t> owners[2] = {takeOwners(play, USER_SIDE), takeOwners(play, GROUP_SIDE)};
    const bool isPlain = isRegular || (arePlain(play, owners[USER_SIDE]) && arePlain(play, owners[GROUP_SIDE]) &&
                                       !isAnyLeft(queuesOf(play.queues, noOwner(play.queues))) && areCountsZero(play));
    if (isPlain && owners[USER_SIDE].empty() && owners[GROUP_SIDE].empty()) break;
    if (isPlain) {
      playPlainPass(play, owners);
      continue;
    }
    dropChoice(play, owners);
    if (!areCountsZero(play) && !isAnyLeft(play.queues.all)) break;
    if (!playOddPass(play, owners)) break;
  }
}

// An own entry or a map that is swallowed ends the run.
static bool canSwallow(const GatheredEntry& entry) {
  return (entry.rowKind == USERS_SECUSER_KIND || entry.rowKind == SECPOLICY_KIND) && !fitsRow(entry);
}

// Takes none of the findings: they are found once more.
class NoFindings final : public FindingSink {
 public:
  void take(const Finding& /*finding*/) override {}
};

void findLosers(Registry& registry, const int32_t (&slots)[2], RecordMaker& maker) {
  bool isAny = false;
  for (uint32_t i = 0; !registry.isRegular && !isAny && i < registry.entries.size(); ++i)
    isAny = canSwallow(registry.entries[i]);
  if (!isAny) return;
  NoFindings findings;
  DnComparison newDns;
  Play play = {
      .registry = registry, .limits = slots, .maker = maker, .newDns = newDns, .findings = findings, .isTrial = true};
  playAll(play);
}

PlayedRun playPasses(Registry& registry, const int32_t (&slots)[2], RecordMaker& maker, DnComparison& newDns,
                     FindingSink& findings) {
  Play play = {registry, slots, maker, newDns, findings};
  playAll(play);
  reportOthers(play);
  return play.run;
}
