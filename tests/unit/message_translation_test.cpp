#include "platform/message_translation.h"

#include "test_support.h"

namespace {

struct FormatCase {
  const char* name;
  const char* translation;
  const char* original;
  bool isUsable;
};
class Translation : public testing::TestWithParam<FormatCase> {};
const FormatCase formatCases[] = {
    {"WithoutArguments", "Die Umwandlung beginnt.", "The conversion begins.", true},
    {"InOrder", "Datei %s", "The file %s", true},
    {"OtherTypes", "%d", "%s", false},
    {"OneTooFew", "Datei", "The file %s", false},
    {"OneTooMany", "Datei %s %s", "The file %s", false},
    {"InAnotherOrder", "%d %s", "%s %d", false},
    {"ByPosition", "%2$d %1$s", "%s %d", true},
    {"ByPositionTwice", "%1$s %1$s", "%s", true},
    {"ByPositionTwiceWithTwoTypes", "%1$s %1$d", "%s", false},
    {"ByPositionWithAGap", "%2$d", "%s %d", false},
    {"BothWays", "%1$s %d", "%s %d", false},
    {"BothWaysTheOtherWayRound", "%s %2$d", "%s %d", false},
    {"ByAPositionThatCannotBe", "%10$s", "%s", false},
    {"ByThePositionBeforeTheFirst", "%0$s", "%s", false},
    {"ByAnEnormousPosition", "%99999999999999999999$s", "%s", false},
    {"WithFlagsWidthAndPrecision", "%-+ #010.3s", "%s", true},
    {"WithAWidthTakenFromAnArgument", "%*d", "%d", false},
    {"PercentSign", "100%% %s", "%s", true},
    {"WritingConversion", "%n", "%s", false},
    {"OtherConversion", "%x", "%d", false},
    {"LongNumber", "%ld", "%d", false},
    {"UnfinishedConversion", "%s %", "%s", false},
    {"UnfinishedPosition", "%1", "%s", false},
    {"BothUnusable", "%n", "%n", false},
    {"MoreThanAreKnown", "%s%s%s%s%s%s%s%s%s%s", "%s%s%s%s%s%s%s%s%s%s", false},
};
INSTANTIATE_CASES(Translation, formatCases);
TEST_P(Translation, TakesTheArgumentsOfTheOriginal) {
  const FormatCase& given = GetParam();
  EXPECT_EQ(takesSameArguments(given.translation, given.original), given.isUsable);
}

}  // namespace
