#include "driver/interruption.h"

#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <initializer_list>

#include "driver/run_state.h"

static constexpr int endingSignals[] = {SIGINT, SIGTERM, SIGHUP};

// Calls only what a signal handler may call. The handler is gone when it runs, so raising the signal again ends the
// process.
static void leaveWithoutWorkFile(int signalNumber) {
  if (workFileIsToBeRemoved != 0) unlink(temp_input_ldif_filename);
  raise(signalNumber);
}

static void handle(int signalNumber) {
  struct sigaction action = {};
  sigaction(signalNumber, nullptr, &action);
  if (action.sa_handler == SIG_IGN) return;
  action.sa_handler = leaveWithoutWorkFile;
  action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
  sigaction(signalNumber, &action, nullptr);
}

void prepareForSignals() {
  for (const int signalNumber : endingSignals) handle(signalNumber);
  for (const int signalNumber : {SIGPIPE, SIGXFSZ}) signal(signalNumber, SIG_IGN);
  // No core in a file, and none in a program that takes them.
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);
  prctl(PR_SET_DUMPABLE, 0);
}

static void mask(int how) {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signalNumber : endingSignals) sigaddset(&signals, signalNumber);
  sigprocmask(how, &signals, nullptr);
}

void holdSignals() { mask(SIG_BLOCK); }

void letSignalsThrough() { mask(SIG_UNBLOCK); }
