#include "driver/pass.h"
#include "ldif/object_buffer.h"
#include "reporting/reporting.h"
#include "reporting/run_state.h"
#include "workfile/work_file.h"
#include "workfile/work_file_cursor.h"

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
