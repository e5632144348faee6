#include "driver/pass_loop.h"

#include "cache/class_processors.h"
#include "cache/object_cache.h"
#include "cache/owner_association.h"
#include "driver/gates.h"
#include "driver/reporting.h"
#include "driver/run_state.h"
#include "ldif/object_buffer.h"
#include "ldif/object_class.h"
#include "output/flush.h"
#include "platform/message_service.h"
#include "workfile/left_behind.h"
#include "workfile/work_file_cursor.h"

static void processObject() {
  switch (objectClass) {
    case SECUSER_OBJECTCLASS:
      processSecUserObjectFromTempInputLDIFFile();
      break;
    case SECGROUP_OBJECTCLASS:
      processSecGroupObjectFromTempInputLDIFFile();
      break;
    case SECPOLICYDATA_OBJECTCLASS:
      processSecPolicyDataObjectFromTempInputLDIFFile();
      break;
    case SECMAP_OBJECTCLASS:
      processSecMapObjectFromTempInputLDIFFile();
      break;
    default:
      processSecPolicyObjectFromTempInputLDIFFile();
  }
}

// Gathers the entry, or leaves it when it has no place in this pass.
static void dispatchObject(const Gate& gate) {
  if (isOpen(gate)) {
    processObject();
  } else if (stepOverNextObjectFromTemporaryInputLDIFFile(tifp) != 0) {
    reportError("%s", gate.stepOverError);
    exitForObject(PROCESSING_FAILED);
  }
}

static void traceObjectRead() {
  if (debug == 0) return;
  traceLine("\nmain():  Another object WAS read successfully.  \n");
  traceLine("         next_available_object_slot = %d  \n", next_available_object_slot);
  traceLine("         THE OBJECT READ WAS:  \n");
  for (int32_t i = 0; i < next_available_object_slot; ++i) traceLine("%s", object[i]);
  traceLine("\n");
}

static void openWorkFile() {
  tifp = openStream(temp_input_ldif_filename, OPEN_FOR_UPDATE, PRIVATE_FILE);
  if (tifp != nullptr) return;
  traceLine("main():  ERROR:  Unable to open temporary input LDIF file:  %s. \n", temp_input_ldif_filename);
  traceLine("                 EXITING \n");
  exitWithMessage(FILE_NOT_OPENED, temp_input_ldif_filename);
}

// Everything before the first entry that the last pass stepped over has been taken already.
static void resumeWhereLastPassStepped() {
  if (hasTheStepOverFilePositionBeenInitialized != 1) return;
  const int32_t rc = setPosition(tifp, filePositionOfFirstObjectSteppedOver);
  if (rc != 0) {
    traceLine("main():  fsetpos() failed with rc = %d (dec)  \n", rc);
    exitWithMessage(POSITION_CALL_FAILED, "fsetpos()", rc);
  }
  hasTheStepOverFilePositionBeenInitialized = 0;
}

// Issues the pass's message once, when its first entry is met.
static void announceOnce(bool& isAnnounced) {
  if (!isAnnounced) zr_printf_utf8(PASS_UNDER_WAY);
  isAnnounced = true;
}

static int64_t workFilePosition() {
  int64_t position = 0;
  getPosition(tifp, &position);  // cannot fail: the entry has just been read from there
  return position;
}

// What becomes of the next entry.
enum Fate { GATHERED, LEFT_BEHIND, END_OF_WORK_FILE };

// Reads and settles the next entry. When it is left behind, left says what a later pass needs to know.
static Fate settleNextObject(LeftObject& left, bool& isAnnounced) {
  const int32_t result = getNextObjectFromTemporaryInputLDIFFile(tifp);
  if (result == -1 && next_available_object_slot == 0) return END_OF_WORK_FILE;
  announceOnce(isAnnounced);
  if (result != 0 && result != -1) {
    traceLine("\nmain():  ERROR:  The next object could not be read successfully.  EXITING.  \n");
    exitWithMessage(OBJECT_NOT_READ, temp_input_ldif_filename);
  }
  traceObjectRead();
  determineTheObjectsObjectClass();
  if (objectClass != RESCREDS_CONTAINER && objectClass != SECRESCREDS_OBJECTCLASS) atLeastOneObjectProcessed = 1;
  const GateNumber kind = gateOfObject();
  const bool ownerIsLookedUp = isOpen(gates[kind]);
  const int64_t start = workFilePosition();
  dispatchObject(gates[kind]);
  traceLine("\nmain():  This is the end of the inner loop \n");
  left = {start, static_cast<uint32_t>(workFilePosition() - start), hashOfLastOwner, kind, ownerIsLookedUp};
  const bool hasMoved = next_available_object_slot == 0;
  return hasMoved ? GATHERED : LEFT_BEHIND;
}

// True when the entry cannot be gathered, whatever it reads: its kind has no room, or its owner none.
static bool isStillShutOut(const LeftObject& left) {
  const Gate& gate = gates[left.kind];
  return !isOpen(gate) || (left.isOwnerKnown && gate.isOwnerShutOut(left.ownerHash));
}

// Does for an entry that is not read what reading it and stepping over it would do.
static void passOver(const LeftObject& left, bool& isAnnounced) {
  announceOnce(isAnnounced);
  if (left.kind != RESCREDS_GATE) atLeastOneObjectProcessed = 1;
  rememberFirstStepOver(left.start);
}

// Settles the entries that earlier passes have left, reading only those that may be gathered now. Leaves the
// stream behind them. An entry that turns out to end elsewhere than before, as only an odd left-over work file has
// it, makes the rest be forgotten, and so read.
static void settleRememberedObjects(bool& isAnnounced) {
  if (leftObjectsEnd == 0) return;
  const int32_t count = leftObjectCount;
  leftObjectCount = 0;
  for (int32_t i = 0; i < count; ++i) {
    LeftObject left = leftObjects[i];
    if (isStillShutOut(left)) {
      passOver(left, isAnnounced);
      rememberLeftObject(left);
      continue;
    }
    const int64_t end = left.start + left.length;
    setPosition(tifp, left.start);
    if (settleNextObject(left, isAnnounced) == LEFT_BEHIND) rememberLeftObject(left);
    if (workFilePosition() == end) continue;
    leftObjectsEnd = workFilePosition();
    return;
  }
  if (leftObjectsEnd != END_OF_FILE) setPosition(tifp, leftObjectsEnd);
}

// Settles the entries that no earlier pass has met, up to the end of the file.
static void settleUnknownObjects(bool& isAnnounced) {
  bool isRemembering = debug == 0;
  while (leftObjectsEnd != END_OF_FILE) {
    LeftObject left;
    const Fate fate = settleNextObject(left, isAnnounced);
    if (fate == LEFT_BEHIND && isRemembering) isRemembering = rememberLeftObject(left);
    if (isRemembering) leftObjectsEnd = fate == END_OF_WORK_FILE ? END_OF_FILE : workFilePosition();
    if (fate == END_OF_WORK_FILE) return;
  }
}

static void walkWorkFile() {
  bool isAnnounced = false;
  settleRememberedObjects(isAnnounced);
  settleUnknownObjects(isAnnounced);
}

static void closeWorkFile() {
  if (closeStream(tifp) != 0) exitWithMessage(WRITE_FAILED, temp_input_ldif_filename);
}

// A pass that found work and gathered none of it would be followed by others just like it, for ever.
static void requireProgress() {
  if (secUser_dn_count != 0 || secGroup_dn_count != 0) return;
  reportError("main():  ERROR:  No entry could be gathered although entries remain.  EXITING. \n");
  exitForObject(PROCESSING_FAILED);
}

static void writeGatheredData() {
  traceLine("\nmain():  Calling copyAllAccumulatedDataToOutputFile() within loop \n");
  zr_printf_utf8(GATHERED_DATA_BEING_WRITTEN);
  if (copyAllAccumulatedDataToOutputFile() != 0) {
    reportError(
        "main():  ERROR:  Failed to copy all accumulated data to the temporary output LDIF file.  EXITING.  \n");
    exitWithMessage(PROCESSING_FAILED);
  }
  traceLine("\nmain():  Returned from copyAllAccumulatedDataToOutputFile() within loop \n");
}

void makePasses() {
  atLeastOneObjectProcessed = 1;
  while (atLeastOneObjectProcessed == 1) {
    traceLine("main():  Beginning new iteration of outer loop to make another pass on the input file. \n");
    atLeastOneObjectProcessed = 0;
    openWorkFile();
    resumeWhereLastPassStepped();
    walkWorkFile();
    traceLine(
        "\nmain():  getNextObjectFromTemporaryInputLDIFFile() has reached the end of the temporary input LDIF file. \n");
    closeWorkFile();
    if (atLeastOneObjectProcessed == 1) {
      requireProgress();
      writeGatheredData();
    }
    traceLine("\nmain():  This is the end of the outer loop \n");
  }
  forgetLeftObjects();
}
