#include "ldif/entry_line.h"

#include <string_view>

#include "ldif/line_reader.h"
#include "platform/stream.h"
#include "reporting/run_state.h"
#include "rules/first_line.h"
#include "rules/text.h"

// The input as it is read once more.
struct Walk {
  Stream* stream;
  int64_t line;  // number of the line that comes next
};

// Reads the next line, or piece of a line, as the preparation pass does. Returns false at the end.
static bool readLine(Walk& walk, std::string_view& line) {
  const std::string_view read = readLine(walk.stream, NEXT_LINE_SIZE - 1);
  // Of a long line only the last piece has the newline, and counts.
  if (read.ends_with('\n')) ++walk.line;
  line = read.substr(0, read.find('\0'));
  return !read.empty();
}

// Reads the next entry and puts its first line down. Returns the number of the line in which it begins, 0 behind the
// last.
static int64_t readEntry(Walk& walk, FirstLine& first) {
  int64_t begin = 0;
  bool isFirst = true;
  std::string_view line;
  first.clear();
  for (int64_t number = walk.line; readLine(walk, line); number = walk.line) {
    if (isBlankLine(line) && begin != 0) break;
    // A comment is passed over even within a folded line.
    if (isBlankLine(line) || line[0] == '#') continue;
    if (begin == 0) {
      begin = number;
      append(first, line);
    } else {
      isFirst = isFirst && line[0] == ' ';
      if (isFirst) append(first, line.substr(1));
    }
  }
  trimEnd(first);
  return begin;
}

static Walk openWalk() {
  // A message that cannot tell the line does without.
  if (inputFile.descriptor < 0) return {nullptr, 1};
  return {openStream(duplicateDescriptor(inputFile.descriptor), STREAM_FROM_BEGINNING), 1};
}

int64_t lineOfEntry(int64_t ordinal) {
  // Static, as those below are: it may be for want of memory that the run fails.
  static FirstLine unused;
  Walk walk = openWalk();
  int64_t line = 0;
  for (int64_t i = 0; walk.stream != nullptr && i < ordinal; ++i) line = readEntry(walk, unused);
  closeStream(walk.stream);
  return line;
}

EntryLines linesOfEntries(std::string_view firstLine) {
  static FirstLine wanted;
  static FirstLine found;
  EntryLines lines;
  normalise(wanted, firstLine);
  Walk walk = openWalk();
  while (walk.stream != nullptr && lines.second == 0) {
    const int64_t line = readEntry(walk, found);
    if (line == 0) break;
    if (isEqual(wanted, found)) (lines.first == 0 ? lines.first : lines.second) = line;
  }
  closeStream(walk.stream);
  return lines;
}

bool isSameFirstLine(std::string_view firstLine, std::string_view other) {
  static FirstLine one;
  static FirstLine two;
  normalise(one, firstLine);
  normalise(two, other);
  return isEqual(one, two);
}
