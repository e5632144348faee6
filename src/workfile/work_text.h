// The text of the work file in memory, for the passes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// Maps the work file into memory. Returns false when that is not possible: then it is read. Looking at a part that has
// been lost since ends the run with OBJECT_NOT_READ.
bool mapWorkFile();
void unmapWorkFile();

// True when the text lies in the work file in memory, and so stays until it is unmapped.
bool isInWorkText(std::string_view text);

// Returns a part of the work file: in memory, or nothing while it is not mapped.
std::string_view workText(uint64_t start, size_t length);
