#include "rules/line_scan.h"

#include <algorithm>
#include <bit>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

// A block of text and the masks of what is found in it. Bytes behind the end of the text are none of these characters.
#ifdef __SSE2__

static uint64_t placesOf(const char* block, char character) {
  constexpr size_t STEP = sizeof(__m128i);
  const __m128i wanted = _mm_set1_epi8(character);
  uint64_t places = 0;
  for (size_t i = 0; i < BLOCK_SIZE; i += STEP) {
    const __m128i part = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + i));
    places |= static_cast<uint64_t>(static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(part, wanted)))) << i;
  }
  return places;
}

#else

static uint64_t placesOf(const char* block, char character) {
  constexpr uint64_t ONES = 0x0101010101010101;
  constexpr uint64_t LOW_BITS = ONES * 0x7F;
  constexpr uint64_t GATHER = 0x0102040810204080;  // moves the lowest bit of each byte into the highest byte
  uint64_t places = 0;
  for (size_t i = 0; i < BLOCK_SIZE; i += sizeof(uint64_t)) {
    uint64_t part = 0;
    memcpy(&part, block + i, sizeof part);
    if constexpr (std::endian::native == std::endian::big) part = __builtin_bswap64(part);
    const uint64_t differences = part ^ (ONES * static_cast<unsigned char>(character));
    const uint64_t zeros = ~(((differences & LOW_BITS) + LOW_BITS) | differences | LOW_BITS) >> 7U;
    places |= (zeros * GATHER >> 56U) << i;
  }
  return places;
}

#endif

void loadBlock(LineScan& scan, size_t begin) {
  char padded[BLOCK_SIZE];
  const char* block = scan.text + begin;
  if (scan.length - begin < BLOCK_SIZE) {
    memset(padded, 0, sizeof padded);
    memcpy(padded, block, scan.length - begin);
    block = padded;
  }
  scan.colons = placesOf(block, ':');
  scan.newlines = placesOf(block, '\n');
  scan.returns = placesOf(block, '\r');
  scan.blockEnd = begin + BLOCK_SIZE;
}

// The text is one line, whatever its length; a newline may stand in it.
Line scanLine(std::string_view text) {
  LineScan scan = scanOf(text);
  Colons known;
  size_t content = text.size();
  for (size_t begin = 0; begin < text.size(); begin += BLOCK_SIZE) {
    loadBlock(scan, begin);
    for (uint64_t colons = scan.colons; colons != 0; colons &= colons - 1)
      noteColon(known, text.data(), begin + firstOf(colons));
    const uint64_t ends = scan.returns | scan.newlines;
    if (ends != 0) content = std::min(content, begin + firstOf(ends));
  }
  return {text.data(),  static_cast<uint32_t>(text.size()), static_cast<uint32_t>(content), known.first, known.names,
          known.endings};
}

Line takeLineOrPart(LineScan& scan) {
  const std::string_view line = nextLineIn({{scan.text + scan.next, scan.length - scan.next}, true});
  scan.next += line.size();
  return scanLine(withoutNul(line));
}
