#include "ldif/line_reader.h"

std::string_view readNextLine(Stream* stream) {
  countLines(1);
  return readLine(stream, NEXT_LINE_SIZE - 1);
}

int32_t getNextLine(char* buffer, Stream* stream) {
  const std::string_view line = readNextLine(stream);
  // What stands behind a NUL has been read, but is no part of the line.
  buffer[upToNul(stream, line).copy(buffer, line.size())] = '\0';
  return line.empty() ? -1 : 0;
}
