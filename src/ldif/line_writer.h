// Lines of an entry, written as they are.
#pragma once

#include <cstdint>

#include "platform/stream.h"
#include "rules/dropped_lines.h"
#include "rules/line.h"

// Writes the lines but for those that are dropped on this road. Returns 0, or -1 when a write fails.
int32_t writeLines(Stream* stream, Entry lines, Road road);
