// Finding the lines of a text and what is to be known of them, all in one look.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "rules/colon_names.h"
#include "rules/line.h"

// A text that is looked through, in blocks of 64 characters. What is found in a block is a mask with a bit for each
// character, the first one's the lowest.
struct LineScan {
  const char* text = nullptr;
  size_t length = 0;
  size_t next = 0;      // where the next line begins
  size_t blockEnd = 0;  // the masks are those of the block that ends here; 0 for none
  uint64_t colons = 0;  // of that block
  uint64_t newlines = 0;
  uint64_t returns = 0;
};

inline LineScan scanOf(std::string_view text) { return {text.data(), text.size()}; }

constexpr size_t BLOCK_SIZE = 64;  // characters

// Looks a block through that begins here.
void loadBlock(LineScan& scan, size_t begin);

inline size_t firstOf(uint64_t places) { return static_cast<size_t>(std::countr_zero(places)); }

// Looks for the line that begins at next, in one block after the other, up to its newline or the limit.
inline Line findLine(LineScan& scan, size_t limit) {
  const char* const text = scan.text + scan.next;
  Colons known;
  size_t content = limit;
  for (size_t from = scan.next; from < limit; from = scan.blockEnd) {
    if (from >= scan.blockEnd) loadBlock(scan, from - from % BLOCK_SIZE);
    const size_t begin = scan.blockEnd - BLOCK_SIZE;
    const uint64_t notBefore = ~uint64_t{0} << (from - begin);
    const uint64_t newlines = scan.newlines & notBefore;
    const uint64_t before = newlines == 0 ? notBefore : notBefore & ((newlines & -newlines) - 1);
    for (uint64_t colons = scan.colons & before; colons != 0; colons &= colons - 1)
      noteColon(known, text, begin + firstOf(colons) - scan.next);
    const uint64_t ends = (scan.returns & before) | newlines;
    if (ends != 0) content = std::min(content, begin + firstOf(ends));
    if (newlines == 0) continue;
    limit = std::min(limit, begin + firstOf(newlines) + 1);
    break;
  }
  const auto length = static_cast<uint32_t>(limit - scan.next);
  const auto contentLength = static_cast<uint32_t>(std::min(content - scan.next, size_t{length}));
  return {text, length, contentLength, known.first, known.names, known.endings};
}

// Returns the next line, or piece of a line that is longer than a line can be; at the end of the text what is left, and
// then lines of no length.
[[gnu::always_inline]] inline Line takeLine(LineScan& scan) {
  const size_t limit = std::min(scan.length, scan.next + LONGEST_LINE);
  Line line = findLine(scan, limit);
  scan.next += line.length;
  // A colon behind the end of a piece is the next one's.
  if (line.length == LONGEST_LINE && line.view().back() != '\n') line = scanLine(line.view());
  return line;
}

// The same of a text in which a NUL ends a line, too; it does not belong to the line.
Line takeLineOrPart(LineScan& scan);

// Hands the lines of an entry's text over, without its comments, until one of them is refused. Returns false then.
template <typename Takes>
bool forEachLine(const EntryText& entry, Takes takes) {
  LineScan scan = scanOf(entry.text);
  while (scan.next < scan.length) {
    const Line line = entry.mayHoldNul ? takeLineOrPart(scan) : takeLine(scan);
    if (line.text[0] != '#' && !takes(line)) return false;
  }
  return true;
}
