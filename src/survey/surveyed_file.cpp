#include "survey/surveyed_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <iterator>

#include "platform/message_details.h"
#include "platform/open_file.h"
#include "survey/program_end.h"

// Addresses that one file may take. A test builds with a small one.
#ifndef SURVEY_WINDOW_SIZE
#define SURVEY_WINDOW_SIZE (sizeof(void*) > 4 ? uint64_t{1} << 46U : uint64_t{256} << 20U)
#endif

static bool isAsOpened(int descriptor, const struct stat& opened) {
  struct stat now;
  // The time of the last change and the size: what a program that writes the file cannot leave as they were.
  return fstat(descriptor, &now) == 0 && now.st_size == opened.st_size && now.st_mtim.tv_sec == opened.st_mtim.tv_sec &&
         now.st_mtim.tv_nsec == opened.st_mtim.tv_nsec;
}

void endForChange() {
  endAtOnce("a file could not be read to its end: something else has changed it, or the disk fails");
}

// The files that are open, for the signal handlers.
struct WatchedFile {
  int descriptor;
  struct stat state;
};
static WatchedFile watched[2];
static size_t watchedCount = 0;

// What somebody else has cut off, or a disk cannot read, raises this signal where it is looked at.
static void endForLostText(int) { endForChange(); }

// What was found in a file at the first look does not fit what is there at the second one, once somebody else has
// written to it: then the bounds that are checked do not hold.
static void endForFailure(int number) {
  for (size_t i = 0; i < watchedCount; ++i)
    if (!isAsOpened(watched[i].descriptor, watched[i].state)) endForChange();
  raise(number);
}

void endForLostFiles() {
  handleOnce(SIGBUS, endForLostText);
  for (const int number : {SIGABRT, SIGSEGV}) handleOnce(number, endForFailure);
}

bool openSurveyed(const char* name, SurveyedFile& file) {
  file.name = name;
  // Opening a pipe would wait for somebody to write to it.
  file.descriptor = open(name, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (file.descriptor < 0 || fstat(file.descriptor, &file.state) != 0) return failWith();
  if (!S_ISREG(file.state.st_mode)) return failWith("it is not a regular file");
  file.size = static_cast<uint64_t>(file.state.st_size);
  if (watchedCount < std::size(watched)) watched[watchedCount++] = {file.descriptor, file.state};
  return true;
}

bool isWhole(const SurveyedFile& file) { return file.windowLength == file.size; }

// The address space can be smaller than expected, too.
static bool map(SurveyedFile& file, uint64_t begin, uint64_t length) {
  if (length > PTRDIFF_MAX) return false;  // longer than a text can be
  void* const data =
      mmap(nullptr, static_cast<size_t>(length), PROT_READ, MAP_SHARED, file.descriptor, static_cast<off_t>(begin));
  if (data == MAP_FAILED) return false;
  file.window = static_cast<const char*>(data);
  file.windowBegin = begin;
  file.windowLength = static_cast<size_t>(length);
  return true;
}

static void moveWindow(SurveyedFile& file, uint64_t begin, size_t atLeast) {
  const auto page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
  if (file.window != nullptr) munmap(const_cast<char*>(file.window), file.windowLength);
  file.window = nullptr;
  file.windowLength = 0;
  const uint64_t from = begin / page * page;
  uint64_t wanted = std::max<uint64_t>(SURVEY_WINDOW_SIZE, begin - from + atLeast);
  // Half of the addresses may be free where all of them are not.
  for (; wanted >= begin - from + atLeast && wanted > 0; wanted /= 2)
    if (map(file, from, std::min(wanted, file.size - from))) return;
  endAtOnce("there is no memory to look at the file");
}

std::string_view textFrom(SurveyedFile& file, uint64_t begin, size_t atLeast) {
  const auto wanted = static_cast<size_t>(std::min<uint64_t>(atLeast, file.size - begin));
  if (wanted == 0 && begin == file.size) return {};
  const bool isThere = file.window != nullptr && begin >= file.windowBegin &&
                       begin + wanted <= file.windowBegin + file.windowLength &&
                       begin < file.windowBegin + file.windowLength;
  if (!isThere) moveWindow(file, begin, wanted);
  return std::string_view(file.window, file.windowLength).substr(static_cast<size_t>(begin - file.windowBegin));
}

bool canBeWhole(SurveyedFile& file) {
  textFrom(file, 0, 1);
  return isWhole(file);
}

bool isUnchanged(const SurveyedFile& file) {
  return isAsOpened(file.descriptor, file.state) || failWith("it has changed while it was read");
}

// Counted in parts of few enough bytes for a sum of one byte, which compilers can make of many at once.
static int64_t countNewlines(std::string_view text) {
  constexpr size_t PART = 128;
  int64_t count = 0;
  for (; text.size() >= PART; text.remove_prefix(PART)) {
    uint8_t ofPart = 0;
    for (size_t i = 0; i < PART; ++i) ofPart = static_cast<uint8_t>(ofPart + (text.data()[i] == '\n'));
    count += ofPart;
  }
  return count + std::count(text.begin(), text.end(), '\n');
}

int64_t linesBefore(SurveyedFile& file, uint64_t place) {
  // What is counted again for each line that is shown is half a step; the sums take two bytes for a kilobyte of the
  // file.
  constexpr uint64_t STEP = uint64_t{4} * 1024;
  std::vector<int64_t>& counts = file.lineCounts;
  if (counts.empty()) counts.push_back(0);
  while (place / STEP >= counts.size()) {
    const std::string_view step = textFrom(file, (counts.size() - 1) * STEP, STEP).substr(0, STEP);
    counts.push_back(counts.back() + countNewlines(step));
  }
  const uint64_t begin = place / STEP * STEP;
  const auto length = static_cast<size_t>(place - begin);
  const std::string_view rest = textFrom(file, begin, length).substr(0, length);
  return counts[static_cast<size_t>(place / STEP)] + countNewlines(rest);
}
