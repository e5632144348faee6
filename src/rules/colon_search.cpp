#include "rules/colon_search.h"

#include "rules/text.h"

// Tries all texts at one colon before it goes on to the next: of several, the one that stands first in the line is
// found, not the first of the list. Nothing can stand before the first colon, which is known.
template <bool (*isSameText)(std::string_view, std::string_view)>
static size_t findAtColon(const Line& line, std::span<const ColonText> texts) {
  const std::string_view view = line.view();
  for (size_t colon = line.firstColon; colon < view.size(); colon = view.find(':', colon + 1))
    for (const ColonText& text : texts)
      if (colon >= text.colonAt && isSameText(view.substr(colon - text.colonAt, text.text.size()), text.text))
        return colon - text.colonAt;
  return NOT_FOUND;
}

size_t findPlaceExactly(const Line& line, std::span<const ColonText> texts) { return findAtColon<isSame>(line, texts); }

size_t findPlaceInAnyCase(const Line& line, std::span<const ColonText> texts) {
  return findAtColon<isSameInAnyCase>(line, texts);
}
