#include "survey/kept_lines.h"

#include <algorithm>

#include "rules/attribute.h"

// Lengths and the numbers of shapes are the two halves of a number.
static constexpr unsigned LENGTH_BITS = 16;
static constexpr uint32_t LONGEST_KEPT = (uint32_t{1} << LENGTH_BITS) - 1;

// Where they stand in the rest of a shape; the names are the lowest 32 bits.
static constexpr unsigned COLON_AT = 32;
static constexpr unsigned END_AT = COLON_AT + LENGTH_BITS;
static constexpr unsigned CONTINUATION_AT = END_AT + 2;

// The end of an ordinary line has one or two characters, and its colon lies within the length that can be kept.
static LineShape shapeOf(const Line& line) {
  const uint64_t colon = std::min(line.firstColon, LONGEST_KEPT);
  const uint64_t end = line.length - line.contentLength;
  const uint64_t continuation = isContinuation(line) ? 1 : 0;
  return {line.endings, line.names | colon << COLON_AT | end << END_AT | continuation << CONTINUATION_AT};
}

static Line lineOf(const char* text, uint32_t length, const LineShape& shape) {
  const auto colon = static_cast<uint32_t>(shape.rest >> COLON_AT) & LONGEST_KEPT;
  const auto end = static_cast<uint32_t>(shape.rest >> END_AT) & 3U;
  return {
      text,         length, length - end, colon == LONGEST_KEPT ? NO_COLON : colon, static_cast<uint32_t>(shape.rest),
      shape.endings};
}

// Returns where in the hash table a search for the shape begins.
static size_t firstPlace(const LineShape& shape) {
  constexpr uint64_t FACTOR = 0x9E3779B97F4A7C15;
  constexpr unsigned HALF = 32;
  return static_cast<size_t>((shape.endings * FACTOR ^ shape.rest) * FACTOR >> HALF) & KeptLines::MOST_SHAPES;
}

// Returns the number of the shape, from 1 on, which may be a new one; 0 when there is no more room for it.
// Shapes are few, some for each attribute, so that one is hardly ever searched for long. Whoever makes them many, or of
// one place in the table, has no more lines kept, and that is all.
static uint32_t numberOf(KeptLines& kept, const LineShape& shape) {
  constexpr int MOST_TRIES = 16;
  size_t place = firstPlace(shape);
  for (int tries = 0; tries < MOST_TRIES; ++tries, place = (place + 1) & KeptLines::MOST_SHAPES) {
    uint16_t& number = kept.places[place];
    if (number == 0 && kept.shapes.size() <= KeptLines::MOST_SHAPES) {
      number = static_cast<uint16_t>(kept.shapes.size());
      kept.shapes.push_back(shape);
    }
    if (number != 0 && kept.shapes[number] == shape) return number;
  }
  return 0;
}

// Returns room for an entry of so many lines, or null. An entry lies in one block.
static uint32_t* findRoom(KeptLines& kept, size_t lines) {
  if (lines >= KeptLines::BLOCK_SIZE) return nullptr;
  if (kept.used + lines + 1 > KeptLines::BLOCK_SIZE) {
    if (kept.blocks.size() == KeptLines::MOST_BLOCKS) return nullptr;
    kept.blocks.push_back(std::make_unique_for_overwrite<uint32_t[]>(KeptLines::BLOCK_SIZE));
    kept.used = 0;
  }
  return kept.blocks.back().get() + kept.used;
}

uint32_t keepLines(KeptLines& kept, const ReadEntry& entry) {
  uint32_t* const room = findRoom(kept, entry.count);
  if (room == nullptr) return NOT_KEPT;
  if (kept.places.empty()) {
    kept.places.resize(KeptLines::MOST_SHAPES + 1);
    kept.shapes.resize(1);
  }
  const char* expected = entry.room[0].text;
  uint32_t* next = room;
  *next++ = static_cast<uint32_t>(entry.count);
  const uint16_t* const places = kept.places.data();
  const LineShape* shapes = kept.shapes.data();
  for (const Line& line : entry.lines()) {
    if (line.text != expected || line.length > LONGEST_KEPT) return NOT_KEPT;
    const LineShape shape = shapeOf(line);
    // Mostly it is there, and where it is looked for first.
    uint32_t number = places[firstPlace(shape)];
    if (number == 0 || shapes[number] != shape) {
      number = numberOf(kept, shape);
      shapes = kept.shapes.data();
      if (number == 0) return NOT_KEPT;
    }
    *next++ = number << LENGTH_BITS | line.length;
    expected += line.length;
  }
  const size_t place = (kept.blocks.size() - 1) * KeptLines::BLOCK_SIZE + kept.used;
  kept.used += entry.count + 1;
  return static_cast<uint32_t>(place);
}

size_t placeOfKept(const KeptLines& kept, uint32_t place, size_t line) {
  const uint32_t* const numbers = keptIn(kept, place);
  const LineShape* const shapes = kept.shapes.data();
  size_t passed = 0;
  size_t begin = 0;
  for (uint32_t i = 1; i <= numbers[0]; ++i) {
    const bool isContinuation = shapes[numbers[i] >> LENGTH_BITS].rest >> CONTINUATION_AT != 0;
    if (!isContinuation && passed++ == line) break;
    begin += numbers[i] & LONGEST_KEPT;
  }
  return begin;
}

void takeKeptLines(const KeptLines& kept, uint32_t place, std::string_view text, ReadEntry& entry) {
  const uint32_t* numbers = keptIn(kept, place);
  entry = ReadEntry{.room = std::move(entry.room), .nuls = {}};
  entry.count = *numbers;
  if (entry.room.size() <= entry.count) entry.room.resize(entry.count + 1);
  entry.isOrdinary = true;
  const LineShape* const shapes = kept.shapes.data();
  const char* next = text.data();
  uint64_t continuations = 0;
  for (Line& line : std::span(entry.room.data(), entry.count)) {
    const uint32_t number = *++numbers;
    const LineShape& shape = shapes[number >> LENGTH_BITS];
    line = lineOf(next, number & LONGEST_KEPT, shape);
    entry.names |= line.names;
    continuations += shape.rest >> CONTINUATION_AT;
    entry.hasReturns |= line.length - line.contentLength == 2;
    next += line.length;
  }
  entry.continuations = static_cast<uint32_t>(continuations);
  entry.end = static_cast<size_t>(next - text.data());
}
