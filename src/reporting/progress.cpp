#include "reporting/progress.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <cstdio>

#include "platform/composed_text.h"
#include "platform/progress_line.h"

using Clock = std::chrono::steady_clock;

// A run that is over by then shows nothing; two lines a second can still be read.
static constexpr double SECONDS_BEFORE_FIRST_LINE = 1;
static constexpr double SECONDS_BETWEEN_LINES = 0.5;

// The phase that is being shown.
struct Phase {
  DetailText text;
  Clock::time_point begin;
  double shownAt;  // seconds from the begin to the last line
};

static double secondsOf(Clock::duration duration) { return std::chrono::duration<double>(duration).count(); }

// A number as a text to put in.
struct Digits {
  char text[32];

  Digits(const char* format, double number) { snprintf(text, sizeof text, format, number); }
};

static void show(const Phase& phase, double seconds, int64_t done, int64_t total) {
  constexpr double MEGABYTE = 1e6;
  constexpr size_t LINE_SIZE = 100;
  const auto whole = static_cast<double>(total);
  // More than everything can be done: entries of an odd left-over work file may be gathered twice.
  const double part = std::min(static_cast<double>(done), whole);
  const Digits percent("%.0f", part * 100 / whole);
  const Digits rate("%.1f", part / MEGABYTE / seconds);
  const Digits secondsLeft("%.0f", seconds * (whole - part) / part);
  const MessageValue values[] = {percent.text, rate.text, secondsLeft.text};
  char line[LINE_SIZE];
  composeText(line, sizeof line, [&](ComposedText& composed) {
    append(composed, "tqldif2v6: ");
    appendText(composed, phase.text, values);
  });
  drawProgressLine(line);
}

void showProgress(DetailText phase, int64_t done, int64_t total) {
  static const bool isTerminal = isatty(STDERR_FILENO) == 1;
  static Phase current = {NO_DETAIL, {}, 0};
  // Before anything is done there is no rate to reckon with.
  if (!isTerminal || done <= 0 || total <= 0) return;
  const Clock::time_point now = Clock::now();
  // The last line is put so far back that the first one is due when the phase has lasted long enough.
  if (current.text != phase) current = {phase, now, SECONDS_BEFORE_FIRST_LINE - SECONDS_BETWEEN_LINES};
  const double seconds = secondsOf(now - current.begin);
  if (seconds < current.shownAt + SECONDS_BETWEEN_LINES) return;
  current.shownAt = seconds;
  show(current, seconds, done, total);
}
