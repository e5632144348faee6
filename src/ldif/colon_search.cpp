#include "ldif/colon_search.h"

#include <cstring>

#include "ldif/letter_case.h"

// Both comparisons end at the line's NUL at the latest, since it differs from every character of a text.

static bool isSame(const char* place, std::string_view text) { return strncmp(place, text.data(), text.size()) == 0; }

static bool isSameInAnyCase(const char* place, std::string_view text) {
  size_t i = 0;
  while (i < text.size() && lowered(place[i]) == lowered(text[i])) ++i;
  return i == text.size();
}

static bool reachesBack(const char* line, const char* colon, const ColonText& text) {
  return static_cast<size_t>(colon - line) >= text.colonAt;
}

bool standsInAnyCase(const char* line, const char* colon, const ColonText& text) {
  return reachesBack(line, colon, text) && isSameInAnyCase(colon - text.colonAt, text.text);
}

template <bool (*isSameText)(const char*, std::string_view)>
static const char* findAtColon(const char* line, std::span<const ColonText> texts) {
  for (const char* colon = strchr(line, ':'); colon != nullptr; colon = strchr(colon + 1, ':'))
    for (const ColonText& text : texts)
      if (reachesBack(line, colon, text) && isSameText(colon - text.colonAt, text.text)) return colon - text.colonAt;
  return nullptr;
}

const char* findExactly(const char* line, std::span<const ColonText> texts) { return findAtColon<isSame>(line, texts); }

const char* findInAnyCase(const char* line, std::span<const ColonText> texts) {
  return findAtColon<isSameInAnyCase>(line, texts);
}

const char* findExactly(const char* line, const ColonText& text) { return findExactly(line, std::span(&text, 1)); }

const char* findInAnyCase(const char* line, const ColonText& text) { return findInAnyCase(line, std::span(&text, 1)); }
