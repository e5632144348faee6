#include "workfile/input_file.h"

#include <cstdio>

#include "reporting/reporting.h"
#include "reporting/run_state.h"

// What the input was when the preparation pass began to read it.
static struct stat stateAtOpening;

void beginInput() {
  if (inputFile.descriptor < 0) {
    // The failure is as old as the start of the run, and is told where the input is needed, behind the first notices.
    snprintf(messageReason, sizeof messageReason, "%s", inputProblem);
  } else if (fstat(inputFile.descriptor, &stateAtOpening) == 0) {
    ifp = openStream(duplicateDescriptor(inputFile.descriptor), STREAM_OF_FIXED_SIZE);
  } else {
    failWith();
  }
  if (ifp == nullptr) exitWithMessage(FILE_NOT_OPENED, input_ldif_filename);
}

int64_t inputSize() { return stateAtOpening.st_size; }

static bool isAsAtOpening(const struct stat& status) {
  return isSame(status, stateAtOpening) && status.st_size == stateAtOpening.st_size &&
         status.st_mtim.tv_sec == stateAtOpening.st_mtim.tv_sec &&
         status.st_mtim.tv_nsec == stateAtOpening.st_mtim.tv_nsec;
}

bool isInputUnchanged() {
  struct stat status;
  struct stat named;
  // Both the open file and the name: an editor changes the one and puts another file in the place of the other.
  if (fstat(inputFile.descriptor, &status) != 0 || stat(input_ldif_filename, &named) != 0) return failWith();
  return (isAsAtOpening(status) && isAsAtOpening(named)) || failWith(CHANGED_WHILE_READ);
}
