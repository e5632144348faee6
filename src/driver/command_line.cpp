#include "driver/command_line.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/bounded_text.h"
#include "reporting/reporting.h"
#include "reporting/run_state.h"

// Where each argument stands.
enum { INPUT = 1, OUTPUT, MAX_SECUSER_SLOTS, MAX_SECGROUP_SLOTS, TRACE_FILE };

[[noreturn]] static void exitWithUsageError(const char* problem) {
  snprintf(messageReason, sizeof messageReason, "%s", problem);
  exitWithMessage(USAGE_ERROR);
}

static void copyName(char* buffer, size_t size, const char* name) {
  if (!copyBounded(buffer, size, name)) exitWithUsageError("a file name is too long");
}

static int32_t readSlotCount(const char* argument) {
  const long count = strtol(argument, nullptr, 10);
  if (count < 1) exitWithUsageError("a slot count must be a number of at least 1");
  if (count > INT32_MAX) exitWithUsageError("a slot count is too large");
  return static_cast<int32_t>(count);
}

void readCommandLine(int argumentCount, char* const* arguments) {
  if (argumentCount <= MAX_SECGROUP_SLOTS || argumentCount > TRACE_FILE + 1)
    exitWithUsageError("four or five arguments are expected");
  copyName(input_ldif_filename, sizeof input_ldif_filename - strlen(WORK_FILE_ENDING), arguments[INPUT]);
  copyName(output_ldif_filename, sizeof output_ldif_filename, arguments[OUTPUT]);
  copyName(temp_input_ldif_filename, sizeof temp_input_ldif_filename, input_ldif_filename);
  appendBounded(temp_input_ldif_filename, sizeof temp_input_ldif_filename, WORK_FILE_ENDING);
  max_number_of_secuser_slots = readSlotCount(arguments[MAX_SECUSER_SLOTS]);
  max_number_of_secgroup_slots = readSlotCount(arguments[MAX_SECGROUP_SLOTS]);
  debug = argumentCount > TRACE_FILE ? 1 : 0;
  if (debug != 0) copyName(debugFileName, sizeof debugFileName, arguments[TRACE_FILE]);
}
