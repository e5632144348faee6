#include "check/regular_records.h"

#include <algorithm>
#include <future>

#include "survey/entry_findings.h"
#include "survey/progress.h"

void fillRows(const Registry& registry, const RegistryOwner& owner, SlotRows& rows) {
  clearRows(rows);
  for (const uint32_t i : entriesOf(registry, owner)) addToRow(registry, i, rows);
}

uint32_t entryOf(const SlotRows& rows, const SlotRecords& records, Side side) {
  EntryKind kind = ownKindOf(side);
  if (records.missing != UNKNOWN_KIND) kind = records.present;
  if (records.subjectKind != UNKNOWN_KIND) kind = records.subjectKind;
  if (kind >= RESCREDS_KIND || rows.parts[kind].empty()) return rows.opener;
  return rows.parts[kind][0].entry;
}

RecordDn takeRecords(RecordMaker& maker, const SlotRows& rows, Side side, RecordSurvivors& survivors,
                     FindingSink& findings) {
  findSurvivors(maker.records, survivors);
  forEachEntryOfSlot(maker, rows, side, false, [&](const LoadedEntry& entry, EntryKind kind, const MergedRow& row) {
    const Road road = roadOf(kind);
    const auto takeFate = [&](size_t line, LineFate fate) {
      if (!isLoss(fate)) return;
      findLoss(fate, entry.lines[line], road, originOf(*maker.registry, entry, line), entry.begin, findings);
    };
    if (road == POLICY)
      forEachDroppedLine(entry.lines, POLICY, true, takeFate);
    else
      forEachMissingLine(row, survivors, takeFate);
  });
  return findNameChanges(maker, rows, side, findings);
}

void findSwallowed(RecordMaker& maker, uint32_t number, const RecordSurvivors& survivors, FindingSink& findings) {
  const LoadedEntry& entry = loadedEntry(maker, number);
  const Road road = roadOf(maker.registry->entries[number].rowKind);
  const MergedRow row = {entry.lines, {}, false};
  for (size_t i = 0; i < entry.lines.size(); ++i) {
    const Line& line = entry.lines[i];
    // Nothing is left of a policy's record; what others of a user say is in that of the user.
    const LineFate fate = road == POLICY ? fateOfDropped(line, road) : fateOfMissing(line, nullptr, row, survivors);
    if (!isLoss(fate)) continue;
    findLoss(fate, line, road, originOf(*maker.registry, entry, i), entry.begin, findings, LINE_IS_TAKEN);
  }
}

// What is found about owners and has to wait for what is found about others.
class WaitingFindings final : public FindingSink {
 public:
  void take(const Finding& finding) override { findings_.push_back(finding); }
  void take(const RecordDn& dn) { newDns_.push_back({dn, findings_.size()}); }
  // Has it taken in its order, and something done between findings.
  template <typename Meanwhile>
  void handOver(DnComparison& newDns, FindingSink& findings, Meanwhile meanwhile) {
    constexpr size_t AHEAD = 8;
    size_t next = 0;
    const auto takeUpTo = [&](size_t end) {
      for (; next < end; ++next) {
        meanwhile();
        findings.take(findings_[next]);
      }
    };
    for (size_t i = 0; i < newDns_.size(); ++i) {
      if (i + AHEAD < newDns_.size()) newDns.fetch(newDns_[i + AHEAD].dn);
      takeUpTo(newDns_[i].findingsBefore);
      newDns.compare(newDns_[i].dn, findings);
    }
    takeUpTo(findings_.size());
    findings_.clear();
    newDns_.clear();
  }

 private:
  struct WaitingDn {
    RecordDn dn;
    size_t findingsBefore;
  };

  std::vector<Finding> findings_;
  std::vector<WaitingDn> newDns_;
};

// Owners, one behind the other.
struct OwnerRange {
  size_t begin;
  size_t end;
};

// Makes records of one owner after the other, with room of its own.
struct RecordWorker {
  RecordMaker maker;
  RecordSurvivors survivors = {};
  SlotRows rows = {};
  WaitingFindings found = {};
};

// Has something done before each owner.
template <typename Meanwhile>
static void makeRecordsOf(RecordWorker& worker, const OwnerRange& range, Meanwhile meanwhile) {
  Registry& registry = *worker.maker.registry;
  EntryFetch fetch;
  for (size_t i = range.begin; i < range.end; ++i) {
    meanwhile();
    RegistryOwner& owner = registry.owners[i];
    fetchAhead(fetch, *worker.maker.file, registry, owner);
    if (!owner.isRegular || owner.isSpoilt) continue;
    fillRows(registry, owner, worker.rows);
    const SlotRecords& records = makeRecords(worker.maker, owner.side, worker.rows);
    owner.hasProblem = records.problem != NO_DETAIL;
    owner.bytes = static_cast<uint32_t>(records.bytes);
    // What is odd about them depends on what another entry takes of theirs.
    if (owner.losesEntry) continue;
    if (!owner.hasProblem) {
      worker.found.take(takeRecords(worker.maker, worker.rows, owner.side, worker.survivors, worker.found));
      continue;
    }
    const uint32_t entry = entryOf(worker.rows, records, owner.side);
    worker.found.take(Finding{findingOf(records.problem), AT_GIVEN, registry.entries[entry].begin});
  }
}

// Returns the owners behind those of a range, so many of them at most.
static OwnerRange rangeBehind(const Registry& registry, const OwnerRange& before, size_t most) {
  return {before.end, std::min(before.end + most, registry.owners.size())};
}

void makeRegularRecords(Registry& registry, RecordMaker& maker, DnComparison& newDns, FindingSink& findings) {
  constexpr size_t OWNERS_AT_ONCE = 2048;  // so that few findings have to wait
  RecordWorker workers[2] = {{RecordMaker(*maker.file, registry, maker.changetypeSeen)},
                             {RecordMaker(*maker.file, registry, maker.changetypeSeen)}};
  // Only a file that is in memory as a whole can be looked at in two places at once.
  const size_t ofSecond = canBeWhole(*maker.file) ? OWNERS_AT_ONCE : 0;
  OwnerRange first = {0, 0};
  OwnerRange second = {0, 0};
  while (second.end < registry.owners.size()) {
    first = rangeBehind(registry, second, OWNERS_AT_ONCE);
    second = rangeBehind(registry, first, ofSecond);
    // Where no thread can be had, the second half is made when it is waited for.
    auto half = std::async([&] { makeRecordsOf(workers[1], second, [] {}); });
    const auto showProgress = [&] { showSurveyProgress("records", first.begin, registry.owners.size()); };
    makeRecordsOf(workers[0], first, showProgress);
    half.get();
    for (RecordWorker& worker : workers) worker.found.handOver(newDns, findings, showProgress);
  }
  for (const RecordWorker& worker : workers) maker.measured.add(worker.maker.measured);
}
