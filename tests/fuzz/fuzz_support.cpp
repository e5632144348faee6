#include "fuzz_support.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <iterator>

#include "cache/cache_slots.h"
#include "cache/object_cache.h"
#include "cache/owner_association.h"
#include "driver/pass.h"
#include "driver/pass_plan.h"
#include "kept_memory.h"
#include "ldif/line_reader.h"
#include "ldif/object_buffer.h"
#include "output/add_entry_writers.h"
#include "output/new_dn.h"
#include "platform/message_catalogue.h"
#include "platform/message_details.h"
#include "platform/message_service.h"
#include "platform/message_translation.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "rules/merge.h"
#include "workfile/notes.h"
#include "workfile/preparation_pass.h"
#include "workfile/work_file_cursor.h"
#include "workfile/work_text.h"

std::vector<uint32_t> messages;
std::string shownText;

// Standard error as it was before the fuzzer silenced it.
static int findings = STDERR_FILENO;

// The linker sends the calls of the conversion here.
extern "C" {

[[noreturn]] void __real_exit(int status);
int __real_atexit(void (*function)());
time_t __real_time(time_t* result);
void __real_zr_printf_utf8(uint32_t code, ...);

[[noreturn]] void __wrap_exit(int status) {
  if (!isRunning) __real_exit(status);
  isRunning = false;
  require(status == -1, "a run ends by exit only when it has failed");
  longjmp(endOfRun, 1);
}

int __wrap_atexit(void (*function)()) { return isRunning ? 0 : __real_atexit(function); }

// The moment of INSTALL_DATE.
time_t __wrap_time(time_t* result) {
  constexpr time_t MOMENT = 1'700'000'000;
  return isRunning && result == nullptr ? MOMENT : __real_time(result);
}

void __wrap_zr_printf_utf8(uint32_t code, ...) {
  const bool wasRunning = isRunning;
  isRunning = false;
  messages.push_back(code);
  isRunning = wasRunning;
  const bool hasText = code == POSITION_CALL_FAILED || (code >= FILE_NOT_OPENED && code <= OBJECT_NOT_READ);
  va_list arguments;
  va_start(arguments, code);
  const char* text = hasText ? va_arg(arguments, const char*) : nullptr;
  const int32_t number = code == POSITION_CALL_FAILED ? va_arg(arguments, int32_t) : 0;
  va_end(arguments);
  __real_zr_printf_utf8(code, text, number);
}

// A run that ends early keeps its memory until beginRun. The rest is for speed.
const char* __asan_default_options() { return "detect_leaks=0:quarantine_size_mb=16:malloc_context_size=10"; }

static void removeScratchFolder() {
  for (const char* name : {"input", "input.tmp", "output", PRESERVED_WORK_FILE}) unlink(name);
  char folder[FILE_NAME_SIZE];
  if (getcwd(folder, sizeof folder) != nullptr) rmdir(folder);
}

// Takes what is written to a standard stream.
static ssize_t keepShown(void*, const char* text, size_t length) {
  const bool wasRunning = isRunning;
  isRunning = false;
  shownText.append(text, length);
  isRunning = wasRunning;
  return static_cast<ssize_t>(length);
}

static FILE* openShown() {
  FILE* stream = fopencookie(nullptr, "w", {nullptr, keepShown, nullptr, nullptr});
  require(stream != nullptr && setvbuf(stream, nullptr, _IONBF, 0) == 0, "there is memory for a standard stream");
  return stream;
}

static void enterScratchFolder() {
  const char* parent = getenv("TMPDIR");
  std::string folder = std::string(parent != nullptr ? parent : "/tmp") + "/fuzz-XXXXXX";
  require(mkdtemp(folder.data()) != nullptr && chdir(folder.c_str()) == 0, "there is room for a scratch folder");
  __real_atexit(removeScratchFolder);
}

int LLVMFuzzerInitialize(int* argumentCount, char*** arguments) {
  // Names on the command line keep their meaning in the scratch folder.
  const std::string here = std::filesystem::current_path();
  static std::vector<std::string> words = {(*arguments)[0], "-detect_leaks=0", "-artifact_prefix=" + here + "/"};
  for (int i = 1; i < *argumentCount; ++i) {
    const bool isName = (*arguments)[i][0] != '-' && (*arguments)[i][0] != '/';
    words.push_back((isName ? here + "/" : "") + (*arguments)[i]);
  }
  static std::vector<char*> changed;
  for (std::string& word : words) changed.push_back(word.data());
  *argumentCount = static_cast<int>(changed.size());
  changed.push_back(nullptr);
  *arguments = changed.data();
  enterScratchFolder();
  findings = dup(STDERR_FILENO);

  // What the first run would take and later ones rely upon.
  recordKeptMemory();
  stdout = openShown();
  stderr = openShown();
  setenv("TZ", "UTC0", 1);
  const time_t now = 0;
  localtime(&now);
  textInLanguage(*findCatalogueMessage(CONVERSION_BEGINS));
  for (const Side side : {USER_SIDE, GROUP_SIDE}) isShutOut(side, 0);  // looks into the index, the limits being 0
  return 0;
}

}  // extern "C"

uint32_t codeOfFailure() {
  const uint32_t code = messages.empty() ? 0 : messages.back();
  require(code == PROCESSING_FAILED || code == ROW_ALREADY_OCCUPIED, "a run that fails on sound files names the entry");
  return code;
}

void require(bool condition, const char* expectation) {
  if (condition) return;
  dprintf(findings, "FINDING: not true: %s\n", expectation);
  abort();
}

FuzzInput unpack(const uint8_t* data, size_t size, size_t limit) {
  constexpr char REPEATED_LINE = 0x1E;
  constexpr char REPEATED_CHARACTER = 0x1F;
  if (size == 0) return {0, ""};
  FuzzInput input = {data[0], ""};
  std::string& text = input.text;
  for (size_t i = 1; i < size && text.size() < limit; ++i) {
    const char character = static_cast<char>(data[i]);
    const bool isMark = character == REPEATED_LINE || character == REPEATED_CHARACTER;
    if (!isMark) {
      text += character;
    } else if (++i < size && !text.empty()) {
      if (character == REPEATED_CHARACTER) {
        text.append(size_t{16} * data[i], text.back());
      } else {
        const size_t before = text.size() < 2 ? std::string::npos : text.rfind('\n', text.size() - 2);
        const std::string line = text.substr(before == std::string::npos ? 0 : before + 1);
        for (unsigned count = 0; count < data[i] && text.size() < limit; ++count) text += line;
      }
    }
  }
  if (text.size() > limit) text.resize(limit);
  return input;
}

std::string takePart(std::string& text) {
  constexpr char PART_END = 0x1D;
  const size_t end = text.find(PART_END);
  const std::string part = text.substr(0, end);
  text.erase(0, end == std::string::npos ? end : end + 1);
  return part;
}

static void resetCache() {
  deallocateObjectCache();
  forgetOverruns();
  for (const CacheSide& side : cacheSides) {
    *side.nextSlot = *side.count = 0;
    memset(side.savedDn, 0, SAVED_DN_SIZE);
  }
  for (const CacheMatrix& matrix : matrices) *matrix.occupied = 0;
  max_number_of_secuser_slots = max_number_of_secgroup_slots = 0;
  forgetOwnersOfPass();
}

static void resetBuffers() {
  std::fill_n(object, std::max(next_available_object_slot, 1), Line());
  next_available_object_slot = 0;
  for (Texts* texts : {&objectTexts, &gatheredTexts, &newDns}) texts->release();
  for (std::vector<Line>* lines : {&ownLines, &otherLines}) std::vector<Line>().swap(*lines);
  memset(nextLine, 0, sizeof nextLine);
  memset(tempString, 0, sizeof tempString);
  memset(tempDN, 0, sizeof tempDN);
  for (char* buffer : {principalName, cnFromSecGroupObject}) memset(buffer, 0, NAME_SIZE);
  for (char* name : {input_ldif_filename, output_ldif_filename, temp_input_ldif_filename, debugFileName}) *name = '\0';
  memset(messageReason, 0, sizeof messageReason);
  messageSubject = {};
}

static void closeFiles() {
  // What the trace is written to is closed with it.
  if (tfp != nullptr) {
    fclose(tfp);
    traceFile.descriptor = -1;
  }
  tfp = nullptr;
  debug = debugError = 0;
  closeAllStreams();
  for (HeldFile* file : {&inputFile, &outputFile, &traceFile, &workFile, &preservedWorkFile}) closeHeldFile(*file);
  ifp = tifp = ofp = nullptr;
}

void beginRun() {
  closeFiles();
  stepBeforeFailure = nullptr;
  forgetPlan();
  forgetNotes();
  unmapWorkFile();
  resetCache();
  resetBuffers();
  takeBackMemory();  // behind all that gives its memory back itself

  objectClass = UNINTERESTING_OBJECTCLASS;
  lineNum = changetypeSeen = 0;
  lastObjectExtent = {};
  filePositionBeforeReadingObject = filePositionAfterReadingObject = filePositionOfFirstObjectSteppedOver = 0;
  filePositionBeforeReadingObject_ftell = filePositionAfterReadingObject_ftell = 0;
  filePositionOfFirstObjectSteppedOver_ftell = 0;
  hasTheStepOverFilePositionBeenInitialized = 0;
  atLeastOneObjectProcessed = writeObjectToLDIFFile = 0;
  isPassAnnounced = false;
  workFileIsToBeRemoved = 0;
  outputIsComplete = 0;
  workFileLength = objectsRead = 0;
  runCounts = {};
  messageDetails = {};
  inputProblem[0] = '\0';
  messages.clear();
  shownText.clear();
}

void startTrace() {
  tfp = fopen("/dev/null", "w");
  debug = 1;
}

std::vector<Line> tableOf(const Lines& lines, Texts& texts) {
  std::vector<Line> table;
  for (const std::string& line : lines) table.push_back(scanLine(keepText(texts, line)));
  return table;
}

Lines linesOf(Entry entry) {
  Lines lines;
  for (const Line& line : entry)
    if (isLeft(line)) lines.emplace_back(line.view());
  return lines;
}

void fillObject(const Lines& lines) {
  freeObject();
  for (const Line& line : tableOf(lines, objectTexts)) appendLineToObject(line);
}

Lines objectLines() { return linesOf(entryInObject()); }

void writeFile(const char* name, const std::string& contents) {
  const int file = open(name, O_WRONLY | O_CREAT | O_TRUNC, 0600);
  require(write(file, contents.data(), contents.size()) == static_cast<ssize_t>(contents.size()),
          "the scratch folder has room");
  close(file);
}

std::string readFile(const char* name) {
  struct stat status = {};
  const int file = open(name, O_RDONLY);
  if (file < 0) return "";
  fstat(file, &status);
  std::string contents(static_cast<size_t>(status.st_size), '\0');
  require(read(file, contents.data(), contents.size()) == status.st_size, "the file can be read");
  close(file);
  return contents;
}

Stream* openForUpdate(const char* name) { return openStream(open(name, O_RDWR), STREAM_FROM_BEGINNING); }

Stream* openToCreate(const char* name) {
  return openStream(open(name, O_WRONLY | O_CREAT | O_TRUNC, 0600), STREAM_FROM_BEGINNING);
}

bool exists(const char* name) { return access(name, F_OK) == 0; }
