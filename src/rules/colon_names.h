// What is noted of a colon: which names may end there.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "rules/known_names.h"
#include "rules/line.h"

// Which known names may end in certain characters: found by the last four of them, or two of a short name, in any case.
// Other texts may fall upon the same place.
inline constexpr size_t PLACES = 1024;
using NameTable = std::array<uint32_t, PLACES>;

// A letter's case does not matter, nor do some other characters.
constexpr uint32_t CASE_BITS = 0x20202020;

inline constexpr size_t placeOfFour(uint32_t characters) { return (characters | CASE_BITS) * 0x9E3779B1U >> 22U; }

inline constexpr size_t placeOfTwo(unsigned char lastButOne, unsigned char last) {
  return (lastButOne % 32U) * 32U + last % 32U;
}

inline constexpr uint32_t lastFour(std::string_view name) {
  uint32_t characters = 0;
  for (size_t i = 0; i < sizeof characters; ++i) {
    const auto character = static_cast<unsigned char>(name[name.size() - sizeof characters + i]);
    const size_t shift = std::endian::native == std::endian::little ? i : sizeof characters - 1 - i;
    characters |= uint32_t{character} << shift * 8U;
  }
  return characters;
}

inline constexpr bool isShort(std::string_view name) { return name.size() < sizeof(uint32_t); }

inline constexpr NameTable makeLongNames() {
  NameTable table = {};
  for (const std::string_view name : knownNames)
    if (!isShort(name)) table[placeOfFour(lastFour(name))] |= nameBit(name);
  return table;
}

inline constexpr NameTable makeShortNames() {
  NameTable table = {};
  for (const std::string_view name : knownNames) {
    const auto last = static_cast<unsigned char>(name.back());
    const auto lastButOne = static_cast<unsigned char>(name[name.size() - 2]);
    if (isShort(name)) table[placeOfTwo(lastButOne, last)] |= nameBit(name);
  }
  return table;
}

inline constexpr NameTable longNames = makeLongNames();
inline constexpr NameTable shortNames = makeShortNames();

// What is known of the colons of a line.
struct Colons {
  uint32_t first = NO_COLON;
  uint32_t names = 0;
  uint64_t endings = 0;
};

inline void noteColon(Colons& colons, const char* text, size_t colon) {
  if (colons.first == NO_COLON) colons.first = static_cast<uint32_t>(colon);
  if (colon < 2) {
    colons.endings |= 1;  // no name of two characters ends there
    return;
  }
  const char* const end = text + colon;
  colons.endings |= endingBit(end[-2], end[-1]);
  colons.names |= shortNames[placeOfTwo(static_cast<unsigned char>(end[-2]), static_cast<unsigned char>(end[-1]))];
  if (colon < sizeof(uint32_t)) return;
  uint32_t characters = 0;
  memcpy(&characters, end - sizeof characters, sizeof characters);
  colons.names |= longNames[placeOfFour(characters)];
}
