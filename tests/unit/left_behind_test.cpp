#include "workfile/left_behind.h"

#include "driver/reporting.h"
#include "test_support.h"

namespace {

class LeftBehind : public FreshRun {};

TEST_F(LeftBehind, IsRememberedInOrder) {
  for (int64_t start = 0; start < 5000; start++) {
    EXPECT_TRUE(rememberLeftObject(start, start + 10, 3));
  }
  EXPECT_EQ(leftObjectCount, 5000);
  for (int32_t i = 0; i < leftObjectCount; i++) EXPECT_EQ(leftObjects[i].start, static_cast<uint64_t>(i));
  EXPECT_EQ(leftObjects[7].kind, 3);
}

TEST_F(LeftBehind, IsNotRememberedWhileTracing) {
  startTrace();
  EXPECT_FALSE(rememberLeftObject(0, 10, 3));
  EXPECT_EQ(leftObjectCount, 0);
}

TEST_F(LeftBehind, IsNotRememberedWithoutMemory) {
  failNextAllocation();
  failNextReallocation();
  EXPECT_FALSE(rememberLeftObject(0, 10, 3));
  EXPECT_EQ(leftObjectCount, 0);
}

TEST_F(LeftBehind, IsForgotten) {
  rememberLeftObject(0, 10, 3);
  forgetLeftObjects();
  EXPECT_EQ(leftObjects, nullptr);
  EXPECT_EQ(leftObjectCount, 0);
  EXPECT_TRUE(rememberLeftObject(0, 10, 3));
}

}  // namespace
