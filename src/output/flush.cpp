#include "output/flush.h"

#include "cache/cache_slots.h"
#include "cache/object_cache.h"
#include "driver/reporting.h"
#include "driver/run_state.h"
#include "output/add_entry_writers.h"
#include "output/cache_dump.h"
#include "output/new_dn.h"

// Reports that a step of the flush failed for an owner. Returns -1.
static int32_t reportFailure(const char* step, const char* dnName, const char* dn) {
  reportError("copyAllAccumulatedDataToOutputFile() - %s() failure.  RETURNING. \n", step);
  echoError("%s = %s\n", dnName, textOrNULL(dn));
  concerning(dn);
  return -1;
}

static int32_t userFailure(const char* step, int32_t slot) {
  return reportFailure(step, "secUser_dn", secUser_dn[slot]);
}

static int32_t writePolicy(int32_t slot) {
  if (createNewSecPolicyDN(slot) != 0) return userFailure("createNewSecPolicyDN", slot);
  if (writePolicyContainerAddToOutputFile(slot) != 0) return userFailure("writePolicyContainerAddToOutputFile", slot);
  if (writeSecPolicyAddToOutputFile(slot, ofp) != 0) return userFailure("writeSecPolicyAddToOutputFile", slot);
  return 0;
}

static int32_t flushUser(int32_t slot) {
  if (createNewSecUserDN(slot) != 0) return userFailure("createNewSecUserDN", slot);
  if (writeSecUserAddToOutputFile(slot, ofp) != 0) return userFailure("writeSecUserAddToOutputFile", slot);
  if (secPolicy_dn[slot] != nullptr && writePolicy(slot) != 0) return -1;
  freeSecUserDN(slot);
  freeSecUser(slot);
  freeUsersSecUser(slot);
  freeSecPolicyData(slot);
  freeSecMapForSecUser(slot);
  freeSecPolicyDN(slot);
  freeSecPolicy(slot);
  --secUser_dn_count;
  return 0;
}

static int32_t flushGroup(int32_t slot) {
  if (createNewSecGroupDN(slot) != 0) return reportFailure("createNewSecGroupDN", "secGroup_dn", secGroup_dn[slot]);
  if (writeSecGroupAddToOutputFile(slot, ofp) != 0)
    return reportFailure("writeSecGroupAddToOutputFile", "secGroup_dn", secGroup_dn[slot]);
  freeSecGroupDN(slot);
  freeSecGroup(slot);
  freeSecMapForSecGroup(slot);
  --secGroup_dn_count;
  return 0;
}

static void traceBanner(const char* text) {
  traceLine("\ncopyAllAccumulatedDataToOutputFile() - %s: secUser_dn_count = %d, secGroup_dn_count = %d \n", text,
            secUser_dn_count, secGroup_dn_count);
}

int32_t copyAllAccumulatedDataToOutputFile() {
  traceBanner("FUNCTION ENTRY");
  traceLine("\n                                       Calling dumpData() first to learn \n");
  traceLine("                                       what data will be copied.  \n");
  dumpData();
  for (int32_t slot = 0; secUser_dn_count != 0; ++slot)
    if (flushUser(slot) != 0) return -1;
  for (int32_t slot = 0; secGroup_dn_count != 0; ++slot)
    if (flushGroup(slot) != 0) return -1;
  next_available_secUser_dn_slot = 0;
  next_available_secGroup_dn_slot = 0;
  traceLine("copyAllAccumulatedDataToOutputFile() - Calling dumpData() last to verify \n");
  traceLine("                                       that all tables are empty. \n");
  dumpData();
  traceBanner("FUNCTION EXIT");
  return 0;
}
