#include "cache/gates.h"

#include "cache/object_cache.h"
#include "cache/owner_association.h"
#include "ldif/complaint.h"
#include "ldif/object_class.h"
#include "reporting/reporting.h"
#include "reporting/run_state.h"

const Gate gates[NUMBER_OF_GATES] = {
    {&numberOfUserSecUserObjectsInObjectCache, &max_number_of_secuser_slots, isUserShutOut, usersWithRoom,
     "main():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over a Users secUser object.  EXITING. \n"},
    {&numberOfSecUserObjectsInObjectCache, &max_number_of_secuser_slots, isUserShutOut, usersWithRoom,
     "main():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over a secUser object.  EXITING. \n"},
    {&numberOfSecGroupObjectsInObjectCache, &max_number_of_secgroup_slots, isGroupShutOut, groupsWithRoom,
     "main():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over a secGroup object.  EXITING. \n"},
    {&numberOfSecPolicyDataObjectsInObjectCache, &max_number_of_secuser_slots, isUserShutOut, usersWithRoom,
     "main():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over a secPolicyData object.  EXITING. \n"},
    {&numberOfSecMapForSecUserObjectsInObjectCache, &max_number_of_secuser_slots, isUserShutOut, usersWithRoom,
     "main():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over a secMap for secUser object.  EXITING. \n"},
    {&numberOfSecMapForSecGroupObjectsInObjectCache, &max_number_of_secgroup_slots, isGroupShutOut, groupsWithRoom,
     "main():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over a secMap for secGroup object.  EXITING. \n"},
    {&numberOfSecPolicyObjectsInObjectCache, &max_number_of_secuser_slots, isUserShutOut, usersWithRoom,
     "main():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over a secPolicy object.  EXITING. \n"},
    {nullptr, nullptr, nullptr, nullptr,
     "main():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over a ResCreds container object or a secResCreds object.  EXITING. \n"},
};

GateNumber gateOfObject() {
  switch (objectClass) {
    case SECUSER_OBJECTCLASS:
      return isUsersObject() ? USERS_SECUSER_GATE : SECUSER_GATE;
    case SECGROUP_OBJECTCLASS:
      return SECGROUP_GATE;
    case SECPOLICYDATA_OBJECTCLASS:
      return SECPOLICYDATA_GATE;
    case SECMAP_OBJECTCLASS:
      return isMapOfUser() ? MAP_OF_USER_GATE : MAP_OF_GROUP_GATE;
    case SECPOLICY_OBJECTCLASS:
      return SECPOLICY_GATE;
    case RESCREDS_CONTAINER:
    case SECRESCREDS_OBJECTCLASS:
      return RESCREDS_GATE;
    default:
      reportError("main():  ERROR:  The object class of this object was unrecognizable.  EXITING. \n");
      exitForObject(UNKNOWN_CLASS);
  }
}

bool isOpen(const Gate& gate) { return gate.limit != nullptr && *gate.gathered < *gate.limit; }
