#include "platform/open_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>

#include "platform/file_operations.h"
#include "platform/message_catalogue.h"
#include "platform/message_details.h"

// Whatever the input may be read by, and whatever a folder gives to new files: they hold credentials.
static constexpr mode_t CREATED_FILE_PERMISSIONS = S_IRUSR | S_IWUSR;

bool failWith(const char* reason) {
  snprintf(messageReason, sizeof messageReason, "%s", reason);
  return false;
}

bool failWith(DetailText reason) { return failWith(reason == NO_DETAIL ? strerror(errno) : detailText(reason)); }

bool openPlace(const char* path, Place& place) {
  const char* slash = strrchr(path, '/');
  const std::string folder = slash == nullptr ? "." : std::string(path, slash + 1);
  place.name = slash == nullptr ? path : slash + 1;
  if (slash != nullptr && slash[1] == '\0') place.name = ".";  // the folder itself, which can be no file
  // As a place only, which needs no right to read the folder.
  place.folder = open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  return place.folder >= 0 || failWith();
}

static bool isPrivate(FileKind kind) { return kind == PRIVATE_FILE || kind == PRIVATE_FILE_OR_DEVICE; }

static int openFlags(OpenMode mode, FileKind kind) {
  // A terminal that is named as a file must not become the terminal of the process.
  int flags = (mode == OPEN_TO_WRITE ? O_WRONLY : O_RDWR) | O_CLOEXEC | O_NOCTTY;
  if (isPrivate(kind)) flags |= O_NOFOLLOW;
  // Where no pipe is wanted, one must not make the opening wait for its other end.
  if (kind != NAMED_BY_USER) flags |= O_NONBLOCK;
  return flags;
}

// Returns false, with the reason in messageReason, when an open file is not of the given kind.
static bool isOfKind(int descriptor, FileKind kind) {
  struct stat status;
  if (kind == NAMED_BY_USER) return true;
  if (fstat(descriptor, &status) != 0) return failWith();
  if (kind == PRIVATE_FILE_OR_DEVICE && S_ISCHR(status.st_mode)) return true;
  if (!S_ISREG(status.st_mode)) return failWith(NOT_REGULAR);
  if (kind == REGULAR_FILE) return true;
  if (status.st_nlink > 1) return failWith(SECOND_HARD_LINK);
  return status.st_uid == geteuid() || failWith(OTHER_USERS_FILE);
}

static bool letBlockAgain(int descriptor) {
  const int flags = fcntl(descriptor, F_GETFL);
  return (flags >= 0 && fcntl(descriptor, F_SETFL, flags & ~O_NONBLOCK) == 0) || failWith();
}

// Tells what can be done about it where an input may be read but not written.
static void explainFailedOpening(const Place& place, OpenMode mode, FileKind kind) {
  // That is how O_NOFOLLOW says that there is one.
  if (errno == ELOOP && isPrivate(kind)) {
    failWith(SYMBOLIC_LINK);
    return;
  }
  failWith();
  const bool isForbidden = errno == EACCES || errno == EROFS || errno == EPERM || errno == ETXTBSY;
  if (kind != REGULAR_FILE || mode != OPEN_FOR_UPDATE || !isForbidden) return;
  // If it can be read, the user may wonder why it must be written to.
  const int descriptor = openat(place.folder, place.name, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
  if (descriptor < 0) return;
  close(descriptor);
  const size_t length = strlen(messageReason);
  snprintf(messageReason + length, sizeof messageReason - length, "%s", detailText(INPUT_NOT_WRITABLE));
}

bool openHeldFile(const Place& place, OpenMode mode, FileKind kind, HeldFile& file) {
  const int flags = openFlags(mode, kind);
  file = {openat(place.folder, place.name, flags), false, place};
  // In a step of its own, so that it is known whose file it is: if another run makes it first, this fails.
  if (file.descriptor < 0 && errno == ENOENT && mode != OPEN_FOR_UPDATE)
    file = {openat(place.folder, place.name, flags | O_CREAT | O_EXCL, CREATED_FILE_PERMISSIONS), true, place};
  if (file.descriptor < 0) {
    explainFailedOpening(place, mode, kind);
    return false;
  }
  if (isOfKind(file.descriptor, kind) && (kind == NAMED_BY_USER || letBlockAgain(file.descriptor))) return true;
  close(file.descriptor);
  file.descriptor = -1;
  return false;
}

void closeHeldFile(HeldFile& file) {
  for (const int descriptor : {file.descriptor, file.place.folder})
    if (descriptor >= 0) close(descriptor);
  file = {};
}

bool openOrCreateByPath(const char* path, OpenMode mode, HeldFile& file) {
  // Another run may create the file, or take it away, between one call and the next.
  constexpr int ATTEMPTS = 10;
  for (int attempt = 0; attempt < ATTEMPTS; ++attempt) {
    file = {open(path, openFlags(mode, NAMED_BY_USER)), false, {}};
    if (file.descriptor >= 0) return true;
    if (errno != ENOENT || *path == '\0') return failWith();
    Place place;
    static char target[2 * PATH_MAX];  // the place lends its name, which stands behind a folder
    const std::string resolved = resolvedPath(path);
    if (resolved.size() >= sizeof target) return failWith(strerror(ENAMETOOLONG));
    resolved.copy(target, resolved.size());
    target[resolved.size()] = '\0';
    if (!openPlace(target, place)) return false;
    if (openHeldFile(place, mode, NAMED_BY_USER, file)) return true;
    const bool isThereNow = errno == EEXIST;
    closeHeldFile(file);
    // If it has been made meanwhile, it can be opened the next time round.
    if (!isThereNow) return false;
  }
  return false;
}

bool isSame(const struct stat& status, const struct stat& other) {
  return status.st_dev == other.st_dev && status.st_ino == other.st_ino;
}

bool isUnderName(const HeldFile& file, const char* path) {
  struct stat status;
  struct stat named;
  if (fstat(file.descriptor, &status) != 0) return failWith();
  if (!S_ISREG(status.st_mode)) return true;
  if (stat(path, &named) != 0) return failWith();
  return isSame(status, named) || failWith(REPLACED_BY_OTHERS);
}

bool lockFile(const HeldFile& file, const char* path) {
  struct stat status;
  if (fstat(file.descriptor, &status) != 0) return failWith();
  if (!S_ISREG(status.st_mode)) return true;
  int result;
  do {
    // A signal that does not end the run may interrupt it.
    result = flock(file.descriptor, LOCK_EX | LOCK_NB);
  } while (result != 0 && errno == EINTR);
  if (result != 0) return failWith(errno == EWOULDBLOCK ? USED_BY_ANOTHER_RUN : NO_DETAIL);
  // A run that ends early takes away the empty file that it has made.
  return isUnderName(file, path);
}

bool cutFile(int descriptor) {
  struct stat status;
  if (fstat(descriptor, &status) != 0) return failWith();
  // What is no file has nothing to cut.
  return !S_ISREG(status.st_mode) || ftruncate(descriptor, 0) == 0 || failWith();
}

bool isInPlace(const Place& place, int descriptor) {
  struct stat status;
  struct stat named;
  return fstat(descriptor, &status) == 0 && fstatat(place.folder, place.name, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
         isSame(status, named);
}

void removeEmptyFile(const HeldFile& file) {
  struct stat status;
  const bool isEmpty = file.isNew && fstat(file.descriptor, &status) == 0 && status.st_size == 0;
  // Another run may have found the file meanwhile, and be about to use it.
  if (isEmpty && flock(file.descriptor, LOCK_EX | LOCK_NB) == 0 && isInPlace(file.place, file.descriptor))
    unlinkat(file.place.folder, file.place.name, 0);
}

static int syncDescriptor(int descriptor) {
  int result;
  do {
    result = fsync(descriptor);
  } while (result != 0 && errno == EINTR);
  return result;
}

// A folder that may be written to but not read cannot be opened for it; then all of its file system is brought to the
// disk.
static bool syncFolder(const HeldFile& file) {
  const int folder = openat(file.place.folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return syncfs(file.descriptor) == 0 || failWith();
  const bool isSynced = syncDescriptor(folder) == 0 || errno == EINVAL;  // some file systems have nothing to sync there
  if (!isSynced) failWith();
  close(folder);
  return isSynced;
}

bool syncFile(const HeldFile& file) {
  struct stat status;
  if (fstat(file.descriptor, &status) != 0) return failWith();
  if (!S_ISREG(status.st_mode)) return true;
  if (syncDescriptor(file.descriptor) != 0) return failWith();
  // The entry of a file that was there before is on the disk already.
  return !file.isNew || syncFolder(file);
}
