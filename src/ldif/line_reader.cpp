#include "ldif/line_reader.h"

int32_t getNextLine(char* buffer, Stream* stream) {
  // Wraps around after two thousand million lines, which a signed addition must not.
  lineNum = static_cast<int32_t>(static_cast<uint32_t>(lineNum) + 1U);
  const std::string_view line = readLine(stream, NEXT_LINE_SIZE - 1);
  nextLineLength = line.substr(0, line.find('\0')).size();
  line.copy(buffer, nextLineLength);
  buffer[nextLineLength] = '\0';
  return line.empty() ? -1 : 0;
}
