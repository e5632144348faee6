// How the files of the run are opened: found in a folder that is held open, looked at before anything is written to
// them, and locked.
#pragma once

#include <sys/stat.h>

#include <cstdint>

#include "platform/detail_texts.h"

// What a file may be, and to whom it may belong.
enum FileKind {
  NAMED_BY_USER,          // anything that opens, devices and pipes included
  REGULAR_FILE,           // a regular file, found through links too
  PRIVATE_FILE,           // a regular file that nobody can have laid for us to write through: no symbolic link, no
                          // second hard link, owned by the user who runs the tool
  PRIVATE_FILE_OR_DEVICE  // the same, or a character device
};

// How a file is opened. None of them cuts it.
enum OpenMode {
  OPEN_FOR_UPDATE,  // must exist; for reading and writing
  OPEN_OR_CREATE,   // created if missing; for reading and writing
  OPEN_TO_WRITE     // created if missing; for writing only, so that a pipe waits for its reader, and misses it
};

// A name in a folder. What is opened, looked at or removed there stays in this folder, whatever becomes of the path
// that led to it.
struct Place {
  int folder = -1;        // descriptor; -1 while none is open
  const char* name = "";  // of the file in it; lent
};

// A file that the run holds. Its lock hangs on the descriptor.
struct HeldFile {
  int descriptor = -1;  // -1 while none is open
  bool isNew = false;   // it was created by its opening
  Place place;          // where it stands. Without a folder for a file that was there and was found by its name
};

// Splits a path and opens its folder. Returns false, with the reason in messageReason, when there is none. The folder
// stays open to the end of the process.
bool openPlace(const char* path, Place& place);

// Opens a file in a place without following what its kind forbids, and never blocks on a pipe unless the user has named
// it. A file that is created can be opened by its owner alone, less the umask, whatever its folder says. Returns
// false with the reason in messageReason.
bool openHeldFile(const Place& place, OpenMode mode, FileKind kind, HeldFile& file);

// Closes a file and its folder, and thereby gives up the lock.
void closeHeldFile(HeldFile& file);

// Opens a file by its path, through links and even where one leads to a file that is not there yet.
bool openOrCreateByPath(const char* path, OpenMode mode, HeldFile& file);

// Locks a regular file against other runs, without waiting for them; other files cannot be locked and need not be. The
// name must still lead to the file. Returns false with the reason in messageReason.
bool lockFile(const HeldFile& file, const char* path);

// Returns false, with the reason in messageReason, when a regular file is not found under its name any more.
bool isUnderName(const HeldFile& file, const char* path);

// Cuts a regular file to nothing. Pipes and devices have no length. Returns false with the reason in messageReason.
bool cutFile(int descriptor);

// Removes a new file that is still empty, and nothing else.
void removeEmptyFile(const HeldFile& file);

// True when both are the same file.
bool isSame(const struct stat& status, const struct stat& other);

// True when what stands in the place is the open file. Calls only what a signal handler may call.
bool isInPlace(const Place& place, int descriptor);

// Brings a regular file to the disk and, when it is new, its entry in the folder. Returns false with the reason in
// messageReason.
bool syncFile(const HeldFile& file);

// Keep the reason of the last call that failed, which is errno's text unless another is given. Return false.
bool failWith(DetailText reason = NO_DETAIL);
bool failWith(const char* reason);
