#include "output/add_entry_writers.h"

#include "cache/cache_slots.h"
#include "cache/object_cache.h"
#include "ldif/complaint.h"
#include "ldif/line_reader.h"
#include "ldif/line_writer.h"
#include "ldif/object_buffer.h"
#include "output/entry_merge.h"
#include "platform/bounded_text.h"
#include "reporting/reporting.h"
#include "reporting/run_state.h"
#include "rules/dropped_lines.h"
#include "rules/policy_container.h"

static int32_t writeFailed(const char* function) {
  traceLine("%s():  fputs() failed with rc=%d \n", function, -1);
  return -1;
}

// Writes what mergeObjects has put into the entry buffer, without its old dn: line, empties the buffer and ends the
// record. Returns 0 or -1.
static int32_t writeMergedObject(Stream* stream) {
  // The old dn: line stays behind; the new one is in the output.
  if (writeLines(stream, entryInObject().subspan(1), MERGED) != 0) return -1;
  freeObject();
  return writeText(stream, "\n");
}

// Merges the owner's own entry with its map into the entry buffer.
static void mergeWithMap(const CacheMatrix& own, const CacheMatrix& map, int32_t slot) {
  mergeObjects(linesOfRow(own, slot, ownLines), linesOfRow(map, slot, otherLines));
}

static void requireDn(std::string_view dn, const char* function, const char* dnName, int32_t slot,
                      const CacheMatrix& matrix) {
  if (dn.data() != nullptr) return;
  traceLine("%s():  ERROR:  %s[%d] is NULL.  EXITING.  \n", function, dnName, slot);
  // Kept: without the blanks before the newline that the trace has.
  echoError("%s():  ERROR:  %s[%d] is NULL.  EXITING.\n", function, dnName, slot);
  exitForEntry(INCOMPLETE_DN, firstLineOfRow(matrix, slot));
}

static int32_t writeView(Stream* stream, std::string_view text) { return writeText(stream, text.data(), text.size()); }

int32_t writeSecGroupAddToOutputFile(int32_t slot, Stream* stream) {
  traceLine("writeSecGroupAddToOutputFile():  FUNCTION ENTRY \n");
  requireDn(secGroup_dn[slot], "writeSecGroupAddToOutputFile", "secGroup_dn", slot, secGroupMatrix);
  // Kept: the DN is written before it is known whether the rest is there. A run that ends for want of it leaves the DN
  // in the output.
  if (writeView(stream, secGroup_dn[slot]) != 0) return writeFailed("writeSecGroupAddToOutputFile");
  const bool hasOwn = isRowInUse(secGroupMatrix, slot);
  if (!hasOwn || !isRowInUse(secMapForSecGroupMatrix, slot)) {
    reportError("writeSecGroupAddToOutputFile():  ERROR:  Passing a NULL pointer to mergeObjects() \n");
    if (!hasOwn)
      // Without both there would be no slot.
      complainOfMissingEntry(GROUP_WITHOUT_OWN_ENTRY, slot, secGroupMatrix, &secMapForSecGroupMatrix);
    else
      complainOfMissingEntry(GROUP_WITHOUT_MAP, slot, secMapForSecGroupMatrix, &secGroupMatrix);
    exitWithMessage(PROCESSING_FAILED);
  }
  mergeWithMap(secGroupMatrix, secMapForSecGroupMatrix, slot);
  if (writeMergedObject(stream) != 0) return writeFailed("writeSecGroupAddToOutputFile");
  traceLine("writeSecGroupAddToOutputFile():  FUNCTION EXIT \n");
  return 0;
}

// Merges the slot's 'Users' entry with the merged entry in the entry buffer, as the first of the two: its dn:
// line, object classes and secAuthority count.
static void mergeWithUsersObject(int32_t slot) {
  traceLine("SECUSER_MATRIX_NUMBER_OF_COLUMNS = %d \n", SECUSER_MATRIX_NUMBER_OF_COLUMNS);
  std::vector<Line>& partiallyMergedSecUser = ownLines;
  // Put aside, because the merge fills the entry buffer anew.
  partiallyMergedSecUser.assign(object, object + next_available_object_slot);
  mergeObjects(linesOfRow(usersSecUserMatrix, slot, otherLines), partiallyMergedSecUser);
}

int32_t writeSecUserAddToOutputFile(int32_t slot, Stream* stream) {
  traceLine("writeSecUserAddToOutputFile():  FUNCTION ENTRY \n");
  requireDn(secUser_dn[slot], "writeSecUserAddToOutputFile", "secUser_dn", slot, secUserMatrix);
  if (writeView(stream, secUser_dn[slot]) != 0) return writeFailed("writeSecUserAddToOutputFile");
  const bool hasOwn = isRowInUse(secUserMatrix, slot);
  if (!hasOwn || !isRowInUse(secMapForSecUserMatrix, slot)) {
    reportError("writeSecUserAddToOutputFile():  ERROR:  Passing a NULL pointer to mergeObjects() \n");
    // Kept: a group's entries are not shown.
    reportError("secUser_matrix = %.*s\n", SHOWN(textOrNULL(firstLineOfRow(secUserMatrix, slot))));
    reportError("secMap_for_secUser_matrix = %.*s\n", SHOWN(textOrNULL(firstLineOfRow(secMapForSecUserMatrix, slot))));
    if (!hasOwn)
      complainOfMissingEntry(USER_WITHOUT_OWN_ENTRY, slot, secUserMatrix, &secMapForSecUserMatrix);
    else
      complainOfMissingEntry(USER_WITHOUT_MAP, slot, secMapForSecUserMatrix, &secUserMatrix);
    exitWithMessage(PROCESSING_FAILED);
  }
  // In this order: the Users entry comes first in what they make, and its values are those of the other two.
  mergeWithMap(secUserMatrix, secMapForSecUserMatrix, slot);
  if (isRowInUse(usersSecUserMatrix, slot)) mergeWithUsersObject(slot);
  if (writeMergedObject(stream) != 0) return writeFailed("writeSecUserAddToOutputFile");
  traceLine("writeSecUserAddToOutputFile():  FUNCTION EXIT \n");
  return 0;
}

// Puts the container's dn: line into tempString: the user's new DN below a component of its own.
static void composeContainerDn(int32_t slot) {
  const std::string_view userDn = secUser_dn[slot];
  copyBounded(tempString, sizeof tempString, CONTAINER_DN_BEGIN);
  if (appendBounded(tempString, sizeof tempString, containerDnEnd(userDn))) return;
  reportError("writePolicyContainerAddToOutputFile():  ERROR:  The DN is too long.  EXITING. \n");
  exitForEntry(DN_TOO_LONG, firstLineOfRow(secUserMatrix, slot));
}

int32_t writePolicyContainerAddToOutputFile(int32_t slot) {
  traceLine("writePolicyContainerAddToOutputFile():  FUNCTION ENTRY \n");
  requireDn(secUser_dn[slot], "writePolicyContainerAddToOutputFile", "secUser_dn", slot, secUserMatrix);
  composeContainerDn(slot);
  // Kept: one entry of the work file with a changetype gives every container one.
  const char* lines[] = {tempString, changetypeSeen == 1 ? containerLines[0] : "", containerLines[1], containerLines[2],
                         containerLines[3]};
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

// Writes the slot's policy, but for its dn: line. Returns 0 or -1.
static int32_t writePolicyLines(int32_t slot, Stream* stream) {
  return writeLines(stream, linesOfRow(secPolicyMatrix, slot, ownLines).subspan(1), POLICY);
}

int32_t writeSecPolicyAddToOutputFile(int32_t slot, Stream* stream) {
  traceLine("writeSecPolicyAddToOutputFile():  FUNCTION ENTRY \n");
  // There is a DN but no row where the policy has gone with a long one of the slot before (see releaseRow).
  if (!isRowInUse(secPolicyMatrix, slot)) {
    traceLine("writeSecPolicyAddToOutputFile():  FUNCTION EXIT1 \n");
    return 0;
  }
  requireDn(secPolicy_dn[slot], "writeSecPolicyAddToOutputFile", "secPolicy_dn", slot, secPolicyMatrix);
  const bool isWritten =
      writeView(stream, secPolicy_dn[slot]) == 0 && writePolicyLines(slot, stream) == 0 && writeText(stream, "\n") == 0;
  if (!isWritten) return writeFailed("writeSecPolicyAddToOutputFile");
  traceLine("writeSecPolicyAddToOutputFile():  FUNCTION EXIT \n");
  return 0;
}
