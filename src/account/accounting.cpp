#include "account/accounting.h"

#include <algorithm>
#include <array>

#include "account/copied_entries.h"
#include "account/tallying.h"
#include "rules/policy_container.h"
#include "rules/text.h"
#include "survey/progress.h"
#include "survey/shown_place.h"

// The entries of an owner, by EntryKind of their rows, each in the order of the work file.
using EntriesByKind = std::array<std::vector<uint32_t>, RESCREDS_KIND>;

// Room for the records of one user or group.
struct OwnerRecords {
  EntriesByKind byKind;
  SlotRows rows;
  RecordSurvivors survivors;
  Fates fates;
};

static void putMerged(Accounting& accounting, const SlotRecords& records) {
  putRecord(accounting, records.newDn, Entry(records.merged).subspan(1), MERGED);
}

static void putPolicy(Accounting& accounting, const SlotRecords& records) {
  putRecord(accounting, records.policyDn, Entry(records.policyLines).subspan(1), POLICY);
}

static bool findPolicy(Accounting& accounting, const SlotRecords& records, bool changetypeSeen, uint64_t begin) {
  beginRecord(accounting);
  addPiece(accounting, CONTAINER_DN_BEGIN);
  addPiece(accounting, records.containerDn);
  for (size_t i = changetypeSeen ? 0 : 1; i < std::size(containerLines); ++i) addPiece(accounting, containerLines[i]);
  const bool hasContainer = find(accounting, CONTAINER_RECORD, begin);
  if (!records.hasPolicy) return hasContainer;
  putPolicy(accounting, records);
  return find(accounting, POLICY_RECORD, begin);
}

// Policy data go nowhere, whatever stands in their rows.
static void noteLongEntries(Accounting& accounting, const Registry& registry, const SlotRows& rows, bool isPolicy) {
  for (uint8_t kind = 0; kind < RESCREDS_KIND; ++kind)
    for (const RowPart& part : rows.parts[kind])
      if (kind != SECPOLICYDATA_KIND && (kind == SECPOLICY_KIND) == isPolicy && !fitsRow(registry.entries[part.entry]))
        accounting.longMissing.push_back(part.entry);
}

static void loseEntry(Accounting& accounting, const LoadedEntry& entry, EntryKind kind, Fates& fates) {
  fates.assign(entry.lines.size(), LEFT_OUT);
  if (kind != SECPOLICYDATA_KIND) settleFates(fates, entry.lines, roadOf(kind), false);
  const EntryFate fate = {.begin = entry.begin, .lines = entry.lines, .origins = entry.origins, .fates = &fates};
  tally(accounting, fate);
}

// A line that is written with another name may be equal to one that stays, as it stood in the input.
static void absorbRenamed(SurveyedFile& file, const LoadedEntry& entry, const RecordSurvivors& survivors,
                          Fates& fates) {
  for (size_t i = 0; i < fates.size(); ++i) {
    if (fates[i] != REPLACED_BY_SAME || !entry.origins[i].isChanged) continue;
    const std::string before = wholeLineAt(file, entry.begin + entry.origins[i].place);
    for (const Line* survivor : survivors.lines)
      if (survivor->content() == before) fates[i] = ABSORBED;
  }
}

// Returns the first entry of those that the owner's record is made of; without any the first one of the owner.
static uint32_t firstMerged(const Registry& registry, const SlotRows& rows) {
  uint32_t first = NONE;
  for (const auto& parts : rows.parts)
    for (const RowPart& part : parts) {
      const EntryKind kind = registry.entries[part.entry].rowKind;
      if (kind != SECPOLICY_KIND && kind != SECPOLICYDATA_KIND) first = std::min(first, part.entry);
    }
  return first == NONE ? rows.opener : first;
}

// Nothing is written of a slot whose records cannot be made.
static void loseSlot(Accounting& accounting, RecordMaker& maker, const SlotRows& rows, uint64_t begin, Fates& fates) {
  accounting.missing.push_back({begin, 0});
  for (uint8_t kind = 0; kind < RESCREDS_KIND; ++kind)
    for (const RowPart& part : rows.parts[kind])
      loseEntry(accounting, loadedEntry(maker, part.entry), static_cast<EntryKind>(kind), fates);
}

// Finds what has become of the lines of an entry of a slot, and of the entry.
static EntryFate fateOf(const RecordMaker& maker, const LoadedEntry& entry, EntryKind kind, const MergedRow& row,
                        bool isThere, Side side, OwnerRecords& room) {
  EntryFate fate = {.begin = entry.begin, .lines = entry.lines, .origins = entry.origins, .fates = &room.fates};
  if (kind == SECPOLICYDATA_KIND) {
    room.fates.assign(entry.lines.size(), LEFT_OUT);
    fate.what = IS_LEFT_OUT;
    return fate;
  }
  const bool isPolicy = kind == SECPOLICY_KIND;
  if (isPolicy) {
    findFatesAlone(entry.lines, entry.origins, POLICY, true, room.fates);
  } else {
    findMergedFates(row, entry.origins, kind == ownKindOf(side), room.survivors, room.fates);
    absorbRenamed(*maker.file, entry, room.survivors, room.fates);
  }
  settleFates(room.fates, entry.lines, roadOf(kind), isThere);
  const SlotRecords& records = maker.records;
  fate.record = withoutLineEnd(isPolicy ? records.policyDn : records.newDn);
  fate.road = roadOf(kind);
  if (!isThere) return fate;
  fate.what = isPolicy ? IS_COPIED : IS_MERGED;
  fate.written = isPolicy ? records.policyLines : records.merged;
  fate.between = row.between;
  fate.sources = {maker.loaded.data(), maker.loadedCount};
  return fate;
}

static void takeRecords(Accounting& accounting, RecordMaker& maker, const SlotRows& rows, Side side,
                        OwnerRecords& room) {
  const Registry& registry = *maker.registry;
  // The very functions that the conversion uses make what it should have written.
  const SlotRecords& records = makeRecords(maker, side, rows);
  const uint64_t begin = registry.entries[firstMerged(registry, rows)].begin;
  if (records.problem != NO_DETAIL) {
    loseSlot(accounting, maker, rows, begin, room.fates);
    return;
  }
  putMerged(accounting, records);
  const bool isFound = find(accounting, side == USER_SIDE ? USER_RECORD : GROUP_RECORD, begin);
  // The container comes before the policy, and both are looked for even when the user's own record is missing: each
  // is a difference of its own.
  const bool isPolicyFound = rows.policyDn == NONE || findPolicy(accounting, records, maker.changetypeSeen,
                                                                 registry.entries[rows.policyDn].begin);
  if (!isFound) noteLongEntries(accounting, registry, rows, false);
  if (!isPolicyFound) noteLongEntries(accounting, registry, rows, true);
  accounting.newDns.compare(findNameChanges(maker, rows, side, accounting.sink), accounting.sink);
  findSurvivors(records, room.survivors);
  const bool withPolicyData = accounting.sink.wantsEntries() || !registry.isRegular;
  const auto takeEntry = [&](const LoadedEntry& entry, EntryKind kind, const MergedRow& row) {
    const bool isThere = kind == SECPOLICY_KIND ? isPolicyFound : isFound;
    tally(accounting, fateOf(maker, entry, kind, row, isThere, side, room));
  };
  forEachEntryOfSlot(maker, rows, side, withPolicyData, takeEntry);
}

// Returns how many there are of the kind with most.
static size_t sortByKind(const Registry& registry, const RegistryOwner& owner, EntriesByKind& byKind) {
  size_t most = 0;
  for (auto& entries : byKind) entries.clear();
  for (const uint32_t i : entriesOf(registry, owner)) {
    if (registry.entries[i].endsPreparation) continue;
    auto& entries = byKind[registry.entries[i].rowKind];
    entries.push_back(i);
    most = std::max(most, entries.size());
  }
  return most;
}

// Has the records of an owner made as a run gathers its entries: of each kind one at a time, in their order.
// Two entries of one kind never meet in a slot of a run that succeeds, so that the second ones make records of
// their own.
template <typename TakeLayer>
static void forEachLayer(const Registry& registry, const RegistryOwner& owner, OwnerRecords& room,
                         TakeLayer takeLayer) {
  const size_t layers = sortByKind(registry, owner, room.byKind);
  for (size_t layer = 0; layer < layers; ++layer) {
    clearRows(room.rows);
    for (const auto& entries : room.byKind)
      if (layer < entries.size()) addToRow(registry, entries[layer], room.rows);
    takeLayer(room.rows);
  }
}

// Entries that no owner has.
static void takeWithoutOwner(Accounting& accounting, RecordMaker& maker, Fates& fates) {
  const auto& entries = maker.registry->entries;
  for (uint32_t i = 0; i < entries.size(); ++i) {
    if (entries[i].owner != NONE || entries[i].kind == RESCREDS_KIND || entries[i].endsPreparation) continue;
    accounting.missing.push_back({entries[i].begin, 0});
    loseEntry(accounting, loadedAlone(maker, i), UNKNOWN_KIND, fates);
  }
}

// Has each entry of the resource credentials taken to which a run comes.
template <typename TakeEntry>
static void forEachCredential(RecordMaker& maker, TakeEntry takeEntry) {
  const auto& entries = maker.registry->entries;
  for (uint32_t i = 0; i < entries.size(); ++i)
    if (entries[i].kind == RESCREDS_KIND && !entries[i].endsPreparation) takeEntry(loadedAlone(maker, i));
}

static void announceIfOpen(Accounting& accounting) {
  const PiecedText record = recordOf(accounting);
  if (!endsWith(record, "\n\n")) announceOpenRecord(accounting.output, record);
}

// A record whose last line has been cut has no empty line behind it: the next one goes on there. It is parted from it
// before any is looked for.
// The conversion writes the empty line behind a record as a line of its own, and what a cut line lacks is its
// newline.
static void partRecords(Accounting& accounting, RecordMaker& maker, OwnerRecords& room) {
  const Registry& registry = *maker.registry;
  for (uint32_t i = 0; i < registry.owners.size(); ++i)
    forEachLayer(registry, registry.owners[i], room, [&](const SlotRows& rows) {
      const SlotRecords& records = makeRecords(maker, registry.owners[i].side, rows);
      if (records.problem != NO_DETAIL) return;
      putMerged(accounting, records);
      announceIfOpen(accounting);
      if (!records.hasPolicy) return;
      putPolicy(accounting, records);
      announceIfOpen(accounting);
    });
  forEachCredential(maker, [&](const LoadedEntry& entry) {
    putRecord(accounting, {}, entry.lines, REMAINING);
    announceIfOpen(accounting);
  });
  partOpenRecords(accounting.output);
}

// Names the first difference: a record of the output that should not be there, with the one that should, or one that is
// missing.
// What is in the output and should not be says more than what is missing: a changed record is both, and is shown
// with its entry.
static void findDifference(Accounting& accounting) {
  Difference& first = accounting.account.first;
  uint64_t maker = NO_PLACE;
  const uint64_t place = firstUnfound(accounting.output, maker);
  const auto missing =
      std::min_element(accounting.missing.begin(), accounting.missing.end(),
                       [](const MissingRecord& one, const MissingRecord& other) { return one.begin < other.begin; });
  SurveyedFile& file = *accounting.output.file;
  if (place != NO_RECORD) {
    const std::string_view record = recordAt(file, place);
    const uint64_t hash = hashOfFirstLine(onePiece(record));
    const auto pair = std::find_if(accounting.missing.begin(), accounting.missing.end(),
                                   [&](const MissingRecord& one) { return one.dnHash == hash; });
    const bool isPaired = pair != accounting.missing.end();
    first = {true, isPaired ? pair->begin : NO_PLACE, place, "The record is no part of a conversion of the input."};
    if (isPaired) {
      first.text = pair->isContainer ? "The record is not the container that the conversion puts before the policy."
                                     : "The record is not what the conversion makes of the entry.";
    } else if (maker != NO_PLACE) {
      first.text = "The record is there more often than it should be.";
      first.inputPlace = maker;
    } else if (missing != accounting.missing.end()) {
      first.inputPlace = missing->begin;
    }
  } else if (missing != accounting.missing.end()) {
    first = {true, missing->begin, NO_RECORD,
             missing->isContainer ? "The container that the conversion puts before the policy is missing."
                                  : "The record that the conversion makes of the entry is missing."};
  } else if (accounting.expectedBytes != file.size || (accounting.output.endsOpen && !accounting.output.mayEndOpen)) {
    // Where all are parted by one, there is more than there should be, or less, at the end.
    const uint64_t gap = std::min(accounting.output.firstGap, std::max<uint64_t>(file.size, 1) - 1);
    first = {true, NO_PLACE, gap, "The records are parted by other than one empty line."};
  }
}

// Which rows an entry runs on into depends on the slot counts, which the account does not know. Then it can only
// say that this may be the reason.
// An entry of just so many lines as its row has takes what stands in the next one into its own record; a longer one
// leaves its own as it should be, and writes over that of another.
// Returns true when there is such an entry.
static bool reportLongEntries(Accounting& accounting, FindingSink& sink) {
  const Registry& registry = accounting.account.registry;
  std::vector<uint32_t>& missing = accounting.longMissing;
  std::sort(missing.begin(), missing.end());
  bool isAny = false;
  for (uint32_t i = 0; i < registry.entries.size(); ++i) {
    const GatheredEntry& entry = registry.entries[i];
    if (entry.owner == NONE || entry.rowKind == SECPOLICYDATA_KIND || fitsRow(entry)) continue;
    if (entry.lines == rowLength(entry.rowKind) && !std::binary_search(missing.begin(), missing.end(), i)) continue;
    isAny = true;
    sink.take({ENTRY_IN_ANOTHER_ROW, AT_NONE, entry.begin});
  }
  return isAny;
}

void accountFor(SurveyedFile& file, SurveyedFile& again, OutputRecords& output, AccountSink& sink, Account& account) {
  Accounting accounting = {output, sink, account};
  CopiedEntries copied(accounting);
  account.outputLines = output.lines;
  account.counts = surveyInput(file, account.registry, copied);
  if (isMoreWritten(account.registry, account.counts)) copied.takeRecordsBehind();
  copied.takeOversizedAgain(file);
  if (account.registry.mayHoldNul) findNulsBehind(file, account.counts.entriesEnd, sink);
  RecordMaker maker(again, account.registry, account.counts.changetypeSeen);
  maker.areOriginsWanted = true;
  OwnerRecords room;
  if (account.registry.hasOpenLines) partRecords(accounting, maker, room);
  const auto& owners = account.registry.owners;
  EntryFetch fetch;
  for (size_t i = 0; i < owners.size(); ++i) {
    fetchAhead(fetch, again, account.registry, owners[i]);
    showSurveyProgress("records", i, owners.size());
    forEachLayer(account.registry, owners[i], room,
                 [&](const SlotRows& rows) { takeRecords(accounting, maker, rows, owners[i].side, room); });
  }
  forEachCredential(maker, [&](const LoadedEntry& entry) {
    takeCopiedEntry(accounting, entry.lines, entry.origins, REMAINING, entry.begin, room.fates);
  });
  if (!sink.wantsEntries() && account.registry.isRegular) account.lines[LEFT_OUT] = copied.policyDataLines();
  if (!account.registry.isRegular) takeWithoutOwner(accounting, maker, room.fates);
  findDifference(accounting);
  if (account.first.isAny && reportLongEntries(accounting, sink))
    account.first.text += " An entry with too many lines may have run on into the row of another one.";
}
