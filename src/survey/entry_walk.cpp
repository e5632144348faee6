#include "survey/entry_walk.h"

#include <algorithm>

#include "rules/attribute.h"
#include "rules/text.h"

// So many lines are looked at in one go: few enough to stay in the quickest cache, enough for most entries.
static constexpr size_t LINES_AT_ONCE = 64;

EntryWalk walkOver(std::string_view text) { return {.text = text, .scan = scanOf(text)}; }

// True when the lines that are taken at once can hold one. Searched in steps that are read soon after.
static bool isNulNear(EntryWalk& walk) {
  constexpr size_t STEP = size_t{64} * 1024;
  // The search runs a little ahead of the reading, which then finds the text in the cache.
  const size_t wanted = std::min(walk.scan.next + LINES_AT_ONCE * LONGEST_LINE, walk.text.size());
  if (walk.nul != std::string_view::npos && walk.nul < walk.scan.next) {
    walk.nul = std::string_view::npos;
    walk.searched = walk.scan.next;
  }
  while (walk.nul == std::string_view::npos && walk.searched < wanted) {
    const size_t place = walk.text.substr(walk.searched, STEP).find('\0');
    if (place != std::string_view::npos) walk.nul = walk.searched + place;
    walk.searched = std::min(walk.searched + STEP, walk.text.size());
  }
  walk.hasMetNul = walk.hasMetNul || walk.nul != std::string_view::npos;
  return walk.nul < wanted;
}

static bool isCut(const Line& line) { return line.length == LONGEST_LINE && line.text[line.length - 1] != '\n'; }

static void noteLongLine(ReadEntry& entry, size_t place) {
  if (!entry.hasLongLine) entry.longLine = place;
  entry.hasLongLine = true;
}

// Takes the next line, whatever it is, up to its NUL. Returns false at the end of the text.
static bool takeAnyLine(EntryWalk& walk, ReadEntry& entry, Line& line) {
  const bool mayHoldNul = isNulNear(walk);
  takeLine(walk.scan, line);
  if (line.length == 0) return false;
  walk.isInLine = isCut(line);
  if (isCut(line) && walk.scan.next < walk.text.size())
    noteLongLine(entry, static_cast<size_t>(line.text - walk.text.data()));
  if (!mayHoldNul || walk.nul >= walk.scan.next) return true;
  // Strings of the tool end at a NUL, so that what stands behind it on its line is never seen.
  line = scanLine(line.view().substr(0, line.view().find('\0')));
  const bool isPiece = entry.count > 0 && line.text[-1] != '\n';
  entry.nuls.push_back(static_cast<size_t>((isPiece ? entry.room[0] : line).text - walk.text.data()));
  return true;
}

static void makeRoom(ReadEntry& entry) {
  if (entry.room.size() < entry.count + LINES_AT_ONCE + 1)
    entry.room.resize(std::max(entry.count + LINES_AT_ONCE + 1, entry.room.size() * 2));
}

// Takes the lines that come and can be taken as they stand. Returns true when a blank one behind the others ends the
// entry.
static bool takeOrdinary(EntryWalk& walk, ReadEntry& entry, size_t& taken) {
  Line* const lines = entry.room.data() + entry.count;
  taken = takeOrdinaryLines(walk.scan, lines, std::min(LINES_AT_ONCE, OBJECT_ARRAY_SIZE - entry.count));
  entry.count += taken;
  // Only the last one taken can be blank: the scan stops behind it.
  if (taken == 0 || !isBlankLine(lines[taken - 1].view())) return false;
  --entry.count;
  if (entry.count == 0) entry.heldFrom = walk.scan.next;
  return entry.count > 0;
}

static void beginEntry(const EntryWalk& walk, ReadEntry& entry) {
  entry.count = 0;
  entry.heldFrom = walk.scan.next;
  entry.isEndedByText = entry.isOversized = entry.hasLongLine = false;
  entry.nuls.clear();
  entry.hasFoldedComment = false;
}

// Most entries are ordinary: what can be odd about a line is asked of them once.
static void findTraits(ReadEntry& entry) {
  const Line* const first = entry.room.data();
  const Line* own = first;  // the last line that continues no other
  uint32_t names = 0;
  uint32_t longest = 0;
  uint32_t longestEnd = 0;
  bool mayFoldName = false;
  bool areOpen = false;
  const bool areOdd = entry.hasFoldedComment || (entry.count > 0 && isContinuation(*first));
  uint32_t continuations = 0;
  for (const Line& line : entry.lines()) {
    names |= line.names;
    longest = std::max(longest, line.length);
    longestEnd = std::max(longestEnd, line.length - line.contentLength);
    areOpen |= line.text[line.length - 1] != '\n';
    if (line.text[0] != ' ') {
      own = &line;
      continue;
    }
    ++continuations;
    mayFoldName |= own != first && (own->names != 0 || line.firstColon != NO_COLON);
  }
  entry.names = names;
  entry.continuations = continuations;
  entry.isOrdinary = !areOdd && !areOpen && !entry.hasLongLine && longest < LONGEST_LINE && longestEnd <= 2;
  entry.hasReturns = longestEnd == 2;
  entry.mayFoldName = mayFoldName;
}

static bool finish(const EntryWalk& walk, ReadEntry& entry) {
  findTraits(entry);
  entry.end = walk.scan.next;
  if (entry.count > 0) entry.begin = static_cast<size_t>(entry.room[0].text - walk.text.data());
  return entry.count > 0;
}

// Takes the next line and notes what is odd about it. Returns false at the end of the text.
static bool takeNotedLine(EntryWalk& walk, ReadEntry& entry, Line& line, bool& isBehindComment) {
  const size_t nuls = entry.nuls.size();
  const bool hadLongLine = entry.hasLongLine;
  const bool isRestOfComment = isBehindComment && walk.isInLine;
  if (!takeAnyLine(walk, entry, line)) return false;
  // Of the NULs in front of an entry one is enough to tell of: there may be one on every line.
  if (entry.count == 0 && entry.nuls.size() > 1) entry.nuls.resize(1);
  const bool isBlank = isBlankLine(line.view());
  const bool isComment = line.text[0] == '#';
  // A long comment does no harm itself; what is left of it is taken for a line, or ends the entry.
  if (isRestOfComment && !isComment && (!isBlank || entry.count > 0) && !entry.hasLongLine) {
    const auto place = static_cast<size_t>(line.text - walk.text.data());
    noteLongLine(entry, walk.text.rfind('\n', place - 1) + 1);
  }
  if (isBlank) return true;
  if (isComment) {
    entry.nuls.resize(nuls);
    entry.hasLongLine = hadLongLine;
  }
  // A comment cannot be folded here: what continues it is taken for more of the line before the comment.
  if (isBehindComment && isContinuation(line)) entry.hasFoldedComment = true;
  isBehindComment = isComment || (isBehindComment && isContinuation(line));
  return true;
}

// Reads a line that needs a look. Returns true when the entry ends there.
static bool readOddLine(EntryWalk& walk, ReadEntry& entry, bool& isBehindComment) {
  const Line& line = entry.room[entry.count];
  if (!takeNotedLine(walk, entry, entry.room[entry.count], isBehindComment)) {
    entry.isEndedByText = true;
    return true;
  }
  if (isBlankLine(line.view())) {
    if (entry.count == 0) entry.heldFrom = walk.scan.next;
    return entry.count > 0;
  }
  if (line.text[0] != '#') ++entry.count;
  return false;
}

bool readEntry(EntryWalk& walk, ReadEntry& entry) {
  beginEntry(walk, entry);
  for (bool isBehindComment = false;;) {
    makeRoom(entry);
    size_t taken = 0;
    // The quick way would look for the end of a long line anew for each piece of it.
    const bool mayBeOrdinary = !isNulNear(walk) && !isBehindComment && !walk.isInLine;
    if (mayBeOrdinary && takeOrdinary(walk, entry, taken)) return finish(walk, entry);
    if (taken == 0 && readOddLine(walk, entry, isBehindComment)) return finish(walk, entry);
    if (entry.count == OBJECT_ARRAY_SIZE) {
      entry.isOversized = true;
      return finish(walk, entry);
    }
  }
}

bool takeOversizedLine(EntryWalk& walk, ReadEntry& entry, Line& line) {
  for (bool isBehindComment = false;;) {
    entry.isEndedByText = !takeNotedLine(walk, entry, line, isBehindComment);
    entry.end = walk.scan.next;
    if (entry.isEndedByText || isBlankLine(line.view())) return false;
    if (line.text[0] != '#') return true;
  }
}
