#include "kept_memory.h"

#include <sanitizer/allocator_interface.h>

#include <cstdint>
#include <cstdlib>

#include "fuzz_support.h"

// The blocks in the order they were taken, some of them given back since. What is too much is lost.
static constexpr size_t MOST_BLOCKS = size_t{1} << 18;
static const volatile void* taken[MOST_BLOCKS];
static size_t takenCount = 0;

// Those that have not been given back: a hash table, null where free. Never more than half full.
static constexpr size_t PLACES = size_t{1} << 15;
static const volatile void* kept[PLACES];
static size_t keptCount = 0;

static size_t homeOf(const volatile void* block) {
  return (reinterpret_cast<uintptr_t>(block) / 16 * 0x9E3779B97F4A7C15U) >> 40 & (PLACES - 1);
}

// Returns where the block stands, or the free place where it would.
static size_t findPlace(const volatile void* block) {
  size_t place = homeOf(block);
  while (kept[place] != nullptr && kept[place] != block) place = (place + 1) % PLACES;
  return place;
}

static void noteTaken(const volatile void* block, size_t) {
  if (!isRunning || block == nullptr || takenCount == MOST_BLOCKS || keptCount == PLACES / 2) return;
  taken[takenCount++] = block;
  kept[findPlace(block)] = block;
  ++keptCount;
}

static void noteGivenBack(const volatile void* block) {
  if (block == nullptr) return;
  size_t hole = findPlace(block);
  if (kept[hole] == nullptr) return;
  --keptCount;
  // Blocks behind the hole move up, so that a search from their home still meets them.
  for (size_t place = (hole + 1) % PLACES; kept[place] != nullptr; place = (place + 1) % PLACES) {
    const bool isReachedWithoutHole = (place - homeOf(kept[place])) % PLACES < (place - hole) % PLACES;
    if (isReachedWithoutHole) continue;
    kept[hole] = kept[place];
    hole = place;
  }
  kept[hole] = nullptr;
}

void recordKeptMemory() { __sanitizer_install_malloc_and_free_hooks(noteTaken, noteGivenBack); }

void takeBackMemory() {
  for (size_t i = 0; i < takenCount; ++i)
    if (kept[findPlace(taken[i])] != nullptr) free(const_cast<void*>(taken[i]));
  takenCount = 0;
}
