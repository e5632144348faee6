#include "workfile/work_text.h"

#include <sys/mman.h>

#include <csignal>
#include <cstdint>

#include "reporting/reporting.h"
#include "reporting/run_state.h"

static char* text = nullptr;  // null while it is not mapped
static size_t textLength = 0;

// Looking at what somebody else has cut off, or at what the disk cannot read, raises a signal. That always happens in a
// step of our own, never within a function of the C library that holds a lock, so the run can end here as it can
// anywhere.
static void exitForLostText(int signalNumber, siginfo_t* info, void*) {
  const auto* const place = static_cast<const char*>(info->si_addr);
  // A second fault, while this one is being told, ends the process.
  signal(signalNumber, SIG_DFL);
  if (text == nullptr || place < text || place >= text + textLength) return;  // it is raised once more
  failWith(CHANGED_BY_OTHERS);
  exitWithMessage(OBJECT_NOT_READ, temp_input_ldif_filename);
}

static void prepareForLostPages() {
  struct sigaction action = {};
  action.sa_sigaction = exitForLostText;
  action.sa_flags = SA_SIGINFO;
  sigemptyset(&action.sa_mask);
  sigaction(SIGBUS, &action, nullptr);
}

bool mapWorkFile() {
  // Nothing cannot be mapped, and more than can be addressed cannot either.
  if (workFileLength == 0 || workFileLength > PTRDIFF_MAX) return false;
  const auto length = static_cast<size_t>(workFileLength);
  void* const mapped = mmap(nullptr, length, PROT_READ, MAP_SHARED, workFile.descriptor, 0);
  if (mapped == MAP_FAILED) return false;
  text = static_cast<char*>(mapped);
  textLength = length;
  prepareForLostPages();
  return true;
}

void unmapWorkFile() {
  if (text != nullptr) munmap(text, textLength);
  text = nullptr;
}

bool isInWorkText(std::string_view part) {
  return text != nullptr && part.data() >= text && part.data() < text + textLength;
}

std::string_view workText(uint64_t start, size_t length) {
  return text == nullptr ? std::string_view() : std::string_view(text + start, length);
}
