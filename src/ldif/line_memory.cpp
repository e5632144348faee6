#include "ldif/line_memory.h"

#include <cstdlib>
#include <cstring>

#include "driver/reporting.h"

#if defined(__SANITIZE_ADDRESS__)

// Under the sanitizer every line is a block of its own, so that a step over its end is noticed.
char* allocateLine(size_t size, const char* allocationFailureLine) {
  return static_cast<char*>(allocate(size, allocationFailureLine));
}

void freeLine(char* line) { free(line); }

#else

// Small blocks come in a few sizes, are cut from large pieces and wait on a free list for their next use; they
// go back to the system with the process. A header of the block's size before it tells where it belongs.
static constexpr size_t STEP = 32;
static constexpr size_t NUMBER_OF_SIZES = 16;
static constexpr size_t PIECE_SIZE = size_t{64} * 1024;

union Header {
  size_t sizeIndex;  // in use: which size; NUMBER_OF_SIZES for a block from the heap
  Header* nextFree;  // waiting
};

static Header* freeBlocks[NUMBER_OF_SIZES];

// Cuts a new piece into waiting blocks of one size.
static void refill(size_t sizeIndex, const char* allocationFailureLine) {
  const size_t blockSize = (sizeIndex + 1) * STEP;
  char* piece = static_cast<char*>(allocate(PIECE_SIZE, allocationFailureLine));
  for (size_t offset = 0; offset + blockSize <= PIECE_SIZE; offset += blockSize) {
    auto* block = reinterpret_cast<Header*>(piece + offset);
    block->nextFree = freeBlocks[sizeIndex];
    freeBlocks[sizeIndex] = block;
  }
}

char* allocateLine(size_t size, const char* allocationFailureLine) {
  const size_t sizeIndex = (size + sizeof(Header) - 1) / STEP;
  Header* block;
  if (sizeIndex >= NUMBER_OF_SIZES) {
    block = static_cast<Header*>(allocate(size + sizeof(Header), allocationFailureLine));
    block->sizeIndex = NUMBER_OF_SIZES;
  } else {
    if (freeBlocks[sizeIndex] == nullptr) refill(sizeIndex, allocationFailureLine);
    block = freeBlocks[sizeIndex];
    freeBlocks[sizeIndex] = block->nextFree;
    block->sizeIndex = sizeIndex;
  }
  return reinterpret_cast<char*>(block + 1);
}

void freeLine(char* line) {
  if (line == nullptr) return;
  Header* block = reinterpret_cast<Header*>(line) - 1;
  const size_t sizeIndex = block->sizeIndex;
  if (sizeIndex == NUMBER_OF_SIZES) {
    free(block);
    return;
  }
  block->nextFree = freeBlocks[sizeIndex];
  freeBlocks[sizeIndex] = block;
}

#endif

char* copyLine(const char* text, const char* allocationFailureLine) {
  const size_t length = strlen(text);
  char* copy = allocateLine(length + LINE_SPARE, allocationFailureLine);
  memcpy(copy, text, length + 1);
  return copy;
}
