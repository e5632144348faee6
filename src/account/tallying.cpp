#include "account/tallying.h"

#include "survey/entry_findings.h"

PiecedText recordOf(const Accounting& accounting) { return {accounting.pieces, 0, accounting.size}; }

void beginRecord(Accounting& accounting) {
  accounting.pieces.clear();
  accounting.size = 0;
}

void addPiece(Accounting& accounting, std::string_view piece) {
  if (piece.empty()) return;
  accounting.pieces.push_back(piece);
  accounting.size += piece.size();
}

// The order of records depends on the slot counts, so that each is looked for by its bytes, wherever it stands.
// Their sum shows what is there besides.
bool find(Accounting& accounting, RecordKind kind, uint64_t begin, bool hasAddedDate) {
  // Counted whether it is there or not: the sum must be the size of the output.
  accounting.expectedBytes += accounting.size;
  if (findRecord(accounting.output, recordOf(accounting), begin, hasAddedDate)) {
    ++accounting.account.records[kind];
    return true;
  }
  accounting.missing.push_back({begin, hashOfFirstLine(recordOf(accounting)), kind == CONTAINER_RECORD});
  return false;
}

void putRecord(Accounting& accounting, std::string_view firstLine, Entry lines, Road road) {
  beginRecord(accounting);
  addPiece(accounting, firstLine);
  for (const Line& line : lines)
    if (!isDropped(line, road)) addPiece(accounting, line.view());
  addPiece(accounting, "\n");
}

static bool isCounted(const Origin& origin, uint32_t last) {
  return origin.line != NO_LINE && !origin.isPiece && origin.line != last;
}

int64_t attributeLinesOf(const PreparedEntry& prepared, const WorkEntry& part) {
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

void tally(Accounting& accounting, const EntryFate& entry) {
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

void settleFates(Fates& fates, Entry lines, Road road, bool isFound) {
  for (size_t i = 0; i < fates.size(); ++i) {
    const bool isWritten = fates[i] == KEPT || fates[i] == RENAMED;
    if (isWritten && !(isFound && isOwnLine(lines[i])))
      fates[i] = LOST;
    else if (!isFound)
      fates[i] = fateOfDropped(lines[i], road);
  }
}

void takeCopiedEntry(Accounting& accounting, Entry lines, std::span<const Origin> origins, Road road, uint64_t begin,
                     Fates& fates) {
  putRecord(accounting, {}, lines, road);
  // The registry's own entry has got the date of the run as its last line, and that date is not known here.
  const bool hasAddedDate = road == STRAIGHT_THROUGH && !origins.empty() && origins.back().line == NO_LINE;
  const bool isFound = find(accounting, road == REMAINING ? CREDENTIALS_RECORD : STRAIGHT_RECORD, begin, hasAddedDate);
  findFatesAlone(lines, origins, road, false, fates);
  settleFates(fates, lines, road, isFound);
  tally(accounting, {.begin = begin,
                     .what = isFound ? IS_COPIED : IS_MISSING,
                     .record = lines[0].content(),
                     .lines = lines,
                     .origins = origins,
                     .fates = &fates,
                     .written = lines,
                     .road = road});
}
