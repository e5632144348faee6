#include "account/copied_entries.h"

#include <algorithm>

#include "rules/attribute.h"

void CopiedEntries::takeEntry(const ReadEntry& entry, const PreparedEntry& prepared, uint64_t begin) {
  findChanges(entry, prepared, begin, accounting_.sink);
  dns_.take(entry, prepared, begin, accounting_.sink);
  if (entry.isOversized) oversized_.takeEntry(entry, prepared, begin, dns_.isAny());
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

void CopiedEntries::takeCopied(Entry lines, std::span<const Origin> origins, Road road, uint64_t begin) {
  accounting_.newDns.takeCopied(lines[0]);
  oversized_.takeRecord();
  if (road == REMAINING) return;  // their turn comes at the end, as in a run
  takeCopiedEntry(accounting_, lines, origins, road, begin, fates_);
  accounting_.copiedBytes += accounting_.size;
}

// Such an entry has its place in the output: where those before it end.
// It is compared while it is read, since it may be longer than memory.
void CopiedEntries::takeOversizedLine(const Line& line, OversizedLine what, uint64_t /*begin*/, uint64_t place) {
  oversized_.takeLine(line, what, place);
  if (!isOversized_) beginOversized();
  const bool isGone = isDropped(line, OVERSIZED);
  if (what == OWN_LINE && !isGone)
    ++kept_;
  else if (what != MORE_OF_LINE)
    isAnyGone_ = true;
  if (isGone) return;
  // Where the entry should stand its lines are compared one by one, so that nothing of it is held.
  const std::string_view there =
      textFrom(*accounting_.output.file, std::min(at_, accounting_.output.file->size), line.length);
  if (there.substr(0, line.length) != line.view()) isSame_ = false;
  at_ += line.length;
}

void CopiedEntries::endOversized(const ReadEntry& entry, uint64_t begin) {
  const bool hasEmptyLine = !entry.isEndedByText;
  oversized_.takeEnd(entry);
  const uint64_t from = accounting_.copiedBytes;
  const uint64_t length = at_ - from + (hasEmptyLine ? 1 : 0);
  isOversized_ = false;
  accounting_.copiedBytes += length;
  accounting_.expectedBytes += length;
  // Where all lines are dropped only an empty one is left, which is no record.
  const bool isRecord = at_ > from;
  const bool isFound = isSame_ && (!isRecord || takeRecordAt(accounting_.output, from, at_, hasEmptyLine));
  if (isFound && accounting_.copiedBytes == accounting_.output.file->size) accounting_.output.mayEndOpen = true;
  // Without a newline its last line and the first one of the record behind it are one, and count as the two they were.
  const bool isBehindLine = isFound && isRecord && !hasEmptyLine && at_ < accounting_.output.file->size &&
                            textFrom(*accounting_.output.file, at_ - 1, 1)[0] != '\n';
  if (isBehindLine) ++accounting_.account.outputLines;
  if (isFound && !isAnyGone_ && !accounting_.sink.wantsEntries())
    accounting_.account.lines[KEPT] += kept_;
  else
    again_.push_back({begin, isFound});
  if (!isFound)
    accounting_.missing.push_back({begin, 0});
  else if (isRecord)
    ++accounting_.account.records[STRAIGHT_RECORD];
}

// Its lines are told as they have been read: what would be written of them, nobody knows.
void CopiedEntries::takeFailed(const PreparedEntry& prepared, uint64_t begin) {
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
  tally(accounting_, {.begin = begin, .lines = lines, .origins = origins, .fates = &fates_, .road = road});
}

void CopiedEntries::takeGoneLines(const PreparedEntry& prepared, uint64_t begin) {
  const bool isPolicyData = kindOfWritten(prepared) == SECPOLICYDATA_KIND;
  if (isPolicyData) policyDataLines_ += static_cast<int64_t>(prepared.goneLines.size());
  std::vector<Line> lines;
  std::vector<Origin> origins;
  for (const size_t i : prepared.goneLines) {
    lines.push_back(prepared.lines[i]);
    origins.push_back(prepared.origins[i]);
  }
  fates_.assign(lines.size(), isPolicyData ? LEFT_OUT : LOST);
  tally(accounting_, {.begin = begin, .what = HAS_GONE_LINES, .lines = lines, .origins = origins, .fates = &fates_});
}

void CopiedEntries::beginOversized() {
  isOversized_ = isSame_ = true;
  at_ = accounting_.copiedBytes;
  kept_ = 0;
  isAnyGone_ = false;
}

namespace {

// Accounts for the lines of an entry one by one.
class OversizedLines final : public EntryVisitor {
 public:
  OversizedLines(Accounting& accounting, bool isFound) : accounting_(accounting), isFound_(isFound) {}

  void takeEntry(const ReadEntry& /*entry*/, const PreparedEntry& /*prepared*/, uint64_t /*begin*/) override {}
  void takeCopied(Entry /*lines*/, std::span<const Origin> /*origins*/, Road /*road*/, uint64_t /*begin*/) override {}
  void endOversized(const ReadEntry& /*entry*/, uint64_t /*begin*/) override {}

  void takeOversizedLine(const Line& line, OversizedLine what, uint64_t begin, uint64_t place) override {
    if (what == MORE_OF_LINE) return;
    const Origin origin = {static_cast<size_t>(place - begin), 0, false, false};
    fates_.assign(1, isFound_ && what == OWN_LINE ? KEPT : LOST);
    if (isDropped(line, OVERSIZED)) fates_[0] = fateOfDropped(line, OVERSIZED);
    tally(accounting_, {.begin = begin,
                        .what = isFound_ ? IS_COPIED : IS_MISSING,
                        .lines = {&line, 1},
                        .origins = {&origin, 1},
                        .fates = &fates_,
                        .road = OVERSIZED});
  }

 private:
  Accounting& accounting_;
  bool isFound_;
  Fates fates_;
};

}  // namespace

void CopiedEntries::takeOversizedAgain(SurveyedFile& file) {
  for (const OversizedEntry& entry : again_) {
    OversizedLines lines(accounting_, entry.isFound);
    surveyOversized(file, entry.begin, lines);
  }
}
