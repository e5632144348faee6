#include "platform/character_set.h"

#include "test_support.h"

namespace {

struct CharacterSetCase {
  const char* name;
  const char* characterSet;
  const char* text;
  bool isRepresentable;
  const char* converted;
};
class CharacterSet : public testing::TestWithParam<CharacterSetCase> {};

// Many character sets are files beside the C library, which not every system has.
#define OPEN_OR_SKIP(conversion, characterSet)             \
  const iconv_t conversion = openConversion(characterSet); \
  if ((conversion) == nullptr) GTEST_SKIP() << "the C library here has no " << (characterSet)

const CharacterSetCase characterSetCases[] = {
    {"AsciiInItself", "ANSI_X3.4-1968", "cn=a", true, "cn=a"},
    {"UmlautInAscii", "ANSI_X3.4-1968", "f\u00fcr", false, "f\\xC3\\xBCr"},
    {"UmlautInLatin1", "ISO-8859-1", "f\u00fcr \u00df", true, "f\xfcr \xdf"},
    {"EuroInLatin1", "ISO-8859-1", "5\u20ac \u00fc", false, "5\\xE2\\x82\\xAC \xfc"},
    {"EuroInLatin9", "ISO-8859-15", "5\u20ac", true, "5\xa4"},
    {"CharacterBehindTheLastOfLatin1", "ISO-8859-1", "\U0001f600\u0100", false, "\\xF0\\x9F\\x98\\x80\\xC4\\x80"},
    {"Utf8InItself", "UTF-8", "\u00fc\u20ac\U0001f600", true, "\u00fc\u20ac\U0001f600"},
    {"KanjiInACharacterSetWithStates", "ISO-2022-JP", "a\u65e5", true, "a\x1b$BF|\x1b(B"},
    {"Nothing", "ISO-8859-1", "", true, ""},
};
INSTANTIATE_CASES(CharacterSet, characterSetCases);

TEST_P(CharacterSet, IsThatOfTheConvertedText) {
  OPEN_OR_SKIP(conversion, GetParam().characterSet);
  EXPECT_EQ(isRepresentable(conversion, GetParam().text), GetParam().isRepresentable);
  char buffer[100];
  snprintf(buffer, sizeof buffer, "%s", GetParam().text);
  convertText(conversion, buffer, sizeof buffer);
  EXPECT_STREQ(buffer, GetParam().converted);
  iconv_close(conversion);
}

TEST(CharacterSet, IsAskedOfALongTextToItsEnd) {
  OPEN_OR_SKIP(conversion, "ISO-8859-1");
  EXPECT_TRUE(isRepresentable(conversion, repeated(5000, "\u00fc")));
  EXPECT_FALSE(isRepresentable(conversion, repeated(5000, "\u00fc") + "\u20ac"));
  iconv_close(conversion);
}

TEST(CharacterSet, ConvertsAsMuchAsFitsInWholeCharacters) {
  OPEN_OR_SKIP(conversion, "ISO-8859-1");
  char buffer[24] = "1\u20ac2\u20ac3";  // nine bytes, of which every three become twelve; sixteen are reserved
  convertText(conversion, buffer, sizeof buffer);
  EXPECT_STREQ(buffer, "1\\xE2");
  iconv_close(conversion);
}

TEST(CharacterSet, IsKnownEverywhereWhenTheCLibraryHasItBuiltIn) {
  for (const char* characterSet : {"ANSI_X3.4-1968", "UTF-8"}) {
    const iconv_t conversion = openConversion(characterSet);
    ASSERT_NE(conversion, nullptr) << characterSet;
    iconv_close(conversion);
  }
}

TEST(CharacterSet, CanBeUnknown) {
  EXPECT_EQ(openConversion("no such character set"), nullptr);
  EXPECT_FALSE(isRepresentable(nullptr, "a"));
}

}  // namespace
