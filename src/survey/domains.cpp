#include "survey/domains.h"

#include <algorithm>
#include <string>

#include "rules/text.h"
#include "survey/spellings.h"

// Takes from a DN what stands in front of the first separator that no backslash escapes.
static std::string_view takePart(std::string_view& rest, char separator) {
  constexpr size_t ESCAPED = 2;
  size_t end = 0;
  while (end < rest.size() && rest[end] != separator) end += rest[end] == '\\' ? ESCAPED : 1;
  const std::string_view part = rest.substr(0, end);
  rest.remove_prefix(std::min(part.size() + 1, rest.size()));
  return part;
}

// Returns the value of the authority in a component, which can have several attributes; without data where it has none.
static std::string_view authorityIn(std::string_view component) {
  constexpr std::string_view NAME = "secauthority=";
  while (!component.empty()) {
    const std::string_view part = takePart(component, '+');
    if (isSameInAnyCase(part.substr(0, NAME.size()), NAME)) return part.substr(NAME.size());
  }
  return {};
}

bool isDomainMistaken(NewDnOf what, std::string_view oldDn) {
  constexpr std::string_view IN_DEFAULT = "secauthority=default,";
  // Most owners' DNs begin so, and need not be taken apart.
  if (isSameInAnyCase(oldDn.substr(0, IN_DEFAULT.size()), IN_DEFAULT))
    return subdomainOf(what, oldDn).component.data() != nullptr;
  const std::string dn = withoutSpareBlanks(oldDn);
  std::string_view rest = dn;
  std::string_view domain;  // the component
  while (!rest.empty() && authorityIn(domain).data() == nullptr) domain = takePart(rest, ',');
  const bool isDefault = isSameInAnyCase(authorityIn(domain), "default");
  const Subdomain taken = subdomainOf(what, oldDn);
  if (taken.component.data() == nullptr) return !isDefault;
  return isDefault || withoutSpareBlanks(taken.component) != domain;
}
