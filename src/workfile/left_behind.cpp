#include "workfile/left_behind.h"

#include <cstdlib>

#include "driver/reporting.h"

bool rememberLeftObject(const LeftObject& left) {
  if (debug != 0) return false;
  // The whole list at once: the part of it that is not used takes no memory.
  if (leftObjects == nullptr) leftObjects = static_cast<LeftObject*>(malloc(MAXIMUM_LEFT_OBJECTS * sizeof(LeftObject)));
  if (leftObjects == nullptr || leftObjectCount == MAXIMUM_LEFT_OBJECTS) return false;
  leftObjects[leftObjectCount++] = left;
  return true;
}

void forgetLeftObjects() {
  free(leftObjects);
  leftObjects = nullptr;
  leftObjectCount = 0;
  leftObjectsEnd = 0;
}
