#include "driver/command_line.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "driver/reporting.h"
#include "driver/run_state.h"
#include "ldif/text.h"
#include "platform/file_operations.h"
#include "platform/message_details.h"

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

// A run must never destroy its own input, nor write two things into one file.
static void requireDistinctFiles(bool isTracing) {
  const char* names[] = {input_ldif_filename, output_ldif_filename, temp_input_ldif_filename, debugFileName,
                         PRESERVED_WORK_FILE};
  const size_t count = isTracing ? 5 : 3;
  for (size_t i = 0; i < count; ++i)
    for (size_t j = i + 1; j < count; ++j)
      if (isSameFile(names[i], names[j])) {
        snprintf(messageReason, sizeof messageReason, "two names lead to the same file: %.200s and %.200s", names[i],
                 names[j]);
        exitWithMessage(USAGE_ERROR);
      }
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
  const bool isTracing = argumentCount > TRACE_FILE;
  if (isTracing) copyName(debugFileName, sizeof debugFileName, arguments[TRACE_FILE]);
  requireDistinctFiles(isTracing);
  debug = isTracing ? 1 : 0;
  takePermissionsFrom(input_ldif_filename);
}
