// Where in the input an entry stands: found by reading the input once more, for the message of a run that has failed.
#pragma once

#include <cstdint>
#include <string_view>

// Returns the number, from 1, of the line of the input in which the entry with this ordinal (from 1) begins; 0 when it
// cannot be found.
int64_t lineOfEntry(int64_t ordinal);

struct EntryLines {
  int64_t first = 0;   // of the first entry with the DN, 0 for none
  int64_t second = 0;  // of the second
};

// Returns the lines in which entries with the given first line begin, whatever blanks stand beside its commas. The
// first line is that of an entry in memory.
EntryLines linesOfEntries(std::string_view firstLine);

// True when both first lines are equal in that way.
bool isSameFirstLine(std::string_view firstLine, std::string_view other);
