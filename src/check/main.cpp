// What a run of the conversion will do, found out without one.
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "check/options.h"
#include "check/prediction.h"
#include "check/report.h"
#include "check/run_needs.h"
#include "check/split.h"
#include "check/surroundings.h"
#include "platform/file_operations.h"
#include "platform/freed_memory.h"
#include "survey/program_end.h"
#include "survey/progress.h"
#include "survey/shown_place.h"

static void requireDistinctNames(const CheckOptions& options) {
  if (options.good == nullptr) return;
  std::vector<std::string> names = {options.input, options.good, options.rejected};
  const size_t given = names.size();
  // The conversion of each of them has a work file, and would take another one for what an earlier run has left.
  for (size_t i = 0; i < given; ++i) names.push_back(names[i] + ".tmp");
  for (size_t i = 0; i < names.size(); ++i)
    for (size_t j = 0; j < i; ++j) {
      if (!isSameFile(names[i].c_str(), names[j].c_str())) continue;
      const std::string ofWhat = i < given ? "" : ", the work file of " + harmless(names[i - given]);
      fprintf(stderr, "%s: two names lead to the same file: %s and %s%s\n", programName, harmless(names[j]).c_str(),
              harmless(names[i]).c_str(), ofWhat.c_str());
      exit(2);
    }
}

// What has been found would hold for no file that there ever was: before the verdict, and behind what the report reads.
static void endIfChanged(const SurveyedFile& file) {
  if (!isUnchanged(file)) endFor(file.name);
}

static int check(const CheckOptions& options) {
  SurveyedFile file;
  requireDistinctNames(options);
  if (!openSurveyed(options.input, file)) endFor(options.input);
  SurveyedFile opened = file;
  // In memory as a whole it can be looked at in two places; otherwise each look moves its own window.
  SurveyedFile& again = canBeWhole(file) ? file : opened;
  const bool isInMemory = isFolderInMemory(options.input);
  Report report(options, again, isInMemory);
  report.begin();
  Prediction prediction;
  const MessageCode code = findFileProblems(options.input, report);
  predictRun(file, again, options.slots, report, prediction);
  findWholeProblems(options.input, textFrom(again, 0, 1), prediction, report);
  // The conversion gives up before it reads; everything else is foretold as if it did not.
  if (code != 0) failAtOnce(prediction, code);
  endSurveyProgress();
  endIfChanged(file);
  report.end(prediction, memoryOfRun(prediction, isInMemory));
  endIfChanged(file);
  if (options.good != nullptr)
    if (const char* const failed = splitInput(file, again, prediction, options); failed != nullptr) endFor(failed);
  flushOrEnd();
  return report.isAnyFound() ? 1 : 0;
}

int main(int argumentCount, char** arguments) {
  programName = "tqldif2v6-check";
  const CheckOptions options = readOptions(argumentCount, arguments);
  giveBackLargeBlocks();
  removeFilesAtEnd();
  endForLostFiles();
  try {
    return check(options);
  } catch (const std::bad_alloc&) {
    fprintf(stderr, "%s: memory is exhausted\n", programName);
    return 2;
  }
}
