// What kind of entry it is, found by plain text search.
#pragma once

#include <cstdint>
#include <string_view>

#include "rules/line.h"

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

// The first objectClass line that names a known class decides; names are known in mixed and in all-lowercase form,
// behind a blank, and longer names that begin with them count.
ObjectClass classOf(Entry entry);

// True when a first line holds "cn=users,secauthority=" in any case: a user's entry is the 'Users' entry then.
bool isUsersLine(std::string_view firstLine);

// True when a first line holds "cn=Users" in any case: a map belongs to a user then, otherwise to a group.
bool isLineOfUser(std::string_view firstLine);

// True when the entry needs no gathering: it goes straight to the output.
bool goesStraightThrough(ObjectClass objectClass, std::string_view firstLine);

// The kinds of entry that the passes tell apart. Those of one owner go into a row each.
enum EntryKind : uint8_t {
  USERS_SECUSER_KIND,
  SECUSER_KIND,
  SECGROUP_KIND,
  SECPOLICYDATA_KIND,
  MAP_OF_USER_KIND,
  MAP_OF_GROUP_KIND,
  SECPOLICY_KIND,
  RESCREDS_KIND,
  UNKNOWN_KIND,  // of a class that never reaches the work file
  NUMBER_OF_KINDS
};

EntryKind kindOf(ObjectClass objectClass, std::string_view firstLine);

// How many lines of an entry have room in a row: in that of a policy, and in any other.
constexpr int32_t SECUSER_MATRIX_NUMBER_OF_COLUMNS = 50;
constexpr int32_t SECPOLICY_MATRIX_NUMBER_OF_COLUMNS = 500;

constexpr int32_t columnsOf(EntryKind kind) {
  return kind == SECPOLICY_KIND ? SECPOLICY_MATRIX_NUMBER_OF_COLUMNS : SECUSER_MATRIX_NUMBER_OF_COLUMNS;
}

// The class of the entries of a kind that is gathered.
ObjectClass classOfKind(EntryKind kind);

// The two sides of the cache.
enum Side : uint8_t { USER_SIDE, GROUP_SIDE };

constexpr Side sideOf(EntryKind kind) {
  return kind == SECGROUP_KIND || kind == MAP_OF_GROUP_KIND ? GROUP_SIDE : USER_SIDE;
}
