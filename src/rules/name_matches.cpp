#include "rules/name_matches.h"

#include <algorithm>
#include <climits>

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

// Returns a character of a name, counted from its end; a shorter name has none, which comes before all others.
static int fromEnd(std::string_view name, size_t place) {
  return place < name.size() ? lowered(name[name.size() - 1 - place]) : INT_MIN;
}

// Returns the longest name in which the text ends; the end without one. Of the names those are left, character by
// character from the colon backwards, that end as the text does. None goes beyond the colon before.
static NameMatches::Names::const_iterator longestIn(const NameMatches::Names& names, std::string_view text) {
  auto begin = names.begin();
  auto end = names.end();
  auto longest = names.end();
  for (size_t place = 0; place < text.size() && begin != end; ++place) {
    const int wanted = fromEnd(text, place);
    const auto comesBefore = [&](std::string_view name) { return fromEnd(name, place) < wanted; };
    const auto isWanted = [&](std::string_view name) { return fromEnd(name, place) == wanted; };
    if (!isWanted(*begin)) begin = std::partition_point(begin, end, comesBefore);
    if (begin == end || !isWanted(*begin)) return longest;
    if (!isWanted(end[-1])) end = std::partition_point(begin, end, isWanted);
    // The shortest comes first.
    if (begin->size() == place + 1) longest = begin++;
  }
  return longest;
}

// Notes the longest name in which a text ends. It leads to the others: to note all would take the square of the room
// where each name ends in all shorter ones.
static void noteName(NameMatches& matches, std::string_view text, uint32_t line) {
  const auto name = longestIn(matches.names, text);
  if (name == matches.names.end()) return;
  std::vector<uint32_t>& lines = matches.lines[static_cast<size_t>(name - matches.names.begin())];
  if (lines.empty() || lines.back() != line) lines.push_back(line);
}

static uint32_t firstLine(const NameMatches& matches, uint32_t name) {
  return matches.lines[name].empty() ? UINT32_MAX : matches.lines[name].back();
}

static uint32_t winnerOf(const NameMatches& matches, uint32_t one, uint32_t other) {
  return firstLine(matches, other) < firstLine(matches, one) ? other : one;
}

static void setWinner(NameMatches& matches, size_t node) {
  matches.winners[node] = winnerOf(matches, matches.winners[2 * node], matches.winners[2 * node + 1]);
}

// The leaves, one for each name, stand behind the nodes.
static void growTree(NameMatches& matches) {
  const size_t names = matches.names.size();
  matches.winners.resize(2 * names);
  for (size_t i = 0; i < names; ++i) matches.winners[names + i] = static_cast<uint32_t>(i);
  for (size_t node = names; node-- > 1;) setWinner(matches, node);
}

// Of a range of names returns the one with the first line.
static uint32_t winnerIn(const NameMatches& matches, size_t begin, size_t end) {
  auto winner = static_cast<uint32_t>(begin);
  for (begin += matches.names.size(), end += matches.names.size(); begin < end; begin /= 2, end /= 2) {
    if (begin % 2 != 0) winner = winnerOf(matches, winner, matches.winners[begin++]);
    if (end % 2 != 0) winner = winnerOf(matches, winner, matches.winners[--end]);
  }
  return winner;
}

static void forgetFirstLine(NameMatches& matches, uint32_t name) {
  matches.lines[name].pop_back();
  for (size_t node = (matches.names.size() + name) / 2; node > 0; node /= 2) setWinner(matches, node);
}

NameMatches findMatches(std::vector<std::string_view> names, std::span<Line> entry) {
  std::sort(names.begin(), names.end(), isBefore);
  const auto areEqual = [](std::string_view one, std::string_view other) { return !isBefore(one, other); };
  names.erase(std::unique(names.begin(), names.end(), areEqual), names.end());
  NameMatches matches = {std::move(names), {}, {}, entry};
  matches.lines.resize(matches.names.size());
  // From the last line to the first, so that the line that is wanted first stands at the end of each list, where taking
  // it away costs nothing.
  for (size_t i = entry.size(); i > 0; --i) {
    const std::string_view line = entry[i - 1].view();
    for (size_t colon = entry[i - 1].firstColon; colon < line.size(); colon = line.find(':', colon + 1))
      noteName(matches, line.substr(0, colon + 1), static_cast<uint32_t>(i - 1));
  }
  growTree(matches);
  return matches;
}

Line* firstThatHolds(NameMatches& matches, std::string_view name) {
  // The names that end in this one follow it.
  const auto begin = std::lower_bound(matches.names.begin(), matches.names.end(), name, isBefore);
  const auto end =
      std::partition_point(begin, matches.names.end(), [&](std::string_view longer) { return endsIn(longer, name); });
  const auto placeOf = [&](auto at) { return static_cast<size_t>(at - matches.names.begin()); };
  for (;;) {
    const uint32_t winner = winnerIn(matches, placeOf(begin), placeOf(end));
    if (matches.lines[winner].empty()) return nullptr;
    Line& line = matches.entry[matches.lines[winner].back()];
    if (isLeft(line)) return &line;
    // What is gone stays gone, so that it is looked at once for each of its names.
    forgetFirstLine(matches, winner);
  }
}
