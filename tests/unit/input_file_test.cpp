#include "workfile/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/message_details.h"
#include "reporting/run_state.h"
#include "test_support.h"

namespace {

class InputFile : public FreshRun {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    writeFile("input", "text\n");
    holdInput();
    beginInput();
  }
};

TEST_F(InputFile, IsReadFromWhatTheRunHolds) {
  EXPECT_EQ(inputSize(), 5);
  ASSERT_EQ(rename("input", "moved"), 0);
  EXPECT_EQ(readLine(ifp, 10), "text\n");
}

TEST_F(InputFile, IsUnchangedWhenNobodyHasTouchedIt) { EXPECT_TRUE(isInputUnchanged()); }

struct ChangeCase {
  const char* name;
  void (*change)();
  const char* reason;
};
class InputChange : public InputFile, public testing::WithParamInterface<ChangeCase> {};
constexpr char CHANGED[] = "it has changed while it was read";
const ChangeCase changeCases[] = {
    {"Shorter", [] { ASSERT_EQ(truncate("input", 4), 0); }, CHANGED},
    {"OfAnotherTime",
     [] {
       const timespec times[] = {{0, UTIME_OMIT}, {1, 0}};
       ASSERT_EQ(utimensat(AT_FDCWD, "input", times, 0), 0);
     },
     CHANGED},
    {"Replaced",
     [] {
       ASSERT_EQ(rename("input", "moved"), 0);
       writeFile("input", "text\n");
       struct stat status;
       stat("moved", &status);
       const timespec times[] = {status.st_atim, status.st_mtim};
       utimensat(AT_FDCWD, "input", times, 0);
     },
     CHANGED},
    {"Gone", [] { unlink("input"); }, "No such file or directory"},
};
INSTANTIATE_CASES(InputChange, changeCases);
TEST_P(InputChange, IsNoticed) {
  GetParam().change();
  EXPECT_FALSE(isInputUnchanged());
  EXPECT_STREQ(messageReason, GetParam().reason);
}

}  // namespace
