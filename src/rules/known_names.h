// The attribute names that the conversion looks for in every line, and how a look at a colon tells which of them may
// end there.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string_view>

#include "rules/line.h"
#include "rules/text.h"

// In lower case, without their colon. Each has its bit in what is known of a line.
inline constexpr std::string_view knownNames[] = {
    "secdomainid", "secuuid",     "xoq-entryuuid", "principalname", "changetype",  "installdate",
    "aci",         "acl",         "control",       "secdn",         "dn",          "cn",
    "version",     "objectclass", "secauthority",  "aclentry",      "aclpropagate"};
constexpr uint32_t NUMBER_OF_KNOWN_NAMES = std::size(knownNames);
static_assert(uint64_t{1} << NUMBER_OF_KNOWN_NAMES <= GONE);

// Returns the bit of the name that the text has before its first colon, whatever its case; 0 for another one.
constexpr uint32_t nameBit(std::string_view text) {
  const std::string_view name = text.substr(0, text.find(':'));
  const auto isSameLetter = [](char one, char other) { return lowered(one) == lowered(other); };
  for (uint32_t i = 0; i < NUMBER_OF_KNOWN_NAMES; ++i)
    if (std::equal(name.begin(), name.end(), knownNames[i].begin(), knownNames[i].end(), isSameLetter))
      return uint32_t{1} << i;
  return 0;
}

// Which known names may end in certain characters: found by the last four of them, or two of a short name, in any case.
// Like a Bloom filter it can say yes to characters in which none of them ends, but never no to those of one.
using NameTable = std::array<uint32_t, 1024>;

// Of four characters, in the order of the machine. A letter's case does not matter, nor do some other characters.
inline constexpr size_t placeOfFour(uint32_t characters) {
  constexpr uint32_t CASE_BITS = 0x20202020;
  return (characters | CASE_BITS) * 0x9E3779B1U >> 22U;
}

template <bool areShort>
constexpr NameTable makeNameTable() {
  NameTable table = {};
  for (const std::string_view name : knownNames) {
    if ((name.size() < sizeof(uint32_t)) != areShort) continue;
    uint32_t four = 0;
    for (size_t i = 0; !areShort && i < sizeof four; ++i) {
      const size_t shift = std::endian::native == std::endian::little ? i : sizeof four - 1 - i;
      four |= uint32_t{static_cast<unsigned char>(name[name.size() - sizeof four + i])} << shift * 8U;
    }
    table[areShort ? pairOf(name[name.size() - 2], name.back()) : placeOfFour(four)] |= nameBit(name);
  }
  return table;
}

inline constexpr NameTable shortNames = makeNameTable<true>();
inline constexpr NameTable longNames = makeNameTable<false>();

// Adds what a colon tells to what is known of its line.
inline void noteColon(Line& line, size_t colon) {
  line.firstColon = std::min(line.firstColon, static_cast<uint32_t>(colon));
  if (colon < 2) {
    line.endings |= 1;  // no name of two characters ends there
    return;
  }
  const char* const end = line.text + colon;
  const uint32_t pair = pairOf(end[-2], end[-1]);
  line.endings |= endingBit(pair);
  line.names |= shortNames[pair];
  if (colon < sizeof(uint32_t)) return;
  uint32_t four = 0;
  memcpy(&four, end - sizeof four, sizeof four);
  line.names |= longNames[placeOfFour(four)];
}
