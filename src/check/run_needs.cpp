#include "check/run_needs.h"

#include <algorithm>
#include <bit>

// What a run keeps of each entry, owner and slot, as measured and as its tables are laid out.
static constexpr uint64_t KIBIBYTE = 1024;
// The program itself, with the C library's buffers and the catalogue.
static constexpr uint64_t BASE = 325 * KIBIBYTE;
static constexpr uint64_t WINDOW = 256 * KIBIBYTE;  // of each file
static constexpr uint64_t BYTES_OF_NOTE = 24;
static constexpr uint64_t BYTES_OF_RANK = 16;
static constexpr uint64_t BYTES_OF_NUMBER = 4;
static constexpr uint64_t BYTES_OF_SLOT[2] = {112, 48};  // by Side
static constexpr uint64_t SLOTS_OF_SMALL_TABLE = 8192;
static constexpr uint64_t BYTES_OF_LINE = 32;
static constexpr uint64_t BYTES_OF_INDEXED = 48;  // of an owner who is looked up by the DN
// The converter's tables, as its scratch memory holds them: small ones in memory, larger ones in a file without a
// name, whose pages the system can take back.
static constexpr uint64_t LARGEST_IN_MEMORY = 8 * KIBIBYTE * KIBIBYTE;
// The system backs a table of that size and more with whole huge pages, used or not.
static constexpr uint64_t HUGE_PAGE = 2 * KIBIBYTE * KIBIBYTE;
static constexpr uint64_t PAGE = 4 * KIBIBYTE;

static uint64_t roundedUp(uint64_t size, uint64_t unit) { return (size + unit - 1) / unit * unit; }

// What the system gives of a table at once.
static uint64_t pageOf(uint64_t room) { return room >= HUGE_PAGE ? HUGE_PAGE : PAGE; }

// A table that grows by doubling, and beyond a size lies in a file.
struct ScratchSize {
  uint64_t memory;
  uint64_t disk;
  uint64_t mostMemory;  // while it grows, before it goes to the disk
};

static ScratchSize scratchSize(uint64_t size, bool isFolderInMemory) {
  // What is asked for is doubled; what has never been touched takes no memory, but it takes disk.
  uint64_t room = WINDOW;
  while (room < size) room *= 2;
  if (room > LARGEST_IN_MEMORY) return {isFolderInMemory ? size : 0, room, LARGEST_IN_MEMORY};
  const uint64_t memory = roundedUp(size, pageOf(room));
  // While it doubles it stands there twice.
  const uint64_t doubled = room > WINDOW ? room / 2 + roundedUp(room / 2, pageOf(room)) : 0;
  return {memory, 0, std::max(memory, doubled)};
}

static uint64_t entriesOf(const Prediction& prediction) { return prediction.registry.entries.size(); }

static ScratchSize notesOf(uint64_t entries, bool isFolderInMemory) {
  return scratchSize(entries * BYTES_OF_NOTE, isFolderInMemory);
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
static uint64_t ofOnePass(uint64_t bytes, const Registry& registry, uint64_t slots) {
  const uint64_t owners = std::max<uint64_t>(registry.ownersOf[USER_SIDE], 1);
  return bytes / owners * std::min(owners, slots);
}

// Bytes that the preparation writes to each file.
struct Written {
  uint64_t output;
  uint64_t workFile;
};

// Of the windows of the two files.
static uint64_t windowsOf(const Written& written) {
  return std::min(written.output, WINDOW) + std::min(written.workFile, WINDOW);
}

// Of the input's window and the table of lines.
static uint64_t memoryOfReading(const Prediction& prediction, const HeldMost& held) {
  return std::min(prediction.inputBytes, WINDOW) + held.lines * BYTES_OF_LINE;
}

// The peak while the longest entry is held.
static uint64_t memoryAtLongest(const Written& written, const HeldMost& held) {
  if (held.longest <= WINDOW) return windowsOf(written);
  // The input's window grows to its length, beside the first one. What is unfolded or cut stands there once more.
  // Behind the entry the window goes back to its size.
  const uint64_t whole = held.longest + held.copied + windowsOf(written);
  if (held.longest <= 2 * WINDOW) return whole;
  // While it doubles the text stands there twice; of the entry nothing has been written then.
  const Written before = {std::min(written.output, held.longestAt), std::min(written.workFile, held.longestAt)};
  return std::max(whole, 2 * std::bit_floor(held.longest) + windowsOf(before));
}

// The peak while the work file is made.
static uint64_t memoryOfPreparation(const Prediction& prediction, const Written& written, uint64_t entries,
                                    const HeldMost& held, bool isFolderInMemory) {
  const uint64_t entriesBefore = std::min(entries, held.gatheredBeforeLongest);
  return BASE + memoryOfReading(prediction, held) +
         std::max(windowsOf(written) + notesOf(entries, isFolderInMemory).mostMemory,
                  memoryAtLongest(written, held) + notesOf(entriesBefore, isFolderInMemory).mostMemory);
}

static uint64_t memoryOfPasses(const Prediction& prediction, const PlayedMemory& played, bool isFolderInMemory) {
  const Registry& registry = prediction.registry;
  const uint64_t notes = notesOf(entriesOf(prediction), isFolderInMemory).memory;
  const uint64_t ranks = ranksOf(prediction, isFolderInMemory).memory;
  uint64_t atPass =
      BASE + memoryOfReading(prediction, prediction.counts.held) + std::min(registry.measured.workFile, WINDOW) + notes;
  const uint64_t atPlan = atPass + ranks;
  atPass +=
      std::min(prediction.counts.outputBytes + played.bytes, WINDOW) + numbersOf(prediction, isFolderInMemory).memory;
  // Tables that are still small are moved as they grow, and leave holes behind.
  for (const Side side : {USER_SIDE, GROUP_SIDE})
    atPass += (played.slots[side] + std::min(played.slots[side], SLOTS_OF_SMALL_TABLE) / 2) * BYTES_OF_SLOT[side];
  atPass += ofOnePass(registry.measured.kept, registry, played.slots[USER_SIDE]);
  const uint64_t index = (played.slots[USER_SIDE] + played.slots[GROUP_SIDE]) * BYTES_OF_INDEXED;
  const uint64_t atOddPass = atPass + index + played.mostLines * BYTES_OF_LINE;
  // Owners that are left lie all over the table, which is given back before the pass.
  const uint64_t atPlanAgain = atPass + std::min(ranks, played.mostLeft * PAGE);
  return std::max({atPlan, atPass, played.looksOwnersUp ? atOddPass : 0, atPlanAgain});
}

// Of a run that ends while it prepares the work file.
static uint64_t memoryUpToFailure(const Prediction& prediction, bool isFolderInMemory) {
  const uint64_t end = prediction.failingEntry;
  if (end == NO_PLACE) return BASE;
  uint64_t entries = 0;
  while (entries < entriesOf(prediction) && prediction.registry.entries[entries].begin < end) ++entries;
  const Written written = {std::min(prediction.counts.outputBytes, end),
                           std::min(prediction.registry.measured.workFile, end)};
  // The input is read once more, to tell the line of the entry.
  return memoryOfPreparation(prediction, written, entries, prediction.counts.heldToProblem, isFolderInMemory) +
         std::min(end, WINDOW);
}

uint64_t memoryOfWholeRun(const Prediction& prediction, const PlayedMemory& played, bool isFolderInMemory) {
  const Written written = {prediction.counts.outputBytes, prediction.registry.measured.workFile};
  const uint64_t atPreparation =
      memoryOfPreparation(prediction, written, entriesOf(prediction), prediction.counts.held, isFolderInMemory);
  return std::max(atPreparation, memoryOfPasses(prediction, played, isFolderInMemory));
}

uint64_t memoryOfRun(const Prediction& prediction, bool isFolderInMemory) {
  return prediction.endsInPreparation ? memoryUpToFailure(prediction, isFolderInMemory)
                                      : memoryOfWholeRun(prediction, prediction.memory, isFolderInMemory);
}

uint64_t diskOfRun(const Prediction& prediction) {
  const uint64_t plan = std::max(ranksOf(prediction, false).disk, numbersOf(prediction, false).disk);
  return prediction.registry.measured.workFile + notesOf(entriesOf(prediction), false).disk + plan;
}
