// What the unit tests share: a fresh run for each test, and short ways to fill and to read the run's state.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "cache/object_cache.h"
#include "platform/message_codes.h"
#include "platform/stream.h"

using Lines = std::vector<std::string>;

// Begins every test with the state of a fresh process, in an empty scratch folder that is the current one.
class FreshRun : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
};

// For tables of cases: the first column is the test's name.
#define INSTANTIATE_CASES(suite, cases)                            \
  INSTANTIATE_TEST_SUITE_P(Cases, suite, testing::ValuesIn(cases), \
                           [](const auto& instance) { return std::string(instance.param.name); })

// Expects that the statement ends the process with status -1 and this one error message, nothing else being
// written to standard error.
#define EXPECT_FAILURE(statement, code) EXPECT_EXIT(statement, testing::ExitedWithCode(255), failureMessage(code))

// Pattern for the whole of standard error: one error message with this code and, somewhere in it, the detail
// (a pattern).
std::string failureMessage(MessageCode code, const std::string& detail = "");

// Pattern for the whole of standard error: a position call failed, and the caller gave up.
std::string positionFailureThen(const std::string& call, MessageCode code);

// Returns what the step writes to standard output, or to standard error.
std::string outputOf(const std::function<void()>& step);
std::string messagesOf(const std::function<void()>& step);

// Within a death test: switches the echo of errors on and sends standard output to a file.
void echoToFile();
std::string echoed();  // what that file holds

// Switches tracing on, to a new trace; what was written to it so far, by death tests too.
void startTrace();
std::string traced();

// Expects the trace to hold these texts one after the other, perhaps with others between them.
void expectTraced(const Lines& texts);

// The entry buffer.
void fillObject(const Lines& lines);
Lines objectLines();  // as counted

// Files of the scratch folder.
void writeFile(const std::string& name, const std::string& contents);
std::string readFile(const std::string& name);
bool exists(const std::string& name);

Stream* openForUpdate(const std::string& name);
Stream* openToCreate(const std::string& name);  // created or cut

// The files of the run, as it holds them. The work file is created if need be, and is as long as it will stay.
void holdInput();
void holdOutput();
void holdWorkFile();
void writeWorkFile(const std::string& contents);  // and holds it

Stream* streamWithoutPositions();                 // a pipe
Stream* streamThatCannotBeWritten();              // every write fails from the first on
Stream* streamThatFailsAfter(size_t characters);  // the write that goes beyond them fails
void makeWritesFail(Stream* stream);              // of a stream that can still be read

// A file that opens and cannot be read.
inline constexpr char UNREADABLE_FILE[] = "/proc/self/mem";

// Within a death test: no file can grow, or be written, beyond this size.
void limitFileSize(unsigned long size);

// The next allocation (by operator new, for a text as well; of a table that is to grow; of memory of its own or a file
// in memory) finds no memory.
void failNextAllocation();
void failNextReallocation();
void failNextMapping();

// Expects that a step takes no memory by operator new.
void expectNoAllocationIn(const std::function<void()>& step);

// Lets the first, the second, ... allocation of a step, for a table as well, fail, each in a process of its own, until
// none is left to fail. There must be one, and every one must end the run for want of memory. The trace receives what
// all of them trace.
void exhaustMemoryIn(const std::function<void()>& step);

// Lets the first, the second, ... read of a file in a step fail, each in a process of its own, until none is left to
// fail. Every one must end the run as one on the work file does.
void failEveryReadIn(const std::function<void()>& step);

// The cache. buildCache leaves it as at the start of a pass.
extern const std::vector<const CacheMatrix*> allMatrices;
void buildCache(int32_t userSlots, int32_t groupSlots);
void fillRow(const CacheMatrix& matrix, int32_t slot, const Lines& lines);  // counted; goes on in the next rows
Lines rowLines(const CacheMatrix& matrix, int32_t slot);                    // those where it goes on included
void setDn(std::string_view*& dns, int32_t slot, const std::string& dn);
void openUserSlot(const std::string& dn);
void openGroupSlot(const std::string& dn);

// A text that may be missing: "(null)" without one.
std::string shown(std::string_view text);

// ASCII letters alone.
std::string inLowerCase(std::string_view text);

std::string repeated(size_t count, const std::string& text);
