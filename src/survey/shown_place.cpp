#include "survey/shown_place.h"

#include <algorithm>

#include "platform/shown_text.h"
#include "rules/line.h"
#include "rules/text.h"

// Returns the line that begins in a place, or as much of it as is taken for one.
static std::string_view lineAt(SurveyedFile& file, uint64_t place) {
  const std::string_view text = textFrom(file, place, LONGEST_LINE).substr(0, LONGEST_LINE);
  return text.substr(0, std::min(text.find('\n'), text.size() - 1) + 1);
}

// What the conversion sees of a line is all that is shown.
static std::string_view shownPart(std::string_view line) {
  for (const char end : {'\n', '\r', '\0'}) line = line.substr(0, line.find(end));
  return line;
}

std::string wholeLineAt(SurveyedFile& file, uint64_t place) {
  // A value of megabytes would help nobody.
  constexpr size_t LONGEST_SHOWN = size_t{64} * 1024;
  std::string whole;
  for (bool isFirst = true; place < file.size && whole.size() < LONGEST_SHOWN; isFirst = false) {
    const std::string_view line = lineAt(file, place);
    const std::string_view shown = shownPart(line);
    const bool isComment = !line.empty() && line[0] == '#';
    if (!isFirst && !isComment && (!line.starts_with(' ') || isBlankLine(shown))) break;
    if (!isComment || isFirst) whole += isFirst ? shown : shown.substr(1);
    place += line.size();
  }
  return whole;
}

ShownDn dnAt(SurveyedFile& file, uint64_t entry) {
  constexpr std::string_view TAG = "dn:";
  const std::string line = wholeLineAt(file, entry);
  const std::string_view view = line;
  if (!isSameInAnyCase(view.substr(0, TAG.size()), TAG) || view.substr(TAG.size()).starts_with(':')) return {};
  return {std::string(trimmed(behindSpaces(view.substr(TAG.size())))), true};
}

std::string shownDnAt(SurveyedFile& file, uint64_t entry) {
  const ShownDn dn = dnAt(file, entry);
  return dn.isKnown ? harmless(dn.text) : "an entry whose DN cannot be shown";
}

static bool isLetter(char c) { return lowered(c) >= 'a' && lowered(c) <= 'z'; }
static bool isOfName(char c) { return isLetter(c) || (c >= '0' && c <= '9') || c == '-' || c == ';' || c == '.'; }

std::string attributeAt(SurveyedFile& file, uint64_t line) {
  constexpr size_t LONGEST_NAME = 64;
  // What is left of a long comment, or of a value, has no name.
  if (line > 0 && textFrom(file, line - 1, 1)[0] != '\n') return {};
  const std::string whole = wholeLineAt(file, line);
  const std::string_view text = whole;
  const std::string_view name = text.substr(0, std::min(text.find(':'), text.size()));
  const bool isValid = name.size() < text.size() && !name.empty() && name.size() <= LONGEST_NAME &&
                       isLetter(name.front()) && std::all_of(name.begin(), name.end(), isOfName);
  // A line that does not begin with a valid name may be anything, a password among it.
  return isValid ? std::string(name) : std::string();
}

std::string valueAt(SurveyedFile& file, uint64_t line) {
  const std::string whole = wholeLineAt(file, line);
  const std::string_view text = std::string_view(whole).substr(std::min(whole.find(':') + 1, whole.size()));
  // Base 64 and addresses have a second sign behind the colon.
  const size_t signs = text.starts_with(':') || text.starts_with('<') ? 1 : 0;
  return ":" + std::string(text.substr(0, signs)) + " " + std::string(behindSpaces(text.substr(signs)));
}

// A DN may hold the control characters of a terminal.
std::string harmless(const std::string& text) {
  constexpr size_t FACTOR = 4;  // of what one byte can become
  std::string shown(text.size() * FACTOR + FACTOR + 2, '\0');
  appendHarmless(shown.data(), shown.size(), text);
  shown.resize(shown.find('\0'));
  return shown;
}

int64_t lineNumberOf(SurveyedFile& file, uint64_t place) { return linesBefore(file, place) + 1; }
