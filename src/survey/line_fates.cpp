#include "survey/line_fates.h"

#include <algorithm>
#include <cstring>

#include "rules/attribute.h"
#include "rules/known_names.h"
#include "rules/text.h"

// The dropped names, and one that the merge leaves out besides.
static bool isBookkeeping(const Line& line) {
  if (isNamed(line, "aclpropagate")) return true;
  return std::any_of(std::begin(droppedTexts), std::end(droppedTexts), [&](const DroppedText& dropped) {
    return isNamed(line, dropped.text.text.substr(0, dropped.text.colonAt));
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

// True when the line is in the output but for what has been changed in it on purpose.
static LineFate fateOfWritten(const Origin& origin) { return origin.isChanged ? RENAMED : KEPT; }

// Blanks before a value do not count, as they do not in LDIF.
static std::string_view valueOf(const Line& line) {
  return behindSpaces(line.content().substr(std::min<size_t>(ownName(line).size() + 1, line.contentLength)));
}

static LineFate fateAmong(const Line& line, Entry lines, Road road) {
  LineFate fate = fateOfDropped(line, road);
  for (const Line& other : lines) {
    if (isDropped(other, road) || !isNamed(other, ownName(line))) continue;
    if (other.content() == line.content()) return ABSORBED;
    if (valueOf(other) == valueOf(line)) fate = REPLACED_BY_SAME;
    if (fate != REPLACED_BY_SAME) fate = REPLACED;
  }
  return fate;
}

void findFatesAlone(Entry lines, std::span<const Origin> origins, Road road, bool getsNewDn, Fates& fates) {
  fates.assign(lines.size(), KEPT);
  for (size_t i = 0; i < lines.size(); ++i) {
    fates[i] = fateOfWritten(origins[i]);
    if (i == 0 && getsNewDn)
      fates[i] = RENAMED;
    else if (isDropped(lines[i], road))
      fates[i] = fateAmong(lines[i], lines.subspan(getsNewDn ? 1 : 0), road);
    if (fates[i] == ABSORBED) fates[i] = fateOfDropped(lines[i], road);
  }
}

// Lines are told apart by where their text stands: merging moves lines and never changes them, and two equal lines
// are two.
static size_t placeOf(const RecordSurvivors& survivors, const char* text) {
  constexpr uint64_t FACTOR = 0x9E3779B97F4A7C15;
  constexpr unsigned BITS = 64;
  const auto mask = survivors.places.size() - 1;
  auto place = static_cast<size_t>(reinterpret_cast<uintptr_t>(text) * FACTOR >> (BITS / 2)) & mask;
  while (survivors.places[place] != nullptr && survivors.places[place] != text) place = (place + 1) & mask;
  return place;
}

void findSurvivors(const SlotRecords& records, RecordSurvivors& survivors) {
  size_t size = 64;
  while (size < records.merged.size() * 4) size *= 2;
  survivors.places.assign(size, nullptr);
  survivors.lines.clear();
  bool isOpen = false;
  // A line without a line end, the piece of a longer one, is joined by the line behind it, which then is none in the
  // output.
  for (const Line& line : Entry(records.merged).subspan(1)) {
    if (isDropped(line, MERGED)) continue;
    const bool isGlued = isOpen;
    isOpen = line.text[line.length - 1] != '\n';
    if (isGlued) continue;
    survivors.lines.push_back(&line);
    survivors.places[placeOf(survivors, line.text)] = line.text;
  }
}

static bool survives(const RecordSurvivors& survivors, const Line& line) {
  return survivors.places[placeOf(survivors, line.text)] != nullptr;
}

static bool isEqualLine(const Line& line, const Line& other) {
  return line.contentLength == other.contentLength && line.endings == other.endings &&
         memcmp(line.text, other.text, line.contentLength) == 0;
}

static LineFate fateOfMissing(const Line& line, const RecordSurvivors& survivors) {
  LineFate fate = NUMBER_OF_FATES;
  for (const Line* other : survivors.lines) {
    if (other->firstColon != line.firstColon) continue;
    if (isEqualLine(line, *other)) return ABSORBED;
    if (fate == REPLACED_BY_SAME || !isNamed(*other, ownName(line))) continue;
    fate = valueOf(*other) == valueOf(line) ? REPLACED_BY_SAME : REPLACED;
  }
  return fate == NUMBER_OF_FATES ? fateOfDropped(line, MERGED) : fate;
}

static bool isObjectClass(const Line& line) {
  constexpr uint32_t OBJECTCLASS = nameBit("objectclass");
  return (line.names & OBJECTCLASS) != 0 && isNamed(line, "objectclass");
}

void findMergedFates(const LoadedEntry& entry, const RecordSurvivors& survivors, bool isOwnEntry, bool isBase,
                     Fates& fates) {
  fates.assign(entry.lines.size(), KEPT);
  for (size_t i = 0; i < entry.lines.size(); ++i) {
    const Line& line = entry.lines[i];
    if (i == 0 && isOwnEntry)
      fates[i] = RENAMED;
    else if (survives(survivors, line))
      fates[i] = fateOfWritten(entry.origins[i]);
    else if (i == 0 || (!isBase && isObjectClass(line)))
      fates[i] = ABSORBED;
    else
      fates[i] = fateOfMissing(line, survivors);
  }
}
