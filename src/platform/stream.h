// Files of lines: read, overwritten in place and written through one window of memory each, so that a run
// costs a system call per window, not per line. The way a line is cut is that of the standard line read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// How a file is opened; the comment is the mode of the standard library that it stands for.
enum OpenMode {
  OPEN_FOR_UPDATE,  // "rb+": must exist, is not truncated
  OPEN_TO_APPEND,   // "ab+": created if missing, written at its end
  OPEN_TO_CREATE    // "wb+": created or truncated
};

// Whom a file may belong to and what it may be.
enum FileKind {
  NAMED_BY_USER,          // anything that opens, devices and pipes included
  REGULAR_FILE,           // a regular file, found through links too
  PRIVATE_FILE,           // a regular file that nobody can have laid for us to write through: no symbolic link, no
                          // second hard link, owned by the user who runs the tool
  PRIVATE_FILE_OR_DEVICE  // the same, or a character device
};

struct Stream;

// How many streams can be open at once: the run needs three, and a test a few more.
constexpr size_t MAXIMUM_STREAMS = 8;

// Permission bits of the files that the tool creates, narrowed further by the umask, and the group that the group's
// bits are for: a file that gets another group does without. Set at start-up to those of the input, whose secrets the
// files hold.
inline unsigned createdFilePermissions = 0600;
inline unsigned createdFileGroup = 0;

// Opens a file without following what its kind forbids. Returns an open descriptor, or -1 with the reason in
// messageReason. Never blocks on a pipe, and truncates only what it has checked.
int openFile(const char* name, OpenMode mode, FileKind kind);

// Opens a file as a stream; at its end when appending, otherwise at its beginning. Returns null with the
// reason in messageReason when it cannot be opened or is one too many. Takes no memory from the heap. The caller closes
// it with closeStream.
Stream* openStream(const char* name, OpenMode mode, FileKind kind);

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

// Moves over lines that hold only spaces, carriage returns and newlines, as readLine with this limit would cut
// them: the next line read is the first that holds anything else, or the last one, or none is left. Much faster than
// reading them.
void skipBlankLines(Stream* stream, size_t limit);

// True once a read of the stream has failed; it stays so, and nothing more is read from the stream.
bool readFailed(const Stream* stream);

// Writes at the stream's position, over what is there or behind the end. Returns 0, or -1 when this or any
// earlier write to the stream failed, with the reason in messageReason.
int32_t writeText(Stream* stream, const char* text, size_t length);
int32_t writeText(Stream* stream, const char* text);  // a NUL-terminated text

// Returns the next bytes of the file for being changed in place, and moves behind them. Returns null, the position
// being unchanged, when they are not all in memory or a write to the stream has failed.
char* changeInPlace(Stream* stream, size_t length);

// Reads or sets the stream's position, a byte offset. Returns 0, or -1 when the file has no positions (a
// pipe) or the offset is negative.
int32_t getPosition(const Stream* stream, int64_t* position);
int32_t setPosition(Stream* stream, int64_t position);
