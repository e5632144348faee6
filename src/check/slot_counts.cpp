#include "check/slot_counts.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "check/run_needs.h"

// What the system could give without swapping, which is more than what nobody uses; 0 when it cannot be found out.
static uint64_t availableMemory() {
  std::ifstream file("/proc/meminfo");
  for (std::string name; file >> name;)
    if (name == "MemAvailable:") {
      uint64_t kibibytes = 0;
      file >> kibibytes;
      return kibibytes * 1024;
    }
  return 0;
}

// As many as the side with more of them takes. An owner of two entries of a kind can take one more, which is known of
// the slot counts that have been played alone.
static uint64_t passesWith(const Prediction& prediction, const int32_t (&slots)[2]) {
  const Registry& registry = prediction.registry;
  const bool isPlayed = prediction.code == 0 && std::equal(slots, std::end(slots), prediction.slots);
  if (isPlayed) return static_cast<uint64_t>(prediction.passes);
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
    PlayedMemory pass = {.bytes = prediction.outputBytes - prediction.counts.outputBytes};
    for (const Side side : {USER_SIDE, GROUP_SIDE})
      pass.slots[side] = std::min(owners[side], static_cast<uint32_t>(slots[side]));
    const uint64_t memory = memoryOfWholeRun(prediction, pass, isFolderInMemory);
    // Half of it: others will want memory, too, while the run lasts.
    const bool fits = !isRecommended && (available == 0 || memory < available / 2);
    isRecommended = isRecommended || fits;
    printf("  %10d %10d  %6" PRIu64 "  %13" PRIu64 "   1.0%s\n", slots[USER_SIDE], slots[GROUP_SIDE],
           passesWith(prediction, slots), (memory >> 20U) + 1,
           fits ? "  recommended for the memory that this machine has free" : "");
  }
}
