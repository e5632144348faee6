// What the first look at a file finds out about the lines of its entries, kept for the second: finding lines is a
// quarter of all the work, and they need little room.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "survey/entry_walk.h"

constexpr uint32_t NOT_KEPT = UINT32_MAX;

// What lines have in common that look alike, mostly those of one attribute and length: all that a Line says but where
// it stands, in its order.
struct LineShape {
  uint32_t length;
  uint32_t contentLength;
  uint32_t firstColon;
  uint32_t names;
  uint64_t endings;
};

struct KeptLines {
  static constexpr size_t BLOCK_SIZE = size_t{512} * 1024;  // numbers
  static constexpr size_t MOST_NUMBER = UINT16_MAX;

  size_t mostBlocks = 32;  // of a mebibyte each
  // For each line the number of its shape; before those of an entry, how many there are.
  std::vector<std::unique_ptr<uint16_t[]>> blocks;
  size_t used = BLOCK_SIZE;       // of the last block
  std::vector<LineShape> shapes;  // by their number; the first is none
  std::vector<uint16_t> places;   // hash table of the shapes' numbers
};

// Keeps the lines of an ordinary entry that have been read and not changed. Returns where they are; NOT_KEPT if there
// is no room for them, or comments stand between them.
uint32_t keepLines(KeptLines& kept, const ReadEntry& entry);

// Returns where the numbers of a place stand.
inline const uint16_t* keptIn(const KeptLines& kept, uint32_t place) {
  return kept.blocks[place / KeptLines::BLOCK_SIZE].get() + place % KeptLines::BLOCK_SIZE;
}

// Returns where the given one of the kept lines that continue no other begins, from the begin of the entry.
size_t placeOfKept(const KeptLines& kept, uint32_t place, std::string_view text, size_t line);

// Puts the lines that are kept in a place back into the entry, which begins where the text does: what reading it would
// have found.
void takeKeptLines(const KeptLines& kept, uint32_t place, std::string_view text, ReadEntry& entry);
