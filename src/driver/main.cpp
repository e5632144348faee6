// The run: start, preparation pass, passes, end.
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <new>

#include "cache/object_cache.h"
#include "driver/command_line.h"
#include "driver/interruption.h"
#include "driver/pass_loop.h"
#include "driver/reporting.h"
#include "driver/run_state.h"
#include "output/flush.h"
#include "platform/file_operations.h"
#include "platform/message_details.h"
#include "platform/message_service.h"
#include "platform/stream.h"
#include "workfile/final_copy.h"
#include "workfile/left_behind.h"
#include "workfile/preparation_pass.h"

// Severity and destination of the messages, as the service wants them: writable strings.
static char errorRoute[] = "ERROR:STDERR";
static char warningRoute[] = "WARNING:STDERR";
static char noticeRoute[] = "NOTICE:STDOUT";

static void routeMessages() {
  int32_t status = 0;
  for (char* route : {errorRoute, warningRoute, noticeRoute}) zr_svc_routing(route, &status);
}

static void openTraceFile() {
  if (debug == 0) return;
  const int descriptor = openFile(debugFileName, OPEN_TO_CREATE, PRIVATE_FILE_OR_DEVICE);
  if (descriptor < 0) exitWithMessage(FILE_NOT_OPENED, debugFileName);
  tfp = fdopen(descriptor, "w+");
  if (tfp == nullptr) exitWithMessage(MEMORY_EXHAUSTED);  // it needs nothing else
}

static void showInput(void (*show)(const char* format, ...)) {
  show("main():  input_ldif_filename           = %s \n", input_ldif_filename);
  show("main():  output_ldif_filename          = %s \n", output_ldif_filename);
  show("main():  max_number_of_secuser_slots   = %d \n", max_number_of_secuser_slots);
  show("main():  max_number_of_secgroup_slots  = %d \n", max_number_of_secgroup_slots);
}

static void announceStart() {
  if (getenv("DEBUG_ERROR") != nullptr) {
    debugError = 1;
    echoError("DEBUG_ERROR flag is on................ \n");
    showInput(echoError);
  }
  traceLine("main():  FUNCTION ENTRY  \n");
  traceLine("main():  INPUT LIST: \n");
  showInput(traceLine);
}

static void openOutput() {
  ofp = openStream(output_ldif_filename, OPEN_TO_CREATE, NAMED_BY_USER);
  if (ofp != nullptr) return;
  traceLine("main() - Unable to open output file %s.  Exiting. \n", output_ldif_filename);
  exitWithMessage(FILE_NOT_OPENED, output_ldif_filename);
}

static void prepare() {
  zr_printf_utf8(CONVERSION_BEGINS);
  zr_printf_utf8(PREPARATION_BEGINS);
  if (copyOriginalInputFileToTempInputFile() != 0) {
    traceLine("main():  Failed to copy original input ldif file to the temporary input ldif file  \n");
    traceLine("         that will be used for processing.                                         \n");
    exitWithMessage(PREPARATION_FAILED, input_ldif_filename);
  }
  zr_printf_utf8(WORK_FILE_READY);
  zr_printf_utf8(PASSES_BEGIN);
}

// For inspection only: the run does not depend on the copy.
static void preserveWorkFile() {
  if (debug == 0) return;
  traceLine("\nmain():  The temporary input ldif file has been created.  \n");
  traceLine("         BEGIN MAIN PROCESSING LOOP.                      \n");
  constexpr char COMMAND[] = "cp %s TEMPORARY_INPUT_LDIF_FILE  \n";
  if (snprintf(systemCommand, sizeof systemCommand, COMMAND, temp_input_ldif_filename) < 0) systemCommand[0] = '\0';
  traceLine("main():  Preserve a copy of the temporary input file  \n");
  traceLine("         The system command to be executed is:    %s  \n", systemCommand);
  if (copyFile(temp_input_ldif_filename, PRESERVED_WORK_FILE) != 0)
    traceLine("main():  The copy could not be made:  %s  \n", messageReason);
  messageReason[0] = '\0';
}

// Kept: this is the one failed step that the run survives.
static void writeLastGatheredData() {
  traceLine("\nmain():  Calling copyAllAccumulatedDataToOutputFile() at EXIT label \n");
  if (copyAllAccumulatedDataToOutputFile() != 0) {
    reportError(
        "main():  ERROR:  Failed to copy all accumulated data to the temporary output LDIF file during EXIT processing.  \n");
    zr_printf_utf8(PROCESSING_FAILED);
    concerning(nullptr);
  }
  traceLine("\nmain():  Returned from copyAllAccumulatedDataToOutputFile() at EXIT label \n");
}

static void endRun() {
  writeLastGatheredData();
  if (closeStream(tifp) != 0) exitWithMessage(WRITE_FAILED, temp_input_ldif_filename);
  copyRemainingObjectsToOutputLDIFFile();
  forgetLeftObjects();
  if (debug == 0) removeFile(temp_input_ldif_filename);
  workFileIsToBeRemoved = 0;
  if (closeStream(ofp) != 0) exitWithMessage(WRITE_FAILED, output_ldif_filename);
  deallocateObjectCache();
  zr_printf_utf8(CONVERSION_COMPLETE);
  traceLine("main():  FUNCTION EXIT  \n");
  if (tfp != nullptr) fclose(tfp);
}

int main(int argumentCount, char* arguments[]) {
  if (!openMissingStandardStreams()) return -1;  // there is nowhere to say so
  prepareForSignals();
  atexit(closeAllStreams);
  routeMessages();
  std::set_new_handler([] { exitWithMessage(MEMORY_EXHAUSTED); });
  readCommandLine(argumentCount, arguments);
  openTraceFile();
  announceStart();
  openOutput();
  prepare();
  preserveWorkFile();
  allocateObjectCache();
  initializeAllArrays();
  makePasses();
  endRun();
  return 0;
}
