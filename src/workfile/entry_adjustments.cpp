#include "workfile/entry_adjustments.h"

#include <ctime>

#include "ldif/complaint.h"
#include "ldif/object_buffer.h"
#include "reporting/reporting.h"
#include "rules/adjustments.h"

// Makes a change and traces it: the kind of entry and of change are as the trace calls them.
static void apply(const Adjustment& adjustment, const char* object0, const char* change) {
  if (adjustment.line < 0) return;
  setLineOfObject(adjustment.line, adjustment.text);
  traceLine("tweekObjectInObjectArray():  The %s object is:      %.*s \n", object0, SHOWN(object[0].view()));
  traceLine("tweekObjectInObjectArray():    The %s is:  %.*s \n", change, SHOWN(adjustment.text));
}

static void addInstallDate() {
  if (!needsInstallDate(entryInObject())) return;
  const time_t now = time(nullptr);
  const tm* local = localtime(&now);
  if (local == nullptr) {
    reportError("tweekObjectInObjectArray():  ERROR:  The local time is not known.  EXITING. \n");
    exitForObject(NO_LOCAL_TIME);
  }
  apply(addInstallDate(entryInObject(), *local, objectTexts), "secAuthorityInfo", "installDate added");
}

static void addDomainId() {
  const Adjustment adjustment = addDomainId(entryInObject(), objectTexts, traceSink());
  // Kept: the two failures show the entry in lines of different wording.
  if (adjustment.problem == USER_WITHOUT_AUTHORITY) {
    reportError("tweekObjectInObjectArray():  obtainAttributeValueFromObjArray('secAuthority') failure.  EXITING. \n");
    echoError("object is:  %.*s\n", SHOWN(textOrNull(firstLineOfObject())));
    exitForObject(USER_WITHOUT_AUTHORITY);
  }
  if (adjustment.problem == USER_WITHOUT_NAME) {
    reportError("tweekObjectInObjectArray():  obtainAttributeValueFromObjArray('principalName') failure.  EXITING. \n");
    echoError("tweekObjectInObjectArray():  secUser object is =%.*s\n", SHOWN(textOrNull(firstLineOfObject())));
    exitForObject(USER_WITHOUT_NAME);
  }
  apply(adjustment, "secUser", "secDomainId added");
}

int32_t tweekObjectInObjectArray() {
  traceLine("tweekObjectInObjectArray():  FUNCTION ENTRY \n");
  const auto entryClass = static_cast<ObjectClass>(objectClass);
  // In this order the changes are traced.
  if (getsVersionAndDate(entryClass)) {
    apply(convertVersion(entryInObject(), objectTexts), "secAuthorityInfo", "converted version attribute");
    addInstallDate();
  }
  if (getsDomainId(entryClass)) addDomainId();
  if (getsNewUuidName(entryClass))
    apply(renameUuid(entryInObject(), objectTexts), objectClass == SECUSER_OBJECTCLASS ? "secUser" : "secGroup",
          "modified secUUID ");
  traceLine("tweekObjectInObjectArray():  FUNCTION EXIT \n");
  return 0;
}
