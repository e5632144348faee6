#include "output/entry_merge.h"

#include "ldif/object_buffer.h"
#include "test_support.h"

namespace {

// An entry in the form that mergeObjects takes.
class Input {
 public:
  explicit Input(const Lines& texts) : texts_(texts) {
    for (const std::string& text : texts_) lines_.push_back(scanLine(text));
  }
  std::vector<Line>& lines() { return lines_; }
  const Lines& texts() const { return texts_; }

 private:
  Lines texts_;
  std::vector<Line> lines_;
};

void merge(const Lines& input1, const Lines& input2) {
  Input first(input1);
  Input second(input2);
  mergeObjects(first.lines(), second.lines());
}

struct MergeCase {
  const char* name;
  Lines input1;
  Lines input2;
  Lines merged;
};
class Merge : public FreshRun, public testing::WithParamInterface<MergeCase> {};
const MergeCase mergeCases[] = {
    {"SecondValueInTheFirstsPlace",
     {"dn: a\n", "cn: a\n", "o: 1\n"},
     {"dn: b\n", "sn: 2\n", "cn: b\n"},
     {"dn: a\n", "cn: b\n", "o: 1\n", "sn: 2\n"}},
    {"FirstSecurityAuthorityWins",
     {"dn: a\n", "secAuthority: Default\n"},
     {"secAuthority: Other\n", "cn: b\n"},
     {"dn: a\n", "secAuthority: Default\n", "cn: b\n"}},
    {"FirstSecurityAuthorityWinsInAnyCase",
     {"SECAUTHORITY: Default\n"},
     {"secAuthority: Other\n"},
     {"SECAUTHORITY: Default\n"}},
    {"LineThatSpeaksOfTheSecurityAuthorityWins",
     {"text: secAuthority: x\n"},
     {"TEXT: y\n"},
     {"text: secAuthority: x\n"}},
    {"OnlyOneSecurityAuthorityIsDiscarded",
     {"secAuthority: a\n"},
     {"secAuthority: b\n", "secAuthority: c\n"},
     {"secAuthority: a\n", "secAuthority: c\n"}},
    {"NamesMatchInAnyCase", {"mail: x\n"}, {"MAIL: y\n"}, {"MAIL: y\n"}},
    {"LongerNameThatEndsInItMatches", {"cn: a\n"}, {"dn: b\n", "seccn: z\n", "cn: c\n"}, {"seccn: z\n", "cn: c\n"}},
    {"NameInsideAValueMatches", {"cn: a\n"}, {"text: my CN: b\n"}, {"text: my CN: b\n"}},
    {"SurplusValuesOfTheFirstStay",
     {"m: 1\n", "m: 2\n", "m: 3\n"},
     {"m: a\n", "m: b\n"},
     {"m: a\n", "m: b\n", "m: 3\n"}},
    {"SurplusValuesOfTheSecondFollow", {"m: 1\n", "o: 2\n"}, {"m: a\n", "m: b\n"}, {"m: a\n", "o: 2\n", "m: b\n"}},
    {"OneDnLine", {"dn: a\n"}, {"dn: a\n"}, {"dn: a\n"}},
    {"OneDnLineInUpperCase", {"DN: a\n", "cn: a\n"}, {"DN: b\n"}, {"DN: a\n", "cn: a\n"}},
    {"FirstObjectClassesStay",
     {"dn: a\n", "objectClass: x\n", "objectclass: y\n"},
     {"objectclass: z\n", "objectClass: z\n"},
     {"dn: a\n", "objectClass: x\n", "objectclass: y\n"}},
    {"LineOfTheFirstThatSpeaksOfObjectClassesStays",
     {"description: objectclass: x\n"},
     {"description: y\n"},
     {"description: objectclass: x\n", "description: y\n"}},
    {"LineOfTheSecondThatSpeaksOfObjectClassesFollows",
     {"dn: a\n"},
     {"description: objectclass: x\n"},
     {"dn: a\n", "description: objectclass: x\n"}},
    {"ExcludedNamesOfTheFirstGo",
     {"dn: a\n", "XOQ-ENTRYUUID: 1\n", "xoq-entryuuid: 1\n", "control: 1\n", "Control: 1\n", "aclpropagate: 1\n",
      "aclPropagate: 1\n", "aclentry: 1\n", "aclEntry: 1\n", "acl: 1\n", "ACL: 1\n", "aci: 1\n", "ACI: 1\n"},
     {"cn: b\n"},
     {"dn: a\n", "cn: b\n"}},
    {"ExcludedNamesOfTheSecondGo",
     {"dn: a\n"},
     {"cn: b\n", "XOQ-ENTRYUUID: 1\n", "xoq-entryuuid: 1\n", "control: 1\n", "Control: 1\n", "aclpropagate: 1\n",
      "aclPropagate: 1\n", "aclentry: 1\n", "aclEntry: 1\n", "acl: 1\n", "ACL: 1\n", "aci: 1\n", "ACI: 1\n"},
     {"dn: a\n", "cn: b\n"}},
    {"ExcludedNamesInOtherCasesPass",
     {"ACLEntry: 1\n", "CONTROL: 1\n"},
     {"Aci: 2\n", "ObjectClass: 2\n", "Xoq-EntryUUID: 2\n"},
     {"ACLEntry: 1\n", "CONTROL: 1\n", "Aci: 2\n", "ObjectClass: 2\n", "Xoq-EntryUUID: 2\n"}},
    {"ExcludedLineOfTheSecondCanBeAMatch", {"entry: 1\n"}, {"aclentry: 2\n"}, {"aclentry: 2\n"}},
    {"DnLineOfTheSecondCanBeAMatch", {"Dn: a\n"}, {"dn: b\n"}, {"dn: b\n"}},
    {"LinesWithoutALineEnd", {"dn: a\n", "secDomainId: x"}, {"cn: b"}, {"dn: a\n", "secDomainId: x", "cn: b"}},
};
INSTANTIATE_CASES(Merge, mergeCases);
TEST_P(Merge, TakesFromBoth) {
  fillObject({"dn: former\n", "a: 1\n", "b: 2\n", "c: 3\n"});
  Input input1(GetParam().input1);
  Input input2(GetParam().input2);
  mergeObjects(input1.lines(), input2.lines());
  EXPECT_EQ(objectLines(), GetParam().merged);
  EXPECT_EQ(input1.texts(), GetParam().input1);
  EXPECT_EQ(input2.texts(), GetParam().input2);
}

class EntryMerge : public FreshRun {};

TEST_F(EntryMerge, TracesWhatRemained) {
  startTrace();
  merge({"dn: a\n", "aclEntry: 1\n", "cn: a\n"}, {"dn: b\n", "objectclass: x\n", "cn: b\n"});
  expectTraced(
      {"\nmergeObjects():  THE FOLLOWING ATTRIBUTES REMAINED UNMERGED WITHIN inputObject1Clone. \n"
       "                   CHECK THESE FOR ERRRORS. \n"
       "                  inputObject1Clone[1] = aclEntry: 1\n ",
       "\nmergeObjects():  THE FOLLOWING ATTRIBUTES REMAINED UNMERGED WITHIN inputObject2Clone: \n"
       "                   CHECK THESE FOR ERRRORS. \n"
       "                  inputObject2Clone[0] = dn: b\n "
       "                  inputObject2Clone[1] = objectclass: x\n ",
       "mergeObjects():  The merged object is: \n"
       "                 object[0] = dn: a\n "
       "                 object[1] = cn: b\n "
       "mergeObjects():  FUNCTION EXIT \n"});
}

TEST_F(EntryMerge, TracesTheHeadersWhenNothingRemained) {
  startTrace();
  merge({"cn: a\n"}, {"sn: b\n"});
  expectTraced(
      {"\nmergeObjects():  THE FOLLOWING ATTRIBUTES REMAINED UNMERGED WITHIN inputObject1Clone. \n"
       "                   CHECK THESE FOR ERRRORS. \n"
       "\nmergeObjects():  THE FOLLOWING ATTRIBUTES REMAINED UNMERGED WITHIN inputObject2Clone: \n"
       "                   CHECK THESE FOR ERRRORS. \n"
       "mergeObjects():  The merged object is: \n"});
}

struct FailureCase {
  const char* name;
  Lines input1;
  Lines input2;
  const char* trace;
  const char* echo;
};
class MergeFailure : public FreshRun, public testing::WithParamInterface<FailureCase> {};
const FailureCase failureCases[] = {
    {"FirstInputEmpty",
     {},
     {"dn: b\n"},
     "mergeObjects():  One or both inputs is NULL.  Exiting. \n",
     "mergeObjects(): inputObject1 = NULL\nmergeObjects(): inputObject2 = dn: b\n\n"},
    {"SecondInputEmpty",
     {"dn: a\n"},
     {},
     "mergeObjects():  One or both inputs is NULL.  Exiting. \n",
     "mergeObjects(): inputObject1 = dn: a\n\nmergeObjects(): inputObject2 = NULL\n"},
    {"NoColonInTheFirst",
     {"dn: a\n", "none\n"},
     {"dn: b\n"},
     "mergeObjects():  Colon missing from attribute definition. EXITING. \n"
     "                 The input file could be corrupt.                  \n",
     "mergeObjects():  Colon missing from attribute definition. EXITING. \n"
     "mergeObjects():  attributeClone = none\n\n"},
    {"NoColonInTheSecond",
     {"dn: a\n"},
     {"dn: b\n", "none\n"},
     "mergeObjects():  Colon missing from attribute definition. EXITING. \n"
     "                 The input file could be corrupt.                  \n",
     "mergeObjects():  Colon missing from attribute definition. EXITING. \n"
     "attributeClone =  none\n\n"},
};
INSTANTIATE_CASES(MergeFailure, failureCases);
TEST_P(MergeFailure, EndsTheRun) {
  startTrace();
  EXPECT_FAILURE((echoToFile(), merge(GetParam().input1, GetParam().input2)), PROCESSING_FAILED);
  expectTraced({GetParam().trace});
  EXPECT_EQ(echoed(), GetParam().echo);
}

TEST_F(EntryMerge, MayFillTheEntryBufferAndNoMore) {
  Input first(Lines(OBJECT_ARRAY_SIZE - 1, "a: 1\n"));
  Input second({"b: 2\n"});
  mergeObjects(first.lines(), second.lines());
  EXPECT_EQ(next_available_object_slot, OBJECT_ARRAY_SIZE);
  EXPECT_EQ(object[OBJECT_ARRAY_SIZE - 1].view(), "b: 2\n");
  Input tooLong(Lines(OBJECT_ARRAY_SIZE, "a: 1\n"));
  Input another({"b: 2\n"});
  EXPECT_FAILURE(mergeObjects(tooLong.lines(), another.lines()), PROCESSING_FAILED);
}

TEST_F(EntryMerge, NeedsMemoryForLongEntries) {
  Input first(Lines(101, "a: 1\n"));
  Input second(Lines(100, "b: 1\n"));
  exhaustMemoryIn([&] { mergeObjects(first.lines(), second.lines()); });
}

}  // namespace
