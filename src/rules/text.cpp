#include "rules/text.h"

#include <algorithm>
#include <cstring>

#include "rules/places.h"

// Eight characters. Most texts that are compared are the same in case, too, or differ in more than that.
static bool areSameInAnyCase(const char* one, const char* other) {
  constexpr uint64_t CASE_BITS = 0x2020202020202020;
  uint64_t characters = 0;
  uint64_t others = 0;
  memcpy(&characters, one, sizeof characters);
  memcpy(&others, other, sizeof others);
  const uint64_t difference = characters ^ others;
  if (difference == 0) return true;
  return (difference & ~CASE_BITS) == 0 && loweredCharacters(characters) == loweredCharacters(others);
}

// Compares eight characters at once, the last eight of a longer text once more.
bool isSameInAnyCase(std::string_view one, std::string_view other) {
  constexpr size_t STEP = sizeof(uint64_t);
  const size_t size = one.size();
  if (size != other.size()) return false;
  size_t i = 0;
  for (; i + STEP <= size; i += STEP)
    if (!areSameInAnyCase(one.data() + i, other.data() + i)) return false;
  if (size >= STEP) return areSameInAnyCase(one.data() + size - STEP, other.data() + size - STEP);
  while (i < size && lowered(one.data()[i]) == lowered(other.data()[i])) ++i;
  return i == size;
}

// A needle with an equals sign can only stand at one. Its last character tells most places apart.
static size_t findAtSign(std::string_view haystack, std::string_view needle, size_t signAt) {
  size_t found = std::string_view::npos;
  anyPlace(haystack, '=', [&](size_t sign) {
    if (sign < signAt || haystack.size() - (sign - signAt) < needle.size()) return false;
    const std::string_view text = haystack.substr(sign - signAt, needle.size());
    if (lowered(text.back()) == lowered(needle.back()) && isSameInAnyCase(text, needle)) found = sign - signAt;
    return found != std::string_view::npos;
  });
  return found;
}

size_t dostristr(std::string_view haystack, std::string_view needle) {
  const size_t signAt = needle.find('=');
  if (signAt != std::string_view::npos) return findAtSign(haystack, needle, signAt);
  const auto place = std::search(haystack.begin(), haystack.end(), needle.begin(), needle.end(),
                                 [](char one, char other) { return lowered(one) == lowered(other); });
  // An empty needle is found at the beginning, even of an empty text.
  if (place == haystack.end() && !needle.empty()) return std::string_view::npos;
  return static_cast<size_t>(place - haystack.begin());
}

std::string_view behindSpaces(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

std::string_view trimmed(std::string_view text) { return text.substr(0, text.find_last_not_of(" \t\n\v\f\r") + 1); }

bool hasSpaceBesideComma(std::string_view text) {
  // Asked before anything is copied: hardly any DN has such a blank.
  return anyPlace(text, ' ', [&](size_t space) {
    return text.substr(space + 1).starts_with(',') || (space > 0 && text[space - 1] == ',');
  });
}

size_t commaSpaceEater(char* text, size_t length) {
  size_t written = 0;
  for (size_t i = 0; i < length; ++i) {
    if (text[i] == ' ' && written > 0 && text[written - 1] == ',') continue;
    if (text[i] == ',')
      // They have been written by the time the comma comes, and are taken back.
      while (written > 0 && text[written - 1] == ' ') --written;
    text[written++] = text[i];
  }
  return written;
}

size_t blankLine(char* line, size_t length) {
  // Kept: a line of one character becomes one of two, so the file grows by one if it was its last.
  const size_t blanked = std::max<size_t>(length, 2);
  memset(line, ' ', blanked);
  line[blanked - 2] = '\r';
  line[blanked - 1] = '\n';
  return blanked;
}
