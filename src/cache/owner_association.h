// Which user or group the entry in the entry buffer belongs to.
#pragma once

#include <cstdint>

#include "cache/owner_index.h"
#include "rules/object_class.h"

// Works out the owner DN of the entry, by objectClass, and looks for it among the slots opened in this pass.
// Returns the slot, or NO_SLOT (-1) when the owner has none yet. saved_secUser_dn (saved_secGroup_dn) then holds
// the owner DN, ending in "\n", with which a slot is opened (rules/owner.h). Where line 0 itself names the owner, line
// 0 is normalised. Ends the run with PROCESSING_FAILED for a class of the other side, and for an entry that does not
// name its owner or whose owner DN does not fit.
int32_t learnIndexOfAssociatedSecUserDN();   // user, policy, policy-data and map entries
int32_t learnIndexOfAssociatedSecGroupDN();  // group and map entries

// True when entries of an owner whose DN has this hash can be gathered no more in this pass: the owner has no slot
// and none is free.
bool isShutOut(Side side, uint64_t ownerHash);

// Forgets the owners that have been looked at, when all slots are empty.
void forgetOwnersOfPass();
