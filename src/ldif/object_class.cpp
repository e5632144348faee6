#include "ldif/object_class.h"

#include "ldif/object_buffer.h"
#include "reporting/reporting.h"

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

void determineTheObjectsObjectClass() {
  objectClass = classOf(entryInObject());
  traceLine("\ndetermineTheObjectsObjectClass():    \n");
  traceLine("%s", classTraces[objectClass]);
}
