// What becomes of the entry in the entry buffer: it joins its owner's slot, opens one, or waits for a later pass.
#pragma once

#include <cstdint>

// Each settles the entry that was read last from the work file, tifp, and classified: when its owner has a slot
// or one is free, the entry is moved into the cache and blanked out of the work file, otherwise it is stepped
// over. Returns 0; every failure ends the run.
int32_t processSecUserObjectFromTempInputLDIFFile();
int32_t processSecPolicyDataObjectFromTempInputLDIFFile();
int32_t processSecPolicyObjectFromTempInputLDIFFile();
int32_t processSecGroupObjectFromTempInputLDIFFile();
int32_t processSecMapObjectFromTempInputLDIFFile();  // serves both sides; line 0 tells which
