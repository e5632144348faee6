// Finding the lines of a text and what is to be known of them, all in one look.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "rules/known_names.h"
#include "rules/line.h"

// A text that is looked through, in blocks of 64 characters. What is found in a block is a mask with a bit for each
// character, the first one's the lowest; those of lines that have been taken are cleared.
struct LineScan {
  const char* text = nullptr;
  size_t length = 0;
  size_t next = 0;   // where the next line begins
  size_t block = 0;  // where the block begins whose masks these are
  uint64_t colons = 0;
  uint64_t newlines = 0;
  uint64_t returns = 0;
};

constexpr size_t BLOCK_SIZE = 64;  // characters

// Looks a block through that begins here and does not reach beyond the text; and one that does.
void loadWholeBlock(LineScan& scan, const char* block);
void loadLastBlock(LineScan& scan, size_t begin);

[[gnu::always_inline]] inline void loadBlock(LineScan& scan, size_t begin) {
  scan.block = begin;
  if (scan.length - begin >= BLOCK_SIZE)
    loadWholeBlock(scan, scan.text + begin);
  else
    loadLastBlock(scan, begin);
}

inline LineScan scanOf(std::string_view text) {
  LineScan scan = {text.data(), text.size()};
  loadBlock(scan, 0);
  return scan;
}

inline size_t firstOf(uint64_t places) { return static_cast<size_t>(std::countr_zero(places)); }

// Takes a line that has no newline where a line can be no longer, or the text ends.
void takePiece(LineScan& scan, Line& line);

// Takes the next line, or piece of a line that is longer than a line can be; at the end of the text what is left, and
// then lines of no length. What is known is put where it stays: a line that is handed on as a value costs more time
// than it takes to find.
inline void takeLine(LineScan& scan, Line& line) {
  const char* const text = scan.text + scan.next;
  Line found;
  found.text = text;
  uint32_t content = UINT32_MAX;
  for (;; loadBlock(scan, scan.block + BLOCK_SIZE)) {
    const size_t begin =
        scan.block - scan.next;  // of the block, from the line's begin; wraps around where it is before
    const uint64_t newline = scan.newlines & -scan.newlines;
    const uint64_t before = newline - 1;  // all, where there is none
    for (uint64_t colons = scan.colons & before; colons != 0; colons &= colons - 1)
      noteColon(found, begin + firstOf(colons));
    const uint64_t ends = (scan.returns & before) | newline;
    if (ends != 0) content = std::min(content, static_cast<uint32_t>(begin + firstOf(ends)));
    if (newline != 0) {
      found.length = static_cast<uint32_t>(begin + firstOf(newline) + 1);
      found.contentLength = content;
      if (found.length > LONGEST_LINE) return takePiece(scan, line);
      scan.colons &= ~before;
      scan.returns &= ~before;
      scan.newlines ^= newline;
      scan.next += found.length;
      line = found;
      return;
    }
    if (scan.block + BLOCK_SIZE >= scan.length || begin + BLOCK_SIZE >= LONGEST_LINE) return takePiece(scan, line);
  }
}

// The same of a text in which a NUL ends a line, too; it does not belong to the line.
void takeLineOrPart(LineScan& scan, Line& line);

// Takes the next line of an entry's text that is no comment. Returns false behind the last.
inline bool takeEntryLine(LineScan& scan, bool mayHoldNul, Line& line) {
  while (scan.next < scan.length) {
    mayHoldNul ? takeLineOrPart(scan, line) : takeLine(scan, line);
    if (line.text[0] != '#') return true;
  }
  return false;
}
