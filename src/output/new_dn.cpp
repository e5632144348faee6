#include "output/new_dn.h"

#include <cstring>

#include "cache/object_cache.h"
#include "ldif/complaint.h"
#include "platform/bounded_text.h"
#include "platform/shown_text.h"
#include "reporting/reporting.h"
#include "rules/line_scan.h"

[[noreturn]] static void exitForLongValue(const char* function, DetailText problem, std::string_view firstLine) {
  reportError("%s():  ERROR:  A name or DN is too long.  EXITING. \n", function);
  exitForEntry(problem, firstLine);
}

// Puts the name into its buffer of NAME_SIZE bytes. Returns 0, or -1 when there is none.
static int32_t extractName(const CacheMatrix& matrix, int32_t slot, char* name, const char* function) {
  std::string_view found;
  for (const Row& row : rowsOf(matrix, slot)) {
    LineScan scan = scanOf(row.entryText().text);
    // One line after the other, and none behind the name: the others are not needed yet.
    for (Line line; found.data() == nullptr && takeEntryLines(scan, row.mayHoldNul, &line, 1) == 1;)
      found = nameIn(line, matrix.side);
  }
  // With its line end, which it loses below: 1,022 characters and a newline still fit.
  if (found.size() >= NAME_SIZE) exitForLongValue(function, NAME_TOO_LONG, firstLineOfRow(matrix, slot));
  copyBounded(name, NAME_SIZE, withoutLineEnd(found));
  // An empty name is none.
  return name[0] != '\0' ? 0 : -1;
}

int32_t learnPrincipalNameFromSecUserObject(int32_t slot) {
  traceLine("learnPrincipalNameFromSecUserObject():  FUNCTION ENTRY \n");
  if (extractName(secUserMatrix, slot, principalName, "learnPrincipalNameFromSecUserObject") == 0) {
    traceLine("learnPrincipalNameFromSecUserObject():  The modified principalName = %s \n", principalName);
    traceLine("learnPrincipalNameFromSecUserObject():  FUNCTION EXIT \n");
    return 0;
  }
  traceLine("learnPrincipalNameFromSecUserObject():  ERROR: secUser principal name could not be found. \n");
  traceLine("                                        The input file may be corrupt.\n");
  echoError("learnPrincipalNameFromSecUserObject(): ERROR: secUser principal name could not be found. \n");
  echoError("secUser is: %.*s\n", SHOWN(textOrNull(firstLineOfRow(secUserMatrix, slot))));
  return -1;
}

int32_t learnCNFromSecGroupObject(int32_t slot) {
  traceLine("learnCNFromSecGroupObject():  FUNCTION ENTRY \n");
  if (extractName(secGroupMatrix, slot, cnFromSecGroupObject, "learnCNFromSecGroupObject") == 0) {
    traceLine("learnCNFromSecGroupObject():  The modified cn = %s \n", cnFromSecGroupObject);
    traceLine("learnCNFromSecGroupObject():  FUNCTION EXIT \n");
    return 0;
  }
  // Kept: the same text is traced and echoed here, for a user's name two.
  reportError("learnCNFromSecGroupObject():  ERROR: secGroup cn could not be found. \n");
  traceLine("                              The input file may be corrupt.\n");
  echoError("secGroup is: %.*s\n", SHOWN(textOrNull(firstLineOfRow(secGroupMatrix, slot))));
  return -1;
}

// The builders, by NewDnOf, and the matrix of the entry that gets the DN.
struct DnBuilder {
  const char* function;
  const CacheMatrix* matrix;
};
static constexpr DnBuilder builders[] = {{"createNewSecUserDN", &secUserMatrix},
                                         {"createNewSecGroupDN", &secGroupMatrix},
                                         {"createNewSecPolicyDN", &secPolicyMatrix}};

[[noreturn]] static void exitForMissingAuthority(int32_t slot, std::string_view dn) {
  reportError("createNewSecPolicyDN(): Missing secAuthority in dn: %.*s\n", SHOWN(dn));
  exitForEntry(POLICY_WITHOUT_AUTHORITY, firstLineOfRow(secPolicyMatrix, slot));
}

// Replaces a DN of the cache by the new dn: line with the owner's name.
static void storeNewDn(NewDnOf what, int32_t slot, std::string_view& dn, const char* name) {
  const DnBuilder& builder = builders[what];
  traceLine("%s():  The old dn is:  %.*s", builder.function, SHOWN(dn));
  const NewDn newDn = replaceDn(what, name, dn, newDns);
  // Only a policy can lack it: an owner's DN begins with it.
  if (newDn.problem == POLICY_WITHOUT_AUTHORITY) exitForMissingAuthority(slot, dn);
  if (newDn.problem != NO_DETAIL)
    exitForLongValue(builder.function, newDn.problem, firstLineOfRow(*builder.matrix, slot));
  copyBounded(tempDN, sizeof tempDN, newDn.line);
  dn = newDn.line;
  traceLine("%s():  The new dn is:  %.*s", builder.function, SHOWN(dn));
}

int32_t createNewSecUserDN(int32_t slot) {
  traceLine("createNewSecUserDN():  FUNCTION ENTRY \n");
  if (learnPrincipalNameFromSecUserObject(slot) != 0) {
    traceLine("createNewSecUserDN():  learnPrincipalNameFromSecUserObject FAILED.  Returning ERROR. \n");
    echoError("createNewSecUserDN():  principalName for secUser: %.*s  could not be determined\n",
              SHOWN(textOrNull(firstLineOfRow(secUserMatrix, slot))));
    return -1;
  }
  storeNewDn(NEW_USER_DN, slot, secUser_dn[slot], principalName);
  traceLine("createNewSecUserDN():  FUNCTION EXIT \n");
  return 0;
}

// If an entry does not begin with its DN, part of a value may stand in its place, and is not shown.
static std::string_view shownDn(std::string_view dn) {
  if (dn.data() == nullptr) return "null";
  return asDn(dn).empty() ? "a DN that cannot be shown" : dn;
}

int32_t createNewSecGroupDN(int32_t slot) {
  traceLine("createNewSecGroupDN():  FUNCTION ENTRY \n");
  if (learnCNFromSecGroupObject(slot) != 0) {
    traceLine("createNewSecGroupDN():  learnCNFromSecGroupObject FAILED.  Returning ERROR. \n");
    // Kept: shown whether or not errors are echoed.
    printHarmlessly("createNewSecGroupDN():  learnCNFromSecGroupObject FAILED.\n");
    printHarmlessly("createNewSecGroupDN():  secGroup:  %.*s\n", SHOWN(shownDn(secGroup_dn[slot])));
    return -1;
  }
  storeNewDn(NEW_GROUP_DN, slot, secGroup_dn[slot], cnFromSecGroupObject);
  traceLine("createNewSecGroupDN():  FUNCTION EXIT \n");
  return 0;
}

int32_t createNewSecPolicyDN(int32_t slot) {
  traceLine("createNewSecPolicyDN():  FUNCTION ENTRY \n");
  // There is nothing to rename.
  if (secPolicy_dn[slot].data() == nullptr) {
    traceLine("createNewSecPolicyDN():  FUNCTION EXIT1 \n");
    return 0;
  }
  // Kept: found once more, although the user's DN has just been made with it; the trace shows both.
  if (learnPrincipalNameFromSecUserObject(slot) != 0) {
    traceLine("createNewSecPolicyDN():  learnPrincipalNameFromSecUserObject FAILED.  Returning ERROR. \n");
    echoError("createNewSecPolicyDN():  learnPrincipalNameFromSecUserObject FAILED. ERROR. \n");
    echoError("createNewSecPolicyDN():  secPolicy_dn is: %.*s\n", SHOWN(secPolicy_dn[slot]));
    return -1;
  }
  storeNewDn(NEW_POLICY_DN, slot, secPolicy_dn[slot], principalName);
  traceLine("createNewSecPolicyDN():  FUNCTION EXIT \n");
  return 0;
}
