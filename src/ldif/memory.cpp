#include "ldif/memory.h"

#include <cstdlib>

#include "reporting/reporting.h"

void* reallocate(void* block, size_t size, const char* failureLine) {
  // By the C library, which can move a large table to another place without copying it.
  void* grown = realloc(block, size);
  if (grown != nullptr) return grown;
  traceLine("%s", failureLine);
  exitWithMessage(MEMORY_EXHAUSTED);
}
