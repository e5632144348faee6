#include "platform/shown_text.h"

#include <strings.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

// A form in which UTF-8 writes characters: what its first byte looks like, and the characters that belong in it.
struct Utf8Form {
  unsigned char mask;
  unsigned char first;
  size_t length;     // cppcheck-suppress unusedStructMember
  char32_t lowest;   // cppcheck-suppress unusedStructMember
  char32_t highest;  // cppcheck-suppress unusedStructMember
};

static constexpr Utf8Form utf8Forms[] = {{0x80, 0x00, 1, 0x0, 0x7f},
                                         {0xe0, 0xc0, 2, 0x80, 0x7ff},
                                         {0xf0, 0xe0, 3, 0x800, 0xffff},
                                         {0xf8, 0xf0, 4, 0x10000, 0x10ffff}};

static bool isShowable(char32_t character) {
  // DEL and those behind it are control characters, too: some terminals obey them.
  const bool isControl = character < U' ' || (character >= 0x7f && character <= 0x9f);
  const bool isSurrogate = character >= 0xd800 && character <= 0xdfff;
  return !isControl && !isSurrogate;
}

// Returns the length of the character at the beginning of the text, which is not empty; 0 for one that is not shown.
static size_t showableLength(std::string_view text) {
  constexpr unsigned char PAYLOAD = 0x3f;
  constexpr int PAYLOAD_BITS = 6;
  const auto first = static_cast<unsigned char>(text[0]);
  const auto* form = std::find_if(std::begin(utf8Forms), std::end(utf8Forms),
                                  [&](const Utf8Form& f) { return (first & f.mask) == f.first; });
  if (form == std::end(utf8Forms) || text.size() < form->length) return 0;
  char32_t character = first & static_cast<unsigned char>(~form->mask);
  for (size_t i = 1; i < form->length; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & ~unsigned{PAYLOAD}) != 0x80U) return 0;
    character = character << static_cast<unsigned>(PAYLOAD_BITS) | (byte & PAYLOAD);
  }
  // A character in a longer form than it needs is no UTF-8, and could be a control character in disguise.
  const bool isInForm = character >= form->lowest && character <= form->highest;
  return isInForm && isShowable(character) ? form->length : 0;
}

void appendHarmless(char* buffer, size_t size, std::string_view text, Newlines newlines) {
  constexpr size_t LONGEST = 5;  // of what one byte can add, closing NUL included
  size_t end = strlen(buffer);
  while (!text.empty() && end + LONGEST <= size) {
    const bool isKeptNewline = newlines == Newlines::KEPT && text[0] == '\n';
    const size_t length = isKeptNewline ? 1 : showableLength(text);
    if (length > 0) {
      end += text.copy(buffer + end, length);
    } else {
      // One byte after the other: what follows may be the beginning of a character.
      end += static_cast<size_t>(snprintf(buffer + end, size - end, "\\x%02X", static_cast<unsigned char>(text[0])));
    }
    text.remove_prefix(std::max<size_t>(length, 1));
  }
  buffer[end] = '\0';
}

static bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
static bool isDigit(char c) { return c >= '0' && c <= '9'; }

static std::string_view withoutSpaces(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

// A name of letters, digits and hyphens, or a number with dots.
static bool isAttributeType(std::string_view type) {
  if (type.empty()) return false;
  const auto isOfName = [](char c) { return isLetter(c) || isDigit(c) || c == '-'; };
  const auto isOfNumber = [](char c) { return isDigit(c) || c == '.'; };
  return isLetter(type.front()) ? std::all_of(type.begin(), type.end(), isOfName)
                                : isDigit(type.front()) && std::all_of(type.begin(), type.end(), isOfNumber);
}

static bool isComponent(std::string_view component) {
  const size_t equals = component.find('=');
  if (equals == std::string_view::npos || !isAttributeType(withoutSpaces(component.substr(0, equals)))) return false;
  const std::string_view value = withoutSpaces(component.substr(equals + 1));
  // Two equals signs in a row end base 64, and begin no value.
  return !value.empty() && value.front() != '=';
}

// Returns where the first component of the DN ends.
static size_t endOfComponent(std::string_view dn) {
  size_t end = 0;
  // A backslash takes what follows it into the value.
  while (end < dn.size() && dn[end] != ',' && dn[end] != ';') end += dn[end] == '\\' ? 2U : 1U;
  return std::min(end, dn.size());
}

std::string_view asDn(std::string_view text) {
  const size_t last = text.find_last_not_of(" \t\n\v\f\r");
  const std::string_view dn = text.substr(0, last == std::string_view::npos ? 0 : last + 1);
  std::string_view rest = dn;
  for (;;) {
    const size_t end = endOfComponent(rest);
    if (!isComponent(rest.substr(0, end))) return {};
    if (end == rest.size()) return dn;
    rest.remove_prefix(end + 1);
  }
}

std::string_view dnOfLine(std::string_view line) {
  constexpr std::string_view TAG = "dn:";
  if (line.size() < TAG.size() || strncasecmp(line.data(), TAG.data(), TAG.size()) != 0) return {};
  line.remove_prefix(TAG.size());
  return asDn(line.substr(std::min(line.find_first_not_of(' '), line.size())));
}
