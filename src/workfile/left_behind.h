// What the passes remember of the entries that they have left in the work file, so that a later pass reads only
// those that it may gather. The output does not depend on it: what is not remembered, for want of memory too, is
// read.
#pragma once

#include <cstdint>

struct LeftObject {
  int64_t start;       // where the stream stood before the entry was read
  uint32_t length;     // from there to where it stood after the entry was stepped over
  uint32_t ownerHash;  // of the owner's DN; valid if isOwnerKnown
  uint8_t kind;        // of the entry, a number of the caller's
  bool isOwnerKnown;
};

// leftObjectsEnd when nothing behind the remembered entries has to be read.
constexpr int64_t END_OF_FILE = INT64_MAX;

// The remembered entries in the order of the work file, and their number. From the first one up to
// leftObjectsEnd nothing stands between them but entries that have been taken; what follows has to be read. The
// pass loop works on the list; it is empty while tracing, when every step has to be shown.
constexpr int32_t MAXIMUM_LEFT_OBJECTS = 2 * 1024 * 1024;  // 48 MiB
inline LeftObject* leftObjects = nullptr;
inline int32_t leftObjectCount = 0;
inline int64_t leftObjectsEnd = 0;

// Appends an entry. Returns false when it cannot be remembered: while tracing, or when the list is full or has no
// memory.
bool rememberLeftObject(const LeftObject& left);

// Gives the list's memory back.
void forgetLeftObjects();
