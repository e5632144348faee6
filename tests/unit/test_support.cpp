#include "test_support.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csetjmp>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "cache/cache_slots.h"
#include "cache/owner_association.h"
#include "ldif/line_memory.h"
#include "ldif/line_reader.h"
#include "ldif/object_buffer.h"
#include "ldif/object_class.h"
#include "platform/message_details.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "workfile/left_behind.h"
#include "workfile/preparation_pass.h"
#include "workfile/work_file_cursor.h"

namespace {

constexpr size_t STREAM_WINDOW = 256 * 1024;

// Which of the coming allocations fails, counted from 1; 0 for none.
int failingAllocation = 0;
int failingReallocation = 0;
int failingRead = 0;  // likewise for the reads

// Where an allocation goes while useUpLineMemory is at work.
bool usingUpLineMemory = false;
jmp_buf lineMemoryUsedUp;

bool takeFailure(int& countdown) {
  if (usingUpLineMemory) longjmp(lineMemoryUsedUp, 1);
  if (countdown == 0 || --countdown > 0) return false;
  errno = ENOMEM;
  return true;
}

void useUpLinesOf(size_t size) {
  if (setjmp(lineMemoryUsedUp) != 0) return;
  while (allocateLine(size, "") != nullptr) continue;
}

// Takes every line that is to be had without an allocation, so that the next one needs one.
void useUpLineMemory() {
  usingUpLineMemory = true;
  for (size_t size = 1; size <= 8192; size += 8) useUpLinesOf(size);
  usingUpLineMemory = false;
}

HeldFile* const heldFiles[] = {&inputFile, &outputFile, &traceFile, &workFile, &preservedWorkFile};

std::filesystem::path scratchFolder;
std::filesystem::path formerFolder;

int32_t builtUserSlots = 0;
int32_t builtGroupSlots = 0;

char* lineOf(const std::string& text) { return copyLine(text.c_str(), ""); }

void freeCells(char** cells, size_t count) {
  for (size_t cell = 0; cell < count; cell++) {
    freeLine(cells[cell]);
    cells[cell] = nullptr;
  }
}

void dropCache() {
  if (secUser_dn == nullptr) return;
  const size_t users = static_cast<size_t>(builtUserSlots);
  const size_t groups = static_cast<size_t>(builtGroupSlots);
  freeCells(secUser_dn, users);
  freeCells(secPolicy_dn, users);
  freeCells(secGroup_dn, groups);
  for (const CacheMatrix* matrix : allMatrices) {
    const size_t rows = matrix->rows == &max_number_of_secuser_slots ? users : groups;
    freeCells(*matrix->cells, rows * static_cast<size_t>(matrix->columns));
    *matrix->occupied = 0;
  }
  deallocateObjectCache();
}

std::string outputOfDescriptor(int descriptor, FILE* stream, const std::function<void()>& step) {
  fflush(stream);
  const int former = dup(descriptor);
  const std::string name = "printed" + std::to_string(descriptor);
  const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  dup2(file, descriptor);
  close(file);
  step();
  fflush(stream);
  dup2(former, descriptor);
  close(former);
  return readFile(name);
}

}  // namespace

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);

void* __wrap_malloc(size_t size) { return takeFailure(failingAllocation) ? nullptr : __real_malloc(size); }
void* __wrap_calloc(size_t count, size_t size) {
  return takeFailure(failingAllocation) ? nullptr : __real_calloc(count, size);
}
void* __wrap_realloc(void* block, size_t size) {
  return takeFailure(failingReallocation) ? nullptr : __real_realloc(block, size);
}

ssize_t __real_pread(int descriptor, void* buffer, size_t size, off_t offset);

ssize_t __wrap_pread(int descriptor, void* buffer, size_t size, off_t offset) {
  if (failingRead == 0 || --failingRead > 0) return __real_pread(descriptor, buffer, size, offset);
  errno = EIO;
  return -1;
}
}

const std::vector<const CacheMatrix*> allMatrices = {
    &secUserMatrix,          &usersSecUserMatrix, &secPolicyDataMatrix,    &secPolicyMatrix,
    &secMapForSecUserMatrix, &secGroupMatrix,     &secMapForSecGroupMatrix};

void FreshRun::SetUp() {
  formerFolder = std::filesystem::current_path();
  std::string folder = testing::TempDir() + "unitXXXXXX";
  scratchFolder = mkdtemp(folder.data());
  std::filesystem::current_path(scratchFolder);

  failingAllocation = failingReallocation = failingRead = 0;
  debug = 0;
  debugError = 0;
  freeObject();
  next_available_object_slot = 0;
  nextLine[0] = '\0';
  changetypeSeen = 0;
  lastObjectExtent = {};
  objectClass = UNINTERESTING_OBJECTCLASS;
  strcpy(input_ldif_filename, "input");
  strcpy(output_ldif_filename, "output.ldif");
  strcpy(temp_input_ldif_filename, "input.tmp");
  debugFileName[0] = '\0';
  max_number_of_secuser_slots = 0;
  max_number_of_secgroup_slots = 0;
  writeObjectToLDIFFile = 0;
  forgetLeftObjects();
  hasTheStepOverFilePositionBeenInitialized = 0;
  filePositionOfFirstObjectSteppedOver = 0;
  for (HeldFile* file : heldFiles) *file = {};
  workFileLength = 0;
  workFileIsToBeRemoved = 0;
  outputIsComplete = 0;
  inputProblem[0] = '\0';
  objectsRead = 0;
  runCounts = {};
  forgetOverruns();
  messageDetails = {};
  messageReason[0] = '\0';
  messageSubject = nullptr;
}

void FreshRun::TearDown() {
  debug = 0;
  if (tfp != nullptr) fclose(tfp);
  tfp = nullptr;
  freeObject();
  dropCache();
  closeAllStreams();
  ifp = tifp = ofp = nullptr;
  for (HeldFile* file : heldFiles) closeHeldFile(*file);
  std::filesystem::current_path(formerFolder);
  std::filesystem::remove_all(scratchFolder);
}

std::string failureMessage(MessageCode code, const std::string& detail) {
  return "^tqldif2v6: " + std::to_string(code) + " ERROR: [^\n]*" + detail + "[^\n]*\n$";
}

std::string positionFailureThen(const std::string& call, MessageCode code) {
  return "^tqldif2v6: 380928301 ERROR: " + call +
         "\\(\\) failed with return code -1[^\n]*\ntqldif2v6: " + std::to_string(code) + " ERROR: [^\n]*\n$";
}

std::string outputOf(const std::function<void()>& step) { return outputOfDescriptor(STDOUT_FILENO, stdout, step); }
std::string messagesOf(const std::function<void()>& step) { return outputOfDescriptor(STDERR_FILENO, stderr, step); }

void echoToFile() {
  debugError = 1;
  if (freopen("echo", "w", stdout) == nullptr) abort();
}

std::string echoed() { return readFile("echo"); }

void startTrace() {
  if (tfp != nullptr) fclose(tfp);
  tfp = tmpfile();
  debug = 1;
}

std::string traced() {
  std::string text;
  rewind(tfp);
  for (int character = fgetc(tfp); character != EOF; character = fgetc(tfp)) {
    text += static_cast<char>(character);
  }
  return text;
}

void expectTraced(const Lines& texts) {
  const std::string trace = traced();
  size_t position = 0;
  for (const std::string& text : texts) {
    const size_t found = trace.find(text, position);
    if (found == std::string::npos) {
      ADD_FAILURE() << "Missing: \"" << text << "\" behind character " << position << " of the trace:\n" << trace;
      return;
    }
    position = found + text.size();
  }
}

void fillObject(const Lines& lines) {
  freeObject();
  next_available_object_slot = 0;
  for (const std::string& line : lines) appendLineToObject(lineOf(line));
}

Lines objectLines() {
  Lines lines;
  for (int32_t slot = 0; slot < next_available_object_slot; slot++) {
    lines.push_back(object[slot] == nullptr ? "(null)" : object[slot]);
  }
  return lines;
}

void writeFile(const std::string& name, const std::string& contents) {
  std::ofstream(name, std::ios::binary) << contents;
}

std::string readFile(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool exists(const std::string& name) { return std::filesystem::exists(std::filesystem::symlink_status(name)); }

Stream* openForUpdate(const std::string& name) { return openStream(open(name.c_str(), O_RDWR), STREAM_FROM_BEGINNING); }

Stream* openToCreate(const std::string& name) {
  return openStream(open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STREAM_FROM_BEGINNING);
}

void holdInput() {
  Place place;
  if (!openPlace(input_ldif_filename, place)) abort();
  if (!openHeldFile(place, OPEN_FOR_UPDATE, REGULAR_FILE, inputFile)) strcpy(inputProblem, messageReason);
}

void holdOutput() {
  if (!openOrCreateByPath(output_ldif_filename, OPEN_TO_WRITE, outputFile)) abort();
}

void holdWorkFile() {
  Place place;
  if (!openPlace(temp_input_ldif_filename, place)) abort();
  if (!openHeldFile(place, OPEN_OR_CREATE, PRIVATE_FILE, workFile)) abort();
  struct stat status;
  fstat(workFile.descriptor, &status);
  workFileLength = runCounts.bytesOfWorkFile = status.st_size;
}

void writeWorkFile(const std::string& contents) {
  writeFile(temp_input_ldif_filename, contents);
  holdWorkFile();
}

Stream* streamWithoutPositions() {
  mkfifo("pipe", 0600);
  return openForUpdate("pipe");
}

Stream* streamThatCannotBeWritten() {
  Stream* stream = openToCreate("/dev/full");
  writeText(stream, "x");
  flushStream(stream);
  return stream;
}

Stream* streamThatFailsAfter(size_t characters) {
  Stream* stream = openToCreate("/dev/full");
  writeText(stream, repeated(STREAM_WINDOW - characters - 1, "x").c_str());
  return stream;
}

void makeWritesFail(Stream* stream) {
  rlimit former;
  getrlimit(RLIMIT_FSIZE, &former);
  int64_t position = 0;
  getPosition(stream, &position);
  const std::string first(readLine(stream, 1));
  setPosition(stream, position);
  writeText(stream, first.c_str());
  limitFileSize(0);
  flushStream(stream);
  setrlimit(RLIMIT_FSIZE, &former);
  setPosition(stream, position);
}

static void setFileSizeLimit(rlim_t size) {
  rlimit limit;
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = std::min(size, limit.rlim_max);
  setrlimit(RLIMIT_FSIZE, &limit);
}

void limitFileSize(unsigned long size) {
  signal(SIGXFSZ, SIG_IGN);
  setFileSizeLimit(size);
  // A build that measures coverage writes its counts at the very end.
  atexit([] { setFileSizeLimit(RLIM_INFINITY); });
}

// Not for a build that measures coverage, which writes its counts at the very end.
static void succeedAtTheExit() {
  atexit([] { failingAllocation = failingReallocation = 0; });
}

void failNextAllocation() {
  useUpLineMemory();
  failingAllocation = 1;
  succeedAtTheExit();
}

void failNextReallocation() {
  failingReallocation = 1;
  succeedAtTheExit();
}

void exhaustMemoryIn(const std::function<void()>& step) {
  bool finished = false;
  for (int allocation = 1; !finished && !testing::Test::HasFailure(); allocation++) {
    const auto hasEnded = [&finished](int status) {
      finished = WIFEXITED(status) && WEXITSTATUS(status) == 0;
      return finished || testing::ExitedWithCode(255)(status);
    };
    EXPECT_EXIT((useUpLineMemory(), failingAllocation = allocation, step(), _exit(0)), hasEnded,
                "^(tqldif2v6: 380928300 ERROR: [^\n]*\n)?$");
  }
}

void failEveryReadIn(const std::function<void()>& step) {
  bool finished = false;
  for (int number = 1; !finished && !testing::Test::HasFailure(); number++) {
    const auto hasEnded = [&finished](int status) {
      finished = WIFEXITED(status) && WEXITSTATUS(status) == 0;
      return finished || testing::ExitedWithCode(255)(status);
    };
    EXPECT_EXIT((failingRead = number, step(), _exit(failingRead == 0 ? 1 : 0)), hasEnded,
                "^(tqldif2v6: 380928307 ERROR: [^\n]*\n)?$");
  }
}

void buildCache(int32_t userSlots, int32_t groupSlots) {
  dropCache();
  freeObject();
  max_number_of_secuser_slots = builtUserSlots = userSlots;
  max_number_of_secgroup_slots = builtGroupSlots = groupSlots;
  allocateObjectCache();
  initializeAllArrays();
  next_available_object_slot = 0;

  // A search in the empty cache, as every pass begins with one: the search index forgets former tests.
  fillObject({"dn: cn=nobody\n", "objectClass: secUser\n"});
  objectClass = SECUSER_OBJECTCLASS;
  learnIndexOfAssociatedSecUserDN();
  objectClass = SECGROUP_OBJECTCLASS;
  learnIndexOfAssociatedSecGroupDN();
  fillObject({});
}

void fillRow(const CacheMatrix& matrix, int32_t slot, const Lines& lines) {
  char** cell = *matrix.cells + slot * matrix.columns;
  for (const std::string& line : lines) *cell++ = lineOf(line);
  ++*matrix.occupied;
}

Lines rowLines(const CacheMatrix& matrix, int32_t slot) {
  Lines lines;
  for (char** cell = *matrix.cells + slot * matrix.columns; *cell != nullptr; cell++) lines.push_back(*cell);
  return lines;
}

void setDn(char** dns, int32_t slot, const std::string& dn) {
  freeLine(dns[slot]);
  dns[slot] = lineOf(dn);
}

void openUserSlot(const std::string& dn) {
  setDn(secUser_dn, next_available_secUser_dn_slot, dn);
  next_available_secUser_dn_slot++;
  secUser_dn_count++;
}

void openGroupSlot(const std::string& dn) {
  setDn(secGroup_dn, next_available_secGroup_dn_slot, dn);
  next_available_secGroup_dn_slot++;
  secGroup_dn_count++;
}

std::string taken(char* text) {
  std::string result = text == nullptr ? "(null)" : text;
  freeLine(text);
  return result;
}

std::string repeated(size_t count, const std::string& text) {
  std::string result;
  for (size_t i = 0; i < count; i++) result += text;
  return result;
}
