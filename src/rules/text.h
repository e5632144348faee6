// Small questions about texts. Letter case is that of the C locale, whatever the environment: only ASCII letters have
// two cases.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

// Without a branch or a table, so that compilers fold many characters at once.
constexpr unsigned char lowered(char character) {
  constexpr unsigned LETTERS = 26;
  const auto code = static_cast<unsigned char>(character);
  return static_cast<unsigned char>(code + (code - unsigned{'A'} < LETTERS ? 'a' - 'A' : 0));
}

// Folds the letters among eight characters, which are given as one number, to lower case, and nothing else.
constexpr uint64_t loweredCharacters(uint64_t characters) {
  constexpr uint64_t ONES = 0x0101010101010101;
  constexpr uint64_t HIGH_BITS = ONES * 0x80;
  const uint64_t low = characters & ~HIGH_BITS;
  const uint64_t fromA = low + ONES * (0x80 - 'A');
  const uint64_t behindZ = low + ONES * (0x7F - 'Z');
  const uint64_t capitals = (fromA ^ behindZ) & ~characters & HIGH_BITS;
  return characters | capitals >> 2U;
}

// True when the texts are equal; of short texts this is found out faster than by comparing memory.
bool isSame(std::string_view one, std::string_view other);

// True when the texts are equal without regard to case.
bool isSameInAnyCase(std::string_view one, std::string_view other);

// Returns the first place of needle in haystack without regard to case; npos without one.
size_t dostristr(std::string_view haystack, std::string_view needle);

inline bool holdsInAnyCase(std::string_view haystack, std::string_view needle) {
  return dostristr(haystack, needle) != std::string_view::npos;
}

// True when every character is a space, a carriage return or a newline.
inline bool isBlankLine(std::string_view line) {
  for (const char character : line)
    if (character != ' ' && character != '\r' && character != '\n') return false;
  return true;
}

// The text behind its leading spaces; without trailing white space; up to its first comma.
std::string_view behindSpaces(std::string_view text);
std::string_view trimmed(std::string_view text);
inline std::string_view upToComma(std::string_view text) { return text.substr(0, text.find(',')); }

bool hasSpaceBesideComma(std::string_view text);

// Returns the DN in a first line, whose three-character tag is not looked at, line end included.
inline std::string_view dnOfFirstLine(std::string_view firstLine) {
  constexpr size_t TAG_LENGTH = 3;
  return behindSpaces(firstLine.substr(std::min(TAG_LENGTH, firstLine.size())));
}

// Removes the spaces before and after every comma, in place; tabs stay, escapes are not understood. Returns the new
// length.
size_t commaSpaceEater(char* text, size_t length);

// Turns a line into spaces closed by a carriage return and a newline, of the same length. A line of fewer than
// two characters becomes the two line-end characters, so it must have room for them. Returns the new length.
size_t blankLine(char* line, size_t length);
