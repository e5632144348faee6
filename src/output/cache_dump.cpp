#include "output/cache_dump.h"

#include "cache/object_cache.h"
#include "reporting/reporting.h"

// Dumps a row; an empty one as it is given.
static void dumpRow(const CacheMatrix& matrix, int32_t slot, const char* empty) {
  // Kept: blanks and newlines differ here, too.
  if (!isRowInUse(matrix, slot)) {
    traceLine(empty, slot);
    return;
  }
  std::vector<Line> room;
  const Entry lines = linesOfRow(matrix, slot, room);
  for (size_t i = 0; i < lines.size(); ++i)
    traceLine("dumpData() - %s[%d][%d] = %.*s", matrix.name, slot, static_cast<int>(i), SHOWN(lines[i].view()));
  traceLine("\n");
}

static void dumpDn(const char* name, std::string_view dn, int32_t slot, const char* missing) {
  // Kept: what is shown in place of a missing one differs from table to table.
  if (dn.data() != nullptr)
    traceLine("\ndumpData() - %s[%d] = %.*s \n", name, slot, SHOWN(dn));
  else
    traceLine(missing, slot);
}

static void dumpUser(int32_t slot) {
  traceLine("----------------- BEGIN NEW USER --------------------------------------\n");
  dumpDn("secUser_dn", secUser_dn[slot], slot, "\ndumpData() - secUser_dn[%d] was NULL \n");
  dumpRow(secUserMatrix, slot, "\ndumpData() - secUser_matrix[%d][0] was NULL \n");
  dumpRow(usersSecUserMatrix, slot, "\ndumpData() - No \"Users\" secUser entry for this secUser. \n\n");
  dumpRow(secPolicyDataMatrix, slot, "\ndumpData() - secPolicyData_matrix[%d][0] was NULL \n\n");
  dumpDn("secPolicy_dn", secPolicy_dn[slot], slot, "\ndumpData() - No secPolicy DN for this user. \n\n");
  dumpRow(secPolicyMatrix, slot, "\ndumpData() - No secPolicy for this user. \n\n");
  // Kept: the table goes by another name here.
  dumpRow(secMapForSecUserMatrix, slot, "\ndumpData() - secMapForSecUser_matrix[%d][0] was NULL \n\n");
}

static void dumpGroup(int32_t slot) {
  traceLine("\n----------------- BEGIN NEW GROUP -----------------------------------\n");
  dumpDn("secGroup_dn", secGroup_dn[slot], slot, "\ndumpData() - secGroup_dn[%d] was NULL \n\n");
  dumpRow(secGroupMatrix, slot, "\ndumpData() - secGroup_matrix[%d][0] was NULL \n\n");
  dumpRow(secMapForSecGroupMatrix, slot, "\ndumpData() - secMap_for_secGroup_matrix[%d][0] was NULL \n\n");
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
  // Before the writing the slots in use are the first ones, behind it there are none.
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
  // Leaves the walk over all slots to a run that shows it.
  if (debug == 0) return;
  traceLine("\n\n\n/*************************************************************/ \n");
  traceLine("\ndumpData():  FUNCTION ENTRY \n");
  traceLine("/************* THE DATA BELOW IS THE DATA BEFORE *************/ \n");
  traceLine("/************* IT HAS BEEN MODIFIED OR COPIED TO *************/ \n");
  traceLine("/************* THE OUTPUT FILE.                  *************/ \n");
  // Kept: said of the dump behind the writing, too.
  dumpUsers();
  traceLine("/*************** END   DUMP OF USER  DATA ABOVE **************/ \n");
  traceLine("/*************** BEGIN DUMP OF GROUP DATA BELOW **************/ \n");
  dumpGroups();
  traceLine("/*************** END   DUMP OF GROUP DATA ABOVE **************/ \n");
  traceLine("dumpData():  FUNCTION EXIT \n\n");
  traceLine("/*************************************************************/ \n\n\n\n");
}
