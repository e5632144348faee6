#include "cache/cache_slots.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "ldif/complaint.h"
#include "ldif/line_reader.h"
#include "ldif/object_buffer.h"
#include "platform/bounded_text.h"
#include "reporting/reporting.h"
#include "rules/text.h"
#include "workfile/work_text.h"

static Row& rowOf(const CacheMatrix& matrix, int32_t slot) { return (*matrix.rows)[slot]; }

static bool isFull(const CacheMatrix& matrix, int32_t slot) { return rowOf(matrix, slot).lines == matrix.columns; }

static bool beginsWithDn(const CacheMatrix& matrix, int32_t slot) {
  constexpr std::string_view TAG = "dn:";
  return isSameInAnyCase(rowOf(matrix, slot).entryText().text.substr(0, TAG.size()), TAG);
}

// Returns the slot of the entry to which the lines in a row belong. If the row before is full and the row's first line
// is no dn: line, it holds the rest of an entry that was too long for its own row.
static int32_t slotOfOwner(const CacheMatrix& matrix, int32_t slot) {
  while (slot > 0 && isFull(matrix, slot - 1) && !beginsWithDn(matrix, slot)) --slot;
  return slot;
}

[[noreturn]] static void exitForOverrun(const CacheMatrix& matrix, std::string_view dnLine) {
  complainOfLength(dnLine, matrix.columns - 1);
  exitWithMessage(ROW_ALREADY_OCCUPIED);
}

[[noreturn]] static void exitForOccupiedRow(const CacheMatrix& matrix, int32_t slot) {
  const std::string_view firstLine = firstLineOfRow(matrix, slot);
  reportError("%s():  Destination slot is already occupied.  EXITING.%s", matrix.moveFunction, matrix.occupiedEnding);
  echoError("%s = %.*s\n", matrix.name, SHOWN(firstLine));
  const int32_t owner = slotOfOwner(matrix, slot);
  if (owner != slot) exitForOverrun(matrix, firstLineOfRow(matrix, owner));
  complainOfDouble(firstLineOfObject(), firstLine);
  exitWithMessage(ROW_ALREADY_OCCUPIED);
}

[[noreturn]] static void exitForFullTable(const CacheMatrix& matrix) {
  reportError("%s():  ERROR:  The entry runs past the end of %s.  EXITING. \n", matrix.moveFunction, matrix.name);
  exitForOverrun(matrix, firstLineOfObject());
}

// A line without a newline would run on into the one put behind it. One that is as long as lines are taken cannot: its
// end is found by its length.
static bool needsNul(const Line& line) { return line.length < LONGEST_LINE && line.text[line.length - 1] != '\n'; }

// Sees to it that the lines stand where they stay for the pass. Those of the mapped work file do already, unless one of
// them has been changed. Returns true when a NUL has been put behind a line.
static bool keepObject() {
  if (isInWorkText(object[0].view())) return false;
  size_t size = 0;
  bool hasNul = false;
  for (const Line& line : entryInObject()) {
    size += size_t{line.length} + needsNul(line);
    hasNul = hasNul || needsNul(line);
  }
  char* text = makeRoom(gatheredTexts, size);
  for (int32_t i = 0; i < next_available_object_slot; ++i) {
    Line& line = object[i];
    char* end = std::copy_n(line.text, line.length, text);
    line.text = text;
    if (needsNul(line)) *end++ = '\0';
    text = end;
  }
  return hasNul;
}

// Puts the rest of an entry in front of what is left of the lines that the row held before.
static Row overwritten(const Row& row, const Row& rest) {
  if (rest.lines >= row.lines) return rest;
  EntryText left = row.entryText();
  for (int32_t passed = 0; passed < rest.lines; left.text.remove_prefix(nextLineIn(left).size()))
    // Comments, which a left-over work file may hold, were not counted as lines when the row was filled either.
    if (left.text[0] != '#') ++passed;
  const auto length = static_cast<uint32_t>(rest.length + left.text.size());
  char* const text = makeRoom(gatheredTexts, length);
  std::copy(left.text.begin(), left.text.end(), std::copy_n(rest.text, rest.length, text));
  return {text, length, row.lines, rest.mayHoldNul || row.mayHoldNul};
}

// Lets the slot's row, and those behind it that are needed, take the entry over.
static void placeObject(const CacheMatrix& matrix, int32_t slot) {
  const bool hasNul = keepObject();
  for (int32_t first = 0; first < next_available_object_slot; first += matrix.columns, ++slot) {
    // Kept: an entry has to end within the slots of the command line, although the tables could hold more rows.
    if (slot == *sideOf(matrix).limit) exitForFullTable(matrix);
    makeRoomForSlot(matrix.side, slot);
    const int32_t lines = std::min(matrix.columns, next_available_object_slot - first);
    const Line& last = object[first + lines - 1];
    const auto length = static_cast<uint32_t>(last.text + last.length + needsNul(last) - object[first].text);
    const Row part = {object[first].text, length, static_cast<int16_t>(lines), hasNul};
    rowOf(matrix, slot) = overwritten(rowOf(matrix, slot), part);
  }
  next_available_object_slot = 0;
}

static void traceRow(const CacheMatrix& matrix, int32_t slot) {
  std::vector<Line> room;
  const Entry lines = linesOfRow(matrix, slot, room);
  traceLine("%s():  The secMap object moved is: \n", matrix.moveFunction);
  for (size_t i = 0; i < lines.size(); ++i)
    traceLine("%s[%d][%d] = %.*s ", matrix.name, slot, static_cast<int>(i), SHOWN(lines[i].view()));
}

static void moveObject(const CacheMatrix& matrix, int32_t slot) {
  traceLine("%s():  FUNCTION ENTRY \n", matrix.moveFunction);
  if (isRowInUse(matrix, slot)) exitForOccupiedRow(matrix, slot);
  // One entry, whatever number of rows it takes: that is what is compared with the number of slots.
  placeObject(matrix, slot);
  ++*matrix.occupied;
  if (&matrix == &secMapForSecUserMatrix && debug != 0) traceRow(matrix, slot);
  traceLine("%s():  FUNCTION EXIT \n", matrix.moveFunction);
}

bool placeUnseen(const CacheMatrix& matrix, int32_t slot, const Row& row) {
  // A row that is full makes what stands behind it a part of the entry: placeObject has to look at that.
  if (isRowInUse(matrix, slot) || row.lines >= matrix.columns) return false;
  rowOf(matrix, slot) = row;
  ++*matrix.occupied;
  return true;
}

void moveSecUserObjectFromObjectArrayToSecUserMatrix(int32_t slot) { moveObject(secUserMatrix, slot); }
void moveUsersSecUserObjectFromObjectArrayToUsersSecUserMatrix(int32_t slot) { moveObject(usersSecUserMatrix, slot); }
void moveSecPolicyDataObjectFromObjectArrayToSecPolicyDataMatrix(int32_t slot) {
  moveObject(secPolicyDataMatrix, slot);
}
void moveSecPolicyObjectFromObjectArrayToSecPolicyMatrix(int32_t slot) { moveObject(secPolicyMatrix, slot); }
void moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix(int32_t slot) {
  moveObject(secMapForSecUserMatrix, slot);
}
void moveSecGroupObjectFromObjectArrayToSecGroupMatrix(int32_t slot) { moveObject(secGroupMatrix, slot); }
void moveSecMapForSecGroupObjectFromObjectArrayToSecMapForSecGroupMatrix(int32_t slot) {
  moveObject(secMapForSecGroupMatrix, slot);
}

// The entry of a matrix whose release has run on last into rows of slots in use.
struct Overrun {
  const CacheMatrix* matrix;  // null for none
  int32_t slot;
  int32_t lastSlot;  // whose row has lost lines to it
  char firstLine[NEXT_LINE_SIZE];
};
static Overrun overruns[std::size(matrices)] = {};

// Returns that of the matrix, or the free one where it belongs.
static Overrun& overrunOf(const CacheMatrix& matrix) {
  return *std::find_if(std::begin(overruns), std::end(overruns),
                       [&](const Overrun& o) { return o.matrix == &matrix || o.matrix == nullptr; });
}

static bool isInUse(const CacheSide& side, int32_t slot) {
  return slot < *side.nextSlot && (*side.dns)[slot].data() != nullptr;
}

// Keeps in mind an entry that has run on, with the number of its lines in all its rows.
static void noteOverrun(const CacheMatrix& matrix, int32_t slot, int64_t lines, std::string_view firstLine) {
  // Behind the last slot in use there was nothing to lose.
  if (!isInUse(sideOf(matrix), slot + 1)) return;
  Overrun& overrun = overrunOf(matrix);
  overrun.matrix = &matrix;
  overrun.slot = slot;
  overrun.lastSlot = slot + static_cast<int32_t>((lines - 1) / matrix.columns);
  copyBounded(overrun.firstLine, sizeof overrun.firstLine, firstLine);
}

void forgetOverruns() {
  for (Overrun& overrun : overruns) overrun.matrix = nullptr;
}

void complainOfMissingEntry(DetailText problem, int32_t slot, const CacheMatrix& missing, const CacheMatrix* present) {
  for (const Overrun& overrun : overruns) {
    // Either the entry was in a row that the long one has taken, or the table counted the long one's rest, so that an
    // entry had to wait and came too late.
    const bool hasTakenIt = overrun.matrix == &missing && slot > overrun.slot && slot <= overrun.lastSlot;
    if (overrun.matrix == nullptr || (!hasTakenIt && overrun.matrix != present)) continue;
    complainOfLength(overrun.firstLine, overrun.matrix->columns - 1);
    return;
  }
  complain(problem, present != nullptr ? firstLineOfRow(*present, slot) : std::string_view());
}

// Kept: the walk goes on behind a full row, and so releases the rest of an entry that ran on into the next row, or the
// entry there, whose own release then finds nothing to count down.
static void releaseRow(const CacheMatrix& matrix, int32_t slot) {
  if (!isRowInUse(matrix, slot)) return;
  --*matrix.occupied;
  const std::string_view firstLine = isFull(matrix, slot) ? firstLineOfRow(matrix, slot) : std::string_view();
  int64_t lines = 0;
  bool goesOn = true;
  for (int32_t next = slot; goesOn && isRowInUse(matrix, next); ++next) {
    lines += rowOf(matrix, next).lines;
    // Asked before the row is emptied.
    goesOn = isFull(matrix, next);
    rowOf(matrix, next) = {};
  }
  if (lines > matrix.columns) noteOverrun(matrix, slot, lines, firstLine);
}

void freeSecUser(int32_t slot) { releaseRow(secUserMatrix, slot); }
void freeUsersSecUser(int32_t slot) { releaseRow(usersSecUserMatrix, slot); }
void freeSecPolicyData(int32_t slot) { releaseRow(secPolicyDataMatrix, slot); }
void freeSecPolicy(int32_t slot) { releaseRow(secPolicyMatrix, slot); }
void freeSecMapForSecUser(int32_t slot) { releaseRow(secMapForSecUserMatrix, slot); }
void freeSecGroup(int32_t slot) { releaseRow(secGroupMatrix, slot); }
void freeSecMapForSecGroup(int32_t slot) { releaseRow(secMapForSecGroupMatrix, slot); }

void freeSecUserDN(int32_t slot) { secUser_dn[slot] = {}; }
void freeSecPolicyDN(int32_t slot) { secPolicy_dn[slot] = {}; }
void freeSecGroupDN(int32_t slot) { secGroup_dn[slot] = {}; }

void copySecPolicyDNFromObjectArrayToSecPolicyDNArray(int32_t slot) {
  traceLine("copySecPolicyDNFromObjectArrayToSecPolicyDNArray():  FUNCTION ENTRY \n");
  secPolicy_dn[slot] = keepText(gatheredTexts, dnOfFirstLine(firstLineOfObject()));
  traceLine("copySecPolicyDNFromObjectArrayToSecPolicyDNArray(): \n");
  traceLine("   The secPolicy dn copied was:   %.*s \n", SHOWN(secPolicy_dn[slot]));
  // Kept: the line says secGroup.
  traceLine("   The secGroup dn was copied to slot %d \n", slot);
  traceLine("copySecPolicyDNFromObjectArrayToSecPolicyDNArray():  FUNCTION EXIT \n");
}
