#include "platform/scratch_memory.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "test_support.h"

namespace {

constexpr size_t MEGABYTE = 1024 * 1024;
constexpr size_t WITHOUT_FILE = 8 * MEGABYTE;
constexpr int NO_FOLDER = -1;

class ScratchMemoryTest : public FreshRun {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    folder_ = open(".", O_RDONLY | O_DIRECTORY);
  }
  void TearDown() override {
    freeScratchMemory(memory_);
    close(folder_);
    FreshRun::TearDown();
  }

  // Not every file system has files without a name.
  bool hasFilesWithoutName() const {
    const int file = openat(folder_, ".", O_TMPFILE | O_RDWR, 0600);
    if (file >= 0) close(file);
    return file >= 0;
  }

  // Another character in every page, and in the last place.
  static char mark(size_t page) { return static_cast<char>('A' + page % 50); }
  void fill() {
    for (size_t i = 0; i < memory_.size; i += 4096) memory_.data[i] = mark(i / 4096);
    memory_.data[memory_.size - 1] = 'z';
  }
  bool holdsWhatWasFilledIn(size_t size) const {
    for (size_t i = 0; i < size; i += 4096)
      if (memory_.data[i] != mark(i / 4096)) return false;
    return memory_.data[size - 1] == 'z';
  }
  bool isZeroFrom(size_t place) const {
    return std::all_of(memory_.data + place, memory_.data + memory_.size, [](char c) { return c == '\0'; });
  }

  void growTo(size_t size, int folder) {
    const size_t before = memory_.size;
    ASSERT_TRUE(growScratchMemory(memory_, size, folder));
    ASSERT_GE(memory_.size, size);
    if (before > 0) {
      EXPECT_TRUE(holdsWhatWasFilledIn(before)) << size;
    }
    EXPECT_TRUE(isZeroFrom(before)) << size;
    fill();
  }

  // What is in it after a growth that has failed.
  void expectUnchanged(const ScratchMemory& before) const {
    EXPECT_EQ(memory_.data, before.data);
    EXPECT_EQ(memory_.size, before.size);
    EXPECT_EQ(memory_.descriptor, before.descriptor);
    if (before.size > 0) {
      EXPECT_TRUE(holdsWhatWasFilledIn(before.size));
    }
  }

  ScratchMemory memory_;
  int folder_ = -1;
};

TEST_F(ScratchMemoryTest, GrowsAndKeepsWhatIsInIt) {
  if (!hasFilesWithoutName()) GTEST_SKIP() << "The file system has none.";
  for (const size_t size :
       {size_t{1}, 256 * 1024 + size_t{1}, MEGABYTE, 5 * MEGABYTE, WITHOUT_FILE, 20 * MEGABYTE, 50 * MEGABYTE})
    growTo(size, folder_);
}

TEST_F(ScratchMemoryTest, LiesInAFileWithoutANameBeyondAFewMegabytes) {
  if (!hasFilesWithoutName()) GTEST_SKIP() << "The file system has none.";
  growTo(WITHOUT_FILE, folder_);
  EXPECT_EQ(memory_.descriptor, -1);
  growTo(WITHOUT_FILE + MEGABYTE, folder_);
  EXPECT_GE(memory_.descriptor, 0);
  EXPECT_EQ(lseek(memory_.descriptor, 0, SEEK_END), static_cast<off_t>(memory_.size));
  EXPECT_TRUE(std::filesystem::is_empty("."));
}

TEST_F(ScratchMemoryTest, StaysAsItIsWhenItIsLargeEnough) {
  growTo(MEGABYTE, folder_);
  const ScratchMemory before = memory_;
  EXPECT_TRUE(growScratchMemory(memory_, MEGABYTE, folder_));
  EXPECT_TRUE(growScratchMemory(memory_, 0, folder_));
  expectUnchanged(before);
}

TEST_F(ScratchMemoryTest, StaysAsItIsWhereThereCanBeNoFile) {
  growTo(WITHOUT_FILE, NO_FOLDER);
  const ScratchMemory before = memory_;
  EXPECT_FALSE(growScratchMemory(memory_, WITHOUT_FILE + 1, NO_FOLDER));
  expectUnchanged(before);
}

TEST_F(ScratchMemoryTest, StaysAsItIsWhenNoFileHasRoom) {
  growTo(MEGABYTE, folder_);
  const auto growOnAFullDisk = [&] {
    limitFileSize(1000);
    const ScratchMemory before = memory_;
    EXPECT_FALSE(growScratchMemory(memory_, WITHOUT_FILE + 1, folder_));
    expectUnchanged(before);
    _exit(HasFailure() ? 1 : 0);
  };
  EXPECT_EXIT(growOnAFullDisk(), testing::ExitedWithCode(0), "^$");
}

TEST_F(ScratchMemoryTest, StaysAsItIsWhenItsFileFindsNoRoom) {
  if (!hasFilesWithoutName()) GTEST_SKIP() << "The file system has none.";
  growTo(WITHOUT_FILE + MEGABYTE, folder_);
  const auto growOnAFullDisk = [&] {
    limitFileSize(memory_.size);
    const ScratchMemory before = memory_;
    EXPECT_FALSE(growScratchMemory(memory_, memory_.size + 1, folder_));
    expectUnchanged(before);
    _exit(HasFailure() ? 1 : 0);
  };
  EXPECT_EXIT(growOnAFullDisk(), testing::ExitedWithCode(0), "^$");
}

TEST_F(ScratchMemoryTest, StaysAsItIsWhenItsFileCannotBeMapped) {
  growTo(MEGABYTE, folder_);
  const ScratchMemory before = memory_;
  failNextMapping();
  EXPECT_FALSE(growScratchMemory(memory_, WITHOUT_FILE + 1, folder_));
  expectUnchanged(before);
}

TEST_F(ScratchMemoryTest, StaysAsItIsWhenThereIsNoMemory) {
  failNextMapping();
  EXPECT_FALSE(growScratchMemory(memory_, 1, folder_));
  expectUnchanged({});
  growTo(MEGABYTE, folder_);
  const ScratchMemory before = memory_;
  failNextMapping();
  EXPECT_FALSE(growScratchMemory(memory_, 2 * MEGABYTE, folder_));
  expectUnchanged(before);
}

TEST_F(ScratchMemoryTest, IsGivenBack) {
  growTo(WITHOUT_FILE + MEGABYTE, folder_);
  const int descriptor = memory_.descriptor;
  freeScratchMemory(memory_);
  EXPECT_EQ(memory_.data, nullptr);
  EXPECT_EQ(memory_.size, 0u);
  EXPECT_EQ(memory_.descriptor, -1);
  if (descriptor >= 0) {
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
  }
  freeScratchMemory(memory_);
  growTo(1, folder_);
}

}  // namespace
