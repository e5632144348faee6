#include "rules/name_matches.h"

#include <algorithm>

#include "rules/text.h"

// Compares from the last character backwards, without regard to case.
static bool isBefore(std::string_view one, std::string_view other) {
  return std::lexicographical_compare(one.rbegin(), one.rend(), other.rbegin(), other.rend(),
                                      [](char a, char b) { return lowered(a) < lowered(b); });
}

static bool endsIn(std::string_view text, std::string_view name) {
  return name.size() <= text.size() &&
         std::equal(name.rbegin(), name.rend(), text.rbegin(), [](char a, char b) { return lowered(a) == lowered(b); });
}

// Returns the number of the longest name in which the text ends, looked for from the given one on; that of the last one
// tried where there is none.
static uint32_t longestIn(const NameMatches& matches, uint32_t from, std::string_view text) {
  while (!endsIn(text, matches.names[from]) && matches.shorter[from] != from) from = matches.shorter[from];
  return from;
}

static void linkNames(NameMatches& matches) {
  matches.shorter.resize(matches.names.size());
  for (uint32_t i = 0; i < matches.names.size(); ++i) {
    // In this order the names in which a name ends stand before it, and the longest of them is its neighbour or one in
    // which the neighbour ends.
    const uint32_t found = i == 0 ? 0 : longestIn(matches, i - 1, matches.names[i]);
    matches.shorter[i] = endsIn(matches.names[i], matches.names[found]) ? found : i;
  }
}

// Notes the names in which a text ends. All of them lead to each other, from the longest to the shortest.
static void noteNames(NameMatches& matches, std::string_view text, uint32_t line) {
  const auto behind = std::upper_bound(matches.names.begin(), matches.names.end(), text, isBefore);
  if (behind == matches.names.begin()) return;
  uint32_t name = longestIn(matches, static_cast<uint32_t>(behind - matches.names.begin()) - 1, text);
  if (!endsIn(text, matches.names[name])) return;
  for (;; name = matches.shorter[name]) {
    std::vector<uint32_t>& lines = matches.lines[name];
    if (lines.empty() || lines.back() != line) lines.push_back(line);
    if (matches.shorter[name] == name) return;
  }
}

NameMatches findMatches(std::vector<std::string_view> names, Entry entry) {
  std::sort(names.begin(), names.end(), isBefore);
  const auto areEqual = [](std::string_view one, std::string_view other) { return !isBefore(one, other); };
  names.erase(std::unique(names.begin(), names.end(), areEqual), names.end());
  NameMatches matches = {std::move(names), {}, {}};
  matches.lines.resize(matches.names.size());
  linkNames(matches);
  // From the last line to the first, so that the line that is wanted first stands at the end of each list, where taking
  // it away costs nothing.
  for (size_t i = entry.size(); i > 0; --i) {
    const std::string_view line = entry[i - 1].view();
    for (size_t colon = entry[i - 1].firstColon; colon < line.size(); colon = line.find(':', colon + 1))
      noteNames(matches, line.substr(0, colon + 1), static_cast<uint32_t>(i - 1));
  }
  return matches;
}

std::vector<uint32_t>& linesThatHold(NameMatches& matches, std::string_view name) {
  const auto place = std::lower_bound(matches.names.begin(), matches.names.end(), name, isBefore);
  return matches.lines[static_cast<size_t>(place - matches.names.begin())];
}
