#include "rules/new_dn.h"

#include "rules/colon_search.h"
#include "rules/text.h"

// The two forms of each side, tried in this order on every line.
static constexpr ColonText principalNameForms[] = {"principalName:", "principalname:"};
static constexpr ColonText cnForms[] = {"cn:", "CN:"};

std::string_view nameIn(const Line& line, Side side) {
  for (const ColonText& form : side == USER_SIDE ? principalNameForms : cnForms)
    if (const size_t place = findExactly(line, form); place != NOT_FOUND)
      return behindSpaces(line.view().substr(place + form.text.size()));
  return {};
}

// A DN lies in the default domain, in any case, unless it lies below its subdomains.
static bool isInDefaultDomain(std::string_view dn) {
  return holdsInAnyCase(dn, "secauthority=default") && !holdsInAnyCase(dn, "cn=subdomains");
}

// Kept: a DN without a comma is taken whole, its line end included.
Subdomain subdomainOf(NewDnOf what, std::string_view oldDn) {
  if (isInDefaultDomain(oldDn)) return {};
  // An owner's DN begins with the component; that of a policy has one of its own before it.
  if (what != NEW_POLICY_DN) return {upToComma(oldDn), false};
  const size_t place = dostristr(oldDn, "secauthority");
  if (place == std::string_view::npos) return {{}, true};
  return {upToComma(oldDn.substr(place)), false};
}

struct DnFrame {
  std::string_view before;  // the name
  std::string_view behind;
};

// By NewDnOf.
static constexpr DnFrame frames[] = {{"dn: principalName=", ",cn=Users,"},
                                     {"dn: cn=", ",cn=Groups,"},
                                     {"dn: cn=Policy,cn=Policies,principalName=", ",cn=Users,"}};

std::string_view newDnOf(NewDnOf what, std::string_view name, const Subdomain& subdomain, Texts& texts) {
  const DnFrame& frame = frames[what];
  const bool isSubdomain = subdomain.component.data() != nullptr;
  return joined({frame.before, name, frame.behind, subdomain.component, isSubdomain ? ",cn=Subdomains," : "",
                 "secAuthority=default\n"},
                texts);
}

NewDn replaceDn(NewDnOf what, std::string_view name, std::string_view oldDn, Texts& texts) {
  if (oldDn.size() >= TEMP_DN_SIZE) return {DN_TOO_LONG, {}};
  const Subdomain subdomain = subdomainOf(what, oldDn);
  if (subdomain.isMissing) return {POLICY_WITHOUT_AUTHORITY, {}};
  const std::string_view line = newDnOf(what, name, subdomain, texts);
  return {line.size() < TEMP_DN_SIZE ? NO_DETAIL : DN_TOO_LONG, line};
}
