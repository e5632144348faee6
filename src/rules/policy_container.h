// The container that a user's policy gets in the new layout.
#pragma once

#include <string_view>

#include "rules/colon_search.h"
#include "rules/line.h"
#include "rules/text.h"

// Its DN is a component of its own in front of the user's.
inline constexpr char CONTAINER_DN_BEGIN[] = "dn: cn=Policies,";
inline std::string_view containerDnEnd(std::string_view newUserDn) {
  return behindSpaces(newUserDn.substr(newUserDn.find(':') + 1));
}

// True when a line holds "changetype:".
inline bool holdsChangetype(const Line& line) {
  static constexpr ColonText changetypeText = "changetype:";
  return findExactly(line, changetypeText) != NOT_FOUND;
}

// The lines behind it, and the empty one that ends the record. The first is only there where the work file holds a
// changetype line.
inline constexpr const char* containerLines[] = {"changetype: add\n", "objectclass: container\n", "objectclass: top\n",
                                                 "cn: Policies\n\n"};
