#include "ldif/object_buffer.h"
#include "test_support.h"

namespace {

struct ClassificationCase {
  const char* name;
  Lines lines;
  int32_t code;
};
class Classification : public FreshRun, public testing::WithParamInterface<ClassificationCase> {};
const ClassificationCase classificationCases[] = {
    {"User", {"dn: a\n", "objectClass: secUser\n"}, 1},
    {"UserInLowerCase", {"dn: a\n", "objectclass: secuser\n"}, 1},
    {"PolicyData", {"dn: a\n", "objectClass: secPolicyData\n"}, 2},
    {"PolicyDataInLowerCase", {"dn: a\n", "objectClass: secpolicydata\n"}, 2},
    {"Policy", {"dn: a\n", "objectClass: secPolicy\n"}, 3},
    {"PolicyInLowerCase", {"dn: a\n", "objectclass: secpolicy\n"}, 3},
    {"Group", {"dn: a\n", "objectclass: secGroup\n"}, 4},
    {"GroupInLowerCase", {"dn: a\n", "objectclass: secgroup\n"}, 4},
    {"Map", {"dn: a\n", "objectClass: secMap\n"}, 5},
    {"MapInLowerCase", {"dn: a\n", "objectClass: secmap\n"}, 5},
    {"AuthorityInfo", {"dn: a\n", "objectClass: secAuthorityInfo\n"}, 6},
    {"AuthorityInfoInLowerCase", {"dn: a\n", "objectClass: secauthorityinfo\n"}, 6},
    {"ResourceCredentialsContainer", {"dn: cn=ResCreds,o=b\n", "objectClass: container\n"}, 7},
    {"ResourceCredentialsContainerInLowerCase", {"dn: o=b,cn=rescreds\n", "objectClass: Container\n"}, 7},
    {"ResourceCredentialsDnInAnotherCase", {"dn: CN=ResCreds\n", "objectClass: container\n"}, 9},
    {"ResourceCredentialsInAnotherLineThanTheDn",
     {"dn: a\n", "cn=ResCreds: b\n", "objectClass: container\n", "o: cn=ResCreds\n"},
     9},
    {"Container", {"dn: a\n", "objectClass: container\n"}, 9},
    {"ContainerWithACapital", {"dn: a\n", "objectClass: Container\n"}, 9},
    {"ResourceCredentials", {"dn: a\n", "objectClass: secResCreds\n"}, 8},
    {"ResourceCredentialsBelowTheirContainer", {"dn: cn=ResCreds\n", "objectClass: secrescreds\n"}, 8},
    {"OtherCaseOfTheClassIsUnknown", {"dn: a\n", "objectClass: SecGroup\n"}, 0},
    {"UpperCaseClassIsUnknown", {"dn: a\n", "objectClass: SECUSER\n"}, 0},
    {"OtherCaseOfTheAttributeIsUnknown", {"dn: a\n", "ObjectClass: secUser\n", "OBJECTCLASS: secUser\n"}, 0},
    {"ClassWithoutABlankBeforeItIsUnknown", {"dn: a\n", "objectClass:secUser\n"}, 0},
    {"MapGoesBeforeGroupOnOneLine", {"dn: a\n", "objectclass: secGroup secMap\n"}, 5},
    {"OtherClassesOnly", {"dn: a\n", "objectClass: top\n", "objectClass: organizationalUnit\n"}, 0},
    {"FirstLineWithAKnownClassDecides",
     {"dn: a\n", "objectClass: top\n", "objectClass: secGroup\n", "objectClass: secUser\n"},
     4},
    {"EarlierClassOfTheTableWinsOnOneLine", {"dn: a\n", "objectClass: secGroup secMap secUser\n"}, 1},
    {"LongerClassCounts", {"dn: a\n", "objectClass: secUserX\n"}, 1},
    {"LongerPolicyDataCounts", {"dn: a\n", "objectClass: secPolicyDataY\n"}, 2},
    {"AnywhereInALine", {"dn: a\n", "description: my objectClass: secUser notes\n"}, 1},
    {"ClassOnAContinuationLineIsNotSeen", {"dn: a\n", "objectClass:\n", " secUser\n"}, 0},
    {"ContinuationLineIsALineOfItsOwn", {"dn: a\n", "text: x\n", " objectClass: secMap\n"}, 5},
    {"BehindOtherWords", {"dn: a\n", "objectClass: a b  secMap\n"}, 5},
    {"AtTheEndOfTheFile", {"dn: a\n", "objectClass: secMap"}, 5},
    {"CutShort", {"dn: a\n", "objectClass: secMa"}, 0},
    {"LikeAKnownOne", {"dn: a\n", "objectClass: secMup secGroap contain\n"}, 0},
    {"EmptyBuffer", {}, 0},
};
INSTANTIATE_CASES(Classification, classificationCases);
TEST_P(Classification, IsByTheFirstKnownClass) {
  objectClass = 77;
  fillObject(GetParam().lines);
  determineTheObjectsObjectClass();
  EXPECT_EQ(objectClass, GetParam().code);
  EXPECT_EQ(objectLines(), GetParam().lines);
}

struct TraceCase {
  const char* name;
  Lines lines;
  const char* line;
};
class ClassificationTrace : public FreshRun, public testing::WithParamInterface<TraceCase> {};
const TraceCase traceCases[] = {
    {"Uninteresting", {"dn: a\n"}, "   The object class is UNINTERESTING_OBJECTCLASS  \n\n"},
    {"User", {"dn: a\n", "objectClass: secUser\n"}, "   The object class is SECUSER_OBJECTCLASS  \n\n"},
    {"PolicyData",
     {"dn: a\n", "objectClass: secPolicyData\n"},
     "   The object class is SECPOLICYDATA_OBJECTCLASS  \n\n"},
    {"Policy", {"dn: a\n", "objectClass: secPolicy\n"}, "   The object class is SECPOLICY_OBJECTCLASS  \n\n"},
    {"Group", {"dn: a\n", "objectClass: secGroup\n"}, "   The object class is SECGROUP_OBJECTCLASS  \n\n"},
    {"Map", {"dn: a\n", "objectClass: secMap\n"}, "   The object class is SECMAP_OBJECTCLASS  \n\n"},
    {"AuthorityInfo",
     {"dn: a\n", "objectClass: secAuthorityInfo\n"},
     "   The object class is SECAUTHORITYINFO_OBJECTCLASS  \n\n"},
    {"ResourceCredentialsContainer",
     {"dn: cn=ResCreds\n", "objectClass: container\n"},
     "   The object class is RESCREDS_CONTAINER (not really an object class) \n\n"},
    {"ResourceCredentials",
     {"dn: a\n", "objectClass: secResCreds\n"},
     "   The object class is SECRESCREDS_OBJECTCLASS (not really an object class) \n\n"},
    {"Container", {"dn: a\n", "objectClass: container\n"}, "   The object class is CONTAINER_OBJECTCLASS \n\n"},
};
INSTANTIATE_CASES(ClassificationTrace, traceCases);
TEST_P(ClassificationTrace, NamesTheClass) {
  fillObject(GetParam().lines);
  startTrace();
  determineTheObjectsObjectClass();
  EXPECT_EQ(traced(), std::string("\ndetermineTheObjectsObjectClass():    \n") + GetParam().line);
}

struct DnCase {
  const char* name;
  const char* dn;
  bool isUsersObject;
  bool isMapOfUser;
};
class DnTest : public testing::TestWithParam<DnCase> {};
const DnCase dnCases[] = {
    {"BelowUsers", "dn: principalName=a,cn=Users,secAuthority=Default\n", true, true},
    {"InAnotherCase", "dn: principalName=a,CN=USERS,SECAUTHORITY=Default\n", true, true},
    {"BlanksBehindTheCommas", "dn: principalName=x, cn=Users, secAuthority=Default\n", false, true},
    {"AuthorityFurtherOn", "dn: cn=m,cn=Users,o=b,secAuthority=Default\n", false, true},
    {"BelowGroups", "dn: cn=m,cn=Groups,secAuthority=Default\n", false, false},
};
INSTANTIATE_CASES(DnTest, dnCases);
TEST_P(DnTest, LooksForUsers) {
  EXPECT_EQ(isUsersLine(GetParam().dn), GetParam().isUsersObject);
  EXPECT_EQ(isLineOfUser(GetParam().dn), GetParam().isMapOfUser);
}

TEST(LongDn, IsLookedThroughToItsEnd) {
  EXPECT_TRUE(isUsersLine(repeated(10000, "x") + "cn=Users,secAuthority="));
  EXPECT_FALSE(isUsersLine(repeated(10000, "x") + "cn=Users,secAuthority"));
}

struct RoadCase {
  const char* name;
  ObjectClass code;
  const char* firstLine;
  bool goesStraightThrough;
};
class RoadOfClass : public testing::TestWithParam<RoadCase> {};
constexpr char POLICIES[] = "dn: cn=a,CN=policies,SECauthority=Default\n";
const RoadCase roadCases[] = {
    {"UninterestingEntry", UNINTERESTING_OBJECTCLASS, "dn: a\n", true},
    {"AuthorityInfo", SECAUTHORITYINFO_OBJECTCLASS, "dn: a\n", true},
    {"Container", CONTAINER_OBJECTCLASS, "dn: a\n", true},
    {"GeneralPolicy", SECPOLICY_OBJECTCLASS, POLICIES, true},
    {"PolicyOfAUser", SECPOLICY_OBJECTCLASS, "dn: cn=Policy,cn=Policies,o=a,secAuthority=Default\n", false},
    {"User", SECUSER_OBJECTCLASS, POLICIES, false},
    {"PolicyData", SECPOLICYDATA_OBJECTCLASS, POLICIES, false},
    {"Group", SECGROUP_OBJECTCLASS, POLICIES, false},
    {"Map", SECMAP_OBJECTCLASS, POLICIES, false},
    {"ContainerOfResourceCredentials", RESCREDS_CONTAINER, POLICIES, false},
    {"ResourceCredentials", SECRESCREDS_OBJECTCLASS, POLICIES, false},
};
INSTANTIATE_CASES(RoadOfClass, roadCases);
TEST_P(RoadOfClass, IsStraightThroughOrByTheWorkFile) {
  EXPECT_EQ(goesStraightThrough(GetParam().code, GetParam().firstLine), GetParam().goesStraightThrough);
}

struct KindCase {
  const char* name;
  ObjectClass code;
  const char* firstLine;
  EntryKind kind;
  Side side;
};
class KindOfEntry : public testing::TestWithParam<KindCase> {};
constexpr char USERS_LINE[] = "dn: cn=a,cn=Users,secAuthority=Default\n";
const KindCase kindCases[] = {
    {"UsersEntry", SECUSER_OBJECTCLASS, USERS_LINE, USERS_SECUSER_KIND, USER_SIDE},
    {"OwnEntryOfAUser", SECUSER_OBJECTCLASS, "dn: a\n", SECUSER_KIND, USER_SIDE},
    {"Group", SECGROUP_OBJECTCLASS, USERS_LINE, SECGROUP_KIND, GROUP_SIDE},
    {"PolicyData", SECPOLICYDATA_OBJECTCLASS, USERS_LINE, SECPOLICYDATA_KIND, USER_SIDE},
    {"MapOfAUser", SECMAP_OBJECTCLASS, USERS_LINE, MAP_OF_USER_KIND, USER_SIDE},
    {"MapOfAGroup", SECMAP_OBJECTCLASS, "dn: a\n", MAP_OF_GROUP_KIND, GROUP_SIDE},
    {"Policy", SECPOLICY_OBJECTCLASS, USERS_LINE, SECPOLICY_KIND, USER_SIDE},
    {"ContainerOfResourceCredentials", RESCREDS_CONTAINER, "dn: a\n", RESCREDS_KIND, USER_SIDE},
    {"ResourceCredentials", SECRESCREDS_OBJECTCLASS, "dn: a\n", RESCREDS_KIND, USER_SIDE},
    {"UninterestingEntry", UNINTERESTING_OBJECTCLASS, "dn: a\n", UNKNOWN_KIND, USER_SIDE},
    {"AuthorityInfo", SECAUTHORITYINFO_OBJECTCLASS, "dn: a\n", UNKNOWN_KIND, USER_SIDE},
    {"Container", CONTAINER_OBJECTCLASS, "dn: a\n", UNKNOWN_KIND, USER_SIDE},
};
INSTANTIATE_CASES(KindOfEntry, kindCases);
TEST_P(KindOfEntry, IsByClassAndFirstLine) {
  EXPECT_EQ(kindOf(GetParam().code, GetParam().firstLine), GetParam().kind);
  EXPECT_EQ(sideOf(GetParam().kind), GetParam().side);
  if (GetParam().kind < RESCREDS_KIND) {
    EXPECT_EQ(classOfKind(GetParam().kind), GetParam().code);
  }
}

TEST_F(FreshRun, ClassNameNeedsABlankBeforeIt) {
  for (const char* name : {"secUser", "secuser", "secPolicyData", "secpolicydata", "secPolicy", "secpolicy", "secMap",
                           "secmap", "secGroup", "secgroup", "secAuthorityInfo", "secauthorityinfo", "container",
                           "Container", "secResCreds", "secrescreds"}) {
    fillObject({"dn: a\n", std::string("objectClass:") + name + "\n"});
    determineTheObjectsObjectClass();
    EXPECT_EQ(objectClass, 0) << name;
  }
}

}  // namespace
