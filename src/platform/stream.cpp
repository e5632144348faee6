#include "platform/stream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "platform/open_file.h"

// A test makes it small, so that every place of an entry meets the window's edge.
#ifndef STREAM_WINDOW_SIZE
#define STREAM_WINDOW_SIZE 262144
#endif
static constexpr size_t WINDOW_SIZE = STREAM_WINDOW_SIZE;
static constexpr size_t PAGE_SIZE = WINDOW_SIZE / 64;
// How much is read after a jump to another place; doubled by every read that goes on from there.
static constexpr size_t FIRST_READ_SIZE = WINDOW_SIZE * 3 / 32;
// What stays of a window when reading moves on, so that going back to where an entry began finds it still there.
static constexpr size_t KEPT_SIZE = WINDOW_SIZE / 4;

struct Stream {
  int64_t windowStart;  // offset in the file of the window's first byte
  int64_t size;         // that the file has to have; -1 for one without a length
  size_t readSize;      // bytes to read next
  size_t filled;        // bytes of the window that hold file content, read or written
  size_t cursor;        // next byte to read or write; at most filled
  size_t dirtyBegin;    // the bytes from here
  size_t dirtyEnd;      // up to here are not in the file yet; equal: nothing is pending
  int descriptor;
  bool isOpen;
  bool hasPositions;
  bool readHasFailed;
  bool writeHasFailed;
  bool isOfFixedSize;
  bool isSpoiltByOthers;
  bool hasMetNul;
  size_t hold;      // the bytes of the window from here on have to stay; NO_HOLD when they need not
  size_t capacity;  // bytes of the window
  char* window;     // firstWindow, or a larger one from the heap while a text is held that does not fit
  char firstWindow[WINDOW_SIZE];
};

static constexpr size_t NO_HOLD = SIZE_MAX;

// A fixed number, so that opening one cannot fail for want of memory.
static Stream streams[MAXIMUM_STREAMS];

int duplicateDescriptor(int descriptor) {
  const int duplicate = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
  if (duplicate < 0) failWith();
  return duplicate;
}

static void initialise(Stream* stream, int descriptor, off_t offset) {
  stream->isOpen = true;
  stream->descriptor = descriptor;
  stream->hasPositions = offset >= 0;
  stream->size = -1;
  stream->readHasFailed = stream->writeHasFailed = stream->isSpoiltByOthers = stream->hasMetNul = false;
  stream->windowStart = std::max<off_t>(offset, 0);
  stream->readSize = FIRST_READ_SIZE;
  stream->filled = stream->cursor = stream->dirtyBegin = stream->dirtyEnd = 0;
  stream->hold = NO_HOLD;
  stream->capacity = WINDOW_SIZE;
  stream->window = stream->firstWindow;
}

// A pipe has no position, and needs none to be written to.
static bool findPosition(int descriptor, StreamMode mode, off_t& offset) {
  offset = lseek(descriptor, 0, mode == STREAM_AT_END ? SEEK_END : SEEK_SET);
  return offset >= 0 || (errno == ESPIPE && mode != STREAM_AT_END) || failWith();
}

static bool takeSize(Stream* stream, StreamMode mode) {
  struct stat status;
  if (fstat(stream->descriptor, &status) != 0) return failWith();
  // What is no regular file has no size to keep to.
  if (S_ISREG(status.st_mode)) stream->size = status.st_size;
  stream->isOfFixedSize = mode == STREAM_OF_FIXED_SIZE;
  return true;
}

Stream* openStream(int descriptor, StreamMode mode) {
  if (descriptor < 0) return nullptr;
  Stream* stream = std::find_if(std::begin(streams), std::end(streams), [](const Stream& s) { return !s.isOpen; });
  off_t offset = 0;
  if (stream == std::end(streams)) {
    failWith(TOO_MANY_STREAMS);
  } else if (findPosition(descriptor, mode, offset)) {
    initialise(stream, descriptor, offset);
    if (takeSize(stream, mode)) return stream;
    stream->isOpen = false;
  }
  close(descriptor);
  return nullptr;
}

bool hasItsSize(const Stream* stream) {
  struct stat status;
  if (stream->size < 0) return true;
  if (fstat(stream->descriptor, &status) != 0) return failWith();
  return status.st_size == stream->size || failWith(CHANGED_BY_OTHERS);
}

int64_t sizeGiven(const Stream* stream) { return stream->size; }

bool isSpoiltByOthers(const Stream* stream) { return stream->isSpoiltByOthers; }

// Writes the pending bytes. They are given up when it fails: the stream then stays failed.
static void writePending(Stream* stream) {
  // Writing behind what somebody else has cut off would fill the gap with NULs.
  if (stream->dirtyBegin < stream->dirtyEnd && !hasItsSize(stream))
    stream->writeHasFailed = stream->isSpoiltByOthers = true;
  while (stream->dirtyBegin < stream->dirtyEnd && !stream->writeHasFailed) {
    const char* from = stream->window + stream->dirtyBegin;
    const size_t length = stream->dirtyEnd - stream->dirtyBegin;
    const int64_t offset = stream->windowStart + static_cast<int64_t>(stream->dirtyBegin);
    const ssize_t written = stream->hasPositions ? pwrite(stream->descriptor, from, length, offset)
                                                 : write(stream->descriptor, from, length);
    if (written > 0) {
      stream->dirtyBegin += static_cast<size_t>(written);
      if (stream->size >= 0) stream->size = std::max<int64_t>(stream->size, offset + written);
    } else if (written == 0 || errno != EINTR) {
      failWith();
      // A reader who has gone is no failing machine.
      stream->isSpoiltByOthers = errno == EPIPE;
      stream->writeHasFailed = true;
    }
  }
  stream->dirtyBegin = stream->dirtyEnd = 0;
}

int32_t flushStream(Stream* stream) {
  writePending(stream);
  return stream->writeHasFailed ? -1 : 0;
}

int32_t closeStream(Stream*& stream) {
  if (stream == nullptr) return 0;
  int32_t result = flushStream(stream);
  // Some file systems tell only here that a write has failed.
  if (close(stream->descriptor) != 0 && result == 0) {
    failWith();
    result = -1;
  }
  stream->isOpen = false;
  if (stream->window != stream->firstWindow) delete[] stream->window;
  stream = nullptr;
  return result;
}

void closeAllStreams() {
  for (Stream& open : streams) {
    Stream* stream = open.isOpen ? &open : nullptr;
    closeStream(stream);
  }
}

void holdText(Stream* stream) { stream->hold = stream->cursor; }

char* heldText(Stream* stream) { return stream->window + stream->hold; }

static void growWindow(Stream* stream) {
  char* grown = new char[stream->capacity * 2];
  memcpy(grown, stream->window, stream->filled);
  if (stream->window != stream->firstWindow) delete[] stream->window;
  stream->window = grown;
  stream->capacity *= 2;
}

// A window that has grown goes back to its size as soon as what is in it fits.
void giveUpHold(Stream* stream) {
  stream->hold = NO_HOLD;
  const size_t rest = stream->filled - stream->cursor;
  if (stream->window == stream->firstWindow || rest > WINDOW_SIZE || stream->dirtyBegin < stream->dirtyEnd) return;
  memcpy(stream->firstWindow, stream->window + stream->cursor, rest);
  delete[] stream->window;
  stream->window = stream->firstWindow;
  stream->capacity = WINDOW_SIZE;
  stream->windowStart += static_cast<int64_t>(stream->cursor);
  stream->filled = rest;
  stream->cursor = 0;
}

// Moves the window on so that more bytes follow the cursor. Returns false at the end of the file or when the
// read fails.
bool readOn(Stream* stream) {
  // What is read next may be what has been written and is still pending.
  writePending(stream);
  if (stream->readHasFailed) return false;
  if (stream->filled > KEPT_SIZE) {
    // Neither what is still to be read nor what is held.
    const size_t dropped = std::min({stream->filled - KEPT_SIZE, stream->cursor, stream->hold});
    if (dropped > 0) memmove(stream->window, stream->window + dropped, stream->filled - dropped);
    stream->windowStart += static_cast<int64_t>(dropped);
    stream->filled -= dropped;
    stream->cursor -= dropped;
    if (stream->hold != NO_HOLD) stream->hold -= dropped;
  }
  if (stream->filled == stream->capacity) growWindow(stream);
  const size_t wanted = std::min(stream->readSize, stream->capacity - stream->filled);
  // Behind a jump little may be wanted; whoever reads on wants more.
  stream->readSize = std::min(stream->readSize * 2, WINDOW_SIZE);
  ssize_t count;
  do {
    count = pread(stream->descriptor, stream->window + stream->filled, wanted,
                  stream->windowStart + static_cast<int64_t>(stream->filled));
  } while (count < 0 && errno == EINTR);
  const int64_t end = stream->windowStart + static_cast<int64_t>(stream->filled);
  // The end of the file before its known size means that somebody has cut it.
  if (count < 0 || (count == 0 && stream->isOfFixedSize && end < stream->size)) {
    failWith(count == 0 ? CHANGED_BY_OTHERS : NO_DETAIL);
    stream->readHasFailed = true;
  }
  if (count <= 0) return false;
  const auto size = static_cast<size_t>(count);
  // Once there has been one, lines are searched for others; in nearly all files there is none.
  stream->hasMetNul = stream->hasMetNul || memchr(stream->window + stream->filled, '\0', size) != nullptr;
  stream->filled += size;
  return true;
}

std::string_view readLine(Stream* stream, size_t limit) {
  for (;;) {
    const char* from = stream->window + stream->cursor;
    const size_t available = std::min(stream->filled - stream->cursor, limit);
    const void* newline = memchr(from, '\n', available);
    if (newline == nullptr && available < limit && readOn(stream)) continue;
    if (newline == nullptr && stream->readHasFailed) return {};  // not the part of a line that came before
    const size_t length = newline == nullptr ? std::min(stream->filled - stream->cursor, limit)
                                             : static_cast<size_t>(static_cast<const char*>(newline) - from) + 1;
    stream->cursor += length;
    return {stream->window + stream->cursor - length, length};
  }
}

// Returns the first character that is not blank, or end.
static const char* findNonBlank(const char* from, const char* end) {
  constexpr char SPACES[] = "        ";
  constexpr ptrdiff_t STEP = sizeof SPACES - 1;
  for (;; ++from) {
    // Entries that have been taken are long runs of spaces.
    while (end - from >= STEP && memcmp(from, SPACES, STEP) == 0) from += STEP;
    if (from == end || (*from != ' ' && *from != '\r' && *from != '\n')) return from;
  }
}

void skipBlankLines(Stream* stream, size_t limit) {
  for (;;) {
    const char* begin = stream->window + stream->cursor;
    const char* end = stream->window + stream->filled;
    const char* nonBlank = findNonBlank(begin, end);
    const auto* lastNewline = static_cast<const char*>(memrchr(begin, '\n', static_cast<size_t>(nonBlank - begin)));
    const char* lineStart = lastNewline == nullptr ? begin : lastNewline + 1;
    // Of a line that is longer than the limit, the pieces before the one with the character are blank lines, too.
    const size_t blankPieces = static_cast<size_t>(nonBlank - lineStart) / limit;
    stream->cursor = static_cast<size_t>(lineStart - stream->window) + blankPieces * limit;
    if (nonBlank != end || !readOn(stream)) return;
  }
}

std::string_view unreadText(const Stream* stream) {
  return {stream->window + stream->cursor, stream->filled - stream->cursor};
}

void passOver(Stream* stream, size_t length) { stream->cursor += length; }

bool hasMetNul(const Stream* stream) { return stream->hasMetNul; }

std::string_view upToNul(const Stream* stream, std::string_view line) {
  return stream->hasMetNul ? line.substr(0, line.find('\0')) : line;
}

bool readFailed(const Stream* stream) { return stream->readHasFailed; }

// Moves the window behind what has been written, so that there is room again. What does not fill a page of the file
// stays pending: a page that is written in two parts takes longer.
static void makeRoom(Stream* stream) {
  const size_t behindPage = static_cast<size_t>(stream->windowStart + static_cast<int64_t>(stream->cursor)) % PAGE_SIZE;
  const bool canStay =
      stream->hasPositions && stream->dirtyEnd == stream->cursor && stream->dirtyBegin + behindPage < stream->dirtyEnd;
  // The bytes since the last whole page.
  const size_t rest = canStay ? behindPage : 0;
  stream->dirtyEnd -= rest;
  writePending(stream);
  memmove(stream->window, stream->window + stream->cursor - rest, rest);
  stream->windowStart += static_cast<int64_t>(stream->cursor - rest);
  stream->filled = stream->cursor = stream->dirtyEnd = rest;
}

char* roomFor(Stream* stream, size_t length) {
  if (length > stream->capacity - stream->cursor && length <= stream->capacity) makeRoom(stream);
  // A text that the window cannot hold at all is written in parts, by writeText.
  return length > stream->capacity - stream->cursor || stream->writeHasFailed ? nullptr
                                                                              : stream->window + stream->cursor;
}

void passWritten(Stream* stream, size_t length) {
  if (stream->dirtyBegin == stream->dirtyEnd) stream->dirtyBegin = stream->dirtyEnd = stream->cursor;
  stream->dirtyBegin = std::min(stream->dirtyBegin, stream->cursor);
  stream->cursor += length;
  stream->dirtyEnd = std::max(stream->dirtyEnd, stream->cursor);
  stream->filled = std::max(stream->filled, stream->cursor);
}

int32_t writeText(Stream* stream, const char* text, size_t length) {
  while (length > 0 && !stream->writeHasFailed) {
    // The window is written out when it is full, and not before: a system call for each.
    if (stream->cursor == stream->capacity) makeRoom(stream);
    const size_t part = std::min(length, stream->capacity - stream->cursor);
    memcpy(stream->window + stream->cursor, text, part);
    passWritten(stream, part);
    text += part;
    length -= part;
  }
  return stream->writeHasFailed ? -1 : 0;
}

int32_t writeText(Stream* stream, const char* text) { return writeText(stream, text, strlen(text)); }

int32_t getPosition(const Stream* stream, int64_t* position) {
  if (!stream->hasPositions) return -1;
  *position = stream->windowStart + static_cast<int64_t>(stream->cursor);
  return 0;
}

int32_t setPosition(Stream* stream, int64_t position) {
  if (!stream->hasPositions || position < 0) return -1;
  giveUpHold(stream);
  // Mostly it is a short way back, to what is still in the window.
  const int64_t inWindow = position - stream->windowStart;
  if (inWindow >= 0 && inWindow <= static_cast<int64_t>(stream->filled)) {
    stream->cursor = static_cast<size_t>(inWindow);
    return 0;
  }
  writePending(stream);
  stream->readSize = FIRST_READ_SIZE;
  stream->windowStart = position;
  stream->filled = stream->cursor = 0;
  return 0;
}
