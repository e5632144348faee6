#include "cache/cache_slots.h"

#include <strings.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "ldif/complaint.h"
#include "ldif/line_memory.h"
#include "ldif/line_reader.h"
#include "ldif/object_buffer.h"
#include "ldif/text.h"
#include "reporting/reporting.h"

// Returns the row of the entry to which the lines in a row belong. A row with a first line that is no dn: line behind
// one that is full holds the rest of an entry that was too long for its own.
static char* const* rowOfOwner(const CacheMatrix& matrix, char* const* row) {
  while (row != *matrix.cells && row[-1] != nullptr && strncasecmp(row[0], "dn:", strlen("dn:")) != 0)
    row -= matrix.columns;
  return row;
}

[[noreturn]] static void exitForOverrun(const CacheMatrix& matrix, const char* dnLine) {
  complainOfLength(dnLine, matrix.columns - 1);
  exitWithMessage(ROW_ALREADY_OCCUPIED);
}

[[noreturn]] static void exitForOccupiedRow(const CacheMatrix& matrix, char* const* row) {
  reportError("%s():  Destination slot is already occupied.  EXITING.%s", matrix.moveFunction, matrix.occupiedEnding);
  echoError("%s = %s\n", matrix.name, row[0]);
  char* const* owner = rowOfOwner(matrix, row);
  if (owner != row) exitForOverrun(matrix, owner[0]);
  complainOfDouble(firstLineOfObject(), row[0]);
  exitWithMessage(ROW_ALREADY_OCCUPIED);
}

[[noreturn]] static void exitForFullTable(const CacheMatrix& matrix, const char* dnLine) {
  reportError("%s():  ERROR:  The entry runs past the end of %s.  EXITING. \n", matrix.moveFunction, matrix.name);
  exitForOverrun(matrix, dnLine);
}

// Hands the buffer's lines over to the cells from the row on. A line that an earlier entry's overlong row left
// there is lost.
static void handOverLines(const CacheMatrix& matrix, char** row) {
  char** const tableEnd = rowOf(matrix, *matrix.rows);
  char** cell = row;
  for (int32_t i = 0; i < next_available_object_slot; ++i) {
    if (object[i] == nullptr) continue;
    if (cell == tableEnd) exitForFullTable(matrix, row[0]);
    freeLine(*cell);
    *cell++ = object[i];
    object[i] = nullptr;
  }
  next_available_object_slot = 0;
}

static void moveObject(const CacheMatrix& matrix, int32_t slot) {
  traceLine("%s():  FUNCTION ENTRY \n", matrix.moveFunction);
  char** row = rowOf(matrix, slot);
  if (row[0] != nullptr) exitForOccupiedRow(matrix, row);
  handOverLines(matrix, row);
  ++*matrix.occupied;
  if (&matrix == &secMapForSecUserMatrix && debug != 0) {
    traceLine("%s():  The secMap object moved is: \n", matrix.moveFunction);
    for (int32_t i = 0; row[i] != nullptr; ++i) traceLine("secMap_for_secUser_matrix[%d][%d] = %s ", slot, i, row[i]);
  }
  traceLine("%s():  FUNCTION EXIT \n", matrix.moveFunction);
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
constexpr size_t NUMBER_OF_MATRICES = 7;
static Overrun overruns[NUMBER_OF_MATRICES] = {};

// Returns that of the matrix, or the free one where it belongs.
static Overrun& overrunOf(const CacheMatrix& matrix) {
  return *std::find_if(std::begin(overruns), std::end(overruns),
                       [&](const Overrun& o) { return o.matrix == &matrix || o.matrix == nullptr; });
}

static bool isInUse(const CacheMatrix& matrix, int32_t slot) {
  char* const* dns = matrix.rows == &max_number_of_secuser_slots ? secUser_dn : secGroup_dn;
  return slot < *matrix.rows && dns[slot] != nullptr;
}

// The lines of the entry that has run on are counted, and the first one is there still.
static void noteOverrun(const CacheMatrix& matrix, int32_t slot, ptrdiff_t lines, const char* firstLine) {
  if (!isInUse(matrix, slot + 1)) return;
  Overrun& overrun = overrunOf(matrix);
  overrun.matrix = &matrix;
  overrun.slot = slot;
  overrun.lastSlot = slot + static_cast<int32_t>((lines - 1) / matrix.columns);
  snprintf(overrun.firstLine, sizeof overrun.firstLine, "%s", firstLine);
}

void forgetOverruns() {
  for (Overrun& overrun : overruns) overrun.matrix = nullptr;
}

void complainOfMissingEntry(DetailText problem, int32_t slot, const CacheMatrix& missing, const CacheMatrix* present) {
  for (const Overrun& overrun : overruns) {
    const bool hasTakenIt = overrun.matrix == &missing && slot > overrun.slot && slot <= overrun.lastSlot;
    if (overrun.matrix == nullptr || (!hasTakenIt && overrun.matrix != present)) continue;
    complainOfLength(overrun.firstLine, overrun.matrix->columns - 1);
    return;
  }
  complain(problem, present != nullptr ? rowOf(*present, slot)[0] : nullptr);
}

// Kept: the walk ends at the first null cell, not at the end of the row, and so releases the rest of an entry
// that ran on into the next row, whose own release then finds nothing to count down.
static void releaseRow(const CacheMatrix& matrix, int32_t slot) {
  char** row = rowOf(matrix, slot);
  if (*row == nullptr) return;
  --*matrix.occupied;
  char** cell = row + 1;
  for (; *cell != nullptr; ++cell) {
    freeLine(*cell);
    *cell = nullptr;
  }
  if (cell - row > matrix.columns) noteOverrun(matrix, slot, cell - row, *row);
  freeLine(*row);
  *row = nullptr;
}

void freeSecUser(int32_t slot) { releaseRow(secUserMatrix, slot); }
void freeUsersSecUser(int32_t slot) { releaseRow(usersSecUserMatrix, slot); }
void freeSecPolicyData(int32_t slot) { releaseRow(secPolicyDataMatrix, slot); }
void freeSecPolicy(int32_t slot) { releaseRow(secPolicyMatrix, slot); }
void freeSecMapForSecUser(int32_t slot) { releaseRow(secMapForSecUserMatrix, slot); }
void freeSecGroup(int32_t slot) { releaseRow(secGroupMatrix, slot); }
void freeSecMapForSecGroup(int32_t slot) { releaseRow(secMapForSecGroupMatrix, slot); }

static void releaseDN(char** dns, int32_t slot) {
  freeLine(dns[slot]);
  dns[slot] = nullptr;
}

void freeSecUserDN(int32_t slot) { releaseDN(secUser_dn, slot); }
void freeSecPolicyDN(int32_t slot) { releaseDN(secPolicy_dn, slot); }
void freeSecGroupDN(int32_t slot) { releaseDN(secGroup_dn, slot); }

void copySecPolicyDNFromObjectArrayToSecPolicyDNArray(int32_t slot) {
  constexpr size_t TAG_LENGTH = 3;
  traceLine("copySecPolicyDNFromObjectArrayToSecPolicyDNArray():  FUNCTION ENTRY \n");
  freeSecPolicyDN(slot);
  secPolicy_dn[slot] = copyLine(skipSpaces(object[0] + TAG_LENGTH),
                                "copySecPolicyDNFromObjectArrayToSecPolicyDNArray():  malloc() failure.  EXITING. \n");
  traceLine("copySecPolicyDNFromObjectArrayToSecPolicyDNArray(): \n");
  traceLine("   The secPolicy dn copied was:   %s \n", secPolicy_dn[slot]);
  // Kept: the line says secGroup.
  traceLine("   The secGroup dn was copied to slot %d \n", slot);
  traceLine("copySecPolicyDNFromObjectArrayToSecPolicyDNArray():  FUNCTION EXIT \n");
}
