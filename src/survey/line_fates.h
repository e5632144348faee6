// What becomes of the lines of the input.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "rules/merge.h"
#include "survey/record.h"

enum LineFate : uint8_t {
  LEFT_OUT,                // its whole entry is not written
  ABSORBED,                // another entry of the record says the same: DN, object classes, equal lines
  RENAMED,                 // it is in the output with another name or value, as it has to
  KEPT,                    // it is in the output
  REPLACED,                // by a line of the same attribute with another value
  REPLACED_BY_SAME,        // by a line of the same attribute and value, in another spelling
  BOOKKEEPING,             // it belongs to the directory server, as its name says
  LOOKS_LIKE_BOOKKEEPING,  // it only holds such a name
  LOST,
  NUMBER_OF_FATES
};

// True when something is gone for good: neither in the output nor meant to be dropped.
inline bool isLoss(LineFate fate) { return fate == REPLACED || fate == LOOKS_LIKE_BOOKKEEPING || fate == LOST; }

// Of the lines of an entry, by their place.
using Fates = std::vector<LineFate>;

// The fate of a line that is dropped on a road.
LineFate fateOfDropped(const Line& line, Road road);

// How much two lines have in common.
enum Likeness : uint8_t { UNLIKE, SAME_NAME, SAME_VALUE, SAME_TEXT };

// Orders lines by so much of them.
int compareLines(const Line& one, const Line& other, Likeness likeness);

// Lines that are written, as one that is not is compared with them. Quick for any number of them.
class WrittenLines {
 public:
  void clear() { sorted_.clear(); }
  bool isEmpty() const { return sorted_.empty(); }
  void take(const Line& line) { sorted_.push_back(&line); }
  void sort();
  // The most that the line has in common with one of them.
  Likeness likenessOf(const Line& line) const;

 private:
  std::vector<const Line*> sorted_;  // by name, value and text
};

// The fate of a line that is dropped from an entry that is written alone.
LineFate fateAmong(const Line& line, const WrittenLines& others, Road road);
// Those of its lines that are lines of their own in the output.
WrittenLines stayingLines(Entry lines, Road road);

// True when a line that is written is one of its own in the output: it does not go on in the line before, nor reads as
// none.
inline bool isOwnLine(const Line& line) { return line.text[0] != ' ' && line.text[0] != '#' && line.contentLength > 0; }

// Tells of the lines of an entry that is written alone, one after the other, whether they are lines of their own in the
// output.
class OwnLines {
 public:
  explicit OwnLines(Road road) : road_(road) {}

  bool holds(const Line& line) {
    if (isDropped(line, road_)) return false;
    // The piece of a longer line has no line end where the piece behind it is dropped, and is joined by what follows.
    const bool isJoined = isOpen_;
    isOpen_ = line.text[line.length - 1] != '\n';
    return !isJoined && isOwnLine(line);
  }

 private:
  Road road_;
  bool isOpen_ = false;
};

// Calls take with the place and the fate of each line of such an entry that is dropped, or none of its own once it is
// written. Its first line is not looked at when it gets a new DN.
template <typename Take>
void forEachDroppedLine(Entry lines, Road road, bool getsNewDn, Take take) {
  const Entry rest = lines.subspan(getsNewDn ? 1 : 0);
  std::optional<WrittenLines> staying;  // most entries do not need them
  OwnLines own(road);
  for (const Line& line : rest) {
    if (own.holds(line)) continue;
    if (!staying) staying = stayingLines(rest, road);
    const LineFate fate = isDropped(line, road) ? fateAmong(line, *staying, road) : LOST;
    take(static_cast<size_t>(&line - lines.data()), fate);
  }
}

// Finds the fates of all lines of such an entry.
void findFatesAlone(Entry lines, std::span<const Origin> origins, Road road, bool getsNewDn, Fates& fates);

// Which lines are in the record of a user or a group: as lines of their own, and not as more of a line that has been
// cut and so has no line end.
struct RecordSurvivors {
  std::vector<const Line*> lines;
  std::vector<uint32_t> nameMarks;   // of these; different for most attributes
  std::vector<const Line*> byPlace;  // in the merged record; null for a line that is not in the output
  uint64_t endings = 0;              // Bloom filter: endingBits of their names
  WrittenLines sorted;               // where there are many; else none
};
// To be made of the records first.
void findSurvivors(const SlotRecords& records, RecordSurvivors& survivors);

// An entry that has been merged.
struct MergedRow {
  Entry lines;    // as the merge has left them
  Entry between;  // its result, as another merge has left it; without one empty
  bool isBase;    // the object classes of the record are its own
};

// In the record no line has become of one, nor stands for it.
constexpr uint64_t NO_PLACE_IN_RECORD = UINT64_MAX;
// Returns the place in the merged record of what a line has become, or of what stands for it, dropped or not. The
// entry between is as in MergedRow.
inline uint64_t placeInRecord(const Line* line, Entry between) {
  if (!isLeft(*line) && !between.empty()) line = between.data() + line->endings;
  return isLeft(*line) ? NO_PLACE_IN_RECORD : line->endings;
}

// Returns the line of the output that a line has become or that stands for it; null without one.
inline const Line* survivorOf(const Line& line, const MergedRow& row, const RecordSurvivors& survivors) {
  const uint64_t inRecord = placeInRecord(&line, row.between);
  return inRecord == NO_PLACE_IN_RECORD ? nullptr : survivors.byPlace.data()[inRecord];
}

// Returns the fate of a line that is not in the output; its survivor is a line that stands for it, or null.
LineFate fateOfMissing(const Line& line, const Line* survivor, const MergedRow& row, const RecordSurvivors& survivors);

// Calls take with the place and the fate of each line of an entry that is not in the output as it stands.
template <typename Take>
void forEachMissingLine(const MergedRow& row, const RecordSurvivors& survivors, Take take) {
  for (const Line& line : row.lines) {
    const Line* const survivor = survivorOf(line, row, survivors);
    // Merging moves lines and never changes them: the same text is the same line, and two equal lines are two.
    if (survivor != nullptr && survivor->text == line.text) continue;
    take(static_cast<size_t>(&line - row.lines.data()), fateOfMissing(line, survivor, row, survivors));
  }
}

// Finds the fates of all lines of an entry that has been merged.
void findMergedFates(const MergedRow& row, std::span<const Origin> origins, bool isOwnEntry,
                     const RecordSurvivors& survivors, Fates& fates);

// True when what stands in a row, and in those on which it runs on, begins with all of an entry.
bool beginsWithEntry(const Registry& registry, const std::vector<RowPart>& parts);

// Has each entry of a slot taken that stands there whole, with its kind and what the merge has made of it if it has
// been merged; policy data, which are in no record, only where they are wanted. Lines that an entry has taken from
// another one's row are none of its own.
template <typename TakeEntry>
void forEachEntryOfSlot(RecordMaker& maker, const SlotRows& rows, Side side, bool withPolicyData, TakeEntry takeEntry) {
  const bool isMergedTwice = !rows.parts[USERS_SECUSER_KIND].empty();
  const EntryKind baseKind = isMergedTwice ? USERS_SECUSER_KIND : ownKindOf(side);
  for (uint8_t kind = 0; kind < RESCREDS_KIND; ++kind) {
    const auto& parts = rows.parts[kind];
    if (!beginsWithEntry(*maker.registry, parts) || (kind == SECPOLICYDATA_KIND && !withPolicyData)) continue;
    const LoadedEntry& entry = loadedEntry(maker, parts[0].entry);
    // The lines of several rows have been put together.
    const Entry lines = parts.size() == 1 ? Entry(entry.lines) : Entry(maker.lines[kind]).first(entry.lines.size());
    const bool isPartial = isMergedTwice && kind != USERS_SECUSER_KIND;
    takeEntry(entry, static_cast<EntryKind>(kind),
              MergedRow{lines, isPartial ? maker.partial : Entry(), kind == baseKind});
  }
}
