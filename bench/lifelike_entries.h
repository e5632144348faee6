// The entries of an export as a registry's directory writes it: folded at 76 columns, every line ended by CR and LF.
// Each is made from its kind and the number of its user or group alone, so that they can be made in any order.
#pragma once

#include <cstdint>
#include <string>

enum Kind : uint8_t {
  USER,
  ENTRY_BELOW_USERS,
  POLICY,
  POLICY_DATA,
  MAP_OF_USER,
  GROUP,
  MAP_OF_GROUP,
  REGISTRY,  // what belongs to nobody: containers, authority information, resource credentials
};
constexpr uint64_t KINDS_OF_A_USER = 5;   // the first ones
constexpr uint64_t KINDS_OF_A_GROUP = 2;  // behind them
constexpr uint64_t REGISTRY_ENTRIES = 12;

// False where a user has no entry of the kind: not everybody has a policy.
bool isThere(Kind kind, uint64_t number);

// Appends the entry and the empty line behind it.
void appendEntry(std::string& text, Kind kind, uint64_t number);
