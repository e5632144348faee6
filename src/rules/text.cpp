#include "rules/text.h"

#include <algorithm>
#include <cstring>

#include "rules/places.h"

// Returns as many characters as the number has bytes.
template <typename Number>
static Number charactersAt(const char* text) {
  Number characters = 0;
  memcpy(&characters, text, sizeof characters);
  return characters;
}

// Returns the first characters of a text and its last ones in one number.
template <typename Half>
static uint64_t halvesOf(std::string_view text) {
  constexpr unsigned BITS = 32;
  const uint64_t last = charactersAt<Half>(text.data() + text.size() - sizeof(Half));
  return charactersAt<Half>(text.data()) | last << BITS;
}

// Returns a number that all characters of a text of fewer than eight are in, those in its middle twice.
static uint64_t charactersOf(std::string_view text) {
  if (text.size() >= sizeof(uint32_t)) return halvesOf<uint32_t>(text);
  if (text.size() >= sizeof(uint16_t)) return halvesOf<uint16_t>(text);
  return text.empty() ? 0 : static_cast<unsigned char>(text.front());
}

// Most texts that are compared are the same in case, too, or differ in more than that.
static bool areSameInAnyCase(uint64_t characters, uint64_t others) {
  constexpr uint64_t CASE_BITS = 0x2020202020202020;
  const uint64_t difference = characters ^ others;
  if (difference == 0) return true;
  return (difference & ~CASE_BITS) == 0 && loweredCharacters(characters) == loweredCharacters(others);
}

static bool areSame(uint64_t characters, uint64_t others) { return characters == others; }

// Compares eight characters at once, the last eight of a longer text once more.
template <bool (*areSameEight)(uint64_t, uint64_t)>
static bool isSameBy(std::string_view one, std::string_view other) {
  constexpr size_t STEP = sizeof(uint64_t);
  const auto areSameAt = [&](size_t place) {
    return areSameEight(charactersAt<uint64_t>(one.data() + place), charactersAt<uint64_t>(other.data() + place));
  };
  const size_t size = one.size();
  if (size != other.size()) return false;
  if (size < STEP) return areSameEight(charactersOf(one), charactersOf(other));
  for (size_t i = 0; i + STEP <= size; i += STEP)
    if (!areSameAt(i)) return false;
  return areSameAt(size - STEP);
}

bool isSame(std::string_view one, std::string_view other) { return isSameBy<areSame>(one, other); }

bool isSameInAnyCase(std::string_view one, std::string_view other) { return isSameBy<areSameInAnyCase>(one, other); }

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
  if (needle.empty()) return 0;
  for (size_t place = 0; place + needle.size() <= haystack.size(); ++place)
    if (lowered(haystack.data()[place]) == lowered(needle.front()) &&
        isSameInAnyCase(haystack.substr(place, needle.size()), needle))
      return place;
  return std::string_view::npos;
}

std::string_view behindSpaces(std::string_view text) {
  while (text.starts_with(' ')) text.remove_prefix(1);
  return text;
}

std::string_view trimmed(std::string_view text) {
  const auto isWhite = [](char character) { return character == ' ' || (character >= '\t' && character <= '\r'); };
  while (!text.empty() && isWhite(text.back())) text.remove_suffix(1);
  return text;
}

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
