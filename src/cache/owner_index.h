// Finding an owner's slot by its DN in a time that does not grow with the number of slots.
#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>

constexpr int32_t NO_SLOT = -1;

// An index over the owner DNs of one side. It follows the DN array by itself: slots opened since the last search
// are taken in at the next one. To be made anew when the side has been emptied.
struct OwnerIndex {
  std::unordered_multimap<uint64_t, int32_t> slots;  // by the hash of their DN
  int32_t indexed = 0;                               // slots 0 to indexed - 1 have been taken in
};

// Returns the first of the slots 0 to count - 1 whose DN equals the key without regard to case, or NO_SLOT. The
// hash is the key's.
int32_t findOwner(OwnerIndex& index, const std::string_view* dns, int32_t count, std::string_view key, uint64_t hash);

// Returns false when none of these slots has a DN with this hash. True says that one may.
bool mayHoldOwner(OwnerIndex& index, const std::string_view* dns, int32_t count, uint64_t hash);
