#include "cache/object_cache.h"

#include <algorithm>
#include <cstdlib>

#include "cache/cache_slots.h"
#include "cache/owner_association.h"
#include "ldif/memory.h"
#include "ldif/object_buffer.h"
#include "reporting/reporting.h"

static constexpr const CacheMatrix* matrices[] = {
    &secUserMatrix,          &usersSecUserMatrix, &secPolicyDataMatrix,    &secPolicyMatrix,
    &secMapForSecUserMatrix, &secGroupMatrix,     &secMapForSecGroupMatrix};

struct DnTable {
  std::string_view** dns;
  Side side;
};

static constexpr DnTable dnTables[] = {
    {&secUser_dn, USER_SIDE}, {&secGroup_dn, GROUP_SIDE}, {&secPolicy_dn, USER_SIDE}};

static size_t capacities[2] = {0, 0};  // slots of the tables of each Side

bool isRowInUse(const CacheMatrix& matrix, int32_t slot) {
  return static_cast<size_t>(slot) < capacities[matrix.side] && (*matrix.rows)[slot].text != nullptr;
}

std::string_view firstLineOfRow(const CacheMatrix& matrix, int32_t slot) {
  return isRowInUse(matrix, slot) ? firstLineIn((*matrix.rows)[slot].entryText()) : std::string_view();
}

template <typename Element>
static void growTable(Element*& table, size_t from, size_t to) {
  table = static_cast<Element*>(
      reallocate(table, to * sizeof(Element), "allocateObjectCache():  malloc() failure.  EXITING. \n"));
  std::fill(table + from, table + to, Element{});
}

static void growTables(Side side, size_t capacity) {
  for (const DnTable& table : dnTables)
    if (table.side == side) growTable(*table.dns, capacities[side], capacity);
  for (const CacheMatrix* matrix : matrices)
    if (matrix->side == side) growTable(*matrix->rows, capacities[side], capacity);
  capacities[side] = capacity;
}

void makeRoomForSlot(Side side, int32_t slot) {
  const size_t wanted = static_cast<size_t>(slot) + 1;
  if (wanted > capacities[side]) growTables(side, std::max(wanted, capacities[side] * 2));
}

static void traceLimits(const char* function) {
  traceLine("\n%s():  max_number_of_secuser_slots  = %d  \n", function, max_number_of_secuser_slots);
  traceLine("\n%s():  max_number_of_secgroup_slots = %d  \n", function, max_number_of_secgroup_slots);
}

void allocateObjectCache() {
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
  for (const CacheMatrix* matrix : matrices) {
    *matrix->occupied = 0;
    std::fill_n(*matrix->rows, capacities[matrix->side], Row{});
  }
  for (const DnTable& table : dnTables) std::fill_n(*table.dns, capacities[table.side], std::string_view());
}

void deallocateObjectCache() {
  traceLine("\ndeallocateObjectCache():  FUNCTION ENTRY  \n");
  traceLimits("deallocateObjectCache");
  for (const DnTable& table : dnTables) {
    free(*table.dns);
    *table.dns = nullptr;
  }
  for (const CacheMatrix* matrix : matrices) {
    free(*matrix->rows);
    *matrix->rows = nullptr;
  }
  capacities[USER_SIDE] = capacities[GROUP_SIDE] = 0;
  traceLine("\ndeallocateObjectCache():  FUNCTION EXIT  \n");
}
