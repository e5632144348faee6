#include "workfile/left_behind.h"

#include <algorithm>
#include <cstdlib>

#include "reporting/reporting.h"

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

static bool remember(int64_t start, int64_t end, LeftObject left) {
  constexpr auto START_LIMIT = int64_t{1} << START_BITS;
  constexpr auto LENGTH_LIMIT = int64_t{1} << LENGTH_BITS;
  if (debug != 0 || start >= START_LIMIT || end - start >= LENGTH_LIMIT) return false;
  if (leftObjectCount == capacity && !grow()) return false;
  left.start = static_cast<uint64_t>(start) % START_LIMIT;
  left.length = static_cast<uint64_t>(end - start) % LENGTH_LIMIT;
  leftObjects[leftObjectCount++] = left;
  return true;
}

bool rememberLeftObject(int64_t start, int64_t end, uint8_t kind) {
  return remember(start, end, {0, 0, 0, kind, false, false});
}

bool rememberLeftObject(int64_t start, int64_t end, uint8_t kind, uint32_t ownerHash) {
  return remember(start, end, {0, 0, ownerHash, kind, true, false});
}

void dropTakenObjects() {
  LeftObject* end = leftObjects + leftObjectCount;
  if (std::count_if(leftObjects, end, isStillLeft) * 2 > leftObjectCount) return;
  const LeftObject* keptEnd = std::copy_if(leftObjects, end, leftObjects, isStillLeft);
  leftObjectCount = static_cast<int32_t>(keptEnd - leftObjects);
}

void forgetLeftObjects() {
  free(leftObjects);
  leftObjects = nullptr;
  leftObjectCount = 0;
  leftObjectsEnd = 0;
  capacity = 0;
}
