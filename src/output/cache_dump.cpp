#include "output/cache_dump.h"

#include "cache/object_cache.h"
#include "reporting/reporting.h"

// One table of a slot as the dump shows it: how an empty row reads.
struct DumpedMatrix {
  const CacheMatrix* matrix;
  const char* emptyRow;
};

static void dumpRow(const DumpedMatrix& dumped, int32_t slot) {
  if (!isRowInUse(*dumped.matrix, slot)) {
    traceLine(dumped.emptyRow, slot);
    return;
  }
  int i = 0;
  forEachLineOfRow(*dumped.matrix, slot, [&](const Line& line) {
    traceLine("dumpData() - %s[%d][%d] = %.*s", dumped.matrix->name, slot, i++, SHOWN(line.view()));
    return true;
  });
  traceLine("\n");
}

static void dumpUser(int32_t slot) {
  traceLine("----------------- BEGIN NEW USER --------------------------------------\n");
  if (secUser_dn[slot].data() != nullptr)
    traceLine("\ndumpData() - secUser_dn[%d] = %.*s \n", slot, SHOWN(secUser_dn[slot]));
  else
    traceLine("\ndumpData() - secUser_dn[%d] was NULL \n", slot);
  dumpRow({&secUserMatrix, "\ndumpData() - secUser_matrix[%d][0] was NULL \n"}, slot);
  dumpRow({&usersSecUserMatrix, "\ndumpData() - No \"Users\" secUser entry for this secUser. \n\n"}, slot);
  dumpRow({&secPolicyDataMatrix, "\ndumpData() - secPolicyData_matrix[%d][0] was NULL \n\n"}, slot);
  if (secPolicy_dn[slot].data() != nullptr)
    traceLine("\ndumpData() - secPolicy_dn[%d] = %.*s \n", slot, SHOWN(secPolicy_dn[slot]));
  else
    traceLine("\ndumpData() - No secPolicy DN for this user. \n\n");
  dumpRow({&secPolicyMatrix, "\ndumpData() - No secPolicy for this user. \n\n"}, slot);
  // Kept: the table goes by another name here.
  dumpRow({&secMapForSecUserMatrix, "\ndumpData() - secMapForSecUser_matrix[%d][0] was NULL \n\n"}, slot);
}

static void dumpGroup(int32_t slot) {
  traceLine("\n----------------- BEGIN NEW GROUP -----------------------------------\n");
  if (secGroup_dn[slot].data() != nullptr)
    traceLine("\ndumpData() - secGroup_dn[%d] = %.*s \n", slot, SHOWN(secGroup_dn[slot]));
  else
    traceLine("\ndumpData() - secGroup_dn[%d] was NULL \n\n", slot);
  dumpRow({&secGroupMatrix, "\ndumpData() - secGroup_matrix[%d][0] was NULL \n\n"}, slot);
  dumpRow({&secMapForSecGroupMatrix, "\ndumpData() - secMap_for_secGroup_matrix[%d][0] was NULL \n\n"}, slot);
}

static void dumpUsers() {
  traceLine("\ndumpData() - secUser_dn_count                             = %d \n", secUser_dn_count);
  traceLine("\ndumpData() - numberOfSecUserObjectsInObjectCache          = %d \n", numberOfSecUserObjectsInObjectCache);
  traceLine("\ndumpData() - numberOfSecPolicyDataObjectsInObjectCache    = %d \n",
            numberOfSecPolicyDataObjectsInObjectCache);
  traceLine("\ndumpData() - numberOfSecMapForSecUserObjectsInObjectCache = %d \n",
            numberOfSecMapForSecUserObjectsInObjectCache);
  traceLine("\ndumpData() - numberOfUserSecUserObjectsInObjectCache      = %d \n",
            numberOfUserSecUserObjectsInObjectCache);
  traceLine("\ndumpData() - numberOfSecPolicyObjectsInObjectCache        = %d \n",
            numberOfSecPolicyObjectsInObjectCache);
  traceLine("\ndumpData() - next_available_secUser_dn_slot               = %d \n", next_available_secUser_dn_slot);
  for (int32_t slot = 0; slot < secUser_dn_count; ++slot) dumpUser(slot);
}

static void dumpGroups() {
  traceLine("\ndumpData() - secGroup_dn_count                             = %d \n", secGroup_dn_count);
  traceLine("\ndumpData() - numberOfSecGroupObjectsInObjectCache          = %d \n",
            numberOfSecGroupObjectsInObjectCache);
  traceLine("\ndumpData() - numberOfSecMapForSecGroupObjectsInObjectCache = %d \n",
            numberOfSecMapForSecGroupObjectsInObjectCache);
  traceLine("\ndumpData() - next_available_secGroup_dn_slot               = %d \n", next_available_secGroup_dn_slot);
  for (int32_t slot = 0; slot < secGroup_dn_count; ++slot) dumpGroup(slot);
}

void dumpData() {
  if (debug == 0) return;
  traceLine("\n\n\n/*************************************************************/ \n");
  traceLine("\ndumpData():  FUNCTION ENTRY \n");
  traceLine("/************* THE DATA BELOW IS THE DATA BEFORE *************/ \n");
  traceLine("/************* IT HAS BEEN MODIFIED OR COPIED TO *************/ \n");
  traceLine("/************* THE OUTPUT FILE.                  *************/ \n");
  dumpUsers();
  traceLine("/*************** END   DUMP OF USER  DATA ABOVE **************/ \n");
  traceLine("/*************** BEGIN DUMP OF GROUP DATA BELOW **************/ \n");
  dumpGroups();
  traceLine("/*************** END   DUMP OF GROUP DATA ABOVE **************/ \n");
  traceLine("dumpData():  FUNCTION EXIT \n\n");
  traceLine("/*************************************************************/ \n\n\n\n");
}
