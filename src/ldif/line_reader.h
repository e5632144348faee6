// Reading physical lines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/stream.h"
#include "rules/line.h"

constexpr size_t NEXT_LINE_SIZE = LONGEST_LINE + 1;  // bytes, closing NUL included

// The line that getNextLine has read last, its newline included; valid until the next one. A physical line of more than
// 4095 characters arrives in pieces, each a line of its own; a NUL in the file ends the line for all who use
// it.
inline char nextLine[NEXT_LINE_SIZE];

// Counts the attempts to read a line, including those at the end of a file, but not lines that are skipped in one go.
// For the debugger.
inline int32_t lineNum = 0;

// 1 once a line with "changetype:" has been met in the work file; never cleared.
inline int32_t changetypeSeen = 0;

inline void countLines(size_t lines) {
  // Wraps around after two thousand million lines, which a signed addition must not.
  lineNum = static_cast<int32_t>(static_cast<uint32_t>(lineNum) + static_cast<uint32_t>(lines));
}

// Reads the next line into a buffer of NEXT_LINE_SIZE bytes. Returns 0, or -1 with an empty buffer at the end
// of the file or when the read fails.
int32_t getNextLine(char* buffer, Stream* stream);

// Reads the next line, or piece of a line, as it stands in the stream's memory, NULs included. Returns nothing at the
// end of the file or when the read fails.
std::string_view readNextLine(Stream* stream);
