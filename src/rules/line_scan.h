// Finds the lines of a text and everything the rules ask about them, in one walk over the text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "rules/line.h"

// What is found in a block of 64 characters: one bit for each, the lowest for the first.
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

// Begins a scan at the beginning of a text.
LineScan scanOf(std::string_view text);

// Takes the next line, or piece of a line that is longer than a line can be; at the end of the text what is left, and
// then lines of no length.
void takeLine(LineScan& scan, Line& line);

// Takes lines one after the other, as takeLine does but much faster, until there is no more room. Stops behind a line
// that begins with its line end, and so may be blank, and before one that may be blank in another way, is a comment,
// does not end within the text, or is longer than a line can be. Returns how many it has taken.
size_t takeOrdinaryLines(LineScan& scan, Line* lines, size_t room);

// Takes the lines of an entry's text, as many as there is room for, without its comments. In a text that may hold NULs,
// a NUL ends a line, too, and does not belong to it. Returns how many it has taken: fewer at the end of the text.
size_t takeEntryLines(LineScan& scan, bool mayHoldNul, Line* lines, size_t room);
