#include "platform/message_service.h"

#include <unistd.h>

#include <cstring>

#include "driver/message_codes.h"
#include "platform/message_catalogue.h"
#include "platform/message_details.h"
#include "test_support.h"

namespace {

class MessageService : public FreshRun {
 protected:
  void TearDown() override {
    for (const char* routing : {"ERROR:STDERR", "WARNING:STDERR", "NOTICE:STDOUT"}) route(routing);
    FreshRun::TearDown();
  }
  static int32_t route(const char* routing) {
    int32_t status = 77;
    zr_svc_routing(routing, &status);
    return status;
  }
};

TEST_F(MessageService, SendsNoticesToStandardOutputAndErrorsToStandardError) {
  const auto issueBoth = [] {
    zr_printf_utf8(MEMORY_EXHAUSTED);
    zr_printf_utf8(CONVERSION_COMPLETE);
  };
  EXPECT_EQ(outputOf([&] { messagesOf(issueBoth); }), "tqldif2v6: 380928315 NOTICE: The conversion is complete.\n");
  EXPECT_EQ(messagesOf([&] { outputOf(issueBoth); }),
            "tqldif2v6: 380928300 ERROR: Memory is exhausted. Give the conversion more memory or smaller slot "
            "counts.\n");
}

TEST_F(MessageService, FollowsARouting) {
  EXPECT_EQ(route("NOTICE:STDERR"), 0);
  EXPECT_EQ(messagesOf([] { zr_printf_utf8(CONVERSION_COMPLETE); }),
            "tqldif2v6: 380928315 NOTICE: The conversion is complete.\n");
  EXPECT_EQ(route("ERROR:STDOUT"), 0);
  EXPECT_NE(outputOf([] { zr_printf_utf8(PROCESSING_FAILED); }), "");
}

TEST_F(MessageService, RefusesARoutingThatItDoesNotUnderstand) {
  for (const char* routing :
       {"", "NOTICE", "NOTICE:", "NOTICE:FILE", "notice:STDERR", "INFO:STDERR", "NOTICE:STDERRX"}) {
    EXPECT_EQ(route(routing), 1) << routing;
  }
  EXPECT_EQ(messagesOf([] { outputOf([] { zr_printf_utf8(CONVERSION_COMPLETE); }); }), "");
}

TEST_F(MessageService, IssuesNothingForAnUnknownCode) {
  EXPECT_EQ(messagesOf([] { EXPECT_EQ(outputOf([] { zr_printf_utf8(380928316); }), ""); }), "");
  EXPECT_EQ(findCatalogueMessage(380928316), nullptr);
}

TEST_F(MessageService, KeepsTheOrderWithWhatWasPrintedBefore) {
  EXPECT_EQ(outputOf([] {
              printf("before ");
              zr_printf_utf8(PASSES_BEGIN);
              printf("behind");
            }),
            "before tqldif2v6: 380928311 NOTICE: The passes over the work file begin.\nbehind");
}

TEST_F(MessageService, ShowsControlCharactersInArguments) {
  EXPECT_EQ(messagesOf([] { zr_printf_utf8(FILE_NOT_OPENED, "a\nb\x1b\x7f\xc3\xa4"); }),
            "tqldif2v6: 380928304 ERROR: The file a\\x0Ab\\x1B\\x7F\xc3\xa4 could not be opened\n");
}

TEST_F(MessageService, AddsTheReasonOfAFileFailure) {
  strcpy(messageReason, "No such file or directory");
  EXPECT_EQ(messagesOf([] { zr_printf_utf8(FILE_NOT_OPENED, "in"); }),
            "tqldif2v6: 380928304 ERROR: The file in could not be opened: No such file or directory\n");
}

TEST_F(MessageService, AddsTheUsageToAUsageError) {
  strcpy(messageReason, "too few arguments");
  EXPECT_EQ(
      messagesOf([] { zr_printf_utf8(USAGE_ERROR); }),
      std::string("tqldif2v6: 380928314 ERROR: The command line cannot be used: too few arguments\n") + usageText);
}

TEST_F(MessageService, AddsTheLineThatAFailureConcernsWithoutItsEnd) {
  messageSubject = "dn: cn=a\r\n";
  EXPECT_EQ(messagesOf([] { zr_printf_utf8(ROW_ALREADY_OCCUPIED); }),
            "tqldif2v6: 380928303 ERROR: An entry was to be gathered where another one already is, and the conversion "
            "has stopped. A work file left over from an earlier run (the input's name followed by .tmp) can be the "
            "cause. DEBUG_ERROR or a trace file shows more. Concerned: dn: cn=a\n");
}

TEST_F(MessageService, ShowsAsTheSubjectOnlyWhatLooksLikeADn) {
  const struct {
    const char* subject;
    const char* shown;
  } cases[] = {
      {"dn: cn=a\n", "dn: cn=a"},
      {"DN:: Y249YQ==\n", "DN:: Y249YQ=="},
      {"secAuthority=Default,cn=a\n", "secAuthority=Default,cn=a"},
      {"userPassword: a\n", "an entry that does not begin with its dn"},
      {"userPassword:: YQ==\n", "an entry that does not begin with its dn"},
      {"rPassword: cn=a\n", "an entry that does not begin with its dn"},
      {"a secret=\n", "an entry that does not begin with its dn"},
      {"secret", "an entry that does not begin with its dn"},
      {"", "an entry that does not begin with its dn"},
  };
  for (const auto& [subject, shown] : cases) {
    messageSubject = subject;
    const std::string message = messagesOf([] { zr_printf_utf8(MEMORY_EXHAUSTED); });
    EXPECT_EQ(message,
              "tqldif2v6: 380928300 ERROR: Memory is exhausted. Give the conversion more memory or smaller slot counts."
              " Concerned: " + std::string(shown) + "\n");
  }
}

TEST_F(MessageService, AddsTheReasonBehindTheSubject) {
  messageSubject = "dn: cn=a\n";
  strcpy(messageReason, "Input/output error");
  EXPECT_EQ(messagesOf([] { zr_printf_utf8(MEMORY_EXHAUSTED); }),
            "tqldif2v6: 380928300 ERROR: Memory is exhausted. Give the conversion more memory or smaller slot counts."
            " Concerned: dn: cn=a Reason: Input/output error\n");
}

TEST_F(MessageService, SurvivesAClosedStream) {
  EXPECT_EXIT((close(2), zr_printf_utf8(PROCESSING_FAILED), _exit(3)), testing::ExitedWithCode(3), "");
}

struct CatalogueCase {
  const char* name;
  uint32_t code;
  Severity severity;
  const char* text;
};
class Catalogue : public testing::TestWithParam<CatalogueCase> {};
const CatalogueCase catalogueCases[] = {
    {"MemoryExhausted", 380928300, SEVERITY_ERROR,
     "Memory is exhausted. Give the conversion more memory or smaller slot counts."},
    {"PositionCallFailed", 380928301, SEVERITY_ERROR,
     "%s failed with return code %d: a position in a file could not be saved or restored."},
    {"ProcessingFailed", 380928302, SEVERITY_ERROR,
     "An entry could not be processed and the conversion has stopped. A work file left over from an earlier run (the "
     "input's name followed by .tmp) can be the cause. DEBUG_ERROR or a trace file shows more."},
    {"RowOccupied", 380928303, SEVERITY_ERROR,
     "An entry was to be gathered where another one already is, and the conversion has stopped. A work file left over "
     "from an earlier run (the input's name followed by .tmp) can be the cause. DEBUG_ERROR or a trace file shows "
     "more."},
    {"FileNotOpened", 380928304, SEVERITY_ERROR, "The file %s could not be opened"},
    {"PreparationFailed", 380928305, SEVERITY_ERROR, "The input file %s could not be prepared"},
    {"WriteFailed", 380928306, SEVERITY_ERROR, "Writing to the file %s failed"},
    {"ObjectNotRead", 380928307, SEVERITY_ERROR, "The next entry of the work file %s could not be read"},
    {"ConversionBegins", 380928308, SEVERITY_NOTICE, "The conversion begins."},
    {"PreparationBegins", 380928309, SEVERITY_NOTICE,
     "The entries of the input are being sorted into the output and the work file."},
    {"WorkFileReady", 380928310, SEVERITY_NOTICE, "The work file is ready."},
    {"PassesBegin", 380928311, SEVERITY_NOTICE, "The passes over the work file begin."},
    {"PassUnderWay", 380928312, SEVERITY_NOTICE, "A pass over the work file is under way."},
    {"GatheredDataBeingWritten", 380928313, SEVERITY_NOTICE,
     "The users and groups gathered in this pass are being written."},
    {"UsageError", 380928314, SEVERITY_ERROR, "The command line cannot be used"},
    {"ConversionComplete", 380928315, SEVERITY_NOTICE, "The conversion is complete."},
};
INSTANTIATE_CASES(Catalogue, catalogueCases);
TEST_P(Catalogue, HoldsTheMessage) {
  const CatalogueMessage* message = findCatalogueMessage(GetParam().code);
  ASSERT_NE(message, nullptr);
  EXPECT_EQ(message->severity, GetParam().severity);
  EXPECT_STREQ(message->text, GetParam().text);
}

}  // namespace
