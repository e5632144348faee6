#include "workfile/final_copy.h"

#include <algorithm>
#include <cstdlib>

#include "ldif/colon_search.h"
#include "ldif/complaint.h"
#include "ldif/object_buffer.h"
#include "ldif/object_class.h"
#include "ldif/text.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "workfile/left_behind.h"
#include "workfile/work_file.h"
#include "workfile/work_file_cursor.h"

// A line that holds one of these, in any case, stays behind.
static constexpr ColonText droppedTexts[] = {"xoq-entryuuid:", "aclentry:", "aci:", "acl:", "control:"};

// Writes the entry's lines through to the file. Returns 0 or -1.
static int32_t writeLines() {
  for (int32_t i = 0; i < next_available_object_slot; ++i) {
    const ColonLine& line = colonsOfObject(i);
    if (findInAnyCase(line, droppedTexts) == nullptr && writeText(ofp, line.text, line.length) != 0) return -1;
  }
  return flushStream(ofp);
}

static void traceObjectRead() {
  if (debug == 0) return;
  traceLine("\ncopyRemainingObjectsToOutputLDIFFile():  Another object WAS read successfully.  \n");
  traceLine("           next_available_object_slot = %d  \n", next_available_object_slot);
  traceLine("\ncopyRemainingObjectsToOutputLDIFFile():  THE OBJECT READ WAS:  \n");
  for (int32_t i = 0; i < next_available_object_slot; ++i) traceLine("%s", object[i]);
  traceLine("\n");
}

static void requireResCreds() {
  determineTheObjectsObjectClass();
  if (objectClass == RESCREDS_CONTAINER || objectClass == SECRESCREDS_OBJECTCLASS) return;
  reportError(
      "copyRemainingObjectsToOutputLDIFFile():  ERROR:  The object class of this object was unrecognizable.  EXITING. \n");
  exitForObject(UNKNOWN_CLASS);
}

// Returns 0, or -1 when a line cannot be written.
static int32_t copyObject() {
  traceObjectRead();
  requireResCreds();
  if (writeLines() != 0) {
    traceLine("copyRemainingObjectsToOutputLDIFFile():  fputs() failed with rc=%d \n", -1);
    return -1;
  }
  copyBounded(tempString, sizeof tempString, object[0]);
  freeObject();
  next_available_object_slot = 0;
  if (writeText(ofp, "\n") != 0 || flushStream(ofp) != 0) {
    traceLine("copyRemainingObjectsToOutputLDIFFile():  fputs() failed with rc=%d \n", -1);
    if (isSpoiltByOthers(ofp)) exitWithMessage(WRITE_FAILED, output_ldif_filename);
    exit(-1);  // Kept: without a message.
  }
  ++runCounts.resourceCredentials;
  if (deleteNextObjectFromTemporaryInputLDIFFile(tifp) != 0) {
    reportError(
        "copyRemainingObjectsToOutputLDIFFile():  ERROR: deleteNextObjectFromTemporaryInputLDIFFile() failed deleting a ResCreds container or secResCreds object.  EXITING. \n");
    requireUnchangedWorkFile();
    exitForEntryInFile(NOT_BLANKED, tempString, temp_input_ldif_filename);
  }
  return 0;
}

// Moves to the next entry, as far as the passes remember all that they have left: what stands between them is blank.
// An entry that has ended elsewhere than before, as only an odd left-over work file has it, makes the rest be read.
// Returns false behind the last entry.
static bool moveToNextObject(int32_t& nextLeftObject, int64_t& expectedPosition) {
  const int64_t position = requirePosition(tifp);
  if (position != expectedPosition) leftObjectsEnd = position;
  if (leftObjectsEnd != END_OF_FILE) return true;
  LeftObject* end = leftObjects + leftObjectCount;
  const LeftObject* next = std::find_if(leftObjects + nextLeftObject, end, isStillLeft);
  if (next == end) return false;
  nextLeftObject = static_cast<int32_t>(next - leftObjects) + 1;
  expectedPosition = static_cast<int64_t>(next->start + next->length);
  requireMoveTo(tifp, static_cast<int64_t>(next->start));
  return true;
}

void copyRemainingObjectsToOutputLDIFFile() {
  traceLine("\ncopyRemainingObjectsToOutputLDIFFile():  FUNCTION ENTRY  \n");
  if (!reopenWorkFile()) {
    traceLine("copyRemainingObjectsToOutputLDIFFile():  ERROR:  Unable to open temporary input LDIF file:  %s. \n",
              temp_input_ldif_filename);
    traceLine("                 EXITING \n");
    exitWithMessage(FILE_NOT_OPENED, temp_input_ldif_filename);
  }
  int32_t nextLeftObject = 0;
  int64_t expectedPosition = 0;
  while (moveToNextObject(nextLeftObject, expectedPosition)) {
    const int32_t result = getNextObjectFromTemporaryInputLDIFFile(tifp);
    if (result == -1 && next_available_object_slot == 0) break;
    if (result != 0 && result != -1) {
      traceLine(
          "\ncopyRemainingObjectsToOutputLDIFFile():  ERROR:  The next object could not be read successfully.  EXITING.  \n");
      exitWithMessage(OBJECT_NOT_READ, temp_input_ldif_filename);
    }
    if (copyObject() != 0) return;
  }
  if (readFailed(tifp)) exitWithMessage(OBJECT_NOT_READ, temp_input_ldif_filename);  // while blanking out
  traceLine(
      "\ncopyRemainingObjectsToOutputLDIFFile():  getNextObjectFromTemporaryInputLDIFFile() has reached the end of the temporary input LDIF file. \n");
  requireUnchangedWorkFile();
  closeWorkFile();
  traceLine("\ncopyRemainingObjectsToOutputLDIFFile():  FUNCTION EXIT  \n");
}
