// Files of lines: read, overwritten in place and written through one window of memory each, so that a run
// costs a system call per window, not per line. The way a line is cut is that of the standard line read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// How a stream stands on its file. A regular file has to keep the size that the stream has found and given it: with
// another one it fails to be written, because what somebody else has cut off would be filled with NULs.
enum StreamMode {
  STREAM_FROM_BEGINNING,  // written from the beginning
  STREAM_AT_END,          // written behind what is there
  STREAM_OF_FIXED_SIZE    // read, and changed in place: a file that has become shorter fails to be read, too
};

struct Stream;

// How many streams can be open at once: the run needs four, and a test a few more.
constexpr size_t MAXIMUM_STREAMS = 8;

// Returns another descriptor of the open file, or -1 with the reason in messageReason.
int duplicateDescriptor(int descriptor);

// Makes a stream of an open file, which it takes over. Returns null, with the reason in messageReason, when the file
// cannot be positioned although files of its kind can, when the stream is one too many, and when the descriptor is
// negative: then the reason is that of whoever could not open it. Takes no memory from the heap. The caller closes it
// with closeStream.
Stream* openStream(int descriptor, StreamMode mode);

// Writes what is pending. Returns 0, or -1 when this or any earlier write to the stream failed, with the
// reason in messageReason.
int32_t flushStream(Stream* stream);

// Flushes, closes and frees a stream and sets the pointer to null; a null stream is left alone. Returns 0,
// or -1 when anything written to it may not be in the file, with the reason in messageReason.
int32_t closeStream(Stream*& stream);

// Closes every open stream. For the end of a process that has failed: what was written until then stays in the
// files, and nobody can act on a further failure any more.
void closeAllStreams();

// Reads up to and including the next newline, at most limit characters, which may be NULs. Returns them as they
// stand in memory until the stream is used again; none at the end of the file or when the read fails, which
// readFailed tells apart.
std::string_view readLine(Stream* stream, size_t limit);

// What has been read of the file and not been handed out yet. It is at most the size of the window, and may be nothing.
std::string_view unreadText(const Stream* stream);

// Reads more behind it, which may move it. Returns false at the end of the file or when the read fails.
bool readOn(Stream* stream);

// Hands out the first so many bytes of it.
void passOver(Stream* stream, size_t length);

// True once a NUL has been read.
bool hasMetNul(const Stream* stream);

// Returns a line, which has been read, up to its first NUL.
std::string_view upToNul(const Stream* stream, std::string_view line);

// Keeps in memory what stands from the stream's position on, however much is read, until the hold is given up or the
// position is set. Ends in bad_alloc when memory does not suffice.
void holdText(Stream* stream);
void giveUpHold(Stream* stream);

// Returns where the held text stands in memory: the next read may move it.
char* heldText(Stream* stream);

// Moves over lines that hold only spaces, carriage returns and newlines, as readLine with this limit would cut
// them: the next line read is the first that holds anything else, or the last one, or none is left. Much faster than
// reading them.
void skipBlankLines(Stream* stream, size_t limit);

// True once a write has failed because of somebody else: the reader of a pipe has left, or a file has been changed.
bool isSpoiltByOthers(const Stream* stream);

// Returns false, with the reason in messageReason, when a regular file is not of the size that the stream has given it.
bool hasItsSize(const Stream* stream);

// Returns the size that a regular file has been given by what was written to it; -1 for another file.
int64_t sizeGiven(const Stream* stream);

// True once a read of the stream has failed; it stays so, and nothing more is read from the stream.
bool readFailed(const Stream* stream);

// Writes at the stream's position, over what is there or behind the end. Returns 0, or -1 when this or any
// earlier write to the stream failed, with the reason in messageReason.
int32_t writeText(Stream* stream, const char* text, size_t length);
int32_t writeText(Stream* stream, const char* text);  // a NUL-terminated text

// Returns where in memory the next bytes to be written go, so many of them; null when they do not fit there at once or
// a write to the stream has failed. The caller puts them there and passes over as many as are to be written.
char* roomFor(Stream* stream, size_t length);
void passWritten(Stream* stream, size_t length);

// Reads or sets the stream's position, a byte offset. Returns 0, or -1 when the file has no positions (a
// pipe) or the offset is negative.
int32_t getPosition(const Stream* stream, int64_t* position);
int32_t setPosition(Stream* stream, int64_t position);
