#include "survey/progress.h"

#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <ctime>

#include "platform/progress_line.h"
#include "survey/program_end.h"

void showSurveyProgress(const char* step, uint64_t done, uint64_t all) {
  // Asking the clock takes longer than many an entry.
  constexpr uint32_t CALLS_BETWEEN_LOOKS = 4096;
  constexpr size_t LINE_SIZE = 100;
  constexpr uint64_t WHOLE = 100;  // percent
  static uint32_t calls = 0;
  if (++calls % CALLS_BETWEEN_LOOKS != 0) return;
  static const bool isTerminal = isatty(STDERR_FILENO) == 1;
  static time_t shownAt = time(nullptr);
  if (!isTerminal || all == 0) return;
  const time_t now = time(nullptr);
  // Once a second: more often nobody reads, and a slow line to the terminal would hold the work up.
  if (now == shownAt) return;
  shownAt = now;
  char line[LINE_SIZE];
  snprintf(line, sizeof line, "%s: %s: %" PRIu64 " %%", programName, step, done * WHOLE / all);
  drawProgressLine(line);
}

void endSurveyProgress() { eraseProgressLine(); }
