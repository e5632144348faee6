// Finding an owner's slot by its DN in a time that does not grow with the number of slots.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

constexpr int32_t NO_SLOT = -1;

// A place of the hash table.
struct OwnerPlace {
  int32_t slot;   // NO_SLOT where free
  uint32_t hash;  // of the slot's DN, its lower half
};

// An index over the owner DNs of one side. It follows the DN array by itself: slots opened since the last search
// are taken in at the next one.
struct OwnerIndex {
  OwnerPlace* places;  // null until first used
  size_t capacity;     // number of places, a power of two
  int32_t indexed;     // slots 0 to indexed - 1 are in the table
};

// Returns the first of the slots 0 to count - 1 whose DN equals the key without regard to case, or NO_SLOT. The
// hash is the key's. Ends the run with MEMORY_EXHAUSTED when the index cannot grow.
int32_t findOwner(OwnerIndex& index, const std::string_view* dns, int32_t count, std::string_view key, uint64_t hash);

// Returns false when none of these slots has a DN with this hash. True says that one may.
bool mayHoldOwner(OwnerIndex& index, const std::string_view* dns, int32_t count, uint64_t hash);

// Has the index start anew: the side has been emptied.
void forgetOwners(OwnerIndex& index);
