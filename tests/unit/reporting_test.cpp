#include "reporting/reporting.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "ldif/memory.h"
#include "platform/message_details.h"
#include "test_support.h"

namespace {

class Reporting : public FreshRun {};

TEST_F(Reporting, TracesOnlyWhileTracingIsOn) {
  startTrace();
  traceLine("value = %d \n", 1);
  debug = 0;
  traceLine("value = %d \n", 2);
  debug = 1;
  traceLine("value = %d \n", 3);
  EXPECT_EQ(traced(), "value = 1 \nvalue = 3 \n");
}

TEST_F(Reporting, FlushesEachTraceLine) {
  tfp = fopen("trace", "w+");
  debug = 1;
  traceLine("line\n");
  EXPECT_EQ(readFile("trace"), "line\n");
}

TEST_F(Reporting, LeavesTheErrorNumberAloneWhenTracing) {
  tfp = fopen("/dev/full", "w+");
  debug = 1;
  errno = EINTR;
  traceLine("line\n");
  EXPECT_EQ(errno, EINTR);
}

TEST_F(Reporting, EchoesOnlyWhenAskedTo) {
  EXPECT_EQ(outputOf([] { echoError("error %s\n", "a"); }), "");
  debugError = 1;
  EXPECT_EQ(outputOf([] { echoError("error %s\n", "a"); }), "error a\n");
}

TEST_F(Reporting, ReportsAnErrorOnBothChannels) {
  startTrace();
  debugError = 1;
  EXPECT_EQ(outputOf([] { reportError("error %d\n", 5); }), "error 5\n");
  EXPECT_EQ(traced(), "error 5\n");
}

TEST_F(Reporting, EchoesWithoutATrace) {
  debugError = 1;
  EXPECT_EQ(outputOf([] { reportError("error\n"); }), "error\n");
}

TEST_F(Reporting, ShowsAMissingText) {
  EXPECT_EQ(textOrNull({}), "null");
  EXPECT_EQ(textOrNULL({}), "NULL");
  EXPECT_EQ(textOrNull("a"), "a");
  EXPECT_EQ(textOrNULL("a"), "a");
  EXPECT_EQ(textOrNull(""), "");
}

TEST_F(Reporting, EndsTheRunWithOneMessage) {
  EXPECT_FAILURE(exitWithMessage(PROCESSING_FAILED), PROCESSING_FAILED);
  EXPECT_FAILURE(exitWithMessage(MEMORY_EXHAUSTED), MEMORY_EXHAUSTED);
}

TEST_F(Reporting, EndsTheRunNamingAFile) {
  EXPECT_EXIT(exitWithMessage(WRITE_FAILED, "out.ldif"), testing::ExitedWithCode(255),
              "^tqldif2v6: 380928306 ERROR: Writing to the file out.ldif failed\n$");
  strcpy(messageReason, "No space left on device");
  EXPECT_EXIT(exitWithMessage(WRITE_FAILED, "out.ldif"), testing::ExitedWithCode(255),
              "^tqldif2v6: 380928306 ERROR: Writing to the file out.ldif failed: No space left on device\n$");
}

TEST_F(Reporting, EndsTheRunNamingAFailedCall) {
  EXPECT_EXIT(exitWithMessage(POSITION_CALL_FAILED, "fsetpos()", -1), testing::ExitedWithCode(255),
              "^tqldif2v6: 380928301 ERROR: fsetpos\\(\\) failed with return code -1: a position in a file could not "
              "be saved or restored.\n$");
}

TEST_F(Reporting, SaysWhatAFailureConcerns) {
  concerning("dn: cn=a\n");
  EXPECT_EXIT(exitWithMessage(MEMORY_EXHAUSTED), testing::ExitedWithCode(255), " Concerned: cn=a\n$");
  concerning({});
  EXPECT_EXIT(exitWithMessage(MEMORY_EXHAUSTED), testing::ExitedWithCode(255), "slot counts.\n$");
}

const char* takeStep() {
  fputs("step\n", stderr);
  return nullptr;
}
const char* meetUnreadableFile() {
  fputs("step\n", stderr);
  return "input.tmp";
}

struct StepCase {
  const char* name;
  void (*exit)();
  const char* message;
};
class StepBeforeFailure : public Reporting, public testing::WithParamInterface<StepCase> {};
const StepCase stepCases[] = {
    {"OfARun", [] { exitWithMessage(PROCESSING_FAILED); }, "tqldif2v6: 380928302 ERROR: [^\n]*\n"},
    {"OfAFile", [] { exitWithMessage(WRITE_FAILED, "a"); }, "tqldif2v6: 380928306 ERROR: [^\n]*\n"},
    {"OfACall", [] { exitWithMessage(POSITION_CALL_FAILED, "fsetpos()", -1); }, "tqldif2v6: 380928301 ERROR: [^\n]*\n"},
    {"InSilence", [] { exitInSilence(); }, ""},
};
INSTANTIATE_CASES(StepBeforeFailure, stepCases);
TEST_P(StepBeforeFailure, IsTakenBeforeTheMessage) {
  stepBeforeFailure = takeStep;
  EXPECT_EXIT(GetParam().exit(), testing::ExitedWithCode(255), "^step\n" + std::string(GetParam().message) + "$");
}
TEST_P(StepBeforeFailure, NamesAnUnreadableFileInPlaceOfTheMessage) {
  stepBeforeFailure = meetUnreadableFile;
  EXPECT_EXIT(GetParam().exit(), testing::ExitedWithCode(255),
              "^step\ntqldif2v6: 380928307 ERROR: [^\n]*input.tmp[^\n]*\n$");
}
TEST_P(StepBeforeFailure, IsNotTakenOnceMoreWhenItFails) {
  stepBeforeFailure = []() -> const char* { exitWithMessage(FILE_NOT_OPENED, "b"); };
  EXPECT_EXIT(GetParam().exit(), testing::ExitedWithCode(255), "^tqldif2v6: 380928304 ERROR: [^\n]*\n$");
}

TEST_F(Reporting, ShowsNoControlCharactersInTheEchoButTracesThem) {
  startTrace();
  EXPECT_EXIT((echoToFile(), reportError("a%s", "\x1b\r\n\x9b"), _exit(0)), testing::ExitedWithCode(0), "^$");
  EXPECT_EQ(echoed(), "a\\x1B\\x0D\n\\x9B");
  EXPECT_EQ(traced(), "a\x1b\r\n\x9b");
}

TEST_F(Reporting, TakesTheDetailsOfANoticeBack) {
  outputOf([] { issueMessage(PASS_UNDER_WAY, {.values = {1, 2}}); });
  EXPECT_EQ(messageDetails.values[0].kind, MessageValue::NOTHING);
}

TEST_F(Reporting, EndsTheRunWhenMemoryIsExhausted) {
  startTrace();
  EXPECT_FAILURE((failNextReallocation(), free(reallocate(nullptr, 1, "reallocate:  realloc() failure. \n"))),
                 MEMORY_EXHAUSTED);
  EXPECT_EQ(traced(), "reallocate:  realloc() failure. \n");
}

}  // namespace
