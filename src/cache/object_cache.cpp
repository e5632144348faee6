#include "cache/object_cache.h"

#include <algorithm>
#include <cstdlib>

#include "cache/cache_slots.h"
#include "cache/owner_association.h"
#include "ldif/memory.h"
#include "ldif/object_buffer.h"
#include "reporting/reporting.h"
#include "rules/line_scan.h"

struct DnTable {
  std::string_view** dns;
  Side side;
};

static constexpr DnTable dnTables[] = {
    {&secUser_dn, USER_SIDE}, {&secGroup_dn, GROUP_SIDE}, {&secPolicy_dn, USER_SIDE}};

// For the tables of each Side: for how many slots there is room, and how many of them have been begun.
static size_t capacities[2] = {0, 0};
static size_t begun[2] = {0, 0};

bool isRowInUse(const CacheMatrix& matrix, int32_t slot) {
  return static_cast<size_t>(slot) < begun[matrix.side] && (*matrix.rows)[slot].text != nullptr;
}

std::string_view firstLineOfRow(const CacheMatrix& matrix, int32_t slot) {
  return isRowInUse(matrix, slot) ? firstLineIn((*matrix.rows)[slot].entryText()) : std::string_view();
}

std::span<const Row> rowsOf(const CacheMatrix& matrix, int32_t slot) {
  int32_t end = slot;
  // An entry goes on behind a full row for as long as there is anything.
  while (isRowInUse(matrix, end) && (end == slot || (*matrix.rows)[end - 1].lines == matrix.columns)) ++end;
  return {*matrix.rows + slot, *matrix.rows + end};
}

std::span<Line> linesOfRow(const CacheMatrix& matrix, int32_t slot, std::vector<Line>& room) {
  size_t taken = 0;
  for (const Row& row : rowsOf(matrix, slot)) {
    const auto lines = static_cast<size_t>(row.lines);
    // Never made smaller: the rooms are lent for one record after the other.
    if (taken + lines > room.size()) room.resize(taken + lines);
    LineScan scan = scanOf(row.entryText().text);
    taken += takeEntryLines(scan, row.mayHoldNul, room.data() + taken, lines);
  }
  return {room.data(), taken};
}

template <typename Element>
static void growTable(Element*& table, size_t capacity) {
  table = static_cast<Element*>(
      // Kept: the line speaks of the allocation at the start, whenever it is that a table cannot grow.
      reallocate(table, capacity * sizeof(Element), "allocateObjectCache():  malloc() failure.  EXITING. \n"));
}

static void growTables(Side side, size_t capacity) {
  for (const DnTable& table : dnTables)
    if (table.side == side) growTable(*table.dns, capacity);
  for (const CacheMatrix& matrix : matrices)
    if (matrix.side == side) growTable(*matrix.rows, capacity);
  capacities[side] = capacity;
}

// Memory is only touched where slots are used.
void makeRoomForSlot(Side side, int32_t slot) {
  // An entry that runs on can need a slot further than the next one.
  const size_t wanted = static_cast<size_t>(slot) + 1;
  // Doubled, so that a slot is moved about once in all.
  if (wanted > capacities[side]) growTables(side, std::max(wanted, capacities[side] * 2));
  for (; begun[side] < wanted; ++begun[side]) {
    for (const DnTable& table : dnTables)
      if (table.side == side) (*table.dns)[begun[side]] = {};
    for (const CacheMatrix& matrix : matrices)
      if (matrix.side == side) (*matrix.rows)[begun[side]] = {};
  }
}

static void traceLimits(const char* function) {
  traceLine("\n%s():  max_number_of_secuser_slots  = %d  \n", function, max_number_of_secuser_slots);
  traceLine("\n%s():  max_number_of_secgroup_slots = %d  \n", function, max_number_of_secgroup_slots);
}

void allocateObjectCache() {
  // The limit may be in the millions and hardly be used; the rest is made when it is needed.
  constexpr int32_t FIRST_SLOTS = 64;
  traceLine("\nallocateObjectCache():  FUNCTION ENTRY  \n");
  traceLimits("allocateObjectCache");
  for (const Side side : {USER_SIDE, GROUP_SIDE})
    makeRoomForSlot(side, std::min(*cacheSides[side].limit, FIRST_SLOTS) - 1);
  traceLine("\nallocateObjectCache():  FUNCTION EXIT  \n");
}

void initializeAllArrays() {
  next_available_secGroup_dn_slot = 0;
  secUser_dn_count = 0;
  secGroup_dn_count = 0;
  next_available_secUser_dn_slot = 0;
  forgetOverruns();
  forgetOwnersOfPass();
  freeObject();
  for (const CacheMatrix& matrix : matrices) *matrix.occupied = 0;
  for (const Side side : {USER_SIDE, GROUP_SIDE}) {
    const auto slots = static_cast<int32_t>(begun[side]);
    // Begins the slots anew, which empties them.
    begun[side] = 0;
    makeRoomForSlot(side, slots - 1);
  }
}

void deallocateObjectCache() {
  traceLine("\ndeallocateObjectCache():  FUNCTION ENTRY  \n");
  traceLimits("deallocateObjectCache");
  for (const DnTable& table : dnTables) {
    free(*table.dns);
    *table.dns = nullptr;
  }
  for (const CacheMatrix& matrix : matrices) {
    free(*matrix.rows);
    *matrix.rows = nullptr;
  }
  capacities[USER_SIDE] = capacities[GROUP_SIDE] = begun[USER_SIDE] = begun[GROUP_SIDE] = 0;
  traceLine("\ndeallocateObjectCache():  FUNCTION EXIT  \n");
}
