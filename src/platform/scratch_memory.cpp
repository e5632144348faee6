#include "platform/scratch_memory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

static constexpr size_t FIRST_SIZE = size_t{256} * 1024;
static constexpr size_t SIZE_WITHOUT_FILE = size_t{4} * 1024 * 1024;   // up to here no file is made
static constexpr size_t MOST_WITHOUT_FILE = size_t{48} * 1024 * 1024;  // where none can be made

// Room in the file is taken before it is mapped, so that a full disk is the error of a call.
static char* mapFile(int descriptor, size_t size) {
  if (posix_fallocate(descriptor, 0, static_cast<off_t>(size)) != 0) return nullptr;
  void* const data = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
  return data == MAP_FAILED ? nullptr : static_cast<char*>(data);
}

static char* mapMemory(size_t size) {
  if (size > MOST_WITHOUT_FILE) return nullptr;
  void* const data = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return data == MAP_FAILED ? nullptr : static_cast<char*>(data);
}

static void replaceBy(ScratchMemory& memory, char* data, size_t size, bool isCopied) {
  if (isCopied && memory.data != nullptr) std::copy_n(memory.data, memory.size, data);
  if (memory.data != nullptr) munmap(memory.data, memory.size);
  memory.data = data;
  memory.size = size;
}

// Goes on in the file, or moves there what lies in ordinary memory.
static bool growInFile(ScratchMemory& memory, size_t size, int folder) {
  const bool isNew = memory.descriptor < 0;
  const int descriptor = isNew ? openat(folder, ".", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600) : memory.descriptor;
  if (descriptor < 0) return false;
  char* const data = mapFile(descriptor, size);
  if (data == nullptr) {
    if (isNew) close(descriptor);
    return false;
  }
  memory.descriptor = descriptor;
  replaceBy(memory, data, size, isNew);
  return true;
}

bool growScratchMemory(ScratchMemory& memory, size_t size, int folder) {
  if (size <= memory.size) return true;
  const size_t wanted = std::max({size, memory.size * 2, FIRST_SIZE});
  const bool needsFile = memory.descriptor >= 0 || wanted > SIZE_WITHOUT_FILE;
  if (needsFile && growInFile(memory, wanted, folder)) return true;
  char* const data = memory.descriptor < 0 ? mapMemory(wanted) : nullptr;
  if (data == nullptr) return false;
  replaceBy(memory, data, wanted, true);
  return true;
}

void freeScratchMemory(ScratchMemory& memory) {
  if (memory.data != nullptr) munmap(memory.data, memory.size);
  if (memory.descriptor >= 0) close(memory.descriptor);
  memory = {};
}
