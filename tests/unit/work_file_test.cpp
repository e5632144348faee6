#include "workfile/work_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "platform/message_codes.h"
#include "platform/message_details.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "test_support.h"

namespace {

class WorkFile : public FreshRun {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    writeFile("input", "");
    holdInput();
  }
  static void makeWorkFile(const char* text) {
    ASSERT_TRUE(holdEarlierWorkFile());
    runCounts.bytesOfEarlierWorkFile = sizeOfEarlierWorkFile();
    openWorkFileForAppending(false);
    writeText(tifp, text);
    EXPECT_EQ(closeAppendedWorkFile(), 0);
  }
};

TEST_F(WorkFile, IsAppendedToAndKnownByItsLength) {
  writeFile("input.tmp", "left\n");
  makeWorkFile("more\n");
  EXPECT_EQ(runCounts.bytesOfEarlierWorkFile, 5);
  EXPECT_EQ(workFileLength, 10);
  EXPECT_EQ(readFile("input.tmp"), "left\nmore\n");
  EXPECT_EQ(workFileIsToBeRemoved, 1);
  requireUnchangedWorkFile();
}

TEST_F(WorkFile, IsNoneOfAnEarlierRunUnlessItIsARegularFile) {
  EXPECT_TRUE(holdEarlierWorkFile());
  EXPECT_EQ(sizeOfEarlierWorkFile(), -1);
  mkdir("input.tmp", 0700);
  EXPECT_TRUE(holdEarlierWorkFile());
  EXPECT_EQ(sizeOfEarlierWorkFile(), -1);
  rmdir("input.tmp");
  writeFile("input.tmp", "");
  EXPECT_TRUE(holdEarlierWorkFile());
  EXPECT_EQ(sizeOfEarlierWorkFile(), 0);
}

TEST_F(WorkFile, OfAnEarlierRunIsNotTakenFromAnotherRun) {
  writeFile("input.tmp", "left\n");
  const int other = open("input.tmp", O_RDWR);
  ASSERT_EQ(flock(other, LOCK_EX), 0);
  EXPECT_FALSE(holdEarlierWorkFile());
  EXPECT_STREQ(messageReason, "another run is using it");
  close(other);
}

TEST_F(WorkFile, ThatWasNotAnnouncedIsNotConverted) {
  ASSERT_TRUE(holdEarlierWorkFile());
  writeFile("input.tmp", "laid\n");
  EXPECT_EXIT(openWorkFileForAppending(false), testing::ExitedWithCode(255),
              failureMessage(FILE_NOT_OPENED, "input.tmp could not be opened: something else has changed it"));
  EXPECT_EQ(readFile("input.tmp"), "laid\n");
}

TEST_F(WorkFile, OfAnEarlierRunMustBeAsItWasAnnounced) {
  writeFile("input.tmp", "left\n");
  ASSERT_TRUE(holdEarlierWorkFile());
  runCounts.bytesOfEarlierWorkFile = sizeOfEarlierWorkFile();
  writeFile("input.tmp", "left\nlaid\n");
  EXPECT_FAILURE(openWorkFileForAppending(false), FILE_NOT_OPENED);
}

TEST_F(WorkFile, MayNotBeChangedWhileItIsAppendedTo) {
  openWorkFileForAppending(false);
  writeText(tifp, "text\n");
  flushStream(tifp);
  ASSERT_EQ(truncate("input.tmp", 0), 0);
  EXPECT_EXIT(closeAppendedWorkFile(), testing::ExitedWithCode(255),
              failureMessage(OBJECT_NOT_READ, "something else has changed it"));
}

TEST_F(WorkFile, IsOpenedAgain) {
  makeWorkFile("text\n");
  EXPECT_TRUE(reopenWorkFile());
  EXPECT_EQ(readLine(tifp, 10), "text\n");
  closeWorkFile();
  EXPECT_EQ(tifp, nullptr);
}

struct ChangeCase {
  const char* name;
  void (*change)();
  MessageCode code;
  const char* reason;
};
class Change : public WorkFile, public testing::WithParamInterface<ChangeCase> {};
const ChangeCase changeCases[] = {
    {"Cut", [] { ASSERT_EQ(truncate("input.tmp", 4), 0); }, OBJECT_NOT_READ, "something else has changed it"},
    {"Emptied", [] { writeFile("input.tmp", ""); }, OBJECT_NOT_READ, "something else has changed it"},
    {"Longer", [] { writeFile("input.tmp", "text\nmore\n"); }, OBJECT_NOT_READ, "something else has changed it"},
    {"Another",
     [] {
       writeFile("another", "text\n");
       ASSERT_EQ(rename("another", "input.tmp"), 0);
     },
     OBJECT_NOT_READ, "something else has changed it"},
    {"Gone", [] { unlink("input.tmp"); }, FILE_NOT_OPENED, "No such file or directory"},
};
INSTANTIATE_CASES(Change, changeCases);
TEST_P(Change, IsNoticed) {
  makeWorkFile("text\n");
  GetParam().change();
  EXPECT_EXIT(requireUnchangedWorkFile(), testing::ExitedWithCode(255),
              failureMessage(GetParam().code, GetParam().reason));
  if (GetParam().code == OBJECT_NOT_READ) {
    EXPECT_FAILURE(reopenWorkFile(), OBJECT_NOT_READ);
  }
}

TEST_F(WorkFile, IsRemovedFromItsOwnFolder) {
  mkdir("folder", 0700);
  writeFile("folder/input", "");
  strcpy(input_ldif_filename, "folder/input");
  strcpy(temp_input_ldif_filename, "folder/input.tmp");
  holdInput();
  makeWorkFile("text\n");
  ASSERT_EQ(rename("folder", "moved"), 0);
  mkdir("folder", 0700);
  writeFile("folder/input.tmp", "another\n");
  EXPECT_TRUE(removeWorkFile());
  EXPECT_FALSE(exists("moved/input.tmp"));
  EXPECT_EQ(readFile("folder/input.tmp"), "another\n");
}

TEST_F(WorkFile, IsNotRemovedWhenItIsAnother) {
  makeWorkFile("text\n");
  ASSERT_EQ(rename("input.tmp", "moved"), 0);
  writeFile("input.tmp", "another\n");
  EXPECT_FALSE(removeWorkFile());
  EXPECT_STREQ(messageReason, "something else has changed it");
  EXPECT_TRUE(exists("input.tmp"));
}

TEST_F(WorkFile, CannotBeOpenedWhereSomethingElseStands) {
  mkdir("input.tmp", 0700);
  EXPECT_EXIT(openWorkFileForAppending(false), testing::ExitedWithCode(255),
              failureMessage(FILE_NOT_OPENED, "input.tmp could not be opened: Is a directory"));
  EXPECT_EQ(workFileIsToBeRemoved, 0);
}

}  // namespace
