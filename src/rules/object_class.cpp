#include "ldif/object_class.h"

#include <cstring>
#include <string_view>

#include "ldif/colon_search.h"
#include "ldif/complaint.h"
#include "ldif/object_buffer.h"
#include "ldif/text.h"
#include "reporting/reporting.h"
#include "reporting/run_state.h"

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

// Trace text of each code, in order.
static constexpr const char* classTraces[] = {
    "   The object class is UNINTERESTING_OBJECTCLASS  \n\n",
    "   The object class is SECUSER_OBJECTCLASS  \n\n",
    "   The object class is SECPOLICYDATA_OBJECTCLASS  \n\n",
    "   The object class is SECPOLICY_OBJECTCLASS  \n\n",
    "   The object class is SECGROUP_OBJECTCLASS  \n\n",
    "   The object class is SECMAP_OBJECTCLASS  \n\n",
    "   The object class is SECAUTHORITYINFO_OBJECTCLASS  \n\n",
    "   The object class is RESCREDS_CONTAINER (not really an object class) \n\n",
    "   The object class is SECRESCREDS_OBJECTCLASS (not really an object class) \n\n",
    "   The object class is CONTAINER_OBJECTCLASS \n\n",
};

static constexpr ColonText objectClassTexts[] = {"objectClass:", "objectclass:"};

static bool isResCredsContainer() {
  return strstr(object[0], "cn=ResCreds") != nullptr || strstr(object[0], "cn=rescreds") != nullptr;
}

// All names begin with a blank, and the fifth character tells most of them apart.
static bool holds(std::string_view line, std::string_view name) {
  constexpr size_t TELLING = 4;
  for (size_t blank = line.find(' '); blank < line.size(); blank = line.find(' ', blank + 1)) {
    const std::string_view rest = line.substr(blank);
    if (rest.size() >= name.size() && rest[TELLING] == name[TELLING] && rest.starts_with(name)) return true;
  }
  return false;
}

static const ClassName* findClassName(std::string_view line) {
  for (const ClassName& name : classNames)
    if (holds(line, name.text)) return &name;
  return nullptr;
}

void determineTheObjectsObjectClass() {
  objectClass = UNINTERESTING_OBJECTCLASS;
  for (int32_t i = 0; i < next_available_object_slot; ++i) {
    const ClassName* name = findExactly(colonsOfObject(i), objectClassTexts) != nullptr
                                ? findClassName({object[i], colonsOfObject(i).length})
                                : nullptr;
    if (name == nullptr) continue;
    objectClass = name->code;
    if (objectClass == CONTAINER_OBJECTCLASS && isResCredsContainer()) objectClass = RESCREDS_CONTAINER;
    break;
  }
  traceLine("\ndetermineTheObjectsObjectClass():    \n");
  traceLine("%s", classTraces[objectClass]);
}

bool isUsersObject() {
  if (!copyLowered(tempString, sizeof tempString, object[0])) {
    reportError("isUsersObject():  ERROR:  The dn: line is too long.  EXITING. \n");
    exitForObject(DN_TOO_LONG);
  }
  return strstr(tempString, "cn=users,secauthority=") != nullptr;
}

bool isMapOfUser() { return dostristr(object[0], "cn=Users") != nullptr; }
