#include "check/slot_counts.h"

#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <string>

// What a run keeps of each entry, owner and slot, as measured and as its tables are laid out.
static constexpr uint64_t KIBIBYTE = 1024;
// The program itself, with the C library's buffers and the catalogue.
static constexpr uint64_t BASE = 345 * KIBIBYTE;
static constexpr uint64_t WINDOW = 256 * KIBIBYTE;  // of each file
static constexpr uint64_t BYTES_OF_NOTE = 24;
static constexpr uint64_t BYTES_OF_RANK = 16;
static constexpr uint64_t BYTES_OF_NUMBER = 4;
static constexpr uint64_t BYTES_OF_SLOT[2] = {112, 48};  // by Side
static constexpr uint64_t BYTES_OF_LINE = 32;
// The converter's tables, as its scratch memory holds them: small ones in memory, larger ones in a file without a
// name, whose pages the system can take back.
static constexpr uint64_t LARGEST_IN_MEMORY = 8 * KIBIBYTE * KIBIBYTE;
// The system gives a table of several huge pages whole ones, used or not.
static constexpr uint64_t HUGE_PAGE = 2 * KIBIBYTE * KIBIBYTE;
static constexpr uint64_t PAGE = 4 * KIBIBYTE;

static uint64_t roundedUp(uint64_t size, uint64_t unit) { return (size + unit - 1) / unit * unit; }

// A table that grows by doubling, and beyond a size lies in a file.
struct ScratchSize {
  uint64_t memory;
  uint64_t disk;
};

static ScratchSize scratchSize(uint64_t size, bool isFolderInMemory) {
  // What is asked for is doubled; what has never been touched takes no memory, but it takes disk.
  uint64_t room = WINDOW;
  while (room < size) room *= 2;
  if (room > LARGEST_IN_MEMORY) return {isFolderInMemory ? size : 0, room};
  return {room >= 2 * HUGE_PAGE ? roundedUp(size, HUGE_PAGE) : roundedUp(size, PAGE), 0};
}

static uint64_t entriesOf(const Prediction& prediction) { return prediction.registry.entries.size(); }

static ScratchSize notesOf(const Prediction& prediction, bool isFolderInMemory) {
  return scratchSize(entriesOf(prediction) * BYTES_OF_NOTE, isFolderInMemory);
}

static ScratchSize ranksOf(const Prediction& prediction, bool isFolderInMemory) {
  // The table of owners starts at half as many places as there are entries, and is never more than three quarters
  // full.
  uint64_t places = KIBIBYTE;
  const uint64_t owners = prediction.registry.owners.size();
  while (places < entriesOf(prediction) / 2 || owners > places / 4 * 3) places *= 2;
  return scratchSize(places * BYTES_OF_RANK, isFolderInMemory);
}

static ScratchSize numbersOf(const Prediction& prediction, bool isFolderInMemory) {
  return scratchSize(entriesOf(prediction) * BYTES_OF_NUMBER, isFolderInMemory);
}

// The part of what all slots take that one pass takes.
static uint64_t ofOnePass(uint64_t bytes, const Registry& registry, const int32_t (&slots)[2]) {
  const uint64_t owners = std::max<uint64_t>(registry.ownersOf[USER_SIDE], 1);
  return bytes / owners * std::min<uint64_t>(owners, static_cast<uint64_t>(slots[USER_SIDE]));
}

uint64_t memoryOfRun(const Prediction& prediction, const int32_t (&slots)[2], bool isFolderInMemory) {
  const SurveyCounts& counts = prediction.counts;
  uint64_t atPreparation =
      BASE + std::min(prediction.registry.measured.workFile, WINDOW) + counts.linesOfLongest * BYTES_OF_LINE;
  const uint64_t ofInput = std::min(prediction.registry.measured.workFile + counts.outputBytes, WINDOW);
  atPreparation += ofInput;
  // The window grows to the length of a longer entry, and while it doubles its text stands there twice. Later what is
  // unfolded stands there once more.
  const bool hasGrown = counts.longestEntry > WINDOW;
  if (hasGrown)
    atPreparation += std::max(counts.longestEntry + counts.longestFolded, 2 * std::bit_floor(counts.longestEntry));
  const uint64_t notes = notesOf(prediction, isFolderInMemory).memory;
  const uint64_t atPlan = atPreparation + notes + ranksOf(prediction, isFolderInMemory).memory;
  uint64_t atPass = atPreparation + std::min(prediction.outputBytes, WINDOW) + notes - (hasGrown ? ofInput : 0);
  atPass += numbersOf(prediction, isFolderInMemory).memory;
  for (const Side side : {USER_SIDE, GROUP_SIDE}) {
    const auto inUse = std::min<uint64_t>(prediction.registry.ownersOf[side], static_cast<uint64_t>(slots[side]));
    atPass += inUse * BYTES_OF_SLOT[side];
  }
  atPass += ofOnePass(prediction.registry.measured.kept, prediction.registry, slots);
  // What the plan needs to find the owners of entries is given back before the first pass.
  return std::max({atPreparation + std::min(counts.outputBytes, WINDOW), atPlan, atPass});
}

uint64_t diskOfRun(const Prediction& prediction) {
  const uint64_t plan = std::max(ranksOf(prediction, false).disk, numbersOf(prediction, false).disk);
  return prediction.registry.measured.workFile + notesOf(prediction, false).disk + plan;
}

// What the system could give without swapping, which is more than what nobody uses; 0 when it cannot be found out.
static uint64_t availableMemory() {
  std::ifstream file("/proc/meminfo");
  for (std::string name; file >> name;)
    if (name == "MemAvailable:") {
      uint64_t kibibytes = 0;
      file >> kibibytes;
      return kibibytes * KIBIBYTE;
    }
  return 0;
}

// As many as the side with more of them takes.
static uint64_t passesWith(const Registry& registry, const int32_t (&slots)[2]) {
  uint64_t passes = 0;
  for (const Side side : {USER_SIDE, GROUP_SIDE}) {
    const auto atOnce = static_cast<uint64_t>(slots[side]);
    passes = std::max(passes, (registry.ownersOf[side] + atOnce - 1) / atOnce);
  }
  return passes;
}

static int32_t slotsFor(uint32_t owners, uint32_t passes) {
  const uint64_t slots = std::max<uint64_t>((uint64_t{owners} + passes - 1) / passes, 1);
  return static_cast<int32_t>(std::min<uint64_t>(slots, INT32_MAX));
}

void writeSlotCounts(const Prediction& prediction, bool isFolderInMemory) {
  static constexpr uint32_t PASSES[] = {1, 2, 10, 100};
  const uint64_t available = availableMemory();
  bool isRecommended = false;
  puts(
      "\nSlot counts to choose from (the time is nearly the same, whatever the passes):\n"
      "       users     groups  passes  memory in MiB  time");
  const auto& owners = prediction.registry.ownersOf;
  for (const uint32_t passes : PASSES) {
    const int32_t slots[2] = {slotsFor(owners[USER_SIDE], passes), slotsFor(owners[GROUP_SIDE], passes)};
    if (passes > 1 && owners[USER_SIDE] < passes && owners[GROUP_SIDE] < passes) continue;
    const uint64_t memory = memoryOfRun(prediction, slots, isFolderInMemory);
    // Half of it: others will want memory, too, while the run lasts.
    const bool fits = !isRecommended && (available == 0 || memory < available / 2);
    isRecommended = isRecommended || fits;
    printf("  %10d %10d  %6" PRIu64 "  %13" PRIu64 "   1.0%s\n", slots[USER_SIDE], slots[GROUP_SIDE],
           passesWith(prediction.registry, slots), (memory >> 20U) + 1,
           fits ? "  recommended for the memory that this machine has free" : "");
  }
}
