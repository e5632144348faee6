// What the fuzzers share: inputs unpacked, the state of a fresh process, and a way back from the end of a run.
#pragma once

#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/message_codes.h"
#include "platform/stream.h"
#include "rules/line.h"
#include "rules/texts.h"

using Lines = std::vector<std::string>;

// An input file is one byte of switches and a text. In the text two bytes that LDIF has no use for stand for
// repetition, so that a short input reaches the limits of long lines, long values and long entries:
//   0x1F n  the character before it, 16 n times more
//   0x1E n  the line before it, n times more
struct FuzzInput {
  uint8_t switches;
  std::string text;
};

// Unpacks an input; the text is cut at the limit.
FuzzInput unpack(const uint8_t* data, size_t size, size_t limit);

// Cuts off and returns what stands before the first 0x1D, which parts the texts of an input; all without one.
std::string takePart(std::string& text);

// Ends the fuzzer with a finding, unless the condition holds.
void require(bool condition, const char* expectation);

// Begins an input: brings all that a run changes back to the state of a fresh process, takes back the memory that
// the steps of earlier inputs have kept, and empties what the two below hold.
void beginRun();

// The messages issued since beginRun, in order; and all that was shown on standard output and standard error.
extern std::vector<uint32_t> messages;
extern std::string shownText;

// The install date of all runs: the clock stands still for them.
constexpr char INSTALL_DATE[] = "20231114101320.0Z";

// What outcomeOf and the replacement of exit share.
inline jmp_buf endOfRun;
inline bool isRunning = false;
uint32_t codeOfFailure();

// Runs a step of the conversion. Returns 0 when it came back, otherwise the code of the message with which it ended
// the run: PROCESSING_FAILED or ROW_ALREADY_OCCUPIED, any other end being a finding. Destructors are left out then, as
// in a process. What a step takes from the heap must not be needed behind the next beginRun.
template <typename Step>
uint32_t outcomeOf(Step step) {
  if (setjmp(endOfRun) != 0) return codeOfFailure();
  isRunning = true;
  step();
  isRunning = false;
  return 0;
}

// Switches tracing on, to nowhere.
void startTrace();

// Returns lines as the rules take them, each in a block of its own among the texts, so that a step over its end is
// noticed; and the lines of such a table that have a text.
std::vector<Line> tableOf(const Lines& lines, Texts& texts);
Lines linesOf(Entry entry);

// Fills the entry buffer with copies of the lines. Returns what is there now.
void fillObject(const Lines& lines);
Lines objectLines();

// Files of the scratch folder, which is the current one.
void writeFile(const char* name, const std::string& contents);
std::string readFile(const char* name);
bool exists(const char* name);
Stream* openForUpdate(const char* name);
Stream* openToCreate(const char* name);  // created or cut
