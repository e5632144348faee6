// What goes into a slot and out of it: entries moved from the entry buffer into a row, rows and DNs released.
// Slot numbers are trusted.
#pragma once

#include <cstdint>

#include "cache/object_cache.h"
#include "platform/detail_texts.h"

// Moves the entry from the entry buffer into the slot's row, which takes over the lines; the buffer is left
// empty and the matrix's counter raised. Ends the run with ROW_ALREADY_OCCUPIED when the row holds an entry or
// the lines do not fit before the end of the table.
void moveSecUserObjectFromObjectArrayToSecUserMatrix(int32_t slot);
void moveUsersSecUserObjectFromObjectArrayToUsersSecUserMatrix(int32_t slot);
void moveSecPolicyDataObjectFromObjectArrayToSecPolicyDataMatrix(int32_t slot);
void moveSecPolicyObjectFromObjectArrayToSecPolicyMatrix(int32_t slot);
void moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix(int32_t slot);
void moveSecGroupObjectFromObjectArrayToSecGroupMatrix(int32_t slot);
void moveSecMapForSecGroupObjectFromObjectArrayToSecMapForSecGroupMatrix(int32_t slot);

// Puts an entry, whose lines stand in the work file in memory, into the slot's row without looking at it. Returns
// false, with nothing changed, when the row holds an entry or would be full.
bool placeUnseen(const CacheMatrix& matrix, int32_t slot, const Row& row);

// Frees the slot's row up to its first null cell, which may lie in a later row, and counts the entry down if
// there was one.
void freeSecUser(int32_t slot);
void freeUsersSecUser(int32_t slot);
void freeSecPolicyData(int32_t slot);
void freeSecPolicy(int32_t slot);
void freeSecMapForSecUser(int32_t slot);
void freeSecGroup(int32_t slot);
void freeSecMapForSecGroup(int32_t slot);

// Complains of a slot that lacks the entry of one matrix and has one in another, or null where it has none. If the
// missing entry has gone with an entry of another slot that had too many lines, it is that entry that is complained of;
// it is complained of, too, where the entry that is there came late because the long one has kept its matrix's counter
// up.
void complainOfMissingEntry(DetailText problem, int32_t slot, const CacheMatrix& missing, const CacheMatrix* present);

// Forgets the entries that had too many lines.
void forgetOverruns();

// Frees the slot's DN, if it has one, and nulls it.
void freeSecUserDN(int32_t slot);
void freeSecPolicyDN(int32_t slot);
void freeSecGroupDN(int32_t slot);

// Stores a copy of the DN of line 0, its line end included, as the slot's policy DN in place of an earlier one. Line 0
// must have its three-character tag.
void copySecPolicyDNFromObjectArrayToSecPolicyDNArray(int32_t slot);
