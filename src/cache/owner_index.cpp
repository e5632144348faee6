#include "cache/owner_index.h"

#include <strings.h>
#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "reporting/reporting.h"

// Another one in each run, so that nobody can put DNs of one hash together beforehand, which would make the search
// slow.
static uint64_t drawKey() noexcept {
  uint64_t key = 0;
  if (getrandom(&key, sizeof key, GRND_NONBLOCK) != sizeof key) key = static_cast<uint64_t>(getpid());
  return key;
}

static const uint64_t hashKey = drawKey();

// The bit in which the two cases of a letter differ is set in all characters.
uint32_t hashOfDn(const char* dn) {
  constexpr uint64_t CASE_BITS = 0x2020202020202020;
  constexpr uint64_t FACTOR = 0x9E3779B97F4A7C15;
  const size_t length = strlen(dn);
  uint64_t hash = hashKey ^ length;
  for (size_t i = 0; i < length; i += sizeof(uint64_t)) {
    uint64_t characters = 0;
    memcpy(&characters, dn + i, std::min(length - i, sizeof characters));
    hash = (hash ^ (characters | CASE_BITS)) * FACTOR;
    hash ^= hash >> 32U;
  }
  return static_cast<uint32_t>(hash);
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
  putIn(index.owners, hash);
  OwnerPlace* place = findPlace(index, dns, dns[slot], hash);
  if (place->slot == NO_SLOT) *place = {slot, hash};
}

static void startAnew(OwnerIndex& index) {
  std::fill_n(index.places, index.capacity, OwnerPlace{NO_SLOT, 0});
  index.indexed = 0;
  index.owners = nobody;
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

const OwnerSet& ownersIn(OwnerIndex& index, char* const* dns, int32_t count) {
  catchUp(index, dns, count);
  return index.owners;
}
