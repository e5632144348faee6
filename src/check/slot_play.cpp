#include "check/slot_play.h"

#include <algorithm>

#include "check/regular_records.h"
#include "rules/text.h"

// The text is copied, because the entry that it lies in makes room for the next one that is looked at.
static std::string firstLineOf(Play& play, const std::vector<RowPart>& parts) {
  if (parts.empty()) return {};
  return std::string(loadedAlone(play.maker, parts[0].entry).lines[parts[0].first].view());
}

// The first line of an entry as it stands before it is gathered.
static std::string firstLineAsRead(Play& play, uint32_t entry) {
  return std::string(loadedAlone(play.maker, entry).lines[0].view());
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

bool meet(Play& play, uint32_t number) {
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
void failForRecords(Play& play, const SlotRecords& records, const SlotRows& rows, Side side, int32_t slot,
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
  const uint32_t owner = slotAt(play.slots, side, number).owner;
  if (play.isTrial)
    forEachSwallowed(play, owner, number, [&](uint32_t) { play.registry.owners[owner].losesEntry = true; });
  else
    writeSlot(play, side, number);
  // The order matters where a row is full: a release that goes on behind it must find what the run finds.
  for (const EntryKind kind : {SECUSER_KIND, USERS_SECUSER_KIND, SECPOLICYDATA_KIND, MAP_OF_USER_KIND, SECPOLICY_KIND,
                               SECGROUP_KIND, MAP_OF_GROUP_KIND})
    if (sideOf(kind) == side) releaseRow(play, kind, number);
  slotAt(play.slots, side, number).policyDn = NONE;
}

void flush(Play& play) {
  for (const RunOn& entry : play.runOn)
    if (entry.isOverAnother) reportRunOn(play, entry.kind, entry.entry);
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
