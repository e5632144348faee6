#include "output/new_dn.h"

#include "reporting/reporting.h"
#include "test_support.h"

namespace {

struct NameCase {
  const char* name;
  Lines lines;
  const char* extracted;  // null when there is none
};

class PrincipalName : public FreshRun, public testing::WithParamInterface<NameCase> {};
const NameCase principalNameCases[] = {
    {"BlanksBeforeAndLineEndBehindItGo", {"dn: a\n", "principalName:   jdoe\r\n"}, "jdoe"},
    {"InLowerCase", {"dn: a\n", "principalname: jdoe\n"}, "jdoe"},
    {"OtherCasesAreUnknown", {"dn: a\n", "PrincipalName: x\n", "PRINCIPALNAME: x\n"}, nullptr},
    {"TabStays", {"principalName:\tjdoe\n"}, "\tjdoe"},
    {"BlanksInsideAndBehindStay", {"principalName: j doe  \n"}, "j doe  "},
    {"EndsAtACarriageReturnInside", {"principalName: j\rdoe\n"}, "j"},
    {"FirstLineWithEitherForm", {"principalname: first\n", "principalName: second\n"}, "first"},
    {"MixedCaseBeforeLowerCaseOnOneLine", {"text: principalname: x principalName: jdoe\n"}, "jdoe"},
    {"AnywhereInALine", {"dn: a\n", "text: principalName: jdoe\n"}, "jdoe"},
    {"Empty", {"principalName:  \n", "principalName: second\n"}, nullptr},
    {"NoEntry", {}, nullptr},
};
INSTANTIATE_CASES(PrincipalName, principalNameCases);
TEST_P(PrincipalName, IsExtracted) {
  buildCache(2, 1);
  fillRow(secUserMatrix, 1, GetParam().lines);
  EXPECT_EQ(learnPrincipalNameFromSecUserObject(1), GetParam().extracted == nullptr ? -1 : 0);
  EXPECT_STREQ(principalName, GetParam().extracted == nullptr ? "" : GetParam().extracted);
}

class GroupCn : public FreshRun, public testing::WithParamInterface<NameCase> {};
const NameCase groupCnCases[] = {
    {"BlanksBeforeAndLineEndBehindItGo", {"dn: a\n", "cn:   staff \r\n"}, "staff "},
    {"InUpperCase", {"dn: a\n", "CN: staff\n"}, "staff"},
    {"OtherCasesAreUnknown", {"dn: a\n", "Cn: x\n", "cN: x\n"}, nullptr},
    {"EarlierLineThatHoldsIt", {"dn: a\n", "text: see cn: other\n", "cn: staff\n"}, "other"},
    {"LongerNameThatEndsInIt", {"seccn: other\n", "cn: staff\n"}, "other"},
    {"LowerBeforeUpperCaseOnOneLine", {"CN: x cn: staff\n"}, "staff"},
    {"Empty", {"cn: \n"}, nullptr},
    {"NoEntry", {}, nullptr},
};
INSTANTIATE_CASES(GroupCn, groupCnCases);
TEST_P(GroupCn, IsExtracted) {
  buildCache(1, 2);
  fillRow(secGroupMatrix, 1, GetParam().lines);
  EXPECT_EQ(learnCNFromSecGroupObject(1), GetParam().extracted == nullptr ? -1 : 0);
  EXPECT_STREQ(cnFromSecGroupObject, GetParam().extracted == nullptr ? "" : GetParam().extracted);
}

struct DnCase {
  const char* name;
  const char* oldDn;
  const char* newDn;
};

class NewUserDn : public FreshRun, public testing::WithParamInterface<DnCase> {};
const DnCase userDnCases[] = {
    {"DefaultDomain", "secAuthority=Default,cn=a\n", "dn: principalName=jdoe,cn=Users,secAuthority=default\n"},
    {"DefaultDomainInUpperCase", "SECAUTHORITY=DEFAULT,CN=a\n",
     "dn: principalName=jdoe,cn=Users,secAuthority=default\n"},
    {"DefaultDomainFurtherOn", "cn=a,secAuthority=Default\n", "dn: principalName=jdoe,cn=Users,secAuthority=default\n"},
    {"Subdomain", "secAuthority=Sales,cn=a\n",
     "dn: principalName=jdoe,cn=Users,secAuthority=Sales,cn=Subdomains,secAuthority=default\n"},
    {"DefaultBelowSubdomainsIsASubdomain", "secAuthority=Default,cn=subdomains,o=a\n",
     "dn: principalName=jdoe,cn=Users,secAuthority=Default,cn=Subdomains,secAuthority=default\n"},
    {"SubdomainsInAnyCase", "secAuthority=Default,CN=SubDomains\n",
     "dn: principalName=jdoe,cn=Users,secAuthority=Default,cn=Subdomains,secAuthority=default\n"},
    {"StoredCaseIsKept", "SECauthority=sALES,cn=a\n",
     "dn: principalName=jdoe,cn=Users,SECauthority=sALES,cn=Subdomains,secAuthority=default\n"},
    {"FirstComponentWhateverItIs", "o=b,secAuthority=Sales\n",
     "dn: principalName=jdoe,cn=Users,o=b,cn=Subdomains,secAuthority=default\n"},
    {"WholeDnWithoutAComma", "secAuthority=Sales",
     "dn: principalName=jdoe,cn=Users,secAuthority=Sales,cn=Subdomains,secAuthority=default\n"},
};
INSTANTIATE_CASES(NewUserDn, userDnCases);
TEST_P(NewUserDn, ReplacesTheOwnersDn) {
  buildCache(2, 1);
  fillRow(secUserMatrix, 1, {"dn: a\n", "principalName: jdoe\n"});
  setDn(secUser_dn, 1, GetParam().oldDn);
  EXPECT_EQ(createNewSecUserDN(1), 0);
  EXPECT_EQ(secUser_dn[1], GetParam().newDn);
}

class NewGroupDn : public FreshRun, public testing::WithParamInterface<DnCase> {};
const DnCase groupDnCases[] = {
    {"DefaultDomain", "secAuthority=Default,cn=a\n", "dn: cn=admins,cn=Groups,secAuthority=default\n"},
    {"Subdomain", "secAuthority=Sales,cn=a\n",
     "dn: cn=admins,cn=Groups,secAuthority=Sales,cn=Subdomains,secAuthority=default\n"},
    {"DefaultBelowSubdomainsIsASubdomain", "secAuthority=Default,cn=subdomains,o=a\n",
     "dn: cn=admins,cn=Groups,secAuthority=Default,cn=Subdomains,secAuthority=default\n"},
    {"StoredCaseIsKept", "SECauthority=sALES,cn=a\n",
     "dn: cn=admins,cn=Groups,SECauthority=sALES,cn=Subdomains,secAuthority=default\n"},
};
INSTANTIATE_CASES(NewGroupDn, groupDnCases);
TEST_P(NewGroupDn, ReplacesTheOwnersDn) {
  buildCache(1, 2);
  fillRow(secGroupMatrix, 1, {"dn: a\n", "cn: admins\n"});
  setDn(secGroup_dn, 1, GetParam().oldDn);
  EXPECT_EQ(createNewSecGroupDN(1), 0);
  EXPECT_EQ(secGroup_dn[1], GetParam().newDn);
}

class NewPolicyDn : public FreshRun, public testing::WithParamInterface<DnCase> {};
const DnCase policyDnCases[] = {
    {"DefaultDomain", "cn=Policy,secAuthority=Default,cn=a\n",
     "dn: cn=Policy,cn=Policies,principalName=jdoe,cn=Users,secAuthority=default\n"},
    {"Subdomain", "cn=Policy,secAuthority=Sales,cn=a\n",
     "dn: cn=Policy,cn=Policies,principalName=jdoe,cn=Users,secAuthority=Sales,cn=Subdomains,secAuthority=default\n"},
    {"AuthorityWhereverItStands", "cn=Policy,o=b,SECauthority=sALES,cn=a\n",
     "dn: cn=Policy,cn=Policies,principalName=jdoe,cn=Users,SECauthority=sALES,cn=Subdomains,secAuthority=default\n"},
    {"FirstOfTwoAuthorities", "cn=Policy,secAuthority=Sales,cn=Subdomains,secAuthority=Default\n",
     "dn: cn=Policy,cn=Policies,principalName=jdoe,cn=Users,secAuthority=Sales,cn=Subdomains,secAuthority=default\n"},
    {"AuthorityAtTheEnd", "cn=Policy,secAuthority=Sales",
     "dn: cn=Policy,cn=Policies,principalName=jdoe,cn=Users,secAuthority=Sales,cn=Subdomains,secAuthority=default\n"},
};
INSTANTIATE_CASES(NewPolicyDn, policyDnCases);
TEST_P(NewPolicyDn, ReplacesThePolicyDn) {
  buildCache(2, 1);
  fillRow(secUserMatrix, 1, {"dn: a\n", "principalName: jdoe\n"});
  setDn(secPolicy_dn, 1, GetParam().oldDn);
  EXPECT_EQ(createNewSecPolicyDN(1), 0);
  EXPECT_EQ(secPolicy_dn[1], GetParam().newDn);
}

class NewDn : public FreshRun {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    buildCache(1, 1);
  }
};

TEST_F(NewDn, IsNotMadeForAUserWithoutAPolicy) {
  startTrace();
  EXPECT_EQ(createNewSecPolicyDN(0), 0);
  EXPECT_EQ(secPolicy_dn[0].data(), nullptr);
  EXPECT_EQ(traced().find("ERROR"), std::string::npos);
}

constexpr char CORRUPT[] = "The input file may be corrupt.";

TEST_F(NewDn, NeedsAPrincipalName) {
  fillRow(secUserMatrix, 0, {"dn: a\n", "PrincipalName: jdoe\n"});
  setDn(secUser_dn, 0, "secAuthority=Sales,cn=a\n");
  startTrace();
  debugError = 1;
  EXPECT_EQ(outputOf([] { EXPECT_EQ(createNewSecUserDN(0), -1); }),
            "learnPrincipalNameFromSecUserObject(): ERROR: secUser principal name could not be found. \n"
            "secUser is: dn: a\n\n"
            "createNewSecUserDN():  principalName for secUser: dn: a\n  could not be determined\n");
  expectTraced({"learnPrincipalNameFromSecUserObject():  ERROR: secUser principal name could not be found. \n ",
                CORRUPT, "createNewSecUserDN():  learnPrincipalNameFromSecUserObject FAILED.  Returning ERROR. \n"});
  EXPECT_EQ(secUser_dn[0], "secAuthority=Sales,cn=a\n");
}

TEST_F(NewDn, NeedsAUserEntry) {
  setDn(secUser_dn, 0, "secAuthority=Default,cn=a\n");
  debugError = 1;
  EXPECT_EQ(outputOf([] { EXPECT_EQ(createNewSecUserDN(0), -1); }),
            "learnPrincipalNameFromSecUserObject(): ERROR: secUser principal name could not be found. \n"
            "secUser is: null\n"
            "createNewSecUserDN():  principalName for secUser: null  could not be determined\n");
}

TEST_F(NewDn, OfAPolicyNeedsAPrincipalName) {
  setDn(secPolicy_dn, 0, "cn=Policy,secAuthority=Default,cn=a\n");
  startTrace();
  debugError = 1;
  EXPECT_EQ(outputOf([] { EXPECT_EQ(createNewSecPolicyDN(0), -1); }),
            "learnPrincipalNameFromSecUserObject(): ERROR: secUser principal name could not be found. \n"
            "secUser is: null\n"
            "createNewSecPolicyDN():  learnPrincipalNameFromSecUserObject FAILED. ERROR. \n"
            "createNewSecPolicyDN():  secPolicy_dn is: cn=Policy,secAuthority=Default,cn=a\n\n");
  expectTraced({"createNewSecPolicyDN():  learnPrincipalNameFromSecUserObject FAILED.  Returning ERROR. \n"});
  EXPECT_EQ(secPolicy_dn[0], "cn=Policy,secAuthority=Default,cn=a\n");
}

TEST_F(NewDn, NeedsACn) {
  fillRow(secGroupMatrix, 0, {"dn: a\n", "Cn: staff\n"});
  setDn(secGroup_dn, 0, "secAuthority=Sales,cn=a\n");
  startTrace();
  debugError = 1;
  EXPECT_EQ(outputOf([] { EXPECT_EQ(createNewSecGroupDN(0), -1); }),
            "learnCNFromSecGroupObject():  ERROR: secGroup cn could not be found. \n"
            "secGroup is: dn: a\n\n"
            "createNewSecGroupDN():  learnCNFromSecGroupObject FAILED.\n"
            "createNewSecGroupDN():  secGroup:  secAuthority=Sales,cn=a\n\n");
  expectTraced({"learnCNFromSecGroupObject():  ERROR: secGroup cn could not be found. \n ", CORRUPT,
                "createNewSecGroupDN():  learnCNFromSecGroupObject FAILED.  Returning ERROR. \n"});
  EXPECT_EQ(secGroup_dn[0], "secAuthority=Sales,cn=a\n");
}

TEST_F(NewDn, SaysOfAGroupWithoutACnEvenWhenErrorsAreNotEchoed) {
  EXPECT_EQ(outputOf([] { EXPECT_EQ(createNewSecGroupDN(0), -1); }),
            "createNewSecGroupDN():  learnCNFromSecGroupObject FAILED.\n"
            "createNewSecGroupDN():  secGroup:  null\n");
}

TEST_F(NewDn, OfASubdomainsPolicyNeedsAnAuthority) {
  fillRow(secUserMatrix, 0, {"dn: a\n", "principalName: jdoe\n"});
  setDn(secPolicy_dn, 0, "cn=Policy,cn=a\n");
  EXPECT_FAILURE((echoToFile(), createNewSecPolicyDN(0)), PROCESSING_FAILED);
  EXPECT_EQ(echoed(), "createNewSecPolicyDN(): Missing secAuthority in dn: cn=Policy,cn=a\n\n");
}

// The line end of the value is copied with it before it is cut off.
TEST_F(NewDn, TakesNamesUpTo1022Characters) {
  fillRow(secUserMatrix, 0, {"principalName: " + repeated(1022, "x") + "\n"});
  EXPECT_EQ(learnPrincipalNameFromSecUserObject(0), 0);
  EXPECT_EQ(principalName, repeated(1022, "x"));
  fillRow(secGroupMatrix, 0, {"cn: " + repeated(1022, "x") + "\n"});
  EXPECT_EQ(learnCNFromSecGroupObject(0), 0);
  EXPECT_EQ(cnFromSecGroupObject, repeated(1022, "x"));
}

TEST_F(NewDn, RefusesALongerPrincipalName) {
  fillRow(secUserMatrix, 0, {"principalName: " + repeated(1023, "x") + "\n"});
  EXPECT_FAILURE(learnPrincipalNameFromSecUserObject(0), PROCESSING_FAILED);
}

TEST_F(NewDn, RefusesALongerCn) {
  fillRow(secGroupMatrix, 0, {"cn: " + repeated(1023, "x") + "\n"});
  EXPECT_FAILURE(learnCNFromSecGroupObject(0), PROCESSING_FAILED);
}

TEST_F(NewDn, RefusesADnThatDoesNotFit) {
  fillRow(secUserMatrix, 0, {"principalName: jdoe\n"});
  fillRow(secGroupMatrix, 0, {"cn: staff\n"});
  // In front of the first component stand 32 characters of a user's DN, behind it 36 with the newline.
  setDn(secUser_dn, 0, repeated(4095 - 32 - 36, "x"));
  EXPECT_EQ(createNewSecUserDN(0), 0);
  setDn(secUser_dn, 0, repeated(4096 - 32 - 36, "x"));
  EXPECT_FAILURE(createNewSecUserDN(0), PROCESSING_FAILED);
  setDn(secUser_dn, 0, repeated(4096, "x"));
  EXPECT_FAILURE(createNewSecUserDN(0), PROCESSING_FAILED);
  setDn(secGroup_dn, 0, repeated(4095, "x"));
  EXPECT_FAILURE(createNewSecGroupDN(0), PROCESSING_FAILED);
  setDn(secPolicy_dn, 0, "secAuthority=" + repeated(4082, "x"));
  EXPECT_FAILURE(createNewSecPolicyDN(0), PROCESSING_FAILED);
}

TEST_F(NewDn, NeedsMemory) {
  fillRow(secUserMatrix, 0, {"principalName: jdoe\n"});
  fillRow(secGroupMatrix, 0, {"cn: staff\n"});
  setDn(secUser_dn, 0, "secAuthority=Default\n");
  setDn(secGroup_dn, 0, "secAuthority=Default\n");
  setDn(secPolicy_dn, 0, "cn=Policy,secAuthority=Default\n");
  EXPECT_FAILURE((failNextAllocation(), createNewSecUserDN(0)), MEMORY_EXHAUSTED);
  EXPECT_FAILURE((failNextAllocation(), createNewSecGroupDN(0)), MEMORY_EXHAUSTED);
  EXPECT_FAILURE((failNextAllocation(), createNewSecPolicyDN(0)), MEMORY_EXHAUSTED);
}

}  // namespace
