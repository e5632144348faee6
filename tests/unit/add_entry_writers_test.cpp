#include "output/add_entry_writers.h"

#include "cache/cache_slots.h"
#include "ldif/line_reader.h"
#include "ldif/object_buffer.h"
#include "reporting/reporting.h"
#include "reporting/run_state.h"
#include "test_support.h"

namespace {

class Writers : public FreshRun {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    buildCache(2, 2);
    ofp = openToCreate("output.ldif");
  }
  static std::string written() {
    closeStream(ofp);
    return readFile("output.ldif");
  }
  static void failWritesAfter(size_t characters) {
    closeStream(ofp);
    ofp = streamThatFailsAfter(characters);
  }
};

TEST_F(Writers, MergeAUserWithItsMap) {
  setDn(secUser_dn, 1, "dn: new\n");
  fillRow(secUserMatrix, 1, {"dn: old\n", "objectClass: secUser\n", "cn: a\n", "o: 1\n"});
  fillRow(secMapForSecUserMatrix, 1, {"dn: map\n", "objectClass: secMap\n", "secDN: cn=a\n", "o: 2\n"});
  EXPECT_EQ(writeSecUserAddToOutputFile(1, ofp), 0);
  EXPECT_EQ(next_available_object_slot, 0);
  EXPECT_EQ(written(), "dn: new\nobjectClass: secUser\ncn: a\no: 2\nsecDN: cn=a\n\n");
}

TEST_F(Writers, MergeAUsersEntryWithTheOtherTwo) {
  setDn(secUser_dn, 0, "dn: new\n");
  fillRow(secUserMatrix, 0, {"dn: old\n", "objectClass: inetUser\n", "cn: a\n", "secAuthority: Sales\n", "o: 1\n"});
  fillRow(secMapForSecUserMatrix, 0, {"dn: map\n", "objectClass: secMap\n", "secDN: cn=a\n"});
  fillRow(usersSecUserMatrix, 0,
          {"dn: users\n", "objectClass: secUser\n", "o: 2\n", "secAuthority: Default\n", "l: 3\n"});
  EXPECT_EQ(writeSecUserAddToOutputFile(0, ofp), 0);
  EXPECT_EQ(written(), "dn: new\nobjectClass: secUser\no: 1\nsecAuthority: Default\nl: 3\ncn: a\nsecDN: cn=a\n\n");
}

TEST_F(Writers, MergeThreeEntriesOfFullRows) {
  setDn(secUser_dn, 0, "dn: new\n");
  Lines rows[3];
  std::string expected = "dn: new\n";
  const std::string names[] = {"u", "s", "m"};
  for (int row = 0; row < 3; row++) {
    rows[row].push_back("dn: a\n");
    for (int line = 1; line < 49; line++) {
      rows[row].push_back(names[row] + std::to_string(line) + "x: 1\n");
      expected += rows[row].back();
    }
  }
  fillRow(usersSecUserMatrix, 0, rows[0]);
  fillRow(secUserMatrix, 0, rows[1]);
  fillRow(secMapForSecUserMatrix, 0, rows[2]);
  EXPECT_EQ(writeSecUserAddToOutputFile(0, ofp), 0);
  EXPECT_EQ(written(), expected + "\n");
}

TEST_F(Writers, LeaveTheServersLinesOfAUserOut) {
  setDn(secUser_dn, 0, "dn: new\n");
  fillRow(secUserMatrix, 0,
          {"dn: old\n", "Xoq-EntryUuid: 1\n", "AclEntry: 1\n", "Aci: 1\n", "Acl: 1\n", "description: see ACL: x\n",
           "control: goes\n", "CONTROL: stays\n", "aclSource: stays\n"});
  fillRow(secMapForSecUserMatrix, 0, {"dn: map\n", "text: ACI: 2\n"});
  EXPECT_EQ(writeSecUserAddToOutputFile(0, ofp), 0);
  EXPECT_EQ(written(), "dn: new\nCONTROL: stays\naclSource: stays\n\n");
}

TEST_F(Writers, CarryAChangetypeAlong) {
  setDn(secUser_dn, 0, "dn: new\n");
  fillRow(secUserMatrix, 0, {"dn: old\n", "changetype: add\n"});
  fillRow(secMapForSecUserMatrix, 0, {"dn: map\n", "cn: a\n"});
  EXPECT_EQ(writeSecUserAddToOutputFile(0, ofp), 0);
  EXPECT_EQ(written(), "dn: new\nchangetype: add\ncn: a\n\n");
}

TEST_F(Writers, MergeAGroupWithItsMap) {
  setDn(secGroup_dn, 1, "dn: new\n");
  fillRow(secGroupMatrix, 1, {"dn: old\n", "objectClass: secGroup\n", "cn: g\n", "ACLENTRY: 1\n", "CONTROL: stays\n"});
  fillRow(secMapForSecGroupMatrix, 1, {"dn: map\n", "objectClass: secMap\n", "secDN: cn=g\n", "text: acl: 1\n"});
  EXPECT_EQ(writeSecGroupAddToOutputFile(1, ofp), 0);
  EXPECT_EQ(written(), "dn: new\nobjectClass: secGroup\ncn: g\nCONTROL: stays\nsecDN: cn=g\n\n");
}

TEST_F(Writers, WriteAPolicyUnmerged) {
  setDn(secPolicy_dn, 0, "dn: new\n");
  fillRow(secPolicyMatrix, 0,
          {"dn: old\n", "objectClass: secPolicy\n", "control: x\n", "text: CONTROL: x\n", "ACI: 1\n", "acl: 1\n",
           "aclEntry: 1\n", "XOQ-ENTRYUUID: 1\n", "cn: Policy\n"});
  EXPECT_EQ(writeSecPolicyAddToOutputFile(0, ofp), 0);
  EXPECT_EQ(written(), "dn: new\nobjectClass: secPolicy\ncn: Policy\n\n");
}

TEST_F(Writers, WriteAllLinesOfALongPolicy) {
  setDn(secPolicy_dn, 0, "dn: new\n");
  Lines lines = {"dn: old\n"};
  while (lines.size() < 499) lines.push_back("a: b\n");
  fillRow(secPolicyMatrix, 0, lines);
  EXPECT_EQ(writeSecPolicyAddToOutputFile(0, ofp), 0);
  EXPECT_EQ(written(), "dn: new\n" + repeated(498, "a: b\n") + "\n");
}

TEST_F(Writers, WriteNothingForAUserWithoutAPolicy) {
  EXPECT_EQ(writeSecPolicyAddToOutputFile(0, ofp), 0);
  setDn(secPolicy_dn, 0, "dn: new\n");
  EXPECT_EQ(writeSecPolicyAddToOutputFile(0, ofp), 0);
  EXPECT_EQ(written(), "");
}

constexpr char USER_DN[] = "dn:  principalName=jdoe,cn=Users,secAuthority=default\n";

TEST_F(Writers, WriteAPolicyContainerBelowTheUser) {
  setDn(secUser_dn, 1, USER_DN);
  EXPECT_EQ(writePolicyContainerAddToOutputFile(1), 0);
  EXPECT_EQ(written(),
            "dn: cn=Policies,principalName=jdoe,cn=Users,secAuthority=default\n"
            "objectclass: container\nobjectclass: top\ncn: Policies\n\n");
}

TEST_F(Writers, WriteAChangetypeIntoThePolicyContainerWhenOneWasSeen) {
  setDn(secUser_dn, 0, USER_DN);
  changetypeSeen = 1;
  EXPECT_EQ(writePolicyContainerAddToOutputFile(0), 0);
  EXPECT_EQ(written(),
            "dn: cn=Policies,principalName=jdoe,cn=Users,secAuthority=default\nchangetype: add\n"
            "objectclass: container\nobjectclass: top\ncn: Policies\n\n");
}

TEST_F(Writers, RefuseAPolicyContainerWhoseDnDoesNotFit) {
  setDn(secUser_dn, 0, "dn: " + repeated(4080, "x"));
  EXPECT_FAILURE(writePolicyContainerAddToOutputFile(0), PROCESSING_FAILED);
}

struct ContainerFailureCase {
  const char* name;
  size_t writtenBefore;
  const char* line;
};
class ContainerFailure : public Writers, public testing::WithParamInterface<ContainerFailureCase> {};
const ContainerFailureCase containerFailureCases[] = {
    {"DnLine", 0, "writePolicyContainerAddToOutputFile():  fputs() #1 failed with rc=-1 \n"},
    {"Changetype", 65, "writePolicyContainerAddToOutputFile():  fputs() #2 failed with rc=-1 \n"},
    {"FirstObjectClass", 65 + 16, "writePolicyContainerAddToOutputFile():  fputs() #3 failed with rc=-1 \n"},
    {"SecondObjectClass", 65 + 16 + 23, "writePolicyContainerAddToOutputFile():  fputs() #4 failed with rc=-1 \n"},
    {"Cn", 65 + 16 + 23 + 17, "writePolicyContainerAddToOutputFile():  fputs() #5 failed with rc=-1 \n"},
};
INSTANTIATE_CASES(ContainerFailure, containerFailureCases);
TEST_P(ContainerFailure, IsNumbered) {
  setDn(secUser_dn, 0, USER_DN);
  changetypeSeen = 1;
  failWritesAfter(GetParam().writtenBefore);
  startTrace();
  EXPECT_EQ(messagesOf([] { EXPECT_EQ(writePolicyContainerAddToOutputFile(0), -1); }), "");
  expectTraced({GetParam().line});
}

struct WriteFailureCase {
  const char* name;
  int32_t (*write)(int32_t slot, Stream* stream);
  size_t writtenBefore;
  const char* line;
};
class WriteFailure : public Writers, public testing::WithParamInterface<WriteFailureCase> {};
const WriteFailureCase writeFailureCases[] = {
    {"DnLineOfAUser", writeSecUserAddToOutputFile, 0, "writeSecUserAddToOutputFile():  fputs() failed with rc=-1 \n"},
    {"LineOfAUser", writeSecUserAddToOutputFile, 8, "writeSecUserAddToOutputFile():  fputs() failed with rc=-1 \n"},
    {"DnLineOfAPolicy", writeSecPolicyAddToOutputFile, 0,
     "writeSecPolicyAddToOutputFile():  fputs() failed with rc=-1 \n"},
    {"LineOfAPolicy", writeSecPolicyAddToOutputFile, 8,
     "writeSecPolicyAddToOutputFile():  fputs() failed with rc=-1 \n"},
    {"DnLineOfAGroup", writeSecGroupAddToOutputFile, 0,
     "writeSecGroupAddToOutputFile():  fputs() failed with rc=-1 \n"},
    {"LineOfAGroup", writeSecGroupAddToOutputFile, 8, "writeSecGroupAddToOutputFile():  fputs() failed with rc=-1 \n"},
};
INSTANTIATE_CASES(WriteFailure, writeFailureCases);
TEST_P(WriteFailure, IsTracedAndReturned) {
  for (std::string_view** dns : {&secUser_dn, &secPolicy_dn, &secGroup_dn}) setDn(*dns, 0, "dn: new\n");
  for (const CacheMatrix* matrix : allMatrices) fillRow(*matrix, 0, {"dn: old\n", "cn: a\n"});
  failWritesAfter(GetParam().writtenBefore);
  startTrace();
  EXPECT_EQ(messagesOf([] { EXPECT_EQ(GetParam().write(0, ofp), -1); }), "");
  expectTraced({GetParam().line});
}

// What the row behind holds goes into the record as soon as the entry fills its own.
struct LongRowCase {
  const char* name;
  size_t lines;
  std::string behind;  // what follows the last line of the entry
};
std::string ownLines(size_t lines) {
  std::string text;
  for (size_t i = 1; i < lines; i++) text += "own" + std::to_string(i) + ": x\n";
  return text;
}
Lines ownEntry(size_t lines) {
  Lines entry = {"dn: old\n"};
  for (size_t i = 1; i < lines; i++) entry.push_back("own" + std::to_string(i) + ": x\n");
  return entry;
}
const Lines NEXT_ENTRY = {"dn: next\n", "next1: x\n", "next2: x\n"};

class RecordOfALongRow : public Writers, public testing::WithParamInterface<LongRowCase> {
 protected:
  // As the moves leave two entries, the longer of which came last.
  static void fillRows(const CacheMatrix& matrix, void (*move)(int32_t slot)) {
    fillRow(matrix, 1, NEXT_ENTRY);
    fillObject(ownEntry(GetParam().lines));
    move(0);
  }
};
const LongRowCase longRowCases[] = {
    {"Of48Lines", 48, ""},
    {"Of49Lines", 49, ""},
    {"Of50LinesWhichFillIt", 50, "dn: next\nnext1: x\nnext2: x\n"},
    {"Of51LinesOverTheNext", 51, "next1: x\nnext2: x\n"},
    {"Of52LinesOverTheNext", 52, "next2: x\n"},
};
INSTANTIATE_CASES(RecordOfALongRow, longRowCases);
TEST_P(RecordOfALongRow, OfAUserIsMergedWithWhatStandsBehindIt) {
  setDn(secUser_dn, 0, "dn: new\n");
  fillRows(secUserMatrix, moveSecUserObjectFromObjectArrayToSecUserMatrix);
  fillRow(secMapForSecUserMatrix, 0, {"dn: map\n", "secDN: cn=a\n"});
  EXPECT_EQ(writeSecUserAddToOutputFile(0, ofp), 0);
  EXPECT_EQ(written(), "dn: new\n" + ownLines(GetParam().lines) + GetParam().behind + "secDN: cn=a\n\n");
}
TEST_P(RecordOfALongRow, OfAGroupIsMergedWithWhatStandsBehindIt) {
  setDn(secGroup_dn, 0, "dn: new\n");
  fillRows(secGroupMatrix, moveSecGroupObjectFromObjectArrayToSecGroupMatrix);
  fillRow(secMapForSecGroupMatrix, 0, {"dn: map\n", "secDN: cn=g\n"});
  EXPECT_EQ(writeSecGroupAddToOutputFile(0, ofp), 0);
  EXPECT_EQ(written(), "dn: new\n" + ownLines(GetParam().lines) + GetParam().behind + "secDN: cn=g\n\n");
}
TEST_P(RecordOfALongRow, OfAMapIsMergedWithoutTheDnLineOfTheNext) {
  setDn(secUser_dn, 0, "dn: new\n");
  fillRow(secUserMatrix, 0, {"dn: old\n", "cn: a\n"});
  fillRows(secMapForSecUserMatrix, moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix);
  EXPECT_EQ(writeSecUserAddToOutputFile(0, ofp), 0);
  const size_t dnLine = GetParam().behind.find("dn: next\n");
  const std::string behind = dnLine == 0 ? GetParam().behind.substr(9) : GetParam().behind;
  EXPECT_EQ(written(), "dn: new\ncn: a\n" + ownLines(GetParam().lines) + behind + "\n");
}

class RecordOfALongPolicy : public Writers, public testing::WithParamInterface<LongRowCase> {};
const LongRowCase longPolicyCases[] = {
    {"Of498Lines", 498, ""},
    {"Of499Lines", 499, ""},
    {"Of500LinesWhichFillItsRow", 500, "dn: next\nnext1: x\nnext2: x\n"},
    {"Of501LinesOverTheNext", 501, "next1: x\nnext2: x\n"},
    {"Of502LinesOverTheNext", 502, "next2: x\n"},
};
INSTANTIATE_CASES(RecordOfALongPolicy, longPolicyCases);
TEST_P(RecordOfALongPolicy, IsWrittenWithWhatStandsBehindIt) {
  setDn(secPolicy_dn, 0, "dn: new\n");
  fillRow(secPolicyMatrix, 1, NEXT_ENTRY);
  fillObject(ownEntry(GetParam().lines));
  moveSecPolicyObjectFromObjectArrayToSecPolicyMatrix(0);
  EXPECT_EQ(writeSecPolicyAddToOutputFile(0, ofp), 0);
  EXPECT_EQ(written(), "dn: new\n" + ownLines(GetParam().lines) + GetParam().behind + "\n");
}

// All lines but the dn: line left out, the empty line is what is written next.
TEST_F(Writers, FailAtTheEmptyLineOfAPolicy) {
  setDn(secPolicy_dn, 0, repeated(100, "x"));
  fillRow(secPolicyMatrix, 0, {"dn: old\n", "acl: 1\n"});
  failWritesAfter(99);
  startTrace();
  EXPECT_EQ(writeSecPolicyAddToOutputFile(0, ofp), -1);
  expectTraced({"writeSecPolicyAddToOutputFile():  fputs() failed with rc=-1 \n"});
}

struct MissingCase {
  const char* name;
  int32_t (*write)(int32_t slot);
  bool hasDn;
  bool hasEntry;
  bool hasMap;
  const char* trace;
  const char* echo;
};
class Missing : public Writers, public testing::WithParamInterface<MissingCase> {};
const MissingCase missingCases[] = {
    {"DnOfAUser", [](int32_t slot) { return writeSecUserAddToOutputFile(slot, ofp); }, false, true, true,
     "writeSecUserAddToOutputFile():  ERROR:  secUser_dn[1] is NULL.  EXITING.  \n",
     "writeSecUserAddToOutputFile():  ERROR:  secUser_dn[1] is NULL.  EXITING.\n"},
    {"DnOfAUserForItsContainer", writePolicyContainerAddToOutputFile, false, true, true,
     "writePolicyContainerAddToOutputFile():  ERROR:  secUser_dn[1] is NULL.  EXITING.  \n",
     "writePolicyContainerAddToOutputFile():  ERROR:  secUser_dn[1] is NULL.  EXITING.\n"},
    {"DnOfAPolicy", [](int32_t slot) { return writeSecPolicyAddToOutputFile(slot, ofp); }, false, true, true,
     "writeSecPolicyAddToOutputFile():  ERROR:  secPolicy_dn[1] is NULL.  EXITING.  \n",
     "writeSecPolicyAddToOutputFile():  ERROR:  secPolicy_dn[1] is NULL.  EXITING.\n"},
    {"DnOfAGroup", [](int32_t slot) { return writeSecGroupAddToOutputFile(slot, ofp); }, false, true, true,
     "writeSecGroupAddToOutputFile():  ERROR:  secGroup_dn[1] is NULL.  EXITING.  \n",
     "writeSecGroupAddToOutputFile():  ERROR:  secGroup_dn[1] is NULL.  EXITING.\n"},
    {"EntryOfAUser", [](int32_t slot) { return writeSecUserAddToOutputFile(slot, ofp); }, true, false, true,
     "writeSecUserAddToOutputFile():  ERROR:  Passing a NULL pointer to mergeObjects() \n",
     "writeSecUserAddToOutputFile():  ERROR:  Passing a NULL pointer to mergeObjects() \n"
     "secUser_matrix = NULL\nsecMap_for_secUser_matrix = dn: map\n\n"},
    {"MapOfAUser", [](int32_t slot) { return writeSecUserAddToOutputFile(slot, ofp); }, true, true, false,
     "writeSecUserAddToOutputFile():  ERROR:  Passing a NULL pointer to mergeObjects() \n",
     "writeSecUserAddToOutputFile():  ERROR:  Passing a NULL pointer to mergeObjects() \n"
     "secUser_matrix = dn: old\n\nsecMap_for_secUser_matrix = NULL\n"},
    {"EntryOfAGroup", [](int32_t slot) { return writeSecGroupAddToOutputFile(slot, ofp); }, true, false, true,
     "writeSecGroupAddToOutputFile():  ERROR:  Passing a NULL pointer to mergeObjects() \n",
     "writeSecGroupAddToOutputFile():  ERROR:  Passing a NULL pointer to mergeObjects() \n"},
    {"MapOfAGroup", [](int32_t slot) { return writeSecGroupAddToOutputFile(slot, ofp); }, true, true, false,
     "writeSecGroupAddToOutputFile():  ERROR:  Passing a NULL pointer to mergeObjects() \n",
     "writeSecGroupAddToOutputFile():  ERROR:  Passing a NULL pointer to mergeObjects() \n"},
};
INSTANTIATE_CASES(Missing, missingCases);
TEST_P(Missing, EndsTheRun) {
  if (GetParam().hasDn) {
    setDn(secUser_dn, 1, "dn: new\n");
    setDn(secGroup_dn, 1, "dn: new\n");
  }
  if (GetParam().hasEntry) {
    for (const CacheMatrix* matrix : {&secUserMatrix, &secPolicyMatrix, &secGroupMatrix}) {
      fillRow(*matrix, 1, {"dn: old\n"});
    }
  }
  if (GetParam().hasMap) {
    fillRow(secMapForSecUserMatrix, 1, {"dn: map\n"});
    fillRow(secMapForSecGroupMatrix, 1, {"dn: map\n"});
  }
  startTrace();
  EXPECT_FAILURE((echoToFile(), GetParam().write(1)), PROCESSING_FAILED);
  expectTraced({GetParam().trace});
  EXPECT_EQ(echoed(), GetParam().echo);
}

}  // namespace
