#include "rules/line_scan.h"

#include <algorithm>
#include <bit>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#ifdef __SSE2__

using Part = __m128i;

static Part partOf(const char* text) { return _mm_loadu_si128(reinterpret_cast<const Part*>(text)); }

static uint64_t placesIn(Part part, char character) {
  return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(part, _mm_set1_epi8(character))));
}

#else

using Part = uint64_t;

static Part partOf(const char* text) {
  Part part = 0;
  memcpy(&part, text, sizeof part);
  return std::endian::native == std::endian::little ? part : __builtin_bswap64(part);
}

static uint64_t placesIn(Part part, char character) {
  constexpr uint64_t ONES = 0x0101010101010101;
  constexpr uint64_t LOW_BITS = ONES * 0x7F;
  constexpr uint64_t GATHER = 0x0102040810204080;  // moves the lowest bit of each byte into the highest byte
  const uint64_t differences = part ^ (ONES * static_cast<unsigned char>(character));
  const uint64_t zeros = ~(((differences & LOW_BITS) + LOW_BITS) | differences | LOW_BITS) >> 7U;
  return zeros * GATHER >> 56U;
}

#endif

void loadWholeBlock(LineScan& scan, const char* block) {
  uint64_t colons = 0;
  uint64_t newlines = 0;
  uint64_t returns = 0;
  for (size_t i = 0; i < BLOCK_SIZE; i += sizeof(Part)) {
    const Part part = partOf(block + i);
    colons |= placesIn(part, ':') << i;
    newlines |= placesIn(part, '\n') << i;
    returns |= placesIn(part, '\r') << i;
  }
  scan.colons = colons;
  scan.newlines = newlines;
  scan.returns = returns;
}

// What is behind the end of the text is none of these characters. The block is looked through from where it ends.
void loadLastBlock(LineScan& scan, size_t begin) {
  const size_t rest = scan.length - begin;
  char padded[BLOCK_SIZE];
  const char* block = scan.text + scan.length - BLOCK_SIZE;
  if (scan.length < BLOCK_SIZE) {
    std::fill_n(padded, BLOCK_SIZE - rest, '\0');
    std::copy_n(scan.text + begin, rest, padded + BLOCK_SIZE - rest);
    block = padded;
  }
  loadWholeBlock(scan, block);
  const size_t before = BLOCK_SIZE - rest;
  scan.colons = rest == 0 ? 0 : scan.colons >> before;
  scan.newlines = rest == 0 ? 0 : scan.newlines >> before;
  scan.returns = rest == 0 ? 0 : scan.returns >> before;
}

// The text is one line, whatever its length; a newline may stand in it.
Line scanLine(std::string_view text) {
  LineScan scan = {text.data(), text.size()};
  Line line;
  line.text = text.data();
  line.length = static_cast<uint32_t>(text.size());
  line.contentLength = line.length;
  for (size_t begin = 0; begin < text.size(); begin += BLOCK_SIZE) {
    loadBlock(scan, begin);
    for (uint64_t colons = scan.colons; colons != 0; colons &= colons - 1) noteColon(line, begin + firstOf(colons));
    const uint64_t ends = scan.returns | scan.newlines;
    if (ends != 0) line.contentLength = std::min(line.contentLength, static_cast<uint32_t>(begin + firstOf(ends)));
  }
  return line;
}

void takePiece(LineScan& scan, Line& line) {
  line = scanLine({scan.text + scan.next, std::min(scan.length - scan.next, LONGEST_LINE)});
  scan.next += line.length;
  loadBlock(scan, scan.next - scan.next % BLOCK_SIZE);
  const uint64_t notBefore = ~uint64_t{0} << scan.next % BLOCK_SIZE;
  scan.colons &= notBefore;
  scan.newlines &= notBefore;
  scan.returns &= notBefore;
}

void takeLineOrPart(LineScan& scan, Line& line) {
  const std::string_view text = nextLineIn({{scan.text + scan.next, scan.length - scan.next}, true});
  scan.next += text.size();
  line = scanLine(withoutNul(text));
}
