// What becomes of memory that is freed.
#pragma once

#include <malloc.h>

// From now on every large block goes back to the system when it is freed. The C library would keep such blocks once the
// first of them has been freed, and what a program needs early and what it needs late would add up.
inline void giveBackLargeBlocks() {
  constexpr int LARGE = 128 * 1024;  // bytes
  mallopt(M_MMAP_THRESHOLD, LARGE);
}
