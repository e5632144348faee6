#include "cache/owner_association.h"

#include <cstdlib>
#include <cstring>

#include "cache/object_cache.h"
#include "ldif/complaint.h"
#include "ldif/object_buffer.h"
#include "platform/bounded_text.h"
#include "reporting/reporting.h"
#include "rules/dn_hash.h"
#include "rules/owner.h"

static OwnerIndex indexes[2];  // by Side

static const char* tracedProblem(DetailText problem) {
  switch (problem) {
    case OWNER_DN_TOO_LONG:
      return "The owner DN is too long.";
    case DN_WITHOUT_COMMA:
      return "The DN has no comma.";
    case MAP_WITHOUT_DN:
      return "The map has no secDN.";
    case INCOMPLETE_DN:
      return objectClass == SECMAP_OBJECTCLASS ? "The map has no dn."
                                               : "The first line of the entry is not a complete dn: line.";
    default:
      return "The 'Users' entry has no secAuthority or no secDN.";
  }
}

// Kept: on the user side the line for a map speaks of the secAuthority, whichever of the two is missing.
[[noreturn]] static void exitForUnnamedOwner(Side side, const Owner& owner) {
  const char* const function = cacheSides[side].learnName;
  const bool isShown = owner.problem == MAP_WITHOUT_AUTHORITY || (owner.problem == MAP_WITHOUT_DN && side == USER_SIDE);
  if (isShown)
    reportError("%s(): Missing secAuthority in dn: %.*s\n", function, SHOWN(owner.shownDn));
  else
    reportError("%s():  ERROR:  %s  EXITING. \n", function, tracedProblem(owner.problem));
  exitForObject(owner.problem);
}

// Shows every DN that a search from the first slot on compares.
static void traceComparedDns(int32_t slot) {
  if (debug == 0) return;
  const int32_t last = slot == NO_SLOT ? next_available_secGroup_dn_slot - 1 : slot;
  for (int32_t i = 0; i <= last; ++i) traceLine("   secGroup_dn[%d] =  %.*s \n", i, SHOWN(textOrNull(secGroup_dn[i])));
}

// A check for the maintainer only: texts that are equal but for their case have the same length.
static void checkLengths(const CacheSide& side, int32_t slot, std::string_view key) {
  if (debug == 0 || (*side.dns)[slot].size() == key.size()) return;
  traceLine("%s():  LENGTH MISMATCH ON %s_DN/POINTER.  EXITING. \n", side.learnName, side.upperCaseName);
  exitInSilence();  // Kept: without a message.
}

static void traceFoundSlot(Side side, int32_t slot) {
  const CacheSide& slots = cacheSides[side];
  traceLine("%s():  The %s DN WAS FOUND !!!  \n", slots.learnName, slots.upperCaseName);
  traceLine(side == USER_SIDE ? "     The index returned is:    %d \n" : "     The index returned is:     %d \n", slot);
  traceLine("     The saved %s dn is:  %s", slots.ownerClass, slots.savedDn);
}

static int32_t findSlot(Side side, std::string_view key) {
  const CacheSide& slots = cacheSides[side];
  traceLine("BEGIN SEARCH WITHIN %s ARRAY \n", slots.dnName);
  // Among the slots of this pass only: owners of earlier ones have their records.
  const int32_t slot = findOwner(indexes[side], *slots.dns, *slots.nextSlot, key, hashOfDn(key));
  // Kept: the user side does not show them.
  if (side == GROUP_SIDE) traceComparedDns(slot);
  if (slot == NO_SLOT) {
    traceLine("%s():  The %s DN WAS NOT FOUND  \n", slots.learnName, slots.upperCaseName);
  } else {
    checkLengths(slots, slot, key);
    traceFoundSlot(side, slot);
  }
  traceLine("%s():  FUNCTION EXIT \n", slots.learnName);
  return slot;
}

// A map is one of either side.
static EntryKind kindOnSide(Side side) {
  // Whose map it is has been decided by whoever asks this side.
  if (objectClass == SECMAP_OBJECTCLASS) return side == USER_SIDE ? MAP_OF_USER_KIND : MAP_OF_GROUP_KIND;
  return kindOf(static_cast<ObjectClass>(objectClass), firstLineOfObject());
}

// Looks for the owner of an entry whose class the side accepts.
static int32_t learnSlot(Side side) {
  const CacheSide& slots = cacheSides[side];
  const Owner owner = ownerOf(entryInObject(), kindOnSide(side), objectTexts, traceSink());
  if (owner.problem != NO_DETAIL) exitForUnnamedOwner(side, owner);
  // Kept: on both sides the line names the user side's buffer.
  traceLine("   The computed saved_secUser_dn is:  %.*s", SHOWN(owner.computed));
  if (side == USER_SIDE) traceLine("   Its strlen is:  %d \n", static_cast<int>(owner.computed.size()));
  copyBounded(slots.savedDn, SAVED_DN_SIZE, owner.saved);
  // What is gathered begins with the normalised line.
  if (owner.firstLine.data() != object[0].text) setLineOfObject(0, owner.firstLine);
  return findSlot(side, owner.key);
}

int32_t learnIndexOfAssociatedSecUserDN() {
  traceLine("learnIndexOfAssociatedSecUserDN():  FUNCTION ENTRY \n");
  switch (objectClass) {
    case SECUSER_OBJECTCLASS:
    case SECPOLICYDATA_OBJECTCLASS:
    case SECPOLICY_OBJECTCLASS:
    case SECMAP_OBJECTCLASS:
      return learnSlot(USER_SIDE);
    default:
      reportError(
          "learnIndexOfAssociatedSecUserDN():  ERROR: The object is not secPolicy, secPolicyData, secMap, or secUser.  objectClass = %d \n",
          objectClass);
      echoError("dn: %.*s\n", SHOWN(textOrNull(firstLineOfObject())));
      exitForObject(UNKNOWN_CLASS);
  }
}

int32_t learnIndexOfAssociatedSecGroupDN() {
  traceLine("learnIndexOfAssociatedSecGroupDN():  FUNCTION ENTRY \n");
  switch (objectClass) {
    case SECGROUP_OBJECTCLASS:
    case SECMAP_OBJECTCLASS:
      return learnSlot(GROUP_SIDE);
    default:
      reportError(
          "learnIndexOfAssociatedSecGroupDN():  ERROR: The object is not secGroup or secMap.  objectClass = %d \n",
          objectClass);
      echoError("learnIndexOfAssociatedSecGroupDN():  object = %.*s\n", SHOWN(textOrNull(firstLineOfObject())));
      exitForObject(UNKNOWN_CLASS);
  }
}

bool isShutOut(Side side, uint64_t ownerHash) {
  const CacheSide& slots = cacheSides[side];
  // The hash alone can only exclude an owner: where it is known, the entry has to be looked at.
  return *slots.nextSlot >= *slots.limit && !mayHoldOwner(indexes[side], *slots.dns, *slots.nextSlot, ownerHash);
}

void forgetOwnersOfPass() {
  for (OwnerIndex& index : indexes) index = {};
}
