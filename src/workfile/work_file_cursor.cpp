#include "workfile/work_file_cursor.h"

#include <cinttypes>
#include <cstring>

#include "ldif/line_reader.h"
#include "ldif/object_buffer.h"
#include "reporting/reporting.h"
#include "rules/text.h"
#include "workfile/notes.h"

static void exitUnlessSet(const char* call, int32_t rc) {
  if (rc != 0) exitWithMessage(POSITION_CALL_FAILED, call, rc);
}

FilePosition requirePosition(const Stream* stream) {
  FilePosition position = 0;
  exitUnlessSet("fgetpos()", getPosition(stream, &position));
  return position;
}

void requireMoveTo(Stream* stream, FilePosition position) { exitUnlessSet("fsetpos()", setPosition(stream, position)); }

static int32_t readObject(Stream* stream) {
  // All that has been taken is blank lines by now, in a late pass most of the file.
  skipBlankLines(stream, NEXT_LINE_SIZE - 1);
  lastObjectExtent = {};
  lastObjectExtent.readFrom = filePositionBeforeReadingObject;
  const int32_t result = readLinesOfObject(stream, false, lastObjectExtent);
  lastObjectExtent.end = requirePosition(stream);
  if (lastObjectExtent.hasChangetype) changetypeSeen = 1;
  // The stream is put back and then moved on, and its window with it: the lines must not depend on it.
  keepObjectApart();
  return readFailed(stream) ? OBJECT_NOT_READABLE : result;
}

static void traceRestoredPosition(Stream* stream, int32_t readResult) {
  if (debug == 0) return;
  if (getPosition(stream, &filePositionAfterReadingObject) != 0) {
    traceLine("getNextObjectFromTemporaryInputLDIFFile():  fgetpos() failed with rc = %d (dec)  \n", readResult);
    return;
  }
  filePositionAfterReadingObject_ftell = filePositionAfterReadingObject;
  traceLine("getNextObjectFromTemporaryInputLDIFFile():  filePositionBeforeReadingObject = %" PRId64 "  \n",
            filePositionBeforeReadingObject_ftell);
  traceLine("                                            filePositionAfterReadingObject = %" PRId64 "  \n",
            filePositionAfterReadingObject_ftell);
  traceLine(
      "                                            THESE VALUES SHOULD BE EQUAL SINCE THIS FUNCTION RESTORES THE FILE    \n");
  traceLine(
      "                                            POSITION TO THE BEGINNING OF THE OBJECT THAT IT READS.                \n");
}

int32_t getNextObjectFromTemporaryInputLDIFFile(Stream* stream) {
  traceLine("getNextObjectFromTemporaryInputLDIFFile():  FUNCTION ENTRY  \n");
  freeObject();
  notedObject = nullptr;
  int32_t rc = getPosition(stream, &filePositionBeforeReadingObject);
  if (rc != 0) {
    traceLine("getNextObjectFromTemporaryInputLDIFFile():  fgetpos() failed with rc = %d (dec)  \n", rc);
    exitWithMessage(POSITION_CALL_FAILED, "fgetpos()", rc);
  }
  filePositionBeforeReadingObject_ftell = filePositionBeforeReadingObject;
  traceLine("getNextObjectFromTemporaryInputLDIFFile():  filePositionBeforeReadingObject = %" PRId64 "  \n",
            filePositionBeforeReadingObject_ftell);

  rc = readObject(stream);

  traceLine("\ngetNextObjectFromTemporaryInputLDIFFile():  The object read is:   \n");
  traceObject();
  if (setPosition(stream, filePositionBeforeReadingObject) != 0) {
    // Kept: the number shown is the result of the read, not that of the failed call.
    traceLine("getNextObjectFromTemporaryInputLDIFFile():  fsetpos() failed with rc = %d (dec)  \n", rc);
    concerning(firstLineOfObject());
    exitWithMessage(POSITION_CALL_FAILED, "fsetpos()", rc);
  }
  traceRestoredPosition(stream, rc);
  traceLine("getNextObjectFromTemporaryInputLDIFFile():  Returning rc = %d \n", rc);
  traceLine("                                            next_available_object_slot = %d \n",
            next_available_object_slot);
  traceLine("getNextObjectFromTemporaryInputLDIFFile():  FUNCTION EXIT   \n");
  return rc;
}

static int32_t positionCallFailed(const char* call, int32_t rc) {
  issueMessage(POSITION_CALL_FAILED, call, rc);
  return -1;
}

// Writes the blanked form of nextLine over the line that begins at the given position. Returns 0 or -1.
static int32_t blankOutNextLine(Stream* stream, int64_t lineStart) {
  const int32_t rc = setPosition(stream, lineStart);
  if (rc != 0) return positionCallFailed("fsetpos()", rc);
  // Kept: a line with a NUL is blanked up to it only, and the rest of it is another line from then on.
  nextLine[blankLine(nextLine, strlen(nextLine))] = '\0';
  return writeText(stream, nextLine);
}

static int32_t blankOutObject(Stream* stream) {
  skipBlankLines(stream, NEXT_LINE_SIZE - 1);
  for (int32_t lines = 0;;) {
    int64_t lineStart = 0;
    const int32_t rc = getPosition(stream, &lineStart);
    if (rc != 0) return positionCallFailed("fgetpos()", rc);
    // The end of the file ends the entry, too.
    if (getNextLine(nextLine, stream) != 0) return 0;
    if (!isBlankLine(nextLine)) {
      ++lines;
      if (blankOutNextLine(stream, lineStart) != 0) return -1;
      // Blank lines before the entry do not end it.
    } else if (lines > 0) {
      return 0;
    }
  }
}

int32_t deleteNextObjectFromTemporaryInputLDIFFile(Stream* stream) {
  traceLine("deleteNextObjectFromTemporaryInputLDIFFile():  FUNCTION ENTRY  \n");
  const int32_t debugBefore = debug;
  // Kept: the lines are not traced one by one while they are blanked out.
  debug = 0;
  int32_t result = 0;
  if (notedObject != nullptr)
    // The file is changed only if the run fails, just before it says so: a run that succeeds removes it anyway.
    notedObject->isTaken = 1;
  else
    result = blankOutObject(stream);
  debug = debugBefore;
  traceLine(result == 0 ? "deleteNextObjectFromTemporaryInputLDIFFile():  FUNCTION EXIT  \n"
                        : "deleteNextObjectFromTemporaryInputLDIFFile():  FUNCTION EXIT ERROR  \n");
  return result;
}

static void traceSteppedLine(bool isBlank, int32_t lines) {
  if (debug == 0) return;
  traceLine("\nstepOverNextObjectFromTemporaryInputLDIFFile() - The next line returned from getNextLine() is:   \n");
  traceLine("%s \n", nextLine);
  traceLine("The line read contains %d characters \n", static_cast<int>(strlen(nextLine)));
  if (!isBlank) {
    traceLine("stepOverNextObjectFromTemporaryInputLDIFFile() - The line IS NOT a blank line.   \n");
    traceLine("stepOverNextObjectFromTemporaryInputLDIFFile() - This is an actual line of the object  \n");
    return;
  }
  traceLine("stepOverNextObjectFromTemporaryInputLDIFFile() - The line IS a blank line.   \n");
  if (lines == 0) {
    traceLine("stepOverNextObjectFromTemporaryInputLDIFFile() - This blank line precedes the object   \n");
  } else {
    traceLine("stepOverNextObjectFromTemporaryInputLDIFFile() - This blank line terminates the object   \n");
    traceLine("                                                 and will cause this function to return.  \n");
  }
}

static void stepOverObject(Stream* stream) {
  FilePosition position = 0;
  // Where the entry that has just been read ends is known, unless odd lines make stepping over differ from reading.
  const bool isLastNext = lastObjectExtent.end > 0 && !lastObjectExtent.hasOddLines &&
                          getPosition(stream, &position) == 0 && position == lastObjectExtent.readFrom;
  if (debug == 0 && isLastNext) {
    requireMoveTo(stream, lastObjectExtent.end);
    return;
  }
  if (debug == 0) skipBlankLines(stream, NEXT_LINE_SIZE - 1);  // while tracing, every line is shown
  for (int32_t lines = 0; getNextLine(nextLine, stream) == 0;) {
    const bool isBlank = isBlankLine(nextLine);
    traceSteppedLine(isBlank, lines);
    if (!isBlank) {
      ++lines;
    } else if (lines > 0) {
      return;
    }
  }
  traceLine("stepOverNextObjectFromTemporaryInputLDIFFile():  getNextLine() has reached EOF.  Exiting loop. \n");
}

static void rememberFirstStepOver(FilePosition position) {
  filePositionOfFirstObjectSteppedOver = position;
  filePositionOfFirstObjectSteppedOver_ftell = position;
  hasTheStepOverFilePositionBeenInitialized = 1;
}

int32_t stepOverNextObjectFromTemporaryInputLDIFFile(Stream* stream) {
  traceLine("stepOverNextObjectFromTemporaryInputLDIFFile():  FUNCTION ENTRY  \n");
  // The next pass need not know where to begin: it goes by the notes.
  if (notedObject != nullptr) return 0;
  // The first one of a pass: there the next pass begins.
  if (hasTheStepOverFilePositionBeenInitialized == 0) {
    FilePosition position = 0;
    const int32_t rc = getPosition(stream, &position);
    if (rc != 0) {
      traceLine("stepOverNextObjectFromTemporaryInputLDIFFile():  fgetpos() failed with rc = %d (dec)  \n", rc);
      return positionCallFailed("fgetpos()", rc);
    }
    rememberFirstStepOver(position);
  }
  stepOverObject(stream);
  traceLine("stepOverNextObjectFromTemporaryInputLDIFFile():  FUNCTION EXIT \n");
  return 0;
}
