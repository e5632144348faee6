// What the run has met and done so far, for its notices; the conversion does not depend on it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

constexpr size_t COUNTED_CLASSES = 10;  // of entries, by their ObjectClass

struct RunCounts {
  // Entries of the input, by class, as the preparation pass has sorted them.
  std::array<int64_t, COUNTED_CLASSES> intoWorkFile = {};
  std::array<int64_t, COUNTED_CLASSES> intoOutput = {};
  int64_t ownUserEntries = 0;  // of the users in the work file, their entries under cn=Users apart

  int64_t bytesOfEarlierWorkFile = -1;  // -1 without one
  int64_t bytesOfWorkFile = 0;          // when it is ready
  int64_t bytesGathered = 0;            // of them
  int64_t passes = 0;                   // begun

  // Records written, and entries that were gathered and are not written.
  int64_t users = 0;
  int64_t groups = 0;
  int64_t policies = 0;
  int64_t resourceCredentials = 0;
  int64_t policyData = 0;
};

inline RunCounts runCounts;
