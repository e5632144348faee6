#include "driver/pass_loop.h"

#include <algorithm>

#include "cache/object_cache.h"
#include "driver/pass.h"
#include "driver/pass_plan.h"
#include "ldif/complaint.h"
#include "output/flush.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "workfile/notes.h"
#include "workfile/work_file.h"
#include "workfile/work_text.h"

static void openWorkFile() {
  if (reopenWorkFile()) return;
  traceLine("main():  ERROR:  Unable to open temporary input LDIF file:  %s. \n", temp_input_ldif_filename);
  traceLine("                 EXITING \n");
  exitWithMessage(FILE_NOT_OPENED, temp_input_ldif_filename);
}

// A pass that found work and gathered none of it would be followed by others just like it, for ever.
static void requireProgress() {
  if (secUser_dn_count != 0 || secGroup_dn_count != 0) return;
  reportError("main():  ERROR:  No entry could be gathered although entries remain.  EXITING. \n");
  exitForObject(NOTHING_GATHERED);
}

static int64_t percentOfWorkFileDone() {
  constexpr int64_t ALL = 100;
  // All of nothing is done.
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
    // Then it is the output that is to be named, and not the entry that was being written.
    if (isSpoiltByOthers(ofp)) exitWithMessage(WRITE_FAILED, output_ldif_filename);
    exitWithMessage(PROCESSING_FAILED);
  }
  traceLine("\nmain():  Returned from copyAllAccumulatedDataToOutputFile() within loop \n");
}

// Puts off what can be put off, as long as every entry is known.
static void prepareNotes() {
  // A traced run shows how it reads the file.
  if (tfp != nullptr) return;
  if (!areNotesComplete) noteWorkFile();
  if (!areNotesComplete) return;
  // If it cannot be mapped, each entry is read when it is needed.
  mapWorkFile();
  stepBeforeFailure = settleWorkFile;
}

static void makePass() {
  openWorkFile();
  if (areNotesComplete && planPasses())
    walkPlannedEntries();
  else
    walkWorkFile();
  // Before a record is made of what it held.
  requireUnchangedWorkFile();
  traceLine(
      "\nmain():  getNextObjectFromTemporaryInputLDIFFile() has reached the end of the temporary input LDIF file. \n");
  closeWorkFile();
}

void makePasses() {
  prepareNotes();
  atLeastOneObjectProcessed = 1;
  // Kept: a pass that finds nothing more to gather ends the loop, so there is one more than are needed.
  while (atLeastOneObjectProcessed == 1) {
    traceLine("main():  Beginning new iteration of outer loop to make another pass on the input file. \n");
    atLeastOneObjectProcessed = 0;
    ++runCounts.passes;
    isPassAnnounced = false;
    makePass();
    if (atLeastOneObjectProcessed == 1) {
      requireProgress();
      writeGatheredData();
    }
    traceLine("\nmain():  This is the end of the outer loop \n");
  }
  forgetPlan();
}
