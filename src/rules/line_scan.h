// Finding the lines of a text and what is to be known of them, all in one look.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "rules/line.h"

// What is found in a block of 64 characters: a bit for each character, the first one's the lowest.
struct BlockMasks {
  uint64_t colons = 0;
  uint64_t newlines = 0;
  uint64_t returns = 0;
};

// A text that is looked through, block by block.
struct LineScan {
  const char* text = nullptr;
  size_t length = 0;
  size_t next = 0;   // where the next line begins
  size_t block = 0;  // where the block begins whose masks these are
  BlockMasks masks;  // without the lines that have been taken
};

// Looks a text through from its begin.
LineScan scanOf(std::string_view text);

// Takes the next line, or piece of a line that is longer than a line can be; at the end of the text what is left, and
// then lines of no length.
void takeLine(LineScan& scan, Line& line);

// Takes lines one after the other, as takeLine does but much faster, up to so many: up to and including one that begins
// with its line end, and so may be blank, and until one comes that may be blank in another way or a comment, or does
// not end within the text, or is longer than a line can be. Returns how many.
size_t takeOrdinaryLines(LineScan& scan, Line* lines, size_t room);

// Takes the lines of an entry's text, up to so many, without its comments. In a text that may hold NULs one ends a
// line, too, and does not belong to it. Returns how many; fewer when the text is at its end.
size_t takeEntryLines(LineScan& scan, bool mayHoldNul, Line* lines, size_t room);
