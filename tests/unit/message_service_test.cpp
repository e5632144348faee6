#include "platform/message_service.h"

#include <unistd.h>

#include <cstring>

#include "platform/message_catalogue.h"
#include "platform/message_codes.h"
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

constexpr char BEGINS[] = "tqldif2v6: 380928308 NOTICE: The conversion begins.\n";

TEST_F(MessageService, SendsNoticesToStandardOutputAndErrorsToStandardError) {
  const auto issueBoth = [] {
    zr_printf_utf8(MEMORY_EXHAUSTED);
    zr_printf_utf8(CONVERSION_BEGINS);
  };
  EXPECT_EQ(outputOf([&] { messagesOf(issueBoth); }), BEGINS);
  EXPECT_EQ(messagesOf([&] { outputOf(issueBoth); }),
            "tqldif2v6: 380928300 ERROR: Memory is exhausted. Give the conversion more memory or smaller slot "
            "counts.\n");
}

TEST_F(MessageService, FollowsARouting) {
  EXPECT_EQ(route("NOTICE:STDERR"), 0);
  EXPECT_EQ(messagesOf([] { zr_printf_utf8(CONVERSION_BEGINS); }), BEGINS);
  EXPECT_EQ(route("ERROR:STDOUT"), 0);
  EXPECT_NE(outputOf([] { zr_printf_utf8(PROCESSING_FAILED); }), "");
}

TEST_F(MessageService, RefusesARoutingThatItDoesNotUnderstand) {
  for (const char* routing :
       {"", "NOTICE", "NOTICE:", "NOTICE:FILE", "notice:STDERR", "INFO:STDERR", "NOTICE:STDERRX"}) {
    EXPECT_EQ(route(routing), 1) << routing;
  }
  EXPECT_EQ(messagesOf([] { outputOf([] { zr_printf_utf8(CONVERSION_BEGINS); }); }), "");
}

TEST_F(MessageService, IssuesNothingForAnUnknownCode) {
  EXPECT_EQ(messagesOf([] { EXPECT_EQ(outputOf([] { zr_printf_utf8(380928316); }), ""); }), "");
  EXPECT_EQ(findCatalogueMessage(380928316), nullptr);
}

TEST_F(MessageService, KeepsTheOrderWithWhatWasPrintedBefore) {
  EXPECT_EQ(outputOf([] {
              printf("before ");
              zr_printf_utf8(CONVERSION_BEGINS);
              printf("behind");
            }),
            std::string("before ") + BEGINS + "behind");
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
  EXPECT_EQ(messagesOf([] { zr_printf_utf8(USAGE_ERROR); }),
            std::string("tqldif2v6: 380928314 ERROR: The command line cannot be used: too few arguments\n") +
                detailText(USAGE) + "\n");
}

TEST_F(MessageService, ShowsAsTheSubjectOnlyADn) {
  const struct {
    const char* subject;
    const char* shown;
  } cases[] = {
      {"dn: cn=a\r\n", "cn=a"},
      {"secAuthority=Default,cn=a\n", "an entry whose DN cannot be shown"},
      {"DN:: Y249YQ==\n", "an entry whose DN cannot be shown"},
      {"UzNjcmV0UGFzc3dvcmQ=\n", "an entry whose DN cannot be shown"},
      {"userPassword: a\n", "an entry whose DN cannot be shown"},
      {"rPassword: cn=a\n", "an entry whose DN cannot be shown"},
  };
  for (const auto& [subject, shown] : cases) {
    messageSubject = subject;
    const std::string message = messagesOf([] { zr_printf_utf8(MEMORY_EXHAUSTED); });
    EXPECT_EQ(message,
              "tqldif2v6: 380928300 ERROR: Memory is exhausted. Give the conversion more memory or smaller slot counts."
              " Concerned: " +
                  std::string(shown) + "\n");
  }
}

TEST_F(MessageService, ShowsNoSubjectWhereThereIsNone) {
  messageSubject = "";
  EXPECT_EQ(
      messagesOf([] { zr_printf_utf8(MEMORY_EXHAUSTED); }),
      "tqldif2v6: 380928300 ERROR: Memory is exhausted. Give the conversion more memory or smaller slot counts.\n");
}

TEST_F(MessageService, PutsValuesIn) {
  messageDetails = {.values = {2, 12}};
  EXPECT_EQ(outputOf([] { zr_printf_utf8(PASS_UNDER_WAY); }),
            "tqldif2v6: 380928312 NOTICE: Pass 2 of about 12 over the work file is under way.\n");
}

TEST_F(MessageService, AddsASentenceToANotice) {
  messageDetails = {.sentence = EARLIER_WORK_FILE, .values = {INT64_MAX}};
  EXPECT_EQ(outputOf([] { zr_printf_utf8(PREPARATION_BEGINS); }),
            "tqldif2v6: 380928309 NOTICE: The entries of the input are being sorted into the output and the work file. "
            "A work file from an earlier run is there, and its 9223372036854775807 bytes will be converted as well.\n");
}

TEST_F(MessageService, SaysOfAFailureWhatIsWrongWithWhichEntry) {
  messageDetails = {DOUBLED, EARLIER_WORK_FILE_AS_CAUSE, {MessageValue{"dn: cn=a\x1b\n", 7}, MessageValue{"pw: x", 0}}};
  EXPECT_EQ(
      messagesOf([] { zr_printf_utf8(ROW_ALREADY_OCCUPIED); }),
      "tqldif2v6: 380928303 ERROR: The entry cn=a\\x1B (line 7) is of the same kind and owner as the entry whose "
      "DN cannot be shown, and the conversion has stopped. Remove one of them. A work file from an earlier run was "
      "converted as well and can be the cause.\n");
}

TEST_F(MessageService, SaysOfAFailureWithoutDetailsThatItStopped) {
  EXPECT_EQ(messagesOf([] { zr_printf_utf8(PROCESSING_FAILED); }),
            "tqldif2v6: 380928302 ERROR: An entry could not be processed, and the conversion has stopped.\n");
}

TEST_F(MessageService, EndsALineThatIsTooLongAllTheSame) {
  for (size_t before = 0; before < 4; before++) {  // each character takes four
    const std::string line = "dn: cn=" + repeated(before, "a") + repeated(50000, "\x1b") + "\n";
    messageDetails = {.sentence = USER_WITHOUT_MAP, .values = {MessageValue{line.c_str(), 1}}};
    const std::string message = messagesOf([] { zr_printf_utf8(PROCESSING_FAILED); });
    EXPECT_EQ(message.find('\n'), message.size() - 1);
  }
}

TEST_F(MessageService, PutsNoValueIntoAName) {
  messageDetails = {.values = {2}};
  EXPECT_EQ(messagesOf([] { zr_printf_utf8(WRITE_FAILED, "a{1}"); }),
            "tqldif2v6: 380928306 ERROR: Writing to the file a{1} failed\n");
}

TEST_F(MessageService, AddsTheReasonBehindTheSubject) {
  messageSubject = "dn: cn=a\n";
  strcpy(messageReason, "Input/output error");
  EXPECT_EQ(messagesOf([] { zr_printf_utf8(MEMORY_EXHAUSTED); }),
            "tqldif2v6: 380928300 ERROR: Memory is exhausted. Give the conversion more memory or smaller slot counts."
            " Concerned: cn=a Reason: Input/output error\n");
}

TEST_F(MessageService, SurvivesAClosedStream) {
  EXPECT_EXIT((close(2), zr_printf_utf8(PROCESSING_FAILED), _exit(3)), testing::ExitedWithCode(3), "");
}

struct CatalogueCase {
  const char* name;
  uint32_t code;
  Severity severity;
};
class Catalogue : public testing::TestWithParam<CatalogueCase> {};
const CatalogueCase catalogueCases[] = {
    {"MemoryExhausted", 380928300, SEVERITY_ERROR},   {"PositionCallFailed", 380928301, SEVERITY_ERROR},
    {"ProcessingFailed", 380928302, SEVERITY_ERROR},  {"RowOccupied", 380928303, SEVERITY_ERROR},
    {"FileNotOpened", 380928304, SEVERITY_ERROR},     {"PreparationFailed", 380928305, SEVERITY_ERROR},
    {"WriteFailed", 380928306, SEVERITY_ERROR},       {"ObjectNotRead", 380928307, SEVERITY_ERROR},
    {"ConversionBegins", 380928308, SEVERITY_NOTICE}, {"PreparationBegins", 380928309, SEVERITY_NOTICE},
    {"WorkFileReady", 380928310, SEVERITY_NOTICE},    {"PassesBegin", 380928311, SEVERITY_NOTICE},
    {"PassUnderWay", 380928312, SEVERITY_NOTICE},     {"GatheredDataBeingWritten", 380928313, SEVERITY_NOTICE},
    {"UsageError", 380928314, SEVERITY_ERROR},        {"ConversionComplete", 380928315, SEVERITY_NOTICE},
};
INSTANTIATE_CASES(Catalogue, catalogueCases);
TEST_P(Catalogue, KnowsTheSeverity) {
  const CatalogueMessage* message = findCatalogueMessage(GetParam().code);
  ASSERT_NE(message, nullptr);
  EXPECT_EQ(message->severity, GetParam().severity);
  EXPECT_EQ(messageNumber(*message), static_cast<int>(GetParam().code - 380928299));
}

}  // namespace
