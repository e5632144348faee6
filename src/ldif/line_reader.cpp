#include "ldif/line_reader.h"

int32_t getNextLine(char* buffer, Stream* stream) {
  buffer[0] = '\0';
  // Wraps around after two thousand million lines, which a signed addition must not.
  lineNum = static_cast<int32_t>(static_cast<uint32_t>(lineNum) + 1U);
  if (readLine(stream, buffer, NEXT_LINE_SIZE - 1) > 0) return 0;
  buffer[0] = '\0';
  return -1;
}
