// What changes in an entry on its way out of the preparation pass.
#pragma once

#include <cstdint>

// Brings the entry in the entry buffer into the form of the new layout, according to objectClass: the
// authority information gets version 6.0 and an install date, a user the domain identifier, users and groups
// the new letter case of their UUID attribute. Lines are changed in place or appended without a line end.
// Returns 0. Ends the run with PROCESSING_FAILED for a user without secAuthority or principalName value, and when an
// install date is needed but the local time is not known.
int32_t tweekObjectInObjectArray();
