#include "cache/object_cache.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "cache/cache_slots.h"
#include "ldif/object_buffer.h"
#include "reporting/reporting.h"

struct CacheTable {
  char*** cells;
  const int32_t* rows;
  int32_t columns;
};

// In the order in which they are allocated and freed.
static constexpr CacheTable tables[] = {
    {&secUser_dn, &max_number_of_secuser_slots, 1},
    {&secGroup_dn, &max_number_of_secgroup_slots, 1},
    {&secPolicy_dn, &max_number_of_secuser_slots, 1},
    {&secUser_matrix, &max_number_of_secuser_slots, SECUSER_MATRIX_NUMBER_OF_COLUMNS},
    {&Users_secUser_matrix, &max_number_of_secuser_slots, SECUSER_MATRIX_NUMBER_OF_COLUMNS},
    {&secPolicyData_matrix, &max_number_of_secuser_slots, SECUSER_MATRIX_NUMBER_OF_COLUMNS},
    {&secPolicy_matrix, &max_number_of_secuser_slots, SECPOLICY_MATRIX_NUMBER_OF_COLUMNS},
    {&secMap_for_secUser_matrix, &max_number_of_secuser_slots, SECUSER_MATRIX_NUMBER_OF_COLUMNS},
    {&secGroup_matrix, &max_number_of_secgroup_slots, SECUSER_MATRIX_NUMBER_OF_COLUMNS},
    {&secMap_for_secGroup_matrix, &max_number_of_secgroup_slots, SECUSER_MATRIX_NUMBER_OF_COLUMNS},
};

// With the null cell behind the last row.
static size_t numberOfCells(const CacheTable& table) {
  return static_cast<size_t>(*table.rows) * static_cast<size_t>(table.columns) + 1;
}

char** rowOf(const CacheMatrix& matrix, int32_t slot) {
  return *matrix.cells + static_cast<size_t>(slot) * static_cast<size_t>(matrix.columns);
}

static void traceLimits(const char* function) {
  traceLine("\n%s():  max_number_of_secuser_slots  = %d  \n", function, max_number_of_secuser_slots);
  traceLine("\n%s():  max_number_of_secgroup_slots = %d  \n", function, max_number_of_secgroup_slots);
}

void allocateObjectCache() {
  traceLine("\nallocateObjectCache():  FUNCTION ENTRY  \n");
  traceLimits("allocateObjectCache");
  for (const CacheTable& table : tables) {
    *table.cells = static_cast<char**>(calloc(numberOfCells(table), sizeof(char*)));
    if (*table.cells == nullptr) {
      traceLine("allocateObjectCache():  malloc() failure.  EXITING. \n");
      exitWithMessage(MEMORY_EXHAUSTED);
    }
  }
  traceLine("\nallocateObjectCache():  FUNCTION EXIT  \n");
}

// Zeroes a block. Whole pages are handed back to the system, which gives them out again as zeroes when they are
// touched: a table of a million slots of which ten are used costs the memory of ten.
static void zeroBlock(char* begin, size_t size) {
  const size_t pageSize = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  const size_t toPage = (pageSize - reinterpret_cast<uintptr_t>(begin) % pageSize) % pageSize;
  const size_t head = std::min(size, toPage);
  const size_t pages = (size - head) / pageSize * pageSize;
  memset(begin, 0, head);
  if (pages > 0 && madvise(begin + head, pages, MADV_DONTNEED) != 0) memset(begin + head, 0, pages);
  memset(begin + head + pages, 0, size - head - pages);
}

void initializeAllArrays() {
  next_available_secGroup_dn_slot = 0;
  secUser_dn_count = 0;
  numberOfSecMapForSecGroupObjectsInObjectCache = 0;
  secGroup_dn_count = 0;
  next_available_secUser_dn_slot = 0;
  numberOfSecUserObjectsInObjectCache = 0;
  numberOfUserSecUserObjectsInObjectCache = 0;
  numberOfSecPolicyDataObjectsInObjectCache = 0;
  numberOfSecPolicyObjectsInObjectCache = 0;
  numberOfSecMapForSecUserObjectsInObjectCache = 0;
  numberOfSecGroupObjectsInObjectCache = 0;
  forgetOverruns();
  std::fill_n(object, OBJECT_ARRAY_SIZE, nullptr);
  for (const CacheTable& table : tables)
    zeroBlock(reinterpret_cast<char*>(*table.cells), numberOfCells(table) * sizeof(char*));
}

void deallocateObjectCache() {
  traceLine("\ndeallocateObjectCache():  FUNCTION ENTRY  \n");
  traceLimits("deallocateObjectCache");
  for (const CacheTable& table : tables) {
    free(*table.cells);
    *table.cells = nullptr;
  }
  traceLine("\ndeallocateObjectCache():  FUNCTION EXIT  \n");
}
