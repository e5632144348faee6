// What is wrong with an entry that ends the run: told with its DN, the line in which it stands in the input, and a
// sentence of its own.
#pragma once

#include <string_view>

#include "platform/message_details.h"

// Fills in what the next PROCESSING_FAILED or ROW_ALREADY_OCCUPIED says. The first lines are those of the entries in
// memory, empty for one that is not known. The input is read once more to find the lines; where that fails, the message
// does without them.
void complain(DetailText problem, std::string_view firstLine);

// The same of a second entry of one owner and kind, and the earlier one.
void complainOfDouble(std::string_view firstLine, std::string_view earlierFirstLine);

// The same of an entry with more lines than can be gathered.
void complainOfLength(std::string_view firstLine, int32_t lines);

// The same of something that could not be done with an entry in a file; messageReason says why.
void complainOfFile(DetailText problem, std::string_view firstLine, const char* fileName);

// Complain and end the run with PROCESSING_FAILED.
[[noreturn]] void exitForEntry(DetailText problem, std::string_view firstLine);
[[noreturn]] void exitForEntryInFile(DetailText problem, std::string_view firstLine, const char* fileName);

// The same of the entry in the entry buffer.
[[noreturn]] void exitForObject(DetailText problem);
