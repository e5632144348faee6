#include "reporting/interruption.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <span>

#include "platform/composed_text.h"
#include "platform/progress_line.h"
#include "platform/shown_text.h"
#include "reporting/run_state.h"

struct EndingSignal {
  int number;
  const char* name;
};

static constexpr EndingSignal endingSignals[] = {{SIGINT, "SIGINT"}, {SIGTERM, "SIGTERM"}, {SIGHUP, "SIGHUP"}};

// What is said of the run, by signal, before its output is complete and afterwards. Put together beforehand: a handler
// may call little. Short enough to be written to a pipe as a whole.
static constexpr size_t TEXT_SIZE = 2048;
struct Farewell {
  char untilComplete[TEXT_SIZE];
  char whenComplete[TEXT_SIZE];
};
static Farewell farewells[std::size(endingSignals)];

static sigset_t setOfEndingSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const EndingSignal& ending : endingSignals) sigaddset(&signals, ending.number);
  return signals;
}

static void composeLine(char (&line)[TEXT_SIZE], DetailText text, std::span<const MessageValue> values) {
  // Leaves room for the newline.
  composeText(line, sizeof line - 1, [&](ComposedText& composed) {
    append(composed, "tqldif2v6: ");
    appendText(composed, text, values);
  });
  memcpy(line + strlen(line), "\n", 2);
}

// A line that could not be written at once is not worth a process that does not end.
static void sayInterrupted(const Farewell& farewell) {
  pollfd standardError = {STDERR_FILENO, POLLOUT, 0};
  // A terminal that has been stopped would keep the process waiting.
  if (poll(&standardError, 1, 0) != 1) return;
  eraseProgressLine();
  // Asked at the last moment: only the work file may be left to remove.
  const char* const line = outputIsComplete != 0 ? farewell.whenComplete : farewell.untilComplete;
  if (write(STDERR_FILENO, line, strlen(line)) < 0) return;
}

// Runs while the other ending signals wait, so that nothing keeps it from taking the work file away. Calls only what a
// signal handler may call.
static void leaveWithoutWorkFile(int signalNumber) {
  if (workFileIsToBeRemoved != 0 && isInPlace(workFile.place, workFile.descriptor))
    unlinkat(workFile.place.folder, workFile.place.name, 0);
  for (size_t i = 0; i < std::size(endingSignals); ++i)
    if (endingSignals[i].number == signalNumber) sayInterrupted(farewells[i]);
  signal(signalNumber, SIG_DFL);
  sigset_t one;
  sigemptyset(&one);
  sigaddset(&one, signalNumber);
  // Sent once more and let through, so that whoever has started the run sees which signal has ended it.
  kill(getpid(), signalNumber);
  sigprocmask(SIG_UNBLOCK, &one, nullptr);
  _exit(-1);  // the first process of a container is not ended by a signal
}

static void handle(int signalNumber) {
  struct sigaction action = {};
  sigaction(signalNumber, nullptr, &action);
  // As nohup leaves it, for one.
  if (action.sa_handler == SIG_IGN) return;
  action.sa_handler = leaveWithoutWorkFile;
  action.sa_flags = 0;
  action.sa_mask = setOfEndingSignals();
  sigaction(signalNumber, &action, nullptr);
}

void prepareForSignals() {
  for (size_t i = 0; i < std::size(endingSignals); ++i) {
    // Before the names of the files are known the output cannot be complete.
    const MessageValue signalName = endingSignals[i].name;
    composeLine(farewells[i].untilComplete, INTERRUPTED_AT_FIRST, {&signalName, 1});
  }
  for (const EndingSignal& ending : endingSignals) handle(ending.number);
  for (const int signalNumber : {SIGPIPE, SIGXFSZ}) signal(signalNumber, SIG_IGN);
  // No core in a file, and none in a program that takes them.
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);
  prctl(PR_SET_DUMPABLE, 0);
}

void nameFilesForSignals() {
  constexpr size_t NAME_SIZE = TEXT_SIZE * 2 / 5;
  char input[NAME_SIZE] = "";
  char output[NAME_SIZE] = "";
  appendHarmless(input, sizeof input, input_ldif_filename);
  appendHarmless(output, sizeof output, output_ldif_filename);
  holdSignals();
  for (size_t i = 0; i < std::size(endingSignals); ++i) {
    const MessageValue values[] = {endingSignals[i].name, input, output};
    composeLine(farewells[i].untilComplete, INTERRUPTED, values);
    composeLine(farewells[i].whenComplete, INTERRUPTED_WHEN_COMPLETE, values);
  }
  letSignalsThrough();
}

// What whoever has started the run had held back already.
static sigset_t heldBefore;

void holdSignals() {
  const sigset_t signals = setOfEndingSignals();
  sigprocmask(SIG_BLOCK, &signals, &heldBefore);
}

void letSignalsThrough() { sigprocmask(SIG_SETMASK, &heldBefore, nullptr); }
