#include "driver/pass.h"

#include <algorithm>

#include "cache/class_processors.h"
#include "cache/gates.h"
#include "ldif/complaint.h"
#include "ldif/object_buffer.h"
#include "ldif/object_class.h"
#include "reporting/progress.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "workfile/work_file_cursor.h"

// How many passes it will be: as many as the side needs that needs more, and one that finds the resource credentials
// alone. An earlier run's work file, whose entries are not known, can make more.
static int64_t expectedPasses() {
  const auto passesFor = [](int64_t owners, int64_t slots) { return (owners + slots - 1) / slots; };
  const auto& entries = runCounts.intoWorkFile;
  const int64_t gathering = std::max(passesFor(runCounts.ownUserEntries, max_number_of_secuser_slots),
                                     passesFor(entries[SECGROUP_OBJECTCLASS], max_number_of_secgroup_slots));
  const bool hasCredentials = entries[RESCREDS_CONTAINER] + entries[SECRESCREDS_OBJECTCLASS] > 0;
  return std::max(runCounts.passes, gathering + (hasCredentials ? 1 : 0));
}

void announcePass() {
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

// Gathers the entry, or leaves it when it has no place in this pass.
static void dispatchObject(EntryKind kind) {
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
  showProgress("passes", runCounts.bytesGathered, runCounts.bytesOfWorkFile);
}

bool settleObjectOfKind(EntryKind kind, int64_t bytes) {
  dispatchObject(kind);
  if (next_available_object_slot != 0) return false;
  countGathered(kind, bytes);
  return true;
}

bool settleObject(int64_t bytes) {
  determineTheObjectsObjectClass();
  if (objectClass != RESCREDS_CONTAINER && objectClass != SECRESCREDS_OBJECTCLASS) atLeastOneObjectProcessed = 1;
  return settleObjectOfKind(requireKindOfObject(), bytes);
}
