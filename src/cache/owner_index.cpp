#include "cache/owner_index.h"

#include <strings.h>

#include <algorithm>

#include "ldif/memory.h"
#include "workfile/owner_hash.h"

static bool isSame(std::string_view dn, std::string_view other) {
  return dn.size() == other.size() && strncasecmp(dn.data(), other.data(), dn.size()) == 0;
}

// Returns the place of the first slot with this hash and, unless the key is null, this DN; else the free place
// where it belongs.
static OwnerPlace* findPlace(const OwnerIndex& index, const std::string_view* dns, const std::string_view* key,
                             uint64_t hash) {
  const auto shortHash = static_cast<uint32_t>(hash);
  const size_t mask = index.capacity - 1;
  for (size_t i = shortHash & mask;; i = (i + 1) & mask) {
    OwnerPlace* place = &index.places[i];
    if (place->slot == NO_SLOT) return place;
    if (place->hash == shortHash && (key == nullptr || isSame(dns[place->slot], *key))) return place;
  }
}

// Takes a slot in, unless an earlier one has the same DN: that one is found first.
static void insert(OwnerIndex& index, const std::string_view* dns, int32_t slot) {
  const uint64_t hash = hashOfDn(dns[slot]);
  OwnerPlace* place = findPlace(index, dns, &dns[slot], hash);
  if (place->slot == NO_SLOT) *place = {slot, static_cast<uint32_t>(hash)};
}

void forgetOwners(OwnerIndex& index) {
  if (index.indexed > 0) std::fill_n(index.places, index.capacity, OwnerPlace{NO_SLOT, 0});
  index.indexed = 0;
}

// Keeps at least half of the places free.
static void makeRoom(OwnerIndex& index, size_t slots) {
  constexpr size_t FIRST_CAPACITY = 1024;
  if (slots * 2 <= index.capacity) return;
  size_t capacity = std::max(index.capacity, FIRST_CAPACITY);
  while (capacity < slots * 2) capacity *= 2;
  index.places = static_cast<OwnerPlace*>(
      reallocate(index.places, capacity * sizeof(OwnerPlace), "findOwner():  malloc() failure.  EXITING. \n"));
  index.capacity = capacity;
  index.indexed = 1;  // as good as full
  forgetOwners(index);
}

static void catchUp(OwnerIndex& index, const std::string_view* dns, int32_t count) {
  makeRoom(index, static_cast<size_t>(count) + 1);
  for (; index.indexed < count; ++index.indexed)
    if (dns[index.indexed].data() != nullptr) insert(index, dns, index.indexed);
}

int32_t findOwner(OwnerIndex& index, const std::string_view* dns, int32_t count, std::string_view key, uint64_t hash) {
  catchUp(index, dns, count);
  return findPlace(index, dns, &key, hash)->slot;
}

bool mayHoldOwner(OwnerIndex& index, const std::string_view* dns, int32_t count, uint64_t hash) {
  catchUp(index, dns, count);
  return findPlace(index, dns, nullptr, hash)->slot != NO_SLOT;
}
