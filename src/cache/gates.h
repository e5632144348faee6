// What lets an entry of the work file into the cache.
#pragma once

#include <cstdint>

#include "cache/owner_set.h"

struct Gate {
  const int32_t* gathered;  // must be below
  const int32_t* limit;     // this; null for entries that are never gathered
  // Of the entry's side; null for entries that are never gathered.
  bool (*isOwnerShutOut)(uint32_t ownerHash);
  const OwnerSet& (*ownersWithRoom)();
  const char* stepOverError;
};

// The kinds of entry that have a gate of their own.
enum GateNumber : uint8_t {
  USERS_SECUSER_GATE,
  SECUSER_GATE,
  SECGROUP_GATE,
  SECPOLICYDATA_GATE,
  MAP_OF_USER_GATE,
  MAP_OF_GROUP_GATE,
  SECPOLICY_GATE,
  RESCREDS_GATE,
  NUMBER_OF_GATES
};

extern const Gate gates[NUMBER_OF_GATES];

// Returns the gate of the entry in the entry buffer. A class that never reaches the work file ends the run.
GateNumber gateOfObject();

// True while an entry of this kind may be gathered.
bool isOpen(const Gate& gate);
