#include "ldif/text.h"

#include "reporting/reporting.h"
#include "test_support.h"

namespace {

struct TextCase {
  const char* name;
  std::string text;
  std::string expected;
};

// Applies a routine that works in place, in a block with the room that every line has.
std::string changed(const std::string& text, void (*routine)(char*)) {
  std::vector<char> block(text.size() + 10, '\0');
  text.copy(block.data(), text.size());
  routine(block.data());
  return block.data();
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
  EXPECT_EQ(changed(GetParam().text, [](char* text) { EXPECT_EQ(trim(text), text); }), GetParam().expected);
}
TEST(TrimOfNothing, IsNothing) { EXPECT_EQ(trim(nullptr), nullptr); }

TEST(Folding, TouchesAsciiLettersOnly) {
  EXPECT_EQ(changed("Ab-Z1\xC4\xE4", strtolower), "ab-z1\xC4\xE4");
  EXPECT_EQ(changed("Ab-z1\xC4\xE4", strtoupper), "AB-Z1\xC4\xE4");
}
TEST(Folding, LeavesNullAndTheEmptyStringAlone) {
  strtolower(nullptr);
  strtoupper(nullptr);
  EXPECT_EQ(changed("", strtolower), "");
  EXPECT_EQ(changed("", strtoupper), "");
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
    {"NullNeedle", "abc", nullptr, -1},
};
INSTANTIATE_CASES(Search, searchCases);
TEST_P(Search, FindsTheFirstPlace) {
  const SearchCase& search = GetParam();
  const char* expected = search.place < 0 ? nullptr : search.haystack + search.place;
  EXPECT_EQ(dostristr(search.haystack, search.needle), expected);
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
TEST_P(Commas, LoseTheSpacesAroundThem) { EXPECT_EQ(changed(GetParam().text, commaSpaceEater), GetParam().expected); }
TEST(CommasOfNothing, AreNothing) { commaSpaceEater(nullptr); }

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
  EXPECT_TRUE(isBlankLine(blanked.c_str()));
}

TEST(CuttingAtLineEnd, CutsAtTheFirstOfEitherKind) {
  EXPECT_EQ(changed("a\rb\n", cutAtLineEnd), "a");
  EXPECT_EQ(changed("a\nb\r", cutAtLineEnd), "a");
  EXPECT_EQ(changed("a b", cutAtLineEnd), "a b");
}
TEST(CuttingAtComma, CutsAtTheFirstOrNotAtAll) {
  EXPECT_EQ(changed("a,b,c", cutAtComma), "a");
  EXPECT_EQ(changed("abc", cutAtComma), "abc");
}
TEST(SkippingSpaces, StopsAtATab) {
  EXPECT_STREQ(skipSpaces("  \t a"), "\t a");
  EXPECT_STREQ(skipSpaces("   "), "");
}

TEST(BoundedCopies, FitUpToTheClosingNul) {
  char buffer[4] = "old";
  EXPECT_FALSE(copyBounded(buffer, sizeof buffer, "ABCD"));
  EXPECT_FALSE(copyLowered(buffer, sizeof buffer, "ABCD"));
  EXPECT_STREQ(buffer, "old");
  EXPECT_TRUE(copyBounded(buffer, sizeof buffer, "ABC"));
  EXPECT_STREQ(buffer, "ABC");
  EXPECT_TRUE(copyLowered(buffer, sizeof buffer, "XYZ"));
  EXPECT_STREQ(buffer, "xyz");
}
TEST(BoundedAppending, FitsUpToTheClosingNul) {
  char buffer[5] = "ab";
  EXPECT_FALSE(appendBounded(buffer, sizeof buffer, "cde"));
  EXPECT_STREQ(buffer, "ab");
  EXPECT_TRUE(appendBounded(buffer, sizeof buffer, "cd"));
  EXPECT_STREQ(buffer, "abcd");
  EXPECT_FALSE(appendBounded(buffer, sizeof buffer, "e"));
  EXPECT_TRUE(appendBounded(buffer, sizeof buffer, ""));
}

}  // namespace
