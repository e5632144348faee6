#include "ldif/object_class.h"

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
class DnTest : public FreshRun, public testing::WithParamInterface<DnCase> {};
const DnCase dnCases[] = {
    {"BelowUsers", "dn: principalName=a,cn=Users,secAuthority=Default\n", true, true},
    {"InAnotherCase", "dn: principalName=a,CN=USERS,SECAUTHORITY=Default\n", true, true},
    {"BlanksBehindTheCommas", "dn: principalName=x, cn=Users, secAuthority=Default\n", false, true},
    {"AuthorityFurtherOn", "dn: cn=m,cn=Users,o=b,secAuthority=Default\n", false, true},
    {"BelowGroups", "dn: cn=m,cn=Groups,secAuthority=Default\n", false, false},
};
INSTANTIATE_CASES(DnTest, dnCases);
TEST_P(DnTest, LooksForUsers) {
  fillObject({GetParam().dn, "o: cn=Users,secAuthority=\n"});
  EXPECT_EQ(isUsersObject(), GetParam().isUsersObject);
  EXPECT_EQ(isMapOfUser(), GetParam().isMapOfUser);
  EXPECT_EQ(objectLines()[0], GetParam().dn);
}

class LongDn : public FreshRun {};
TEST_F(LongDn, DoesNotFitTheScratchBuffer) {
  fillObject({repeated(4095, "x")});
  EXPECT_FALSE(isUsersObject());
  fillObject({repeated(4096, "x")});
  EXPECT_FAILURE(isUsersObject(), PROCESSING_FAILED);
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
