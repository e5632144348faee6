// The walk over the work file, entry by entry. An entry is first read without moving the stream; then it is
// either blanked out in place, because it has been taken, or stepped over, to be met again in the next pass.
// The file never changes its length or its line ends during the passes, so positions stay valid for the run.
#pragma once

#include <cstdint>

#include "ldif/object_buffer.h"
#include "platform/stream.h"

// A byte offset in the work file.
using FilePosition = int64_t;

// Where the entry read last, or the blank lines before it, begins; and, while tracing, where the stream stood
// after the read had put it back. The _ftell twins are what the trace shows.
inline FilePosition filePositionBeforeReadingObject = 0;
inline int64_t filePositionBeforeReadingObject_ftell = 0;
inline FilePosition filePositionAfterReadingObject = 0;
inline int64_t filePositionAfterReadingObject_ftell = 0;

// Where the entry read last stands, so that it can be blanked out or stepped over without being read once more.
inline ObjectExtent lastObjectExtent = {};

// Where the first entry stepped over in this pass, or the blank lines before it, begins: the next pass starts
// there. Valid while the flag is 1; the run driver reads the position and clears the flag.
inline FilePosition filePositionOfFirstObjectSteppedOver = 0;
inline int64_t filePositionOfFirstObjectSteppedOver_ftell = 0;
inline int32_t hasTheStepOverFilePositionBeenInitialized = 0;

// getNextObjectFromTemporaryInputLDIFFile's result when the file cannot be read.
constexpr int32_t OBJECT_NOT_READABLE = -2;

// Return, or set, the position of a stream. End the run with POSITION_CALL_FAILED when that fails.
FilePosition requirePosition(const Stream* stream);
void requireMoveTo(Stream* stream, FilePosition position);

// Fills the entry buffer with the next entry and puts the stream back where it stood. Returns 0 when a blank
// line ended the entry; -1 at the end of the file, with the last entry in the buffer or, when no entry is
// left, a count of 0; OBJECT_NOT_READABLE when a read failed. Ends the run when a position call fails, memory
// is exhausted or the entry has more lines than the buffer.
int32_t getNextObjectFromTemporaryInputLDIFFile(Stream* stream);

// Blanks the next entry out in place; leaves the stream after it. Returns 0 (end of file included). Returns -1
// when a position call fails (message POSITION_CALL_FAILED has been issued) or a write fails (nothing issued);
// either way the caller issues PROCESSING_FAILED. Writes are collected: one that fails may show only at a later
// entry or when the stream is closed. Of an entry that has been loaded by its note only the note is changed.
int32_t deleteNextObjectFromTemporaryInputLDIFFile(Stream* stream);

// Moves the stream past the next entry; the first call of a pass remembers where it started. Returns 0 (end of
// file included), or -1 when a position call fails (message POSITION_CALL_FAILED has been issued). With an entry that
// has been loaded by its note there is nothing to do.
int32_t stepOverNextObjectFromTemporaryInputLDIFFile(Stream* stream);
