#include "driver/run_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <span>
#include <string_view>

#include "platform/file_operations.h"
#include "platform/message_service.h"
#include "reporting/reporting.h"
#include "reporting/run_state.h"
#include "workfile/work_file.h"

// Why the output could not be opened; empty when it was.
static char outputProblem[sizeof messageReason];

// A name and, once it is open, the file that it leads to.
struct Role {
  const char* name;
  const HeldFile* file;  // null for one that is opened later
};

static const Role roles[] = {{input_ldif_filename, &inputFile},
                             {output_ldif_filename, &outputFile},
                             {temp_input_ldif_filename, &workFile},
                             {debugFileName, &traceFile},
                             {PRESERVED_WORK_FILE, nullptr}};

// The roles of this run: without a trace the last two are not played.
static std::span<const Role> rolesOfRun() {
  constexpr size_t WITHOUT_TRACE = 3;
  return {roles, debug != 0 ? std::size(roles) : WITHOUT_TRACE};
}

// Returns false when there is no such regular file.
static bool statusOf(const Role& role, struct stat& status) {
  const bool isOpen = role.file != nullptr && role.file->descriptor >= 0;
  const int result = isOpen ? fstat(role.file->descriptor, &status) : stat(role.name, &status);
  return result == 0 && S_ISREG(status.st_mode);
}

static bool isPlayedTwice(const Role& role, const Role& other) {
  struct stat status;
  struct stat otherStatus;
  const bool exists = statusOf(role, status);
  const bool otherExists = statusOf(other, otherStatus);
  // What is open is compared as it is: its name may lead to something else by now.
  return exists && otherExists ? isSame(status, otherStatus) : isSameFile(role.name, other.name);
}

static void giveUpNewFiles() {
  removeEmptyFile(outputFile);
  removeEmptyFile(traceFile);
}

[[noreturn]] static void exitWithUsageError(DetailText problem, std::string_view name, std::string_view other = {}) {
  giveUpNewFiles();
  failWith(problem);
  messageDetails = {.values = {name, other}};
  exitWithMessage(USAGE_ERROR);
}

// As much of a name is shown where the usage follows.
static constexpr size_t LONGEST_NAME = 400;
static std::string_view cut(const char* name, size_t length) { return {name, strnlen(name, length)}; }

// Returns the role whose file a standard stream leads to, or null. Pipes, terminals and devices count as no file.
static const Role* findRoleOfStream(int descriptor) {
  struct stat stream;
  if (fstat(descriptor, &stream) != 0 || !S_ISREG(stream.st_mode)) return nullptr;
  for (const Role& role : rolesOfRun()) {
    struct stat status;
    if (statusOf(role, status) && isSame(status, stream)) return &role;
  }
  return nullptr;
}

// What is shown would get into the file, and not even the message that says so may.
static void routeErrorsAround(const Role* outputRole, const Role* errorRole) {
  if (errorRole == nullptr) return;
  char route[] = "ERROR:STDOUT";
  int32_t status = 0;
  zr_svc_routing(route, &status);
  // Where the run must not show anything in either stream, it ends without a word.
  const int nullDevice = outputRole != nullptr ? open("/dev/null", O_RDWR | O_CLOEXEC) : -1;
  if (nullDevice >= 0) dup2(nullDevice, STDOUT_FILENO);
}

static void requireStreamsApart() {
  const Role* output = findRoleOfStream(STDOUT_FILENO);
  const Role* error = findRoleOfStream(STDERR_FILENO);
  routeErrorsAround(output, error);
  if (error != nullptr) exitWithUsageError(STANDARD_ERROR_USED, cut(error->name, LONGEST_NAME));
  if (output != nullptr) exitWithUsageError(STANDARD_OUTPUT_USED, cut(output->name, LONGEST_NAME));
}

// A run must never destroy its own input, nor write two things into one file. Asked before anything is opened, so that
// no file is made in vain, and again of the open files, because a name can be given to another file at any time.
static void requireDistinctFiles() {
  const auto played = rolesOfRun();
  for (size_t i = 0; i < played.size(); ++i)
    for (size_t j = i + 1; j < played.size(); ++j)
      if (isPlayedTwice(played[i], played[j]))
        exitWithUsageError(SAME_FILE, cut(played[i].name, LONGEST_NAME / 2), cut(played[j].name, LONGEST_NAME / 2));
  requireStreamsApart();
}

[[noreturn]] static void exitForFile(const char* name) {
  giveUpNewFiles();
  exitWithMessage(FILE_NOT_OPENED, name);
}

static void keepProblem(char (&problem)[sizeof messageReason]) {
  snprintf(problem, sizeof problem, "%s", messageReason);
  messageReason[0] = '\0';
}

static void openInput() {
  Place place;
  if (openPlace(input_ldif_filename, place) && openHeldFile(place, OPEN_FOR_UPDATE, REGULAR_FILE, inputFile)) {
    // Before anything is made: the other run may be about to open it.
    if (!lockFile(inputFile, input_ldif_filename)) exitForFile(input_ldif_filename);
    if (!holdEarlierWorkFile()) exitForFile(temp_input_ldif_filename);
  } else {
    // Told where the input is needed, behind the first notices (workfile/input_file.cpp).
    keepProblem(inputProblem);
  }
}

static void openTrace() {
  if (debug == 0) return;
  Place place;
  if (!openPlace(debugFileName, place) || !openHeldFile(place, OPEN_OR_CREATE, PRIVATE_FILE_OR_DEVICE, traceFile))
    exitForFile(debugFileName);
}

static void openOutput() {
  // Told in requireOpenOutput.
  if (!openOrCreateByPath(output_ldif_filename, OPEN_TO_WRITE, outputFile)) keepProblem(outputProblem);
}

void openFilesOfRun() {
  requireDistinctFiles();
  openInput();
  openTrace();
  openOutput();
  requireDistinctFiles();
  // Behind the question of roles: a file that plays two of them would seem to be used by another run.
  if (outputFile.descriptor >= 0 && !lockFile(outputFile, output_ldif_filename)) exitForFile(output_ldif_filename);
  if (traceFile.descriptor >= 0 && !lockFile(traceFile, debugFileName)) exitForFile(debugFileName);
}

void requireOpenOutput() {
  if (outputProblem[0] == '\0') return;
  traceLine("main() - Unable to open output file %s.  Exiting. \n", output_ldif_filename);
  snprintf(messageReason, sizeof messageReason, "%s", outputProblem);
  exitWithMessage(FILE_NOT_OPENED, output_ldif_filename);
}
