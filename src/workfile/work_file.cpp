#include "workfile/work_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "driver/interruption.h"
#include "driver/reporting.h"
#include "driver/run_state.h"

// Beside the input, in the folder in which that has been found.
static Place placeOfWorkFile() {
  const char* slash = strrchr(temp_input_ldif_filename, '/');
  return {inputFile.place.folder, slash == nullptr ? temp_input_ldif_filename : slash + 1};
}

int64_t sizeOfEarlierWorkFile() {
  const Place place = placeOfWorkFile();
  struct stat status;
  const bool isThere = place.folder >= 0 && fstatat(place.folder, place.name, &status, AT_SYMLINK_NOFOLLOW) == 0;
  return isThere && S_ISREG(status.st_mode) ? status.st_size : -1;
}

void openWorkFileForAppending(bool isTracing) {
  holdSignals();
  const bool isOpen = openHeldFile(placeOfWorkFile(), OPEN_OR_CREATE, PRIVATE_FILE, workFile);
  const bool isOurs = isOpen && lockFile(workFile, temp_input_ldif_filename);
  if (isOpen && !isOurs) removeEmptyFile(outputFile);  // the other run finds everything as it was
  if (isOurs) tifp = openStream(duplicateDescriptor(workFile.descriptor), STREAM_AT_END);
  workFileIsToBeRemoved = tifp != nullptr && !isTracing ? 1 : 0;
  letSignalsThrough();
  if (tifp == nullptr) exitWithMessage(FILE_NOT_OPENED, temp_input_ldif_filename);
}

int32_t closeAppendedWorkFile() {
  getPosition(tifp, &workFileLength);  // cannot fail: it has been positioned at its end
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

[[noreturn]] static void exitForChange() {
  reportError("main():  ERROR:  The work file is not as it was left.  EXITING. \n");
  exitWithMessage(OBJECT_NOT_READ, temp_input_ldif_filename);
}

bool reopenWorkFile() {
  HeldFile file;
  if (!openHeldFile(workFile.place, OPEN_FOR_UPDATE, PRIVATE_FILE, file)) return false;
  if (!isAsItWasLeft(file.descriptor)) exitForChange();
  tifp = openStream(file.descriptor, STREAM_OF_FIXED_SIZE);
  return tifp != nullptr;
}

void requireUnchangedWorkFile() {
  struct stat named;
  if (fstatat(workFile.place.folder, workFile.place.name, &named, AT_SYMLINK_NOFOLLOW) != 0) {
    const bool isGone = errno == ENOENT;
    failWith();
    reportError("main():  ERROR:  The work file is gone.  EXITING. \n");
    exitWithMessage(isGone ? FILE_NOT_OPENED : OBJECT_NOT_READ, temp_input_ldif_filename);
  }
  if (!isInPlace(workFile.place, workFile.descriptor)) {
    failWith(CHANGED_BY_OTHERS);
    exitForChange();
  }
  if (!isAsItWasLeft(workFile.descriptor)) exitForChange();
}

void closeWorkFile() {
  if (closeStream(tifp) == 0) return;
  requireUnchangedWorkFile();
  exitWithMessage(WRITE_FAILED, temp_input_ldif_filename);
}

bool removeWorkFile() {
  if (!isInPlace(workFile.place, workFile.descriptor)) return failWith("something else stands in its place");
  return unlinkat(workFile.place.folder, workFile.place.name, 0) == 0 || failWith();
}
