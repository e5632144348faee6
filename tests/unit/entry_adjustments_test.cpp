#include "workfile/entry_adjustments.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>

#include "ldif/object_buffer.h"
#include "test_support.h"

namespace {

constexpr char DATED[] = "installDate: 20200101000000.0Z\n";

struct AdjustmentCase {
  const char* name;
  int32_t code;
  Lines lines;
  Lines expected;
};
class AdjustmentOf : public FreshRun, public testing::WithParamInterface<AdjustmentCase> {};
const AdjustmentCase adjustmentCases[] = {
    // The version of the authority information.
    {"VersionOfThreeCharacters", SECAUTHORITYINFO_OBJECTCLASS, {"version: 5.0\n", DATED}, {"version: 6.0\n", DATED}},
    {"RestOfALongerVersionStays", SECAUTHORITYINFO_OBJECTCLASS, {"version: 4.10\n", DATED}, {"version: 6.00\n", DATED}},
    {"BlanksBeforeTheVersionStay",
     SECAUTHORITYINFO_OBJECTCLASS,
     {"version:   5.1\n", DATED},
     {"version:   6.0\n", DATED}},
    {"OnlyTheFirstVersion",
     SECAUTHORITYINFO_OBJECTCLASS,
     {"dn: a\n", "version: 5.0\n", "version: 4.0\n", DATED},
     {"dn: a\n", "version: 6.0\n", "version: 4.0\n", DATED}},
    {"VersionAnywhereInALine",
     SECAUTHORITYINFO_OBJECTCLASS,
     {"schemaversion: 5.1\n", "version: 5.0\n", DATED},
     {"schemaversion: 6.0\n", "version: 5.0\n", DATED}},
    {"VersionInAnotherCaseStays", SECAUTHORITYINFO_OBJECTCLASS, {"Version: 5.0\n", DATED}, {"Version: 5.0\n", DATED}},
    {"VersionOfOneCharacter", SECAUTHORITYINFO_OBJECTCLASS, {"version: 5\n", DATED}, {"version: 6.0\n", DATED}},
    {"VersionOfTwoCharacters", SECAUTHORITYINFO_OBJECTCLASS, {"version: 5.\r\n", DATED}, {"version: 6.0\r\n", DATED}},
    {"EmptyVersion", SECAUTHORITYINFO_OBJECTCLASS, {"version: \n", DATED}, {"version: 6.0\n", DATED}},
    {"ShortVersionWithoutALineEnd", SECAUTHORITYINFO_OBJECTCLASS, {DATED, "version: 5"}, {DATED, "version: 6.0"}},
    {"InstallDateInAnyCase",
     SECAUTHORITYINFO_OBJECTCLASS,
     {"version: 5.0\n", "InstallDATE: 2020\n"},
     {"version: 6.0\n", "InstallDATE: 2020\n"}},
    {"AuthorityInfoKeepsItsUuidLine", SECAUTHORITYINFO_OBJECTCLASS, {"secuuid: 1\n", DATED}, {"secuuid: 1\n", DATED}},

    // The domain identifier of users.
    {"UserGetsADomainIdentifier",
     SECUSER_OBJECTCLASS,
     {"dn: a\n", "secAuthority: Default\n", "principalName: jdoe\n"},
     {"dn: a\n", "secAuthority: Default\n", "principalName: jdoe\n", "secDomainId: Default%jdoe"}},
    {"DomainIdentifierOfFoldedValues",
     SECUSER_OBJECTCLASS,
     {"SECAUTHORITY: De\n", " fault\n", "PrincipalName:  j\n", " doe\n"},
     {"SECAUTHORITY: De\n", " fault\n", "PrincipalName:  j\n", " doe\n", "secDomainId: Default%jdoe"}},
    {"DomainIdentifierInAnyCaseIsEnough", SECUSER_OBJECTCLASS, {"SECDOMAINID: x\n"}, {"SECDOMAINID: x\n"}},
    {"NoDomainIdentifierForGroups", SECGROUP_OBJECTCLASS, {"dn: a\n"}, {"dn: a\n"}},
    {"LongDomainIdentifierIsWhole",
     SECUSER_OBJECTCLASS,
     {"secAuthority: " + repeated(900, "a") + "\n", "principalName: " + repeated(900, "p") + "\n"},
     {"secAuthority: " + repeated(900, "a") + "\n", "principalName: " + repeated(900, "p") + "\n",
      "secDomainId: " + repeated(900, "a") + "%" + repeated(900, "p")}},

    // The letter case of the UUID attribute.
    {"UuidOfAGroup", SECGROUP_OBJECTCLASS, {"secuuid: 1234\n"}, {"secUUID: 1234\n"}},
    {"UuidOfAUser", SECUSER_OBJECTCLASS, {"secDomainId: x\n", "secuuid: uu\n"}, {"secDomainId: x\n", "secUUID: uu\n"}},
    {"OnlyTheFirstUuid", SECGROUP_OBJECTCLASS, {"secuuid: 1\n", "secuuid: 2\n"}, {"secUUID: 1\n", "secuuid: 2\n"}},
    {"UuidInAnotherCaseStays",
     SECGROUP_OBJECTCLASS,
     {"SECUUID: 1234\n", "secUuid: 2\n"},
     {"SECUUID: 1234\n", "secUuid: 2\n"}},
    {"UuidBehindOneInTheNewCase",
     SECGROUP_OBJECTCLASS,
     {"secUUID: 1\n", "secuuid: 2\n"},
     {"secUUID: 1\n", "secUUID: 2\n"}},
    {"UuidAnywhereInALine", SECGROUP_OBJECTCLASS, {"text: secuuid: 1\n"}, {"text: secUUID: 1\n"}},

    {"MapPassesUnchanged", SECMAP_OBJECTCLASS, {"version: 5.0\n", "secuuid: 1\n"}, {"version: 5.0\n", "secuuid: 1\n"}},
    {"PolicyPassesUnchanged",
     SECPOLICY_OBJECTCLASS,
     {"version: 5.0\n", "secuuid: 1\n"},
     {"version: 5.0\n", "secuuid: 1\n"}},
    {"OtherEntryPassesUnchanged", UNINTERESTING_OBJECTCLASS, {"version: 5.0\n"}, {"version: 5.0\n"}},
};
INSTANTIATE_CASES(AdjustmentOf, adjustmentCases);
TEST_P(AdjustmentOf, DependsOnTheClass) {
  fillObject(GetParam().lines);
  objectClass = GetParam().code;
  EXPECT_EQ(tweekObjectInObjectArray(), 0);
  EXPECT_EQ(objectLines(), GetParam().expected);
}

// Puts local time as many hours before or behind UTC as it takes to make it this hour of the day now.
class InstallDate : public FreshRun {
 protected:
  static time_t makeLocalHour(int hour) {
    const time_t now = time(nullptr);
    const int offset = hour - gmtime(&now)->tm_hour;
    setenv("TZ", ("TST" + std::to_string(-offset)).c_str(), 1);
    tzset();
    return now + offset * 3600;
  }
  void TearDown() override {
    unsetenv("TZ");
    tzset();
    FreshRun::TearDown();
  }

  // Adjusts an authority information at the given local hour; the date may be that of any moment meanwhile.
  static void expectHour(int hour, const char* written) {
    const time_t first = makeLocalHour(hour);
    const time_t began = time(nullptr);
    fillObject({"dn: a\n"});
    objectClass = SECAUTHORITYINFO_OBJECTCLASS;
    tweekObjectInObjectArray();
    const time_t last = first + (time(nullptr) - began);
    ASSERT_EQ(objectLines().size(), 2u);
    Lines possible;
    for (time_t moment = first; moment <= last; moment++) {
      char date[60];
      strftime(date, sizeof date, ("installDate: %Y%m%d" + std::string(written) + "%M%S.0Z").c_str(), gmtime(&moment));
      possible.push_back(date);
    }
    EXPECT_NE(std::find(possible.begin(), possible.end(), objectLines()[1]), possible.end()) << objectLines()[1];
  }
};

TEST_F(InstallDate, HasTheHourOfATwelveHourClock) {
  expectHour(23, "11");
  expectHour(15, "03");
  expectHour(12, "12");
  expectHour(9, "09");
  expectHour(0, "12");
}

class AdjustmentTrace : public FreshRun {};

TEST_F(AdjustmentTrace, NamesTheAuthorityInfoAndItsChanges) {
  fillObject({"dn: a\n", "version: 5.0\n"});
  objectClass = SECAUTHORITYINFO_OBJECTCLASS;
  startTrace();
  tweekObjectInObjectArray();
  expectTraced({"tweekObjectInObjectArray():  FUNCTION ENTRY \n",
                "tweekObjectInObjectArray():  The secAuthorityInfo object is:      dn: a\n \n",
                "tweekObjectInObjectArray():    The converted version attribute is:  version: 6.0\n \n",
                "tweekObjectInObjectArray():  The secAuthorityInfo object is:      dn: a\n \n",
                "tweekObjectInObjectArray():    The installDate added is:  installDate: ",
                "tweekObjectInObjectArray():  FUNCTION EXIT \n"});
}

TEST_F(AdjustmentTrace, NamesTheUserAndItsChanges) {
  fillObject({"dn: a\n", "secAuthority: S\n", "principalName: p\n", "secuuid: 1\n"});
  objectClass = SECUSER_OBJECTCLASS;
  startTrace();
  tweekObjectInObjectArray();
  expectTraced({"tweekObjectInObjectArray():  The secUser object is:      dn: a\n \n",
                "tweekObjectInObjectArray():    The secDomainId added is:  secDomainId: S%p \n",
                "tweekObjectInObjectArray():  The secUser object is:      dn: a\n \n",
                "tweekObjectInObjectArray():    The modified secUUID  is:  secUUID: 1\n \n"});
}

TEST_F(AdjustmentTrace, NamesTheGroupAndItsChange) {
  fillObject({"dn: a\n", "secuuid: 1\n"});
  objectClass = SECGROUP_OBJECTCLASS;
  startTrace();
  tweekObjectInObjectArray();
  expectTraced({"tweekObjectInObjectArray():  The secGroup object is:      dn: a\n \n",
                "tweekObjectInObjectArray():    The modified secUUID  is:  secUUID: 1\n \n"});
}

class AdjustmentFailure : public FreshRun {};

TEST_F(AdjustmentFailure, UserWithoutASecurityAuthority) {
  fillObject({"dn: a\n", "principalName: p\n"});
  objectClass = SECUSER_OBJECTCLASS;
  startTrace();
  EXPECT_FAILURE((echoToFile(), tweekObjectInObjectArray()), PROCESSING_FAILED);
  const std::string error =
      "tweekObjectInObjectArray():  obtainAttributeValueFromObjArray('secAuthority') failure.  EXITING. \n";
  expectTraced({error});
  EXPECT_EQ(echoed(), error + "object is:  dn: a\n\n");
}

TEST_F(AdjustmentFailure, UserWithoutAPrincipalName) {
  fillObject({"dn: a\n", "secAuthority: Default\n"});
  objectClass = SECUSER_OBJECTCLASS;
  startTrace();
  EXPECT_FAILURE((echoToFile(), tweekObjectInObjectArray()), PROCESSING_FAILED);
  const std::string error =
      "tweekObjectInObjectArray():  obtainAttributeValueFromObjArray('principalName') failure.  EXITING. \n";
  expectTraced({error});
  EXPECT_EQ(echoed(), error + "tweekObjectInObjectArray():  secUser object is =dn: a\n\n");
}

struct MemoryCase {
  const char* name;
  int32_t code;
  Lines lines;
};
class MemoryForAdjustment : public FreshRun, public testing::WithParamInterface<MemoryCase> {};
const MemoryCase memoryCases[] = {
    {"Version", SECAUTHORITYINFO_OBJECTCLASS, {"version: 5.0\n", DATED}},
    {"InstallDate", SECAUTHORITYINFO_OBJECTCLASS, {"dn: a\n"}},
    {"DomainIdentifier", SECUSER_OBJECTCLASS, {"secAuthority: a\n", "principalName: b\n"}},
    {"Uuid", SECGROUP_OBJECTCLASS, {"secuuid: 1\n"}},
};
INSTANTIATE_CASES(MemoryForAdjustment, memoryCases);
TEST_P(MemoryForAdjustment, IsNeeded) {
  fillObject(GetParam().lines);
  objectClass = GetParam().code;
  EXPECT_FAILURE((failNextAllocation(), tweekObjectInObjectArray()), MEMORY_EXHAUSTED);
}

TEST_F(AdjustmentFailure, NoRoomForAnotherLine) {
  fillObject({"dn: a\n"});
  objectClass = SECAUTHORITYINFO_OBJECTCLASS;
  while (next_available_object_slot < OBJECT_ARRAY_SIZE) appendLineToObject(object[0]);
  EXPECT_FAILURE(tweekObjectInObjectArray(), PROCESSING_FAILED);
}

}  // namespace
