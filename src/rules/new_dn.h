// The distinguished names of the new layout.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/detail_texts.h"
#include "rules/line.h"
#include "rules/object_class.h"
#include "rules/texts.h"

constexpr size_t NAME_SIZE = 1024;     // bytes of an owner's name, closing NUL included
constexpr size_t TEMP_DN_SIZE = 4096;  // bytes of a DN line, old or new, closing NUL included

// What gets a new DN.
enum NewDnOf : uint8_t { NEW_USER_DN, NEW_GROUP_DN, NEW_POLICY_DN };

// Looks for the name's attribute, in one of the two forms in which that is known, anywhere in a line: the principal
// name of a user, the cn of a group. Returns what follows, up to the end of the line; without data where it does not
// stand.
std::string_view nameIn(const Line& line, Side side);

// Returns the component of the old owner DN, or policy DN, that names the subdomain: the first one of an owner's, that
// of the secAuthority, wherever it stands, of a policy's. Empty for the default domain.
// A policy's can be missing; problem is then true.
struct Subdomain {
  std::string_view component;
  bool isMissing = false;
};
Subdomain subdomainOf(NewDnOf what, std::string_view oldDn);

// Returns the new dn: line of an owner's name, line end included.
std::string_view newDnOf(NewDnOf what, std::string_view name, const Subdomain& subdomain, Texts& texts);

// The new dn: line, or what stands against it: a DN, the old or the new one, that is too long, or one without the
// component.
struct NewDn {
  DetailText problem = NO_DETAIL;
  std::string_view line;
};
NewDn replaceDn(NewDnOf what, std::string_view name, std::string_view oldDn, Texts& texts);
