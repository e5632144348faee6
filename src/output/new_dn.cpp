#include "output/new_dn.h"

#include <cstring>
#include <initializer_list>

#include "cache/object_cache.h"
#include "ldif/colon_search.h"
#include "ldif/complaint.h"
#include "ldif/line_memory.h"
#include "ldif/text.h"
#include "platform/shown_text.h"
#include "reporting/reporting.h"
#include "reporting/run_state.h"

// The two forms in which the name's attribute is recognised, tried in this order on every line.
struct NameSource {
  const CacheMatrix* matrix;
  ColonText forms[2];
  char* name;  // NAME_SIZE bytes
};

static constexpr NameSource principalNameSource = {&secUserMatrix, {"principalName:", "principalname:"}, principalName};
static constexpr NameSource cnSource = {&secGroupMatrix, {"cn:", "CN:"}, cnFromSecGroupObject};

[[noreturn]] static void exitForLongValue(const char* function, DetailText problem, const char* firstLine) {
  reportError("%s():  ERROR:  A name or DN is too long.  EXITING. \n", function);
  exitForEntry(problem, firstLine);
}

// Returns what follows the name's attribute in the first line that has it, anywhere; null without one.
static const char* findName(const NameSource& source, int32_t slot) {
  for (char** cell = rowOf(*source.matrix, slot); *cell != nullptr; ++cell) {
    const ColonLine line(*cell);
    for (const ColonText& form : source.forms)
      if (const char* place = findExactly(line, form)) return skipSpaces(place + form.text.size());
  }
  return nullptr;
}

// Puts the name into its buffer. Returns 0, or -1 when there is none.
static int32_t extractName(const NameSource& source, int32_t slot, const char* function) {
  source.name[0] = '\0';
  const char* found = findName(source, slot);
  if (found != nullptr && !copyBounded(source.name, NAME_SIZE, found))
    exitForLongValue(function, NAME_TOO_LONG, rowOf(*source.matrix, slot)[0]);
  cutAtLineEnd(source.name);
  return source.name[0] != '\0' ? 0 : -1;
}

int32_t learnPrincipalNameFromSecUserObject(int32_t slot) {
  traceLine("learnPrincipalNameFromSecUserObject():  FUNCTION ENTRY \n");
  if (extractName(principalNameSource, slot, "learnPrincipalNameFromSecUserObject") == 0) {
    traceLine("learnPrincipalNameFromSecUserObject():  The modified principalName = %s \n", principalName);
    traceLine("learnPrincipalNameFromSecUserObject():  FUNCTION EXIT \n");
    return 0;
  }
  traceLine("learnPrincipalNameFromSecUserObject():  ERROR: secUser principal name could not be found. \n");
  traceLine("                                        The input file may be corrupt.\n");
  echoError("learnPrincipalNameFromSecUserObject(): ERROR: secUser principal name could not be found. \n");
  echoError("secUser is: %s\n", textOrNull(rowOf(secUserMatrix, slot)[0]));
  return -1;
}

int32_t learnCNFromSecGroupObject(int32_t slot) {
  traceLine("learnCNFromSecGroupObject():  FUNCTION ENTRY \n");
  if (extractName(cnSource, slot, "learnCNFromSecGroupObject") == 0) {
    traceLine("learnCNFromSecGroupObject():  The modified cn = %s \n", cnFromSecGroupObject);
    traceLine("learnCNFromSecGroupObject():  FUNCTION EXIT \n");
    return 0;
  }
  reportError("learnCNFromSecGroupObject():  ERROR: secGroup cn could not be found. \n");
  traceLine("                              The input file may be corrupt.\n");
  echoError("secGroup is: %s\n", textOrNull(rowOf(secGroupMatrix, slot)[0]));
  return -1;
}

// What a new DN is made of around the owner's name.
struct DnBuilder {
  const char* function;
  const char* mallocFailure;
  const CacheMatrix* matrix;  // of the entry that gets the DN
  const char* prefix;         // before the name
  const char* container;      // behind it
};

static constexpr DnBuilder userDn = {"createNewSecUserDN",
                                     "createNewSecUserDN():  ERROR:  malloc() failure.  Exiting. \n", &secUserMatrix,
                                     "dn: principalName=", ",cn=Users,"};
static constexpr DnBuilder groupDn = {"createNewSecGroupDN",
                                      "createNewSecGroupDN():  ERROR:  malloc() failure.  Exiting. \n", &secGroupMatrix,
                                      "dn: cn=", ",cn=Groups,"};
static constexpr DnBuilder policyDn = {"createNewSecPolicyDN",
                                       "createNewSecPolicyDN():  ERROR:  malloc() failure.  Exiting. \n",
                                       &secPolicyMatrix, "dn: cn=Policy,cn=Policies,principalName=", ",cn=Users,"};

// True when the DN, in any case, lies in the default domain and not below its subdomains.
static bool isInDefaultDomain(const DnBuilder& builder, int32_t slot, const char* dn) {
  traceLine("%s():  The old dn is:  %s", builder.function, dn);
  if (!copyLowered(tempString, sizeof tempString, dn))
    exitForLongValue(builder.function, DN_TOO_LONG, rowOf(*builder.matrix, slot)[0]);
  return strstr(tempString, "secauthority=default") != nullptr && strstr(tempString, "cn=subdomains") == nullptr;
}

// Replaces a DN of the cache by the new dn: line with the owner's name and, for a subdomain, the subdomain's
// component (null for the default domain), which may lie in the old DN.
static void storeNewDn(const DnBuilder& builder, int32_t slot, char*& dn, const char* name, const char* subdomain) {
  tempDN[0] = '\0';
  bool fits = true;
  for (const char* part : {builder.prefix, name, builder.container, subdomain != nullptr ? subdomain : "",
                           subdomain != nullptr ? ",cn=Subdomains," : "", "secAuthority=default\n"})
    fits = fits && appendBounded(tempDN, sizeof tempDN, part);
  if (!fits) exitForLongValue(builder.function, DN_TOO_LONG, rowOf(*builder.matrix, slot)[0]);
  char* newDn = copyLine(tempDN, builder.mallocFailure);
  freeLine(dn);
  dn = newDn;
  traceLine("%s():  The new dn is:  %s", builder.function, dn);
}

// Returns the first component of the DN, cut out in place, for a subdomain; null for the default domain.
static const char* subdomainOfOwner(const DnBuilder& builder, int32_t slot, char* dn) {
  if (isInDefaultDomain(builder, slot, dn)) return nullptr;
  cutAtComma(dn);  // Kept: a DN without a comma is taken whole, its line end included.
  return dn;
}

// Returns the secAuthority component of the policy DN, wherever it stands, for a subdomain; null for the
// default domain.
static const char* subdomainOfPolicy(int32_t slot, char* dn) {
  if (isInDefaultDomain(policyDn, slot, dn)) return nullptr;
  char* component = dostristr(dn, "secauthority");
  if (component == nullptr) {
    reportError("createNewSecPolicyDN(): Missing secAuthority in dn: %s\n", dn);
    exitForEntry(POLICY_WITHOUT_AUTHORITY, rowOf(secPolicyMatrix, slot)[0]);
  }
  cutAtComma(component);
  return component;
}

int32_t createNewSecUserDN(int32_t slot) {
  traceLine("createNewSecUserDN():  FUNCTION ENTRY \n");
  if (learnPrincipalNameFromSecUserObject(slot) != 0) {
    traceLine("createNewSecUserDN():  learnPrincipalNameFromSecUserObject FAILED.  Returning ERROR. \n");
    echoError("createNewSecUserDN():  principalName for secUser: %s  could not be determined\n",
              textOrNull(rowOf(secUserMatrix, slot)[0]));
    return -1;
  }
  storeNewDn(userDn, slot, secUser_dn[slot], principalName, subdomainOfOwner(userDn, slot, secUser_dn[slot]));
  traceLine("createNewSecUserDN():  FUNCTION EXIT \n");
  return 0;
}

// Of an entry that does not begin with its DN part of a value may stand in place of it.
static const char* shownDn(const char* dn) {
  if (dn == nullptr) return "null";
  return asDn(dn).empty() ? "a DN that cannot be shown" : dn;
}

int32_t createNewSecGroupDN(int32_t slot) {
  traceLine("createNewSecGroupDN():  FUNCTION ENTRY \n");
  if (learnCNFromSecGroupObject(slot) != 0) {
    traceLine("createNewSecGroupDN():  learnCNFromSecGroupObject FAILED.  Returning ERROR. \n");
    // Kept: shown whether or not errors are echoed.
    printHarmlessly("createNewSecGroupDN():  learnCNFromSecGroupObject FAILED.\n");
    printHarmlessly("createNewSecGroupDN():  secGroup:  %s\n", shownDn(secGroup_dn[slot]));
    return -1;
  }
  storeNewDn(groupDn, slot, secGroup_dn[slot], cnFromSecGroupObject,
             subdomainOfOwner(groupDn, slot, secGroup_dn[slot]));
  traceLine("createNewSecGroupDN():  FUNCTION EXIT \n");
  return 0;
}

int32_t createNewSecPolicyDN(int32_t slot) {
  traceLine("createNewSecPolicyDN():  FUNCTION ENTRY \n");
  if (secPolicy_dn[slot] == nullptr) {
    traceLine("createNewSecPolicyDN():  FUNCTION EXIT1 \n");
    return 0;
  }
  if (learnPrincipalNameFromSecUserObject(slot) != 0) {
    traceLine("createNewSecPolicyDN():  learnPrincipalNameFromSecUserObject FAILED.  Returning ERROR. \n");
    echoError("createNewSecPolicyDN():  learnPrincipalNameFromSecUserObject FAILED. ERROR. \n");
    echoError("createNewSecPolicyDN():  secPolicy_dn is: %s\n", secPolicy_dn[slot]);
    return -1;
  }
  storeNewDn(policyDn, slot, secPolicy_dn[slot], principalName, subdomainOfPolicy(slot, secPolicy_dn[slot]));
  traceLine("createNewSecPolicyDN():  FUNCTION EXIT \n");
  return 0;
}
