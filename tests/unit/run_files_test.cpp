#include "driver/run_files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstring>

#include "reporting/reporting.h"
#include "reporting/run_state.h"
#include "test_support.h"

namespace {

class RunFiles : public FreshRun {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    writeFile("input", "dn: o=a\n\n");
  }
  static void traceTo(const char* name) {
    debug = 1;
    strcpy(debugFileName, name);
  }
};

constexpr char USAGE_MESSAGE[] = "^tqldif2v6: 380928314 ERROR: The command line cannot be used: [^\n]+\n.+\n$";

TEST_F(RunFiles, AreOpenedAndNotCut) {
  writeFile("output.ldif", "good\n");
  writeFile("trace", "good\n");
  traceTo("trace");
  openFilesOfRun();
  EXPECT_GE(inputFile.descriptor, 0);
  EXPECT_GE(outputFile.descriptor, 0);
  EXPECT_GE(traceFile.descriptor, 0);
  EXPECT_EQ(readFile("output.ldif") + readFile("trace"), "good\ngood\n");
  requireOpenOutput();
}

TEST_F(RunFiles, LeaveAMissingInputForLater) {
  unlink("input");
  openFilesOfRun();
  EXPECT_LT(inputFile.descriptor, 0);
  EXPECT_STREQ(inputProblem, "No such file or directory");
  EXPECT_STREQ(messageReason, "");
}

TEST_F(RunFiles, LeaveAnOutputThatCannotBeOpenedForLater) {
  strcpy(output_ldif_filename, "missing/output.ldif");
  openFilesOfRun();
  startTrace();
  EXPECT_EXIT(requireOpenOutput(), testing::ExitedWithCode(255),
              failureMessage(FILE_NOT_OPENED, "missing/output.ldif could not be opened: No such file or directory"));
  expectTraced({"main() - Unable to open output file missing/output.ldif.  Exiting. \n"});
}

TEST_F(RunFiles, OfAnotherRunAreRefusedAndNothingIsMade) {
  traceTo("trace");
  for (const char* name : {"input", "output.ldif", "trace"}) {
    if (!exists(name)) writeFile(name, "good\n");
    const int other = open(name, O_RDWR);
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    EXPECT_EXIT(openFilesOfRun(), testing::ExitedWithCode(255),
                failureMessage(FILE_NOT_OPENED, std::string(name) + " could not be opened: another run is using it"));
    close(other);
    if (strcmp(name, "input") != 0) {
      EXPECT_EQ(readFile(name), "good\n");
      unlink(name);
    }
    EXPECT_FALSE(exists("output.ldif"));
    EXPECT_FALSE(exists("trace"));
  }
}

TEST_F(RunFiles, OfAnotherRunMayBeAWorkFile) {
  writeFile("input.tmp", "the other run's\n");
  const int other = open("input.tmp", O_RDWR);
  ASSERT_EQ(flock(other, LOCK_EX), 0);
  EXPECT_EXIT(openFilesOfRun(), testing::ExitedWithCode(255),
              failureMessage(FILE_NOT_OPENED, "input.tmp could not be opened: another run is using it"));
  close(other);
  EXPECT_FALSE(exists("output.ldif"));
}

TEST_F(RunFiles, AreNotThoseOfTheStandardStreams) {
  const auto openWith = [](int descriptor, const char* name) {
    dup2(open(name, O_RDWR | O_APPEND), descriptor);
    openFilesOfRun();
  };
  writeFile("output.ldif", "good\n");
  EXPECT_EXIT(openWith(STDOUT_FILENO, "output.ldif"), testing::ExitedWithCode(255), USAGE_MESSAGE);
  // Nothing is written to it, so the message cannot be seen here.
  EXPECT_EXIT(openWith(STDERR_FILENO, "output.ldif"), testing::ExitedWithCode(255), "^$");
  EXPECT_EXIT(openWith(STDERR_FILENO, "input"), testing::ExitedWithCode(255), "^$");
  EXPECT_EQ(readFile("output.ldif"), "good\n");
  EXPECT_EQ(readFile("input"), "dn: o=a\n\n");
}

}  // namespace
