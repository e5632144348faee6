// Texts in buffers of a fixed size, closed by a NUL.
#pragma once

#include <cstddef>
#include <string_view>

// Copies text into a buffer of the given size. Returns false, with the buffer unchanged, when it does not fit.
bool copyBounded(char* buffer, size_t size, std::string_view text);

// Appends text to the text in a buffer of the given size. Returns false, with the buffer unchanged, when it
// does not fit.
bool appendBounded(char* buffer, size_t size, std::string_view text);
