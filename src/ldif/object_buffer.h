// The entry buffer: the one entry being worked on. Refilled by getNextObject and the work-file reader,
// appended to by tweekObjectInObjectArray and mergeObjects, emptied by freeObject and the cache moves.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ldif/colon_search.h"
#include "platform/stream.h"

constexpr int32_t OBJECT_ARRAY_SIZE = 250000;  // slots

// Lines as read, line end included; line 0 is the dn: line; null after the last filled slot. The buffer owns
// its lines until a cache move takes them over.
inline char* object[OBJECT_ARRAY_SIZE];

// Number of filled slots.
inline int32_t next_available_object_slot = 0;

// What is known of the lines: their length, and their colons once colonsOfObject has been asked for them; until then
// the text is null.
inline ColonLine objectColons[OBJECT_ARRAY_SIZE];

// Returns the line in a filled slot with its length and colons, found at the first call.
inline const ColonLine& colonsOfObject(int32_t slot) {
  ColonLine& line = objectColons[slot];
  if (line.text == nullptr) line = ColonLine(object[slot], line.length);
  return line;
}

// getNextObject's result for an entry too long for the buffer, which has gone straight to the output.
constexpr int32_t OBJECT_COPIED_TO_OUTPUT = 99;

// Number of entries that getNextObject has read.
inline int64_t objectsRead = 0;

// Reads the next entry of the input. Returns 0 when a blank line ended it; -1 at the end of the file, with
// the last entry in the buffer if the file does not end in a blank line, else with a count of 0;
// OBJECT_COPIED_TO_OUTPUT for an entry of 250,000 lines or more, the buffer being empty. Ends the run when
// the position cannot be taken or restored, or memory is exhausted.
int32_t getNextObject(Stream* stream);

// Cuts the line in a slot at its first carriage return or newline.
void cutLineEndOfObject(int32_t slot);

// Forgets what is known of the line in a slot, which has been changed in place.
void objectLineHasChanged(int32_t slot);

// Gives back the lines up to the first null slot and nulls the slots. Leaves the count alone: the caller sets it.
void freeObject();

// Appends a copy of nextLine or of another line, or a line whose ownership passes to the buffer. Ends the run with
// PROCESSING_FAILED when the buffer is full.
void storeNextLine(const char* allocationFailureLine);
void copyLineToObject(const ColonLine& line, const char* allocationFailureLine);
void appendLineToObject(char* line);

// Traces every line of the entry, up to the first null slot, as "   object[%d] = %s".
void traceObject();

// Returns line 0, or null when the buffer is empty.
const char* firstLineOfObject();
