#include "output/flush.h"

#include <initializer_list>

#include "cache/cache_slots.h"
#include "cache/object_cache.h"
#include "cache/owner_association.h"
#include "ldif/complaint.h"
#include "output/add_entry_writers.h"
#include "output/cache_dump.h"
#include "output/new_dn.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"

// Reports that a step of the flush failed for an owner. Returns -1.
static int32_t reportFailure(const char* step, const char* dnName, std::string_view dn) {
  reportError("copyAllAccumulatedDataToOutputFile() - %s() failure.  RETURNING. \n", step);
  echoError("%s = %.*s\n", dnName, SHOWN(textOrNULL(dn)));
  return -1;
}

// A new DN fails for want of the name.
static int32_t userNameFailure(const char* step, int32_t slot) {
  if (isRowInUse(secUserMatrix, slot)) {
    complain(USER_WITHOUT_NAME, firstLineOfRow(secUserMatrix, slot));
  } else {
    // The owner is named by the first of its entries that is there.
    const CacheMatrix* other = nullptr;
    for (const CacheMatrix* matrix :
         {&secMapForSecUserMatrix, &usersSecUserMatrix, &secPolicyMatrix, &secPolicyDataMatrix})
      if (other == nullptr && isRowInUse(*matrix, slot)) other = matrix;
    complainOfMissingEntry(USER_WITHOUT_OWN_ENTRY, slot, secUserMatrix, other);
  }
  return reportFailure(step, "secUser_dn", secUser_dn[slot]);
}

static int32_t groupNameFailure(int32_t slot) {
  if (isRowInUse(secGroupMatrix, slot))
    complain(GROUP_WITHOUT_NAME, firstLineOfRow(secGroupMatrix, slot));
  else
    complainOfMissingEntry(GROUP_WITHOUT_OWN_ENTRY, slot, secGroupMatrix, &secMapForSecGroupMatrix);
  return reportFailure("createNewSecGroupDN", "secGroup_dn", secGroup_dn[slot]);
}

static int32_t userWriteFailure(const char* step, int32_t slot) {
  complainOfFile(NOT_WRITTEN, firstLineOfRow(secUserMatrix, slot), output_ldif_filename);
  return reportFailure(step, "secUser_dn", secUser_dn[slot]);
}

static int32_t groupWriteFailure(const char* step, int32_t slot) {
  complainOfFile(NOT_WRITTEN, firstLineOfRow(secGroupMatrix, slot), output_ldif_filename);
  return reportFailure(step, "secGroup_dn", secGroup_dn[slot]);
}

static int32_t writePolicy(int32_t slot) {
  // Kept: the policy may have gone with that of the slot before, and its container be written all the same.
  const bool isThere = isRowInUse(secPolicyMatrix, slot);
  if (createNewSecPolicyDN(slot) != 0) return userNameFailure("createNewSecPolicyDN", slot);
  if (writePolicyContainerAddToOutputFile(slot) != 0)
    return userWriteFailure("writePolicyContainerAddToOutputFile", slot);
  if (writeSecPolicyAddToOutputFile(slot, ofp) != 0) return userWriteFailure("writeSecPolicyAddToOutputFile", slot);
  // A container alone is no policy.
  if (isThere) ++runCounts.policies;
  return 0;
}

static int32_t flushUser(int32_t slot) {
  if (createNewSecUserDN(slot) != 0) return userNameFailure("createNewSecUserDN", slot);
  if (writeSecUserAddToOutputFile(slot, ofp) != 0) return userWriteFailure("writeSecUserAddToOutputFile", slot);
  ++runCounts.users;
  // By the DN, which outlives the row (see writePolicy).
  if (secPolicy_dn[slot].data() != nullptr && writePolicy(slot) != 0) return -1;
  // Only now: the writers find names and lines in the slot's other rows.
  freeSecUserDN(slot);
  freeSecUser(slot);
  freeUsersSecUser(slot);
  freeSecPolicyData(slot);
  freeSecMapForSecUser(slot);
  freeSecPolicyDN(slot);
  freeSecPolicy(slot);
  // The record is written: nothing refers to them any more.
  newDns.release();
  // Last, because it tells how many slots are still to be written.
  --secUser_dn_count;
  return 0;
}

static int32_t flushGroup(int32_t slot) {
  if (createNewSecGroupDN(slot) != 0) return groupNameFailure(slot);
  if (writeSecGroupAddToOutputFile(slot, ofp) != 0) return groupWriteFailure("writeSecGroupAddToOutputFile", slot);
  ++runCounts.groups;
  freeSecGroupDN(slot);
  freeSecGroup(slot);
  freeSecMapForSecGroup(slot);
  newDns.release();
  --secGroup_dn_count;
  return 0;
}

static void traceBanner(const char* text) {
  traceLine("\ncopyAllAccumulatedDataToOutputFile() - %s: secUser_dn_count = %d, secGroup_dn_count = %d \n", text,
            secUser_dn_count, secGroup_dn_count);
}

// Makes the processor fetch the texts of a slot that will be written soon: they can lie anywhere in the work file.
static void fetchSlot(int32_t slot) {
  constexpr size_t CACHE_LINE = 64;  // bytes
  for (const CacheMatrix* matrix : {&secUserMatrix, &secMapForSecUserMatrix, &usersSecUserMatrix}) {
    if (!isRowInUse(*matrix, slot)) continue;
    const Row& row = (*matrix->rows)[slot];
    for (size_t i = 0; i < row.length; i += CACHE_LINE) __builtin_prefetch(row.text + i);
  }
}

int32_t copyAllAccumulatedDataToOutputFile() {
  traceBanner("FUNCTION ENTRY");
  traceLine("\n                                       Calling dumpData() first to learn \n");
  traceLine("                                       what data will be copied.  \n");
  dumpData();
  // Near enough to be still in the processor's cache when its turn comes.
  constexpr int32_t AHEAD = 2;  // slots
  // Users before groups. Slots are in use from the first on without a gap, and counted down as they are written.
  for (int32_t slot = 0; secUser_dn_count != 0; ++slot) {
    fetchSlot(slot + AHEAD);
    if (flushUser(slot) != 0) return -1;
  }
  for (int32_t slot = 0; secGroup_dn_count != 0; ++slot)
    if (flushGroup(slot) != 0) return -1;
  next_available_secUser_dn_slot = 0;
  next_available_secGroup_dn_slot = 0;
  // All rows are empty, so nothing refers to them any more.
  gatheredTexts.release();
  forgetOwnersOfPass();
  traceLine("copyAllAccumulatedDataToOutputFile() - Calling dumpData() last to verify \n");
  traceLine("                                       that all tables are empty. \n");
  dumpData();
  traceBanner("FUNCTION EXIT");
  return 0;
}
