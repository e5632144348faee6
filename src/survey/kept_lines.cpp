#include "survey/kept_lines.h"

#include <algorithm>
#include <array>
#include <bit>

static LineShape shapeOf(const Line& line) {
  return {line.length, line.contentLength, line.firstColon, line.names, line.endings};
}

// Of a shape, to be hashed and compared in few steps.
using Words = std::array<uint64_t, sizeof(LineShape) / sizeof(uint64_t)>;
static Words wordsOf(const LineShape& shape) { return std::bit_cast<Words>(shape); }

// All is compared at once: a comparison that ends with the first difference is slower.
static bool areSame(const LineShape& one, const LineShape& other) {
  const auto [lengths, names, endings] = wordsOf(one);
  const auto [otherLengths, otherNames, otherEndings] = wordsOf(other);
  return ((lengths ^ otherLengths) | (names ^ otherNames) | (endings ^ otherEndings)) == 0;
}

// Returns where in the hash table a search for the shape begins.
static size_t firstPlace(const LineShape& shape) {
  constexpr uint64_t FACTOR = 0x9E3779B97F4A7C15;
  constexpr unsigned HALF = 32;
  const auto [lengths, names, endings] = wordsOf(shape);
  return static_cast<size_t>(((endings ^ names) * FACTOR ^ lengths) * FACTOR >> HALF) & KeptLines::MOST_NUMBER;
}

// Returns the number of the shape, from 1 on, which may be a new one; 0 when there is no more room for it.
// Shapes are few, some dozens for each attribute, so that one is hardly ever searched for long. Whoever makes them
// many, or of one place in the table, has no more lines kept, and that is all.
static uint32_t numberOf(KeptLines& kept, const LineShape& shape) {
  constexpr int MOST_TRIES = 16;
  size_t place = firstPlace(shape);
  for (int tries = 0; tries < MOST_TRIES; ++tries, place = (place + 1) & KeptLines::MOST_NUMBER) {
    uint16_t& number = kept.places[place];
    if (number == 0 && kept.shapes.size() <= KeptLines::MOST_NUMBER) {
      number = static_cast<uint16_t>(kept.shapes.size());
      kept.shapes.push_back(shape);
    }
    if (number != 0 && areSame(kept.shapes[number], shape)) return number;
  }
  return 0;
}

// Returns room for an entry of so many lines, or null. An entry lies in one block.
static uint16_t* findRoom(KeptLines& kept, size_t lines) {
  if (lines > KeptLines::MOST_NUMBER) return nullptr;
  if (kept.used + lines + 1 > KeptLines::BLOCK_SIZE) {
    if (kept.blocks.size() == kept.mostBlocks) return nullptr;
    kept.blocks.push_back(std::make_unique_for_overwrite<uint16_t[]>(KeptLines::BLOCK_SIZE));
    kept.used = 0;
  }
  return kept.blocks.back().get() + kept.used;
}

uint32_t keepLines(KeptLines& kept, const ReadEntry& entry) {
  uint16_t* const room = findRoom(kept, entry.count);
  if (room == nullptr) return NOT_KEPT;
  if (kept.places.empty()) {
    kept.places.resize(KeptLines::MOST_NUMBER + 1);
    kept.shapes.resize(1);
  }
  const char* expected = entry.room[0].text;
  uint16_t* next = room;
  *next++ = static_cast<uint16_t>(entry.count);
  const uint16_t* const places = kept.places.data();
  const LineShape* shapes = kept.shapes.data();
  for (const Line& line : entry.lines()) {
    if (line.text != expected) return NOT_KEPT;
    const LineShape shape = shapeOf(line);
    // Mostly it is there, and where it is looked for first.
    uint32_t number = places[firstPlace(shape)];
    if (number == 0 || !areSame(shapes[number], shape)) {
      number = numberOf(kept, shape);
      shapes = kept.shapes.data();
      if (number == 0) return NOT_KEPT;
    }
    *next++ = static_cast<uint16_t>(number);
    expected += line.length;
  }
  const size_t place = (kept.blocks.size() - 1) * KeptLines::BLOCK_SIZE + kept.used;
  kept.used += entry.count + 1;
  return static_cast<uint32_t>(place);
}

size_t placeOfKept(const KeptLines& kept, uint32_t place, std::string_view text, size_t line) {
  const uint16_t* const numbers = keptIn(kept, place);
  const LineShape* const shapes = kept.shapes.data();
  size_t passed = 0;
  size_t begin = 0;
  for (uint32_t i = 1; i <= numbers[0]; ++i) {
    if (text[begin] != ' ' && passed++ == line) break;
    begin += shapes[numbers[i]].length;
  }
  return begin;
}

void takeKeptLines(const KeptLines& kept, uint32_t place, std::string_view text, ReadEntry& entry) {
  const uint16_t* numbers = keptIn(kept, place);
  entry = ReadEntry{.room = std::move(entry.room), .nuls = {}};
  entry.count = *numbers;
  if (entry.room.size() <= entry.count) entry.room.resize(entry.count + 1);
  entry.isOrdinary = true;
  const LineShape* const shapes = kept.shapes.data();
  const char* next = text.data();
  uint32_t names = 0;
  uint32_t continuations = 0;
  uint32_t longestEnd = 0;
  for (Line& line : std::span(entry.room.data(), entry.count)) {
    const LineShape& shape = shapes[*++numbers];
    line = {next, shape.length, shape.contentLength, shape.firstColon, shape.names, shape.endings};
    names |= shape.names;
    continuations += *next == ' ' ? 1 : 0;
    longestEnd = std::max(longestEnd, shape.length - shape.contentLength);
    next += shape.length;
  }
  entry.names = names;
  entry.continuations = continuations;
  entry.hasReturns = longestEnd == 2;
  entry.end = static_cast<size_t>(next - text.data());
}
