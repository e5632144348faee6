#include "cache/class_processors.h"

#include "cache/cache_slots.h"
#include "cache/object_cache.h"
#include "cache/owner_association.h"
#include "cache/owner_index.h"
#include "ldif/complaint.h"
#include "ldif/line_memory.h"
#include "ldif/object_buffer.h"
#include "ldif/object_class.h"
#include "reporting/reporting.h"
#include "reporting/run_state.h"
#include "workfile/work_file.h"
#include "workfile/work_file_cursor.h"

// The slots of one side.
struct SlotSide {
  const char* ownerClass;  // as written in the map processor's trace
  const char* dnName;      // of the DN array, as written in trace and echo
  char*** dns;
  int32_t* nextSlot;
  int32_t* count;
  const int32_t* limit;
  const char* savedDn;
  const char* learnName;
  int32_t (*learnSlot)();
};

static constexpr SlotSide userSide = {"secUser",
                                      "secUser_dn",
                                      &secUser_dn,
                                      &next_available_secUser_dn_slot,
                                      &secUser_dn_count,
                                      &max_number_of_secuser_slots,
                                      saved_secUser_dn,
                                      "learnIndexOfAssociatedSecUserDN",
                                      learnIndexOfAssociatedSecUserDN};
static constexpr SlotSide groupSide = {"secGroup",
                                       "secGroup_dn",
                                       &secGroup_dn,
                                       &next_available_secGroup_dn_slot,
                                       &secGroup_dn_count,
                                       &max_number_of_secgroup_slots,
                                       saved_secGroup_dn,
                                       "learnIndexOfAssociatedSecGroupDN",
                                       learnIndexOfAssociatedSecGroupDN};

// What the processors differ in, but for the move. The map processor traces each of its steps.
struct ClassProcessor {
  const char* function;
  const char* mallocFailure;
  const char* className;  // as named in the lines for a failed delete or step over
  const SlotSide* side;
  const char* dnEcho;             // shows the owner DN after a failed delete; null for none
  bool echoesDnOfSlotJustOpened;  // after a failed delete in a new slot, too
  bool tracesSteps;
};

static constexpr ClassProcessor secUserProcessor = {
    "processSecUserObjectFromTempInputLDIFFile",
    "processSecUserObjectFromTempInputLDIFFile():  ERROR:  malloc() failure.  EXITING. \n",
    "secUser",
    &userSide,
    "secUser_dn is : %s\n",
    true,
    false};
static constexpr ClassProcessor secPolicyDataProcessor = {
    "processSecPolicyDataObjectFromTempInputLDIFFile",
    "processSecPolicyDataObjectFromTempInputLDIFFile():  ERROR:  malloc() failure.  EXITING. \n",
    "secPolicyData",
    &userSide,
    "secUser_dn is : %s\n",
    true,
    false};
static constexpr ClassProcessor secPolicyProcessor = {
    "processSecPolicyObjectFromTempInputLDIFFile",
    "processSecPolicyObjectFromTempInputLDIFFile():  ERROR:  malloc() failure.  EXITING. \n",
    "secPolicy",
    &userSide,
    "secUser_dn is : %s\n",
    false,
    false};
static constexpr ClassProcessor secGroupProcessor = {
    "processSecGroupObjectFromTempInputLDIFFile",
    "processSecGroupObjectFromTempInputLDIFFile():  ERROR:  malloc() failure.  EXITING. \n",
    "secGroup",
    &groupSide,
    "secGroup_dn is : %s\n",
    false,
    false};
// Kept: a map of a group is called a secUser object, too, and its owner's DN is not shown.
static constexpr ClassProcessor mapOfUserProcessor = {
    "processSecMapObjectFromTempInputLDIFFile",
    "processSecMapObjectFromTempInputLDIFFile():  ERROR:  malloc() failure.  EXITING. \n",
    "secUser",
    &userSide,
    "secUser_dn is: %s \n",
    false,
    true};
static constexpr ClassProcessor mapOfGroupProcessor = {
    "processSecMapObjectFromTempInputLDIFFile",
    "processSecMapObjectFromTempInputLDIFFile():  ERROR:  malloc() failure.  EXITING. \n",
    "secUser",
    &groupSide,
    nullptr,
    false,
    true};

// The indentation of trace lines that continue a message.
#define CONTINUED "                                             "

static void traceObjectArray() {
  if (debug == 0) return;
  for (int32_t i = 0; i < next_available_object_slot; ++i) traceLine(CONTINUED "object[%d] = %s ", i, object[i]);
}

static void traceMapSlotFound(const SlotSide& side, int32_t slot) {
  traceLine("processSecMapObjectFromTempInputLDIFFile():  The %s DN was FOUND in the %s array! \n", side.ownerClass,
            side.dnName);
  if (&side == &userSide)
    traceLine(CONTINUED "secUser_dn = %s \n", secUser_dn[slot]);
  else
    traceLine(CONTINUED "secGroup_dn = %s", secGroup_dn[slot]);
}

static void traceMapSlotNotFound(const SlotSide& side) {
  traceLine("processSecMapObjectFromTempInputLDIFFile():  The %s DN was NOT FOUND! \n", side.ownerClass);
  traceLine(CONTINUED "This is the first entry for this %s. \n", side.ownerClass);
  const bool isFree = *side.nextSlot < *side.limit;
  traceLine("processSecMapObjectFromTempInputLDIFFile():  A slot %s AVAILABLE for this %s/secMap \n",
            isFree ? "IS" : "IS NOT", side.ownerClass);
  traceLine(CONTINUED "next_available_%s_slot = %d \n", side.dnName, *side.nextSlot);
  if (!isFree) traceLine(CONTINUED "Stepping over this secMap object in the temporary input LDIF file \n");
}

static void traceMapSlotOpened(const SlotSide& side, int32_t slot) {
  traceLine("processSecMapObjectFromTempInputLDIFFile():  The next_available_%s_slot is %d \n", side.dnName, slot);
  traceLine(CONTINUED "Added the following entry to the %s array.\n", side.dnName);
  traceLine(CONTINUED "%s[%d] = %s", side.dnName, slot, (*side.dns)[slot]);
}

// Kept: the move into a group's slot that was just opened is announced under a name that does not exist.
static void traceMapMove(const SlotSide& side, int32_t slot, bool isNewSlot) {
  if (&side == &userSide)
    traceLine(CONTINUED "Calling moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix( %d ) \n", slot);
  else if (isNewSlot)
    traceLine(CONTINUED "Calling moveSecMapForSecGroupObjectFromObjectArrayToSecGroupForSecUserMatrix( %d ) \n", slot);
  else
    traceLine(CONTINUED "Calling moveSecMapForSecGroupObjectFromObjectArrayToSecMapForSecGroupMatrix( %d ) \n", slot);
}

static void traceMapDelete(const SlotSide& side, bool isNewSlot) {
  if (isNewSlot)
    traceLine(
        "processSecMapObjectFromTempInputLDIFFile():  Deleting this secMap object from the temporary input LDIF file \n");
  else if (&side == &userSide)
    traceLine(CONTINUED "Calling deleteNextObjectFromTemporaryInputLDIFFile \n");
  else
    traceLine(CONTINUED "Calling deleteNextObjectFromTemporaryInputLDIFFile() \n");
}

static void moveIntoSlot(const SlotSide& side, int32_t slot, bool isNewSlot) {
  switch (objectClass) {
    case SECUSER_OBJECTCLASS:
      if (isUsersObject())
        moveUsersSecUserObjectFromObjectArrayToUsersSecUserMatrix(slot);
      else
        moveSecUserObjectFromObjectArrayToSecUserMatrix(slot);
      break;
    case SECPOLICYDATA_OBJECTCLASS:
      moveSecPolicyDataObjectFromObjectArrayToSecPolicyDataMatrix(slot);
      break;
    case SECPOLICY_OBJECTCLASS:
      copySecPolicyDNFromObjectArrayToSecPolicyDNArray(slot);
      moveSecPolicyObjectFromObjectArrayToSecPolicyMatrix(slot);
      break;
    case SECGROUP_OBJECTCLASS:
      moveSecGroupObjectFromObjectArrayToSecGroupMatrix(slot);
      break;
    default:
      traceMapMove(side, slot, isNewSlot);
      if (&side == &userSide)
        moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix(slot);
      else
        moveSecMapForSecGroupObjectFromObjectArrayToSecMapForSecGroupMatrix(slot);
  }
}

// Of the entry that has just been gathered, whose first line is given.
static void blankOut(const ClassProcessor& processor, int32_t slot, bool isNewSlot, const char* firstLine) {
  if (processor.tracesSteps) traceMapDelete(*processor.side, isNewSlot);
  if (deleteNextObjectFromTemporaryInputLDIFFile(tifp) == 0) return;
  const char* ownerDn = (*processor.side->dns)[slot];
  reportError("%s():  ERROR: deleteNextObjectFromTemporaryInputLDIFFile() failed deleting a %s object.  EXITING. \n",
              processor.function, processor.className);
  if (processor.dnEcho != nullptr && (!isNewSlot || processor.echoesDnOfSlotJustOpened))
    echoError(processor.dnEcho, ownerDn);
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
  if ((*processor.side->dns)[slot] != nullptr) return;
  reportError("%s():  ERROR: %s at index %d is NULL.  EXITING. \n", processor.function, processor.side->dnName, slot);
  exitForObject(INCOMPLETE_DN);
}

// Stores the owner DN under the next slot number.
static void saveOwnerDn(const ClassProcessor& processor, int32_t slot) {
  (*processor.side->dns)[slot] = copyLine(processor.side->savedDn, processor.mallocFailure);
}

static void gatherIntoOwnersSlot(const ClassProcessor& processor, int32_t slot) {
  requireOwnerDn(processor, slot);
  if (processor.tracesSteps) traceMapSlotFound(*processor.side, slot);
  const char* firstLine = firstLineOfObject();
  moveIntoSlot(*processor.side, slot, false);
  blankOut(processor, slot, false, firstLine);
}

static void gatherIntoNewSlot(const ClassProcessor& processor) {
  const SlotSide& side = *processor.side;
  const int32_t slot = *side.nextSlot;
  saveOwnerDn(processor, slot);
  if (processor.tracesSteps) traceMapSlotOpened(side, slot);
  const char* firstLine = firstLineOfObject();
  moveIntoSlot(side, slot, true);
  ++*side.nextSlot;
  ++*side.count;
  blankOut(processor, slot, true, firstLine);
}

// The order is fixed: an owner that has a slot is always served; a slot is opened only for an owner without
// one; only then is the entry left for a later pass.
static void settleObject(const ClassProcessor& processor) {
  const SlotSide& side = *processor.side;
  const int32_t slot = side.learnSlot();
  if (processor.tracesSteps)
    traceLine("processSecMapObjectFromTempInputLDIFFile():  %s() returned index = %d \n", side.learnName, slot);
  if (slot != NO_SLOT) {
    gatherIntoOwnersSlot(processor, slot);
    return;
  }
  if (processor.tracesSteps) traceMapSlotNotFound(side);
  if (*side.nextSlot < *side.limit)
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
  if (isMapOfUser()) {
    traceLine("processSecMapObjectFromTempInputLDIFFile():  secMap is associated with a secUser \n");
    settleObject(mapOfUserProcessor);
  } else {
    traceLine("processSecMapObjectFromTempInputLDIFFile():  secMap is associated with a secGroup \n");
    settleObject(mapOfGroupProcessor);
  }
  traceLine("processSecMapObjectFromTempInputLDIFFile():  FUNCTION EXIT. \n");
  traceLine("processSecMapObjectFromTempInputLDIFFile():  The object array is:\n");
  traceObjectArray();
  return 0;
}
