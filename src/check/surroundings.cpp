#include "check/surroundings.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string>

#include "check/run_needs.h"
#include "rules/text.h"
#include "survey/spellings.h"

static std::string folderOf(const char* input) {
  const std::filesystem::path folder = std::filesystem::path(input).parent_path();
  return folder.empty() ? "." : folder.string();
}

// A file system has names of so many characters, and a folder is written to where it gets a file.
static bool mayBeMade(const std::string& name, const std::string& folder) {
  const long longest = pathconf(folder.c_str(), _PC_NAME_MAX);
  const size_t length = std::filesystem::path(name).filename().string().size();
  return (longest < 0 || length <= static_cast<size_t>(longest)) &&
         faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

// The conversion goes on with a work file that an earlier run may have left, and with nothing that somebody else may
// have laid in its place.
static bool mayBeLeft(const std::string& name, const struct stat& status) {
  return S_ISREG(status.st_mode) && status.st_nlink == 1 && status.st_uid == geteuid() &&
         faccessat(AT_FDCWD, name.c_str(), R_OK | W_OK, AT_EACCESS) == 0;
}

MessageCode findFileProblems(const char* input, FindingSink& findings) {
  // The names of the work file and of its copy are the input's and four characters more, and must fit into a path.
  constexpr size_t LONGEST_NAME = 4091;
  const std::string name = input;
  if (name.size() > LONGEST_NAME) {
    findings.take({INPUT_NAME_IS_TOO_LONG});
    return USAGE_ERROR;
  }
  struct stat status;
  const std::string workFile = name + ".tmp";
  const bool isThere = lstat(workFile.c_str(), &status) == 0;
  const bool isOfEarlierRun = isThere && mayBeLeft(workFile, status);
  if (isOfEarlierRun) findings.take({WORK_FILE_IS_THERE});
  // The converter opens its input for writing, although it does not write there: it refuses what its user may not
  // change. Asked with the rights that the user has at the moment.
  const bool isWritable = faccessat(AT_FDCWD, input, W_OK, AT_EACCESS) == 0;
  if (!isWritable) findings.take({INPUT_IS_NOT_WRITABLE});
  const bool isPossible = isOfEarlierRun || (!isThere && mayBeMade(workFile, folderOf(input)));
  if (!isPossible) findings.take({WORK_FILE_IS_NOT_POSSIBLE});
  return isWritable && isPossible ? MessageCode{0} : FILE_NOT_OPENED;
}

// How files begin that are packed, or in a character set that is none of single bytes.
// A file of these would convert without an error: every line of it would be copied, or taken for part of an entry.
static constexpr std::string_view foreignBegins[] = {"\x1F\x8B",         "PK\x03\x04", "BZh",     "\xFD\x37zXZ",
                                                     "\x28\xB5\x2F\xFD", "\xFF\xFE",   "\xFE\xFF"};

// Characters of two bytes, of which the first is a NUL, as a file in that set begins that has no mark.
static bool beginsWithWideCharacters(std::string_view text) {
  constexpr size_t WIDTH = 2;
  return text.size() >= 2 * WIDTH && text[0] == '\0' && text[1] != '\0' && text[WIDTH] == '\0';
}

// A byte-order mark in front of it is a finding of its own.
static bool beginsLikeLdif(std::string_view text) {
  text = withoutMark(text);
  while (text.starts_with('#')) text.remove_prefix(std::min(text.find('\n'), text.size() - 1) + 1);
  return isSameInAnyCase(text.substr(0, 3), "dn:") || isSameInAnyCase(text.substr(0, 8), "version:");
}

void findWholeProblems(const char* input, std::string_view text, const Prediction& prediction, FindingSink& findings) {
  const SurveyCounts& counts = prediction.counts;
  const bool isForeign =
      beginsWithWideCharacters(text) || std::any_of(std::begin(foreignBegins), std::end(foreignBegins),
                                                    [&](std::string_view begin) { return text.starts_with(begin); });
  // Text without a single DN is a table, a log, or a script.
  const bool isNotLdif = isForeign || (counts.entries > 0 && !prediction.hasDn && !beginsLikeLdif(text));
  if (isNotLdif) findings.take({NOT_LDIF});
  if (counts.entries == 0 && !isForeign) findings.take({INPUT_IS_EMPTY});
  if (prediction.registry.owners.empty() && counts.entries > 0 && !isNotLdif) findings.take({NOTHING_TO_CONVERT});
  struct statvfs disk;
  if (statvfs(folderOf(input).c_str(), &disk) != 0) return;
  // What a user other than root may fill.
  const uint64_t room = uint64_t{disk.f_bavail} * disk.f_frsize;
  if (room < diskOfRun(prediction) + prediction.outputBytes) findings.take({NO_ROOM_ON_DISK});
}

bool isFolderInMemory(const char* input) {
  struct statfs status;
  return statfs(folderOf(input).c_str(), &status) == 0 && status.f_type == TMPFS_MAGIC;
}
