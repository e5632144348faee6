#include "survey/program_end.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/message_details.h"
#include "platform/open_file.h"
#include "survey/shown_place.h"

static void say(const char* text) {
  if (write(STDERR_FILENO, text, strlen(text)) < 0) return;  // there is nobody to tell
}

static void removeFiles() {
  for (const char* name : filesToRemove)
    if (name != nullptr) unlink(name);
}

void endAtOnce(const char* text) {
  removeFiles();
  for (const char* const part : {programName, ": ", text, "\n"}) say(part);
  _exit(2);
}

// What is half done holds credentials, and must not stay when somebody gives up.
static void endForSignal(int number) {
  removeFiles();
  raise(number);  // it has no handler any more, and ends the process when this one returns
}

// As whoever has started the process may want it, nohup for one.
static bool isIgnored(int number) {
  struct sigaction action = {};
  return sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

void handleOnce(int number, void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigemptyset(&action.sa_mask);
  sigaction(number, &action, nullptr);
}

void removeFilesAtEnd() {
  signal(SIGXFSZ, SIG_IGN);
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGXCPU})
    if (!isIgnored(number)) handleOnce(number, endForSignal);
}

void endFor(const char* file) {
  fprintf(stderr, "%s: %s: %s\n", programName, harmless(file).c_str(), messageReason);
  exit(2);
}

void endForUsage(const char* problem, const char* usage) {
  fprintf(stderr, "%s: %s\n%s", programName, problem, usage);
  exit(2);
}

void endWith(const char* text) {
  fputs(text, stdout);
  flushOrEnd();
  exit(0);
}

void flushOrEnd() {
  if (fflush(stdout) == 0 && ferror(stdout) == 0) return;
  failWith();
  endFor("standard output");
}
