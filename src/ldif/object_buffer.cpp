#include "ldif/object_buffer.h"

#include <algorithm>

#include "ldif/complaint.h"
#include "ldif/line_reader.h"
#include "ldif/oversized_object_copy.h"
#include "reporting/reporting.h"
#include "rules/attribute.h"
#include "rules/colon_search.h"
#include "rules/line_scan.h"
#include "rules/text.h"

void appendLineToObject(const Line& line) {
  if (next_available_object_slot == OBJECT_ARRAY_SIZE) {
    reportError("appendLineToObject():  ERROR:  The entry has more lines than the entry buffer.  EXITING. \n");
    exitForObject(ENTRY_TOO_LONG);
  }
  object[next_available_object_slot++] = line;
}

void setLineOfObject(int32_t slot, std::string_view text) {
  if (slot == next_available_object_slot)
    appendLineToObject(scanLine(text));
  else
    object[slot] = scanLine(text);
}

void freeObject() {
  next_available_object_slot = 0;
  forgetTexts(objectTexts);
}

void traceObject() {
  if (debug == 0) return;
  for (int32_t i = 0; i < next_available_object_slot; ++i)
    traceLine("   object[%d] = %.*s", i, SHOWN(object[i].view()));
}

// Reading on may move what has been read.
static void moveLines(const char* from, const char* to) {
  if (from == to) return;
  for (int32_t i = 0; i < next_available_object_slot; ++i)
    object[i].text = to + (reinterpret_cast<uintptr_t>(object[i].text) - reinterpret_cast<uintptr_t>(from));
}

bool holdsChangetype(const Line& line) {
  static constexpr ColonText changetypeText = "changetype:";
  return findExactly(line, changetypeText) != NOT_FOUND;
}

static void noteLine(ObjectExtent& extent, std::string_view line, const Line& known) {
  extent.linesLength += line.size();
  if (line.back() != '\n' || line.size() != known.length) extent.isPlain = false;
  if (line.size() != known.length) extent.hasOddLines = true;
  if (holdsChangetype(known)) extent.hasChangetype = true;
}

static int64_t positionOf(const Stream* stream) {
  int64_t position = 0;
  getPosition(stream, &position);
  return position;
}

// Reads the next line, or piece of a line, NULs included; a line of no length at the end of the file or when the read
// fails. The scan is that of what has been read and not handed out.
static Line readNextObjectLine(Stream* stream, LineScan& scan) {
  Line line = takeLine(scan);
  while (line.length < LONGEST_LINE && (line.length == 0 || line.text[line.length - 1] != '\n')) {
    const char* const held = heldText(stream);
    const bool isMore = readOn(stream);
    moveLines(held, heldText(stream));
    if (!isMore && readFailed(stream)) return {};  // not the part of a line that came before
    scan = scanOf(unreadText(stream));
    line = takeLine(scan);
    if (!isMore) break;
  }
  passOver(stream, line.length);
  countLine();
  return line;
}

int32_t readLinesOfObject(Stream* stream, bool stopsWhenFull, ObjectExtent& extent) {
  extent.begin = positionOf(stream);
  extent.isPlain = true;
  holdText(stream);
  LineScan scan = scanOf(unreadText(stream));
  for (;;) {
    const Line read = readNextObjectLine(stream, scan);
    if (read.length == 0) return -1;
    const std::string_view text = upToNul(stream, read.view());
    if (isBlankLine(text)) {
      if (next_available_object_slot > 0) return 0;
      extent.hasOddLines = true;
      holdText(stream);
      continue;
    }
    const Line line = text.size() == read.length ? read : scanLine(text);
    noteLine(extent, read.view(), line);
    if (text[0] == '#') continue;
    appendLineToObject(line);
    if (stopsWhenFull && next_available_object_slot == OBJECT_ARRAY_SIZE) return OBJECT_COPIED_TO_OUTPUT;
  }
}

void keepObjectApart() {
  size_t size = 0;
  for (const Line& line : entryInObject()) size += line.length;
  char* text = makeRoom(objectTexts, size);
  for (int32_t i = 0; i < next_available_object_slot; ++i) {
    Line& line = object[i];
    char* const end = std::copy_n(line.text, line.length, text);
    line.text = text;
    text = end;
  }
}

static void rewindTo(Stream* stream, int64_t position) {
  const int32_t rc = setPosition(stream, position);
  if (rc == 0) return;
  traceLine("getNextObject():  fsetpos() failed with rc = %d (dec)  \n", rc);
  concerning(firstLineOfObject());
  exitWithMessage(POSITION_CALL_FAILED, "fsetpos()", rc);
}

int32_t getNextObject(Stream* stream) {
  traceLine("getNextObject():  FUNCTION ENTRY  \n");
  freeObject();
  giveUpHold(stream);
  int64_t filePositionBeforeObject = 0;
  const int32_t rc = getPosition(stream, &filePositionBeforeObject);
  if (rc != 0) {
    traceLine("getNextObject():  fgetpos() failed with rc = %d (dec)  \n", rc);
    exitWithMessage(POSITION_CALL_FAILED, "fgetpos()", rc);
  }
  traceLine("getNextObject():  filePositionBeforeReadingObject = %ld  \n", static_cast<long>(filePositionBeforeObject));

  ObjectExtent extent;
  const int32_t result = readLinesOfObject(stream, true, extent);
  if (result == OBJECT_COPIED_TO_OUTPUT) {
    rewindTo(stream, filePositionBeforeObject);
    freeObject();
    moveNextObjectToOutputLDIFFile();
  }
  if (next_available_object_slot > 0 || result == OBJECT_COPIED_TO_OUTPUT) ++objectsRead;

  traceLine("\ngetNextObject():  The object read is:   \n");
  traceObject();
  traceLine("getNextObject():  Returning %d \n", result);
  traceLine("getNextObject():  FUNCTION EXIT   \n");
  return result;
}

static Line copiedWithNewline(std::string_view text) {
  char* const copy = makeRoom(objectTexts, text.size() + 1);
  *std::copy(text.begin(), text.end(), copy) = '\n';
  return scanLine({copy, text.size() + 1});
}

// Returns the line, which is not continued, with one newline for its line end. It is changed where it stands, which is
// in memory of our own.
static Line withNewline(const Line& line) {
  if (line.contentLength == line.length) return copiedWithNewline(line.content());
  const_cast<char*>(line.text)[line.contentLength] = '\n';
  const bool isCutShort = line.length > line.contentLength + 2 || line.text[line.length - 1] != '\n';
  if (isCutShort) return scanLine({line.text, line.contentLength + size_t{1}});
  Line closed = line;
  closed.length = line.contentLength + 1;
  return closed;
}

// Returns the logical line that begins in a slot, and moves the slot behind it.
static Line unfoldedLine(int32_t& slot) {
  if (slot + 1 == next_available_object_slot || !isContinuation(object[slot + 1])) return withNewline(object[slot++]);
  const Attribute attribute = unfold(entryInObject(), slot, 0, objectTexts);
  slot = attribute.nextLine;
  return copiedWithNewline(attribute.text);
}

// True for a line that may not be read as it is written.
static bool isSuspect(const Line& line) {
  return line.length > LONGEST_LINE || line.text[0] == '#' || line.text[0] == ' ' || line.text[0] == '\n';
}

bool unfoldObject() {
  int32_t unfolded = 0;
  bool isPlain = true;
  for (int32_t slot = 0; slot < next_available_object_slot;) {
    if (isContinuation(object[slot]))
      ++slot;
    else
      isPlain = !isSuspect(object[unfolded++] = unfoldedLine(slot)) && isPlain;
  }
  next_available_object_slot = unfolded;
  return isPlain;
}

static int32_t piecesOf(const Line& line) {
  return static_cast<int32_t>((line.length + LONGEST_LINE - 1) / LONGEST_LINE);
}

static void splitLongLines(int32_t pieces) {
  int32_t to = pieces;
  for (int32_t slot = next_available_object_slot - 1; to != slot + 1; --slot) {
    const Line line = object[slot];
    for (int32_t piece = piecesOf(line) - 1; piece >= 0; --piece)
      object[--to] = scanLine(line.view().substr(static_cast<size_t>(piece) * LONGEST_LINE, LONGEST_LINE));
  }
  next_available_object_slot = pieces;
}

bool splitObjectAsRead() {
  int64_t pieces = 0;
  for (const Line& line : entryInObject()) pieces += piecesOf(line);
  if (pieces > OBJECT_ARRAY_SIZE) return false;
  if (pieces != next_available_object_slot) splitLongLines(static_cast<int32_t>(pieces));
  return std::none_of(entryInObject().begin(), entryInObject().end(),
                      [](const Line& line) { return line.text[0] == '#' || isBlankLine(line.view()); });
}
