// A file that is looked at, never written: as it stands in memory, whole or, where addresses do not suffice, in
// windows.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

struct SurveyedFile {
  int descriptor = -1;
  const char* name = "";
  uint64_t size = 0;       // bytes
  struct stat state = {};  // at its opening
  const char* window = nullptr;
  uint64_t windowBegin = 0;
  size_t windowLength = 0;
  std::vector<int64_t> lineCounts;  // of the lines before each step of the file
};

// Opens a regular file for reading. Returns false with the reason in messageReason. It stays open.
bool openSurveyed(const char* name, SurveyedFile& file);

// From then on the process ends with exit status 2 when a part of an open file is gone or cannot be read, and when it
// fails behind a change of one.
void endForLostFiles();

// Returns the text from a place on: all of it where the whole file is in memory, at least so much of it otherwise, and
// always what there is when it is less. It stays until the next call that asks for what is not in the window.
std::string_view textFrom(SurveyedFile& file, uint64_t begin, size_t atLeast);

// True when the file is in memory as a whole, so that its texts stay.
bool isWhole(const SurveyedFile& file);

// The same of one that has not been looked at yet.
bool canBeWhole(SurveyedFile& file);

// Returns false, with the reason in messageReason, when the file is not as it was when it was opened.
bool isUnchanged(const SurveyedFile& file);

// Ends the process for a file in which something is not as it was.
[[noreturn]] void endForChange();

// Counts the lines that end before a place: in steps, so that the next count has less to look at.
int64_t linesBefore(SurveyedFile& file, uint64_t place);
