// The work file as a file: there from the preparation pass to the end of the run, always the same one, and always of
// the length that the preparation pass has given it.
#pragma once

#include <cstdint>

#include "platform/stream.h"

// Opens and locks the work file that an earlier run has left, if there is one. Returns false, with the reason in
// messageReason, when another run is using it. What cannot be opened is left to openWorkFileForAppending to tell.
bool holdEarlierWorkFile();

// Returns the size of the work file that an earlier run has left, or -1 when there is none.
int64_t sizeOfEarlierWorkFile();

// Makes tifp, for appending to the work file of an earlier run or to a new one, which is locked. A signal finds the
// work file either not yet there or marked as the run's own. Ends the run with FILE_NOT_OPENED when it cannot be opened
// or something else has been laid in its place or has changed it.
void openWorkFileForAppending(bool isTracing);

// Closes tifp behind the preparation pass and remembers how long the file has become. Returns 0, or -1 when something
// written may not be in the file. Ends the run with OBJECT_NOT_READ when something else has changed the file.
int32_t closeAppendedWorkFile();

// Opens the work file once more, by its name, as tifp. Returns false, with the reason in messageReason, when it cannot
// be opened. Ends the run with OBJECT_NOT_READ when it is not what the preparation pass has left.
bool reopenWorkFile();

// Returns false, with the reason in messageReason, when the work file is not of the length that the preparation pass
// has given it.
bool isWorkFileAsItWasLeft();

// Ends the run with OBJECT_NOT_READ when something else has changed the work file, or put another one in its place, and
// with FILE_NOT_OPENED when it is gone.
void requireUnchangedWorkFile();

// Closes tifp. Ends the run with WRITE_FAILED when something written may not be in the file, and as
// requireUnchangedWorkFile does.
void closeWorkFile();

// Removes the work file, and no other file, from the folder in which it was made. Returns false with the reason in
// messageReason.
bool removeWorkFile();
