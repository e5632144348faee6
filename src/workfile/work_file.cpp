#include "workfile/work_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "reporting/interruption.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"

// Beside the input, in the folder in which that has been found.
static Place placeOfWorkFile() {
  const char* slash = strrchr(temp_input_ldif_filename, '/');
  return {inputFile.place.folder, slash == nullptr ? temp_input_ldif_filename : slash + 1};
}

// Why what an earlier run has left cannot be opened; empty when it could, or there was nothing.
static char earlierProblem[sizeof messageReason];

bool holdEarlierWorkFile() {
  const Place place = placeOfWorkFile();
  struct stat status;
  earlierProblem[0] = '\0';
  if (fstatat(place.folder, place.name, &status, AT_SYMLINK_NOFOLLOW) != 0 && errno == ENOENT) return true;
  if (openHeldFile(place, OPEN_FOR_UPDATE, PRIVATE_FILE, workFile)) return lockFile(workFile, temp_input_ldif_filename);
  snprintf(earlierProblem, sizeof earlierProblem, "%s", messageReason);
  messageReason[0] = '\0';
  return true;
}

int64_t sizeOfEarlierWorkFile() {
  struct stat status;
  return workFile.descriptor >= 0 && fstat(workFile.descriptor, &status) == 0 ? status.st_size : -1;
}

// A file that has been laid there since the run began has not been announced, and is not converted.
static bool createWorkFile() {
  if (earlierProblem[0] != '\0') return failWith(earlierProblem);
  if (!openHeldFile(placeOfWorkFile(), OPEN_OR_CREATE, PRIVATE_FILE, workFile)) return false;
  return workFile.isNew ? lockFile(workFile, temp_input_ldif_filename) : failWith(CHANGED_BY_OTHERS);
}

static bool isEarlierWorkFileUnchanged() {
  return sizeOfEarlierWorkFile() == runCounts.bytesOfEarlierWorkFile || failWith(CHANGED_BY_OTHERS);
}

void openWorkFileForAppending(bool isTracing) {
  // A signal between the making of the file and the note that it has to be removed would leave it behind.
  holdSignals();
  const bool isReady = workFile.descriptor < 0 ? createWorkFile() : isEarlierWorkFileUnchanged();
  if (isReady) tifp = openStream(duplicateDescriptor(workFile.descriptor), STREAM_AT_END);
  workFileIsToBeRemoved = tifp != nullptr && !isTracing ? 1 : 0;
  letSignalsThrough();
  if (tifp != nullptr) return;
  // What could not be used must not be taken for an earlier run's by the next one.
  removeEmptyFile(workFile);
  exitWithMessage(FILE_NOT_OPENED, temp_input_ldif_filename);
}

[[noreturn]] static void exitForChange() {
  reportError("main():  ERROR:  The work file is not as it was left.  EXITING. \n");
  exitWithMessage(OBJECT_NOT_READ, temp_input_ldif_filename);
}

int32_t closeAppendedWorkFile() {
  getPosition(tifp, &workFileLength);  // cannot fail: it has been positioned at its end
  // If it could not be written, the caller says so.
  if (flushStream(tifp) == 0 && !hasItsSize(tifp)) exitForChange();
  return closeStream(tifp);
}

// Returns false, with the reason in messageReason, when the open file is not the one that the preparation pass has
// left.
static bool isAsItWasLeft(int descriptor) {
  struct stat status;
  struct stat left;
  if (fstat(descriptor, &status) != 0 || fstat(workFile.descriptor, &left) != 0) return failWith();
  return (isSame(status, left) && status.st_size == workFileLength) || failWith(CHANGED_BY_OTHERS);
}

bool isWorkFileAsItWasLeft() { return isAsItWasLeft(workFile.descriptor); }

bool reopenWorkFile() {
  HeldFile file;
  if (!openHeldFile(workFile.place, OPEN_FOR_UPDATE, PRIVATE_FILE, file)) return false;
  if (!isAsItWasLeft(file.descriptor)) exitForChange();
  tifp = openStream(file.descriptor, STREAM_OF_FIXED_SIZE);
  return tifp != nullptr;
}

// Returns false, with the reason in messageReason and errno as it was set, when the name does not lead to the work
// file.
static bool isUnderItsName() {
  struct stat named;
  struct stat status;
  const bool isKnown = fstatat(workFile.place.folder, workFile.place.name, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
                       fstat(workFile.descriptor, &status) == 0;
  if (!isKnown) return failWith();
  errno = 0;
  return isSame(named, status) || failWith(CHANGED_BY_OTHERS);
}

// Kept: a last line of one character without a newline is blanked out to two, so the file grows by one.
static void takeLength() {
  if (tifp != nullptr && flushStream(tifp) == 0) workFileLength = std::max(workFileLength, sizeGiven(tifp));
}

void requireUnchangedWorkFile() {
  takeLength();
  if (isUnderItsName() && isAsItWasLeft(workFile.descriptor)) return;
  // errno is 0 unless a call has failed: a file that is gone has a message of its own.
  if (errno != ENOENT) exitForChange();
  reportError("main():  ERROR:  The work file is gone.  EXITING. \n");
  exitWithMessage(FILE_NOT_OPENED, temp_input_ldif_filename);
}

void closeWorkFile() {
  if (closeStream(tifp) == 0) return;
  requireUnchangedWorkFile();
  exitWithMessage(WRITE_FAILED, temp_input_ldif_filename);
}

bool removeWorkFile() {
  return isUnderItsName() && (unlinkat(workFile.place.folder, workFile.place.name, 0) == 0 || failWith());
}
