#include "reporting/reporting.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

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
  EXPECT_STREQ(textOrNull(nullptr), "null");
  EXPECT_STREQ(textOrNULL(nullptr), "NULL");
  EXPECT_STREQ(textOrNull("a"), "a");
  EXPECT_STREQ(textOrNULL("a"), "a");
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
  concerning(nullptr);
  EXPECT_EXIT(exitWithMessage(MEMORY_EXHAUSTED), testing::ExitedWithCode(255), "slot counts.\n$");
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
  EXPECT_FAILURE((failNextAllocation(), free(allocate(1, "allocate:  malloc() failure. \n"))), MEMORY_EXHAUSTED);
  EXPECT_FAILURE((failNextReallocation(), free(reallocate(nullptr, 1, "reallocate:  realloc() failure. \n"))),
                 MEMORY_EXHAUSTED);
  EXPECT_EQ(traced(), "allocate:  malloc() failure. \nreallocate:  realloc() failure. \n");
}

}  // namespace
