// Small questions about texts. Letter case is that of the C locale.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

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
