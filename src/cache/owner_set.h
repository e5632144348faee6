// A set of owner DNs that is asked in a moment. It may hold more than was put in.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

constexpr size_t OWNER_SET_BITS = size_t{64} * 1024;
constexpr size_t BITS_OF_A_WORD = 64;

// A bit for each of the lowest bits of a DN's hash.
using OwnerSet = std::array<uint64_t, OWNER_SET_BITS / BITS_OF_A_WORD>;

inline bool mayHold(const OwnerSet& set, uint32_t ownerHash) {
  const size_t bit = ownerHash % OWNER_SET_BITS;
  return (set[bit / BITS_OF_A_WORD] >> bit % BITS_OF_A_WORD & 1U) != 0;
}

inline void putIn(OwnerSet& set, uint32_t ownerHash) {
  const size_t bit = ownerHash % OWNER_SET_BITS;
  set[bit / BITS_OF_A_WORD] |= uint64_t{1} << bit % BITS_OF_A_WORD;
}

constexpr OwnerSet makeEverybody() {
  OwnerSet set{};
  for (uint64_t& word : set) word = ~uint64_t{0};
  return set;
}

inline constexpr OwnerSet nobody = {};
inline constexpr OwnerSet everybody = makeEverybody();
