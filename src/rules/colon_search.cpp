#include "ldif/colon_search.h"

#include <cstring>

#include "ldif/letter_case.h"

ColonLine::ColonLine(const char* line) : ColonLine(line, strlen(line)) {}

ColonLine::ColonLine(const char* line, size_t lineLength) : text(line), length(lineLength) {
  const char* from = line;
  const char* end = line + lineLength;
  while (const auto* colon = static_cast<const char*>(memchr(from, ':', static_cast<size_t>(end - from)))) {
    if (firstColon == nullptr) firstColon = colon;
    endings |= colon > line ? characterBit(colon[-1]) : 1;
    from = colon + 1;
  }
}

// Both comparisons end at the line's NUL at the latest, since it differs from every character of a text.

static bool isSame(const char* place, std::string_view text) { return strncmp(place, text.data(), text.size()) == 0; }

static bool isSameInAnyCase(const char* place, std::string_view text) {
  size_t i = 0;
  while (i < text.size() && lowered(place[i]) == lowered(text[i])) ++i;
  return i == text.size();
}

template <bool (*isSameText)(const char*, std::string_view)>
static const char* findAtColon(const ColonLine& line, std::span<const ColonText> texts) {
  for (const char* colon = line.firstColon; colon != nullptr; colon = strchr(colon + 1, ':'))
    for (const ColonText& text : texts)
      if (static_cast<size_t>(colon - line.text) >= text.colonAt && isSameText(colon - text.colonAt, text.text))
        return colon - text.colonAt;
  return nullptr;
}

const char* findPlaceExactly(const ColonLine& line, std::span<const ColonText> texts) {
  return findAtColon<isSame>(line, texts);
}

const char* findPlaceInAnyCase(const ColonLine& line, std::span<const ColonText> texts) {
  return findAtColon<isSameInAnyCase>(line, texts);
}
