#include "platform/scratch_memory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

// Enough for the notes of some ten thousand entries.
static constexpr size_t FIRST_SIZE = size_t{256} * 1024;
static constexpr size_t SIZE_WITHOUT_FILE = size_t{8} * 1024 * 1024;  // up to here no file is made

// Room in the file is taken before it is mapped, so that a full disk is the error of a call.
static char* map(int descriptor, size_t size) {
  if (descriptor >= 0 && posix_fallocate(descriptor, 0, static_cast<off_t>(size)) != 0) return nullptr;
  const int kind = descriptor >= 0 ? MAP_SHARED : MAP_PRIVATE | MAP_ANONYMOUS;
  void* const data = mmap(nullptr, size, PROT_READ | PROT_WRITE, kind, descriptor, 0);
  if (data == MAP_FAILED) return nullptr;
  if (descriptor < 0) madvise(data, size, MADV_HUGEPAGE);  // fewer page faults; where there is no such thing, none
  return static_cast<char*>(data);
}

bool growScratchMemory(ScratchMemory& memory, size_t size, int folder) {
  if (size <= memory.size) return true;
  // Doubled, so that what is in memory is copied about once in all.
  const size_t wanted = std::max({size, memory.size * 2, FIRST_SIZE});
  // Once, when it outgrows the bound; from then on it stays in the file.
  const bool movesToFile = memory.descriptor < 0 && wanted > SIZE_WITHOUT_FILE;
  const int descriptor = movesToFile ? openat(folder, ".", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600) : memory.descriptor;
  char* const data = movesToFile && descriptor < 0 ? nullptr : map(descriptor, wanted);
  // What there was stays as it is, and the caller does without more.
  if (data == nullptr) {
    if (movesToFile && descriptor >= 0) close(descriptor);
    return false;
  }
  // A file that is mapped once more shows what is in it by itself.
  const bool isNewPlace = movesToFile || descriptor < 0;
  if (memory.data != nullptr && isNewPlace) std::copy_n(memory.data, memory.size, data);
  if (memory.data != nullptr) munmap(memory.data, memory.size);
  memory = {data, wanted, descriptor};
  return true;
}

void freeScratchMemory(ScratchMemory& memory) {
  if (memory.data != nullptr) munmap(memory.data, memory.size);
  if (memory.descriptor >= 0) close(memory.descriptor);
  memory = {};
}
