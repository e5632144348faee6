// The class of the entry in the entry buffer, found by plain text search.
#pragma once

#include <cstdint>

enum ObjectClass : int32_t {
  UNINTERESTING_OBJECTCLASS = 0,     // none of those below
  SECUSER_OBJECTCLASS = 1,           // a user's own entry or the user's 'Users' entry
  SECPOLICYDATA_OBJECTCLASS = 2,     // a user's policy data
  SECPOLICY_OBJECTCLASS = 3,         // a policy
  SECGROUP_OBJECTCLASS = 4,          // a group
  SECMAP_OBJECTCLASS = 5,            // a map, of a user or of a group
  SECAUTHORITYINFO_OBJECTCLASS = 6,  // the registry's authority information
  RESCREDS_CONTAINER = 7,            // a container whose DN names the resource credentials
  SECRESCREDS_OBJECTCLASS = 8,       // resource credentials
  CONTAINER_OBJECTCLASS = 9,         // any other container
  NUMBER_OF_OBJECTCLASSES
};

// Code of the entry in the entry buffer, an ObjectClass; valid until the next classification.
inline int32_t objectClass = UNINTERESTING_OBJECTCLASS;

// Sets objectClass. The first objectClass line that names a known class decides; names are known in mixed and
// in all-lowercase form, behind a blank, and longer names that begin with them count.
void determineTheObjectsObjectClass();

// True when line 0, in lower case, holds "cn=users,secauthority=": the entry is a user's 'Users' entry. Ends
// the run with PROCESSING_FAILED when line 0 does not fit tempString.
bool isUsersObject();

// True when line 0 holds "cn=Users" in any case: the map belongs to a user, otherwise to a group.
bool isMapOfUser();
