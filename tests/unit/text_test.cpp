#include "rules/text.h"

#include <algorithm>

#include "platform/bounded_text.h"
#include "test_support.h"

namespace {

struct TextCase {
  const char* name;
  std::string text;
  std::string expected;
};

// Applies a routine that works in place, in a block with room for two characters at least.
std::string changed(std::string text, size_t (*routine)(char*, size_t)) {
  const size_t length = text.size();
  text.resize(std::max<size_t>(length, 2));
  return text.substr(0, routine(text.data(), length));
}

class Trim : public testing::TestWithParam<TextCase> {};
const TextCase trimCases[] = {
    {"NothingToCut", "a b", "a b"},
    {"EveryKindOfTrailingWhiteSpaceGoes", "a b \t\n\v\f\r", "a b"},
    {"LeadingWhiteSpaceStays", " \ta", " \ta"},
    {"AllWhiteBecomesEmpty", " \t\n", ""},
    {"EmptyStaysEmpty", "", ""},
};
INSTANTIATE_CASES(Trim, trimCases);
TEST_P(Trim, CutsTheEnd) {
  EXPECT_EQ(trimmed(GetParam().text), GetParam().expected);
  EXPECT_EQ(trimmed(GetParam().text).data(), GetParam().text.data());
}

TEST(Folding, TouchesAsciiLettersOnly) {
  for (int code = 0; code < 256; code++) {
    const int expected = code >= 'A' && code <= 'Z' ? code - 'A' + 'a' : code;
    EXPECT_EQ(lowered(static_cast<char>(code)), expected);
  }
}

// Of every length up to that of a few steps of eight characters, with a difference in every place.
TEST(Comparison, SeesEveryCharacterAndOnlyTheCaseOfLetters) {
  const std::string whole = "abcdefghijklmnopqrstuvwxyz";
  for (size_t length = 0; length <= whole.size(); ++length) {
    const std::string text = whole.substr(0, length);
    EXPECT_TRUE(isSame(text, whole.substr(0, length)));
    EXPECT_TRUE(isSameInAnyCase(text, whole.substr(0, length)));
    EXPECT_FALSE(isSameInAnyCase(text, text + "a"));
    for (size_t place = 0; place < length; ++place) {
      std::string capital = text;
      capital[place] = static_cast<char>(capital[place] - 'a' + 'A');
      EXPECT_FALSE(isSame(text, capital)) << length << " " << place;
      EXPECT_TRUE(isSameInAnyCase(text, capital)) << length << " " << place;
      std::string other = text;
      other[place] = '1';
      EXPECT_FALSE(isSameInAnyCase(text, other)) << length << " " << place;
      std::string bracket = text;
      std::string brace = text;
      bracket[place] = '[';
      brace[place] = '{';
      EXPECT_FALSE(isSameInAnyCase(bracket, brace)) << length << " " << place;
    }
  }
}

struct SearchCase {
  const char* name;
  const char* haystack;
  const char* needle;
  int place;  // -1: no match
};
class Search : public testing::TestWithParam<SearchCase> {};
const SearchCase searchCases[] = {
    {"StartOfADnInMixedCase", "CN=policies,SECauthority=Default", "cn=Policies,secAuthority=", 0},
    {"InTheMiddle", "o=a,CN=b", "cn=", 4},
    {"FirstOfSeveral", "xAxa", "a", 1},
    {"BeginsAnewBehindAPartialMatch", "aab", "ab", 1},
    {"AtTheEnd", "dn: CN", "cn", 4},
    {"EmptyNeedleIsTheHaystack", "abc", "", 0},
    {"EmptyNeedleInAnEmptyHaystack", "", "", 0},
    {"EmptyHaystack", "", "a", -1},
    {"HaystackEndsFirst", "ab", "abc", -1},
    {"OnlyLettersFold", "a[b", "a{b", -1},
    {"NeedleWithASignWhoseHaystackEndsFirst", "o=a,cn", "cn=", -1},
    {"NeedleWithASignThatBeginsBeforeTheHaystack", "n=a,cn=b", "cn=", 4},
    {"NeedleWithASignBehindSeveral", "a=b=CN=Users,x", "cn=users", 4},
    {"NeedleWithMoreThanOneSign", "cn=users,o=a,CN=Users,SECAUTHORITY=b", "cn=users,secauthority=", 13},
    {"SignAtTheVeryEnd", "a,cn=", "cn=b", -1},
};
INSTANTIATE_CASES(Search, searchCases);
TEST_P(Search, FindsTheFirstPlace) {
  const SearchCase& search = GetParam();
  EXPECT_EQ(dostristr(search.haystack, search.needle),
            search.place < 0 ? std::string_view::npos : static_cast<size_t>(search.place));
  EXPECT_EQ(holdsInAnyCase(search.haystack, search.needle), search.place >= 0);
}

class Commas : public testing::TestWithParam<TextCase> {};
const TextCase commaCases[] = {
    {"OneBefore", "cn=a ,o=b", "cn=a,o=b"},
    {"SeveralOnBothSides", "cn=a  ,   o=b,  c=d\n", "cn=a,o=b,c=d\n"},
    {"BlanksElsewhereStay", " cn=a b, o=c d ", " cn=a b,o=c d "},
    {"TabBehindACommaStays", "a,\tb", "a,\tb"},
    {"TabBeforeACommaStays", "a\t,b", "a\t,b"},
    {"TabBeforeACommaStaysAmongBlanks", "cn=a b\t,o=x", "cn=a b\t,o=x"},
    {"BlankBehindATabStays", "a,\t b", "a,\t b"},
    {"EscapesAreNotUnderstood", "cn=a\\ , b,o=c", "cn=a\\,b,o=c"},
    {"BlanksBetweenCommas", "a , , b", "a,,b"},
    {"BackToTheStart", "  , ", ","},
    {"Empty", "", ""},
};
INSTANTIATE_CASES(Commas, commaCases);
TEST_P(Commas, LoseTheSpacesAroundThem) {
  EXPECT_EQ(changed(GetParam().text, commaSpaceEater), GetParam().expected);
  EXPECT_EQ(hasSpaceBesideComma(GetParam().text), GetParam().text != GetParam().expected);
}

struct BlankCase {
  const char* name;
  const char* line;
  bool blank;
};
class Blank : public testing::TestWithParam<BlankCase> {};
const BlankCase blankCases[] = {
    {"Empty", "", true},
    {"Newline", "\n", true},
    {"Spaces", "   \n", true},
    {"CarriageReturnAndNewline", "\r\n", true},
    {"AllThreeMixed", " \r \n ", true},
    {"Tab", "\t\n", false},
    {"VerticalTab", "\v\n", false},
    {"TextBehindSpaces", "  a\n", false},
};
INSTANTIATE_CASES(Blank, blankCases);
TEST_P(Blank, IsSpacesAndLineEndsOnly) { EXPECT_EQ(isBlankLine(GetParam().line), GetParam().blank); }

class Blanking : public testing::TestWithParam<TextCase> {};
const TextCase blankingCases[] = {
    {"SixCharactersStaySix", "cn: a\n", "    \r\n"},
    {"WithoutALineEnd", "cn: a", "   \r\n"},
    {"ThreeCharacters", "ab\n", " \r\n"},
    {"TwoCharacters", "a\n", "\r\n"},
    {"OneCharacterGrows", "a", "\r\n"},
    {"EmptyGrows", "", "\r\n"},
};
INSTANTIATE_CASES(Blanking, blankingCases);
TEST_P(Blanking, KeepsTheLength) {
  const std::string blanked = changed(GetParam().text, blankLine);
  EXPECT_EQ(blanked, GetParam().expected);
  EXPECT_TRUE(isBlankLine(blanked));
}

TEST(CuttingAtComma, CutsAtTheFirstOrNotAtAll) {
  EXPECT_EQ(upToComma("a,b,c"), "a");
  EXPECT_EQ(upToComma("abc"), "abc");
}
TEST(DnOfAFirstLine, StandsBehindItsTagAndSpaces) {
  EXPECT_EQ(dnOfFirstLine("dn:  cn=a \n"), "cn=a \n");
  EXPECT_EQ(dnOfFirstLine("dn:\tcn=a\n"), "\tcn=a\n");
  EXPECT_EQ(dnOfFirstLine("dn:"), "");
}
TEST(SkippingSpaces, StopsAtATab) {
  EXPECT_EQ(behindSpaces("  \t a"), "\t a");
  EXPECT_EQ(behindSpaces("   "), "");
}

TEST(BoundedCopies, FitUpToTheClosingNul) {
  constexpr size_t SIZE = 4;
  char buffer[2 * SIZE] = "old";
  EXPECT_FALSE(copyBounded(buffer, SIZE, "ABCD"));
  EXPECT_STREQ(buffer, "old");
  EXPECT_TRUE(copyBounded(buffer, SIZE, "ABC"));
  EXPECT_STREQ(buffer, "ABC");
}
TEST(BoundedAppending, FitsUpToTheClosingNul) {
  constexpr size_t SIZE = 5;
  char buffer[2 * SIZE] = "ab";
  EXPECT_FALSE(appendBounded(buffer, SIZE, "cde"));
  EXPECT_STREQ(buffer, "ab");
  EXPECT_TRUE(appendBounded(buffer, SIZE, "cd"));
  EXPECT_STREQ(buffer, "abcd");
  EXPECT_FALSE(appendBounded(buffer, SIZE, "e"));
  EXPECT_TRUE(appendBounded(buffer, SIZE, ""));
}

}  // namespace
