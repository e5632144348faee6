#include "survey/line_fates.h"

#include <algorithm>
#include <cstring>

#include "rules/attribute.h"
#include "rules/known_names.h"
#include "rules/text.h"
#include "survey/spellings.h"

// Of the numbers that pairOf returns.
static constexpr uint32_t PAIRS = 1024;

// The dropped names, and one that the merge leaves out besides.
static bool isBookkeeping(const Line& line) {
  if (isNamed(line, "aclpropagate")) return true;
  return std::any_of(std::begin(droppedTexts), std::end(droppedTexts), [&](const DroppedText& dropped) {
    return (line.names & dropped.text.name) != 0 && isNamed(line, dropped.text.text.substr(0, dropped.text.colonAt));
  });
}

// Whether a dropped line is a loss depends on its name alone: bookkeeping has no use in the new directory, but a
// description that speaks of an access list has.
LineFate fateOfDropped(const Line& line, Road road) {
  constexpr uint32_t NAMES = namesOfDropped().names | nameBit("aclpropagate");
  static_assert(namesOfDropped().endings == 0, "all dropped names are known ones");
  if ((line.names & NAMES) == 0) return LOST;
  if (isBookkeeping(line)) return BOOKKEEPING;
  return isDropped(line, road) ? LOOKS_LIKE_BOOKKEEPING : LOST;
}

// A line that is in the output as it stood, or but for what has been changed in it on purpose.
static LineFate fateOfWritten(const Origin& origin) { return origin.isChanged ? RENAMED : KEPT; }

static int compareValues(const Line& one, const Line& other) {
  const auto behindName = [](const Line& line) {
    return line.content().substr(std::min<size_t>(ownName(line).size() + 1, line.contentLength));
  };
  return compareValues(behindName(one), behindName(other));
}

// Orders names without regard to case.
static int compareNames(const Line& one, const Line& other) {
  const std::string_view name = ownName(one);
  const std::string_view otherName = ownName(other);
  if (name.size() != otherName.size()) return name.size() < otherName.size() ? -1 : 1;
  const auto [at, otherAt] = std::mismatch(name.begin(), name.end(), otherName.begin(),
                                           [](char a, char b) { return lowered(a) == lowered(b); });
  if (at == name.end()) return 0;
  return lowered(*at) < lowered(*otherAt) ? -1 : 1;
}

int compareLines(const Line& one, const Line& other, Likeness likeness) {
  int order = compareNames(one, other);
  if (order == 0 && likeness >= SAME_VALUE) order = compareValues(one, other);
  if (order == 0 && likeness >= SAME_TEXT) order = one.content().compare(other.content());
  return order;
}

void WrittenLines::sort() {
  std::sort(sorted_.begin(), sorted_.end(),
            [](const Line* one, const Line* other) { return compareLines(*one, *other, SAME_TEXT) < 0; });
}

Likeness WrittenLines::likenessOf(const Line& line) const {
  auto found = sorted_.begin();
  Likeness most = UNLIKE;
  // Those with more in common stand behind the first with less.
  for (const Likeness likeness : {SAME_NAME, SAME_VALUE, SAME_TEXT}) {
    found = std::lower_bound(found, sorted_.end(), line, [&](const Line* one, const Line& other) {
      return compareLines(*one, other, likeness) < 0;
    });
    if (found == sorted_.end() || compareLines(**found, line, likeness) != 0) break;
    most = likeness;
  }
  return most;
}

WrittenLines stayingLines(Entry lines, Road road) {
  WrittenLines staying;
  OwnLines own(road);
  for (const Line& line : lines)
    if (own.holds(line)) staying.take(line);
  staying.sort();
  return staying;
}

LineFate fateAmong(const Line& line, const WrittenLines& others, Road road) {
  const Likeness likeness = others.likenessOf(line);
  if (likeness == SAME_NAME) return REPLACED;
  return likeness == SAME_VALUE ? REPLACED_BY_SAME : fateOfDropped(line, road);
}

void findFatesAlone(Entry lines, std::span<const Origin> origins, Road road, bool getsNewDn, Fates& fates) {
  fates.clear();
  for (const Origin& origin : origins) fates.push_back(fateOfWritten(origin));
  forEachDroppedLine(lines, road, getsNewDn, [&](size_t line, LineFate fate) { fates[line] = fate; });
  if (getsNewDn) fates[0] = RENAMED;
}

// The same for all spellings of an attribute's name: how long it is, and how it ends. Names of one character, and lines
// without a colon, look alike in that.
static uint32_t nameMarkOf(const Line& line) {
  const uint32_t colon = line.firstColon;
  const bool isShort = colon == NO_COLON || colon < 2;
  return colon * PAIRS + (isShort ? 0 : pairOf(line.text[colon - 2], line.text[colon - 1]));
}

static uint64_t endingOf(uint32_t nameMark) { return endingBit(nameMark % PAIRS); }

// So few lines are sooner looked at one by one than sorted.
static constexpr size_t MOST_UNSORTED = 256;

void findSurvivors(const SlotRecords& records, RecordSurvivors& survivors) {
  survivors.lines.clear();
  survivors.nameMarks.clear();
  survivors.byPlace.assign(1, nullptr);  // the new DN stands in the place of the first
  survivors.endings = 0;
  bool isOpen = false;
  for (const Line& line : Entry(records.merged).subspan(1)) {
    const Line* survivor = nullptr;
    if (!isDropped(line, MERGED)) {
      // A line without a line end, the piece of a longer one, is joined by the line behind it, which then is none in
      // the output.
      if (!isOpen) survivor = &line;
      isOpen = line.text[line.length - 1] != '\n';
    }
    survivors.byPlace.push_back(survivor);
    if (survivor == nullptr) continue;
    survivors.lines.push_back(survivor);
    survivors.nameMarks.push_back(nameMarkOf(line));
    survivors.endings |= endingOf(survivors.nameMarks.back());
  }
  survivors.sorted.clear();
  if (survivors.lines.size() <= MOST_UNSORTED) return;
  for (const Line* line : survivors.lines) survivors.sorted.take(*line);
  survivors.sorted.sort();
}

static bool isEqualLine(const Line& line, const Line& other) {
  return line.contentLength == other.contentLength && memcmp(line.text, other.text, line.contentLength) == 0;
}

static LineFate fateInRecord(const Line& line, const RecordSurvivors& survivors) {
  if (!survivors.sorted.isEmpty()) {
    const bool isThere = survivors.sorted.likenessOf(line) == SAME_TEXT;
    return isThere ? ABSORBED : fateAmong(line, survivors.sorted, MERGED);
  }
  LineFate fate = NUMBER_OF_FATES;
  const uint32_t mark = nameMarkOf(line);
  const std::span marks = survivors.nameMarks;
  if ((survivors.endings & endingOf(mark)) == 0) return fateOfDropped(line, MERGED);
  for (const uint32_t& other : marks) {
    if (other != mark) continue;
    const Line& survivor = *survivors.lines[static_cast<size_t>(&other - marks.data())];
    if (isEqualLine(line, survivor)) return ABSORBED;
    if (fate == REPLACED_BY_SAME || !isNamed(survivor, ownName(line))) continue;
    fate = compareValues(line, survivor) == 0 ? REPLACED_BY_SAME : REPLACED;
  }
  return fate == NUMBER_OF_FATES ? fateOfDropped(line, MERGED) : fate;
}

bool beginsWithEntry(const Registry& registry, const std::vector<RowPart>& parts) {
  uint32_t lines = 0;
  for (const RowPart& part : parts)
    if (part.entry == parts[0].entry && part.first == lines) lines += part.count;
  return !parts.empty() && lines == registry.entries[parts[0].entry].lines;
}

static bool isObjectClass(const Line& line) {
  constexpr uint32_t OBJECTCLASS = nameBit("objectclass");
  return (line.names & OBJECTCLASS) != 0 && isNamed(line, "objectclass");
}

// True when what stands for a line that would have been written is of another attribute, or is not written, or when
// nothing does: other values of its attribute are there in their own right, and taking them away would not bring it
// back.
static bool isPushedOut(const Line& line, const Line* survivor) {
  return survivor == nullptr ? !isDropped(line, MERGED) : !isNamed(*survivor, ownName(line));
}

LineFate fateOfMissing(const Line& line, const Line* survivor, const MergedRow& row, const RecordSurvivors& survivors) {
  if (&line == row.lines.data() || (!row.isBase && isObjectClass(line))) return ABSORBED;
  if (survivor != nullptr && isEqualLine(line, *survivor)) return ABSORBED;
  const LineFate fate = fateInRecord(line, survivors);
  return fate == REPLACED && isPushedOut(line, survivor) ? fateOfDropped(line, MERGED) : fate;
}

void findMergedFates(const MergedRow& row, std::span<const Origin> origins, bool isOwnEntry,
                     const RecordSurvivors& survivors, Fates& fates) {
  fates.clear();
  for (const Origin& origin : origins) fates.push_back(fateOfWritten(origin));
  forEachMissingLine(row, survivors, [&](size_t line, LineFate fate) { fates[line] = fate; });
  if (isOwnEntry) fates[0] = RENAMED;
}
