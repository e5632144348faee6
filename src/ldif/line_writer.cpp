#include "ldif/line_writer.h"

#include <algorithm>

int32_t writeLines(Stream* stream, Entry lines, Road road) {
  size_t size = 0;
  for (const Line& line : lines) size += line.length;
  // Room for all lines is asked for once, dropped ones included; where the stream has it, the lines are put there
  // without another question.
  char* const room = roomFor(stream, size);
  char* to = room;
  for (const Line& line : lines) {
    if (isDropped(line, road)) continue;
    if (room != nullptr)
      to = std::copy_n(line.text, line.length, to);
    else if (writeText(stream, line.text, line.length) != 0)
      return -1;
  }
  if (room != nullptr) passWritten(stream, static_cast<size_t>(to - room));
  return 0;
}
