#include "account/accounting.h"

#include <algorithm>
#include <array>
#include <deque>

#include "rules/attribute.h"
#include "rules/line_scan.h"
#include "rules/policy_container.h"
#include "rules/text.h"
#include "survey/progress.h"
#include "survey/shown_place.h"

// A record that should be in the output and is not.
struct MissingRecord {
  uint64_t begin;  // of its first entry in the input
  uint64_t dnHash;
};

// An account while it is made.
struct Accounting {
  OutputRecords& output;
  AccountSink& sink;
  Account& account;
  std::deque<MissingRecord> missing = {};
  std::vector<uint32_t> longMissing = {};  // entries that fill their rows, or more, whose records are missing
  uint64_t expectedBytes = 0;
  uint64_t copiedBytes = 0;  // of those that the preparation writes
  DnComparison newDns = {};

  // A record as the conversion writes it, in the pieces in which its lines lie in memory.
  std::vector<std::string_view> pieces = {};
  size_t size = 0;  // bytes of them
};

static PiecedText recordOf(const Accounting& accounting) { return {accounting.pieces, 0, accounting.size}; }

static void beginRecord(Accounting& accounting) {
  accounting.pieces.clear();
  accounting.size = 0;
}

static void addPiece(Accounting& accounting, std::string_view piece) {
  if (piece.empty()) return;
  accounting.pieces.push_back(piece);
  accounting.size += piece.size();
}

// The order of records depends on the slot counts, so that each is looked for by its bytes, wherever it stands.
// Their sum shows what is there besides.
static bool find(Accounting& accounting, RecordKind kind, uint64_t begin, bool hasAddedDate = false) {
  // Counted whether it is there or not: the sum must be the size of the output.
  accounting.expectedBytes += accounting.size;
  if (findRecord(accounting.output, recordOf(accounting), begin, hasAddedDate)) {
    ++accounting.account.records[kind];
    return true;
  }
  accounting.missing.push_back({begin, hashOfFirstLine(recordOf(accounting))});
  return false;
}

// The first line, where it is not among the others, and those that are not dropped.
static void putRecord(Accounting& accounting, std::string_view firstLine, Entry lines, Road road) {
  beginRecord(accounting);
  addPiece(accounting, firstLine);
  for (const Line& line : lines)
    if (!isDropped(line, road)) addPiece(accounting, line.view());
  addPiece(accounting, "\n");
}

static bool isCounted(const Origin& origin, uint32_t last) {
  return origin.line != NO_LINE && !origin.isPiece && origin.line != last;
}

static int64_t attributeLinesOf(const PreparedEntry& prepared, const WorkEntry& part) {
  if (prepared.partLines.empty()) return prepared.attributeLines;
  int64_t lines = 0;
  uint32_t last = NO_LINE;
  for (const Origin& origin : originsOf(prepared, part)) {
    if (!isCounted(origin, last)) continue;
    last = origin.line;
    ++lines;
  }
  return lines;
}

// Counts the attribute lines of an entry and has those that are gone taken.
static void tally(Accounting& accounting, const EntryFate& entry) {
  uint32_t last = NO_LINE;
  // Pieces of one line follow one another, and the line counts once.
  for (size_t i = 0; i < entry.lines.size(); ++i) {
    const Origin& origin = entry.origins[i];
    if (!isCounted(origin, last)) continue;
    last = origin.line;
    const LineFate fate = (*entry.fates)[i];
    ++accounting.account.lines[fate];
    if (isLoss(fate)) accounting.sink.takeLoss(entry, i);
  }
  accounting.sink.takeEntry(entry);
}

// What a missing record would have held is lost, but for what is dropped anyway.
static void settleFates(Fates& fates, Entry lines, Road road, bool isFound) {
  for (size_t i = 0; i < fates.size(); ++i) {
    const bool isWritten = fates[i] == KEPT || fates[i] == RENAMED;
    if (isWritten && !(isFound && isOwnLine(lines[i])))
      fates[i] = LOST;
    else if (!isFound)
      fates[i] = fateOfDropped(lines[i], road);
  }
}

static void takeCopiedEntry(Accounting& accounting, Entry lines, std::span<const Origin> origins, Road road,
                            uint64_t begin, Fates& fates) {
  putRecord(accounting, {}, lines, road);
  // The registry's own entry has got the date of the run as its last line, and that date is not known here.
  const bool hasAddedDate = road == STRAIGHT_THROUGH && !origins.empty() && origins.back().line == NO_LINE;
  const bool isFound = find(accounting, road == REMAINING ? CREDENTIALS_RECORD : STRAIGHT_RECORD, begin, hasAddedDate);
  findFatesAlone(lines, origins, road, false, fates);
  settleFates(fates, lines, road, isFound);
  tally(accounting, {begin, isFound ? "copied" : "missing", lines[0].content(), lines, origins, &fates, lines, road});
}

class CopiedEntries final : public EntryVisitor {
 public:
  explicit CopiedEntries(Accounting& accounting) : accounting_(accounting) {}

  void takeEntry(const ReadEntry& entry, const PreparedEntry& prepared, uint64_t begin) override {
    findChanges(entry, prepared, begin, hasDn_, accounting_.sink);
    hasDn_ = hasDn_ || beginsWithDn(entry);
    const EntryKind kind = kindOfWritten(prepared);
    if (entry.isOversized || prepared.goesToOutput || kind == SECPOLICY_KIND || kind == RESCREDS_KIND)
      ++accounting_.account.copied;
    else if (kind == SECPOLICYDATA_KIND)
      ++accounting_.account.notWritten;
    else
      ++accounting_.account.merged;
    if (prepared.problem == NO_DETAIL) {
      for (const WorkEntry& part : prepared.parts)
        if (part.kind == SECPOLICYDATA_KIND) policyDataLines_ += attributeLinesOf(prepared, part);
      if (!prepared.goneLines.empty()) takeGoneLines(prepared, begin);
      return;
    }
    // The run ends with this entry, so that nothing of it can be in a complete output.
    takeFailed(prepared, begin);
    accounting_.missing.push_back({begin, 0});
  }

  void takeCopied(Entry lines, std::span<const Origin> origins, Road road, uint64_t begin) override {
    accounting_.newDns.takeCopied(lines[0]);
    if (road == REMAINING) return;  // their turn comes at the end, as in a run
    takeCopiedEntry(accounting_, lines, origins, road, begin, fates_);
    accounting_.copiedBytes += accounting_.size;
  }

  // Such an entry has its place in the output: where those before it end.
  // It is compared while it is read, since it may be longer than memory.
  void takeOversizedLine(const Line& line, OversizedLine what, uint64_t begin, uint64_t place) override {
    if (!isOversized_) beginOversized();
    const bool isGone = isDropped(line, OVERSIZED);
    if (what != MORE_OF_LINE && isGone) takeGone(line, fateOfDropped(line, OVERSIZED), begin, place);
    if (what == JOINED_LINE && !isGone) takeGone(line, LOST, begin, place);
    if (what == OWN_LINE && !isGone) ++kept_;
    if (isGone) return;
    // Where the entry should stand its lines are compared one by one, so that nothing of it is held.
    const std::string_view there =
        textFrom(*accounting_.output.file, std::min(at_, accounting_.output.file->size), line.length);
    if (there.substr(0, line.length) != line.view()) isSame_ = false;
    at_ += line.length;
  }

  void endOversized(const ReadEntry& entry, uint64_t begin) override {
    const bool hasEmptyLine = !entry.isEndedByText;
    findNuls(entry, begin, accounting_.sink);
    const uint64_t from = accounting_.copiedBytes;
    const uint64_t length = at_ - from + (hasEmptyLine ? 1 : 0);
    isOversized_ = false;
    accounting_.copiedBytes += length;
    accounting_.expectedBytes += length;
    // Where all lines are dropped only an empty one is left, which is no record.
    const bool isRecord = at_ > from;
    const bool isFound = isSame_ && (!isRecord || takeRecordAt(accounting_.output, from, at_));
    if (isFound && accounting_.copiedBytes == accounting_.output.file->size) accounting_.output.mayEndOpen = true;
    accounting_.account.lines[isFound ? KEPT : LOST] += kept_;
    if (!isFound)
      accounting_.missing.push_back({begin, 0});
    else if (isRecord)
      ++accounting_.account.records[STRAIGHT_RECORD];
  }

  int64_t policyDataLines() const { return policyDataLines_; }

 private:
  // Its lines are told as they have been read: what would be written of them, nobody knows.
  void takeFailed(const PreparedEntry& prepared, uint64_t begin) {
    EntryWalk walk = walkOver(prepared.text);
    ReadEntry entry;
    readEntry(walk, entry);
    Texts texts;
    std::vector<Line> lines;
    std::vector<Origin> origins;
    for (const Line& line : entry.lines()) {
      const auto place = static_cast<size_t>(line.text - prepared.text.data());
      const bool isMore = place > 0 && (isContinuation(line) || line.text[-1] != '\n');
      if (isMore) continue;
      const auto number = static_cast<int32_t>(&line - entry.room.data());
      lines.push_back(scanLine(unfold(entry.lines(), number, 0, texts).text));
      origins.push_back({place, static_cast<uint32_t>(origins.size()), false, false});
    }
    const Road road = prepared.goesToOutput ? STRAIGHT_THROUGH : MERGED;
    fates_.assign(lines.size(), LEFT_OUT);
    if (prepared.kind != SECPOLICYDATA_KIND) settleFates(fates_, lines, road, false);
    tally(accounting_, {begin, "missing", {}, lines, origins, &fates_, {}, road});
  }

  void takeGone(const Line& line, LineFate fate, uint64_t begin, uint64_t place) {
    const Origin origin = {static_cast<size_t>(place - begin), 0, false, false};
    fates_.assign(1, fate);
    tally(accounting_, {begin, "copied", {}, {&line, 1}, {&origin, 1}, &fates_, {}});
  }

  void takeGoneLines(const PreparedEntry& prepared, uint64_t begin) {
    const bool isPolicyData = kindOfWritten(prepared) == SECPOLICYDATA_KIND;
    if (isPolicyData) policyDataLines_ += static_cast<int64_t>(prepared.goneLines.size());
    std::vector<Line> lines;
    std::vector<Origin> origins;
    for (const size_t i : prepared.goneLines) {
      lines.push_back(prepared.lines[i]);
      origins.push_back(prepared.origins[i]);
    }
    fates_.assign(lines.size(), isPolicyData ? LEFT_OUT : LOST);
    tally(accounting_, {begin, "lines of it read as nothing once they are written", {}, lines, origins, &fates_, {}});
  }

  void beginOversized() {
    isOversized_ = isSame_ = true;
    at_ = accounting_.copiedBytes;
    kept_ = 0;
  }

  Accounting& accounting_;
  Fates fates_;
  int64_t policyDataLines_ = 0;  // those of a regular registry are not looked at again
  int64_t kept_ = 0;             // lines of the entry that is being copied
  bool hasDn_ = false;           // an entry has begun with one
  bool isOversized_ = false;
  bool isSame_ = true;
  uint64_t at_ = 0;
};

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
  tally(accounting, {entry.begin, "missing", {}, entry.lines, entry.origins, &fates});
}

// A line that is written with another name may be equal to one that stays, as it stood in the input.
static void absorbRenamed(RecordMaker& maker, const LoadedEntry& entry, const RecordSurvivors& survivors,
                          Fates& fates) {
  for (size_t i = 0; i < fates.size(); ++i) {
    if (fates[i] != REPLACED_BY_SAME || !entry.origins[i].isChanged) continue;
    const std::string before = wholeLineAt(*maker.file, entry.begin + entry.origins[i].place);
    for (const Line* survivor : survivors.lines)
      if (survivor->content() == before) fates[i] = ABSORBED;
  }
}

// Returns the first entry of those that the owner's record is made of; without any the first one of the owner.
static uint32_t firstMerged(const Registry& registry, const SlotRows& rows) {
  uint32_t first = NONE;
  for (const auto& parts : rows.parts)
    for (const RowPart& part : parts) {
      const uint8_t kind = registry.entries[part.entry].rowKind;
      if (kind != SECPOLICY_KIND && kind != SECPOLICYDATA_KIND) first = std::min(first, part.entry);
    }
  return first == NONE ? rows.opener : first;
}

static void takeRecords(Accounting& accounting, RecordMaker& maker, const SlotRows& rows, Side side,
                        OwnerRecords& room) {
  // The very functions that the conversion uses make what it should have written.
  const SlotRecords& records = makeRecords(maker, side, rows);
  const uint64_t begin = maker.registry->entries[firstMerged(*maker.registry, rows)].begin;
  if (records.problem != NO_DETAIL) {
    accounting.missing.push_back({begin, 0});
    for (uint8_t kind = 0; kind < RESCREDS_KIND; ++kind)
      for (const RowPart& part : rows.parts[kind])
        loseEntry(accounting, loadedEntry(maker, part.entry), static_cast<EntryKind>(kind), room.fates);
    return;
  }
  putMerged(accounting, records);
  const bool isFound = find(accounting, side == USER_SIDE ? USER_RECORD : GROUP_RECORD, begin);
  // The container comes before the policy, and both are looked for even when the user's own record is missing: each
  // is a difference of its own.
  const bool isPolicyFound = rows.policyDn == NONE || findPolicy(accounting, records, maker.changetypeSeen,
                                                                 maker.registry->entries[rows.policyDn].begin);
  if (!isFound) noteLongEntries(accounting, *maker.registry, rows, false);
  if (!isPolicyFound) noteLongEntries(accounting, *maker.registry, rows, true);
  accounting.newDns.compare(findNameChanges(maker, rows, side, accounting.sink), accounting.sink);
  findSurvivors(records, room.survivors);
  const bool withPolicyData = accounting.sink.wantsEntries() || !maker.registry->isRegular;
  const auto takeEntry = [&](const LoadedEntry& entry, EntryKind kind, const MergedRow& row) {
    if (kind == SECPOLICYDATA_KIND) {
      room.fates.assign(entry.lines.size(), LEFT_OUT);
      tally(accounting, {entry.begin, "not written", {}, entry.lines, entry.origins, &room.fates});
      return;
    }
    const bool isPolicy = kind == SECPOLICY_KIND;
    const bool isThere = isPolicy ? isPolicyFound : isFound;
    if (isPolicy)
      findFatesAlone(entry.lines, entry.origins, POLICY, true, room.fates);
    else
      findMergedFates(row, entry.origins, kind == ownKindOf(side), room.survivors, room.fates);
    if (!isPolicy) absorbRenamed(maker, entry, room.survivors, room.fates);
    settleFates(room.fates, entry.lines, roadOf(kind), isThere);
    const char* const whereFound = isPolicy ? "copied" : "merged";
    EntryFate fate = {entry.begin, isThere ? whereFound : "missing", {}, entry.lines, entry.origins, &room.fates};
    fate.record = withoutLineEnd(isPolicy ? records.policyDn : records.newDn);
    fate.road = roadOf(kind);
    if (isThere) {
      fate.written = isPolicy ? records.policyLines : records.merged;
      fate.between = row.between;
      fate.sources = {maker.loaded.data(), maker.loadedCount};
    }
    tally(accounting, fate);
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
      first.text = "The record is not what the conversion makes of the entry.";
    } else if (maker != NO_PLACE) {
      first.text = "The record is there more often than it should be.";
      first.inputPlace = maker;
    } else if (missing != accounting.missing.end()) {
      first.inputPlace = missing->begin;
    }
  } else if (missing != accounting.missing.end()) {
    first = {true, missing->begin, NO_RECORD, "The record that the conversion makes of the entry is missing."};
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
