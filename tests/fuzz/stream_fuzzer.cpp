// The stream against a file in memory: reads, moves over blank lines, jumps and writes in any order, with some of the
// file held in memory or not, leave both at the same place with the same contents. The input's first part is the
// operations, two bytes each, the rest the file.
#include <fcntl.h>

#include <algorithm>
#include <optional>

#include "fuzz_support.h"
#include "plain_rules.h"
#include "platform/stream.h"

static constexpr size_t LARGEST_FILE = 700'000;  // bytes; a stream looks at its file through a window of 256 KiB
static constexpr char NAME[] = "input";

// The file as it has to be, and where in it the stream has to stand.
static std::string contents;
static size_t cursor;

static Stream* stream;

// Where what is held in memory begins in the file.
static std::optional<size_t> held;

static void endHold() {
  giveUpHold(stream);
  held.reset();
}

static void readOneLine(size_t limit) {
  const std::string expected = plain::readLine(contents, cursor, limit);
  require(readLine(stream, limit) == expected, "a line is read as it stands");
  cursor += expected.size();
}

// Where the stream may stand afterwards: before the first line that is not blank; if there is none, before the last
// line or at the end.
static void moveOverBlankLines(size_t limit) {
  skipBlankLines(stream, limit);
  int64_t position = -1;
  getPosition(stream, &position);
  size_t lastLine = cursor;
  std::string line = plain::readLine(contents, cursor, limit);
  while (!line.empty() && plain::isBlank(line)) {
    lastLine = cursor;
    cursor += line.size();
    line = plain::readLine(contents, cursor, limit);
  }
  if (line.empty() && position == static_cast<int64_t>(lastLine)) cursor = lastLine;
}

static void jump(size_t position) {
  require(setPosition(stream, static_cast<int64_t>(position)) == 0, "a place in the file can be gone to");
  held.reset();
  cursor = position;
}

static void write(const std::string& text) {
  endHold();
  require(writeText(stream, text.c_str(), text.size()) == 0, "the file can be written");
  contents.replace(cursor, std::min(text.size(), contents.size() - cursor), text);
  cursor += text.size();
}

// Hands out half of what stands in memory behind the cursor, read on before if need be.
static void passOverText(bool readsOn) {
  if (readsOn) readOn(stream);
  const std::string_view unread = unreadText(stream);
  require(contents.compare(cursor, unread.size(), unread) == 0, "what has been read stands as in the file");
  const size_t length = (unread.size() + 1) / 2;
  passOver(stream, length);
  cursor += length;
}

static void overwriteInPlace(size_t length) {
  endHold();
  char* const room = roomFor(stream, length);
  if (room == nullptr) return;
  std::fill_n(room, length, 'z');
  passWritten(stream, length);
  contents.replace(cursor, std::min(length, contents.size() - cursor), length, 'z');
  cursor += length;
}

static void blankOutLine() {
  const size_t lineStart = cursor;
  readOneLine(LONGEST_LINE);
  const size_t length = cursor - lineStart;
  jump(lineStart);
  write(plain::blanked(std::string(length, 'x')));
}

static void operate(unsigned operation, size_t argument, size_t& remembered) {
  constexpr unsigned NUMBER_OF_OPERATIONS = 14;
  switch (operation % NUMBER_OF_OPERATIONS) {
    case 0:
      return readOneLine(LONGEST_LINE);
    case 1:
      return readOneLine(argument + 1);
    case 2:
      return moveOverBlankLines(LONGEST_LINE);
    case 3:
      return moveOverBlankLines(argument + 1);
    case 4:
      remembered = cursor;
      return;
    case 5:
      return jump(remembered);
    case 6:
      return jump(contents.size() * argument / 255);
    case 7:
      return blankOutLine();
    case 8:
      return write(std::string(argument * argument / 16, static_cast<char>('a' + argument % 26)));
    case 9:
      return passOverText(argument % 2 == 0);
    case 10:
      holdText(stream);
      held = cursor;
      return;
    case 11:
      return endHold();
    case 12:
      return overwriteInPlace(argument);
    default:
      require(flushStream(stream) == 0, "the file can be written");
  }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input = unpack(data, size, LARGEST_FILE);
  const bool isAppending = (input.switches & 1) != 0;
  const std::string operations = takePart(input.text);
  contents = input.text;
  cursor = isAppending ? contents.size() : 0;
  held.reset();
  beginRun();
  writeFile(NAME, contents);
  stream = openStream(open(NAME, O_RDWR), isAppending ? STREAM_AT_END : STREAM_FROM_BEGINNING);
  require(stream != nullptr, "the file can be opened");

  size_t remembered = 0;
  constexpr size_t MOST_OPERATIONS = 200;
  for (size_t i = 0; i + 1 < std::min(operations.size(), 2 * MOST_OPERATIONS); i += 2) {
    operate(static_cast<unsigned char>(operations[i]), static_cast<unsigned char>(operations[i + 1]), remembered);
    int64_t position = -1;
    require(getPosition(stream, &position) == 0 && position == static_cast<int64_t>(cursor),
            "the stream stands where it has to");
    if (held)
      require(contents.compare(*held, cursor - *held, heldText(stream), cursor - *held) == 0, "what is held stays");
  }
  require(closeStream(stream) == 0 && readFile(NAME) == contents, "the file holds what was written");
  return 0;
}
