#include "ldif/colon_search.h"

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
TEST_P(ColonSearch, FindsTheFirstPlace) {
  const SearchCase& search = GetParam();
  const auto at = [&search](int place) { return place < 0 ? nullptr : search.line + place; };
  EXPECT_EQ(findExactly(search.line, search.text), at(search.exactly));
  EXPECT_EQ(findInAnyCase(search.line, search.text), at(search.inAnyCase));
}

TEST(SearchForSeveral, FindsAnyOfThem) {
  const ColonText texts[] = {"acl:", "aci:"};
  const char line[] = "text: see ACL: x or aci: y\n";
  EXPECT_EQ(findExactly(line, texts), line + 20);
  EXPECT_EQ(findInAnyCase(line, texts), line + 10);
  EXPECT_EQ(findInAnyCase("acx: y\n", texts), nullptr);
}

TEST(SearchForSeveral, FindsTheOnlyOne) {
  const ColonText texts[] = {"aci:", "control:", "secdn:"};
  for (const ColonText& text : texts) {
    const std::string line = "x" + std::string(text.text) + " y\n";
    EXPECT_EQ(findExactly(line.c_str(), texts), line.c_str() + 1);
    EXPECT_EQ(findInAnyCase(line.c_str(), texts), line.c_str() + 1);
  }
}

TEST(Colons, OfALineAreFoundOnce) {
  const char text[] = "a: b: c";
  const ColonLine line(text);
  EXPECT_EQ(line.text, text);
  EXPECT_EQ(line.length, 7);
  EXPECT_EQ(line.firstColon, text + 1);
  EXPECT_EQ(ColonLine("abc").firstColon, nullptr);
}

}  // namespace
