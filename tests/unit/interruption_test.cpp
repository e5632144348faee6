#include "driver/interruption.h"

#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

#include "driver/run_state.h"
#include "test_support.h"

namespace {

// Each test ends a process of its own.
class Interruption : public FreshRun, public testing::WithParamInterface<int> {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    writeFile("in.tmp", "dn: o=a\n");
    strcpy(temp_input_ldif_filename, "in.tmp");
  }
  static void interrupt(int signalNumber, bool removing) {
    prepareForSignals();
    workFileIsToBeRemoved = removing ? 1 : 0;
    raise(signalNumber);
  }
};
INSTANTIATE_TEST_SUITE_P(Signals, Interruption, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST_P(Interruption, EndsTheProcessWithoutTheWorkFile) {
  EXPECT_EXIT(interrupt(GetParam(), true), testing::KilledBySignal(GetParam()), "^$");
  EXPECT_FALSE(exists("in.tmp"));
}

TEST_P(Interruption, LeavesAWorkFileThatIsNotToBeRemoved) {
  EXPECT_EXIT(interrupt(GetParam(), false), testing::KilledBySignal(GetParam()), "^$");
  EXPECT_TRUE(exists("in.tmp"));
}

TEST_P(Interruption, DoesNothingWhenItIsIgnoredAlready) {
  EXPECT_EXIT((signal(GetParam(), SIG_IGN), interrupt(GetParam(), true), _exit(0)), testing::ExitedWithCode(0), "^$");
  EXPECT_TRUE(exists("in.tmp"));
}

TEST_P(Interruption, WaitsWhileItIsHeldBack) {
  const auto raiseHeld = [] {
    holdSignals();
    interrupt(GetParam(), true);
    rename("in.tmp", exists("in.tmp") ? "held" : "lost");
    letSignalsThrough();
  };
  EXPECT_EXIT(raiseHeld(), testing::KilledBySignal(GetParam()), "^$");
  EXPECT_TRUE(exists("held"));
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
