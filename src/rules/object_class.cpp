#include "rules/object_class.h"

#include <iterator>

#include "rules/colon_search.h"
#include "rules/places.h"
#include "rules/text.h"

struct ClassName {
  std::string_view text;  // with the blank before it
  ObjectClass code;
};

// Searched in this order: " secPolicy" would also be found in " secPolicyData".
static constexpr ClassName classNames[] = {
    {" secUser", SECUSER_OBJECTCLASS},
    {" secuser", SECUSER_OBJECTCLASS},
    {" secPolicyData", SECPOLICYDATA_OBJECTCLASS},
    {" secpolicydata", SECPOLICYDATA_OBJECTCLASS},
    {" secPolicy", SECPOLICY_OBJECTCLASS},
    {" secpolicy", SECPOLICY_OBJECTCLASS},
    {" secMap", SECMAP_OBJECTCLASS},
    {" secmap", SECMAP_OBJECTCLASS},
    {" secGroup", SECGROUP_OBJECTCLASS},
    {" secgroup", SECGROUP_OBJECTCLASS},
    {" secAuthorityInfo", SECAUTHORITYINFO_OBJECTCLASS},
    {" secauthorityinfo", SECAUTHORITYINFO_OBJECTCLASS},
    {" container", CONTAINER_OBJECTCLASS},
    {" Container", CONTAINER_OBJECTCLASS},
    {" secResCreds", SECRESCREDS_OBJECTCLASS},
    {" secrescreds", SECRESCREDS_OBJECTCLASS},
};

static constexpr ColonText objectClassTexts[] = {"objectClass:", "objectclass:"};

// Returns the first of the names, in their order, before the given one that the text begins with; else the given one.
// The fifth character tells most of them apart.
static const ClassName* findBefore(const ClassName* end, std::string_view text) {
  constexpr size_t FIFTH = 4;
  for (const ClassName* name = classNames; text.size() > FIFTH && name != end; ++name)
    if (text[FIFTH] == name->text[FIFTH] && text.starts_with(name->text)) return name;
  return end;
}

static const ClassName* findClassName(std::string_view line) {
  const ClassName* found = std::end(classNames);
  // Kept: of several names in the line it is not the first that counts, but the one that stands first in the table; so
  // every blank is looked at.
  anyPlace(line, ' ', [&](size_t blank) {
    found = findBefore(found, line.substr(blank));
    return false;
  });
  return found != std::end(classNames) ? found : nullptr;
}

static bool isOfResCreds(std::string_view firstLine) {
  // Kept: in these spellings only; in any other it is a container like others.
  return firstLine.find("cn=ResCreds") != NOT_FOUND || firstLine.find("cn=rescreds") != NOT_FOUND;
}

ObjectClass classOf(Entry entry) {
  for (const Line& line : entry) {
    if (findExactly(line, objectClassTexts) == NOT_FOUND) continue;
    const ClassName* name = findClassName(line.view());
    // An unknown class decides nothing: a later line may name a known one.
    if (name == nullptr) continue;
    const bool isResCreds = name->code == CONTAINER_OBJECTCLASS && isOfResCreds(entry[0].view());
    return isResCreds ? RESCREDS_CONTAINER : name->code;
  }
  return UNINTERESTING_OBJECTCLASS;
}

bool isUsersLine(std::string_view firstLine) { return holdsInAnyCase(firstLine, "cn=users,secauthority="); }

bool isLineOfUser(std::string_view firstLine) { return holdsInAnyCase(firstLine, "cn=Users"); }

bool goesStraightThrough(ObjectClass objectClass, std::string_view firstLine) {
  switch (objectClass) {
    case UNINTERESTING_OBJECTCLASS:
    case SECAUTHORITYINFO_OBJECTCLASS:
    case CONTAINER_OBJECTCLASS:
      return true;
    case SECPOLICY_OBJECTCLASS:
      // A policy of the whole domain belongs to no user.
      return holdsInAnyCase(firstLine, "cn=Policies,secAuthority=");
    default:
      return false;
  }
}

EntryKind kindOf(ObjectClass objectClass, std::string_view firstLine) {
  switch (objectClass) {
    case SECUSER_OBJECTCLASS:
      return isUsersLine(firstLine) ? USERS_SECUSER_KIND : SECUSER_KIND;
    case SECGROUP_OBJECTCLASS:
      return SECGROUP_KIND;
    case SECPOLICYDATA_OBJECTCLASS:
      return SECPOLICYDATA_KIND;
    case SECMAP_OBJECTCLASS:
      return isLineOfUser(firstLine) ? MAP_OF_USER_KIND : MAP_OF_GROUP_KIND;
    case SECPOLICY_OBJECTCLASS:
      return SECPOLICY_KIND;
    case RESCREDS_CONTAINER:
    case SECRESCREDS_OBJECTCLASS:
      // Both wait for the final copy.
      return RESCREDS_KIND;
    default:
      return UNKNOWN_KIND;
  }
}

ObjectClass classOfKind(EntryKind kind) {
  switch (kind) {
    case USERS_SECUSER_KIND:
    case SECUSER_KIND:
      return SECUSER_OBJECTCLASS;
    case SECGROUP_KIND:
      return SECGROUP_OBJECTCLASS;
    case SECPOLICYDATA_KIND:
      return SECPOLICYDATA_OBJECTCLASS;
    case SECPOLICY_KIND:
      return SECPOLICY_OBJECTCLASS;
    default:
      // Maps of either side are of one class.
      return SECMAP_OBJECTCLASS;
  }
}
