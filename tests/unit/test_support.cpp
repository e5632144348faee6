#include "test_support.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <memory_resource>
#include <new>

#include "cache/cache_slots.h"
#include "driver/pass.h"
#include "driver/pass_plan.h"
#include "ldif/line_reader.h"
#include "ldif/object_buffer.h"
#include "platform/message_details.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "workfile/notes.h"
#include "workfile/preparation_pass.h"
#include "workfile/work_file_cursor.h"
#include "workfile/work_text.h"

namespace {

constexpr size_t STREAM_WINDOW = 256 * 1024;

// Which of the coming allocations of each kind fails, counted from 1; 0 for none.
int failingAllocation = 0;
int failingReallocation = 0;
int failingOfBoth = 0;  // of these two
int failingMapping = 0;
int failingRead = 0;  // likewise for the reads

bool takeFailure(int& countdown) { return countdown != 0 && --countdown == 0; }

bool takeFailureOfMemory(int& countdown) {
  const bool isOfBoth = takeFailure(failingOfBoth);
  if (!takeFailure(countdown) && !isOfBoth) return false;
  errno = ENOMEM;
  return true;
}

void letAllSucceed() { failingAllocation = failingReallocation = failingOfBoth = failingMapping = failingRead = 0; }

// The memory of texts, which the library would take where its allocations cannot be made to fail.
class MemoryOfTexts : public std::pmr::memory_resource {
  void* do_allocate(size_t size, size_t) override { return ::operator new(size); }
  void do_deallocate(void* memory, size_t, size_t) override { ::operator delete(memory); }
  bool do_is_equal(const memory_resource& other) const noexcept override { return this == &other; }
};
// Outlives the texts, which are given back when a process ends.
MemoryOfTexts& memoryOfTexts = *new MemoryOfTexts;

// Takes all room that is to be had without an allocation, so that the next text needs one.
void useUpRoom() {
  // What they hold stays where it is: only a process that is going to end comes here.
  for (Texts* texts : {&objectTexts, &gatheredTexts, &newDns}) std::construct_at(texts);
}

HeldFile* const heldFiles[] = {&inputFile, &outputFile, &traceFile, &workFile, &preservedWorkFile};

std::filesystem::path scratchFolder;
std::filesystem::path formerFolder;

void dropCache() {
  for (const CacheMatrix* matrix : allMatrices) *matrix->occupied = 0;
  for (const CacheSide& side : cacheSides) *side.nextSlot = *side.count = 0;
  deallocateObjectCache();
  gatheredTexts.release();
}

// What the run knows of its work file, and the file in memory.
void forgetWorkFile() {
  forgetPlan();
  forgetNotes();
  unmapWorkFile();
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

// A build whose allocations are the tests' to let fail: what is linked calls these in place of the real ones.
#if SIZE_MAX > UINT32_MAX
#define REAL(wide, narrow) __real_##wide
#define WRAP(wide, narrow) __wrap_##wide
#else
#define REAL(wide, narrow) __real_##narrow
#define WRAP(wide, narrow) __wrap_##narrow
#endif
extern "C" {
void* REAL(_Znwm, _Znwj)(size_t size);
void* REAL(_Znam, _Znaj)(size_t size);
void* __real_realloc(void* block, size_t size);
void* REAL(mmap, mmap64)(void* address, size_t length, int protection, int flags, int descriptor, off_t offset);
ssize_t REAL(pread, pread64)(int descriptor, void* buffer, size_t size, off_t offset);

void* WRAP(_Znwm, _Znwj)(size_t size) {
  if (takeFailureOfMemory(failingAllocation)) std::get_new_handler()();
  return REAL(_Znwm, _Znwj)(size);
}
void* WRAP(_Znam, _Znaj)(size_t size) {
  if (takeFailureOfMemory(failingAllocation)) std::get_new_handler()();
  return REAL(_Znam, _Znaj)(size);
}
void* __wrap_realloc(void* block, size_t size) {
  return takeFailureOfMemory(failingReallocation) ? nullptr : __real_realloc(block, size);
}
void* WRAP(mmap, mmap64)(void* address, size_t length, int protection, int flags, int descriptor, off_t offset) {
  if (!takeFailure(failingMapping)) return REAL(mmap, mmap64)(address, length, protection, flags, descriptor, offset);
  errno = ENOMEM;
  return reinterpret_cast<void*>(-1);
}
ssize_t WRAP(pread, pread64)(int descriptor, void* buffer, size_t size, off_t offset) {
  if (!takeFailure(failingRead)) return REAL(pread, pread64)(descriptor, buffer, size, offset);
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

  letAllSucceed();
  std::pmr::set_default_resource(&memoryOfTexts);
  std::set_new_handler([] { exitWithMessage(MEMORY_EXHAUSTED); });
  debug = 0;
  debugError = 0;
  freeObject();
  gatheredTexts.release();
  nextLine[0] = '\0';
  lineNum = 0;
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
  forgetWorkFile();
  isPassAnnounced = false;
  atLeastOneObjectProcessed = 0;
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
  messageSubject = {};
  stepBeforeFailure = nullptr;
}

void FreshRun::TearDown() {
  letAllSucceed();
  debug = 0;
  if (tfp != nullptr) fclose(tfp);
  tfp = nullptr;
  freeObject();
  dropCache();
  forgetWorkFile();
  closeAllStreams();
  ifp = tifp = ofp = nullptr;
  for (HeldFile* file : heldFiles) closeHeldFile(*file);
  std::filesystem::current_path(formerFolder);
  std::filesystem::remove_all(scratchFolder);
  std::set_new_handler(nullptr);
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
  for (const std::string& line : lines) appendLineToObject(scanLine(keepText(objectTexts, line)));
}

Lines objectLines() {
  Lines lines;
  for (const Line& line : entryInObject()) lines.push_back(shown(line.view()));
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

void failNextAllocation() {
  useUpRoom();
  failingAllocation = 1;
}

void failNextReallocation() { failingReallocation = 1; }

void failNextMapping() { failingMapping = 1; }

void expectNoAllocationIn(const std::function<void()>& step) {
  EXPECT_EXIT((failNextAllocation(), step(), _exit(0)), testing::ExitedWithCode(0), "^$");
}

void exhaustMemoryIn(const std::function<void()>& step) {
  bool finished = false;
  for (int allocation = 1; !finished && !testing::Test::HasFailure(); allocation++) {
    const auto hasEnded = [&](int status) {
      finished = WIFEXITED(status) && WEXITSTATUS(status) == 0;
      return finished ? allocation > 1 : testing::ExitedWithCode(255)(status);
    };
    EXPECT_EXIT((useUpRoom(), failingOfBoth = allocation, step(), _exit(failingOfBoth == 0 ? 1 : 0)), hasEnded,
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
  max_number_of_secuser_slots = userSlots;
  max_number_of_secgroup_slots = groupSlots;
  allocateObjectCache();
  initializeAllArrays();
}

// The text of a row, as the moves put it together.
static std::string textOf(Lines::const_iterator first, Lines::const_iterator end) {
  std::string text;
  for (auto line = first; line != end; ++line) {
    text += *line;
    if (line->size() < LONGEST_LINE && !line->ends_with('\n')) text += '\0';
  }
  return text;
}

void fillRow(const CacheMatrix& matrix, int32_t slot, const Lines& lines) {
  for (auto first = lines.begin(); first != lines.end(); ++slot) {
    const auto end = first + std::min<ptrdiff_t>(matrix.columns, lines.end() - first);
    const std::string_view text = keepText(gatheredTexts, textOf(first, end));
    makeRoomForSlot(matrix.side, slot);
    (*matrix.rows)[slot] = {text.data(), static_cast<uint32_t>(text.size()), static_cast<int16_t>(end - first), true};
    first = end;
  }
  ++*matrix.occupied;
}

Lines rowLines(const CacheMatrix& matrix, int32_t slot) {
  std::vector<Line> room;
  Lines texts;
  for (const Line& line : linesOfRow(matrix, slot, room)) texts.emplace_back(line.view());
  return texts;
}

void setDn(std::string_view*& dns, int32_t slot, const std::string& dn) {
  makeRoomForSlot(&dns == &secGroup_dn ? GROUP_SIDE : USER_SIDE, slot);
  dns[slot] = keepText(gatheredTexts, dn);
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

std::string shown(std::string_view text) { return text.data() == nullptr ? "(null)" : std::string(text); }

std::string inLowerCase(std::string_view text) {
  std::string result(text);
  for (char& character : result)
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  return result;
}

std::string repeated(size_t count, const std::string& text) {
  std::string result;
  for (size_t i = 0; i < count; i++) result += text;
  return result;
}
