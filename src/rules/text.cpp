#include "rules/text.h"

#include <algorithm>
#include <cstring>

#include "rules/letter_case.h"

static bool isSameInAnyCase(char one, char other) { return lowered(one) == lowered(other); }

// The needle has to fit.
static bool beginsInAnyCase(const char* text, std::string_view needle) {
  size_t i = 0;
  while (i < needle.size() && lowered(text[i]) == lowered(needle[i])) ++i;
  return i == needle.size();
}

// A needle with an equals sign can only stand at one.
static size_t findAtSign(std::string_view haystack, std::string_view needle, size_t signAt) {
  for (size_t sign = haystack.find('='); sign != std::string_view::npos; sign = haystack.find('=', sign + 1)) {
    if (sign < signAt) continue;
    if (haystack.size() - (sign - signAt) < needle.size()) break;
    if (beginsInAnyCase(haystack.data() + sign - signAt, needle)) return sign - signAt;
  }
  return std::string_view::npos;
}

size_t dostristr(std::string_view haystack, std::string_view needle) {
  const size_t signAt = needle.find('=');
  if (signAt != std::string_view::npos) return findAtSign(haystack, needle, signAt);
  const auto place = std::search(haystack.begin(), haystack.end(), needle.begin(), needle.end(), isSameInAnyCase);
  if (place == haystack.end() && !needle.empty()) return std::string_view::npos;
  return static_cast<size_t>(place - haystack.begin());
}

std::string_view behindSpaces(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

std::string_view trimmed(std::string_view text) { return text.substr(0, text.find_last_not_of(" \t\n\v\f\r") + 1); }

bool hasSpaceBesideComma(std::string_view text) {
  for (size_t comma = text.find(','); comma != std::string_view::npos; comma = text.find(',', comma + 1))
    if (text.substr(comma + 1).starts_with(' ') || (comma > 0 && text[comma - 1] == ' ')) return true;
  return false;
}

size_t commaSpaceEater(char* text, size_t length) {
  size_t written = 0;
  for (size_t i = 0; i < length; ++i) {
    if (text[i] == ' ' && written > 0 && text[written - 1] == ',') continue;
    if (text[i] == ',')
      while (written > 0 && text[written - 1] == ' ') --written;
    text[written++] = text[i];
  }
  return written;
}

size_t blankLine(char* line, size_t length) {
  const size_t blanked = std::max<size_t>(length, 2);
  memset(line, ' ', blanked);
  line[blanked - 2] = '\r';
  line[blanked - 1] = '\n';
  return blanked;
}
