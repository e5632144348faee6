// Finding an owner's slot by its DN in a time that does not grow with the number of slots.
#pragma once

#include <cstddef>
#include <cstdint>

// An index over the owner DNs of one side. It follows the DN array by itself: slots opened since the last
// search are taken in at the next one, and when the side has been emptied in between, it starts anew.
struct OwnerIndex {
  int32_t* places;  // hash table of slot numbers, NO_SLOT where free; null until first used
  size_t capacity;  // number of places, a power of two
  int32_t indexed;  // slots 0 to indexed - 1 are in the table
};

constexpr int32_t NO_SLOT = -1;

// Returns the first of the slots 0 to count - 1 whose DN equals the key without regard to case, or NO_SLOT.
// Ends the run with MEMORY_EXHAUSTED when the index cannot grow.
int32_t findOwner(OwnerIndex& index, char* const* dns, int32_t count, const char* key);
