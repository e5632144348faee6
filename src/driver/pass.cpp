#include "driver/pass.h"

#include <algorithm>

#include "cache/class_processors.h"
#include "cache/object_cache.h"
#include "ldif/complaint.h"
#include "ldif/object_buffer.h"
#include "reporting/progress.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "workfile/work_file.h"
#include "workfile/work_file_cursor.h"

// How many passes there will be: as many as the side needs that needs more of them, and one that finds nothing but the
// resource credentials. An earlier run's work file, whose entries are not known, can make it more.
static int64_t expectedPasses() {
  const auto passesFor = [](int64_t owners, int64_t slots) { return (owners + slots - 1) / slots; };
  const auto& entries = runCounts.intoWorkFile;
  const int64_t gathering = std::max(passesFor(runCounts.ownUserEntries, max_number_of_secuser_slots),
                                     passesFor(entries[SECGROUP_OBJECTCLASS], max_number_of_secgroup_slots));
  const bool hasCredentials = entries[RESCREDS_CONTAINER] + entries[SECRESCREDS_OBJECTCLASS] > 0;
  // Never fewer than there have been: an owner can need a second pass.
  return std::max(runCounts.passes, gathering + (hasCredentials ? 1 : 0));
}

void announcePass() {
  // A pass that meets no entry is not announced: the last one, which only finds that all is done.
  if (!isPassAnnounced) issueMessage(PASS_UNDER_WAY, {.values = {runCounts.passes, expectedPasses()}});
  isPassAnnounced = true;
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

EntryKind requireKindOfObject() {
  const EntryKind kind = kindOf(static_cast<ObjectClass>(objectClass), firstLineOfObject());
  if (kind != UNKNOWN_KIND) return kind;
  reportError("main():  ERROR:  The object class of this object was unrecognizable.  EXITING. \n");
  exitForObject(UNKNOWN_CLASS);
}

// What entries of an EntryKind are called in the line for one that could not be stepped over.
static constexpr const char* steppedOverNames[UNKNOWN_KIND] = {
    "Users secUser",      "secUser",
    "secGroup",           "secPolicyData",
    "secMap for secUser", "secMap for secGroup",
    "secPolicy",          "ResCreds container object or a secResCreds"};

// Gathers the entry, or leaves it when it has no place in this pass.
static void dispatchObject(EntryKind kind) {
  // Kept: while the table of its kind is full an entry waits, even if its owner has a slot already.
  if (isOpen(kind)) {
    processObject();
  } else if (stepOverNextObjectFromTemporaryInputLDIFFile(tifp) != 0) {
    reportError(
        "main():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed stepping over a %s object.  EXITING. \n",
        steppedOverNames[kind]);
    exitForEntryInFile(NOT_STEPPED_OVER, firstLineOfObject(), temp_input_ldif_filename);
  }
}

void countGathered(EntryKind kind, int64_t bytes) {
  runCounts.bytesGathered += bytes;
  if (kind == SECPOLICYDATA_KIND) ++runCounts.policyData;
  showProgress(PROGRESS_OF_PASSES, runCounts.bytesGathered, runCounts.bytesOfWorkFile);
}

bool settleObjectOfKind(EntryKind kind, int64_t bytes) {
  dispatchObject(kind);
  // Gathering empties the entry buffer: what is still in it has been left.
  if (next_available_object_slot != 0) return false;
  countGathered(kind, bytes);
  return true;
}

bool settleObject(int64_t bytes) {
  determineTheObjectsObjectClass();
  // Resource credentials are left to the final copy: for them alone no further pass is made.
  if (objectClass != RESCREDS_CONTAINER && objectClass != SECRESCREDS_OBJECTCLASS) atLeastOneObjectProcessed = 1;
  return settleObjectOfKind(requireKindOfObject(), bytes);
}

static void traceObjectRead() {
  if (debug == 0) return;
  traceLine("\nmain():  Another object WAS read successfully.  \n");
  traceLine("         next_available_object_slot = %d  \n", next_available_object_slot);
  traceLine("         THE OBJECT READ WAS:  \n");
  for (const Line& line : entryInObject()) traceLine("%.*s", SHOWN(line.view()));
  traceLine("\n");
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

// Reads and settles the next entry. Returns false behind the last one.
static bool settleNextObject() {
  const int32_t result = getNextObjectFromTemporaryInputLDIFFile(tifp);
  // The last entry comes with the result for the end of the file, too.
  if (result == -1 && next_available_object_slot == 0) return false;
  announcePass();
  if (result != 0 && result != -1) {
    traceLine("\nmain():  ERROR:  The next object could not be read successfully.  EXITING.  \n");
    exitWithMessage(OBJECT_NOT_READ, temp_input_ldif_filename);
  }
  traceObjectRead();
  settleObject(lastObjectExtent.end - lastObjectExtent.begin);
  traceLine("\nmain():  This is the end of the inner loop \n");
  return true;
}

void walkWorkFile() {
  resumeWhereLastPassStepped();
  while (settleNextObject()) {
  }
  if (readFailed(tifp)) exitWithMessage(OBJECT_NOT_READ, temp_input_ldif_filename);  // while blanking out
}
