#include "workfile/entry_adjustments.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <initializer_list>

#include "ldif/attribute_lookup.h"
#include "ldif/colon_search.h"
#include "ldif/complaint.h"
#include "ldif/line_memory.h"
#include "ldif/object_buffer.h"
#include "ldif/object_class.h"
#include "ldif/text.h"
#include "reporting/reporting.h"

static constexpr char MALLOC_FAILURE[] = "tweekObjectInObjectArray():  malloc() failure.  EXITING. \n";

// A text found in the entry: the slot of the line, the line, and where in it the text stands; null when not found.
struct Found {
  int32_t slot;
  char* line;
  char* place;
};

// Looks for the first place in the entry where the text stands in this very case.
static Found findInObject(const ColonText& text) {
  for (int32_t i = 0; i < next_available_object_slot; ++i)
    if (const char* place = findExactly(colonsOfObject(i), text))
      return {i, object[i], object[i] + (place - object[i])};
  return {-1, nullptr, nullptr};
}

static bool objectContainsInAnyCase(const ColonText& text) {
  for (int32_t i = 0; i < next_available_object_slot; ++i)
    if (findInAnyCase(colonsOfObject(i), text) != nullptr) return true;
  return false;
}

// A value of fewer than three characters grows into the spare bytes of its line.
static void convertVersion() {
  constexpr char VERSION_TAG[] = "version: ";
  constexpr size_t VERSION_LENGTH = 3;
  const Found found = findInObject(VERSION_TAG);
  if (found.line == nullptr) return;
  char* value = skipSpaces(found.place + strlen(VERSION_TAG) - 1);
  const size_t replaced = std::min(strcspn(value, "\r\n"), VERSION_LENGTH);
  memmove(value + VERSION_LENGTH, value + replaced, strlen(value + replaced) + 1);
  memcpy(value, "6.0", VERSION_LENGTH);
  objectLineHasChanged(found.slot);
  traceLine("tweekObjectInObjectArray():  The secAuthorityInfo object is:      %s \n", object[0]);
  traceLine("tweekObjectInObjectArray():    The converted version attribute is:  %s \n", found.line);
}

// Kept: the hour is that of the 12-hour clock and the time is local, although the value ends in "Z".
static void addInstallDate() {
  constexpr size_t INSTALL_DATE_SIZE = 60;
  constexpr size_t PART_SIZE = 10;
  if (objectContainsInAnyCase("installDate: ")) return;
  const time_t now = time(nullptr);
  const tm* local = localtime(&now);
  if (local == nullptr) {
    reportError("tweekObjectInObjectArray():  ERROR:  The local time is not known.  EXITING. \n");
    exitForObject(NO_LOCAL_TIME);
  }
  char* line = allocateLine(INSTALL_DATE_SIZE, MALLOC_FAILURE);
  char part[PART_SIZE];
  strftime(part, sizeof part, "%Y", local);
  snprintf(line, INSTALL_DATE_SIZE, "installDate: %s", part);
  for (const char* format : {"%m", "%d", "%I", "%M", "%S"}) {
    strftime(part, sizeof part, format, local);
    if (strlen(part) < 2) appendBounded(line, INSTALL_DATE_SIZE, "0");
    appendBounded(line, INSTALL_DATE_SIZE, part);
  }
  appendBounded(line, INSTALL_DATE_SIZE, ".0Z");
  appendLineToObject(line);
  traceLine("tweekObjectInObjectArray():  The secAuthorityInfo object is:      %s \n", object[0]);
  traceLine("tweekObjectInObjectArray():    The installDate added is:  %s \n", line);
}

static void addDomainId() {
  if (objectContainsInAnyCase("secDomainId: ")) return;
  char* authority = obtainAttributeValueFromObjArray("secAuthority");
  if (authority == nullptr) {
    reportError("tweekObjectInObjectArray():  obtainAttributeValueFromObjArray('secAuthority') failure.  EXITING. \n");
    echoError("object is:  %s\n", textOrNull(firstLineOfObject()));
    exitForObject(USER_WITHOUT_AUTHORITY);
  }
  char* name = obtainAttributeValueFromObjArray("principalName");
  if (name == nullptr) {
    reportError("tweekObjectInObjectArray():  obtainAttributeValueFromObjArray('principalName') failure.  EXITING. \n");
    echoError("tweekObjectInObjectArray():  secUser object is =%s\n", textOrNull(firstLineOfObject()));
    exitForObject(USER_WITHOUT_NAME);
  }
  constexpr char FORMAT[] = "secDomainId: %s%%%s";
  const size_t size = strlen(FORMAT) + strlen(authority) + strlen(name) + LINE_SPARE;
  char* line = allocateLine(size, MALLOC_FAILURE);
  snprintf(line, size, FORMAT, authority, name);
  freeLine(name);
  freeLine(authority);
  appendLineToObject(line);
  traceLine("tweekObjectInObjectArray():  The secUser object is:      %s \n", object[0]);
  traceLine("tweekObjectInObjectArray():    The secDomainId added is:  %s \n", line);
}

static void renameUuid() {
  const Found found = findInObject("secuuid: ");
  if (found.line == nullptr) return;
  memcpy(found.place + strlen("sec"), "UUID", strlen("UUID"));
  traceLine(objectClass == SECUSER_OBJECTCLASS ? "tweekObjectInObjectArray():  The secUser object is:      %s \n"
                                               : "tweekObjectInObjectArray():  The secGroup object is:      %s \n",
            object[0]);
  traceLine("tweekObjectInObjectArray():    The modified secUUID  is:  %s \n", found.line);
}

int32_t tweekObjectInObjectArray() {
  traceLine("tweekObjectInObjectArray():  FUNCTION ENTRY \n");
  if (objectClass == SECAUTHORITYINFO_OBJECTCLASS) {
    convertVersion();
    addInstallDate();
  }
  if (objectClass == SECUSER_OBJECTCLASS) addDomainId();
  if (objectClass == SECUSER_OBJECTCLASS || objectClass == SECGROUP_OBJECTCLASS) renameUuid();
  traceLine("tweekObjectInObjectArray():  FUNCTION EXIT \n");
  return 0;
}
