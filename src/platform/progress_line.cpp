#include "platform/progress_line.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>

#define ERASE_TO_END "\x1b[K"

// A signal handler asks, too.
static volatile sig_atomic_t isDrawn = 0;

static void write(const char* text) {
  // A terminal that takes nothing any more is met where a message is written.
  if (::write(STDERR_FILENO, text, strlen(text)) < 0) isDrawn = 0;
}

void drawProgressLine(const char* text) {
  constexpr size_t LINE_SIZE = 120;
  constexpr int WIDTH = 80;
  // A line that does not fit would leave a part of itself behind.
  winsize size = {};
  const bool isKnown = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
  char line[LINE_SIZE];
  snprintf(line, sizeof line, "\r%.*s" ERASE_TO_END, std::min(isKnown ? size.ws_col - 1 : WIDTH, WIDTH), text);
  // Before it is drawn: a signal that comes in between may take away nothing, but leaves nothing behind.
  isDrawn = 1;
  write(line);
}

void eraseProgressLine() {
  if (isDrawn == 0) return;
  isDrawn = 0;
  write("\r" ERASE_TO_END);
}
