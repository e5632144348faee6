#include "rules/attribute.h"

#include <algorithm>

#include "rules/colon_search.h"
#include "rules/text.h"

// Returns a line from a place on. Only what ends it behind that place counts.
static std::string_view withoutLineEnd(const Line& line, size_t place) {
  // A value can begin behind a carriage return, where what is known of the line's end is of no use.
  if (place <= line.contentLength) return line.content().substr(place);
  return withoutLineEnd(line.view().substr(place));
}

Attribute unfold(Entry entry, int32_t line, size_t place, Texts& texts) {
  const auto first = entry.begin() + line;
  const auto end = std::find_if_not(first + 1, entry.end(), isContinuation);
  Attribute attribute = {line, static_cast<int32_t>(end - entry.begin()), withoutLineEnd(*first, place)};
  // The usual case: nothing is joined, so the text stays where it is.
  if (end - first == 1) return attribute;
  // More than is needed, so that a line end finds room: the blank that begins each piece is counted and not copied.
  size_t size = attribute.text.size();
  std::for_each(first + 1, end, [&](const Line& piece) { size += piece.contentLength; });
  char* const whole = makeRoom(texts, size);
  char* to = std::copy(attribute.text.begin(), attribute.text.end(), whole);
  std::for_each(first + 1, end, [&](const Line& piece) {
    const std::string_view text = piece.content().substr(1);
    to = std::copy(text.begin(), text.end(), to);
  });
  attribute.text = {whole, static_cast<size_t>(to - whole)};
  return attribute;
}

// True when the name ends at the colon at the given place of the line. Case is ignored up to the line's first colon and
// counts behind it, where the name has to stand in lower case.
static bool nameEndsAt(const Line& line, size_t colon, std::string_view name) {
  if (colon < name.size()) return false;
  const std::string_view found = line.view().substr(colon - name.size(), name.size());
  if (colon == line.firstColon) return isSameInAnyCase(found, name);
  return std::equal(found.begin(), found.end(), name.begin(), [](char character, char wanted) {
    return static_cast<unsigned char>(character) == lowered(wanted);
  });
}

// Returns the place behind the colon of the name's first match in the line, or NOT_FOUND.
static size_t findValue(const Line& line, std::string_view name) {
  const std::string_view view = line.view();
  for (size_t colon = line.firstColon; colon < view.size(); colon = view.find(':', colon + 1))
    if (nameEndsAt(line, colon, name)) return colon + 1;
  return NOT_FOUND;
}

// Returns the number of the first line from the given one on in which the name may stand.
static size_t findLine(Entry entry, size_t from, const AttributeName& name) {
  while (from < entry.size() && (entry[from].names & name.names) == 0 && (entry[from].endings & name.endings) == 0)
    ++from;
  return from;
}

static Attribute findAttribute(Entry entry, const AttributeName& name, Texts& texts) {
  for (size_t i = findLine(entry, 0, name); i < entry.size(); i = findLine(entry, i + 1, name)) {
    const size_t place = findValue(entry[i], name.text);
    // The bits have only said that the name may stand here.
    if (place == NOT_FOUND) continue;
    // A line that is nothing but blanks behind the name, without a newline, has an empty value.
    const size_t value = std::min(entry[i].view().find_first_not_of(' ', place), size_t{entry[i].length});
    return unfold(entry, static_cast<int32_t>(i), value, texts);
  }
  return {};
}

Attribute valueOf(Entry entry, const AttributeName& name, Texts& texts, Sink show) {
  if (show != nullptr) {
    show("obtainAttributeValueFromObjArray():  FUNCTION ENTRY \n");
    show("    Seeking the value of attribute:  %.*s\n", SHOWN(name.text));
  }
  const Attribute attribute = findAttribute(entry, name, texts);
  if (show != nullptr && attribute.line < 0)
    show("obtainAttributeValueFromObjArray():  ERROR:  Attribute not found. \n");
  else if (show != nullptr)
    show("   The attribute value at index %d returned is:   %.*s \n", attribute.line, SHOWN(attribute.text));
  if (show != nullptr) show("obtainAttributeValueFromObjArray():  FUNCTION EXIT \n");
  return attribute;
}
