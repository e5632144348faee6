#include "rules/colon_search.h"

#include <random>

#include "test_support.h"

namespace {

struct SearchCase {
  const char* name;
  const char* line;
  const char* text;
  int exactly;    // place of the match, -1 for none
  int inAnyCase;  // likewise
};
class ColonSearch : public testing::TestWithParam<SearchCase> {};
const SearchCase searchCases[] = {
    {"AtTheStart", "cn: a\n", "cn:", 0, 0},
    {"OtherCase", "CN: a\n", "cn:", -1, 0},
    {"InALongerName", "seccn: a\n", "cn:", 3, 3},
    {"AtALaterColon", "text: my cn: b\n", "cn:", 9, 9},
    {"OtherCaseBeforeTheExactOne", "CN: my cn: b\n", "cn:", 7, 0},
    {"TextBehindTheColon", "version:5 version: 5\n", "version: ", 10, 10},
    {"ColonWithoutTheTextBehindIt", "version:", "version: ", -1, -1},
    {"LineTooShortBeforeTheColon", "n: a\n", "cn:", -1, -1},
    {"NoColon", "cn\n", "cn:", -1, -1},
    {"Empty", "", "cn:", -1, -1},
    {"ColonsInARow", "cn:: a\n", "cn:", 0, 0},
    {"ColonAtTheEnd", "cn:", "cn:", 0, 0},
    {"ColonAloneAtTheStart", ":a\n", ":", 0, 0},
    {"ColonAloneBehindAName", "dn: a\n", ":", 2, 2},
    {"TextAtAColonAfterOthers", ": b: cn: a\n", "cn:", 5, 5},
    {"OnlyLettersHaveTwoCases", "c[:\n", "c{:", -1, -1},
    {"BytesAboveAsciiHaveOneCase", "\xC4:\n", "\xE4:", -1, -1},
};
INSTANTIATE_CASES(ColonSearch, searchCases);
// The text as it is looked for in either way; one that is not a name with its colon only in the first.
std::vector<ColonText> textsOf(std::string_view text) {
  std::vector<ColonText> texts = {ColonText(text)};
  if (text.find(':') == text.size() - 1) texts.push_back(ColonText::unknown(text));
  return texts;
}

TEST_P(ColonSearch, FindsTheFirstPlace) {
  const SearchCase& search = GetParam();
  const Line line = scanLine(search.line);
  const auto at = [](int place) { return place < 0 ? NOT_FOUND : static_cast<size_t>(place); };
  for (const ColonText& text : textsOf(search.text)) {
    EXPECT_EQ(findExactly(line, text), at(search.exactly));
    EXPECT_EQ(findInAnyCase(line, text), at(search.inAnyCase));
  }
}

TEST(SearchForSeveral, FindsAnyOfThem) {
  const ColonText texts[] = {"acl:", "aci:"};
  const Line line = scanLine("text: see ACL: x or aci: y\n");
  EXPECT_EQ(findExactly(line, texts), 20u);
  EXPECT_EQ(findInAnyCase(line, texts), 10u);
  EXPECT_EQ(findInAnyCase(scanLine("acx: y\n"), texts), NOT_FOUND);
}

TEST(SearchForSeveral, FindsTheOnlyOne) {
  const ColonText texts[] = {"aci:", "control:", "secdn:"};
  for (const ColonText& text : texts) {
    const std::string line = "x" + std::string(text.text) + " y\n";
    EXPECT_EQ(findExactly(scanLine(line), texts), 1u);
    EXPECT_EQ(findInAnyCase(scanLine(line), texts), 1u);
  }
}

TEST(ColonTexts, KnowTheBitOfAKnownNameInAnyCase) {
  EXPECT_NE(ColonText("secdn: ").name, 0u);
  EXPECT_EQ(ColonText("SECdn:").name, ColonText("secdn: ").name);
  EXPECT_NE(ColonText("secdn:").name, ColonText("dn:").name);
  EXPECT_EQ(ColonText("description:").name, 0u);
  EXPECT_EQ(ColonText::unknown("secdn:").name, 0u);
}

TEST(QuickTest, NeverPassesOverATextThatStandsInTheLine) {
  const std::string alphabet = "cndCN:: x";
  const std::vector<std::string> texts = {"cn:", "dn:", "secdn:", "cn: ", ":", "n:", "xcn:", "c:d", "DN:", "nnn:"};
  std::mt19937 random(1);
  size_t found = 0;
  for (int round = 0; round < 20000; round++) {
    std::string line;
    for (size_t length = random() % 40; length > 0; length--) line += alphabet[random() % alphabet.size()];
    if (random() % 4 == 0) line.insert(random() % (line.size() + 1), random() % 2 == 0 ? "secdn:" : "SecDN:");
    for (const std::string& text : texts) {
      const size_t exactly = line.find(text);
      const size_t inAnyCase = inLowerCase(line).find(inLowerCase(text));
      for (const ColonText& colonText : textsOf(text)) {
        ASSERT_EQ(findExactly(scanLine(line), colonText), exactly) << line << " | " << text;
        ASSERT_EQ(findInAnyCase(scanLine(line), colonText), inAnyCase) << line << " | " << text;
      }
      found += exactly != NOT_FOUND;
    }
  }
  EXPECT_GT(found, 10000u);
}

}  // namespace
