// Memory for lines and values: a conversion takes and gives back several blocks for every line it handles.
#pragma once

#include <cstddef>

// Every heap copy of a line or a value has this many bytes behind its text, closing NUL included.
constexpr size_t LINE_SPARE = 10;

// Returns a block of at least size bytes, to be given back with freeLine. Ends the run with MEMORY_EXHAUSTED,
// after the given trace line, when there is none.
[[nodiscard]] char* allocateLine(size_t size, const char* allocationFailureLine);

// Gives a block back; null is left alone. Blocks that are given back in the reverse order of their allocation are
// used again at once, others only with those around them.
void freeLine(char* line);

// Returns a copy of a text (of known length) with LINE_SPARE bytes of room behind it, to be given back with freeLine.
[[nodiscard]] char* copyLine(const char* text, const char* allocationFailureLine);
[[nodiscard]] char* copyLine(const char* text, size_t length, const char* allocationFailureLine);
