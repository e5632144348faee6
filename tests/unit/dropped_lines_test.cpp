#include "rules/dropped_lines.h"

#include "test_support.h"

namespace {

struct DropCase {
  const char* name;
  const char* line;
  bool isDropped[NUMBER_OF_ROADS];
};
class DroppedLine : public testing::TestWithParam<DropCase> {};
const DropCase dropCases[] = {
    //                                           straight oversized remaining merged policy
    {"EntryUuid", "xoq-entryuuid: 1\n", {true, true, true, true, true}},
    {"EntryUuidInUpperCase", "XOQ-ENTRYUUID: 1\n", {true, true, true, true, true}},
    {"EntryUuidWithoutABlank", "xoq-entryuuid:1\n", {false, true, true, true, true}},
    {"EntryUuidInUpperCaseWithoutABlank", "XOQ-ENTRYUUID:1\n", {false, true, true, true, true}},
    {"EntryUuidInMixedCase", "Xoq-EntryUUID: 1\n", {false, false, true, true, true}},
    {"EntryUuidInBase64", "xoq-entryuuid:: MQ==\n", {false, true, true, true, true}},
    {"EntryUuidInAValue", "text: xoq-entryuuid: 1\n", {true, true, true, true, true}},
    {"EntryUuidInALongerName", "my-xoq-entryuuid: 1\n", {true, true, true, true, true}},
    {"AclEntry", "aclentry: 1\n", {false, false, true, true, true}},
    {"AclEntryInMixedCase", "aclEntry: 1\n", {false, false, true, true, true}},
    {"Aci", "aci: 1\n", {false, false, true, true, true}},
    {"AciInUpperCase", "ACI:1\n", {false, false, true, true, true}},
    {"Acl", "acl: 1\n", {false, false, true, true, true}},
    {"AclInAValue", "text: see Acl: 1\n", {false, false, true, true, true}},
    {"AclInALongerName", "myacl: 1\n", {false, false, true, true, true}},
    {"Control", "control: 1\n", {false, false, true, false, true}},
    {"ControlInMixedCase", "Control: 1\n", {false, false, true, false, true}},
    {"ControlWithAcl", "control: acl: 1\n", {false, false, true, true, true}},
    {"AclPropagate", "aclpropagate: 1\n", {false, false, false, false, false}},
    {"NameWithoutAColon", "xoq-entryuuid aclentry aci acl control\n", {false, false, false, false, false}},
    {"BeginningOfALongerName", "acls: acid: controls: 1\n", {false, false, false, false, false}},
    {"OtherLine", "cn: a\n", {false, false, false, false, false}},
    {"Empty", "", {false, false, false, false, false}},
};
INSTANTIATE_CASES(DroppedLine, dropCases);
TEST_P(DroppedLine, DependsOnTheRoad) {
  const Line line = scanLine(GetParam().line);
  for (const Road road : {STRAIGHT_THROUGH, OVERSIZED, REMAINING, MERGED, POLICY})
    EXPECT_EQ(isDropped(line, road), GetParam().isDropped[road]) << road;
}

}  // namespace
