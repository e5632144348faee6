#include "ldif/attribute_lookup.h"

#include <algorithm>

#include "ldif/complaint.h"
#include "ldif/object_buffer.h"
#include "reporting/reporting.h"
#include "rules/attribute.h"

std::string_view obtainAttributeValueFromObjArray(const char* name) {
  const Attribute attribute = valueOf(entryInObject(), name, objectTexts, traceSink());
  return attribute.line < 0 ? std::string_view() : attribute.text;
}

static std::string_view obtainByIndex(const char* function, int32_t index, size_t place) {
  const Line& line = object[index];
  traceLine("\n%s():  FUNCTION ENTRY \n", function);
  traceLine("    Seeking the attribute at index %d \n", index);
  traceLine("    object[%d] = %.*s \n", index, SHOWN(line.view()));
  // What it continues is not in the entry. A comment that was folded leaves its other lines behind like this.
  if (isContinuation(line)) {
    reportError("%s():  ERROR:  The object at the specified index is a 'continuation' line.  Exiting. \n", function);
    echoError("%s():  object = %.*s\n", function, SHOWN(line.view()));
    exitForObject(FOLDED_COMMENT);
  }
  const Attribute attribute = unfold(entryInObject(), index, place, objectTexts);
  traceLine("%s(): \n", function);
  // Kept: the index is that of the line behind the attribute.
  traceLine("   The attribute at index %d returned is:   %.*s \n", attribute.nextLine, SHOWN(attribute.text));
  traceLine("%s():  FUNCTION EXIT \n", function);
  return attribute.text;
}

std::string_view obtainAttributeFromObjectArray(int32_t index) {
  return obtainByIndex("obtainAttributeFromObjectArray", index, 0);
}

std::string_view obtainAttributeValueFromObjectArray(int32_t index) {
  // Of a line without a colon the value is empty.
  const size_t colon = std::min(object[index].firstColon, object[index].length);
  return obtainByIndex("obtainAttributeValueFromObjectArray", index, colon);
}
