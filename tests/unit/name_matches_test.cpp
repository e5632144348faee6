#include "rules/name_matches.h"

#include <algorithm>
#include <random>

#include "test_support.h"

namespace {

std::vector<Line> scanned(const Lines& texts) {
  std::vector<Line> lines;
  for (const std::string& text : texts) lines.push_back(scanLine(text));
  return lines;
}

// By a plain search for each name.
std::vector<size_t> plainLinesThatHold(const Lines& entry, const std::string& name) {
  std::vector<size_t> lines;
  for (size_t i = 0; i < entry.size(); i++)
    if (inLowerCase(entry[i]).find(inLowerCase(name)) != std::string::npos) lines.push_back(i);
  return lines;
}

// Takes the lines that hold the name away, one after the other.
std::vector<size_t> takeLinesThatHold(NameMatches& matches, const std::string& name) {
  std::vector<size_t> lines;
  while (Line* const line = firstThatHolds(matches, name)) {
    lines.push_back(static_cast<size_t>(line - matches.entry.data()));
    line->names |= GONE;
  }
  return lines;
}

void expectMatches(const Lines& names, const Lines& entry) {
  for (const std::string& name : names) {
    std::vector<Line> lines = scanned(entry);
    NameMatches matches = findMatches({names.begin(), names.end()}, lines);
    ASSERT_EQ(takeLinesThatHold(matches, name), plainLinesThatHold(entry, name)) << name;
  }
}

// What one name has taken away the others do not find.
void expectMatchesInTurn(const Lines& names, const Lines& entry) {
  std::vector<Line> lines = scanned(entry);
  NameMatches matches = findMatches({names.begin(), names.end()}, lines);
  std::vector<bool> areGone(entry.size());
  for (const std::string& name : names) {
    const std::vector<size_t> holders = plainLinesThatHold(entry, name);
    const auto first = std::find_if(holders.begin(), holders.end(), [&](size_t i) { return !areGone[i]; });
    Line* const found = firstThatHolds(matches, name);
    ASSERT_EQ(found == nullptr, first == holders.end()) << name;
    if (found == nullptr) continue;
    ASSERT_EQ(static_cast<size_t>(found - lines.data()), *first) << name;
    found->names |= GONE;
    areGone[*first] = true;
  }
}

struct MatchCase {
  const char* name;
  Lines names;
  Lines entry;
  const char* sought;
  std::vector<size_t> lines;
};
class LinesThatHold : public testing::TestWithParam<MatchCase> {};
const MatchCase matchCases[] = {
    {"InTheirOrder", {"cn:"}, {"cn: a\n", "sn: b\n", "cn: c\n"}, "cn:", {0, 2}},
    {"AnyCase", {"Cn:"}, {"CN: a\n", "cN: b\n"}, "cn:", {0, 1}},
    {"EndOfALongerName", {"cn:", "seccn:"}, {"seccn: a\n"}, "cn:", {0}},
    {"LongerNameIsNotItsEnd", {"cn:", "seccn:"}, {"cn: a\n"}, "seccn:", {}},
    {"NameInAValue", {"cn:"}, {"text: see cn: a\n"}, "cn:", {0}},
    {"LineThatHoldsItTwiceCountsOnce", {"cn:"}, {"cn: cn: cn:\n"}, "cn:", {0}},
    {"ColonAlone", {":", "cn:"}, {"a: b\n", "none\n", "cn: a\n"}, ":", {0, 2}},
    {"NoneHoldsIt", {"cn:", "dn:"}, {"sn: a\n", "n: a\n"}, "cn:", {}},
    {"LineShorterThanTheName", {"description:"}, {"n: a\n"}, "description:", {}},
    {"ChainOfEnds", {"n:", "cn:", "bcn:", "abcn:"}, {"xbcn: a\n", "abcn: a\n"}, "cn:", {0, 1}},
    {"ShorterNameBesideOneThatEndsOtherwise", {"n:", "an:", "bn:"}, {"cn: a\n"}, "n:", {0}},
    {"EmptyEntry", {"cn:"}, {}, "cn:", {}},
};
INSTANTIATE_CASES(LinesThatHold, matchCases);
TEST_P(LinesThatHold, AreFound) {
  std::vector<Line> lines = scanned(GetParam().entry);
  NameMatches matches = findMatches({GetParam().names.begin(), GetParam().names.end()}, lines);
  EXPECT_EQ(takeLinesThatHold(matches, GetParam().sought), GetParam().lines);
  expectMatches(GetParam().names, GetParam().entry);
}

TEST(NameMatches, KnowEachNameOnce) {
  const NameMatches matches = findMatches({"cn:", "CN:", "dn:", "cn:"}, {});
  EXPECT_EQ(matches.names.size(), 2u);
}

TEST(NameMatches, OfNoNamesAreNone) {
  std::vector<Line> lines = {scanLine("cn: a\n")};
  EXPECT_TRUE(findMatches({}, lines).names.empty());
}

std::string anyText(std::mt19937& random, const std::string& alphabet, size_t longest) {
  std::string text;
  for (size_t length = random() % (longest + 1); length > 0; length--) text += alphabet[random() % alphabet.size()];
  return text;
}

// Two letters make names that are suffixes of others, and equal ones.
TEST(NameMatches, AreThoseOfAPlainSearchInPseudorandomEntries) {
  std::mt19937 random(3);
  for (int round = 0; round < 2000; round++) {
    Lines names;
    Lines entry;
    for (size_t count = random() % 30; count > 0; count--) names.push_back(anyText(random, "abA", 6) + ":");
    for (size_t count = random() % 30; count > 0; count--) entry.push_back(anyText(random, "aabBA::", 20) + "\n");
    expectMatches(names, entry);
    expectMatchesInTurn(names, entry);
  }
}

}  // namespace
