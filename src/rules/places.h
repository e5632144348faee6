// Where a character stands in a text: many characters of the text are looked at at once.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

// A part of a text, and a bit for each place in it where the character stands, the first place's the lowest.
#ifdef __SSE2__

#include <emmintrin.h>

using TextPart = __m128i;

inline TextPart partAt(const char* text) { return _mm_loadu_si128(reinterpret_cast<const TextPart*>(text)); }

inline uint64_t placesIn(TextPart part, char character) {
  return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(part, _mm_set1_epi8(character))));
}

#else

using TextPart = uint64_t;

inline TextPart partAt(const char* text) {
  TextPart part = 0;
  memcpy(&part, text, sizeof part);
  return std::endian::native == std::endian::little ? part : __builtin_bswap64(part);
}

inline uint64_t placesIn(TextPart part, char character) {
  constexpr uint64_t ONES = 0x0101010101010101;
  constexpr uint64_t LOW_BITS = ONES * 0x7F;
  constexpr uint64_t GATHER = 0x0102040810204080;  // moves the lowest bit of each byte into the highest byte
  const uint64_t differences = part ^ (ONES * static_cast<unsigned char>(character));
  const uint64_t zeros = ~(((differences & LOW_BITS) + LOW_BITS) | differences | LOW_BITS) >> 7U;
  return zeros * GATHER >> 56U;
}

#endif

// Asks about each place of the character, from the first on, until one is wanted. Returns false when none is.
template <typename IsWanted>
bool anyPlace(std::string_view text, char character, IsWanted isWanted) {
  constexpr size_t STEP = sizeof(TextPart);
  size_t begin = 0;
  while (begin < text.size() && text.size() >= STEP) {
    const size_t from = std::min(begin, text.size() - STEP);
    uint64_t places = placesIn(partAt(text.data() + from), character) >> (begin - from);
    for (; places != 0; places &= places - 1)
      if (isWanted(begin + static_cast<size_t>(std::countr_zero(places)))) return true;
    begin = from + STEP;
  }
  for (; begin < text.size(); ++begin)
    if (text.data()[begin] == character && isWanted(begin)) return true;
  return false;
}
