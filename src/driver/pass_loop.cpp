#include "driver/pass_loop.h"

#include <algorithm>

#include "cache/class_processors.h"
#include "cache/gates.h"
#include "cache/object_cache.h"
#include "cache/owner_association.h"
#include "cache/owner_set.h"
#include "ldif/complaint.h"
#include "ldif/object_buffer.h"
#include "ldif/object_class.h"
#include "output/flush.h"
#include "reporting/progress.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "workfile/left_behind.h"
#include "workfile/work_file.h"
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
    exitForEntryInFile(NOT_STEPPED_OVER, firstLineOfObject(), temp_input_ldif_filename);
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
  if (reopenWorkFile()) return;
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

// Issues the pass's message once, when its first entry is met.
static void announceOnce(bool& isAnnounced) {
  if (!isAnnounced) issueMessage(PASS_UNDER_WAY, {.values = {runCounts.passes, expectedPasses()}});
  isAnnounced = true;
}

// What has become of an entry, and what a later pass needs to know of one that was left behind.
enum Fate { GATHERED, LEFT_BEHIND, END_OF_WORK_FILE };

struct Settled {
  Fate fate;
  int64_t start;
  int64_t end;
  GateNumber kind;
  bool ownerIsLookedUp;  // hashOfLastOwner is that of its owner
};

static void countGathered(GateNumber kind) {
  runCounts.bytesGathered += lastObjectExtent.end - lastObjectExtent.begin;
  if (kind == SECPOLICYDATA_GATE) ++runCounts.policyData;
  showProgress("passes", runCounts.bytesGathered, runCounts.bytesOfWorkFile);
}

// Reads and settles the next entry.
static Settled settleNextObject(bool& isAnnounced) {
  const int32_t result = getNextObjectFromTemporaryInputLDIFFile(tifp);
  if (result == -1 && next_available_object_slot == 0) return {END_OF_WORK_FILE, 0, 0, NUMBER_OF_GATES, false};
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
  const int64_t start = requirePosition(tifp);
  dispatchObject(gates[kind]);
  traceLine("\nmain():  This is the end of the inner loop \n");
  const Fate fate = next_available_object_slot == 0 ? GATHERED : LEFT_BEHIND;
  if (fate == GATHERED) countGathered(kind);
  return {fate, start, requirePosition(tifp), kind, ownerIsLookedUp};
}

// True when the entry cannot be gathered, whatever it reads: its kind has no room, or its owner none.
static bool isShutOut(const LeftObject& left) {
  const Gate& gate = gates[left.kind];
  return !isOpen(gate) || (left.isOwnerKnown && gate.isOwnerShutOut(left.ownerHash));
}

// Does for remembered entries what reading them and stepping over them would do. The kinds are those among them, a
// bit each.
static void passOver(int32_t from, int32_t to, uint32_t kinds, bool& isAnnounced) {
  if (kinds == 0) return;
  announceOnce(isAnnounced);
  if (kinds != 1U << RESCREDS_GATE) atLeastOneObjectProcessed = 1;
  if (hasTheStepOverFilePositionBeenInitialized != 0) return;
  const LeftObject* first = std::find_if(leftObjects + from, leftObjects + to, isStillLeft);
  rememberFirstStepOver(static_cast<FilePosition>(first->start));
}

// Passes over the remembered entries from the given one on that cannot be gathered now. Returns the number of the
// first that may be.
static int32_t passOverShutOutObjects(int32_t from, bool& isAnnounced) {
  const OwnerSet* mayEnter[NUMBER_OF_GATES][2];  // of each kind, without and with a known owner
  for (uint8_t kind = 0; kind < NUMBER_OF_GATES; ++kind) {
    mayEnter[kind][0] = isOpen(gates[kind]) ? &everybody : &nobody;
    mayEnter[kind][1] = isOpen(gates[kind]) ? &gates[kind].ownersWithRoom() : &nobody;
  }
  uint32_t kinds = 0;
  int32_t i = from;
  for (; i < leftObjectCount; ++i) {
    const LeftObject& left = leftObjects[i];
    if (left.isTaken) continue;
    if (mayHold(*mayEnter[left.kind][left.isOwnerKnown ? 1 : 0], left.ownerHash) && !isShutOut(left)) break;
    kinds |= 1U << left.kind;
  }
  passOver(from, i, kinds, isAnnounced);
  return i;
}

// Reads and settles a remembered entry. Returns false when it turns out to end elsewhere than before, as only an odd
// left-over work file has it; the entries behind it are then forgotten, and so read.
static bool settleRememberedObject(int32_t i, bool& isAnnounced) {
  LeftObject& left = leftObjects[i];
  requireMoveTo(tifp, static_cast<int64_t>(left.start));
  const Settled settled = settleNextObject(isAnnounced);
  left.isTaken = settled.fate != LEFT_BEHIND;
  if (settled.ownerIsLookedUp) {
    left.isOwnerKnown = true;
    left.ownerHash = hashOfLastOwner;
  }
  const int64_t end = requirePosition(tifp);
  if (end == static_cast<int64_t>(left.start + left.length)) return true;
  leftObjectCount = i + 1;
  leftObjectsEnd = end;
  return false;
}

// Settles the entries that earlier passes have left, reading only those that may be gathered now. Leaves the
// stream behind them.
static void settleRememberedObjects(bool& isAnnounced) {
  if (leftObjectsEnd == 0) return;
  dropTakenObjects();
  for (int32_t i = 0; (i = passOverShutOutObjects(i, isAnnounced)) < leftObjectCount; ++i)
    if (!settleRememberedObject(i, isAnnounced)) return;
  if (leftObjectsEnd != END_OF_FILE) requireMoveTo(tifp, leftObjectsEnd);
}

static bool remember(const Settled& settled) {
  return settled.ownerIsLookedUp ? rememberLeftObject(settled.start, settled.end, settled.kind, hashOfLastOwner)
                                 : rememberLeftObject(settled.start, settled.end, settled.kind);
}

// Settles the entries that no earlier pass has met, up to the end of the file.
static void settleUnknownObjects(bool& isAnnounced) {
  bool isRemembering = debug == 0;
  while (leftObjectsEnd != END_OF_FILE) {
    const Settled settled = settleNextObject(isAnnounced);
    if (settled.fate == LEFT_BEHIND && isRemembering) isRemembering = remember(settled);
    if (isRemembering) leftObjectsEnd = settled.fate == END_OF_WORK_FILE ? END_OF_FILE : settled.end;
    if (settled.fate == END_OF_WORK_FILE) return;
  }
}

static void walkWorkFile() {
  bool isAnnounced = false;
  settleRememberedObjects(isAnnounced);
  settleUnknownObjects(isAnnounced);
  if (readFailed(tifp)) exitWithMessage(OBJECT_NOT_READ, temp_input_ldif_filename);  // while blanking out
  requireUnchangedWorkFile();
}

// A pass that found work and gathered none of it would be followed by others just like it, for ever.
static void requireProgress() {
  if (secUser_dn_count != 0 || secGroup_dn_count != 0) return;
  reportError("main():  ERROR:  No entry could be gathered although entries remain.  EXITING. \n");
  exitForObject(NOTHING_GATHERED);
}

static int64_t percentOfWorkFileDone() {
  constexpr int64_t ALL = 100;
  if (runCounts.bytesOfWorkFile == 0) return ALL;
  // An entry of an odd work file from an earlier run can be read more than once.
  return std::min(runCounts.bytesGathered * ALL / runCounts.bytesOfWorkFile, ALL);
}

static void writeGatheredData() {
  traceLine("\nmain():  Calling copyAllAccumulatedDataToOutputFile() within loop \n");
  issueMessage(GATHERED_DATA_BEING_WRITTEN, {.values = {secUser_dn_count, secGroup_dn_count, percentOfWorkFileDone()}});
  if (copyAllAccumulatedDataToOutputFile() != 0) {
    reportError(
        "main():  ERROR:  Failed to copy all accumulated data to the temporary output LDIF file.  EXITING.  \n");
    if (isSpoiltByOthers(ofp)) exitWithMessage(WRITE_FAILED, output_ldif_filename);
    exitWithMessage(PROCESSING_FAILED);
  }
  traceLine("\nmain():  Returned from copyAllAccumulatedDataToOutputFile() within loop \n");
}

void makePasses() {
  atLeastOneObjectProcessed = 1;
  while (atLeastOneObjectProcessed == 1) {
    traceLine("main():  Beginning new iteration of outer loop to make another pass on the input file. \n");
    atLeastOneObjectProcessed = 0;
    ++runCounts.passes;
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
