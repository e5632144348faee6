// What the passes remember of the entries that they have left in the work file, so that a later pass reads only
// those that it may gather. The output does not depend on it: what is not remembered, for want of memory too, is
// read.
#pragma once

#include <cstdint>

constexpr int START_BITS = 40;   // a terabyte
constexpr int LENGTH_BITS = 24;  // 16 MiB

// Small, since a thousand passes over millions of entries walk along them.
struct LeftObject {
  uint64_t start : START_BITS;    // where the stream stood before the entry was read
  uint64_t length : LENGTH_BITS;  // from there to where it stood after the entry was stepped over
  uint32_t ownerHash;             // of the owner's DN; valid if isOwnerKnown
  uint8_t kind;                   // of the entry, a number of the caller's
  bool isOwnerKnown;
  bool isTaken;  // it is not left any more
};

inline bool isStillLeft(const LeftObject& left) { return !left.isTaken; }

// leftObjectsEnd when nothing behind the remembered entries has to be read.
constexpr int64_t END_OF_FILE = INT64_MAX;

// The remembered entries in the order of the work file, and their number. From the first one up to
// leftObjectsEnd nothing stands between them but entries that have been taken; what follows has to be read. The
// pass loop works on the list; it is empty while tracing, when every step has to be shown.
constexpr int32_t MAXIMUM_LEFT_OBJECTS = 3 * 1024 * 1024;  // 48 MiB
inline LeftObject* leftObjects = nullptr;
inline int32_t leftObjectCount = 0;
inline int64_t leftObjectsEnd = 0;

// Appends an entry. Returns false when it cannot be remembered: while tracing, when the list is full or has no memory,
// or when the entry is too long or stands too far behind.
bool rememberLeftObject(int64_t start, int64_t end, uint8_t kind);
bool rememberLeftObject(int64_t start, int64_t end, uint8_t kind, uint32_t ownerHash);

// Removes the entries that are taken from the list, if they are the half of it; fewer are not worth the time.
void dropTakenObjects();

// Gives the list's memory back.
void forgetLeftObjects();
