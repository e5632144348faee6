#include "cache/owner_index.h"

#include <algorithm>

#include "rules/dn_hash.h"
#include "rules/text.h"

static int32_t find(const OwnerIndex& index, const std::string_view* dns, std::string_view key, uint64_t hash) {
  const auto [first, last] = index.slots.equal_range(hash);
  const auto found =
      // Owners of one hash are told apart by their DNs.
      std::find_if(first, last, [&](const auto& owner) { return isSameInAnyCase(dns[owner.second], key); });
  return found != last ? found->second : NO_SLOT;
}

// Of slots with one DN the first is found.
static void catchUp(OwnerIndex& index, const std::string_view* dns, int32_t count) {
  for (; index.indexed < count; ++index.indexed) {
    const std::string_view dn = dns[index.indexed];
    // It is nobody's any more.
    if (dn.data() == nullptr) continue;
    const uint64_t hash = hashOfDn(dn);
    if (find(index, dns, dn, hash) == NO_SLOT) index.slots.emplace(hash, index.indexed);
  }
}

int32_t findOwner(OwnerIndex& index, const std::string_view* dns, int32_t count, std::string_view key, uint64_t hash) {
  catchUp(index, dns, count);
  return find(index, dns, key, hash);
}

bool mayHoldOwner(OwnerIndex& index, const std::string_view* dns, int32_t count, uint64_t hash) {
  catchUp(index, dns, count);
  return index.slots.contains(hash);
}
