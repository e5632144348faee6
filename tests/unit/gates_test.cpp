#include "cache/object_cache.h"
#include "driver/pass.h"
#include "ldif/object_buffer.h"
#include "reporting/run_state.h"
#include "test_support.h"

namespace {

struct GateCase {
  const char* name;
  int32_t code;
  const char* className;
  const char* dn;
  EntryKind kind;
  int32_t* gathered;  // null for what is never gathered
  int32_t* limit;
  const char* what;  // that cannot be stepped over
};
class EntryGate : public FreshRun, public testing::WithParamInterface<GateCase> {};
const GateCase gateCases[] = {
    {"UsersEntry", SECUSER_OBJECTCLASS, "secUser", "dn: principalName=a,CN=users,secAuthority=Default\n",
     USERS_SECUSER_KIND, &numberOfUserSecUserObjectsInObjectCache, &max_number_of_secuser_slots,
     "a Users secUser object"},
    {"User", SECUSER_OBJECTCLASS, "secUser", "dn: secAuthority=Default,cn=a\n", SECUSER_KIND,
     &numberOfSecUserObjectsInObjectCache, &max_number_of_secuser_slots, "a secUser object"},
    {"UserBelowUsersWithBlanks", SECUSER_OBJECTCLASS, "secUser",
     "dn: principalName=x, cn=Users, secAuthority=Default\n", SECUSER_KIND, &numberOfSecUserObjectsInObjectCache,
     &max_number_of_secuser_slots, "a secUser object"},
    {"Group", SECGROUP_OBJECTCLASS, "secGroup", "dn: cn=g\n", SECGROUP_KIND, &numberOfSecGroupObjectsInObjectCache,
     &max_number_of_secgroup_slots, "a secGroup object"},
    {"PolicyData", SECPOLICYDATA_OBJECTCLASS, "secPolicyData", "dn: cn=d,cn=a\n", SECPOLICYDATA_KIND,
     &numberOfSecPolicyDataObjectsInObjectCache, &max_number_of_secuser_slots, "a secPolicyData object"},
    {"MapOfAUser", SECMAP_OBJECTCLASS, "secMap", "dn: cn=m,o=x,CN=users\n", MAP_OF_USER_KIND,
     &numberOfSecMapForSecUserObjectsInObjectCache, &max_number_of_secuser_slots, "a secMap for secUser object"},
    {"MapOfAGroup", SECMAP_OBJECTCLASS, "secMap", "dn: cn=m,cn=Groups\n", MAP_OF_GROUP_KIND,
     &numberOfSecMapForSecGroupObjectsInObjectCache, &max_number_of_secgroup_slots, "a secMap for secGroup object"},
    {"Policy", SECPOLICY_OBJECTCLASS, "secPolicy", "dn: cn=p,cn=a\n", SECPOLICY_KIND,
     &numberOfSecPolicyObjectsInObjectCache, &max_number_of_secuser_slots, "a secPolicy object"},
    {"ResourceCredentialsContainer", RESCREDS_CONTAINER, "container", "dn: cn=ResCreds\n", RESCREDS_KIND, nullptr,
     nullptr, "a ResCreds container object or a secResCreds object"},
    {"ResourceCredentials", SECRESCREDS_OBJECTCLASS, "secResCreds", "dn: cn=a\n", RESCREDS_KIND, nullptr, nullptr,
     "a ResCreds container object or a secResCreds object"},
};
INSTANTIATE_CASES(EntryGate, gateCases);
TEST_P(EntryGate, IsOpenBelowItsLimit) {
  buildCache(3, 2);
  fillObject({GetParam().dn, "o: cn=Users,secAuthority=\n"});
  objectClass = GetParam().code;
  const EntryKind kind = requireKindOfObject();
  EXPECT_EQ(kind, GetParam().kind);
  EXPECT_EQ(objectLines()[0], GetParam().dn);
  if (GetParam().gathered == nullptr) {
    EXPECT_FALSE(isOpen(kind));
    return;
  }
  EXPECT_TRUE(isOpen(kind));
  *GetParam().gathered = *GetParam().limit - 1;
  EXPECT_TRUE(isOpen(kind));
  *GetParam().gathered = *GetParam().limit;
  EXPECT_FALSE(isOpen(kind));
}

TEST_P(EntryGate, IsNamedWhenAnEntryBeforeItCannotBeSteppedOver) {
  buildCache(3, 2);
  fillObject({GetParam().dn, "objectClass: " + std::string(GetParam().className) + "\n"});
  if (GetParam().gathered != nullptr) *GetParam().gathered = *GetParam().limit;
  tifp = streamWithoutPositions();
  startTrace();
  EXPECT_EXIT(settleObject(1), testing::ExitedWithCode(255), positionFailureThen("fgetpos", PROCESSING_FAILED));
  expectTraced({std::string("main():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over ") +
                GetParam().what + ".  EXITING. \n"});
}

struct StrayCase {
  const char* name;
  int32_t code;
};
class StrayEntry : public FreshRun, public testing::WithParamInterface<StrayCase> {};
const StrayCase strayCases[] = {
    {"Uninteresting", UNINTERESTING_OBJECTCLASS},
    {"AuthorityInfo", SECAUTHORITYINFO_OBJECTCLASS},
    {"Container", CONTAINER_OBJECTCLASS},
};
INSTANTIATE_CASES(StrayEntry, strayCases);
TEST_P(StrayEntry, EndsTheRun) {
  fillObject({"dn: o=a\n"});
  objectClass = GetParam().code;
  startTrace();
  EXPECT_FAILURE((echoToFile(), requireKindOfObject()), PROCESSING_FAILED);
  const std::string error = "main():  ERROR:  The object class of this object was unrecognizable.  EXITING. \n";
  expectTraced({error});
  EXPECT_EQ(echoed(), error);
}

}  // namespace
