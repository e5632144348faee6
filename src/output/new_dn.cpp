#include "output/new_dn.h"

#include <cstdlib>
#include <cstring>

#include "cache/object_cache.h"
#include "driver/reporting.h"
#include "driver/run_state.h"
#include "ldif/colon_search.h"
#include "ldif/line_memory.h"
#include "ldif/object_buffer.h"
#include "ldif/text.h"

// The two forms in which the name's attribute is recognised, tried in this order on every line.
struct NameSource {
  const CacheMatrix* matrix;
  ColonText forms[2];
  char* name;  // NAME_SIZE bytes
};

static constexpr NameSource principalNameSource = {&secUserMatrix, {"principalName:", "principalname:"}, principalName};
static constexpr NameSource cnSource = {&secGroupMatrix, {"cn:", "CN:"}, cnFromSecGroupObject};

[[noreturn]] static void exitForLongValue(const char* function, const char* dnLine) {
  reportError("%s():  ERROR:  A name or DN is too long.  EXITING. \n", function);
  concerning(dnLine);
  exitWithMessage(PROCESSING_FAILED);
}

// Returns what follows the name's attribute in the first line that has it, anywhere; null without one.
static const char* findName(const NameSource& source, int32_t slot) {
  for (char** line = rowOf(*source.matrix, slot); *line != nullptr; ++line)
    for (const ColonText& form : source.forms)
      if (const char* place = findExactly(*line, form)) return skipSpaces(place + form.text.size());
  return nullptr;
}

// Puts the name into its buffer. Returns 0, or -1 when there is none.
static int32_t extractName(const NameSource& source, int32_t slot, const char* function) {
  source.name[0] = '\0';
  const char* found = findName(source, slot);
  if (found != nullptr && !copyBounded(source.name, NAME_SIZE, found))
    exitForLongValue(function, rowOf(*source.matrix, slot)[0]);
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

// True when the DN, in any case, lies in the default domain and not below its subdomains.
static bool isInDefaultDomain(const char* dn, const char* function) {
  if (!copyLowered(tempString, sizeof tempString, dn)) exitForLongValue(function, dn);
  return strstr(tempString, "secauthority=default") != nullptr && strstr(tempString, "cn=subdomains") == nullptr;
}

// Replaces a DN of the cache by a new dn: line: the prefix, the name, the container and, for a subdomain, its
// component (null for the default domain).
static void storeNewDn(char*& dn, const char* prefix, const char* name, const char* container, const char* subdomain,
                       const char* function, const char* mallocFailure) {
  tempDN[0] = '\0';
  bool fits = appendBounded(tempDN, sizeof tempDN, prefix) && appendBounded(tempDN, sizeof tempDN, name) &&
              appendBounded(tempDN, sizeof tempDN, container);
  if (subdomain != nullptr)
    fits = fits && appendBounded(tempDN, sizeof tempDN, subdomain) &&
           appendBounded(tempDN, sizeof tempDN, ",cn=Subdomains,");
  fits = fits && appendBounded(tempDN, sizeof tempDN, "secAuthority=default\n");
  if (!fits) exitForLongValue(function, dn);
  char* newDn = copyLine(tempDN, mallocFailure);
  freeLine(dn);
  dn = newDn;
  traceLine("%s():  The new dn is:  %s", function, dn);
}

// Returns the first component of the DN, cut out in place, for a subdomain; null for the default domain.
static const char* subdomainOfOwner(char* dn, const char* function) {
  if (isInDefaultDomain(dn, function)) return nullptr;
  cutAtComma(dn);  // Kept: a DN without a comma is taken whole, its line end included.
  return dn;
}

// Returns the secAuthority component of the policy DN, wherever it stands, for a subdomain; null for the
// default domain.
static const char* subdomainOfPolicy(char* dn) {
  if (isInDefaultDomain(dn, "createNewSecPolicyDN")) return nullptr;
  char* component = dostristr(dn, "secauthority");
  if (component == nullptr) {
    reportError("createNewSecPolicyDN(): Missing secAuthority in dn: %s\n", dn);
    concerning(dn);
    exitWithMessage(PROCESSING_FAILED);
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
  storeNewDn(secUser_dn[slot], "dn: principalName=", principalName, ",cn=Users,",
             subdomainOfOwner(secUser_dn[slot], "createNewSecUserDN"), "createNewSecUserDN",
             "createNewSecUserDN():  ERROR:  malloc() failure.  Exiting. \n");
  traceLine("createNewSecUserDN():  FUNCTION EXIT \n");
  return 0;
}

int32_t createNewSecGroupDN(int32_t slot) {
  traceLine("createNewSecGroupDN():  FUNCTION ENTRY \n");
  if (learnCNFromSecGroupObject(slot) != 0) {
    traceLine("createNewSecGroupDN():  learnCNFromSecGroupObject FAILED.  Returning ERROR. \n");
    // Kept: shown whether or not errors are echoed.
    printf("createNewSecGroupDN():  learnCNFromSecGroupObject FAILED.\n");
    printf("createNewSecGroupDN():  secGroup:  %s\n", textOrNull(secGroup_dn[slot]));
    fflush(stdout);
    return -1;
  }
  storeNewDn(secGroup_dn[slot], "dn: cn=", cnFromSecGroupObject, ",cn=Groups,",
             subdomainOfOwner(secGroup_dn[slot], "createNewSecGroupDN"), "createNewSecGroupDN",
             "createNewSecGroupDN():  ERROR:  malloc() failure.  Exiting. \n");
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
  storeNewDn(secPolicy_dn[slot], "dn: cn=Policy,cn=Policies,principalName=", principalName, ",cn=Users,",
             subdomainOfPolicy(secPolicy_dn[slot]), "createNewSecPolicyDN",
             "createNewSecPolicyDN():  ERROR:  malloc() failure.  Exiting. \n");
  traceLine("createNewSecPolicyDN():  FUNCTION EXIT \n");
  return 0;
}
