#include "ldif/attribute_lookup.h"

#include <unistd.h>

#include "test_support.h"

namespace {

struct NameCase {
  const char* name;
  Lines lines;
  const char* attribute;
  const char* value;
};
class LookupByName : public FreshRun, public testing::WithParamInterface<NameCase> {};
const NameCase nameCases[] = {
    {"FoldedOverThreeLines", {"dn: a\n", "text: abc\n", " def\n", " ghi\n", "cn: x\n"}, "text", "abcdefghi"},
    {"FoldedWithCarriageReturns", {"text: abc\r\n", " def\r\n"}, "text", "abcdef"},
    {"SecondBlankOfAContinuationIsText", {"text: abc\n", "  def\n"}, "text", "abc def"},
    {"NameWrittenInAnyCase", {"dn: a\n", "SECdn: cn=B\n"}, "secDN", "cn=B"},
    {"DnIsLineZeroBeforeSecDn", {"dn: cn=a\n", "secDN: cn=b\n"}, "dn", "cn=a"},
    {"LongerNameThatEndsInIt", {"secDN: cn=b\n", "dn: cn=a\n"}, "dn", "cn=b"},
    {"FirstOfSeveral", {"cn: a\n", "cn: b\n"}, "cn", "a"},
    {"SpacesBeforeTheValueAreSkipped", {"cn:    a b \n"}, "cn", "a b "},
    {"NoSpaceBeforeTheValue", {"cn:a\n"}, "cn", "a"},
    {"TabBeforeTheValueStays", {"cn: \ta\n"}, "cn", "\ta"},
    {"Base64ValueKeepsItsSecondColon", {"cn:: YWJj\n"}, "cn", ": YWJj"},
    {"FoundInAValueInLowerCase", {"text: my cn: B\n"}, "CN", "B"},
    {"NotFoundInAValueInUpperCase", {"text: my CN: b\n"}, "cn", nullptr},
    {"FoundInAContinuationLine", {"text: a\n", " cn: b\n"}, "cn", "b"},
    {"EmptyValue", {"cn:\n"}, "cn", ""},
    {"NotThere", {"dn: a\n"}, "cn", nullptr},
    {"NameWithoutColon", {"cn\n"}, "cn", nullptr},
    {"EmptyBuffer", {}, "dn", nullptr},
};
INSTANTIATE_CASES(LookupByName, nameCases);
TEST_P(LookupByName, GivesTheValue) {
  fillObject(GetParam().lines);
  EXPECT_EQ(shown(obtainAttributeValueFromObjArray(GetParam().attribute)),
            GetParam().value == nullptr ? "(null)" : GetParam().value);
  EXPECT_EQ(objectLines(), GetParam().lines);
}

class AttributeLookup : public FreshRun {};

TEST_F(AttributeLookup, TracesTheLineFound) {
  fillObject({"dn: a\n", "cn: b\n", " c\n"});
  startTrace();
  obtainAttributeValueFromObjArray("CN");
  expectTraced({"obtainAttributeValueFromObjArray():  FUNCTION ENTRY \n", "    Seeking the value of attribute:  CN\n",
                "   The attribute value at index 1 returned is:   bc \n"});
}

TEST_F(AttributeLookup, TracesANameThatIsNotThere) {
  startTrace();
  obtainAttributeValueFromObjArray("cn");
  expectTraced({"obtainAttributeValueFromObjArray():  ERROR:  Attribute not found. \n",
                "obtainAttributeValueFromObjArray():  FUNCTION EXIT \n"});
}

struct LineCase {
  const char* name;
  Lines lines;
  int32_t index;
  const char* line;
  const char* fromColonOn;
};
class LookupByIndex : public FreshRun, public testing::WithParamInterface<LineCase> {};
const LineCase lineCases[] = {
    {"LineEndIsCut", {"dn: a\n", "cn: x\r\n"}, 1, "cn: x", ": x"},
    {"WithoutALineEnd", {"cn:   x"}, 0, "cn:   x", ":   x"},
    {"Folded", {"dn: a\n", "cn: x\r\n", " y:\n", "  z\n", "o: b\n", " c\n"}, 1, "cn: xy: z", ": xy: z"},
    {"FoldedAtTheEndOfTheEntry", {"cn: x\n", " y"}, 0, "cn: xy", ": xy"},
    {"Base64", {"cn:: eA==\n"}, 0, "cn:: eA==", ":: eA=="},
};
INSTANTIATE_CASES(LookupByIndex, lineCases);
TEST_P(LookupByIndex, GivesTheLogicalLine) {
  fillObject(GetParam().lines);
  EXPECT_EQ(shown(obtainAttributeFromObjectArray(GetParam().index)), GetParam().line);
  EXPECT_EQ(shown(obtainAttributeValueFromObjectArray(GetParam().index)), GetParam().fromColonOn);
  EXPECT_EQ(objectLines(), GetParam().lines);
}

TEST_F(AttributeLookup, TracesTheSlotBehindTheJoinedLines) {
  fillObject({"dn: a\n", "cn: b\n", " c\n"});
  startTrace();
  obtainAttributeFromObjectArray(1);
  EXPECT_EQ(traced(),
            "\nobtainAttributeFromObjectArray():  FUNCTION ENTRY \n"
            "    Seeking the attribute at index 1 \n"
            "    object[1] = cn: b\n \n"
            "obtainAttributeFromObjectArray(): \n"
            "   The attribute at index 3 returned is:   cn: bc \n"
            "obtainAttributeFromObjectArray():  FUNCTION EXIT \n");
}

TEST_F(AttributeLookup, RefusesAContinuationLine) {
  fillObject({"dn: a\n", " b\n"});
  startTrace();
  EXPECT_FAILURE((echoToFile(), obtainAttributeFromObjectArray(1)), PROCESSING_FAILED);
  const std::string error =
      "obtainAttributeFromObjectArray():  ERROR:  The object at the specified index is a 'continuation' line.  "
      "Exiting. \n";
  expectTraced({error});
  EXPECT_EQ(echoed(), error + "obtainAttributeFromObjectArray():  object =  b\n\n");
}

TEST_F(AttributeLookup, RefusesTheValueOfAContinuationLine) {
  fillObject({"dn: a\n", " b: c\n"});
  startTrace();
  EXPECT_FAILURE((echoToFile(), obtainAttributeValueFromObjectArray(1)), PROCESSING_FAILED);
  const std::string error =
      "obtainAttributeValueFromObjectArray():  ERROR:  The object at the specified index is a 'continuation' line.  "
      "Exiting. \n";
  expectTraced({error});
  EXPECT_EQ(echoed(), error + "obtainAttributeValueFromObjectArray():  object =  b: c\n\n");
}

TEST_F(AttributeLookup, NeedsMemoryForWhatIsFolded) {
  fillObject({"cn: " + repeated(300, "b") + "\n", " " + repeated(3000, "c") + "\n"});
  exhaustMemoryIn([] { obtainAttributeValueFromObjArray("cn"); });
  exhaustMemoryIn([] { obtainAttributeFromObjectArray(0); });
  exhaustMemoryIn([] { obtainAttributeValueFromObjectArray(0); });
}

TEST_F(AttributeLookup, NeedsNoMemoryForWhatStandsInOneLine) {
  fillObject({"dn: a\n", "cn: " + repeated(3000, "b") + "\n"});
  expectNoAllocationIn([] {
    if (obtainAttributeValueFromObjArray("cn").size() != 3000) _exit(1);
    if (obtainAttributeFromObjectArray(0).size() != 5) _exit(1);
  });
}

}  // namespace
