#include "ldif/line_reader.h"

std::string_view readNextLine(Stream* stream) {
  countLines(1);
  return readLine(stream, NEXT_LINE_SIZE - 1);
}

int32_t getNextLine(char* buffer, Stream* stream) {
  const std::string_view line = readNextLine(stream);
  buffer[upToNul(stream, line).copy(buffer, line.size())] = '\0';
  return line.empty() ? -1 : 0;
}
