// Whole conversions. Whatever the input and a left-over work file hold, a run ends soon, for one of the reasons that
// an entry can give, and leaves its input as it was. The preparation pass obeys the plain rules. Tracing makes the run
// go other ways, one entry at a time, to the same output.
#include <unistd.h>

#include <cstdlib>

#include "fuzz_support.h"
#include "plain_rules.h"
#include "platform/message_service.h"
#include "reporting/reporting.h"
#include "reporting/run_state.h"

static constexpr size_t LARGEST_INPUT = 32 * 1024;  // bytes
// A traced run takes some hundred times as long, and every pass over many entries again.
static constexpr size_t LARGEST_TRACED_INPUT = 6 * 1024;

int mainOfTool(int argumentCount, char* arguments[]);

static constexpr char INPUT[] = "input";
static constexpr char WORK_FILE[] = "input.tmp";
static constexpr char OUTPUT[] = "output";

struct Conversion {
  std::string input;
  std::string leftOver;  // a work file of an earlier run; empty for none
  std::string userSlots;
  std::string groupSlots;
};

// What a run leaves.
struct Result {
  uint32_t outcome;
  std::vector<uint32_t> messages;
  std::string output;
  std::string workFile;
};

static Result convert(Conversion& conversion, bool isTraced) {
  beginRun();
  for (const char* name : {WORK_FILE, OUTPUT, PRESERVED_WORK_FILE}) unlink(name);
  writeFile(INPUT, conversion.input);
  if (!conversion.leftOver.empty()) writeFile(WORK_FILE, conversion.leftOver);

  std::string words[] = {"tqldif2v6", INPUT, OUTPUT, conversion.userSlots, conversion.groupSlots, "/dev/null"};
  char* arguments[std::size(words) + 1] = {};
  for (size_t i = 0; i < std::size(words); ++i) arguments[i] = words[i].data();
  const int argumentCount = isTraced ? 6 : 5;
  const uint32_t outcome = outcomeOf([&] { mainOfTool(argumentCount, arguments); });
  if (outcome == 0) {  // closed
    tfp = nullptr;
    traceFile.descriptor = -1;
  }
  closeAllStreams();

  require(readFile(INPUT) == conversion.input, "the input stays as it was");
  require(exists(WORK_FILE) == (isTraced || outcome != 0), "a completed conversion leaves no work file");
  require((messages.back() == CONVERSION_COMPLETE) == (outcome == 0), "the last message tells how the run ended");
  return {outcome, messages, readFile(OUTPUT), readFile(WORK_FILE)};
}

static void checkPreparation(const Conversion& conversion, const Result& result, bool isTraced) {
  const plain::Prepared expected = plain::prepared(conversion.input, INSTALL_DATE);
  const std::string expectedWorkFile = conversion.leftOver + expected.workFile;
  if (expected.isStopped) {
    require(result.outcome == PROCESSING_FAILED, "an entry that cannot be prepared ends the run");
    require(result.output == expected.output && result.workFile == expectedWorkFile, "what was prepared before");
    return;
  }
  require(result.output.starts_with(expected.output), "the entries that go straight to the output");
  if (isTraced) require(readFile(PRESERVED_WORK_FILE) == expectedWorkFile, "the entries that go to the work file");
}

// Switches: 1 traced, too, 2 errors echoed; the next two bits and the two behind them are slots beyond one. With 64 the
// first part of the text is a left-over work file.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input = unpack(data, size, LARGEST_INPUT);
  Conversion conversion;
  if ((input.switches & 64) != 0) conversion.leftOver = takePart(input.text);
  conversion.input = takePart(input.text);
  conversion.userSlots = std::to_string(1 + ((input.switches >> 2) & 3));
  conversion.groupSlots = std::to_string(1 + ((input.switches >> 4) & 3));
  if ((input.switches & 2) != 0)
    setenv("DEBUG_ERROR", "", 1);
  else
    unsetenv("DEBUG_ERROR");

  const Result result = convert(conversion, false);
  checkPreparation(conversion, result, false);
  if ((input.switches & 1) == 0 || conversion.input.size() + conversion.leftOver.size() > LARGEST_TRACED_INPUT)
    return 0;
  const Result traced = convert(conversion, true);
  checkPreparation(conversion, traced, true);
  require(traced.outcome == result.outcome, "tracing does not change how the run ends");
  require(traced.messages == result.messages, "tracing does not change the messages");
  require(traced.output == result.output, "tracing does not change the output");
  if (result.outcome != 0) require(traced.workFile == result.workFile, "tracing does not change the work file");
  return 0;
}
