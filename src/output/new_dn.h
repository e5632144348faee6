// The distinguished names of the new layout.
#pragma once

#include <cstdint>

#include "rules/new_dn.h"

// The name extracted last, of a user and of a group; valid until the next extraction.
inline char principalName[NAME_SIZE];
inline char cnFromSecGroupObject[NAME_SIZE];

// Where a new dn: line is put together.
inline char tempDN[TEMP_DN_SIZE];

// Extract the principal name from the slot's user entry and the cn from the slot's group entry. Return 0, or
// -1 when the entry has none. End the run with PROCESSING_FAILED for a name that does not fit.
int32_t learnPrincipalNameFromSecUserObject(int32_t slot);
int32_t learnCNFromSecGroupObject(int32_t slot);

// Replace the slot's owner DN, or policy DN, by the new dn: line, line end included. Return 0, or -1 when the
// owner's name cannot be extracted, the DN being unchanged then. createNewSecPolicyDN returns 0 at once for a
// user without a policy. End the run with PROCESSING_FAILED when a DN does not fit its buffer or, for the
// policy of a subdomain, has no secAuthority component.
int32_t createNewSecUserDN(int32_t slot);
int32_t createNewSecGroupDN(int32_t slot);
int32_t createNewSecPolicyDN(int32_t slot);
