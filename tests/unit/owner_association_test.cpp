#include "cache/owner_association.h"

#include "cache/owner_index.h"
#include "ldif/object_buffer.h"
#include "rules/dn_hash.h"
#include "test_support.h"

namespace {

struct OwnerCase {
  const char* name;
  int32_t code;
  Lines lines;
  std::string saved;      // owner DN for a new slot
  std::string foundIn;    // DN of a slot in which the entry finds its owner
  std::string firstLine;  // line 0 afterwards
};

class UserOwner : public FreshRun, public testing::WithParamInterface<OwnerCase> {};
const OwnerCase userOwnerCases[] = {
    {"OrdinaryUser",
     SECUSER_OBJECTCLASS,
     {"dn: secAuthority=Default,cn=jdoe,o=example\n"},
     "secAuthority=Default,cn=jdoe,o=example\n",
     "secAuthority=Default,cn=jdoe,o=example\n",
     "dn: secAuthority=Default,cn=jdoe,o=example\n"},
    {"UsersEntry",
     SECUSER_OBJECTCLASS,
     {"dn: principalName=jdoe,cn=Users,secAuthority=Default\n", "secAuthority: Default\n",
      "secDN: cn=jdoe, o=example\n"},
     "secAuthority=Default,cn=jdoe,o=example\n",
     "secAuthority=Default,cn=jdoe,o=example\n",
     "dn: principalName=jdoe,cn=Users,secAuthority=Default\n"},
    {"Policy",
     SECPOLICY_OBJECTCLASS,
     {"dn: cn=Policy,secAuthority=Default,cn=jdoe,o=example\n"},
     "secAuthority=Default,cn=jdoe,o=example\n",
     "secAuthority=Default,cn=jdoe,o=example\n",
     "dn: cn=Policy,secAuthority=Default,cn=jdoe,o=example\n"},
    {"PolicyData",
     SECPOLICYDATA_OBJECTCLASS,
     {"dn: cn=Data,secAuthority=Default,cn=jdoe,o=example\n"},
     "secAuthority=Default,cn=jdoe,o=example\n",
     "secAuthority=Default,cn=jdoe,o=example\n",
     "dn: cn=Data,secAuthority=Default,cn=jdoe,o=example\n"},
    {"Map",
     SECMAP_OBJECTCLASS,
     {"dn: cn=m1,cn=Users,secAuthority=Default\n", "secdn: cn=jdoe,o=example\n"},
     "secAuthority=Default,cn=jdoe,o=example\n",
     "secAuthority=Default,cn=jdoe,o=example\n",
     "dn: cn=m1,cn=Users,secAuthority=Default\n"},

    {"LetterCaseDoesNotMatter",
     SECUSER_OBJECTCLASS,
     {"dn: SECAUTHORITY=DEFAULT,CN=jdoe\n"},
     "SECAUTHORITY=DEFAULT,CN=jdoe\n",
     "secAuthority=Default,cn=JDoe\n",
     "dn: SECAUTHORITY=DEFAULT,CN=jdoe\n"},
    {"BlanksAroundCommasGo",
     SECUSER_OBJECTCLASS,
     {"dn:   secAuthority=Default,  cn=jdoe ,o=a\n"},
     "secAuthority=Default,cn=jdoe,o=a\n",
     "secAuthority=Default,cn=jdoe,o=a\n",
     "dn:   secAuthority=Default,cn=jdoe,o=a\n"},
    {"OnlyTheSavedDnKeepsTrailingBlanks",
     SECUSER_OBJECTCLASS,
     {"dn: secAuthority=Default, cn=jdoe \t \n"},
     "secAuthority=Default,cn=jdoe \t \n",
     "secAuthority=Default,cn=jdoe\n",
     "dn: secAuthority=Default,cn=jdoe\n"},
    {"UserWhoseUsersComponentHasBlanksIsOrdinary",
     SECUSER_OBJECTCLASS,
     {"dn: principalName=x, cn=Users, secAuthority=Default\n"},
     "principalName=x,cn=Users,secAuthority=Default\n",
     "principalName=x,cn=Users,secAuthority=Default\n",
     "dn: principalName=x,cn=Users,secAuthority=Default\n"},
    {"UsersEntryInAnotherCase",
     SECUSER_OBJECTCLASS,
     {"dn: principalName=jdoe,CN=users,SecAuthority=Default\n", "SECAUTHORITY: Sales\n", "secdn:cn=jdoe\n"},
     "secAuthority=Sales,cn=jdoe\n",
     "secAuthority=sales,cn=jdoe\n",
     "dn: principalName=jdoe,CN=users,SecAuthority=Default\n"},
    {"SecurityAuthorityOfAUsersEntryEndsAtItsColon",
     SECUSER_OBJECTCLASS,
     {"dn: principalName=jdoe,cn=Users,secAuthority=Default\n", "secAuthority: Sales:x\n", "secDN: cn=jdoe\n"},
     "secAuthority=Sales,cn=jdoe\n",
     "secAuthority=Sales,cn=jdoe\n",
     "dn: principalName=jdoe,cn=Users,secAuthority=Default\n"},
    {"UsersEntryLosesTrailingBlanks",
     SECUSER_OBJECTCLASS,
     {"dn: principalName=jdoe,cn=Users,secAuthority=Default\n", "secAuthority: Default\n", "secDN: cn=jdoe \n"},
     "secAuthority=Default,cn=jdoe\n",
     "secAuthority=Default,cn=jdoe\n",
     "dn: principalName=jdoe,cn=Users,secAuthority=Default\n"},
    {"BlankBehindTheFirstCommaOfAPolicyStays",
     SECPOLICY_OBJECTCLASS,
     {"dn: cn=Policy, secAuthority=Default, cn=jdoe \n"},
     " secAuthority=Default,cn=jdoe \n",
     " secAuthority=Default,cn=jdoe\n",
     "dn: cn=Policy, secAuthority=Default,cn=jdoe\n"},
    {"CommaAtTheStartOfAPolicyDataCounts",
     SECPOLICYDATA_OBJECTCLASS,
     {"dn: ,cn=a,o=b\n"},
     "cn=a,o=b\n",
     "cn=a,o=b\n",
     "dn: ,cn=a,o=b\n"},
    {"PolicyOfAnOwnerWithoutAName", SECPOLICY_OBJECTCLASS, {"dn: cn=Policy,\n"}, "\n", "\n", "dn: cn=Policy,\n"},
    {"MapTakesItsAuthorityUpToTheComma",
     SECMAP_OBJECTCLASS,
     {"dn: cn=m1,cn=Users,SECAUTHORITY=Sales ,o=a\n", "secDN: cn=jdoe , o=example  \n"},
     "SECAUTHORITY=Sales,cn=jdoe,o=example\n",
     "secAuthority=Sales,cn=jdoe,o=example\n",
     "dn: cn=m1,cn=Users,SECAUTHORITY=Sales ,o=a\n"},
};
INSTANTIATE_CASES(UserOwner, userOwnerCases);
TEST_P(UserOwner, IsWorkedOutAndFound) {
  buildCache(3, 1);
  openUserSlot("secAuthority=Other,cn=x\n");
  fillObject(GetParam().lines);
  objectClass = GetParam().code;
  EXPECT_EQ(learnIndexOfAssociatedSecUserDN(), NO_SLOT);
  EXPECT_EQ(saved_secUser_dn, GetParam().saved);
  EXPECT_EQ(objectLines()[0], GetParam().firstLine);
  openUserSlot(GetParam().foundIn);
  fillObject(GetParam().lines);
  EXPECT_EQ(learnIndexOfAssociatedSecUserDN(), 1);
  EXPECT_EQ(saved_secUser_dn, GetParam().saved);
}

class GroupOwner : public FreshRun, public testing::WithParamInterface<OwnerCase> {};
const OwnerCase groupOwnerCases[] = {
    {"Group",
     SECGROUP_OBJECTCLASS,
     {"dn: secAuthority=Default,cn=staff,o=example\n"},
     "secAuthority=Default,cn=staff,o=example\n",
     "SECAUTHORITY=default,cn=Staff,o=example\n",
     "dn: secAuthority=Default,cn=staff,o=example\n"},
    {"Map",
     SECMAP_OBJECTCLASS,
     {"dn: cn=m2,cn=Groups,secAuthority=Default\n", "secDN: cn=staff, o=example\n"},
     "secAuthority=Default,cn=staff,o=example\n",
     "secAuthority=Default,cn=staff,o=example\n",
     "dn: cn=m2,cn=Groups,secAuthority=Default\n"},
    {"BlanksAroundCommasOfAGroupStay",
     SECGROUP_OBJECTCLASS,
     {"dn: secAuthority=Default, cn=staff\n"},
     "secAuthority=Default, cn=staff\n",
     "secAuthority=Default, cn=staff\n",
     "dn: secAuthority=Default, cn=staff\n"},
    {"OnlyTheSavedDnKeepsTrailingBlanks",
     SECGROUP_OBJECTCLASS,
     {"dn: cn=staff  \n"},
     "cn=staff  \n",
     "cn=staff\n",
     "dn: cn=staff\n"},
    {"BlanksInTheAuthorityOfAMapStay",
     SECMAP_OBJECTCLASS,
     {"dn: cn=m2,secAuthority=Default ,o=a\n", "SECDN: cn=staff , o=a \n"},
     "secAuthority=Default ,cn=staff,o=a\n",
     "secAuthority=Default ,cn=staff,o=a\n",
     "dn: cn=m2,secAuthority=Default ,o=a\n"},
};
INSTANTIATE_CASES(GroupOwner, groupOwnerCases);
TEST_P(GroupOwner, IsWorkedOutAndFound) {
  buildCache(1, 3);
  openGroupSlot("secAuthority=Other,cn=x\n");
  fillObject(GetParam().lines);
  objectClass = GetParam().code;
  EXPECT_EQ(learnIndexOfAssociatedSecGroupDN(), NO_SLOT);
  EXPECT_EQ(saved_secGroup_dn, GetParam().saved);
  EXPECT_EQ(objectLines()[0], GetParam().firstLine);
  openGroupSlot(GetParam().foundIn);
  fillObject(GetParam().lines);
  EXPECT_EQ(learnIndexOfAssociatedSecGroupDN(), 1);
  EXPECT_EQ(saved_secGroup_dn, GetParam().saved);
}

class OwnerAssociation : public FreshRun {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    buildCache(3, 3);
  }
  static void take(int32_t code, const Lines& lines) {
    fillObject(lines);
    objectClass = code;
  }
};

TEST_F(OwnerAssociation, SearchesOpenSlotsOnly) {
  setDn(secUser_dn, 0, "cn=a\n");
  take(SECUSER_OBJECTCLASS, {"dn: cn=a\n"});
  EXPECT_EQ(learnIndexOfAssociatedSecUserDN(), NO_SLOT);
  setDn(secGroup_dn, 0, "cn=a\n");
  take(SECGROUP_OBJECTCLASS, {"dn: cn=a\n"});
  EXPECT_EQ(learnIndexOfAssociatedSecGroupDN(), NO_SLOT);
}

TEST_F(OwnerAssociation, KeepsTheSidesApart) {
  openGroupSlot("cn=a\n");
  take(SECUSER_OBJECTCLASS, {"dn: cn=a\n"});
  EXPECT_EQ(learnIndexOfAssociatedSecUserDN(), NO_SLOT);
}

TEST_F(OwnerAssociation, FindsTheFirstOfEqualOwners) {
  openUserSlot("cn=b\n");
  openUserSlot("cn=a\n");
  openUserSlot("CN=A\n");
  take(SECUSER_OBJECTCLASS, {"dn: cn=a\n"});
  EXPECT_EQ(learnIndexOfAssociatedSecUserDN(), 1);
}

TEST_F(OwnerAssociation, ShutsAnOwnerOutWhenItHasNoSlotAndNoneIsFree) {
  buildCache(1, 1);
  take(SECUSER_OBJECTCLASS, {"dn: cn=a\n"});
  learnIndexOfAssociatedSecUserDN();
  EXPECT_FALSE(isShutOut(USER_SIDE, hashOfDn("cn=a\n")));
  openUserSlot("CN=A\n");
  EXPECT_FALSE(isShutOut(USER_SIDE, hashOfDn("cn=a\n")));
  EXPECT_TRUE(isShutOut(USER_SIDE, hashOfDn("cn=b\n")));

  take(SECGROUP_OBJECTCLASS, {"dn: cn=b\n"});
  learnIndexOfAssociatedSecGroupDN();
  EXPECT_FALSE(isShutOut(GROUP_SIDE, hashOfDn("cn=b\n")));
  openGroupSlot("cn=a\n");
  EXPECT_TRUE(isShutOut(GROUP_SIDE, hashOfDn("cn=b\n")));
}

TEST_F(OwnerAssociation, MissesABlankInAGroupsOwnDn) {
  openGroupSlot("secAuthority=Default,cn=staff\n");
  take(SECGROUP_OBJECTCLASS, {"dn: secAuthority=Default, cn=staff\n"});
  EXPECT_EQ(learnIndexOfAssociatedSecGroupDN(), NO_SLOT);
}

TEST_F(OwnerAssociation, TracesTheSearchOfAUser) {
  take(SECUSER_OBJECTCLASS, {"dn: cn=a\n"});
  startTrace();
  learnIndexOfAssociatedSecUserDN();
  expectTraced({"learnIndexOfAssociatedSecUserDN():  FUNCTION ENTRY \n", "   Its DN is  ",
                "   The computed saved_secUser_dn is:  cn=a\n", "   Its strlen is:  5 \n",
                "BEGIN SEARCH WITHIN secUser_dn ARRAY",
                "learnIndexOfAssociatedSecUserDN():  The SECUSER DN WAS NOT FOUND  \n"});
  openUserSlot("cn=a\n");
  startTrace();
  learnIndexOfAssociatedSecUserDN();
  expectTraced({"learnIndexOfAssociatedSecUserDN():  The SECUSER DN WAS FOUND !!!  \n",
                "     The index returned is:    0 \n", "     The saved secUser dn is:  cn=a\n"});
}

TEST_F(OwnerAssociation, TracesTheSearchOfAGroup) {
  openGroupSlot("cn=b\n");
  openGroupSlot("cn=a\n");
  take(SECGROUP_OBJECTCLASS, {"dn: cn=c\n"});
  startTrace();
  learnIndexOfAssociatedSecGroupDN();
  expectTraced({"learnIndexOfAssociatedSecGroupDN():  FUNCTION ENTRY \n", "   The input object is a SECGROUP object \n",
                "   The computed saved_secUser_dn is:  cn=c\n", "BEGIN SEARCH WITHIN secGroup_dn ARRAY",
                "   secGroup_dn[0] =  cn=b\n \n", "   secGroup_dn[1] =  cn=a\n \n",
                "learnIndexOfAssociatedSecGroupDN():  The SECGROUP DN WAS NOT FOUND  \n"});
  take(SECGROUP_OBJECTCLASS, {"dn: cn=a\n"});
  startTrace();
  learnIndexOfAssociatedSecGroupDN();
  expectTraced({"learnIndexOfAssociatedSecGroupDN():  The SECGROUP DN WAS FOUND !!!  \n",
                "     The index returned is:     1 \n", "     The saved secGroup dn is:  cn=a\n"});
}

struct RefusalCase {
  const char* name;
  int32_t (*learn)();
  int32_t code;
  Lines lines;
  const char* trace;  // null where the wording is free
  const char* echo;   // likewise
};
class Refusal : public FreshRun, public testing::WithParamInterface<RefusalCase> {};
const RefusalCase refusalCases[] = {
    {"GroupOnTheUserSide",
     learnIndexOfAssociatedSecUserDN,
     SECGROUP_OBJECTCLASS,
     {"dn: cn=a\n"},
     "learnIndexOfAssociatedSecUserDN():  ERROR: The object is not secPolicy, secPolicyData, secMap, or secUser.  "
     "objectClass = 4 \n",
     "learnIndexOfAssociatedSecUserDN():  ERROR: The object is not secPolicy, secPolicyData, secMap, or secUser.  "
     "objectClass = 4 \n"
     "dn: dn: cn=a\n\n"},
    {"NothingOnTheUserSide",
     learnIndexOfAssociatedSecUserDN,
     UNINTERESTING_OBJECTCLASS,
     {},
     "learnIndexOfAssociatedSecUserDN():  ERROR: The object is not secPolicy, secPolicyData, secMap, or secUser.  "
     "objectClass = 0 \n",
     "learnIndexOfAssociatedSecUserDN():  ERROR: The object is not secPolicy, secPolicyData, secMap, or secUser.  "
     "objectClass = 0 \n"
     "dn: null\n"},
    {"UserOnTheGroupSide",
     learnIndexOfAssociatedSecGroupDN,
     SECUSER_OBJECTCLASS,
     {"dn: cn=a\n"},
     "learnIndexOfAssociatedSecGroupDN():  ERROR: The object is not secGroup or secMap.  objectClass = 1 \n",
     "learnIndexOfAssociatedSecGroupDN():  ERROR: The object is not secGroup or secMap.  objectClass = 1 \n"
     "learnIndexOfAssociatedSecGroupDN():  object = dn: cn=a\n\n"},
    {"NothingOnTheGroupSide",
     learnIndexOfAssociatedSecGroupDN,
     UNINTERESTING_OBJECTCLASS,
     {},
     "learnIndexOfAssociatedSecGroupDN():  ERROR: The object is not secGroup or secMap.  objectClass = 0 \n",
     "learnIndexOfAssociatedSecGroupDN():  ERROR: The object is not secGroup or secMap.  objectClass = 0 \n"
     "learnIndexOfAssociatedSecGroupDN():  object = null\n"},
    {"MapOfAUserWithoutAnAuthority",
     learnIndexOfAssociatedSecUserDN,
     SECMAP_OBJECTCLASS,
     {"dn: cn=m,cn=Users\n", "secDN: cn=a\n"},
     nullptr,
     "learnIndexOfAssociatedSecUserDN(): Missing secAuthority in dn: cn=m,cn=Users\n"},
    {"MapOfAUserWithoutASecDn",
     learnIndexOfAssociatedSecUserDN,
     SECMAP_OBJECTCLASS,
     {"dn: cn=m,secAuthority=Default\n"},
     nullptr,
     "learnIndexOfAssociatedSecUserDN(): Missing secAuthority in dn: cn=m,secAuthority=Default\n"},
    {"MapOfAUserWithoutADn", learnIndexOfAssociatedSecUserDN, SECMAP_OBJECTCLASS, {"o: a\n"}, nullptr, nullptr},
    {"MapOfAGroupWithoutAnAuthority",
     learnIndexOfAssociatedSecGroupDN,
     SECMAP_OBJECTCLASS,
     {"dn: cn=m\n", "secDN: cn=a\n"},
     nullptr,
     "learnIndexOfAssociatedSecGroupDN(): Missing secAuthority in dn: cn=m\n"},
    {"MapOfAGroupWithoutASecDn",
     learnIndexOfAssociatedSecGroupDN,
     SECMAP_OBJECTCLASS,
     {"dn: cn=m,secAuthority=Default\n"},
     nullptr,
     nullptr},
    {"MapOfAGroupWithoutADn", learnIndexOfAssociatedSecGroupDN, SECMAP_OBJECTCLASS, {"o: a\n"}, nullptr, nullptr},
    {"UsersEntryWithoutAnAuthority",
     learnIndexOfAssociatedSecUserDN,
     SECUSER_OBJECTCLASS,
     {"dn: principalName=a,cn=Users,secAuthority=Default\n", "secDN: cn=a\n"},
     nullptr,
     nullptr},
    {"UsersEntryWithoutASecDn",
     learnIndexOfAssociatedSecUserDN,
     SECUSER_OBJECTCLASS,
     {"dn: principalName=a,cn=Users,secAuthority=Default\n", "secAuthority: Default\n"},
     nullptr,
     nullptr},
    {"PolicyWithoutAComma", learnIndexOfAssociatedSecUserDN, SECPOLICY_OBJECTCLASS, {"dn: cn=a\n"}, nullptr, nullptr},
    {"PolicyDataWithoutAComma",
     learnIndexOfAssociatedSecUserDN,
     SECPOLICYDATA_OBJECTCLASS,
     {"dn: cn=a\n"},
     nullptr,
     nullptr},
    {"UserWhoseDnLineIsTooShort", learnIndexOfAssociatedSecUserDN, SECUSER_OBJECTCLASS, {"x\n"}, nullptr, nullptr},
    {"GroupWhoseDnLineIsTooShort", learnIndexOfAssociatedSecGroupDN, SECGROUP_OBJECTCLASS, {"x\n"}, nullptr, nullptr},
    {"PolicyWhoseDnLineIsTooShort", learnIndexOfAssociatedSecUserDN, SECPOLICY_OBJECTCLASS, {",\n"}, nullptr, nullptr},
    {"UserWhoseDnLineHasNoNewline",
     learnIndexOfAssociatedSecUserDN,
     SECUSER_OBJECTCLASS,
     {"dn: cn=a"},
     nullptr,
     nullptr},
    {"GroupWhoseDnLineHasNoNewline",
     learnIndexOfAssociatedSecGroupDN,
     SECGROUP_OBJECTCLASS,
     {"dn: cn=a"},
     nullptr,
     nullptr},
    {"PolicyDataWhoseDnLineHasNoNewline",
     learnIndexOfAssociatedSecUserDN,
     SECPOLICYDATA_OBJECTCLASS,
     {"dn: cn=a,o=b"},
     nullptr,
     nullptr},
    {"OwnerOfAMapThatDoesNotFit",
     learnIndexOfAssociatedSecUserDN,
     SECMAP_OBJECTCLASS,
     {"dn: cn=m,secAuthority=Default\n", "secDN: " + repeated(19980, "x") + "\n"},
     nullptr,
     nullptr},
};
INSTANTIATE_CASES(Refusal, refusalCases);
TEST_P(Refusal, EndsTheRun) {
  buildCache(1, 1);
  fillObject(GetParam().lines);
  objectClass = GetParam().code;
  startTrace();
  EXPECT_FAILURE((echoToFile(), GetParam().learn()), PROCESSING_FAILED);
  if (GetParam().trace != nullptr) expectTraced({GetParam().trace});
  if (GetParam().echo != nullptr) {
    EXPECT_EQ(echoed(), GetParam().echo);
  }
}

TEST_F(OwnerAssociation, TakesAnOwnerThatJustFits) {
  take(SECGROUP_OBJECTCLASS, {"dn: " + repeated(19998, "x") + "\n"});
  EXPECT_EQ(learnIndexOfAssociatedSecGroupDN(), NO_SLOT);
  EXPECT_EQ(saved_secGroup_dn, repeated(19998, "x") + "\n");
}

}  // namespace
