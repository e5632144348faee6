#include "output/flush.h"

#include <algorithm>

#include "cache/owner_association.h"
#include "ldif/object_buffer.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "test_support.h"

namespace {

class Flush : public FreshRun {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    buildCache(3, 3);
    ofp = openToCreate("output.ldif");
  }
  // A slot with everything that its record needs, and nothing else.
  static void gatherUser(const std::string& name, const std::string& attribute = "principalName") {
    const int32_t slot = next_available_secUser_dn_slot;
    openUserSlot("secAuthority=Default,cn=" + name + "\n");
    fillRow(secUserMatrix, slot, {"dn: old\n", attribute + ": " + name + "\n"});
    fillRow(secMapForSecUserMatrix, slot, {"dn: map\n", "secDN: cn=" + name + "\n"});
  }
  static void gatherPolicy(int32_t slot) {
    setDn(secPolicy_dn, slot, "cn=Policy,secAuthority=Default\n");
    fillRow(secPolicyMatrix, slot, {"dn: old\n", "cn: Policy\n"});
  }
  static void gatherGroup(const std::string& name, const std::string& attribute = "cn") {
    const int32_t slot = next_available_secGroup_dn_slot;
    openGroupSlot("secAuthority=Default,cn=" + name + "\n");
    fillRow(secGroupMatrix, slot, {"dn: old\n", attribute + ": " + name + "\n"});
    fillRow(secMapForSecGroupMatrix, slot, {"dn: map\n", "secDN: cn=" + name + "\n"});
  }
  static std::string userRecord(const std::string& name) {
    return "dn: principalName=" + name + ",cn=Users,secAuthority=default\nprincipalName: " + name +
           "\nsecDN: cn=" + name + "\n\n";
  }
  static std::string policyRecords(const std::string& name) {
    return "dn: cn=Policies,principalName=" + name +
           ",cn=Users,secAuthority=default\nobjectclass: container\nobjectclass: top\ncn: Policies\n\n"
           "dn: cn=Policy,cn=Policies,principalName=" +
           name + ",cn=Users,secAuthority=default\ncn: Policy\n\n";
  }
  static std::string groupRecord(const std::string& name) {
    return "dn: cn=" + name + ",cn=Groups,secAuthority=default\ncn: " + name + "\nsecDN: cn=" + name + "\n\n";
  }
  static std::string written() {
    closeStream(ofp);
    return readFile("output.ldif");
  }
};

TEST_F(Flush, WritesUsersWithTheirPoliciesAndThenGroups) {
  gatherGroup("g");
  gatherUser("a");
  gatherUser("b");
  gatherPolicy(1);
  gatherUser("c");
  gatherGroup("h");
  EXPECT_EQ(copyAllAccumulatedDataToOutputFile(), 0);
  EXPECT_EQ(written(), userRecord("a") + userRecord("b") + policyRecords("b") + userRecord("c") + groupRecord("g") +
                           groupRecord("h"));
}

TEST_F(Flush, EmptiesTheCache) {
  gatherUser("a");
  gatherPolicy(0);
  fillRow(usersSecUserMatrix, 0, {"dn: users\n", "secAuthority: Default\n"});
  fillRow(secPolicyDataMatrix, 0, {"dn: data\n", "secret: never written\n"});
  gatherGroup("g");
  EXPECT_EQ(copyAllAccumulatedDataToOutputFile(), 0);
  for (const CacheMatrix* matrix : allMatrices) {
    EXPECT_EQ(rowLines(*matrix, 0), Lines{}) << matrix->name;
    EXPECT_EQ(*matrix->occupied, 0) << matrix->name;
  }
  EXPECT_EQ(secUser_dn[0].data(), nullptr);
  EXPECT_EQ(secPolicy_dn[0].data(), nullptr);
  EXPECT_EQ(secGroup_dn[0].data(), nullptr);
  EXPECT_EQ(secUser_dn_count, 0);
  EXPECT_EQ(secGroup_dn_count, 0);
  EXPECT_EQ(next_available_secUser_dn_slot, 0);
  EXPECT_EQ(next_available_secGroup_dn_slot, 0);
  EXPECT_EQ(written().find("secret"), std::string::npos);
}

TEST_F(Flush, WritesNothingForAPassThatGatheredNothing) {
  next_available_secUser_dn_slot = 2;
  next_available_secGroup_dn_slot = 2;
  EXPECT_EQ(copyAllAccumulatedDataToOutputFile(), 0);
  EXPECT_EQ(next_available_secUser_dn_slot, 0);
  EXPECT_EQ(next_available_secGroup_dn_slot, 0);
  EXPECT_EQ(written(), "");
}

TEST_F(Flush, DumpsTheCacheBeforeAndAfter) {
  gatherUser("a");
  startTrace();
  copyAllAccumulatedDataToOutputFile();
  expectTraced(
      {"\n                                       Calling dumpData() first to learn \n"
       "                                       what data will be copied.  \n",
       "dumpData():  FUNCTION ENTRY", "BEGIN NEW USER", "dumpData():  FUNCTION EXIT",
       "copyAllAccumulatedDataToOutputFile() - Calling dumpData() last to verify \n"
       "                                       that all tables are empty. \n",
       "dumpData():  FUNCTION ENTRY", "secUser_dn_count                             = 0 \n",
       "secGroup_dn_count                             = 0 \n", "dumpData():  FUNCTION EXIT"});
  const std::string trace = traced();
  EXPECT_EQ(trace.rfind("BEGIN NEW USER"), trace.find("BEGIN NEW USER"));
  EXPECT_EQ(trace.find("BEGIN NEW GROUP"), std::string::npos);
}

TEST_F(Flush, StopsAtTheFirstSlotThatFails) {
  gatherUser("a");
  gatherUser("b", "anotherName");
  gatherUser("c");
  gatherGroup("g");
  EXPECT_EQ(copyAllAccumulatedDataToOutputFile(), -1);
  EXPECT_EQ(rowLines(secUserMatrix, 0), Lines{});
  EXPECT_EQ(secUser_dn[1], "secAuthority=Default,cn=b\n");
  EXPECT_EQ(secUser_dn[2], "secAuthority=Default,cn=c\n");
  EXPECT_EQ(secUser_dn_count, 2);
  EXPECT_EQ(secGroup_dn_count, 1);
  EXPECT_EQ(next_available_secUser_dn_slot, 3);
  EXPECT_EQ(numberOfSecMapForSecUserObjectsInObjectCache, 2);
  EXPECT_EQ(written(), userRecord("a"));
}

struct FailureCase {
  const char* name;
  bool user;             // or group
  bool named;            // its new DN can be built
  size_t writtenBefore;  // characters until the first write that fails
  const char* line;
  const char* echo;  // behind the line
};
class FlushFailure : public Flush, public testing::WithParamInterface<FailureCase> {};
constexpr char NEW_USER_DN[] = "secUser_dn = dn: principalName=a,cn=Users,secAuthority=default\n\n";
const FailureCase failureCases[] = {
    {"UserWithoutAName", true, false, 0,
     "copyAllAccumulatedDataToOutputFile() - createNewSecUserDN() failure.  RETURNING. \n",
     "secUser_dn = secAuthority=Default,cn=a\n\n"},
    {"UserRecord", true, true, 0,
     "copyAllAccumulatedDataToOutputFile() - writeSecUserAddToOutputFile() failure.  RETURNING. \n", NEW_USER_DN},
    {"PolicyContainer", true, true, 80,
     "copyAllAccumulatedDataToOutputFile() - writePolicyContainerAddToOutputFile() failure.  RETURNING. \n",
     NEW_USER_DN},
    {"PolicyRecord", true, true, 80 + 116,
     "copyAllAccumulatedDataToOutputFile() - writeSecPolicyAddToOutputFile() failure.  RETURNING. \n", NEW_USER_DN},
    {"GroupWithoutACn", false, false, 0,
     "copyAllAccumulatedDataToOutputFile() - createNewSecGroupDN() failure.  RETURNING. \n",
     "secGroup_dn = secAuthority=Default,cn=g\n\n"},
    {"GroupRecord", false, true, 0,
     "copyAllAccumulatedDataToOutputFile() - writeSecGroupAddToOutputFile() failure.  RETURNING. \n",
     "secGroup_dn = dn: cn=g,cn=Groups,secAuthority=default\n\n"},
};
INSTANTIATE_CASES(FlushFailure, failureCases);
TEST_P(FlushFailure, IsNamedAndReturned) {
  if (GetParam().user) {
    gatherUser("a", GetParam().named ? "principalName" : "anotherName");
    gatherPolicy(0);
  } else {
    gatherGroup("g", GetParam().named ? "cn" : "xn");
  }
  closeStream(ofp);
  ofp = streamThatFailsAfter(GetParam().writtenBefore);
  startTrace();
  debugError = 1;
  std::string echo;
  EXPECT_EQ(messagesOf([&] { echo = outputOf([] { EXPECT_EQ(copyAllAccumulatedDataToOutputFile(), -1); }); }), "");
  expectTraced({GetParam().line});
  const std::string expected = std::string(GetParam().line) + GetParam().echo;
  EXPECT_EQ(echo.substr(echo.size() - std::min(echo.size(), expected.size())), expected);
}

Lines entryOf(const std::string& nameLine, size_t lines) {
  Lines entry = {"dn: long\n", nameLine};
  while (entry.size() < lines) entry.push_back("b" + std::to_string(entry.size()) + ": x\n");
  return entry;
}

// What a full row takes along when it is released is missed at the next slot.
struct LongEntryCase {
  const char* name;
  size_t lines;
  bool takesTheNextAlong;
};
class LongEntry : public Flush, public testing::WithParamInterface<LongEntryCase> {};
const LongEntryCase longEntryCases[] = {{"Of48Lines", 48, false}, {"Of49Lines", 49, false}, {"Of50Lines", 50, true}};
INSTANTIATE_CASES(LongEntry, longEntryCases);
TEST_P(LongEntry, OfAUserTakesThatOfTheNextAlong) {
  gatherUser("a");
  gatherUser("b");
  secUser_matrix[0] = {};
  --numberOfSecUserObjectsInObjectCache;
  fillRow(secUserMatrix, 0, entryOf("principalName: a\n", GetParam().lines));
  EXPECT_EQ(copyAllAccumulatedDataToOutputFile(), GetParam().takesTheNextAlong ? -1 : 0);
  EXPECT_EQ(messageDetails.sentence, GetParam().takesTheNextAlong ? ROW_OVERRUN : NO_DETAIL);
  EXPECT_EQ(numberOfSecUserObjectsInObjectCache, GetParam().takesTheNextAlong ? 1 : 0);
}
TEST_P(LongEntry, OfAGroupTakesThatOfTheNextAlong) {
  gatherGroup("g");
  gatherGroup("h");
  secGroup_matrix[0] = {};
  --numberOfSecGroupObjectsInObjectCache;
  fillRow(secGroupMatrix, 0, entryOf("cn: g\n", GetParam().lines));
  outputOf([] { EXPECT_EQ(copyAllAccumulatedDataToOutputFile(), GetParam().takesTheNextAlong ? -1 : 0); });
  EXPECT_EQ(messageDetails.sentence, GetParam().takesTheNextAlong ? ROW_OVERRUN : NO_DETAIL);
  EXPECT_EQ(numberOfSecGroupObjectsInObjectCache, GetParam().takesTheNextAlong ? 1 : 0);
}

struct LongPolicyCase {
  const char* name;
  size_t lines;
  int32_t policies;  // that are written
  int32_t left;      // on the counter
};
class LongPolicy : public Flush, public testing::WithParamInterface<LongPolicyCase> {};
const LongPolicyCase longPolicyCases[] = {
    {"Of498Lines", 498, 2, 0}, {"Of499Lines", 499, 2, 0}, {"Of500Lines", 500, 1, 1}};
INSTANTIATE_CASES(LongPolicy, longPolicyCases);
// Its user's records are written all the same, but for the policy.
TEST_P(LongPolicy, TakesThatOfTheNextAlong) {
  gatherUser("a");
  gatherUser("b");
  setDn(secPolicy_dn, 0, "cn=Policy,secAuthority=Default\n");
  fillRow(secPolicyMatrix, 0, entryOf("cn: Policy\n", GetParam().lines));
  gatherPolicy(1);
  EXPECT_EQ(copyAllAccumulatedDataToOutputFile(), 0);
  EXPECT_EQ(runCounts.users, 2);
  EXPECT_EQ(runCounts.policies, GetParam().policies);
  EXPECT_EQ(numberOfSecPolicyObjectsInObjectCache, GetParam().left);
}

TEST_F(Flush, ForgetsTheOwners) {
  gatherUser("a");
  fillObject({"dn: secAuthority=Default,cn=a\n"});
  objectClass = SECUSER_OBJECTCLASS;
  EXPECT_EQ(learnIndexOfAssociatedSecUserDN(), 0);
  EXPECT_EQ(copyAllAccumulatedDataToOutputFile(), 0);
  openUserSlot("secAuthority=Default,cn=b\n");
  fillObject({"dn: secAuthority=Default,cn=a\n"});
  EXPECT_EQ(learnIndexOfAssociatedSecUserDN(), NO_SLOT);
  fillObject({"dn: secAuthority=Default,cn=b\n"});
  EXPECT_EQ(learnIndexOfAssociatedSecUserDN(), 0);
}

TEST_F(Flush, EndsTheRunForAUserWithoutAMap) {
  gatherUser("a");
  fillRow(secUserMatrix, 1, {"dn: old\n", "principalName: b\n"});
  openUserSlot("secAuthority=Default,cn=b\n");
  EXPECT_FAILURE(copyAllAccumulatedDataToOutputFile(), PROCESSING_FAILED);
}

}  // namespace
