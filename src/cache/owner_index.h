// Finding an owner's slot by its DN in a time that does not grow with the number of slots.
#pragma once

#include <cstddef>
#include <cstdint>

#include "cache/owner_set.h"

constexpr int32_t NO_SLOT = -1;

// A place of the hash table.
struct OwnerPlace {
  int32_t slot;   // NO_SLOT where free
  uint32_t hash;  // of the slot's DN
};

// An index over the owner DNs of one side. It follows the DN array by itself: slots opened since the last search
// are taken in at the next one, and when there are fewer slots than before, the side has been emptied and it starts
// anew. A slot may therefore only be opened after a search of its side, which is what opening one is for.
struct OwnerIndex {
  OwnerPlace* places;  // null until first used
  size_t capacity;     // number of places, a power of two
  int32_t indexed;     // slots 0 to indexed - 1 are in the table
  OwnerSet owners;     // of these slots
};

// Hash of a DN without regard to case; another one in each run.
uint32_t hashOfDn(const char* dn);

// Returns the first of the slots 0 to count - 1 whose DN equals the key without regard to case, or NO_SLOT. The
// hash is the key's. Ends the run with MEMORY_EXHAUSTED when the index cannot grow.
int32_t findOwner(OwnerIndex& index, char* const* dns, int32_t count, const char* key, uint32_t hash);

// Returns false when none of these slots has a DN with this hash. True says that one may.
bool mayHoldOwner(OwnerIndex& index, char* const* dns, int32_t count, uint32_t hash);

// Returns the set of the owners of these slots; valid until the next call for the index.
const OwnerSet& ownersIn(OwnerIndex& index, char* const* dns, int32_t count);
