#include "ldif/object_buffer.h"

#include "driver/reporting.h"
#include "ldif/line_memory.h"
#include "ldif/line_reader.h"
#include "ldif/text.h"
// The one step up from here: an entry that is too long for the buffer is copied out at the moment it shows.
#include "workfile/oversized_object_copy.h"

static constexpr char MALLOC_FAILURE[] = "getNextObject():  malloc() failure.  EXITING. \n";

static void requireFreeSlot() {
  if (next_available_object_slot < OBJECT_ARRAY_SIZE) return;
  reportError("appendLineToObject():  ERROR:  The entry has more lines than the entry buffer.  EXITING. \n");
  exitForObject(PROCESSING_FAILED);
}

void appendLineToObject(char* line) {
  requireFreeSlot();
  object[next_available_object_slot++] = line;
}

void storeNextLine(const char* allocationFailureLine) {
  requireFreeSlot();
  appendLineToObject(copyLine(nextLine, allocationFailureLine));
}

void freeObject() {
  for (int32_t i = 0; i < OBJECT_ARRAY_SIZE && object[i] != nullptr; ++i) {
    freeLine(object[i]);
    object[i] = nullptr;
  }
}

const char* firstLineOfObject() { return next_available_object_slot > 0 ? object[0] : nullptr; }

void exitForObject(MessageCode code) {
  concerning(firstLineOfObject());
  exitWithMessage(code);
}

void traceObject() {
  if (debug == 0) return;
  for (int32_t i = 0; i < OBJECT_ARRAY_SIZE && object[i] != nullptr; ++i) traceLine("   object[%d] = %s", i, object[i]);
}

static void rewindTo(Stream* stream, int64_t position) {
  const int32_t rc = setPosition(stream, position);
  if (rc == 0) return;
  traceLine("getNextObject():  fsetpos() failed with rc = %d (dec)  \n", rc);
  concerning(firstLineOfObject());
  exitWithMessage(POSITION_CALL_FAILED, "fsetpos()", rc);
}

// Reads lines into the empty buffer until the entry ends.
static int32_t readObject(Stream* stream, int64_t positionBeforeObject) {
  while (getNextLine(nextLine, stream) == 0) {
    if (isBlankLine(nextLine)) {
      if (next_available_object_slot > 0) return 0;
    } else if (nextLine[0] != '#') {
      storeNextLine(MALLOC_FAILURE);
      if (next_available_object_slot == OBJECT_ARRAY_SIZE) {
        rewindTo(stream, positionBeforeObject);
        freeObject();
        next_available_object_slot = 0;
        moveNextObjectToOutputLDIFFile();
        return OBJECT_COPIED_TO_OUTPUT;
      }
    }
  }
  return -1;
}

int32_t getNextObject(Stream* stream) {
  traceLine("getNextObject():  FUNCTION ENTRY  \n");
  next_available_object_slot = 0;
  freeObject();
  int64_t filePositionBeforeObject = 0;
  const int32_t rc = getPosition(stream, &filePositionBeforeObject);
  if (rc != 0) {
    traceLine("getNextObject():  fgetpos() failed with rc = %d (dec)  \n", rc);
    exitWithMessage(POSITION_CALL_FAILED, "fgetpos()", rc);
  }
  traceLine("getNextObject():  filePositionBeforeReadingObject = %ld  \n", static_cast<long>(filePositionBeforeObject));

  const int32_t result = readObject(stream, filePositionBeforeObject);

  traceLine("\ngetNextObject():  The object read is:   \n");
  traceObject();
  traceLine("getNextObject():  Returning %d \n", result);
  traceLine("getNextObject():  FUNCTION EXIT   \n");
  return result;
}
