#include "cache/owner_association.h"

#include <cstdlib>
#include <cstring>

#include "cache/object_cache.h"
#include "cache/owner_index.h"
#include "ldif/attribute_lookup.h"
#include "ldif/complaint.h"
#include "ldif/line_memory.h"
#include "ldif/object_buffer.h"
#include "ldif/object_class.h"
#include "ldif/text.h"
#include "reporting/reporting.h"

static OwnerIndex secUserIndex = {};
static OwnerIndex secGroupIndex = {};

// What the rules have in common for one side.
struct OwnerSide {
  const char* function;
  char* savedDn;
  char** const* dns;
  const int32_t* slotsInUse;
  const int32_t* limit;
  OwnerIndex* index;
  const char* searchBegins;
  const char* found;
  const char* notFound;
  const char* lengthMismatch;
};

static constexpr OwnerSide userSide = {
    "learnIndexOfAssociatedSecUserDN",
    saved_secUser_dn,
    &secUser_dn,
    &next_available_secUser_dn_slot,
    &max_number_of_secuser_slots,
    &secUserIndex,
    "BEGIN SEARCH WITHIN secUser_dn ARRAY \n",
    "learnIndexOfAssociatedSecUserDN():  The SECUSER DN WAS FOUND !!!  \n",
    "learnIndexOfAssociatedSecUserDN():  The SECUSER DN WAS NOT FOUND  \n",
    "learnIndexOfAssociatedSecUserDN():  LENGTH MISMATCH ON SECUSER_DN/POINTER.  EXITING. \n"};
static constexpr OwnerSide groupSide = {
    "learnIndexOfAssociatedSecGroupDN",
    saved_secGroup_dn,
    &secGroup_dn,
    &next_available_secGroup_dn_slot,
    &max_number_of_secgroup_slots,
    &secGroupIndex,
    "BEGIN SEARCH WITHIN secGroup_dn ARRAY \n",
    "learnIndexOfAssociatedSecGroupDN():  The SECGROUP DN WAS FOUND !!!  \n",
    "learnIndexOfAssociatedSecGroupDN():  The SECGROUP DN WAS NOT FOUND  \n",
    "learnIndexOfAssociatedSecGroupDN():  LENGTH MISMATCH ON SECGROUP_DN/POINTER.  EXITING. \n"};

[[noreturn]] static void exitForUnnamedOwner(const OwnerSide& side, const char* traced, DetailText problem) {
  reportError("%s():  ERROR:  %s  EXITING. \n", side.function, traced);
  exitForObject(problem);
}

[[noreturn]] static void exitForLongOwnerDn(const OwnerSide& side) {
  exitForUnnamedOwner(side, "The owner DN is too long.", OWNER_DN_TOO_LONG);
}

// Starts the side's saved DN with a text, or goes on with it.
static void saveDn(const OwnerSide& side, const char* text) {
  if (!copyBounded(side.savedDn, SAVED_DN_SIZE, text)) exitForLongOwnerDn(side);
}

static void appendToSavedDn(const OwnerSide& side, const char* text) {
  if (!appendBounded(side.savedDn, SAVED_DN_SIZE, text)) exitForLongOwnerDn(side);
}

// Returns the DN in line 0, which must have its three-character tag and its newline: it is what gives the
// normalised DN its room.
static char* dnTextOfFirstLine(const OwnerSide& side) {
  constexpr size_t TAG_LENGTH = 3;
  const size_t length = strlen(object[0]);
  if (length <= TAG_LENGTH || object[0][length - 1] != '\n')
    exitForUnnamedOwner(side, "The first line of the entry is not a complete dn: line.", INCOMPLETE_DN);
  return skipSpaces(object[0] + TAG_LENGTH);
}

static char* dnOfFirstLine(const OwnerSide& side) {
  char* dn = dnTextOfFirstLine(side);
  saveDn(side, dn);
  return dn;
}

// The owner of a policy or of policy data is its DN less the first component.
static char* dnBehindFirstComma(const OwnerSide& side) {
  char* comma = strchr(dnTextOfFirstLine(side), ',');
  if (comma == nullptr) exitForUnnamedOwner(side, "The DN has no comma.", DN_WITHOUT_COMMA);
  saveDn(side, comma + 1);
  return comma + 1;
}

// A 'Users' entry names its owner in two attributes.
static char* dnOfUsersObject(const OwnerSide& side) {
  char* authority = obtainAttributeValueFromObjArray("secAuthority");
  char* dn = obtainAttributeValueFromObjArray("secDN");
  if (authority == nullptr || dn == nullptr) {
    const DetailText problem = authority == nullptr ? USERS_ENTRY_WITHOUT_AUTHORITY : USERS_ENTRY_WITHOUT_DN;
    freeLine(dn);
    freeLine(authority);
    exitForUnnamedOwner(side, "The 'Users' entry has no secAuthority or no secDN.", problem);
  }
  commaSpaceEater(dn);
  authority[strcspn(authority, ":")] = '\0';
  saveDn(side, "secAuthority=");
  appendToSavedDn(side, authority);
  appendToSavedDn(side, ",");
  appendToSavedDn(side, dn);
  freeLine(dn);
  freeLine(authority);
  return side.savedDn;
}

// Kept: the line speaks of the secAuthority, whichever of the two is missing.
[[noreturn]] static void exitForIncompleteMap(const OwnerSide& side, char* dn, DetailText problem) {
  reportError("%s(): Missing secAuthority in dn: %s\n", side.function, dn);
  freeLine(dn);
  exitForObject(problem);
}

// A map names its owner by the secAuthority component of its own DN and by its secDN value, the name of which
// the user side asks for in lower case.
static char* dnOfMap(const OwnerSide& side, const char* ownerAttribute) {
  char* ownerDn = obtainAttributeValueFromObjArray(ownerAttribute);
  commaSpaceEater(ownerDn);
  char* dn = obtainAttributeValueFromObjArray("dn");
  if (dn == nullptr) exitForUnnamedOwner(side, "The map has no dn.", INCOMPLETE_DN);
  char* authority = dostristr(dn, "secAuthority");
  const bool isUserSide = &side == &userSide;
  if (authority == nullptr) {
    freeLine(ownerDn);
    exitForIncompleteMap(side, dn, MAP_WITHOUT_AUTHORITY);
  }
  if (isUserSide && ownerDn == nullptr) exitForIncompleteMap(side, dn, MAP_WITHOUT_DN);
  if (ownerDn == nullptr) exitForUnnamedOwner(side, "The map has no secDN.", MAP_WITHOUT_DN);
  cutAtComma(authority);
  saveDn(side, authority);
  freeLine(dn);
  appendToSavedDn(side, ",");
  appendToSavedDn(side, ownerDn);
  freeLine(ownerDn);
  return side.savedDn;
}

static void endWithNewline(const OwnerSide& side, char* dn, size_t size) {
  const size_t length = strlen(dn);
  if (length > 0 && dn[length - 1] == '\n') return;
  if (!appendBounded(dn, size, "\n")) exitForLongOwnerDn(side);
}

// Ends the key, which is the saved DN or stands in line 0, in one newline in place of its trailing white space.
static void trimKey(const OwnerSide& side, char* key) {
  const size_t room = key == side.savedDn ? SAVED_DN_SIZE : strlen(key) + 1;
  endWithNewline(side, trim(key), room);
}

static void traceObjectKind(const char* kind) {
  traceLine("   The input object is a %s object \n", kind);
  traceLine("   Its DN is  %s", object[0]);
}

// Shows every DN that a search from the first slot on compares.
static void traceComparedDns(int32_t slot) {
  if (debug == 0) return;
  const int32_t last = slot == NO_SLOT ? next_available_secGroup_dn_slot - 1 : slot;
  for (int32_t i = 0; i <= last; ++i) traceLine("   secGroup_dn[%d] =  %s \n", i, textOrNull(secGroup_dn[i]));
}

// A check for the maintainer only: texts that are equal but for their case have the same length.
static void checkLengths(const OwnerSide& side, int32_t slot, const char* key) {
  if (debug == 0 || strlen((*side.dns)[slot]) == strlen(key)) return;
  traceLine("%s", side.lengthMismatch);
  exit(-1);  // Kept: without a message.
}

static void traceFoundSlot(const OwnerSide& side, int32_t slot) {
  traceLine("%s", side.found);
  if (&side == &userSide) {
    traceLine("     The index returned is:    %d \n", slot);
    traceLine("     The saved secUser dn is:  %s", side.savedDn);
  } else {
    traceLine("     The index returned is:     %d \n", slot);
    traceLine("     The saved secGroup dn is:  %s", side.savedDn);
  }
}

static int32_t findSlot(const OwnerSide& side, const char* key) {
  traceLine("%s", side.searchBegins);
  hashOfLastOwner = hashOfDn(key);
  const int32_t slot = findOwner(*side.index, *side.dns, *side.slotsInUse, key, hashOfLastOwner);
  if (&side == &groupSide) traceComparedDns(slot);
  if (slot == NO_SLOT) {
    traceLine("%s", side.notFound);
  } else {
    checkLengths(side, slot, key);
    traceFoundSlot(side, slot);
  }
  endWithNewline(side, side.savedDn, SAVED_DN_SIZE);
  traceLine("%s():  FUNCTION EXIT \n", side.function);
  return slot;
}

// Returns the key of the entry's owner, found by the rule of its class.
static char* ownerDnOnUserSide(const OwnerSide& side) {
  switch (objectClass) {
    case SECUSER_OBJECTCLASS: {
      const bool isUsers = isUsersObject();
      traceObjectKind(isUsers ? "'Users' SECUSER" : "SECUSER");
      return isUsers ? dnOfUsersObject(side) : dnOfFirstLine(side);
    }
    case SECPOLICYDATA_OBJECTCLASS:
      traceObjectKind("SECPOLICYDATA");
      return dnBehindFirstComma(side);
    case SECPOLICY_OBJECTCLASS:
      traceObjectKind("SECPOLICY");
      return dnBehindFirstComma(side);
    case SECMAP_OBJECTCLASS:
      traceObjectKind("SECMAP");
      return dnOfMap(side, "secdn");
    default:
      reportError(
          "learnIndexOfAssociatedSecUserDN():  ERROR: The object is not secPolicy, secPolicyData, secMap, or secUser.  objectClass = %d \n",
          objectClass);
      echoError("dn: %s\n", textOrNull(firstLineOfObject()));
      exitForObject(UNKNOWN_CLASS);
  }
}

static char* ownerDnOnGroupSide(const OwnerSide& side) {
  switch (objectClass) {
    case SECGROUP_OBJECTCLASS:
      traceObjectKind("SECGROUP");
      return dnOfFirstLine(side);
    case SECMAP_OBJECTCLASS:
      traceObjectKind("SECMAP");
      return dnOfMap(side, "secDN");
    default:
      reportError(
          "learnIndexOfAssociatedSecGroupDN():  ERROR: The object is not secGroup or secMap.  objectClass = %d \n",
          objectClass);
      echoError("learnIndexOfAssociatedSecGroupDN():  object = %s\n", textOrNull(firstLineOfObject()));
      exitForObject(UNKNOWN_CLASS);
  }
}

int32_t learnIndexOfAssociatedSecUserDN() {
  traceLine("learnIndexOfAssociatedSecUserDN():  FUNCTION ENTRY \n");
  saved_secUser_dn[0] = '\0';
  char* key = ownerDnOnUserSide(userSide);
  traceLine("   The computed saved_secUser_dn is:  %s", saved_secUser_dn);
  traceLine("   Its strlen is:  %d \n", static_cast<int>(strlen(saved_secUser_dn)));
  trimKey(userSide, key);
  commaSpaceEater(key);
  commaSpaceEater(saved_secUser_dn);
  return findSlot(userSide, key);
}

int32_t learnIndexOfAssociatedSecGroupDN() {
  traceLine("learnIndexOfAssociatedSecGroupDN():  FUNCTION ENTRY \n");
  saved_secGroup_dn[0] = '\0';
  char* key = ownerDnOnGroupSide(groupSide);
  // Kept: the line names the user side's buffer.
  traceLine("   The computed saved_secUser_dn is:  %s", saved_secGroup_dn);
  trimKey(groupSide, key);
  return findSlot(groupSide, key);
}

static bool isShutOut(const OwnerSide& side, uint32_t ownerHash) {
  return *side.slotsInUse >= *side.limit && !mayHoldOwner(*side.index, *side.dns, *side.slotsInUse, ownerHash);
}

bool isUserShutOut(uint32_t ownerHash) { return isShutOut(userSide, ownerHash); }

bool isGroupShutOut(uint32_t ownerHash) { return isShutOut(groupSide, ownerHash); }

static const OwnerSet& ownersWithRoom(const OwnerSide& side) {
  return *side.slotsInUse < *side.limit ? everybody : ownersIn(*side.index, *side.dns, *side.slotsInUse);
}

const OwnerSet& usersWithRoom() { return ownersWithRoom(userSide); }

const OwnerSet& groupsWithRoom() { return ownersWithRoom(groupSide); }
