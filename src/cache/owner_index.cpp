#include "cache/owner_index.h"

#include <strings.h>

#include <algorithm>
#include <cstdlib>

#include "driver/reporting.h"
#include "ldif/letter_case.h"

static uint32_t hashWithoutCase(const char* text) {
  uint32_t hash = 2166136261U;  // FNV-1a
  for (; *text != '\0'; ++text) {
    hash ^= lowered(*text);
    hash *= 16777619U;
  }
  return hash;
}

// Returns the place of the slot with this DN, or the free place where it belongs.
static int32_t* findPlace(const OwnerIndex& index, char* const* dns, const char* key) {
  const size_t mask = index.capacity - 1;
  size_t i = hashWithoutCase(key) & mask;
  while (index.places[i] != NO_SLOT && strcasecmp(dns[index.places[i]], key) != 0) i = (i + 1) & mask;
  return &index.places[i];
}

// Takes a slot in, unless an earlier one has the same DN: that one is found first.
static void insert(OwnerIndex& index, char* const* dns, int32_t slot) {
  int32_t* place = findPlace(index, dns, dns[slot]);
  if (*place == NO_SLOT) *place = slot;
}

static void startAnew(OwnerIndex& index) {
  std::fill_n(index.places, index.capacity, NO_SLOT);
  index.indexed = 0;
}

// Keeps at least half of the places free.
static void makeRoom(OwnerIndex& index, size_t slots) {
  constexpr size_t FIRST_CAPACITY = 1024;
  if (slots * 2 <= index.capacity) return;
  size_t capacity = std::max(index.capacity, FIRST_CAPACITY);
  while (capacity < slots * 2) capacity *= 2;
  index.places = static_cast<int32_t*>(
      reallocate(index.places, capacity * sizeof(int32_t), "findOwner():  malloc() failure.  EXITING. \n"));
  index.capacity = capacity;
  startAnew(index);
}

int32_t findOwner(OwnerIndex& index, char* const* dns, int32_t count, const char* key) {
  makeRoom(index, static_cast<size_t>(count) + 1);
  if (count < index.indexed) startAnew(index);
  for (; index.indexed < count; ++index.indexed)
    if (dns[index.indexed] != nullptr) insert(index, dns, index.indexed);
  return *findPlace(index, dns, key);
}
