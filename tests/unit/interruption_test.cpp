#include "reporting/interruption.h"

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

#include "reporting/run_state.h"
#include "test_support.h"

namespace {

// Each test ends a process of its own.
class Interruption : public FreshRun, public testing::WithParamInterface<int> {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    // A shell that starts the tests in the background has some of them ignored, and the tests inherit that.
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) signal(number, SIG_DFL);
    strcpy(input_ldif_filename, "in");
    strcpy(output_ldif_filename, "out\n");
    strcpy(temp_input_ldif_filename, "in.tmp");
    writeWorkFile("dn: o=a\n");
  }
  static void prepare(bool removing) {
    prepareForSignals();
    nameFilesForSignals();
    workFileIsToBeRemoved = removing ? 1 : 0;
  }
  static void interrupt(int signalNumber, bool removing) {
    prepare(removing);
    raise(signalNumber);
  }
};
const std::string SAYS_SO =
    "^tqldif2v6: SIG(INT|TERM|HUP) has ended the conversion of in: the output out\\\\x0A is not complete\\.\n$";

INSTANTIATE_TEST_SUITE_P(Signals, Interruption, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST_P(Interruption, EndsTheProcessWithoutTheWorkFile) {
  EXPECT_EXIT(interrupt(GetParam(), true), testing::KilledBySignal(GetParam()), SAYS_SO);
  EXPECT_FALSE(exists("in.tmp"));
}

TEST_P(Interruption, LeavesAWorkFileThatIsNotToBeRemoved) {
  EXPECT_EXIT(interrupt(GetParam(), false), testing::KilledBySignal(GetParam()), SAYS_SO);
  EXPECT_TRUE(exists("in.tmp"));
}

TEST_P(Interruption, DoesNothingWhenItIsIgnoredAlready) {
  EXPECT_EXIT((signal(GetParam(), SIG_IGN), interrupt(GetParam(), true), _exit(0)), testing::ExitedWithCode(0), "^$");
  EXPECT_TRUE(exists("in.tmp"));
}

TEST_P(Interruption, WaitsWhileItIsHeldBack) {
  const auto raiseHeld = [] {
    prepare(true);
    holdSignals();
    raise(GetParam());
    rename("in.tmp", exists("in.tmp") ? "held" : "lost");
    letSignalsThrough();
  };
  EXPECT_EXIT(raiseHeld(), testing::KilledBySignal(GetParam()), SAYS_SO);
  EXPECT_TRUE(exists("held"));
}

TEST_P(Interruption, LeavesAnotherFileInThePlaceOfTheWorkFile) {
  ASSERT_EQ(rename("in.tmp", "moved"), 0);
  writeFile("in.tmp", "another\n");
  EXPECT_EXIT(interrupt(GetParam(), true), testing::KilledBySignal(GetParam()), SAYS_SO);
  EXPECT_EQ(readFile("in.tmp"), "another\n");
  EXPECT_TRUE(exists("moved"));
}

TEST_P(Interruption, SaysThatTheOutputIsComplete) {
  EXPECT_EXIT((outputIsComplete = 1, interrupt(GetParam(), true)), testing::KilledBySignal(GetParam()),
              "out\\\\x0A is complete\\.\n$");
}

TEST_P(Interruption, DoesItsWorkBeforeASecondOneCounts) {
  const auto raiseAll = [] {
    prepare(true);
    holdSignals();
    for (const int number : {SIGINT, SIGTERM, SIGHUP, GetParam()}) raise(number);
    letSignalsThrough();
  };
  EXPECT_EXIT(
      raiseAll(), [](int status) { return WIFSIGNALED(status); }, SAYS_SO);
  EXPECT_FALSE(exists("in.tmp"));
}

TEST_F(Interruption, IsHeldBackOnWhereItWasBefore) {
  const auto raiseBlocked = [] {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    prepare(true);
    raise(SIGTERM);
    _exit(0);
  };
  EXPECT_EXIT(raiseBlocked(), testing::ExitedWithCode(0), "^$");
  EXPECT_TRUE(exists("in.tmp"));
}

TEST_F(Interruption, LeavesNothingForDebuggers) {
  EXPECT_EXIT((prepareForSignals(), _exit(prctl(PR_GET_DUMPABLE))), testing::ExitedWithCode(0), "^$");
}

TEST_F(Interruption, IsNotMadeByAFailedWrite) {
  EXPECT_EXIT((prepareForSignals(), raise(SIGPIPE), raise(SIGXFSZ), _exit(0)), testing::ExitedWithCode(0), "^$");
}

TEST_F(Interruption, LeavesNoCore) {
  const auto limitOfCores = [] {
    prepareForSignals();
    rlimit limit = {1, 1};
    getrlimit(RLIMIT_CORE, &limit);
    return limit.rlim_cur + limit.rlim_max;
  };
  EXPECT_EXIT(_exit(limitOfCores() == 0 ? 0 : 1), testing::ExitedWithCode(0), "^$");
}

}  // namespace
