#include "workfile/work_text.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "reporting/reporting.h"
#include "reporting/run_state.h"
#include "test_support.h"
#include "workfile/notes.h"
#include "workfile/work_file.h"

namespace {

class WorkText : public FreshRun {
 protected:
  static size_t pageSize() { return static_cast<size_t>(sysconf(_SC_PAGESIZE)); }
  // A work file of so many pages, each full of its own letter, in memory.
  static void mapPages(size_t pages) {
    std::string contents;
    for (size_t page = 0; page < pages; page++) contents += std::string(pageSize(), static_cast<char>('a' + page));
    writeWorkFile(contents);
    ASSERT_TRUE(mapWorkFile());
  }
};

TEST_F(WorkText, IsThatOfTheFile) {
  writeWorkFile("dn: a\nb: 1\n");
  ASSERT_TRUE(mapWorkFile());
  EXPECT_EQ(workText(0, 11), "dn: a\nb: 1\n");
  EXPECT_EQ(workText(6, 4), "b: 1");
}

TEST_F(WorkText, IsKnownFromOtherTexts) {
  const std::string another = "text\n";
  EXPECT_FALSE(isInWorkText(another));
  writeWorkFile("text\n");
  ASSERT_TRUE(mapWorkFile());
  const std::string_view whole = workText(0, 5);
  EXPECT_TRUE(isInWorkText(whole));
  EXPECT_TRUE(isInWorkText(whole.substr(4)));
  EXPECT_FALSE(isInWorkText({whole.data() + 5, 1}));
  EXPECT_FALSE(isInWorkText({whole.data() - 1, 1}));
  EXPECT_FALSE(isInWorkText(another));
}

TEST_F(WorkText, IsNoneUnlessItIsMapped) {
  writeWorkFile("text\n");
  EXPECT_EQ(workText(0, 5).data(), nullptr);
  ASSERT_TRUE(mapWorkFile());
  const std::string_view former = workText(0, 5);
  unmapWorkFile();
  EXPECT_EQ(workText(0, 5).data(), nullptr);
  EXPECT_FALSE(isInWorkText(former));
}

TEST_F(WorkText, IsNoneOfAnEmptyFile) {
  writeWorkFile("");
  EXPECT_FALSE(mapWorkFile());
  EXPECT_EQ(workText(0, 0).data(), nullptr);
}

TEST_F(WorkText, IsNoneWithoutRoomInMemory) {
  writeWorkFile("text\n");
  failNextMapping();
  EXPECT_FALSE(mapWorkFile());
  EXPECT_EQ(workText(0, 5).data(), nullptr);
}

constexpr char CHANGED[] = "something else has changed it";

TEST_F(WorkText, EndsTheRunWhereTheFileHasBeenCut) {
  mapPages(4);
  const size_t size = pageSize();
  std::filesystem::resize_file("input.tmp", 2 * size);
  EXPECT_EXIT(_exit(workText(3 * size, size).front()), testing::ExitedWithCode(255),
              failureMessage(OBJECT_NOT_READ, CHANGED));
  EXPECT_EXIT(_exit(workText(2 * size, size).back()), testing::ExitedWithCode(255),
              failureMessage(OBJECT_NOT_READ, CHANGED));
  EXPECT_EQ(workText(0, size), std::string(size, 'a'));
  EXPECT_EQ(workText(size, size), std::string(size, 'b'));
}

// Whatever the run made of what it found in place of its work file is not why it fails.
TEST_F(WorkText, IsWhyARunFailsThatHasLostIt) {
  mapPages(2);
  stepBeforeFailure = settleWorkFile;
  EXPECT_EXIT((std::filesystem::resize_file("input.tmp", 10), exitWithMessage(PROCESSING_FAILED)),
              testing::ExitedWithCode(255), failureMessage(OBJECT_NOT_READ, CHANGED));
}

// What else of a file in memory is looked at and is not there, ends the process as ever: before the text and behind it.
TEST_F(WorkText, LeavesTheSignalOfAnotherFileAlone) {
  writeFile("another", "text\n");
  const int descriptor = open("another", O_RDONLY);
  const auto mapAnother = [&] {
    return static_cast<const volatile char*>(mmap(nullptr, pageSize(), PROT_READ, MAP_SHARED, descriptor, 0));
  };
  const volatile char* const one = mapAnother();
  mapPages(1);
  const volatile char* const other = mapAnother();
  close(descriptor);
  const char* const text = workText(0, 1).data();
  ASSERT_TRUE((one < text) != (other < text));
  std::filesystem::resize_file("another", 0);
  EXPECT_EXIT(_exit(*one), testing::KilledBySignal(SIGBUS), "^$");
  EXPECT_EXIT(_exit(*other), testing::KilledBySignal(SIGBUS), "^$");
}

}  // namespace
