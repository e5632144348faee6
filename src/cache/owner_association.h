// Which user or group the entry in the entry buffer belongs to.
#pragma once

#include <cstdint>

#include "cache/owner_index.h"
#include "cache/owner_set.h"

// Hash of the owner DN looked for last, on either side.
inline uint32_t hashOfLastOwner = 0;

// Works out the owner DN of the entry, by objectClass, and looks for it among the slots opened in this pass.
// Returns the slot, or NO_SLOT (-1) when the owner has none yet. saved_secUser_dn (saved_secGroup_dn) then holds
// the owner DN, ending in "\n". Where line 0 itself names the owner, line 0 is normalised in place. Ends the run
// with PROCESSING_FAILED for a class of the other side, and for an entry that does not name its owner or whose
// owner DN does not fit.
//
// Kept: the two sides normalise differently. The user side removes the blanks around all commas of the DN, the
// group side only those of a secDN value. The saved DN is not trimmed where it comes from line 0; the key that
// is searched is.
//
// hashOfLastOwner is left as the hash of the key that was searched.
int32_t learnIndexOfAssociatedSecUserDN();   // user, policy, policy-data and map entries
int32_t learnIndexOfAssociatedSecGroupDN();  // group and map entries

// True when entries of an owner whose DN has this hash can be gathered no more in this pass: the owner has no slot
// and none is free.
bool isUserShutOut(uint32_t ownerHash);
bool isGroupShutOut(uint32_t ownerHash);

// The owners that are not shut out, and perhaps some more: a set that is asked faster. Valid until a slot is opened.
const OwnerSet& usersWithRoom();
const OwnerSet& groupsWithRoom();
