#include "check/pass_play.h"

#include <algorithm>
#include <functional>
#include <queue>
#include <set>
#include <unordered_set>
#include <vector>

#include "check/entry_queues.h"
#include "check/played_slots.h"
#include "check/regular_records.h"
#include "rules/text.h"

static constexpr int32_t NO_SLOT = -1;

// A release that has run on into the row of another slot.
struct PlayedOverrun {
  EntryKind kind;
  int32_t slot;
  int32_t lastSlot;
  std::string firstLine;
  uint32_t entry;
};

// An entry that stands in the row of another slot, too.
struct RunOn {
  EntryKind kind;
  int32_t slot;
  uint32_t entry;
  bool isOverAnother;  // that had been gathered there
};

using SlotEntry = std::pair<int32_t, uint32_t>;

struct Play {
  Registry& registry;
  const int32_t (&limits)[2];
  RecordMaker& maker;
  DnComparison& newDns;
  FindingSink& findings;
  RecordSurvivors survivors = {};
  PlayedRun run = {};

  PlayedSlots slots{registry};
  int32_t inUse[2] = {0, 0};
  int32_t counts[RESCREDS_KIND] = {};
  std::vector<PlayedOverrun> overruns = {};

  std::vector<int32_t> slotOfOwner = {};       // by owner: that which is found in this pass, or NO_SLOT
  EntryQueues queues{registry};                // where something odd can happen
  uint32_t nextOwner[2] = {0, 0};              // by Side, among those that no pass has met
  std::set<uint32_t> metBefore[2] = {};        // the first entry that is left of owners that one has met
  std::unordered_set<uint64_t> reported = {};  // findings that have been told, by entry and identifier
  std::vector<RunOn> runOn = {};               // in this pass
  std::set<SlotEntry> swallowed = {};          // in this pass: what has stood in rows that others have taken
  bool isPlanLeft = false;                     // in this pass, because an entry has been left
  bool isTrial = false;                        // that makes no record, and is to find out who loses entries
};

// The text is copied, because the entry that it lies in makes room for the next one that is looked at.
static std::string firstLineOf(Play& play, const std::vector<RowPart>& parts) {
  if (parts.empty()) return {};
  return std::string(loadedAlone(play.maker, parts[0].entry).lines[parts[0].first].view());
}

// The first line of an entry as it stands before it is gathered.
static std::string firstLineAsRead(Play& play, uint32_t entry) {
  return std::string(loadedAlone(play.maker, entry).lines[0].view());
}

// A run ends with its first failure. The play goes on behind it, so that the failures of later entries are found,
// too, each of which would end a run once the earlier ones have been mended.
static void fail(Play& play, MessageCode code, DetailText problem, std::string firstLine, std::string earlier = {}) {
  if (play.run.failure.code != 0) return;
  play.run.failure = {code, problem, std::move(firstLine), std::move(earlier)};
}

static uint64_t findingKey(FindingId id, uint32_t entry) { return uint64_t{entry} * NUMBER_OF_FINDINGS + id; }

// An entry that is met in several passes, or that is complained of in several ways, is one problem to mend.
static void reportOnce(Play& play, FindingId id, At at, uint32_t entry) {
  if (play.reported.insert(findingKey(id, entry)).second)
    play.findings.take({id, at, play.registry.entries[entry].begin});
}

static void reportFailure(Play& play, DetailText problem, uint32_t entry) {
  reportOnce(play, findingOf(problem), AT_GIVEN, entry);
}

// Policy data are not written, whatever stands in their rows.
static void reportRunOn(Play& play, EntryKind kind, uint32_t entry) {
  if (kind != SECPOLICYDATA_KIND) reportOnce(play, ENTRY_IN_ANOTHER_ROW, AT_NONE, entry);
}

static bool beginsWithDn(const std::string& line) {
  constexpr std::string_view TAG = "dn:";
  return isSameInAnyCase(std::string_view(line).substr(0, TAG.size()), TAG);
}

// Takes an entry for which the run has failed out of the rows behind its own.
// Once it has been mended it is no longer than its row, and the entries of those rows are gathered: they are not
// missing for anybody, and the play goes on with them.
static void takeBackRest(Play& play, EntryKind kind, int32_t first, uint32_t entry) {
  const auto isOfEntry = [&](const auto& part) { return part.entry == entry; };
  setRow(play.slots, kind, first, {{entry, 0, play.registry.entries[entry].lines}});
  for (const RunOn& rest : play.runOn) {
    if (!isOfEntry(rest)) continue;
    std::vector<RowPart> others = partsOf(play.slots, kind, rest.slot);
    std::erase_if(others, isOfEntry);
    if (others.empty())
      clearRow(play.slots, kind, rest.slot);
    else
      setRow(play.slots, kind, rest.slot, std::move(others));
    // What stood there cannot be told any more.
    if (rest.isOverAnother) slotAt(play.slots, sideOf(kind), rest.slot).isRunOver = true;
  }
  std::erase_if(play.runOn, isOfEntry);
}

// The row holds an entry already, or the rest of one that was too long for its own. Returns true when that has been
// taken back.
static bool failForOccupiedRow(Play& play, EntryKind kind, int32_t slot, uint32_t entry) {
  // An entry fills the rows behind its own from their begin, so that the row of the entry to blame is the first one
  // before that begins with a DN.
  int32_t owner = slot;
  while (owner > 0 && isFull(play.slots, kind, owner - 1) &&
         !beginsWithDn(firstLineOf(play, partsOf(play.slots, kind, owner))))
    --owner;
  const std::string earlier = firstLineOf(play, partsOf(play.slots, kind, owner));
  if (owner != slot) {
    const uint32_t tooLong = partsOf(play.slots, kind, owner)[0].entry;
    fail(play, ROW_ALREADY_OCCUPIED, ROW_OVERRUN, earlier);
    reportFailure(play, ROW_OVERRUN, tooLong);
    const auto rest =
        std::find_if(play.runOn.begin(), play.runOn.end(), [&](const RunOn& other) { return other.entry == tooLong; });
    if (rest != play.runOn.end()) takeBackRest(play, kind, rest->slot - 1, tooLong);
    return partsOf(play.slots, kind, slot).empty();
  }
  fail(play, ROW_ALREADY_OCCUPIED, DOUBLED, firstLineOf(play, {{entry, 0, 1}}), earlier);
  reportFailure(play, DOUBLED, entry);
  return false;
}

// Slots that are opened behind a failure are the play's alone.
static void noteSlots(Play& play, Side side, size_t slots) {
  if (play.run.failure.code == 0) play.run.memory.slots[side] = std::max<uint64_t>(play.run.memory.slots[side], slots);
}

static void noteBytes(Play& play) {
  if (play.run.failure.code == 0) play.run.memory.bytes = play.run.bytes;
}

static void noteLookUp(Play& play) {
  if (play.run.failure.code == 0) play.run.memory.looksOwnersUp = true;
}

// True for an entry that is gathered without a look at it. Where it is not, the run looks for its owner's slot by the
// DN.
static bool isAsPlanned(const GatheredEntry& entry) { return fitsOwnRow(entry) && entry.opensForKey; }

// Puts the entry into the row and, as far as it is too long, into those behind it.
static void place(Play& play, uint32_t entry, int32_t slot) {
  const EntryKind kind = play.registry.entries[entry].rowKind;
  const uint32_t lines = play.registry.entries[entry].lines;
  const int32_t first = slot;
  // A row of exactly so many lines as it has columns has nothing behind it that says where it ends: what reads it
  // goes on in the next row.
  if (lines < rowLength(kind)) slotAt(play.slots, sideOf(kind), slot).rows[kind] = entry;
  for (uint32_t passed = 0; lines >= rowLength(kind) && passed < lines; passed += rowLength(kind), ++slot) {
    // There are as many rows as the run has slots, whether these are in use or not.
    if (slot == play.limits[sideOf(kind)]) {
      fail(play, ROW_ALREADY_OCCUPIED, ROW_OVERRUN, firstLineOf(play, {{entry, 0, 1}}));
      reportFailure(play, ROW_OVERRUN, entry);
      takeBackRest(play, kind, first, entry);
      break;
    }
    std::vector<RowPart> parts = {{entry, passed, std::min(rowLength(kind), lines - passed)}};
    const std::vector<RowPart> before = partsOf(play.slots, kind, slot);
    // It is written over what stands there. What is longer than itself stays behind it, and is taken for more of it.
    for (const RowPart& part : before) play.swallowed.insert({slot, part.entry});
    appendRest(before, parts[0].count, parts);
    setRow(play.slots, kind, slot, std::move(parts));
    if (slot != first) play.runOn.push_back({kind, slot, entry, !before.empty()});
  }
  noteSlots(play, sideOf(kind), play.slots.of[sideOf(kind)].size());
  ++play.counts[kind];
}

// Gathers the entry into a slot, or finds that it cannot be.
static void gather(Play& play, uint32_t entry, int32_t slot, bool isNewSlot) {
  const EntryKind kind = play.registry.entries[entry].rowKind;
  const Side side = sideOf(kind);
  Slot& target = slotAt(play.slots, side, slot);
  if (target.rows[kind] != NONE || !isAsPlanned(play.registry.entries[entry])) noteLookUp(play);
  // Two entries of one kind and owner, or the rest of a long one that came before: the run ends here, in whichever
  // pass the two meet in a slot.
  if (target.rows[kind] != NONE && !failForOccupiedRow(play, kind, slot, entry)) return;
  if (kind == SECPOLICY_KIND) target.policyDn = entry;
  if (isNewSlot) {
    target.opener = entry;
    target.owner = play.registry.entries[entry].owner;
    // The slot of an entry whose saved DN is not its key is never found again: the owner's other entries open another
    // one.
    if (play.registry.entries[entry].opensForKey) play.slotOfOwner[target.owner] = slot;
    ++play.inUse[side];
  }
  place(play, entry, slot);
}

// An entry as a pass meets it. Returns false when it stays.
static bool meet(Play& play, uint32_t number) {
  const GatheredEntry& entry = play.registry.entries[number];
  const EntryKind kind = entry.kind;
  // A pass asks this before it looks at the entry: one with a problem does not end the run while as many entries of
  // its kind have been gathered as there are slots.
  if (kind != UNKNOWN_KIND && play.counts[kind] >= play.limits[sideOf(kind)]) return false;
  if (entry.problem != NO_DETAIL) {
    fail(play, PROCESSING_FAILED, entry.problem, firstLineAsRead(play, number));
    reportFailure(play, entry.problem, number);
    return true;
  }
  const Side side = sideOf(kind);
  const int32_t found = play.slotOfOwner[entry.owner];
  const bool isNewSlot = found == NO_SLOT;
  if (isNewSlot && play.inUse[side] >= play.limits[side]) return false;
  gather(play, number, isNewSlot ? play.inUse[side] : found, isNewSlot);
  return true;
}

// Kept as the release is: it goes on behind a full row.
static void releaseRow(Play& play, EntryKind kind, int32_t slot) {
  if (partsOf(play.slots, kind, slot).empty()) return;
  --play.counts[kind];
  const std::vector<RowPart> own = partsOf(play.slots, kind, slot);
  int32_t next = slot;
  for (bool goesOn = true; goesOn && !partsOf(play.slots, kind, next).empty(); ++next) {
    const auto parts = partsOf(play.slots, kind, next);
    const bool isOfAnother = next != slot && next < play.inUse[sideOf(kind)] && parts[0].entry != own[0].entry;
    if (isOfAnother) reportRunOn(play, kind, own[0].entry);
    for (const RowPart& part : parts)
      if (part.entry != own[0].entry) play.swallowed.insert({next, part.entry});
    goesOn = lineCount(parts) == rowLength(kind);
    clearRow(play.slots, kind, next);
  }
  // It has emptied the rows of later slots. Should one of these lack an entry of this kind, this is the one to blame;
  // only the last of each kind is remembered, as in the run.
  const int32_t last = next - 1;
  if (last == slot || slot + 1 >= play.inUse[sideOf(kind)]) return;
  const PlayedOverrun overrun = {kind, slot, last, firstLineOf(play, own), own[0].entry};
  const auto old = std::find_if(play.overruns.begin(), play.overruns.end(),
                                [&](const PlayedOverrun& other) { return other.kind == kind; });
  if (old == play.overruns.end())
    play.overruns.push_back(overrun);
  else
    *old = overrun;
}

// The entry that has taken what the slot lacks, or has kept it from coming, is to blame.
// What is known has been reported.
static void failForRecords(Play& play, const SlotRecords& records, const SlotRows& rows, Side side, int32_t slot,
                           bool isKnown) {
  DetailText problem = records.problem;
  std::string subject(records.subject);
  uint32_t entry = entryOf(rows, records, side);
  for (const PlayedOverrun& overrun : play.overruns) {
    if (records.missing == UNKNOWN_KIND) break;
    const bool hasTakenIt = overrun.kind == records.missing && slot > overrun.slot && slot <= overrun.lastSlot;
    if (!hasTakenIt && overrun.kind != records.present) continue;
    problem = ROW_OVERRUN;
    subject = overrun.firstLine;
    entry = overrun.entry;
    break;
  }
  if (!isKnown || problem == ROW_OVERRUN) reportFailure(play, problem, entry);
  fail(play, PROCESSING_FAILED, problem, subject);
}

// The records of such an owner have been made before, and what is odd about them has been told.
static bool isKnown(const RegistryOwner& owner) { return owner.isRegular && !owner.losesEntry; }

// Calls take with the entries of the owner in a slot that others have swallowed. Nobody misses policy data.
template <typename Take>
static void forEachSwallowed(const Play& play, uint32_t owner, int32_t slot, Take take) {
  for (auto i = play.swallowed.lower_bound({slot, 0}); i != play.swallowed.end() && i->first == slot; ++i) {
    const GatheredEntry& entry = play.registry.entries[i->second];
    // The rest of an entry that has run on into the slot may have been there, too.
    if (entry.owner == owner && entry.rowKind != SECPOLICYDATA_KIND) take(i->second);
  }
}

static void findRecords(Play& play, const SlotRows& rows, Side side, uint32_t owner, int32_t slot) {
  play.newDns.compare(takeRecords(play.maker, rows, side, play.survivors, play.findings), play.findings);
  if (play.run.failure.code != 0) return;
  forEachSwallowed(play, owner, slot,
                   [&](uint32_t entry) { findSwallowed(play.maker, entry, play.survivors, play.findings); });
}

// The records of a regular owner count without a second look, unless rows of others have mixed with theirs.
static void writeSlot(Play& play, Side side, int32_t number) {
  const Slot slot = slotAt(play.slots, side, number);
  const RegistryOwner& owner = play.registry.owners[slot.owner];
  SlotRows rows;
  rows.opener = slot.opener;
  rows.policyDn = slot.policyDn;
  for (uint8_t kind = 0; kind < RESCREDS_KIND; ++kind)
    if (sideOf(static_cast<EntryKind>(kind)) == side)
      rows.parts[kind] = readOn(play.slots, static_cast<EntryKind>(kind), number);
  if (play.run.failure.code == 0)
    for (const auto& parts : rows.parts)
      play.run.memory.mostLines = std::max(play.run.memory.mostLines, lineCount(parts));
  const auto entries = entriesOf(play.registry, owner);
  const bool isAsAlone = owner.isRegular && std::all_of(entries.begin(), entries.end(), [&](uint32_t i) {
                           return slot.rows[play.registry.entries[i].rowKind] == i;
                         });
  if (isAsAlone && !owner.hasProblem && !owner.losesEntry) {
    play.run.bytes += owner.bytes;
  } else if (!owner.isSpoilt && !slot.isRunOver) {
    const SlotRecords& records = makeRecords(play.maker, side, rows);
    play.run.bytes += records.bytes;
    if (records.problem != NO_DETAIL)
      failForRecords(play, records, rows, side, number, isKnown(owner) && owner.hasProblem);
    else if (!isKnown(owner))
      findRecords(play, rows, side, slot.owner, number);
  }
}

static void flushSlot(Play& play, Side side, int32_t number) {
  if (!play.isTrial) writeSlot(play, side, number);
  const uint32_t owner = slotAt(play.slots, side, number).owner;
  if (play.isTrial)
    forEachSwallowed(play, owner, number, [&](uint32_t) { play.registry.owners[owner].losesEntry = true; });
  // The order matters where a row is full: a release that goes on behind it must find what the run finds.
  for (const EntryKind kind : {SECUSER_KIND, USERS_SECUSER_KIND, SECPOLICYDATA_KIND, MAP_OF_USER_KIND, SECPOLICY_KIND,
                               SECGROUP_KIND, MAP_OF_GROUP_KIND})
    if (sideOf(kind) == side) releaseRow(play, kind, number);
  slotAt(play.slots, side, number).policyDn = NONE;
}

static void flush(Play& play) {
  for (const RunOn& entry : play.runOn)
    if (entry.slot < play.inUse[sideOf(entry.kind)]) reportRunOn(play, entry.kind, entry.entry);
  play.runOn.clear();
  for (const Side side : {USER_SIDE, GROUP_SIDE}) {
    for (int32_t slot = 0; slot < play.inUse[side]; ++slot) flushSlot(play, side, slot);
    play.inUse[side] = 0;
    for (Slot& slot : play.slots.of[side]) {
      if (slot.owner != NONE) play.slotOfOwner[slot.owner] = NO_SLOT;
      slot = {slot.rows, NONE, NONE, NONE, false};
    }
  }
  play.swallowed.clear();
  // What counts as gathered once all is released has been taken by an entry that has to be mended.
  if (play.run.failure.code == 0) return;
  std::fill(std::begin(play.counts), std::end(play.counts), 0);
  play.overruns.clear();
}

// What passes need in which something odd can happen.
static void prepareOddPasses(Play& play) {
  auto& all = play.registry.entries;
  // Nearly all records have been made. What has been kept for making them gives its memory to the queues.
  if (!play.isTrial) {
    play.registry.kept = {};
    for (uint32_t i = 0; i < all.size(); ++i) all[i].keptAt = NOT_KEPT;
  }
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
