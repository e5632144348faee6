// What became of every entry of an export in the output of a conversion.
#include <cstdio>
#include <cstdlib>
#include <new>

#include "account/accounting.h"
#include "account/options.h"
#include "account/report.h"
#include "platform/freed_memory.h"
#include "platform/message_details.h"
#include "platform/open_file.h"
#include "survey/progress.h"
#include "survey/shown_place.h"

static constexpr char PROGRAM[] = "tqldif2v6-account";

[[noreturn]] static void endFor(const char* name) {
  fprintf(stderr, "%s: %s: %s\n", PROGRAM, harmless(name).c_str(), messageReason);
  exit(2);
}

// What has been found would hold for no file that there ever was: before the verdict, and behind what the report reads.
static void endIfChanged(const SurveyedFile& file) {
  if (!isUnchanged(file)) endFor(file.name);
}

static int account(const AccountOptions& options) {
  SurveyedFile input;
  SurveyedFile output;
  if (!openSurveyed(PROGRAM, options.input, input)) endFor(options.input);
  SurveyedFile opened = input;
  // In memory as a whole it can be looked at in two places; otherwise each look moves its own window.
  SurveyedFile& again = canBeWhole(input) ? input : opened;
  if (!openSurveyed(PROGRAM, options.output, output)) endFor(options.output);
  AccountReport report(options, again, output);
  report.begin();
  OutputRecords records = {};
  // The output comes first: records of the input are looked for in it as they are made.
  readRecords(output, records);
  Account made;
  accountFor(input, again, records, report, made);
  endSurveyProgress();
  endIfChanged(input);
  endIfChanged(output);
  report.end(made);
  endIfChanged(input);
  endIfChanged(output);
  // An account that has not come out must not look like one without losses.
  if (fflush(stdout) != 0 || ferror(stdout) != 0) {
    failWith();
    endFor("standard output");
  }
  return made.first.isAny || report.isAnyFound() ? 1 : 0;
}

int main(int argumentCount, char** arguments) {
  const AccountOptions options = readOptions(argumentCount, arguments);
  giveBackLargeBlocks();
  try {
    return account(options);
  } catch (const std::bad_alloc&) {
    fprintf(stderr, "%s: memory is exhausted\n", PROGRAM);
    return 2;
  }
}
