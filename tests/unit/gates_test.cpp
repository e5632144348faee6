#include "cache/gates.h"

#include "ldif/object_class.h"
#include "reporting/run_state.h"
#include "test_support.h"

namespace {

struct GateCase {
  const char* name;
  int32_t code;
  const char* dn;
  GateNumber gate;
  int32_t* gathered;  // null for what is never gathered
  int32_t* limit;
  const char* what;  // that cannot be stepped over
};
class EntryGate : public FreshRun, public testing::WithParamInterface<GateCase> {};
const GateCase gateCases[] = {
    {"UsersEntry", SECUSER_OBJECTCLASS, "dn: principalName=a,CN=users,secAuthority=Default\n", USERS_SECUSER_GATE,
     &numberOfUserSecUserObjectsInObjectCache, &max_number_of_secuser_slots, "a Users secUser object"},
    {"User", SECUSER_OBJECTCLASS, "dn: secAuthority=Default,cn=a\n", SECUSER_GATE, &numberOfSecUserObjectsInObjectCache,
     &max_number_of_secuser_slots, "a secUser object"},
    {"UserBelowUsersWithBlanks", SECUSER_OBJECTCLASS, "dn: principalName=x, cn=Users, secAuthority=Default\n",
     SECUSER_GATE, &numberOfSecUserObjectsInObjectCache, &max_number_of_secuser_slots, "a secUser object"},
    {"Group", SECGROUP_OBJECTCLASS, "dn: cn=g\n", SECGROUP_GATE, &numberOfSecGroupObjectsInObjectCache,
     &max_number_of_secgroup_slots, "a secGroup object"},
    {"PolicyData", SECPOLICYDATA_OBJECTCLASS, "dn: cn=d,cn=a\n", SECPOLICYDATA_GATE,
     &numberOfSecPolicyDataObjectsInObjectCache, &max_number_of_secuser_slots, "a secPolicyData object"},
    {"MapOfAUser", SECMAP_OBJECTCLASS, "dn: cn=m,o=x,CN=users\n", MAP_OF_USER_GATE,
     &numberOfSecMapForSecUserObjectsInObjectCache, &max_number_of_secuser_slots, "a secMap for secUser object"},
    {"MapOfAGroup", SECMAP_OBJECTCLASS, "dn: cn=m,cn=Groups\n", MAP_OF_GROUP_GATE,
     &numberOfSecMapForSecGroupObjectsInObjectCache, &max_number_of_secgroup_slots, "a secMap for secGroup object"},
    {"Policy", SECPOLICY_OBJECTCLASS, "dn: cn=p,cn=a\n", SECPOLICY_GATE, &numberOfSecPolicyObjectsInObjectCache,
     &max_number_of_secuser_slots, "a secPolicy object"},
    {"ResourceCredentialsContainer", RESCREDS_CONTAINER, "dn: cn=ResCreds\n", RESCREDS_GATE, nullptr, nullptr,
     "a ResCreds container object or a secResCreds object"},
    {"ResourceCredentials", SECRESCREDS_OBJECTCLASS, "dn: cn=a\n", RESCREDS_GATE, nullptr, nullptr,
     "a ResCreds container object or a secResCreds object"},
};
INSTANTIATE_CASES(EntryGate, gateCases);
TEST_P(EntryGate, IsOpenBelowItsLimit) {
  buildCache(3, 2);
  fillObject({GetParam().dn, "o: cn=Users,secAuthority=\n"});
  objectClass = GetParam().code;
  const GateNumber number = gateOfObject();
  EXPECT_EQ(number, GetParam().gate);
  const Gate& gate = gates[number];
  EXPECT_EQ(gate.gathered, GetParam().gathered);
  EXPECT_EQ(gate.limit, GetParam().limit);
  EXPECT_EQ(gate.stepOverError,
            std::string("main():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over ") +
                GetParam().what + ".  EXITING. \n");
  EXPECT_EQ(objectLines()[0], GetParam().dn);
  if (gate.gathered == nullptr) {
    EXPECT_FALSE(isOpen(gate));
    return;
  }
  EXPECT_TRUE(isOpen(gate));
  *GetParam().gathered = *GetParam().limit - 1;
  EXPECT_TRUE(isOpen(gate));
  *GetParam().gathered = *GetParam().limit;
  EXPECT_FALSE(isOpen(gate));
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
  EXPECT_FAILURE((echoToFile(), gateOfObject()), PROCESSING_FAILED);
  const std::string error = "main():  ERROR:  The object class of this object was unrecognizable.  EXITING. \n";
  expectTraced({error});
  EXPECT_EQ(echoed(), error);
}

}  // namespace
