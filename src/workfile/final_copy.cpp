#include "workfile/final_copy.h"

#include "ldif/complaint.h"
#include "ldif/object_buffer.h"
#include "platform/bounded_text.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "rules/dropped_lines.h"
#include "workfile/notes.h"
#include "workfile/work_file.h"
#include "workfile/work_file_cursor.h"

// Writes the entry's lines through to the file. Returns 0 or -1.
static int32_t writeLines() {
  for (const Line& line : entryInObject())
    if (!isDropped(line, REMAINING) && writeText(ofp, line.text, line.length) != 0) return -1;
  // Entry by entry, so that none is blanked out of the work file before it is in the output.
  return flushStream(ofp);
}

static void traceObjectRead() {
  if (debug == 0) return;
  traceLine("\ncopyRemainingObjectsToOutputLDIFFile():  Another object WAS read successfully.  \n");
  traceLine("           next_available_object_slot = %d  \n", next_available_object_slot);
  traceLine("\ncopyRemainingObjectsToOutputLDIFFile():  THE OBJECT READ WAS:  \n");
  for (const Line& line : entryInObject()) traceLine("%.*s", SHOWN(line.view()));
  traceLine("\n");
}

static void requireResCreds() {
  // All that users and groups had has been gathered by now. What else there is comes from a file that no preparation
  // pass has written.
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
  // The message names the entry, which the buffer does not hold any longer by then.
  const size_t length = firstLineOfObject().copy(tempString, sizeof tempString);
  freeObject();
  if (writeText(ofp, "\n") != 0 || flushStream(ofp) != 0) {
    traceLine("copyRemainingObjectsToOutputLDIFFile():  fputs() failed with rc=%d \n", -1);
    // A reader that has gone, and a file that somebody has changed, are told even here.
    if (isSpoiltByOthers(ofp)) exitWithMessage(WRITE_FAILED, output_ldif_filename);
    exitInSilence();  // Kept: without a message.
  }
  ++runCounts.resourceCredentials;
  if (deleteNextObjectFromTemporaryInputLDIFFile(tifp) != 0) {
    reportError(
        "copyRemainingObjectsToOutputLDIFFile():  ERROR: deleteNextObjectFromTemporaryInputLDIFFile() failed deleting a ResCreds container or secResCreds object.  EXITING. \n");
    requireUnchangedWorkFile();
    exitForEntryInFile(NOT_BLANKED, {tempString, length}, temp_input_ldif_filename);
  }
  return 0;
}

// Fills the entry buffer with the next entry that is left. Returns false behind the last one.
static bool readNextObject() {
  const int32_t result = getNextObjectFromTemporaryInputLDIFFile(tifp);
  if (result == -1 && next_available_object_slot == 0) return false;
  if (result == 0 || result == -1) return true;
  traceLine(
      "\ncopyRemainingObjectsToOutputLDIFFile():  ERROR:  The next object could not be read successfully.  EXITING.  \n");
  exitWithMessage(OBJECT_NOT_READ, temp_input_ldif_filename);
}

static bool loadNextObject(uint32_t& next) {
  // Taken by a pass.
  while (next < noteCount && notes[next].isTaken != 0) ++next;
  if (next == noteCount) return false;
  loadNotedObject(notes[next++]);
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
  // By the notes as long as there are any, otherwise by reading.
  uint32_t next = 0;
  while (areNotesComplete ? loadNextObject(next) : readNextObject())
    // Kept: without a message. The closing of the output meets the failed write again and tells it.
    if (copyObject() != 0) return;
  if (readFailed(tifp)) exitWithMessage(OBJECT_NOT_READ, temp_input_ldif_filename);  // while blanking out
  traceLine(
      "\ncopyRemainingObjectsToOutputLDIFFile():  getNextObjectFromTemporaryInputLDIFFile() has reached the end of the temporary input LDIF file. \n");
  requireUnchangedWorkFile();
  closeWorkFile();
  traceLine("\ncopyRemainingObjectsToOutputLDIFFile():  FUNCTION EXIT  \n");
}
