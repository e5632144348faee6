#include "rules/merge.h"

#include <algorithm>
#include <array>
#include <bit>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include "rules/colon_search.h"
#include "rules/name_matches.h"

// Attribute names, colon included, that are never merged; other spellings pass.
static constexpr std::string_view excludedNames[] = {
    "objectclass:",  "objectClass:", "XOQ-ENTRYUUID:", "xoq-entryuuid:", "control:", "Control:", "aclpropagate:",
    "aclPropagate:", "aclentry:",    "aclEntry:",      "acl:",           "ACL:",     "aci:",     "ACI:"};

static constexpr ColonText objectClassTexts[] = {"objectclass:", "objectClass:"};
static constexpr ColonText secAuthorityText = "secauthority:";

// Returns the attribute name of a line that has a colon, up to and including the first.
static std::string_view attributeName(const Line& line) { return line.view().substr(0, size_t{line.firstColon} + 1); }

// Kept: in these spellings only; in any other it is merged like an attribute.
static bool isDn(const Line& line) { return attributeName(line) == "dn:" || attributeName(line) == "DN:"; }

static constexpr uint32_t namesOfExcluded() {
  uint32_t names = 0;
  for (const std::string_view name : excludedNames) names |= nameBit(name);
  return names;
}

// False for the lines that may need a treatment of their own.
static bool isOrdinary(const Line& line) {
  constexpr uint32_t NAMES = namesOfExcluded() | nameBit("dn:");
  return (line.names & NAMES) == 0;
}

static bool isExcluded(const Line& line) {
  return std::find(std::begin(excludedNames), std::end(excludedNames), attributeName(line)) != std::end(excludedNames);
}

static void append(MergedEntry& merged, const Line& line) {
  // Counts on where there is no room, so that the caller can tell.
  if (merged.count < merged.capacity) merged.lines[merged.count] = line;
  ++merged.count;
}

// Takes a line away for the one that has been appended last.
static void giveUp(Line& line, const MergedEntry& merged) {
  line.names |= GONE;
  line.endings = static_cast<uint64_t>(merged.count) - 1;
}

static void move(Line& line, MergedEntry& merged) {
  append(merged, line);
  giveUp(line, merged);
}

// The second entry, prepared for the first one's search for matches. A long one is looked through once for all names.
struct Matches {
  std::span<Line> lines;
  bool isIndexed = false;
  std::array<uint64_t, 64> holders = {};  // of each ending (Line::endings) the lines that have it, a bit for each
  NameMatches byName;
};

static Matches prepareMatches(std::span<const Line> first, std::span<Line> second) {
  Matches matches = {.lines = second, .byName = {}};
  // An entry of up to as many lines as a number has bits, which nearly all are, needs no index: a number says which of
  // its lines have an ending.
  matches.isIndexed = second.size() > matches.holders.size();
  for (size_t i = 0; !matches.isIndexed && i < second.size(); ++i)
    for (uint64_t endings = second[i].endings; endings != 0; endings &= endings - 1)
      matches.holders[static_cast<size_t>(std::countr_zero(endings))] |= uint64_t{1} << i;
  if (!matches.isIndexed) return matches;
  std::vector<std::string_view> names;
  for (const Line& line : first)
    if (line.firstColon != NO_COLON) names.push_back(attributeName(line));
  matches.byName = findMatches(std::move(names), second);
  return matches;
}

// Returns the first line left that holds the name anywhere, in any case; null without one.
static Line* findMatch(Matches& matches, std::string_view name) {
  if (matches.isIndexed) return firstThatHolds(matches.byName, name);
  const ColonText text = ColonText::unknown(name);
  uint64_t holders = 0;
  // A name of one character can have any ending, since another name may end in it; every other name has one.
  for (uint64_t endings = text.ending; endings != 0; endings &= endings - 1)
    holders |= matches.holders[static_cast<size_t>(std::countr_zero(endings))];
  for (; holders != 0; holders &= holders - 1) {
    Line& line = matches.lines[static_cast<size_t>(std::countr_zero(holders))];
    if (isLeft(line) && findPlaceInAnyCase(line, {&text, 1}) != NOT_FOUND) return &line;
  }
  return nullptr;
}

// Settles a line of the first entry whose attribute name is neither dn: nor excluded.
static void mergeLine(Line& line, Matches& matches, MergedEntry& merged) {
  Line* match = findMatch(matches, attributeName(line));
  if (match == nullptr) {
    move(line, merged);
  } else if (findInAnyCase(line, secAuthorityText) != NOT_FOUND) {
    // Kept: of secAuthority the first entry's value counts; the second one's line is used up all the same.
    move(line, merged);
    giveUp(*match, merged);
  } else {
    // Kept: the match takes the place of the line even if it is one that would have been left out by itself.
    move(*match, merged);
    giveUp(line, merged);
  }
}

static MergeProblem walkFirst(std::span<Line> first, Matches& matches, MergedEntry& merged) {
  for (Line& line : first) {
    if (line.firstColon == NO_COLON) return {&line, true};
    // The bits of the names come first, because most lines have none of them and are spared the comparisons.
    if (!isOrdinary(line) && (findExactly(line, objectClassTexts) != NOT_FOUND || isDn(line)))
      move(line, merged);
    else if (isOrdinary(line) || !isExcluded(line))
      mergeLine(line, matches, merged);
  }
  return {};
}

static MergeProblem walkSecond(std::span<Line> second, MergedEntry& merged) {
  for (Line& line : second) {
    if (!isLeft(line)) continue;
    if (line.firstColon == NO_COLON) return {&line, false};
    if (isOrdinary(line) || (!isDn(line) && !isExcluded(line))) move(line, merged);
  }
  return {};
}

MergeProblem mergeEntries(std::span<Line> first, std::span<Line> second, MergedEntry& merged) {
  Matches matches = prepareMatches(first, second);
  const MergeProblem problem = walkFirst(first, matches, merged);
  return problem.line != nullptr ? problem : walkSecond(second, merged);
}
