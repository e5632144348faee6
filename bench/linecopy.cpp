// Copies a file line by line and does nothing else: the yardstick that measure.py holds the tool against.
//
// usage: linecopy INPUT OUTPUT
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

static constexpr size_t BLOCK_SIZE = size_t{256} * 1024;
static char inputBlock[BLOCK_SIZE];
static char outputBlock[BLOCK_SIZE];

static size_t require(ssize_t result, const char* what) {
  if (result >= 0) return static_cast<size_t>(result);
  perror(what);
  exit(1);
}

static void writeBlock(int descriptor, size_t length) {
  for (size_t written = 0; written < length;)
    written += require(write(descriptor, outputBlock + written, length - written), "write");
}

int main(int argumentCount, char* arguments[]) {
  if (argumentCount != 3) {
    fprintf(stderr, "usage: linecopy INPUT OUTPUT\n");
    return 1;
  }
  const int input = open(arguments[1], O_RDONLY);
  require(input, arguments[1]);
  const int output = open(arguments[2], O_WRONLY | O_CREAT | O_TRUNC, 0600);
  require(output, arguments[2]);

  size_t filled = 0;
  while (const size_t count = require(read(input, inputBlock, BLOCK_SIZE), "read")) {
    const char* const end = inputBlock + count;
    for (const char* line = inputBlock; line != end;) {  // the last one may go on in the next block
      const void* newline = memchr(line, '\n', static_cast<size_t>(end - line));
      const char* next = newline != nullptr ? static_cast<const char*>(newline) + 1 : end;
      const auto length = static_cast<size_t>(next - line);
      if (length > BLOCK_SIZE - filled) {
        writeBlock(output, filled);
        filled = 0;
      }
      memcpy(outputBlock + filled, line, length);
      filled += length;
      line = next;
    }
  }
  writeBlock(output, filled);
  return require(close(output), "close") == 0 ? 0 : 1;
}
