// Whole conversions. Whatever the input and a left-over work file hold, a run ends soon, for one of the reasons that
// an entry can give, and leaves its input as it was. The preparation pass obeys the plain rules. Without tracing the
// passes follow a plan and put the blanking off, as long as they know all entries; tracing makes them go through the
// work file, one entry at a time, to the same output, the same messages and, where the run fails, the same work file.
#include <unistd.h>

#include <algorithm>
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
  std::optional<std::string> leftOver;  // a work file of an earlier run
  std::string userSlots;
  std::string groupSlots;
};

// What a run leaves.
struct Result {
  uint32_t outcome;
  std::vector<uint32_t> messages;
  std::string shown;  // on standard output and standard error
  std::string output;
  std::string workFile;
};

static Result convert(const Conversion& conversion, bool isTraced) {
  beginRun();
  for (const char* name : {WORK_FILE, OUTPUT, PRESERVED_WORK_FILE}) unlink(name);
  writeFile(INPUT, conversion.input);
  if (conversion.leftOver) writeFile(WORK_FILE, *conversion.leftOver);

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
  require(!shownText.empty(), "messages are shown");
  return {outcome, messages, shownText, readFile(OUTPUT), readFile(WORK_FILE)};
}

static void checkPreparation(const Conversion& conversion, const Result& result, bool isTraced) {
  const plain::Prepared expected = plain::prepared(conversion.input, INSTALL_DATE);
  const std::string expectedWorkFile = conversion.leftOver.value_or("") + expected.workFile;
  if (expected.isStopped) {
    require(result.outcome == PROCESSING_FAILED, "an entry that cannot be prepared ends the run");
    require(result.output == expected.output && result.workFile == expectedWorkFile, "what was prepared before");
    return;
  }
  require(result.output.starts_with(expected.output), "the entries that go straight to the output");
  if (isTraced) require(readFile(PRESERVED_WORK_FILE) == expectedWorkFile, "the entries that go to the work file");
}

static void check(const Conversion& conversion, bool isTracedToo) {
  const Result result = convert(conversion, false);
  checkPreparation(conversion, result, false);
  if (!isTracedToo || conversion.input.size() + conversion.leftOver.value_or("").size() > LARGEST_TRACED_INPUT) return;
  const Result traced = convert(conversion, true);
  checkPreparation(conversion, traced, true);
  require(traced.outcome == result.outcome, "tracing does not change how the run ends");
  require(traced.messages == result.messages, "tracing does not change the messages");
  require(traced.shown == result.shown, "tracing does not change what is shown");
  require(traced.output == result.output, "tracing does not change the output");
  if (result.outcome != 0) require(traced.workFile == result.workFile, "tracing does not change the work file");
}

// What a work file of our own making does not hold.
static std::string withOddity(std::string text, unsigned kind, size_t place) {
  constexpr unsigned NUMBER_OF_KINDS = 8;
  constexpr size_t TOO_LONG_FOR_A_LINE = 5000;
  const size_t newline = text.find('\n', place);
  const size_t lineEnd = newline == std::string::npos ? text.size() : newline + 1;
  switch (kind % NUMBER_OF_KINDS) {
    case 0:
      return text.replace(place, 1, 1, '\0');
    case 1:
      return text.insert(place, 1, '\0');
    case 2:
      return text.insert(lineEnd, "# changetype: add\n");
    case 3:
      return text.insert(place, "\r\n");
    case 4:
      return text.substr(0, place);  // mostly in a line
    case 5:
      return text.insert(place, TOO_LONG_FOR_A_LINE, 'x');
    case 6:
      return text.insert(lineEnd, std::string(TOO_LONG_FOR_A_LINE, ' ') + "\n");
    default:
      return text.insert(lineEnd, " \n");
  }
}

// Takes the work file that the preparation pass has made of an input for left over, odd in one place; and the input
// once more behind it, if the choice says so.
static void checkOddLeftOver(Conversion conversion, const std::string& choice) {
  const auto byte = [&choice](size_t i) { return i < choice.size() ? static_cast<unsigned char>(choice[i]) : 0U; };
  const std::string leftOver = plain::prepared(conversion.input, INSTALL_DATE).workFile;
  const size_t place = (byte(1) << 8U | byte(2)) % (leftOver.size() + 1);
  conversion.leftOver = withOddity(leftOver, byte(0), place);
  if ((byte(0) & 0x80U) == 0) conversion.input.clear();
  check(conversion, true);
}

// Switches: 1 traced, too, 2 errors echoed; the next two bits and the two behind them are slots beyond one. With 64 the
// first part of the text is a left-over work file. With 128 the first three bytes, before that, choose an odd one that
// is tried in place of it, too.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr size_t CHOICE_SIZE = 3;
  FuzzInput input = unpack(data, size, LARGEST_INPUT);
  Conversion conversion;
  const std::string choice = input.text.substr(0, (input.switches & 128) != 0 ? CHOICE_SIZE : 0);
  input.text.erase(0, choice.size());
  if ((input.switches & 64) != 0) conversion.leftOver = takePart(input.text);
  conversion.input = takePart(input.text);
  conversion.userSlots = std::to_string(1 + ((input.switches >> 2) & 3));
  conversion.groupSlots = std::to_string(1 + ((input.switches >> 4) & 3));
  if ((input.switches & 2) != 0)
    setenv("DEBUG_ERROR", "", 1);
  else
    unsetenv("DEBUG_ERROR");
  check(conversion, (input.switches & 1) != 0);
  if ((input.switches & 128) != 0) checkOddLeftOver(conversion, choice);
  return 0;
}
