#include "check/entry_queues.h"

#include <algorithm>

uint32_t noOwner(const EntryQueues& queues) { return static_cast<uint32_t>(queues.registry.owners.size()); }

// Sorts the entries of an owner into queues by their kinds. They stand in a range of Registry::byOwner.
static void addQueues(EntryQueues& queues, uint32_t begin, uint32_t end) {
  std::vector<uint32_t>& byOwner = queues.registry.byOwner;
  const auto ofKind = [&](uint32_t number) { return queues.registry.entries[number].kind; };
  queues.first.push_back(static_cast<uint32_t>(queues.all.size()));
  std::sort(byOwner.begin() + begin, byOwner.begin() + end, [&](uint32_t one, uint32_t other) {
    return ofKind(one) != ofKind(other) ? ofKind(one) < ofKind(other) : one < other;
  });
  for (uint32_t next = begin; begin < end; begin = next) {
    while (next < end && ofKind(byOwner[next]) == ofKind(byOwner[begin])) ++next;
    queues.all.push_back({begin, next});
  }
}

void fillQueues(EntryQueues& queues) {
  const Registry& registry = queues.registry;
  // Growing by doubling would take three times the memory, for a moment.
  queues.all.reserve(registry.entries.size());
  queues.first.reserve(size_t{noOwner(queues)} + 2);
  uint32_t end = 0;
  for (uint32_t i = 0; i < noOwner(queues); ++i) {
    const RegistryOwner& owner = registry.owners[i];
    end = owner.begin + owner.entries;
    addQueues(queues, owner.begin, end);
  }
  addQueues(queues, end, end + registry.withoutOwner);
  queues.first.push_back(static_cast<uint32_t>(queues.all.size()));
}

std::span<EntryQueue> queuesOf(EntryQueues& queues, uint32_t owner) {
  const uint32_t first = queues.first[owner];
  return std::span(queues.all).subspan(first, queues.first[owner + 1] - first);
}

bool isAnyLeft(std::span<const EntryQueue> queues) {
  return std::any_of(queues.begin(), queues.end(), [](const EntryQueue& queue) { return !queue.isEmpty(); });
}

uint32_t headOf(const EntryQueues& queues, const EntryQueue& queue) { return queues.registry.byOwner[queue.next]; }

EntryQueue& queueOf(EntryQueues& queues, uint32_t entry) {
  const uint32_t owner = queues.registry.entries[entry].owner;
  const auto ofOwner = queuesOf(queues, owner == NONE ? noOwner(queues) : owner);
  return *std::find_if(ofOwner.begin(), ofOwner.end(),
                       [&](const EntryQueue& queue) { return !queue.isEmpty() && headOf(queues, queue) == entry; });
}

// Entries of one owner are taken in several passes where two of them are of a kind.
uint32_t firstLeft(EntryQueues& queues, uint32_t owner) {
  uint32_t first = NONE;
  for (const EntryQueue& queue : queuesOf(queues, owner))
    if (!queue.isEmpty()) first = std::min(first, headOf(queues, queue));
  return first;
}

void addHeads(const EntryQueues& queues, std::span<const EntryQueue> of, std::vector<uint32_t>& heads) {
  for (const EntryQueue& queue : of)
    if (!queue.isEmpty()) heads.push_back(headOf(queues, queue));
}
