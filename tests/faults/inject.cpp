// Makes a chosen call of a program fail. Preloaded (LD_PRELOAD), and told in the environment:
//   FAULT_CALL     the kind of call: malloc (calloc and realloc, too), open, read (pread, too), write (pwrite, too),
//                  close, lseek, ftruncate, fstat, fsync, unlink, madvise, or fflush of a standard stream (fclose,
//                  too), which then loses what it was to write
//   FAULT_NUMBER   which of these calls, counted from 1 and from the beginning of main
//   FAULT_ERRNO    the error's name; EIO when absent
//   FAULT_FILE     how the name of the file must end for a call to count; without it every call on a regular file does
//   FAULT_LASTING  set: all later calls fail, too
//   FAULT_SHORT    set: a read or write does not fail but moves only half of the bytes
//   FAULT_STOP     set: the call does not fail, and behind it the process stops until it is continued
//   FAULT_REPORT   a file that reads "armed" from the beginning of main and "delivered" once a call has failed
// Other calls that the C library makes for its streams cannot be reached, only the memory that it takes for them.
#include <dlfcn.h>
#include <fcntl.h>
#include <stdio_ext.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
}

struct ErrorName {
  std::string_view name;
  int number;
};

static constexpr ErrorName errorNames[] = {{"EIO", EIO},       {"ENOSPC", ENOSPC}, {"EFBIG", EFBIG},
                                           {"EDQUOT", EDQUOT}, {"EINTR", EINTR},   {"ENOMEM", ENOMEM},
                                           {"EACCES", EACCES}, {"ESPIPE", ESPIPE}, {"EMFILE", EMFILE}};

static bool isArmed = false;    // from the beginning of main to the end of what it leaves to be done at the exit
static long callsCounted = 0;   // calls of the chosen kind
static bool stopIsDue = false;  // behind the call that is being made

static std::string_view setting(const char* name) {
  const char* value = getenv(name);
  return value != nullptr ? value : "";
}

static bool isSet(const char* name) { return getenv(name) != nullptr; }

static void report(std::string_view state) {
  const char* name = getenv("FAULT_REPORT");
  if (name == nullptr) return;
  const long file = syscall(SYS_openat, AT_FDCWD, name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  syscall(SYS_write, file, state.data(), state.size());
  syscall(SYS_close, file);
}

// Counts the call if it is of the chosen kind. Returns true when it is to fail.
static bool isStruck(std::string_view call) {
  if (!isArmed || setting("FAULT_CALL") != call) return false;
  const long chosen = strtol(setting("FAULT_NUMBER").data(), nullptr, 10);
  ++callsCounted;
  if (callsCounted < chosen || (callsCounted > chosen && !isSet("FAULT_LASTING"))) return false;
  report("delivered");
  stopIsDue = isSet("FAULT_STOP");
  return !stopIsDue;
}

// Takes the result of a call through; a call that was struck to stop stops the process here.
template <typename Result = int>
static Result made(long result) {
  const int errnoOfCall = errno;
  if (stopIsDue) raise(SIGSTOP);
  stopIsDue = false;
  errno = errnoOfCall;
  return static_cast<Result>(result);
}

static bool nameCounts(std::string_view name) { return name.ends_with(setting("FAULT_FILE")); }

static bool isRegular(int file) {
  struct stat status;
  return syscall(SYS_newfstatat, file, "", &status, AT_EMPTY_PATH) == 0 && S_ISREG(status.st_mode);
}

static bool fileCounts(int file) {
  const int errnoBefore = errno;
  char link[32];
  snprintf(link, sizeof link, "/proc/self/fd/%d", file);
  char name[4096];
  const ssize_t length = readlink(link, name, sizeof name);
  const bool counts =
      isSet("FAULT_FILE") ? length > 0 && nameCounts({name, static_cast<size_t>(length)}) : isRegular(file);
  errno = errnoBefore;
  return counts;
}

static bool isStruck(std::string_view call, int file) {
  return isArmed && setting("FAULT_CALL") == call && fileCounts(file) && isStruck(call);
}

// Sets errno to the chosen error. Returns -1.
static int fail() {
  errno = EIO;
  for (const ErrorName& error : errorNames)
    if (error.name == setting("FAULT_ERRNO")) errno = error.number;
  return -1;
}

// What a struck read or write moves: half, but at least something.
static size_t halfOf(size_t count) { return std::max<size_t>(count / 2, std::min<size_t>(count, 1)); }

using Main = int (*)(int, char**, char**);

static Main programMain;

static int armedMain(int argumentCount, char** arguments, char** environment) {
  report("armed");
  // Runs behind what main registers, and before the destructors of the program.
  atexit([] { isArmed = false; });
  isArmed = true;
  return programMain(argumentCount, arguments, environment);
}

extern "C" {

int __libc_start_main(Main main, int argumentCount, char** arguments, void (*initialize)(), void (*finish)(),
                      void (*finishLoader)(), void* stackEnd) {
  programMain = main;
  const auto start = reinterpret_cast<decltype(&__libc_start_main)>(dlsym(RTLD_NEXT, "__libc_start_main"));
  return start(armedMain, argumentCount, arguments, initialize, finish, finishLoader, stackEnd);
}

void* malloc(size_t size) {
  if (!isStruck("malloc")) return __libc_malloc(size);
  errno = ENOMEM;
  return nullptr;
}

void* calloc(size_t count, size_t size) {
  if (!isStruck("malloc")) return __libc_calloc(count, size);
  errno = ENOMEM;
  return nullptr;
}

void* realloc(void* block, size_t size) {
  if (!isStruck("malloc")) return __libc_realloc(block, size);
  errno = ENOMEM;
  return nullptr;
}

int open(const char* name, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  if (nameCounts(name) && isStruck("open")) return fail();
  return made(syscall(SYS_openat, AT_FDCWD, name, flags, mode));
}

ssize_t read(int file, void* buffer, size_t count) {
  if (isStruck("read", file)) {
    if (!isSet("FAULT_SHORT")) return fail();
    count = halfOf(count);
  }
  return made<ssize_t>(syscall(SYS_read, file, buffer, count));
}

ssize_t pread(int file, void* buffer, size_t count, off_t offset) {
  if (isStruck("read", file)) {
    if (!isSet("FAULT_SHORT")) return fail();
    count = halfOf(count);
  }
  return made<ssize_t>(syscall(SYS_pread64, file, buffer, count, offset));
}

ssize_t write(int file, const void* buffer, size_t count) {
  if (isStruck("write", file)) {
    if (!isSet("FAULT_SHORT")) return fail();
    count = halfOf(count);
  }
  return made<ssize_t>(syscall(SYS_write, file, buffer, count));
}

ssize_t pwrite(int file, const void* buffer, size_t count, off_t offset) {
  if (isStruck("write", file)) {
    if (!isSet("FAULT_SHORT")) return fail();
    count = halfOf(count);
  }
  return made<ssize_t>(syscall(SYS_pwrite64, file, buffer, count, offset));
}

// A close that fails has closed the file all the same, as on Linux.
int close(int file) {
  const bool fails = isStruck("close", file);
  const int result = made(syscall(SYS_close, file));
  return fails ? fail() : result;
}

off_t lseek(int file, off_t offset, int whence) noexcept {
  return isStruck("lseek", file) ? fail() : made<off_t>(syscall(SYS_lseek, file, offset, whence));
}

int ftruncate(int file, off_t length) noexcept {
  return isStruck("ftruncate", file) ? fail() : made(syscall(SYS_ftruncate, file, length));
}

int fstat(int file, struct stat* status) noexcept {
  return isStruck("fstat", file) ? fail() : made(syscall(SYS_newfstatat, file, "", status, AT_EMPTY_PATH));
}

int fflush(FILE* stream) {
  static const auto realFlush = reinterpret_cast<decltype(&fflush)>(dlsym(RTLD_NEXT, "fflush"));
  if (stream == nullptr || !isStruck("fflush", fileno(stream))) return realFlush(stream);
  __fpurge(stream);
  return fail();
}

int fclose(FILE* stream) {
  static const auto realClose = reinterpret_cast<decltype(&fclose)>(dlsym(RTLD_NEXT, "fclose"));
  const bool fails = isStruck("fflush", fileno(stream));
  if (fails) __fpurge(stream);
  const int result = realClose(stream);
  return fails ? fail() : result;
}

int fsync(int file) { return isStruck("fsync", file) ? fail() : made(syscall(SYS_fsync, file)); }

int unlink(const char* name) noexcept {
  return nameCounts(name) && isStruck("unlink") ? fail() : made(syscall(SYS_unlinkat, AT_FDCWD, name, 0));
}

int madvise(void* begin, size_t length, int advice) noexcept {
  return isStruck("madvise") ? fail() : made(syscall(SYS_madvise, begin, length, advice));
}
}
