// Memory for the tables of the run.
#pragma once

#include <cstddef>

// Returns a block of the given size in place of the given one, which may be null, with what stood in it. Ends the run
// with MEMORY_EXHAUSTED, after the given trace line, when there is none. The caller frees it with free.
[[nodiscard]] void* reallocate(void* block, size_t size, const char* failureLine);
