#include "check/split.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iterator>
#include <string>
#include <vector>

#include "platform/message_details.h"
#include "platform/open_file.h"
#include "survey/file_walk.h"
#include "survey/program_end.h"

// A file that is written under another name until it is whole. Without its own name it goes away with this.
struct NewFile {
  std::string name;
  std::string unfinished;  // the other name; empty when it has its own
  FILE* stream = nullptr;

  NewFile() = default;
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile() {
    if (stream != nullptr) fclose(stream);
    if (!unfinished.empty()) unlink(unfinished.c_str());
    std::replace(std::begin(filesToRemove), std::end(filesToRemove), unfinished.c_str(),
                 static_cast<const char*>(nullptr));
  }
};

// Signals wait while one of these lives.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

 private:
  sigset_t before_;
};

// Asked before anything is written, so that a name that cannot be given to a file takes no earlier file with it. A pipe
// or a device is none that may be replaced, and a symbolic link, as the names of the standard streams are, would be
// lost to whoever else goes by it.
static bool mayBeReplaced(const char* name) {
  struct stat status;
  if (lstat(name, &status) != 0) return (errno == ENOENT && *name != '\0') || failWith();
  return S_ISREG(status.st_mode) || failWith("it is not a regular file");
}

static bool beginFile(NewFile& file, const char* name, size_t number) {
  file.name = name;
  file.unfinished = file.name + ".XXXXXX";
  const BlockedSignals untilItsNameIsKnown;
  // In the folder of the file that it will be, so that it can be renamed; and for its user's eyes alone, as the input
  // should be.
  const int descriptor = mkostemp(file.unfinished.data(), O_CLOEXEC);
  if (descriptor < 0) return failWith();
  fchmod(descriptor, S_IRUSR | S_IWUSR);  // whatever the umask takes away
  filesToRemove[number] = file.unfinished.c_str();
  file.stream = fdopen(descriptor, "w");
  if (file.stream == nullptr) close(descriptor);
  return file.stream != nullptr || failWith();
}

static bool write(NewFile& file, SurveyedFile& input, uint64_t from, uint64_t to) {
  constexpr size_t STEP = size_t{1} << 20U;
  while (from < to) {
    const auto length = static_cast<size_t>(std::min<uint64_t>(to - from, STEP));
    if (fwrite(textFrom(input, from, length).data(), 1, length, file.stream) != length) return failWith();
    from += length;
  }
  return true;
}

// What has not reached the disk must not be called whole: the administrator may remove the input next.
static bool finish(NewFile& file) {
  const bool isSynced = fflush(file.stream) == 0 && fsync(fileno(file.stream)) == 0;
  const bool hasFailed = !isSynced && !failWith();
  const bool isClosed = fclose(file.stream) == 0;
  file.stream = nullptr;
  return !hasFailed && (isClosed || failWith());
}

static bool syncFolderOf(const std::string& name) {
  const size_t slash = name.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : name.substr(0, slash + 1);
  // A new name is safe once its folder is.
  const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  // One that may be written to and not read cannot be asked for it, and has the names all the same.
  if (descriptor < 0) return errno == EACCES || failWith();
  const bool isSynced = fsync(descriptor) == 0 || failWith();
  close(descriptor);
  return isSynced;
}

static bool hasOwnProblem(const GatheredEntry& entry) { return entry.endsPreparation || entry.problem != NO_DETAIL; }

static bool isRejected(const Registry& registry, const GatheredEntry& entry) {
  return hasOwnProblem(entry) || (entry.owner != NONE && registry.owners[entry.owner].isRejected);
}

// An entry of the input that has become several in the work file goes as a whole, and takes the owners of all of them
// along.
class OwnerRejection {
 public:
  explicit OwnerRejection(Registry& registry) : registry_(registry), isTaken_(registry.entries.size()) {}

  void rejectAll() {
    for (uint32_t i = 0; i < registry_.owners.size(); ++i)
      if (!registry_.owners[i].isRegular || registry_.owners[i].hasProblem) reject(i);
    for (uint32_t i = 0; i < registry_.entries.size(); ++i)
      if (hasOwnProblem(registry_.entries[i])) rejectPartsBeside(i);
    // Each owner that is rejected can reject entries that hold parts of other owners.
    while (!awaiting_.empty()) {
      const uint32_t owner = awaiting_.back();
      awaiting_.pop_back();
      for (const uint32_t i : entriesOf(registry_, registry_.owners[owner])) rejectPartsBeside(i);
    }
  }

 private:
  void reject(uint32_t owner) {
    if (registry_.owners[owner].isRejected) return;
    registry_.owners[owner].isRejected = true;
    awaiting_.push_back(owner);
  }

  void rejectPartsBeside(uint32_t number) {
    const uint32_t first = number - registry_.entries[number].part;
    if (isTaken_[first]) return;
    isTaken_[first] = true;
    const uint64_t begin = registry_.entries[first].begin;
    for (uint32_t i = first; i < registry_.entries.size() && registry_.entries[i].begin == begin; ++i)
      if (registry_.entries[i].owner != NONE) reject(registry_.entries[i].owner);
  }

  Registry& registry_;
  std::vector<bool> isTaken_;       // by the number of the first part
  std::vector<uint32_t> awaiting_;  // owners whose entries have not been looked at yet
};

// Says of each entry of the input, in their order, whether it goes.
struct Rejections {
  const Prediction& prediction;
  uint32_t next = 0;      // of the entries that are gathered
  size_t nextCopied = 0;  // of those that are not, and end the preparation
};

static bool isNextRejected(Rejections& rejections, uint64_t begin) {
  const Registry& registry = rejections.prediction.registry;
  bool isAny = false;
  for (; rejections.next < registry.entries.size() && registry.entries[rejections.next].begin == begin;
       ++rejections.next)
    isAny = isAny || isRejected(registry, registry.entries[rejections.next]);
  const auto& copied = rejections.prediction.entriesThatEndPreparation;
  if (rejections.nextCopied < copied.size() && copied[rejections.nextCopied] == begin) {
    ++rejections.nextCopied;
    isAny = true;
  }
  return isAny;
}

static bool writeEntries(SurveyedFile& input, SurveyedFile& again, const Prediction& prediction, NewFile (&files)[2]) {
  Rejections rejections = {prediction};
  // An entry takes along what stands before it since the last one, comments and blank lines, so that no byte is left
  // out. What follows the last entry goes with it.
  uint64_t written = 0;
  size_t last = 0;
  bool areWritten = true;
  ReadEntry entry;
  walkEntries(input, entry, [&](EntryWalk& walk, uint64_t textBegin) {
    const uint64_t begin = textBegin + entry.begin;
    Line line;
    while (entry.isOversized && takeOversizedLine(walk, entry, line)) {
    }
    last = isNextRejected(rejections, begin) ? 1 : 0;
    areWritten = write(files[last], again, written, textBegin + entry.end);
    written = textBegin + entry.end;
    return areWritten;
  });
  return areWritten && write(files[last], again, written, input.size);
}

// Returns null, or the name of the file that cannot be made.
static const char* makeFiles(SurveyedFile& file, SurveyedFile& again, const Prediction& prediction,
                             const CheckOptions& options, NewFile (&files)[2]) {
  for (const char* const name : {options.good, options.rejected})
    if (!mayBeReplaced(name)) return name;
  if (!beginFile(files[0], options.good, 0)) return options.good;
  if (!beginFile(files[1], options.rejected, 1)) return options.rejected;
  if (!writeEntries(file, again, prediction, files))
    return ferror(files[0].stream) != 0 ? options.good : options.rejected;
  if (!finish(files[0])) return options.good;
  if (!finish(files[1])) return options.rejected;
  // Had somebody changed the input meanwhile, the two halves would be those of no file there ever was.
  return isUnchanged(file) ? nullptr : options.input;
}

// Gives an earlier file of that name another one, under which it can come back. Some file systems have no second names;
// there it is without one for a moment.
static bool putAside(const NewFile& file, const std::string& aside) {
  const bool isAside = link(file.name.c_str(), aside.c_str()) == 0 || rename(file.name.c_str(), aside.c_str()) == 0;
  return isAside || errno == ENOENT || failWith();
}

static bool giveName(NewFile& file) {
  if (rename(file.unfinished.c_str(), file.name.c_str()) != 0) return failWith();
  file.unfinished.clear();
  return true;
}

// Gives both files their names. Where the second one does not get its own, the first gives way to what was there.
static const char* renameFiles(NewFile (&files)[2], const CheckOptions& options) {
  const BlockedSignals untilBothHaveTheirNames;
  const std::string aside = files[0].unfinished + "~";
  if (!putAside(files[0], aside)) return options.good;
  const bool hasFirst = giveName(files[0]);
  if (!hasFirst || !giveName(files[1])) {
    // Of two names of one file neither goes away by that.
    if (rename(aside.c_str(), files[0].name.c_str()) == 0)
      unlink(aside.c_str());
    else if (hasFirst)
      unlink(files[0].name.c_str());
    return hasFirst ? options.rejected : options.good;
  }
  unlink(aside.c_str());
  if (!syncFolderOf(files[0].name)) return options.good;
  return syncFolderOf(files[1].name) ? nullptr : options.rejected;
}

const char* splitInput(SurveyedFile& file, SurveyedFile& again, Prediction& prediction, const CheckOptions& options) {
  OwnerRejection(prediction.registry).rejectAll();
  // Neither is worth anything without the other.
  NewFile files[2];
  const char* const failed = makeFiles(file, again, prediction, options, files);
  return failed != nullptr ? failed : renameFiles(files, options);
}
