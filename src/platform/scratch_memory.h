// Memory for what grows with the size of a file: beyond a few megabytes it lies in a file without a name, so that its
// bound is the disk and not the memory.
#pragma once

#include <cstddef>

struct ScratchMemory {
  char* data = nullptr;
  size_t size = 0;      // bytes
  int descriptor = -1;  // of the file; -1 while there is none
};

// Makes the memory at least this large; its contents stay, and what is added is zero. The file is made in the folder,
// given by its descriptor, when one is needed. Returns false, with everything as it was, when there is no room.
bool growScratchMemory(ScratchMemory& memory, size_t size, int folder);

void freeScratchMemory(ScratchMemory& memory);
