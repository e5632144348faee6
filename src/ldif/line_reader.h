// Reading physical lines: the one line buffer of every reader.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/stream.h"

constexpr size_t NEXT_LINE_SIZE = 4096;  // bytes, closing NUL included

// The line read last, its newline included; valid until the next read. A physical line of more than 4095
// characters arrives in pieces, each a line of its own; a NUL in the file ends the line as far as every user
// of it can see.
inline char nextLine[NEXT_LINE_SIZE];

// Number of characters that the line read last has, up to its first NUL. Kept, because a text that has just been put
// down is slow to look through.
inline size_t nextLineLength = 0;

// Counts the attempts to read a line, those at the end of a file included, but for lines that are skipped in one go.
// For the debugger.
inline int32_t lineNum = 0;

// 1 once the work-file reader has met a line with "changetype:"; never cleared.
inline int32_t changetypeSeen = 0;

// Reads the next line into a buffer of NEXT_LINE_SIZE bytes. Returns 0, or -1 with an empty buffer at the end
// of the file or when the read fails.
int32_t getNextLine(char* buffer, Stream* stream);
