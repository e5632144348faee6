#include "check/prediction.h"

#include <algorithm>

#include "check/regular_records.h"
#include "rules/attribute.h"
#include "rules/first_line.h"
#include "survey/file_walk.h"
#include "survey/oversized_findings.h"

// Finds what is odd about the entries that are looked at first.
class EntryCheck final : public EntryVisitor {
 public:
  EntryCheck(FindingSink& findings, DnComparison& newDns, Prediction& prediction)
      : findings_(findings), newDns_(newDns), oversized_(newDns, findings), prediction_(prediction) {}

  void takeEntry(const ReadEntry& entry, const PreparedEntry& prepared, uint64_t begin) override {
    findChanges(entry, prepared, begin, findings_);
    dns_.take(entry, prepared, begin, findings_);
    prediction_.hasDn = dns_.isAny();
    if (entry.isOversized) oversized_.takeEntry(entry, prepared, begin, prediction_.hasDn);
    if (prepared.problem == NO_DETAIL) {
      if (kindOfWritten(prepared) != SECPOLICYDATA_KIND) findGoneLines(prepared, begin, findings_);
      return;
    }
    findings_.take({findingOf(prepared.problem), AT_GIVEN, begin});
    // It is in no registry, and the split must know of it.
    if (prepared.parts.empty()) prediction_.entriesThatEndPreparation.push_back(begin);
  }
  void takeCopied(Entry lines, std::span<const Origin> origins, Road road, uint64_t begin) override {
    newDns_.takeCopied(lines[0]);
    oversized_.takeRecord();
    forEachDroppedLine(lines, road, false, [&](size_t line, LineFate fate) {
      findLoss(fate, lines[line], road, origins[line], begin, findings_);
    });
  }
  void takeOversizedLine(const Line& line, OversizedLine what, uint64_t begin, uint64_t place) override {
    const bool isGone = isDropped(line, OVERSIZED);
    if (isGone && what != MORE_OF_LINE && fateOfDropped(line, OVERSIZED) == LOOKS_LIKE_BOOKKEEPING)
      findings_.take({LINE_LOOKS_LIKE_BOOKKEEPING, AT_NONE, begin, place});
    if (!isGone && what == JOINED_LINE) findings_.take({LINE_IS_LOST, AT_NONE, begin, place});
    oversized_.takeLine(line, what, place);
  }
  void endOversized(const ReadEntry& entry, uint64_t /*begin*/) override { oversized_.takeEnd(entry); }

  // What the passes write, and the resource credentials, follow all that has been looked at.
  void takeRecordsBehind() { oversized_.takeRecord(); }

 private:
  FindingSink& findings_;
  DnComparison& newDns_;
  OversizedFindings oversized_;
  DnWatch dns_;
  Prediction& prediction_;
};

// Where the entries begin that have a first line: the first two of them.
struct EntriesFound {
  uint64_t first = NO_PLACE;
  uint64_t second = NO_PLACE;
};

static void takeFirstLine(const ReadEntry& entry, FirstLine& first) {
  first.clear();
  append(first, entry.room[0].view());
  for (size_t i = 1; i < entry.count && isContinuation(entry.room[i]); ++i)
    append(first, entry.room[i].view().substr(1));
  trimEnd(first);
}

static EntriesFound findEntries(SurveyedFile& file, std::string_view firstLine) {
  static FirstLine wanted;
  static FirstLine found;
  EntriesFound entries;
  if (firstLine.empty()) return entries;
  // The message of a run names an entry by the first line that it has in the slot, which is not as it stands in the
  // input: the run looks for it there in the same way.
  normalise(wanted, firstLine);
  ReadEntry entry;
  walkEntries(file, entry, [&](EntryWalk& walk, uint64_t textBegin) {
    takeFirstLine(entry, found);
    const uint64_t begin = textBegin + entry.begin;
    Line line;
    while (entry.isOversized && takeOversizedLine(walk, entry, line)) {
    }
    if (isEqual(wanted, found)) (entries.first == NO_PLACE ? entries.first : entries.second) = begin;
    return entries.second == NO_PLACE;
  });
  return entries;
}

// The entry that the message names, as the run finds it.
// Of two entries with one first line the message means the later: the first one was there before it.
static uint64_t entryOfMessage(SurveyedFile& file, const RunFailure& failure) {
  const EntriesFound found = findEntries(file, failure.firstLine);
  if (failure.problem != DOUBLED) return found.first;
  static FirstLine one;
  static FirstLine other;
  normalise(one, failure.firstLine);
  normalise(other, failure.earlierFirstLine);
  return isEqual(one, other) && found.second != NO_PLACE ? found.second : found.first;
}

void predictRun(SurveyedFile& file, SurveyedFile& again, const int32_t (&slots)[2], FindingSink& findings,
                Prediction& prediction) {
  // Nothing else takes so much memory here that entries of usual length could not all be kept.
  prediction.registry.kept.mostBlocks = 60;
  prediction.inputBytes = file.size;
  DnComparison newDns;
  EntryCheck entryCheck(findings, newDns, prediction);
  prediction.counts = surveyInput(file, prediction.registry, entryCheck);
  if (prediction.registry.mayHoldNul) findNulsBehind(file, prediction.counts.entriesEnd, findings);
  const SurveyCounts& counts = prediction.counts;
  if (isMoreWritten(prediction.registry, counts)) entryCheck.takeRecordsBehind();
  for (const Side side : {USER_SIDE, GROUP_SIDE}) {
    // As many slots as there are owners make one pass, which is what an administrator with enough memory would choose.
    const auto owners = static_cast<int32_t>(std::min<uint32_t>(prediction.registry.ownersOf[side], INT32_MAX));
    prediction.slots[side] = slots[side] > 0 ? slots[side] : std::max(owners, 1);
  }
  RecordMaker maker(again, prediction.registry, counts.changetypeSeen);
  findLosers(prediction.registry, prediction.slots, maker);
  makeRegularRecords(prediction.registry, maker, newDns, findings);
  measureRest(maker);
  const PlayedRun played = playPasses(prediction.registry, prediction.slots, maker, newDns, findings);
  prediction.passes = played.passes;
  prediction.memory = played.memory;
  prediction.code = played.failure.code;
  prediction.outputBytes = counts.outputBytes + played.bytes + counts.finalBytes;
  if (counts.problem != NO_DETAIL) {
    prediction.endsInPreparation = true;
    prediction.code = PROCESSING_FAILED;
    prediction.failingEntry = counts.problemEntry;
    prediction.passes = 0;
  } else if (prediction.code != 0) {
    prediction.failingEntry = entryOfMessage(again, played.failure);
  }
}

void failAtOnce(Prediction& prediction, MessageCode code) {
  prediction.code = code;
  prediction.failingEntry = NO_PLACE;
  prediction.endsInPreparation = true;
  prediction.passes = 0;
}
