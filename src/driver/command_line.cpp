#include "driver/command_line.h"

#include <cstdlib>
#include <cstring>

#include "platform/bounded_text.h"
#include "platform/open_file.h"
#include "reporting/reporting.h"
#include "reporting/run_state.h"

// Where each argument stands.
enum { INPUT = 1, OUTPUT, MAX_SECUSER_SLOTS, MAX_SECGROUP_SLOTS, TRACE_FILE };

[[noreturn]] static void exitWithUsageError(DetailText problem) {
  failWith(problem);
  exitWithMessage(USAGE_ERROR);
}

static void copyName(char* buffer, size_t size, const char* name) {
  if (!copyBounded(buffer, size, name)) exitWithUsageError(NAME_OF_FILE_TOO_LONG);
}

static int32_t readSlotCount(const char* argument) {
  // Kept: what stands behind the digits is not looked at. A number too large for strtoll comes as the largest there is.
  const long long count = strtoll(argument, nullptr, 10);
  if (count < 1) exitWithUsageError(SLOT_COUNT_TOO_SMALL);
  if (count > INT32_MAX) exitWithUsageError(SLOT_COUNT_TOO_LARGE);
  return static_cast<int32_t>(count);
}

void readCommandLine(int argumentCount, char* const* arguments) {
  // The first argument that is wrong is the one that is told.
  if (argumentCount <= MAX_SECGROUP_SLOTS || argumentCount > TRACE_FILE + 1)
    exitWithUsageError(WRONG_NUMBER_OF_ARGUMENTS);
  // Room is left for the ending of the work file, which is put together from this name.
  copyName(input_ldif_filename, sizeof input_ldif_filename - strlen(WORK_FILE_ENDING), arguments[INPUT]);
  copyName(output_ldif_filename, sizeof output_ldif_filename, arguments[OUTPUT]);
  copyName(temp_input_ldif_filename, sizeof temp_input_ldif_filename, input_ldif_filename);
  appendBounded(temp_input_ldif_filename, sizeof temp_input_ldif_filename, WORK_FILE_ENDING);
  max_number_of_secuser_slots = readSlotCount(arguments[MAX_SECUSER_SLOTS]);
  max_number_of_secgroup_slots = readSlotCount(arguments[MAX_SECGROUP_SLOTS]);
  debug = argumentCount > TRACE_FILE ? 1 : 0;
  // A fifth argument switches tracing on, whatever it is.
  if (debug != 0) copyName(debugFileName, sizeof debugFileName, arguments[TRACE_FILE]);
}
