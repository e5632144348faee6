#include "survey/class_names.h"

#include <string>

#include "rules/attribute.h"
#include "rules/text.h"
#include "survey/spellings.h"

// The values that name a class that is known.
struct ClassValue {
  std::string_view value;
  ObjectClass code;
};
static constexpr ClassValue classValues[] = {
    {"secUser", SECUSER_OBJECTCLASS},     {"secPolicyData", SECPOLICYDATA_OBJECTCLASS},
    {"secPolicy", SECPOLICY_OBJECTCLASS}, {"secMap", SECMAP_OBJECTCLASS},
    {"secGroup", SECGROUP_OBJECTCLASS},   {"secAuthorityInfo", SECAUTHORITYINFO_OBJECTCLASS},
    {"container", CONTAINER_OBJECTCLASS}, {"secResCreds", SECRESCREDS_OBJECTCLASS},
};

ObjectClass classNamedBy(const Line& line) {
  // Most entries have a line of the class top, too, which is shorter than one with any of these values.
  constexpr size_t SHORTEST = std::string_view("objectclass:secMap").size();
  if (line.contentLength < SHORTEST) return UNINTERESTING_OBJECTCLASS;
  std::string decoded;
  const std::string_view value = decodedValueOf(line, decoded);
  for (const ClassValue& known : classValues)
    if (value.size() == known.value.size() && isSameInAnyCase(value, known.value))
      return isNamed(line, "objectclass") ? known.code : UNINTERESTING_OBJECTCLASS;
  return UNINTERESTING_OBJECTCLASS;
}
