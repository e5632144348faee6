#include "survey/registry.h"

#include <algorithm>
#include <new>

// The sides are kept apart by a bit.
// A user and a group of one DN are two owners.
static uint64_t withSide(uint64_t hash, Side side) { return side == USER_SIDE ? hash | 1U : hash & ~uint64_t{1}; }

// The lowest bit says the side, and would leave every second place empty.
static size_t firstPlace(const Registry& registry, uint64_t hash) {
  return static_cast<size_t>(hash >> 1U) & (registry.places.size() - 1);
}

// Of the bits that do not say the place.
static uint32_t markOf(uint64_t hash) { return static_cast<uint32_t>(hash >> 32U); }

static void growPlaces(Registry& registry) {
  constexpr size_t FIRST_PLACES = 1024;
  if (registry.owners.size() < registry.places.size() / 4 * 3) return;
  const size_t size = registry.places.empty() ? FIRST_PLACES : registry.places.size() * 2;
  // The old table is given back before the new one is taken: the owners themselves know where they belong.
  std::vector<OwnerPlace>().swap(registry.places);
  registry.places.resize(size);
  for (uint32_t i = 0; i < registry.owners.size(); ++i) {
    const uint64_t hash = registry.owners[i].hash;
    size_t place = firstPlace(registry, hash);
    while (registry.places[place].owner != NONE) place = (place + 1) & (size - 1);
    registry.places[place] = {i, markOf(hash)};
  }
}

static uint32_t findOwner(Registry& registry, uint64_t hash, Side side) {
  growPlaces(registry);
  OwnerPlace* const places = registry.places.data();
  const uint32_t mark = markOf(hash);
  size_t place = firstPlace(registry, hash);
  // Two DNs of one hash are not told apart. The hash is keyed anew in every run, so that nobody can make two such
  // DNs, and 64 bits keep chance away.
  while (places[place].owner != NONE &&
         (places[place].mark != mark || registry.owners[places[place].owner].hash != hash))
    place = (place + 1) & (registry.places.size() - 1);
  if (places[place].owner == NONE) {
    places[place] = {static_cast<uint32_t>(registry.owners.size()), mark};
    registry.owners.push_back({.hash = hash, .side = side});
    ++registry.ownersOf[side];
  }
  return places[place].owner;
}

// The first entry of an owner opens its slot.
static bool isRegular(const RegistryOwner& owner, const GatheredEntry& entry) {
  return fitsOwnRow(entry) && (owner.first != NONE || entry.opensForKey) && (owner.kinds >> entry.rowKind & 1U) == 0;
}

static void settle(Registry& registry, const AwaitedEntry& awaited) {
  // There are no more numbers than that; the memory of such a machine would hold more entries.
  if (registry.entries.size() >= NONE - 1) throw std::bad_alloc();
  GatheredEntry entry = awaited.entry;
  const auto number = static_cast<uint32_t>(registry.entries.size());
  const bool isGathered = entry.kind != RESCREDS_KIND;
  if (isGathered && entry.kind != UNKNOWN_KIND && entry.problem == NO_DETAIL) {
    const Side side = sideOf(entry.kind);
    entry.owner = findOwner(registry, withSide(awaited.hash, side), side);
    RegistryOwner& owner = registry.owners[entry.owner];
    // The first entry decides alone whether the others find the slot, so that the question is asked before the entry
    // is added.
    if (!isRegular(owner, entry)) owner.isRegular = false;
    owner.kinds = static_cast<uint8_t>(owner.kinds | 1U << entry.rowKind);
    if (!owner.isRegular) registry.isRegular = false;
    owner.isSpoilt = owner.isSpoilt || entry.endsPreparation;
    if (owner.first == NONE) {
      owner.first = number;
      registry.measured.kept += awaited.openerBytes;
    }
    ++owner.entries;
  } else if (isGathered) {
    // What has no owner is met by every pass, and ends a run.
    registry.isRegular = false;
    ++registry.withoutOwner;
  }
  registry.entries.push_back(entry);
}

static size_t placeOf(const Registry& registry, const AwaitedEntry& awaited) {
  return firstPlace(registry, withSide(awaited.hash, sideOf(awaited.entry.kind)));
}

// Fetches first the place in the hash table, then the owner to which it leads.
static void fetch(const Registry& registry, size_t number) {
  constexpr size_t HALF = Registry::AWAITED / 2;
  if (registry.places.empty()) return;
  __builtin_prefetch(&registry.places[placeOf(registry, registry.awaited[number % Registry::AWAITED])]);
  if (number < HALF) return;
  const uint32_t owner =
      registry.places[placeOf(registry, registry.awaited[(number - HALF) % Registry::AWAITED])].owner;
  if (owner != NONE) __builtin_prefetch(&registry.owners[owner]);
}

AwaitedEntry& nextEntry(Registry& registry) {
  AwaitedEntry& place = registry.awaited[registry.awaitedEnd % Registry::AWAITED];
  if (registry.awaitedEnd >= Registry::AWAITED) settle(registry, place);
  place = {};
  return place;
}

void addEntry(Registry& registry) { fetch(registry, registry.awaitedEnd++); }

// The entries of an owner lie far apart. Their numbers stand together, so that what comes soon can be fetched.
static void sortByOwner(Registry& registry) {
  uint32_t begin = 0;
  std::vector<uint32_t> next(registry.owners.size());
  for (uint32_t i = 0; i < next.size(); ++i) {
    RegistryOwner& owner = registry.owners[i];
    next[i] = owner.begin = begin;
    begin += owner.entries;
  }
  registry.byOwner.resize(size_t{begin} + registry.withoutOwner);
  for (uint32_t i = 0; i < registry.entries.size(); ++i) {
    const GatheredEntry& entry = registry.entries[i];
    if (entry.kind == RESCREDS_KIND) continue;
    uint32_t& place = entry.owner == NONE ? begin : next[entry.owner];
    registry.byOwner[place++] = i;
  }
}

void endAdding(Registry& registry) {
  const size_t end = registry.awaitedEnd;
  for (size_t i = end - std::min(end, Registry::AWAITED); i < end; ++i)
    settle(registry, registry.awaited[i % Registry::AWAITED]);
  registry.awaitedEnd = 0;
  // Nobody looks for an owner any more.
  registry.places = {};
  sortByOwner(registry);
}
