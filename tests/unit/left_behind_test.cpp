#include "workfile/left_behind.h"

#include "reporting/reporting.h"
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

TEST_F(LeftBehind, IsRememberedWithItsOwner) {
  rememberLeftObject(5, 12, 2, 77);
  rememberLeftObject(12, 20, 4);
  EXPECT_EQ(leftObjects[0].length, 7u);
  EXPECT_EQ(leftObjects[0].ownerHash, 77u);
  EXPECT_TRUE(leftObjects[0].isOwnerKnown);
  EXPECT_FALSE(leftObjects[1].isOwnerKnown);
  EXPECT_TRUE(isStillLeft(leftObjects[1]));
}

TEST_F(LeftBehind, IsRememberedUpToATerabyteAndSixteenMebibytes) {
  constexpr int64_t TERABYTE = int64_t{1} << 40;
  constexpr int64_t LENGTH = int64_t{1} << 24;
  EXPECT_TRUE(rememberLeftObject(TERABYTE - 1, TERABYTE + LENGTH - 2, 3));
  EXPECT_EQ(leftObjects[0].start, static_cast<uint64_t>(TERABYTE - 1));
  EXPECT_EQ(leftObjects[0].length, static_cast<uint64_t>(LENGTH - 1));
  EXPECT_FALSE(rememberLeftObject(TERABYTE, TERABYTE + 10, 3));
  EXPECT_FALSE(rememberLeftObject(0, LENGTH, 3));
  EXPECT_EQ(leftObjectCount, 1);
}

TEST_F(LeftBehind, LosesTheTakenEntriesOnceTheyAreHalf) {
  for (int64_t start = 0; start < 4; start++) rememberLeftObject(start, start + 1, 3);
  leftObjects[0].isTaken = true;
  dropTakenObjects();
  EXPECT_EQ(leftObjectCount, 4);
  leftObjects[2].isTaken = true;
  dropTakenObjects();
  ASSERT_EQ(leftObjectCount, 2);
  EXPECT_EQ(leftObjects[0].start, 1u);
  EXPECT_EQ(leftObjects[1].start, 3u);
}

}  // namespace
