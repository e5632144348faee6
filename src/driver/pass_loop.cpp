#include "driver/pass_loop.h"

#include "cache/class_processors.h"
#include "cache/object_cache.h"
#include "driver/reporting.h"
#include "driver/run_state.h"
#include "ldif/object_buffer.h"
#include "ldif/object_class.h"
#include "output/flush.h"
#include "platform/message_service.h"
#include "workfile/work_file_cursor.h"

// What lets an entry of one kind into the cache, and how a failure to step it over reads.
struct Gate {
  const int32_t* gathered;  // must be below
  const int32_t* limit;     // this; null for entries that are never gathered
  const char* stepOverError;
};

static constexpr Gate usersSecUserGate = {
    &numberOfUserSecUserObjectsInObjectCache, &max_number_of_secuser_slots,
    "main():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over a Users secUser object.  EXITING. \n"};
static constexpr Gate secUserGate = {
    &numberOfSecUserObjectsInObjectCache, &max_number_of_secuser_slots,
    "main():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over a secUser object.  EXITING. \n"};
static constexpr Gate secGroupGate = {
    &numberOfSecGroupObjectsInObjectCache, &max_number_of_secgroup_slots,
    "main():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over a secGroup object.  EXITING. \n"};
static constexpr Gate secPolicyDataGate = {
    &numberOfSecPolicyDataObjectsInObjectCache, &max_number_of_secuser_slots,
    "main():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over a secPolicyData object.  EXITING. \n"};
static constexpr Gate mapOfUserGate = {
    &numberOfSecMapForSecUserObjectsInObjectCache, &max_number_of_secuser_slots,
    "main():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over a secMap for secUser object.  EXITING. \n"};
static constexpr Gate mapOfGroupGate = {
    &numberOfSecMapForSecGroupObjectsInObjectCache, &max_number_of_secgroup_slots,
    "main():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over a secMap for secGroup object.  EXITING. \n"};
static constexpr Gate secPolicyGate = {
    &numberOfSecPolicyObjectsInObjectCache, &max_number_of_secuser_slots,
    "main():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over a secPolicy object.  EXITING. \n"};
static constexpr Gate resCredsGate = {
    nullptr, nullptr,
    "main():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over a ResCreds container object or a secResCreds object.  EXITING. \n"};

// Returns the gate of the entry in the entry buffer. A class that never reaches the work file ends the run.
static const Gate& gateOfObject() {
  switch (objectClass) {
    case SECUSER_OBJECTCLASS:
      return isUsersObject() ? usersSecUserGate : secUserGate;
    case SECGROUP_OBJECTCLASS:
      return secGroupGate;
    case SECPOLICYDATA_OBJECTCLASS:
      return secPolicyDataGate;
    case SECMAP_OBJECTCLASS:
      return isMapOfUser() ? mapOfUserGate : mapOfGroupGate;
    case SECPOLICY_OBJECTCLASS:
      return secPolicyGate;
    case RESCREDS_CONTAINER:
    case SECRESCREDS_OBJECTCLASS:
      return resCredsGate;
    default:
      reportError("main():  ERROR:  The object class of this object was unrecognizable.  EXITING. \n");
      exitForObject(PROCESSING_FAILED);
  }
}

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

// Gathers the entry if its gate is open, steps it over otherwise.
static void dispatchObject() {
  const Gate& gate = gateOfObject();
  if (gate.limit != nullptr && *gate.gathered < *gate.limit) {
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

// Settles the entries of the work file one by one, up to its end.
static void walkWorkFile() {
  bool isAnnounced = false;
  for (;;) {
    const int32_t result = getNextObjectFromTemporaryInputLDIFFile(tifp);
    if (result == -1 && next_available_object_slot == 0) return;
    if (!isAnnounced) zr_printf_utf8(PASS_UNDER_WAY);
    isAnnounced = true;
    if (result != 0 && result != -1) {
      traceLine("\nmain():  ERROR:  The next object could not be read successfully.  EXITING.  \n");
      exitWithMessage(OBJECT_NOT_READ, temp_input_ldif_filename);
    }
    traceObjectRead();
    determineTheObjectsObjectClass();
    if (objectClass != RESCREDS_CONTAINER && objectClass != SECRESCREDS_OBJECTCLASS) atLeastOneObjectProcessed = 1;
    dispatchObject();
    traceLine("\nmain():  This is the end of the inner loop \n");
  }
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
}
