#include "platform/progress_line.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#define ERASE_TO_END "\x1b[K"

static bool isDrawn = false;

static void write(const char* text) {
  // A terminal that takes nothing any more is met where a message is written.
  if (::write(STDERR_FILENO, text, strlen(text)) < 0) isDrawn = false;
}

void drawProgressLine(const char* text) {
  constexpr size_t LINE_SIZE = 120;
  char line[LINE_SIZE];
  snprintf(line, sizeof line, "\r%s" ERASE_TO_END, text);
  isDrawn = true;
  write(line);
}

void eraseProgressLine() {
  if (!isDrawn) return;
  isDrawn = false;
  write("\r" ERASE_TO_END);
}
