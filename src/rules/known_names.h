// The attribute names that the conversion looks for in every line, each with its bit in what is known of a line.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>

#include "rules/letter_case.h"

// In lower case, without their colon.
inline constexpr std::string_view knownNames[] = {
    "secdomainid", "secuuid",     "xoq-entryuuid", "principalname", "changetype",  "installdate",
    "aci",         "acl",         "control",       "secdn",         "dn",          "cn",
    "version",     "objectclass", "secauthority",  "aclentry",      "aclpropagate"};
constexpr uint32_t NUMBER_OF_KNOWN_NAMES = std::size(knownNames);
static_assert(NUMBER_OF_KNOWN_NAMES <= 32);

// Returns the bit of the name that the text has before its first colon, whatever its case; 0 for another one.
constexpr uint32_t nameBit(std::string_view text) {
  const std::string_view name = text.substr(0, text.find(':'));
  const auto isSameLetter = [](char one, char other) { return lowered(one) == lowered(other); };
  for (uint32_t i = 0; i < NUMBER_OF_KNOWN_NAMES; ++i)
    if (std::equal(name.begin(), name.end(), knownNames[i].begin(), knownNames[i].end(), isSameLetter))
      return uint32_t{1} << i;
  return 0;
}
