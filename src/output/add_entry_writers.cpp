#include "output/add_entry_writers.h"

#include <cstdlib>
#include <cstring>
#include <span>

#include "cache/cache_slots.h"
#include "cache/object_cache.h"
#include "ldif/colon_search.h"
#include "ldif/complaint.h"
#include "ldif/line_memory.h"
#include "ldif/line_reader.h"
#include "ldif/object_buffer.h"
#include "ldif/text.h"
#include "output/entry_merge.h"
#include "reporting/reporting.h"
#include "reporting/run_state.h"

// Lines that hold one of the texts, in any case, are left out of a record. Kept: only a policy loses its control
// lines here.
static constexpr ColonText leftOutOfOwner[] = {"xoq-entryuuid:", "aclentry:", "aci:", "acl:"};
static constexpr ColonText leftOutOfPolicy[] = {"xoq-entryuuid:", "aclentry:", "aci:", "acl:", "control:"};

static int32_t writeFailed(const char* function) {
  traceLine("%s():  fputs() failed with rc=%d \n", function, -1);
  return -1;
}

// Writes a line unless it is left out. Returns 0 or -1.
static int32_t writeAttribute(const ColonLine& line, std::span<const ColonText> leftOut, Stream* stream) {
  return findInAnyCase(line, leftOut) != nullptr ? 0 : writeText(stream, line.text, line.length);
}

// Writes what mergeObjects has put into the entry buffer, but for its old dn: line, empties the buffer and ends
// the record. Returns 0 or -1.
static int32_t writeMergedObject(Stream* stream) {
  for (int32_t i = 1; i < next_available_object_slot; ++i)
    if (writeAttribute(colonsOfObject(i), leftOutOfOwner, stream) != 0) return -1;
  freeObject();
  next_available_object_slot = 0;
  return writeText(stream, "\n");
}

static void requireDn(const char* dn, const char* function, const char* dnName, int32_t slot, const char* dnLine) {
  if (dn != nullptr) return;
  traceLine("%s():  ERROR:  %s[%d] is NULL.  EXITING.  \n", function, dnName, slot);
  echoError("%s():  ERROR:  %s[%d] is NULL.  EXITING.\n", function, dnName, slot);
  exitForEntry(INCOMPLETE_DN, dnLine);
}

int32_t writeSecGroupAddToOutputFile(int32_t slot, Stream* stream) {
  traceLine("writeSecGroupAddToOutputFile():  FUNCTION ENTRY \n");
  char** group = rowOf(secGroupMatrix, slot);
  char** map = rowOf(secMapForSecGroupMatrix, slot);
  requireDn(secGroup_dn[slot], "writeSecGroupAddToOutputFile", "secGroup_dn", slot, group[0]);
  if (writeText(stream, secGroup_dn[slot]) != 0) return writeFailed("writeSecGroupAddToOutputFile");
  if (group[0] == nullptr || map[0] == nullptr) {
    reportError("writeSecGroupAddToOutputFile():  ERROR:  Passing a NULL pointer to mergeObjects() \n");
    if (group[0] == nullptr)
      complainOfMissingEntry(GROUP_WITHOUT_OWN_ENTRY, slot, secGroupMatrix, &secMapForSecGroupMatrix);
    else
      complainOfMissingEntry(GROUP_WITHOUT_MAP, slot, secMapForSecGroupMatrix, &secGroupMatrix);
    exitWithMessage(PROCESSING_FAILED);
  }
  mergeObjects(group, map);
  if (writeMergedObject(stream) != 0) return writeFailed("writeSecGroupAddToOutputFile");
  traceLine("writeSecGroupAddToOutputFile():  FUNCTION EXIT \n");
  return 0;
}

// Merges the slot's 'Users' entry with the merged entry in the entry buffer, as the first of the two: its dn:
// line, object classes and secAuthority count.
static void mergeWithUsersObject(char** usersObject) {
  traceLine("SECUSER_MATRIX_NUMBER_OF_COLUMNS = %d \n", SECUSER_MATRIX_NUMBER_OF_COLUMNS);
  const auto count = static_cast<size_t>(next_available_object_slot);
  auto** partiallyMergedSecUser = static_cast<char**>(
      allocate((count + 1) * sizeof(char*), "writeSecUserAddToOutputFile():  malloc() failure.  EXITING. \n"));
  for (size_t i = 0; i < count; ++i) {
    partiallyMergedSecUser[i] = object[i];
    object[i] = nullptr;
  }
  partiallyMergedSecUser[count] = nullptr;
  next_available_object_slot = 0;
  mergeObjects(usersObject, partiallyMergedSecUser);
  for (size_t i = 0; i < count; ++i) freeLine(partiallyMergedSecUser[i]);
  free(partiallyMergedSecUser);
}

int32_t writeSecUserAddToOutputFile(int32_t slot, Stream* stream) {
  traceLine("writeSecUserAddToOutputFile():  FUNCTION ENTRY \n");
  char** user = rowOf(secUserMatrix, slot);
  char** map = rowOf(secMapForSecUserMatrix, slot);
  char** usersObject = rowOf(usersSecUserMatrix, slot);
  requireDn(secUser_dn[slot], "writeSecUserAddToOutputFile", "secUser_dn", slot, user[0]);
  if (writeText(stream, secUser_dn[slot]) != 0) return writeFailed("writeSecUserAddToOutputFile");
  if (user[0] == nullptr || map[0] == nullptr) {
    reportError("writeSecUserAddToOutputFile():  ERROR:  Passing a NULL pointer to mergeObjects() \n");
    reportError("secUser_matrix = %s\n", textOrNULL(user[0]));
    reportError("secMap_for_secUser_matrix = %s\n", textOrNULL(map[0]));
    if (user[0] == nullptr)
      complainOfMissingEntry(USER_WITHOUT_OWN_ENTRY, slot, secUserMatrix, &secMapForSecUserMatrix);
    else
      complainOfMissingEntry(USER_WITHOUT_MAP, slot, secMapForSecUserMatrix, &secUserMatrix);
    exitWithMessage(PROCESSING_FAILED);
  }
  mergeObjects(user, map);
  if (usersObject[0] != nullptr) mergeWithUsersObject(usersObject);
  if (writeMergedObject(stream) != 0) return writeFailed("writeSecUserAddToOutputFile");
  traceLine("writeSecUserAddToOutputFile():  FUNCTION EXIT \n");
  return 0;
}

// Puts the container's dn: line into tempString: the user's new DN below a component of its own.
static void composeContainerDn(int32_t slot) {
  const char* userDn = secUser_dn[slot];
  const char* colon = strchr(userDn, ':');
  copyBounded(tempString, sizeof tempString, "dn: cn=Policies,");
  if (appendBounded(tempString, sizeof tempString, skipSpaces(colon != nullptr ? colon + 1 : userDn))) return;
  reportError("writePolicyContainerAddToOutputFile():  ERROR:  The DN is too long.  EXITING. \n");
  exitForEntry(DN_TOO_LONG, rowOf(secUserMatrix, slot)[0]);
}

int32_t writePolicyContainerAddToOutputFile(int32_t slot) {
  traceLine("writePolicyContainerAddToOutputFile():  FUNCTION ENTRY \n");
  requireDn(secUser_dn[slot], "writePolicyContainerAddToOutputFile", "secUser_dn", slot, rowOf(secUserMatrix, slot)[0]);
  composeContainerDn(slot);
  const char* lines[] = {tempString, changetypeSeen == 1 ? "changetype: add\n" : "", "objectclass: container\n",
                         "objectclass: top\n", "cn: Policies\n\n"};
  int number = 0;
  for (const char* line : lines) {
    ++number;
    if (writeText(ofp, line) == 0) continue;
    traceLine("writePolicyContainerAddToOutputFile():  fputs() #%d failed with rc=%d \n", number, -1);
    return -1;
  }
  traceLine("writePolicyContainerAddToOutputFile():  FUNCTION EXIT \n");
  return 0;
}

int32_t writeSecPolicyAddToOutputFile(int32_t slot, Stream* stream) {
  traceLine("writeSecPolicyAddToOutputFile():  FUNCTION ENTRY \n");
  char** line = rowOf(secPolicyMatrix, slot);
  if (*line == nullptr) {
    traceLine("writeSecPolicyAddToOutputFile():  FUNCTION EXIT1 \n");
    return 0;
  }
  requireDn(secPolicy_dn[slot], "writeSecPolicyAddToOutputFile", "secPolicy_dn", slot, *line);
  if (writeText(stream, secPolicy_dn[slot]) != 0) return writeFailed("writeSecPolicyAddToOutputFile");
  while (*++line != nullptr)
    if (writeAttribute(*line, leftOutOfPolicy, stream) != 0) return writeFailed("writeSecPolicyAddToOutputFile");
  if (writeText(stream, "\n") != 0) return writeFailed("writeSecPolicyAddToOutputFile");
  traceLine("writeSecPolicyAddToOutputFile():  FUNCTION EXIT \n");
  return 0;
}
