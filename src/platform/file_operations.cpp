#include "platform/file_operations.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <initializer_list>
#include <string_view>
#include <system_error>

#include "platform/open_file.h"
#include "platform/stream.h"

static int32_t copyContents(Stream* source, Stream* destination) {
  // Line by line, or in pieces of a longer one: where the pieces are cut makes no difference to the copy.
  constexpr size_t PART_SIZE = 4096;
  for (;;) {
    const std::string_view part = readLine(source, PART_SIZE);
    if (part.empty()) break;
    if (writeText(destination, part.data(), part.size()) != 0) return -1;
  }
  return readFailed(source) ? -1 : 0;
}

static int32_t copyBetween(int from, int to) {
  // On descriptors of their own, so that closing the streams leaves the run's files open, and locked.
  Stream* source = openStream(duplicateDescriptor(from), STREAM_OF_FIXED_SIZE);
  Stream* destination = source == nullptr ? nullptr : openStream(duplicateDescriptor(to), STREAM_FROM_BEGINNING);
  int32_t result = destination == nullptr ? -1 : copyContents(source, destination);
  // Its last writes are made only now.
  if (closeStream(destination) != 0) result = -1;
  closeStream(source);
  return result;
}

// What is shown there would get into the file.
static bool isNoStandardStream(int descriptor) {
  struct stat status;
  if (fstat(descriptor, &status) != 0) return failWith();
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
    struct stat shown;
    if (fstat(stream, &shown) == 0 && isSame(status, shown)) return failWith(LED_TO_BY_STREAM);
  }
  return true;
}

int32_t copyFile(int descriptor, const char* to, HeldFile& copy) {
  const bool isReady = openPlace(to, copy.place) && openHeldFile(copy.place, OPEN_OR_CREATE, PRIVATE_FILE, copy) &&
                       isNoStandardStream(copy.descriptor) && lockFile(copy, to) && cutFile(copy.descriptor);
  return isReady ? copyBetween(descriptor, copy.descriptor) : -1;
}

std::filesystem::path resolvedPath(std::filesystem::path path) {
  // As many as the system follows itself; links that lead in a circle end here.
  constexpr int MAXIMUM_LINKS = 40;
  std::error_code error;
  for (int link = 0; link < MAXIMUM_LINKS && std::filesystem::is_symlink(path, error); ++link) {
    const std::filesystem::path target = std::filesystem::read_symlink(path, error);
    if (error) break;
    path = path.parent_path() / target;
  }
  const std::filesystem::path folder = path.parent_path().empty() ? "." : path.parent_path();
  const std::filesystem::path resolved = std::filesystem::weakly_canonical(folder, error);
  return (error ? folder : resolved) / path.filename();
}

// A folder may be found by more than one path, even without links: it can be mounted at several places.
static bool leadToOneFile(const std::filesystem::path& path, const std::filesystem::path& other) {
  std::error_code error;
  return path == other || (path.filename() == other.filename() &&
                           std::filesystem::equivalent(path.parent_path(), other.parent_path(), error));
}

bool isSameFile(const char* name, const char* otherName) {
  struct stat status;
  struct stat otherStatus;
  const bool exists = stat(name, &status) == 0;
  const bool otherExists = stat(otherName, &otherStatus) == 0;
  // A file that is there is none that is still to be made.
  if (exists != otherExists) return false;
  // An empty name leads nowhere, and so is the same as no other.
  if (!exists) return *name != '\0' && leadToOneFile(resolvedPath(name), resolvedPath(otherName));
  return S_ISREG(status.st_mode) && isSame(status, otherStatus);
}

bool openMissingStandardStreams() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    const bool isOpen = fcntl(descriptor, F_GETFD) >= 0;
    // The lowest free number is given out, which is this one.
    if (!isOpen && open("/dev/null", O_RDWR) < 0) return false;
  }
  return true;
}
