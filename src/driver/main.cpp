// The run: start, preparation pass, passes, end.
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <new>
#include <numeric>

#include "cache/object_cache.h"
#include "driver/command_line.h"
#include "driver/pass_loop.h"
#include "driver/run_files.h"
#include "ldif/object_buffer.h"
#include "output/flush.h"
#include "platform/file_operations.h"
#include "platform/freed_memory.h"
#include "platform/message_service.h"
#include "platform/progress_line.h"
#include "platform/stream.h"
#include "reporting/interruption.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "workfile/final_copy.h"
#include "workfile/notes.h"
#include "workfile/preparation_pass.h"
#include "workfile/work_file.h"
#include "workfile/work_text.h"

// Severity and destination of the messages, as the service wants them: writable strings.
static char errorRoute[] = "ERROR:STDERR";
static char warningRoute[] = "WARNING:STDERR";
static char noticeRoute[] = "NOTICE:STDOUT";

static void routeMessages() {
  int32_t status = 0;
  for (char* route : {errorRoute, warningRoute, noticeRoute}) zr_svc_routing(route, &status);
}

// The old contents of the trace go only now, when no other run can be using it.
static void beginTrace() {
  if (debug == 0) return;
  if (!cutFile(traceFile.descriptor)) exitWithMessage(FILE_NOT_OPENED, debugFileName);
  tfp = fdopen(traceFile.descriptor, "w+");
  if (tfp == nullptr) exitWithMessage(MEMORY_EXHAUSTED);  // it needs nothing else
}

static void showInput(void (*show)(const char* format, ...)) {
  show("main():  input_ldif_filename           = %s \n", input_ldif_filename);
  show("main():  output_ldif_filename          = %s \n", output_ldif_filename);
  show("main():  max_number_of_secuser_slots   = %d \n", max_number_of_secuser_slots);
  show("main():  max_number_of_secgroup_slots  = %d \n", max_number_of_secgroup_slots);
}

static void announceStart() {
  // Set to nothing counts as set.
  if (getenv("DEBUG_ERROR") != nullptr) {
    debugError = 1;
    echoError("DEBUG_ERROR flag is on................ \n");
    showInput(echoError);
  }
  beginTrace();
  traceLine("main():  FUNCTION ENTRY  \n");
  traceLine("main():  INPUT LIST: \n");
  showInput(traceLine);
}

static void announcePreparation() {
  runCounts.bytesOfEarlierWorkFile = sizeOfEarlierWorkFile();
  issueMessage(CONVERSION_BEGINS);
  if (runCounts.bytesOfEarlierWorkFile < 0)
    issueMessage(PREPARATION_BEGINS, {.sentence = NO_EARLIER_WORK_FILE});
  else
    issueMessage(PREPARATION_BEGINS, {.sentence = EARLIER_WORK_FILE, .values = {runCounts.bytesOfEarlierWorkFile}});
}

static void announcePasses() {
  runCounts.bytesOfWorkFile = workFileLength;
  const auto& kept = runCounts.intoWorkFile;
  const auto& copied = runCounts.intoOutput;
  issueMessage(
      WORK_FILE_READY,
      {.values = {kept[SECUSER_OBJECTCLASS], kept[SECGROUP_OBJECTCLASS], kept[SECPOLICY_OBJECTCLASS],
                  kept[SECPOLICYDATA_OBJECTCLASS], kept[SECMAP_OBJECTCLASS],
                  kept[RESCREDS_CONTAINER] + kept[SECRESCREDS_OBJECTCLASS], copied[SECAUTHORITYINFO_OBJECTCLASS],
                  copied[SECPOLICY_OBJECTCLASS], copied[CONTAINER_OBJECTCLASS], copied[UNINTERESTING_OBJECTCLASS]}});
  issueMessage(PASSES_BEGIN, {.values = {max_number_of_secuser_slots, max_number_of_secgroup_slots}});
}

static void prepare() {
  announcePreparation();
  if (copyOriginalInputFileToTempInputFile() != 0) {
    traceLine("main():  Failed to copy original input ldif file to the temporary input ldif file  \n");
    traceLine("         that will be used for processing.                                         \n");
    exitWithMessage(PREPARATION_FAILED, input_ldif_filename);
  }
  announcePasses();
}

// For inspection only: the run does not depend on the copy.
static void preserveWorkFile() {
  if (debug == 0) return;
  traceLine("\nmain():  The temporary input ldif file has been created.  \n");
  traceLine("         BEGIN MAIN PROCESSING LOOP.                      \n");
  constexpr char COMMAND[] = "cp %s TEMPORARY_INPUT_LDIF_FILE  \n";
  // No shell runs it. The name is shown as it is, blanks and all.
  if (snprintf(systemCommand, sizeof systemCommand, COMMAND, temp_input_ldif_filename) < 0) systemCommand[0] = '\0';
  traceLine("main():  Preserve a copy of the temporary input file  \n");
  traceLine("         The system command to be executed is:    %s  \n", systemCommand);
  if (copyFile(workFile.descriptor, PRESERVED_WORK_FILE, preservedWorkFile) != 0)
    traceLine("main():  The copy could not be made:  %s  \n", messageReason);
  // The failure has been traced, and must not turn up as the reason of another one.
  messageReason[0] = '\0';
}

// Kept: this is the one failed step that the run survives.
static void writeLastGatheredData() {
  traceLine("\nmain():  Calling copyAllAccumulatedDataToOutputFile() at EXIT label \n");
  if (copyAllAccumulatedDataToOutputFile() != 0) {
    reportError(
        "main():  ERROR:  Failed to copy all accumulated data to the temporary output LDIF file during EXIT processing.  \n");
    issueMessage(PROCESSING_FAILED, messageDetails);
  }
  traceLine("\nmain():  Returned from copyAllAccumulatedDataToOutputFile() at EXIT label \n");
}

// Behind this the output survives a loss of power.
static void completeOutput() {
  // In this order: only what has been written out can have its size, and only the file under the output's name is worth
  // waiting for.
  const bool isWritten =
      flushStream(ofp) == 0 && hasItsSize(ofp) && isUnderName(outputFile, output_ldif_filename) && syncFile(outputFile);
  if (!isWritten || closeStream(ofp) != 0) exitWithMessage(WRITE_FAILED, output_ldif_filename);
  outputIsComplete = 1;
}

static void announceEnd(bool workFileIsGone) {
  const auto& copied = runCounts.intoOutput;
  const int64_t straightThrough = std::accumulate(copied.begin(), copied.end(), int64_t{0});
  issueMessage(
      CONVERSION_COMPLETE,
      {.sentence = workFileIsGone ? NO_DETAIL : WORK_FILE_NOT_REMOVED,
       .values = {runCounts.users, runCounts.groups, runCounts.policies, runCounts.resourceCredentials, straightThrough,
                  runCounts.policyData, temp_input_ldif_filename, MessageValue{messageReason, MessageValue::CAUSE}}});
}

static void endRun() {
  writeLastGatheredData();
  if (tifp != nullptr) closeWorkFile();
  copyRemainingObjectsToOutputLDIFFile();
  completeOutput();
  // A traced run keeps it to be looked at.
  const bool workFileIsGone = debug != 0 || removeWorkFile();
  // From here on the name may be another run's.
  workFileIsToBeRemoved = 0;
  unmapWorkFile();
  forgetNotes();
  deallocateObjectCache();
  announceEnd(workFileIsGone);
  traceLine("main():  FUNCTION EXIT  \n");
  if (tfp != nullptr) fclose(tfp);
}

// Called by operator new, so that no allocation need be asked whether it has succeeded.
static void exitForWantOfMemory() {
  traceLine("main():  malloc() failure.  EXITING. \n");
  exitWithMessage(MEMORY_EXHAUSTED);
}

int main(int argumentCount, char* arguments[]) {
  if (!openMissingStandardStreams()) return -1;  // there is nowhere to say so
  giveBackLargeBlocks();
  prepareForSignals();
  // They are called in the reverse order: what has been written reaches its files before anything is shown.
  atexit(eraseProgressLine);
  atexit(closeAllStreams);
  routeMessages();
  std::set_new_handler(exitForWantOfMemory);
  readCommandLine(argumentCount, arguments);
  // As soon as the names are known: the opening of a pipe may wait for long.
  nameFilesForSignals();
  openFilesOfRun();
  // Kept: what is wrong with the output is told only behind the list of what has been given.
  announceStart();
  requireOpenOutput();
  prepare();
  preserveWorkFile();
  allocateObjectCache();
  initializeAllArrays();
  makePasses();
  endRun();
  return 0;
}
