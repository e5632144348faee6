#include "cache/owner_index.h"

#include <strings.h>

#include <algorithm>
#include <cstdlib>

#include "driver/reporting.h"
#include "ldif/letter_case.h"

uint32_t hashOfDn(const char* dn) {
  uint32_t hash = 2166136261U;  // FNV-1a
  for (; *dn != '\0'; ++dn) {
    hash ^= lowered(*dn);
    hash *= 16777619U;
  }
  return hash;
}

// Returns the place of the first slot with this hash and, unless the key is null, this DN; else the free place
// where it belongs.
static OwnerPlace* findPlace(const OwnerIndex& index, char* const* dns, const char* key, uint32_t hash) {
  const size_t mask = index.capacity - 1;
  for (size_t i = hash & mask;; i = (i + 1) & mask) {
    OwnerPlace* place = &index.places[i];
    if (place->slot == NO_SLOT) return place;
    if (place->hash == hash && (key == nullptr || strcasecmp(dns[place->slot], key) == 0)) return place;
  }
}

// Takes a slot in, unless an earlier one has the same DN: that one is found first.
static void insert(OwnerIndex& index, char* const* dns, int32_t slot) {
  const uint32_t hash = hashOfDn(dns[slot]);
  OwnerPlace* place = findPlace(index, dns, dns[slot], hash);
  if (place->slot == NO_SLOT) *place = {slot, hash};
}

static void startAnew(OwnerIndex& index) {
  std::fill_n(index.places, index.capacity, OwnerPlace{NO_SLOT, 0});
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
  startAnew(index);
}

static void catchUp(OwnerIndex& index, char* const* dns, int32_t count) {
  makeRoom(index, static_cast<size_t>(count) + 1);
  if (count < index.indexed) startAnew(index);
  for (; index.indexed < count; ++index.indexed)
    if (dns[index.indexed] != nullptr) insert(index, dns, index.indexed);
}

int32_t findOwner(OwnerIndex& index, char* const* dns, int32_t count, const char* key, uint32_t hash) {
  catchUp(index, dns, count);
  return findPlace(index, dns, key, hash)->slot;
}

bool mayHoldOwner(OwnerIndex& index, char* const* dns, int32_t count, uint32_t hash) {
  catchUp(index, dns, count);
  return findPlace(index, dns, nullptr, hash)->slot != NO_SLOT;
}
