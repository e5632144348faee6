#include "rules/line_scan.h"

#include <algorithm>
#include <bit>

#include "rules/known_names.h"
#include "rules/places.h"

// As many as a number has bits: the places of a character in a block are the bits of one number.
constexpr size_t BLOCK_SIZE = 64;  // characters

static inline BlockMasks masksOfWhole(const char* block) {
  BlockMasks masks;
  for (size_t i = 0; i < BLOCK_SIZE; i += sizeof(TextPart)) {
    const TextPart part = partAt(block + i);
    masks.colons |= placesIn(part, ':') << i;
    masks.newlines |= placesIn(part, '\n') << i;
    masks.returns |= placesIn(part, '\r') << i;
  }
  return masks;
}

static BlockMasks behind(const BlockMasks& masks, size_t characters) {
  // A number must not be shifted by all of its bits.
  if (characters == BLOCK_SIZE) return {};
  return {masks.colons >> characters, masks.newlines >> characters, masks.returns >> characters};
}

static BlockMasks without(const BlockMasks& masks, uint64_t part) {
  return {masks.colons & ~part, masks.newlines & ~part, masks.returns & ~part};
}

// The masks of the last block of a text, which is read so that it ends where the text does: behind that nothing is
// found.
static BlockMasks masksOfLast(std::string_view text, size_t begin) {
  const size_t rest = text.size() - begin;
  if (text.size() >= BLOCK_SIZE) return behind(masksOfWhole(text.data() + text.size() - BLOCK_SIZE), BLOCK_SIZE - rest);
  // A text shorter than a block is copied, because the memory behind it may not be ours to read.
  char padded[BLOCK_SIZE] = {};
  std::copy_n(text.data() + begin, rest, padded);
  return masksOfWhole(padded);
}

static inline BlockMasks masksOf(std::string_view text, size_t begin) {
  return text.size() - begin >= BLOCK_SIZE ? masksOfWhole(text.data() + begin) : masksOfLast(text, begin);
}

// Makes the scan go on from a place.
static void goOnFrom(LineScan& scan, size_t place) {
  const size_t before = place % BLOCK_SIZE;
  scan.next = place;
  scan.block = place - before;
  scan.masks = without(masksOf({scan.text, scan.length}, scan.block), ~(~uint64_t{0} << before));
}

LineScan scanOf(std::string_view text) { return {text.data(), text.size(), 0, 0, masksOf(text, 0)}; }

static size_t firstOf(uint64_t places) { return static_cast<size_t>(std::countr_zero(places)); }

// Notes for a line what stands in a part of a block. behindBegin is how far behind the line's beginning the block
// begins; where it begins before the line, that number wraps around, and so does the sum.
static inline void noteFound(Line& line, const BlockMasks& masks, size_t behindBegin, uint64_t part) {
  for (uint64_t colons = masks.colons & part; colons != 0; colons &= colons - 1)
    noteColon(line, behindBegin + firstOf(colons));
  const uint64_t ends = (masks.returns | masks.newlines) & part;
  if (ends != 0) line.contentLength = std::min(line.contentLength, static_cast<uint32_t>(behindBegin + firstOf(ends)));
}

// The text is one line, whatever its length; a newline may stand in it.
Line scanLine(std::string_view text) {
  Line line;
  line.text = text.data();
  line.length = static_cast<uint32_t>(text.size());
  line.contentLength = line.length;
  for (size_t begin = 0; begin < text.size(); begin += BLOCK_SIZE)
    noteFound(line, masksOf(text, begin), begin, ~uint64_t{0});
  return line;
}

void takeLine(LineScan& scan, Line& line) {
  line = scanLine(nextLineIn({{scan.text + scan.next, scan.length - scan.next}, false}));
  goOnFrom(scan, scan.next + line.length);
}

// True when what begins here is neither a comment nor a line of blanks, as its first characters show.
static inline bool isOrdinary(std::string_view text, size_t begin) {
  if (begin >= text.size() || text.data()[begin] == '#') return false;
  return text.data()[begin] != ' ' || (begin + 1 < text.size() && text.data()[begin + 1] > ' ');
}

// What is known of the scan and of a line so far stays in registers from one line to the next.
size_t takeOrdinaryLines(LineScan& scan, Line* lines, size_t room) {
  const std::string_view text(scan.text, scan.length);
  size_t next = scan.next;
  size_t block = scan.block;
  BlockMasks masks = scan.masks;
  size_t taken = 0;
  for (bool goesOn = true; goesOn && taken < room && isOrdinary(text, next);) {
    Line line;
    line.text = text.data() + next;
    line.contentLength = UINT32_MAX;
    for (; masks.newlines == 0 && block + BLOCK_SIZE < text.size(); masks = masksOf(text, block)) {
      noteFound(line, masks, block - next, ~uint64_t{0});
      block += BLOCK_SIZE;
    }
    // All bits up to the first newline, that one included; every bit where there is none.
    const uint64_t upToEnd = masks.newlines ^ (masks.newlines - 1);
    noteFound(line, masks, block - next, upToEnd);
    line.length = static_cast<uint32_t>(block + firstOf(masks.newlines) + 1 - next);
    // A line that is not whole, or longer than lines are taken, is no ordinary one: the scan stays before it.
    if (masks.newlines == 0 || line.length > LONGEST_LINE) {
      goOnFrom(scan, next);
      return taken;
    }
    masks = without(masks, upToEnd);
    next += line.length;
    // An empty line ends the entry. It is handed out as the last one, for the caller to see.
    goesOn = line.contentLength > 0;
    lines[taken++] = line;
  }
  scan = {text.data(), text.size(), next, block, masks};
  return taken;
}

size_t takeEntryLines(LineScan& scan, bool mayHoldNul, Line* lines, size_t room) {
  size_t taken = 0;
  while (taken < room && scan.next < scan.length) {
    // A NUL cuts its line short, which the quick way does not look for.
    const size_t ordinary = mayHoldNul ? 0 : takeOrdinaryLines(scan, lines + taken, room - taken);
    taken += ordinary;
    if (ordinary > 0) continue;
    const std::string_view line = nextLineIn({{scan.text + scan.next, scan.length - scan.next}, mayHoldNul});
    if (line[0] != '#') lines[taken++] = scanLine(withoutNul(line));
    goOnFrom(scan, scan.next + line.size());
  }
  return taken;
}
