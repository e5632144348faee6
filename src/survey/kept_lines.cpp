#include "survey/kept_lines.h"

#include <algorithm>

#include "rules/attribute.h"

// The end of an ordinary line has one or two characters.
static LineShape shapeOf(const Line& line) {
  return {line.endings,
          line.names,
          line.firstColon,
          line.length,
          static_cast<uint16_t>(line.length - line.contentLength),
          isContinuation(line)};
}

// Returns where in the hash table a search for the shape begins.
static size_t firstPlace(const LineShape& shape) {
  constexpr uint64_t FACTOR = 0x9E3779B97F4A7C15;
  constexpr unsigned HALF = 32;
  const uint64_t places = uint64_t{shape.firstColon} << HALF | shape.length;
  return static_cast<size_t>(((shape.endings ^ shape.names) * FACTOR ^ places) * FACTOR >> HALF) &
         KeptLines::MOST_NUMBER;
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
    if (number != 0 && kept.shapes[number] == shape) return number;
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
    if (number == 0 || shapes[number] != shape) {
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

size_t placeOfKept(const KeptLines& kept, uint32_t place, size_t line) {
  const uint16_t* const numbers = keptIn(kept, place);
  const LineShape* const shapes = kept.shapes.data();
  size_t passed = 0;
  size_t begin = 0;
  for (uint32_t i = 1; i <= numbers[0]; ++i) {
    if (!shapes[numbers[i]].isContinuation && passed++ == line) break;
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
  for (Line& line : std::span(entry.room.data(), entry.count)) {
    const LineShape& shape = shapes[*++numbers];
    line = {next, shape.length, shape.length - shape.lineEnd, shape.firstColon, shape.names, shape.endings};
    entry.names |= shape.names;
    entry.continuations += shape.isContinuation ? 1 : 0;
    entry.hasReturns |= shape.lineEnd == 2;
    next += shape.length;
  }
  entry.end = static_cast<size_t>(next - text.data());
}
