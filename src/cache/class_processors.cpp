#include "cache/class_processors.h"

#include "cache/cache_slots.h"
#include "cache/object_cache.h"
#include "cache/owner_association.h"
#include "cache/owner_index.h"
#include "ldif/complaint.h"
#include "ldif/object_buffer.h"
#include "reporting/reporting.h"
#include "reporting/run_state.h"
#include "workfile/work_file.h"
#include "workfile/work_file_cursor.h"

// What the processors differ in, but for the move. The map processor traces each of its steps.
struct ClassProcessor {
  const char* function;
  const char* className;  // as named in the lines for a failed delete or step over
  Side side;
  const char* dnEcho;             // shows the owner DN after a failed delete; null for none
  bool echoesDnOfSlotJustOpened;  // after a failed delete in a new slot, too
  bool tracesSteps;
};

static constexpr ClassProcessor secUserProcessor = {
    "processSecUserObjectFromTempInputLDIFFile", "secUser", USER_SIDE, "secUser_dn is : %.*s\n", true, false};
static constexpr ClassProcessor secPolicyDataProcessor = {"processSecPolicyDataObjectFromTempInputLDIFFile",
                                                          "secPolicyData",
                                                          USER_SIDE,
                                                          "secUser_dn is : %.*s\n",
                                                          true,
                                                          false};
static constexpr ClassProcessor secPolicyProcessor = {
    "processSecPolicyObjectFromTempInputLDIFFile", "secPolicy", USER_SIDE, "secUser_dn is : %.*s\n", false, false};
static constexpr ClassProcessor secGroupProcessor = {
    "processSecGroupObjectFromTempInputLDIFFile", "secGroup", GROUP_SIDE, "secGroup_dn is : %.*s\n", false, false};
// Kept: a map of a group is called a secUser object, too, and its owner's DN is not shown.
static constexpr ClassProcessor mapOfUserProcessor = {
    "processSecMapObjectFromTempInputLDIFFile", "secUser", USER_SIDE, "secUser_dn is: %.*s \n", false, true};
static constexpr ClassProcessor mapOfGroupProcessor = {
    "processSecMapObjectFromTempInputLDIFFile", "secUser", GROUP_SIDE, nullptr, false, true};

// The indentation of trace lines that continue a message.
#define CONTINUED "                                             "

static void traceObjectArray() {
  if (debug == 0) return;
  for (int32_t i = 0; i < next_available_object_slot; ++i)
    traceLine(CONTINUED "object[%d] = %.*s ", i, SHOWN(object[i].view()));
}

static void traceMapSlotFound(Side side, int32_t slot) {
  const CacheSide& slots = cacheSides[side];
  const std::string_view dn = (*slots.dns)[slot];
  traceLine("processSecMapObjectFromTempInputLDIFFile():  The %s DN was FOUND in the %s array! \n", slots.ownerClass,
            slots.dnName);
  if (side == USER_SIDE)
    traceLine(CONTINUED "secUser_dn = %.*s \n", SHOWN(dn));
  else
    // Kept: the group's line ends with the newline of the DN, the user's has a blank and one more behind it.
    traceLine(CONTINUED "secGroup_dn = %.*s", SHOWN(dn));
}

static void traceMapSlotNotFound(const CacheSide& slots) {
  traceLine("processSecMapObjectFromTempInputLDIFFile():  The %s DN was NOT FOUND! \n", slots.ownerClass);
  traceLine(CONTINUED "This is the first entry for this %s. \n", slots.ownerClass);
  const bool isFree = *slots.nextSlot < *slots.limit;
  traceLine("processSecMapObjectFromTempInputLDIFFile():  A slot %s AVAILABLE for this %s/secMap \n",
            isFree ? "IS" : "IS NOT", slots.ownerClass);
  traceLine(CONTINUED "next_available_%s_slot = %d \n", slots.dnName, *slots.nextSlot);
  if (!isFree) traceLine(CONTINUED "Stepping over this secMap object in the temporary input LDIF file \n");
}

static void traceMapSlotOpened(const CacheSide& slots, int32_t slot) {
  traceLine("processSecMapObjectFromTempInputLDIFFile():  The next_available_%s_slot is %d \n", slots.dnName, slot);
  traceLine(CONTINUED "Added the following entry to the %s array.\n", slots.dnName);
  traceLine(CONTINUED "%s[%d] = %.*s", slots.dnName, slot, SHOWN((*slots.dns)[slot]));
}

// Kept: the move into a group's slot that was just opened is announced under a name that does not exist.
static void traceMapMove(Side side, int32_t slot, bool isNewSlot) {
  if (side == USER_SIDE)
    traceLine(CONTINUED "Calling moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix( %d ) \n", slot);
  else if (isNewSlot)
    traceLine(CONTINUED "Calling moveSecMapForSecGroupObjectFromObjectArrayToSecGroupForSecUserMatrix( %d ) \n", slot);
  else
    traceLine(CONTINUED "Calling moveSecMapForSecGroupObjectFromObjectArrayToSecMapForSecGroupMatrix( %d ) \n", slot);
}

static void traceMapDelete(Side side, bool isNewSlot) {
  if (isNewSlot)
    traceLine(
        "processSecMapObjectFromTempInputLDIFFile():  Deleting this secMap object from the temporary input LDIF file \n");
  else if (side == USER_SIDE)
    traceLine(CONTINUED "Calling deleteNextObjectFromTemporaryInputLDIFFile \n");
  else
    traceLine(CONTINUED "Calling deleteNextObjectFromTemporaryInputLDIFFile() \n");
}

static void moveIntoSlot(Side side, int32_t slot, bool isNewSlot) {
  switch (objectClass) {
    case SECUSER_OBJECTCLASS:
      if (isUsersLine(firstLineOfObject()))
        moveUsersSecUserObjectFromObjectArrayToUsersSecUserMatrix(slot);
      else
        moveSecUserObjectFromObjectArrayToSecUserMatrix(slot);
      break;
    case SECPOLICYDATA_OBJECTCLASS:
      moveSecPolicyDataObjectFromObjectArrayToSecPolicyDataMatrix(slot);
      break;
    case SECPOLICY_OBJECTCLASS:
      // Before the move, which empties the entry buffer.
      copySecPolicyDNFromObjectArrayToSecPolicyDNArray(slot);
      moveSecPolicyObjectFromObjectArrayToSecPolicyMatrix(slot);
      break;
    case SECGROUP_OBJECTCLASS:
      moveSecGroupObjectFromObjectArrayToSecGroupMatrix(slot);
      break;
    default:
      traceMapMove(side, slot, isNewSlot);
      if (side == USER_SIDE)
        moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix(slot);
      else
        moveSecMapForSecGroupObjectFromObjectArrayToSecMapForSecGroupMatrix(slot);
  }
}

// Of the entry that has just been gathered, whose first line is given.
static void blankOut(const ClassProcessor& processor, int32_t slot, bool isNewSlot, std::string_view firstLine) {
  if (processor.tracesSteps) traceMapDelete(processor.side, isNewSlot);
  if (deleteNextObjectFromTemporaryInputLDIFFile(tifp) == 0) return;
  const std::string_view ownerDn = (*cacheSides[processor.side].dns)[slot];
  reportError("%s():  ERROR: deleteNextObjectFromTemporaryInputLDIFFile() failed deleting a %s object.  EXITING. \n",
              processor.function, processor.className);
  if (processor.dnEcho != nullptr && (!isNewSlot || processor.echoesDnOfSlotJustOpened))
    echoError(processor.dnEcho, SHOWN(ownerDn));
  // If somebody else has changed the file, that is the reason to tell.
  requireUnchangedWorkFile();
  exitForEntryInFile(NOT_BLANKED, firstLine, temp_input_ldif_filename);
}

static void stepOver(const ClassProcessor& processor) {
  if (stepOverNextObjectFromTemporaryInputLDIFFile(tifp) == 0) return;
  reportError(
      "%s():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over a %s object.  EXITING. \n",
      processor.function, processor.className);
  exitForEntryInFile(NOT_STEPPED_OVER, firstLineOfObject(), temp_input_ldif_filename);
}

static void requireOwnerDn(const ClassProcessor& processor, int32_t slot) {
  const CacheSide& slots = cacheSides[processor.side];
  // The index finds slots by their DNs, so one without a DN would be a mistake of the run; it is told rather than
  // followed.
  if ((*slots.dns)[slot].data() != nullptr) return;
  reportError("%s():  ERROR: %s at index %d is NULL.  EXITING. \n", processor.function, slots.dnName, slot);
  exitForObject(INCOMPLETE_DN);
}

static void gatherIntoOwnersSlot(const ClassProcessor& processor, int32_t slot) {
  requireOwnerDn(processor, slot);
  if (processor.tracesSteps) traceMapSlotFound(processor.side, slot);
  // Taken before the move, which empties the entry buffer; the text itself stays for the pass.
  const std::string_view firstLine = firstLineOfObject();
  moveIntoSlot(processor.side, slot, false);
  blankOut(processor, slot, false, firstLine);
}

static void gatherIntoNewSlot(const ClassProcessor& processor) {
  const CacheSide& slots = cacheSides[processor.side];
  const int32_t slot = *slots.nextSlot;
  // The tables grow as slots are opened, so that a limit far beyond the number of owners costs nothing.
  makeRoomForSlot(processor.side, slot);
  (*slots.dns)[slot] = keepText(gatheredTexts, slots.savedDn);
  if (processor.tracesSteps) traceMapSlotOpened(slots, slot);
  const std::string_view firstLine = firstLineOfObject();
  moveIntoSlot(processor.side, slot, true);
  ++*slots.nextSlot;
  ++*slots.count;
  blankOut(processor, slot, true, firstLine);
}

static int32_t learnSlot(Side side) {
  return side == USER_SIDE ? learnIndexOfAssociatedSecUserDN() : learnIndexOfAssociatedSecGroupDN();
}

// The order is fixed: an owner that has a slot is always served; a slot is opened only for an owner without
// one; only then is the entry left for a later pass.
static void settleObject(const ClassProcessor& processor) {
  const CacheSide& slots = cacheSides[processor.side];
  const int32_t slot = learnSlot(processor.side);
  if (processor.tracesSteps)
    traceLine("processSecMapObjectFromTempInputLDIFFile():  %s() returned index = %d \n", slots.learnName, slot);
  if (slot != NO_SLOT) {
    gatherIntoOwnersSlot(processor, slot);
    return;
  }
  if (processor.tracesSteps) traceMapSlotNotFound(slots);
  if (*slots.nextSlot < *slots.limit)
    gatherIntoNewSlot(processor);
  else
    stepOver(processor);
}

static int32_t processObject(const ClassProcessor& processor) {
  traceLine("%s():  FUNCTION ENTRY. \n", processor.function);
  settleObject(processor);
  traceLine("%s():  FUNCTION EXIT. \n", processor.function);
  return 0;
}

int32_t processSecUserObjectFromTempInputLDIFFile() { return processObject(secUserProcessor); }
int32_t processSecPolicyDataObjectFromTempInputLDIFFile() { return processObject(secPolicyDataProcessor); }
int32_t processSecPolicyObjectFromTempInputLDIFFile() { return processObject(secPolicyProcessor); }
int32_t processSecGroupObjectFromTempInputLDIFFile() { return processObject(secGroupProcessor); }

int32_t processSecMapObjectFromTempInputLDIFFile() {
  traceLine("processSecMapObjectFromTempInputLDIFFile():  FUNCTION ENTRY \n");
  traceLine("processSecMapObjectFromTempInputLDIFFile():  The object array is: \n");
  traceObjectArray();
  // Both sides' maps are of one class; only the DN tells whose it is.
  if (isLineOfUser(firstLineOfObject())) {
    traceLine("processSecMapObjectFromTempInputLDIFFile():  secMap is associated with a secUser \n");
    settleObject(mapOfUserProcessor);
  } else {
    traceLine("processSecMapObjectFromTempInputLDIFFile():  secMap is associated with a secGroup \n");
    settleObject(mapOfGroupProcessor);
  }
  traceLine("processSecMapObjectFromTempInputLDIFFile():  FUNCTION EXIT. \n");
  // Kept: shown once more, although it is empty if the entry has been gathered.
  traceLine("processSecMapObjectFromTempInputLDIFFile():  The object array is:\n");
  traceObjectArray();
  return 0;
}
