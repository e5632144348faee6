#include "platform/shown_text.h"

#include "test_support.h"

namespace {

std::string shown(const std::string& text, Newlines newlines = Newlines::HIDDEN) {
  char buffer[200] = "";
  appendHarmless(buffer, sizeof buffer, text, newlines);
  return buffer;
}

struct ShownCase {
  const char* name;
  std::string text;
  std::string shown;
};
class Shown : public testing::TestWithParam<ShownCase> {};
const ShownCase shownCases[] = {
    {"Ascii", "cn=a ~", "cn=a ~"},
    {"Backslash", "\\x", "\\x"},
    {"ControlCharacters", "a\tb\nc\x1b[2J\x7f", "a\\x09b\\x0Ac\\x1B[2J\\x7F"},
    {"Nul", std::string("a\0b", 3), "a\\x00b"},
    {"Letters", "\u00fc\u20ac\U0001f600", "\u00fc\u20ac\U0001f600"},
    {"LastControlCharacterOfLatin1", "\xc2\x9f", "\\xC2\\x9F"},
    {"ControlSequenceIntroducer", "\xc2\x9b", "\\xC2\\x9B"},
    {"FirstCharacterBehindThem", "\xc2\xa0", "\xc2\xa0"},
    {"LoneByteOfAControlCharacter", "a\x9b", "a\\x9B"},
    {"LoneByteOfALetter", "\xfc", "\\xFC"},
    {"CutCharacter", "\xe2\x82", "\\xE2\\x82"},
    {"CharacterCutByAnother", "\xe2\x82x", "\\xE2\\x82x"},
    {"OverlongForms", "\xc1\x9b\xe0\x80\x9b\xf0\x80\x80\x9b", "\\xC1\\x9B\\xE0\\x80\\x9B\\xF0\\x80\\x80\\x9B"},
    {"LastCharacter", "\xf4\x8f\xbf\xbf", "\xf4\x8f\xbf\xbf"},
    {"BehindTheLastCharacter", "\xf4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"},
    {"Surrogate", "\xed\xa0\x80", "\\xED\\xA0\\x80"},
    {"BeforeTheSurrogates", "\xed\x9f\xbf", "\xed\x9f\xbf"},
};
INSTANTIATE_CASES(Shown, shownCases);
TEST_P(Shown, IsHarmless) { EXPECT_EQ(shown(GetParam().text), GetParam().shown); }

TEST(Shown, KeepsNewlinesWhereItIsSaid) { EXPECT_EQ(shown("a\r\nb\n", Newlines::KEPT), "a\\x0D\nb\n"); }

TEST(Shown, EndsWithWholeCharactersWhereTheBufferEnds) {
  char buffer[10] = "12";
  appendHarmless(buffer, sizeof buffer, "\u20ac\u20ac\u20ac");
  EXPECT_STREQ(buffer, "12\u20ac\u20ac");
  appendHarmless(buffer, sizeof buffer, "x");
  EXPECT_STREQ(buffer, "12\u20ac\u20ac");
}

struct DnCase {
  const char* name;
  const char* line;
  const char* dn;  // empty for none
};
class DnOfLine : public testing::TestWithParam<DnCase> {};
const DnCase dnCases[] = {
    {"OneComponent", "dn: cn=a\n", "cn=a"},
    {"SeveralComponents", "DN:secAuthority=Default, cn = a b ,o=x \r\n", "secAuthority=Default, cn = a b ,o=x"},
    {"NumberAsType", "dn: 2.5.4.3=a\n", "2.5.4.3=a"},
    {"EscapedComma", "dn: cn=a\\,b,o=x\n", "cn=a\\,b,o=x"},
    {"EqualsSignInAValue", "dn: cn=a=b\n", "cn=a=b"},
    {"Semicolon", "dn: cn=a;o=x", "cn=a;o=x"},
    {"Base64", "dn:: Y249YQ==\n", ""},
    {"Base64InPlaceOfADn", "dn: UzNjcmV0UGFzc3dvcmQ=\n", ""},
    {"Base64WithTwoSignsInPlaceOfADn", "dn: UzNjcmV0UGFzc3dvcmQ==\n", ""},
    {"Password", "userPassword: cn=a\n", ""},
    {"NoTag", "cn=a\n", ""},
    {"ShortLine", "dn\n", ""},
    {"Nothing", "dn:\n", ""},
    {"EmptyValue", "dn: cn= ,o=x\n", ""},
    {"NoType", "dn: =a\n", ""},
    {"ComponentWithoutValue", "dn: cn=a,secret\n", ""},
    {"EmptyComponent", "dn: cn=a,\n", ""},
    {"OddType", "dn: c:n=a\n", ""},
    {"TypeThatBeginsWithAHyphen", "dn: -cn=a\n", ""},
};
INSTANTIATE_CASES(DnOfLine, dnCases);
TEST_P(DnOfLine, IsADnOrNothing) { EXPECT_EQ(dnOfLine(GetParam().line), GetParam().dn); }

}  // namespace
