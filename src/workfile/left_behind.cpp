#include "workfile/left_behind.h"

#include <algorithm>
#include <cstdlib>

#include "driver/reporting.h"

static int32_t capacity = 0;  // of leftObjects

static bool grow() {
  constexpr int32_t FIRST_CAPACITY = 1024;
  const int32_t wanted = std::clamp(capacity * 2, FIRST_CAPACITY, MAXIMUM_LEFT_OBJECTS);
  if (wanted == capacity) return false;
  void* grown = realloc(leftObjects, static_cast<size_t>(wanted) * sizeof(LeftObject));
  if (grown == nullptr) return false;
  leftObjects = static_cast<LeftObject*>(grown);
  capacity = wanted;
  return true;
}

bool rememberLeftObject(const LeftObject& left) {
  if (debug != 0) return false;
  if (leftObjectCount == capacity && !grow()) return false;
  leftObjects[leftObjectCount++] = left;
  return true;
}

void forgetLeftObjects() {
  free(leftObjects);
  leftObjects = nullptr;
  leftObjectCount = 0;
  leftObjectsEnd = 0;
  capacity = 0;
}
