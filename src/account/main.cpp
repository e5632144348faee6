// What became of every entry of an export in the output of a conversion.
#include <cstdio>
#include <new>

#include "account/accounting.h"
#include "account/options.h"
#include "account/report.h"
#include "platform/freed_memory.h"
#include "survey/program_end.h"
#include "survey/progress.h"

// What has been found would hold for no file that there ever was: before the verdict, and behind what the report reads.
static void endIfChanged(const SurveyedFile& file) {
  if (!isUnchanged(file)) endFor(file.name);
}

static int account(const AccountOptions& options) {
  SurveyedFile input;
  SurveyedFile output;
  if (!openSurveyed(options.input, input)) endFor(options.input);
  SurveyedFile opened = input;
  // In memory as a whole it can be looked at in two places; otherwise each look moves its own window.
  SurveyedFile& again = canBeWhole(input) ? input : opened;
  if (!openSurveyed(options.output, output)) endFor(options.output);
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
  flushOrEnd();
  return made.first.isAny || report.isAnyFound() ? 1 : 0;
}

int main(int argumentCount, char** arguments) {
  programName = "tqldif2v6-account";
  const AccountOptions options = readOptions(argumentCount, arguments);
  giveBackLargeBlocks();
  removeFilesAtEnd();
  endForLostFiles();
  try {
    return account(options);
  } catch (const std::bad_alloc&) {
    fprintf(stderr, "%s: memory is exhausted\n", programName);
    return 2;
  }
}
