#include "platform/bounded_text.h"

#include <cstring>

bool copyBounded(char* buffer, size_t size, std::string_view text) {
  if (text.size() >= size) return false;
  buffer[text.copy(buffer, text.size())] = '\0';
  return true;
}

bool appendBounded(char* buffer, size_t size, std::string_view text) {
  const size_t length = strlen(buffer);
  // What the text that is there leaves of the buffer holds the NUL, too.
  return copyBounded(buffer + length, size - length, text);
}
