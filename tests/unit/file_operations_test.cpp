#include "platform/file_operations.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/message_details.h"
#include "test_support.h"

namespace {

class FileOperations : public FreshRun {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    writeFile("from", "text\n");
  }
  // The copy of a file that is open, as the work file is.
  static int32_t copy(const char* to) {
    const int descriptor = open("from", O_RDWR);
    HeldFile held;
    const int32_t result = copyFile(descriptor, to, held);
    closeHeldFile(held);
    close(descriptor);
    return result;
  }
};

TEST_F(FileOperations, CopyAFile) {
  EXPECT_EQ(copy("to"), 0);
  EXPECT_EQ(readFile("to"), "text\n");
  EXPECT_EQ(readFile("from"), "text\n");
}

TEST_F(FileOperations, CopyALargeFile) {
  const std::string text = repeated(300000, "line\n");
  writeFile("from", text);
  EXPECT_EQ(copy("to"), 0);
  EXPECT_EQ(readFile("to"), text);
}

TEST_F(FileOperations, ReplaceAFormerCopy) {
  writeFile("to", "a longer former text\n");
  EXPECT_EQ(copy("to"), 0);
  EXPECT_EQ(readFile("to"), "text\n");
}

TEST_F(FileOperations, DoNotCopyThroughALink) {
  writeFile("target", "target\n");
  ASSERT_EQ(symlink("target", "symbolic"), 0);
  ASSERT_EQ(link("target", "hard"), 0);
  copy("symbolic");
  copy("hard");
  EXPECT_EQ(readFile("target"), "target\n");
}

TEST_F(FileOperations, SayWhyAFileCannotBeCopied) {
  EXPECT_EQ(copy("missing/to"), -1);
  EXPECT_STREQ(messageReason, "No such file or directory");
}

TEST_F(FileOperations, DoNotReplaceACopyThatAnotherRunIsMaking) {
  writeFile("to", "the other run's\n");
  const int other = open("to", O_RDWR);
  ASSERT_EQ(flock(other, LOCK_EX), 0);
  EXPECT_EQ(copy("to"), -1);
  EXPECT_STREQ(messageReason, "another run is using it");
  EXPECT_EQ(readFile("to"), "the other run's\n");
  close(other);
}

struct SameFileCase {
  const char* name;
  const char* one;
  const char* other;
  bool same;
};
class SameFile : public FileOperations, public testing::WithParamInterface<SameFileCase> {};
const SameFileCase sameFileCases[] = {
    {"OneName", "from", "from", true},
    {"AnotherSpelling", "from", "folder/..//./from", true},
    {"SymbolicLink", "from", "symbolic", true},
    {"HardLink", "hard", "from", true},
    {"OtherFile", "from", "other", false},
    {"OneMissing", "from", "missing", false},
    {"BothMissingUnderOneName", "missing", "missing", true},
    {"BothMissingByAnotherSpelling", "missing", "folder/../missing", true},
    {"MissingInALinkedFolder", "folder/missing", "linked/missing", true},
    {"LinkThatLeadsNowhere", "missing", "dangling", true},
    {"BothMissing", "missing", "missing2", false},
    {"MissingInDifferentFolders", "missing", "folder/missing", false},
    {"Device", "/dev/null", "/dev/null", false},
};
INSTANTIATE_CASES(SameFile, sameFileCases);
TEST_P(SameFile, IsSeenThroughEveryName) {
  writeFile("other", "text\n");
  mkdir("folder", 0700);
  ASSERT_EQ(symlink("folder", "linked"), 0);
  ASSERT_EQ(symlink("from", "symbolic"), 0);
  ASSERT_EQ(symlink("missing", "dangling"), 0);
  ASSERT_EQ(link("from", "hard"), 0);
  EXPECT_EQ(isSameFile(GetParam().one, GetParam().other), GetParam().same);
  EXPECT_EQ(isSameFile(GetParam().other, GetParam().one), GetParam().same);
}

TEST_F(FileOperations, KeepFilesOffTheStandardDescriptors) {
  const auto opensAtThree = [] {
    for (int descriptor = 0; descriptor < 3; descriptor++) close(descriptor);
    openMissingStandardStreams();
    closefrom(3);
    _exit(open("from", O_RDONLY) == 3 ? 7 : 1);
  };
  EXPECT_EXIT(opensAtThree(), testing::ExitedWithCode(7), "");
}

}  // namespace
