// Makes a chosen call of a program fail. Preloaded (LD_PRELOAD), and told in the environment:
//   FAULT_CALL     the kind of call: malloc (calloc and realloc, too), open (openat, openat2), tmpfile (an openat that
//                  makes a file without a name), read (pread), write (pwrite), close, dup, fcntl, flock, lseek,
//                  ftruncate, fallocate (posix_fallocate), mmap (of a file when FAULT_FILE is given, else of memory,
//                  too), fstat (stat, lstat, fstatat), fsync (syncfs), unlink (unlinkat), localtime, which then returns
//                  null, or fflush of a standard stream (fclose), which then loses what it was to write
//   FAULT_NUMBER   which of these calls, counted from 1 and from the beginning of main; 1 when absent
//   FAULT_ERRNO    the error's name; EIO when absent
//   FAULT_FILE     how the name of the file must end for a call to count; without it every call on a regular file does
//   FAULT_LASTING  set: all later calls fail, too
//   FAULT_SHORT    set: a read or write does not fail but moves only half of the bytes
//   FAULT_STOP     set: the call does not fail, and behind it the process stops until it is continued; with the value
//                  "before" it stops before the call
//   FAULT_SHRINK   the name of a file that is cut before the call, which does not fail then
//   FAULT_LENGTH   the bytes that FAULT_SHRINK leaves; half of the file when absent
//   FAULT_WITHOUT  a kind of call that the machine does not have, mmap or tmpfile: every one fails with ENODEV, besides
//                  the fault
//   FAULT_WITHOUT_FILE  how the name of the file must end for a call to be missing
//   FAULT_WITHOUT_FROM  which of these calls is the first that is missing; 1 when absent
//   FAULT_REPORT   a file that reads "armed" from the beginning of main and "delivered" once a call has failed
// Other calls that the C library makes for its streams cannot be reached, only the memory that it takes for them.
#include <dlfcn.h>
#include <fcntl.h>
#include <stdio_ext.h>
#include <sys/file.h>
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
#include <ctime>
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

static constexpr ErrorName errorNames[] = {
    {"EIO", EIO},       {"ENOSPC", ENOSPC}, {"EFBIG", EFBIG},   {"EDQUOT", EDQUOT}, {"EINTR", EINTR},
    {"ENOMEM", ENOMEM}, {"EACCES", EACCES}, {"ESPIPE", ESPIPE}, {"EMFILE", EMFILE}, {"EINVAL", EINVAL},
    {"ENOLCK", ENOLCK}, {"EROFS", EROFS},   {"EPERM", EPERM},   {"ENODEV", ENODEV}, {"EOPNOTSUPP", EOPNOTSUPP}};

static bool isArmed = false;    // from the beginning of main to the end of what it leaves to be done at the exit
static long callsCounted = 0;   // calls of the chosen kind
static bool stopIsDue = false;  // behind the call that is being made

// What goes to the kernel itself, past the calls below. This library has a syscall() of its own, too.
template <typename... Arguments>
static long kernel(long number, Arguments... arguments) {
  static const auto realCall = reinterpret_cast<long (*)(long, ...)>(dlsym(RTLD_NEXT, "syscall"));
  return realCall(number, arguments...);
}

static std::string_view setting(const char* name) {
  const char* value = getenv(name);
  return value != nullptr ? value : "";
}

static bool isSet(const char* name) { return getenv(name) != nullptr; }

static long numberIn(const char* name, long absent) {
  return isSet(name) ? strtol(setting(name).data(), nullptr, 10) : absent;
}

static void report(std::string_view state) {
  const char* name = getenv("FAULT_REPORT");
  if (name == nullptr) return;
  const long file = kernel(SYS_openat, AT_FDCWD, name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  kernel(SYS_write, file, state.data(), state.size());
  kernel(SYS_close, file);
}

static void shrinkFile() {
  const char* name = getenv("FAULT_SHRINK");
  struct stat status;
  if (kernel(SYS_newfstatat, AT_FDCWD, name, &status, 0) != 0) return;
  kernel(SYS_truncate, name, numberIn("FAULT_LENGTH", status.st_size / 2));
}

// Counts the call if it is of the chosen kind. Returns true when it is to fail.
static bool isStruck(std::string_view call) {
  if (!isArmed || setting("FAULT_CALL") != call) return false;
  const long chosen = numberIn("FAULT_NUMBER", 1);
  ++callsCounted;
  if (callsCounted < chosen || (callsCounted > chosen && !isSet("FAULT_LASTING"))) return false;
  report("delivered");
  if (isSet("FAULT_SHRINK")) {
    shrinkFile();
    return false;
  }
  if (setting("FAULT_STOP") == "before") {
    raise(SIGSTOP);
    return false;
  }
  stopIsDue = isSet("FAULT_STOP");
  return !stopIsDue;
}

// Takes the result of a call through; a call that was struck to stop stops the process here.
template <typename Result = int>
static Result made(long result) {
  const int errnoOfCall = errno;
  const bool stops = stopIsDue;
  stopIsDue = false;  // before the calls of a signal handler that runs when the process goes on
  if (stops) raise(SIGSTOP);
  errno = errnoOfCall;
  return static_cast<Result>(result);
}

static bool nameCounts(std::string_view name) { return name.ends_with(setting("FAULT_FILE")); }

// True when the name that leads to an open file, or has led to it, ends so.
static bool isNamed(int file, std::string_view ending) {
  char link[32];
  snprintf(link, sizeof link, "/proc/self/fd/%d", file);
  char name[4096];
  const ssize_t length = readlink(link, name, sizeof name);
  return length > 0 && std::string_view(name, static_cast<size_t>(length)).ends_with(ending);
}

static bool isRegular(int file) {
  struct stat status;
  return kernel(SYS_newfstatat, file, "", &status, AT_EMPTY_PATH) == 0 && S_ISREG(status.st_mode);
}

static bool fileCounts(int file) {
  const int errnoBefore = errno;
  const bool counts = isSet("FAULT_FILE") ? isNamed(file, setting("FAULT_FILE")) : isRegular(file);
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

// Sets errno when the machine is to be without this kind of call.
static bool isMissing(std::string_view call, int file) {
  if (!isArmed || setting("FAULT_WITHOUT") != call) return false;
  if (isSet("FAULT_WITHOUT_FILE") && !isNamed(file, setting("FAULT_WITHOUT_FILE"))) return false;
  static long callsMet = 0;
  if (++callsMet < numberIn("FAULT_WITHOUT_FROM", 1)) return false;
  errno = ENODEV;
  return true;
}

// What a struck read or write moves: half, but at least something.
static size_t halfOf(size_t count) { return std::max<size_t>(count / 2, std::min<size_t>(count, 1)); }

static bool isOfTmpfile(int flags) { return (flags & O_TMPFILE) == O_TMPFILE; }

static bool makesFile(int flags) { return (flags & O_CREAT) != 0 || isOfTmpfile(flags); }

static int openIn(int folder, const char* name, int flags, mode_t mode) {
  if (isOfTmpfile(flags) && isMissing("tmpfile", folder)) return -1;
  if (isOfTmpfile(flags) && isStruck("tmpfile")) return fail();
  if (nameCounts(name) && isStruck("open")) return fail();
  return made(kernel(SYS_openat, folder, name, flags, mode));
}

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
  const mode_t mode = makesFile(flags) ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return openIn(AT_FDCWD, name, flags, mode);
}

int openat(int folder, const char* name, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = makesFile(flags) ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return openIn(folder, name, flags, mode);
}

// What a fortified build calls when it opens without creating.
int __open_2(const char* name, int flags) { return openIn(AT_FDCWD, name, flags, 0); }
int __openat_2(int folder, const char* name, int flags) { return openIn(folder, name, flags, 0); }

// The C library has no function for openat2 yet; it is made with this one.
long syscall(long number, ...) noexcept {
  va_list list;
  va_start(list, number);
  long arguments[6];
  for (long& argument : arguments) argument = va_arg(list, long);
  va_end(list);
  const bool isOpening = number == SYS_openat2;
  if (isOpening && nameCounts(reinterpret_cast<const char*>(arguments[1])) && isStruck("open")) return fail();
  const long result =
      kernel(number, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4], arguments[5]);
  return isOpening ? made<long>(result) : result;
}

ssize_t read(int file, void* buffer, size_t count) {
  if (isStruck("read", file)) {
    if (!isSet("FAULT_SHORT")) return fail();
    count = halfOf(count);
  }
  return made<ssize_t>(kernel(SYS_read, file, buffer, count));
}

ssize_t pread(int file, void* buffer, size_t count, off_t offset) {
  if (isStruck("read", file)) {
    if (!isSet("FAULT_SHORT")) return fail();
    count = halfOf(count);
  }
  return made<ssize_t>(kernel(SYS_pread64, file, buffer, count, offset));
}

ssize_t write(int file, const void* buffer, size_t count) {
  if (isStruck("write", file)) {
    if (!isSet("FAULT_SHORT")) return fail();
    count = halfOf(count);
  }
  return made<ssize_t>(kernel(SYS_write, file, buffer, count));
}

ssize_t pwrite(int file, const void* buffer, size_t count, off_t offset) {
  if (isStruck("write", file)) {
    if (!isSet("FAULT_SHORT")) return fail();
    count = halfOf(count);
  }
  return made<ssize_t>(kernel(SYS_pwrite64, file, buffer, count, offset));
}

// A close that fails has closed the file all the same, as on Linux.
int close(int file) {
  const bool fails = isStruck("close", file);
  const int result = made(kernel(SYS_close, file));
  return fails ? fail() : result;
}

off_t lseek(int file, off_t offset, int whence) noexcept {
  return isStruck("lseek", file) ? fail() : made<off_t>(kernel(SYS_lseek, file, offset, whence));
}

int ftruncate(int file, off_t length) noexcept {
  return isStruck("ftruncate", file) ? fail() : made(kernel(SYS_ftruncate, file, length));
}

int fstat(int file, struct stat* status) noexcept {
  return isStruck("fstat", file) ? fail() : made(kernel(SYS_newfstatat, file, "", status, AT_EMPTY_PATH));
}

int fstatat(int folder, const char* name, struct stat* status, int flags) noexcept {
  if (*name == '\0' ? isStruck("fstat", folder) : nameCounts(name) && isStruck("fstat")) return fail();
  return made(kernel(SYS_newfstatat, folder, name, status, flags));
}

int stat(const char* name, struct stat* status) noexcept {
  if (nameCounts(name) && isStruck("fstat")) return fail();
  return made(kernel(SYS_newfstatat, AT_FDCWD, name, status, 0));
}

int lstat(const char* name, struct stat* status) noexcept {
  if (nameCounts(name) && isStruck("fstat")) return fail();
  return made(kernel(SYS_newfstatat, AT_FDCWD, name, status, AT_SYMLINK_NOFOLLOW));
}

int dup(int file) noexcept { return isStruck("dup", file) ? fail() : made(kernel(SYS_dup, file)); }

int fcntl(int file, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  const long argument = va_arg(arguments, long);
  va_end(arguments);
  return isStruck("fcntl", file) ? fail() : made(kernel(SYS_fcntl, file, command, argument));
}

int flock(int file, int operation) noexcept {
  return isStruck("flock", file) ? fail() : made(kernel(SYS_flock, file, operation));
}

tm* localtime(const time_t* time) noexcept {
  static const auto realTime = reinterpret_cast<decltype(&localtime)>(dlsym(RTLD_NEXT, "localtime"));
  if (!isStruck("localtime")) return realTime(time);
  fail();
  return nullptr;
}

int fflush(FILE* stream) {
  static const auto realFlush = reinterpret_cast<decltype(&fflush)>(dlsym(RTLD_NEXT, "fflush"));
  if (stream == nullptr || !isStruck("fflush", fileno(stream))) return made(realFlush(stream));
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

int fsync(int file) { return isStruck("fsync", file) ? fail() : made(kernel(SYS_fsync, file)); }

int syncfs(int file) noexcept { return isStruck("fsync", file) ? fail() : made(kernel(SYS_syncfs, file)); }

int unlink(const char* name) noexcept {
  return nameCounts(name) && isStruck("unlink") ? fail() : made(kernel(SYS_unlinkat, AT_FDCWD, name, 0));
}

int unlinkat(int folder, const char* name, int flags) noexcept {
  return nameCounts(name) && isStruck("unlink") ? fail() : made(kernel(SYS_unlinkat, folder, name, flags));
}

// Returns the error, as the call does.
int posix_fallocate(int file, off_t offset, off_t length) {
  static const auto realCall = reinterpret_cast<decltype(&posix_fallocate)>(dlsym(RTLD_NEXT, "posix_fallocate"));
  if (!isStruck("fallocate", file)) return made(realCall(file, offset, length));
  fail();
  return errno;
}

void* mmap(void* begin, size_t length, int protection, int flags, int file, off_t offset) noexcept {
  if (isMissing("mmap", file)) return MAP_FAILED;
  if (isSet("FAULT_FILE") ? isStruck("mmap", file) : isStruck("mmap")) {
    fail();
    return MAP_FAILED;
  }
  return reinterpret_cast<void*>(made<long>(kernel(SYS_mmap, begin, length, protection, flags, file, offset)));
}
}
