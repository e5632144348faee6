#include "ldif/object_buffer.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "ldif/complaint.h"
#include "ldif/line_memory.h"
#include "ldif/line_reader.h"
#include "ldif/text.h"
#include "reporting/reporting.h"
// The one step up from here: an entry that is too long for the buffer is copied out at the moment it shows.
#include "ldif/oversized_object_copy.h"

static constexpr char MALLOC_FAILURE[] = "getNextObject():  malloc() failure.  EXITING. \n";

static void requireFreeSlot() {
  if (next_available_object_slot < OBJECT_ARRAY_SIZE) return;
  reportError("appendLineToObject():  ERROR:  The entry has more lines than the entry buffer.  EXITING. \n");
  exitForObject(ENTRY_TOO_LONG);
}

static void append(char* line, const ColonLine& known) {
  objectColons[next_available_object_slot] = known;
  object[next_available_object_slot++] = line;
}

// Returns what is known of a line before its colons have been looked for.
static ColonLine lineOfLength(size_t length) {
  ColonLine line;
  line.length = length;
  return line;
}

void appendLineToObject(char* line) {
  requireFreeSlot();
  append(line, lineOfLength(strlen(line)));
}

void storeNextLine(const char* allocationFailureLine) {
  requireFreeSlot();
  append(copyLine(nextLine, nextLineLength, allocationFailureLine), lineOfLength(nextLineLength));
}

void copyLineToObject(const ColonLine& line, const char* allocationFailureLine) {
  requireFreeSlot();
  char* copy = copyLine(line.text, line.length, allocationFailureLine);
  ColonLine known = line;
  known.text = copy;
  if (line.firstColon != nullptr) known.firstColon = copy + (line.firstColon - line.text);
  append(copy, known);
}

void objectLineHasChanged(int32_t slot) { objectColons[slot] = lineOfLength(strlen(object[slot])); }

void cutLineEndOfObject(int32_t slot) {
  ColonLine& line = objectColons[slot];
  const std::string_view text(object[slot], line.length);
  const size_t length = std::min(text.find('\n'), text.find('\r'));
  if (length == std::string_view::npos) return;
  const bool losesColon = text.find(':', length) != std::string_view::npos;
  object[slot][length] = '\0';
  if (losesColon) line = lineOfLength(length);
  line.length = length;
}

void freeObject() {
  int32_t count = 0;
  while (count < OBJECT_ARRAY_SIZE && object[count] != nullptr) ++count;
  while (count > 0) {  // the last one first, so that its memory can be used again at once
    freeLine(object[--count]);
    object[count] = nullptr;
  }
}

const char* firstLineOfObject() { return next_available_object_slot > 0 ? object[0] : nullptr; }

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
  if (next_available_object_slot > 0 || result == OBJECT_COPIED_TO_OUTPUT) ++objectsRead;

  traceLine("\ngetNextObject():  The object read is:   \n");
  traceObject();
  traceLine("getNextObject():  Returning %d \n", result);
  traceLine("getNextObject():  FUNCTION EXIT   \n");
  return result;
}
