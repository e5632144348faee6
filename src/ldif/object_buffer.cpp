#include "ldif/object_buffer.h"

#include <algorithm>
#include <cinttypes>

#include "ldif/complaint.h"
#include "ldif/line_reader.h"
#include "ldif/oversized_object_copy.h"
#include "reporting/reporting.h"
#include "rules/line_scan.h"
#include "rules/text.h"
#include "rules/unfolding.h"

static void requireRoomForLine() {
  if (next_available_object_slot < OBJECT_ARRAY_SIZE) return;
  reportError("appendLineToObject():  ERROR:  The entry has more lines than the entry buffer.  EXITING. \n");
  exitForObject(ENTRY_TOO_LONG);
}

void appendLineToObject(const Line& line) {
  requireRoomForLine();
  object[next_available_object_slot++] = line;
}

void appendLinesToObject(std::string_view text) {
  LineScan scan = scanOf(text);
  Line* const lines = object + next_available_object_slot;
  const size_t taken = takeEntryLines(scan, false, lines, static_cast<size_t>(std::end(object) - lines));
  next_available_object_slot = std::min(next_available_object_slot + static_cast<int32_t>(taken), OBJECT_ARRAY_SIZE);
  // What came behind, if anything did, had no room.
  if (lines + taken == std::end(object)) requireRoomForLine();
}

void setLineOfObject(int32_t slot, std::string_view text) {
  // Behind the last line stands a new one.
  if (slot == next_available_object_slot)
    appendLineToObject(scanLine(text));
  else
    object[slot] = scanLine(text);
}

void freeObject() {
  next_available_object_slot = 0;
  objectTexts.release();
}

void traceObject() {
  if (debug == 0) return;
  for (int32_t i = 0; i < next_available_object_slot; ++i)
    traceLine("   object[%d] = %.*s", i, SHOWN(object[i].view()));
}

// Reading on may move what has been read.
static void moveLines(const char* from, const char* to) {
  // Pointers into memory that is gone can only be taken as numbers.
  if (from == to) return;
  for (int32_t i = 0; i < next_available_object_slot; ++i)
    object[i].text = to + (reinterpret_cast<uintptr_t>(object[i].text) - reinterpret_cast<uintptr_t>(from));
}

static int64_t positionOf(const Stream* stream) {
  int64_t position = 0;
  getPosition(stream, &position);
  return position;
}

// Reads the next line, or piece of a line, NULs included; at the end of the file, or when the read fails, a line of no
// length. The scan covers what has been read and not been handed out yet.
static void readNextObjectLine(Stream* stream, LineScan& scan, Line& line) {
  takeLine(scan, line);
  while (line.length < LONGEST_LINE && (line.length == 0 || line.text[line.length - 1] != '\n')) {
    const char* const held = heldText(stream);
    const bool isMore = readOn(stream);
    moveLines(held, heldText(stream));
    if (!isMore && readFailed(stream)) {
      line = {};  // not the part of a line that came before
      return;
    }
    // More has been read, and what had been read may have moved: the scan begins anew with this line.
    scan = scanOf(unreadText(stream));
    takeLine(scan, line);
    if (!isMore) break;
  }
  passOver(stream, line.length);
  countLines(1);
}

// Takes the lines of the entry that are in the stream's memory and need no further look. The last one may be blank.
static void readOrdinaryLines(Stream* stream, LineScan& scan, ObjectExtent& extent) {
  // A NUL cuts its line short: from the first one on each line is looked at by itself.
  if (hasMetNul(stream)) return;
  const size_t from = scan.next;
  const int32_t first = next_available_object_slot;
  // One place is left free, so that the line that fills the buffer is met below.
  const auto room = static_cast<size_t>(std::max(OBJECT_ARRAY_SIZE - 1 - first, 0));  // the last one is not ordinary
  const size_t taken = takeOrdinaryLines(scan, object + first, room);
  next_available_object_slot += static_cast<int32_t>(taken);
  for (int32_t i = first; i < next_available_object_slot; ++i)
    if (holdsChangetype(object[i])) extent.hasChangetype = true;
  passOver(stream, scan.next - from);
  countLines(taken);
}

int32_t readLinesOfObject(Stream* stream, bool stopsWhenFull, ObjectExtent& extent) {
  extent.begin = positionOf(stream);
  holdText(stream);
  LineScan scan = scanOf(unreadText(stream));
  for (;;) {
    readOrdinaryLines(stream, scan, extent);
    Line* line = object + next_available_object_slot;
    // The last of the ordinary lines may be blank. It is taken back, and ends the entry.
    if (next_available_object_slot > 0 && isBlankLine(line[-1].view()))
      line = object + --next_available_object_slot;
    else
      readNextObjectLine(stream, scan, *line);
    const size_t length = line->length;
    const std::string_view text = upToNul(stream, line->view());
    if (isBlankLine(text)) {
      extent.linesLength = static_cast<size_t>(positionOf(stream) - extent.begin) - length;
      // Nothing more could be read, for whatever reason.
      if (length == 0) return -1;
      if (next_available_object_slot > 0) return 0;
      // A blank line before the entry, which need not be held.
      extent.hasOddLines = true;
      holdText(stream);
      continue;
    }
    // What stands behind a NUL is no part of the line.
    if (text.size() != length) {
      *line = scanLine(text);
      extent.hasOddLines = true;
    }
    if (holdsChangetype(*line)) extent.hasChangetype = true;
    if (text[0] == '#') {
      extent.hasComments = true;
      continue;
    }
    requireRoomForLine();
    ++next_available_object_slot;
    // The preparation pass copies such an entry as it stands; a pass, which should not meet one, ends the run.
    if (stopsWhenFull && next_available_object_slot == OBJECT_ARRAY_SIZE) return OBJECT_COPIED_TO_OUTPUT;
  }
}

void keepObjectApart() {
  size_t size = 0;
  // All into one piece of memory, in their order: rows take an entry as one text.
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
  // Nothing refers any more to the lines of the last entry.
  giveUpHold(stream);
  int64_t filePositionBeforeObject = 0;
  const int32_t rc = getPosition(stream, &filePositionBeforeObject);
  if (rc != 0) {
    traceLine("getNextObject():  fgetpos() failed with rc = %d (dec)  \n", rc);
    exitWithMessage(POSITION_CALL_FAILED, "fgetpos()", rc);
  }
  traceLine("getNextObject():  filePositionBeforeReadingObject = %" PRId64 "  \n", filePositionBeforeObject);

  ObjectExtent extent;
  const int32_t result = readLinesOfObject(stream, true, extent);
  if (result == OBJECT_COPIED_TO_OUTPUT) {
    // The copy reads it once more, and needs no memory for it.
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

bool unfoldObject() {
  const UnfoldedEntry unfolded =
      unfoldLines({object, static_cast<size_t>(next_available_object_slot)}, true, objectTexts);
  next_available_object_slot = static_cast<int32_t>(unfolded.lines);
  return unfolded.isAsRead;
}

static int32_t piecesOf(const Line& line) {
  return static_cast<int32_t>((line.length + LONGEST_LINE - 1) / LONGEST_LINE);
}

static void splitLongLines(int32_t pieces) {
  int32_t to = pieces;
  // From the end, because pieces stand further behind than the lines they come from. Where the two meet no line before
  // was split.
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
  // A piece that begins like a comment, or is blank, would not come back as a line of the entry.
  return std::none_of(entryInObject().begin(), entryInObject().end(),
                      [](const Line& line) { return line.text[0] == '#' || isBlankLine(line.view()); });
}

// Trace text of each code, in order.
static constexpr const char* classTraces[] = {
    "   The object class is UNINTERESTING_OBJECTCLASS  \n\n",
    "   The object class is SECUSER_OBJECTCLASS  \n\n",
    "   The object class is SECPOLICYDATA_OBJECTCLASS  \n\n",
    "   The object class is SECPOLICY_OBJECTCLASS  \n\n",
    "   The object class is SECGROUP_OBJECTCLASS  \n\n",
    "   The object class is SECMAP_OBJECTCLASS  \n\n",
    "   The object class is SECAUTHORITYINFO_OBJECTCLASS  \n\n",
    "   The object class is RESCREDS_CONTAINER (not really an object class) \n\n",
    "   The object class is SECRESCREDS_OBJECTCLASS (not really an object class) \n\n",
    "   The object class is CONTAINER_OBJECTCLASS \n\n",
};

void determineTheObjectsObjectClass() {
  objectClass = classOf(entryInObject());
  traceLine("\ndetermineTheObjectsObjectClass():    \n");
  traceLine("%s", classTraces[objectClass]);
}
