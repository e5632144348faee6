#include "platform/open_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "platform/message_details.h"
#include "test_support.h"

namespace {

class OpenFile : public FreshRun {
 protected:
  static Place placeOf(const char* path) {
    Place place;
    EXPECT_TRUE(openPlace(path, place));
    return place;
  }
  static HeldFile opened(const char* path, OpenMode mode, FileKind kind) {
    HeldFile file;
    openHeldFile(placeOf(path), mode, kind, file);
    return file;
  }
  static mode_t permissionsOf(const char* name) {
    struct stat status;
    stat(name, &status);
    return status.st_mode & 0777U;
  }
};

struct KindCase {
  const char* name;
  const char* file;
  FileKind kind;
  bool opens;
};
class Kind : public OpenFile, public testing::WithParamInterface<KindCase> {};
const KindCase kindCases[] = {
    {"UserMayNameAFile", "file", NAMED_BY_USER, true},
    {"UserMayNameALink", "symbolic", NAMED_BY_USER, true},
    {"UserMayNameADevice", "/dev/null", NAMED_BY_USER, true},
    {"RegularFile", "file", REGULAR_FILE, true},
    {"RegularFileThroughALink", "symbolic", REGULAR_FILE, true},
    {"PipeIsNoRegularFile", "pipe", REGULAR_FILE, false},
    {"DeviceIsNoRegularFile", "/dev/null", REGULAR_FILE, false},
    {"FolderIsNoRegularFile", "folder", REGULAR_FILE, false},
    {"FolderWithASlashIsNoRegularFile", "folder/", REGULAR_FILE, false},
    {"PrivateFile", "file", PRIVATE_FILE, true},
    {"LinkIsNotPrivate", "symbolic", PRIVATE_FILE, false},
    {"FileOfTwoNamesIsNotPrivate", "hard", PRIVATE_FILE, false},
    {"PipeIsNotPrivate", "pipe", PRIVATE_FILE, false},
    {"DeviceIsNotPrivate", "/dev/null", PRIVATE_FILE, false},
    {"PrivateFileWhereADeviceMayBe", "file", PRIVATE_FILE_OR_DEVICE, true},
    {"DeviceWhereAPrivateFileMayBe", "/dev/null", PRIVATE_FILE_OR_DEVICE, true},
    {"LinkIsNeither", "symbolic", PRIVATE_FILE_OR_DEVICE, false},
    {"FileOfTwoNamesIsNeither", "hard", PRIVATE_FILE_OR_DEVICE, false},
    {"PipeIsNeither", "pipe", PRIVATE_FILE_OR_DEVICE, false},
};
INSTANTIATE_CASES(Kind, kindCases);
TEST_P(Kind, DecidesWhatOpens) {
  writeFile("file", "text\n");
  writeFile("target", "text\n");
  ASSERT_EQ(symlink("file", "symbolic"), 0);
  ASSERT_EQ(link("target", "hard"), 0);
  mkfifo("pipe", 0600);
  mkdir("folder", 0700);
  for (OpenMode mode : {OPEN_FOR_UPDATE, OPEN_OR_CREATE, OPEN_TO_WRITE}) {
    messageReason[0] = '\0';
    const HeldFile file = opened(GetParam().file, mode, GetParam().kind);
    EXPECT_EQ(file.descriptor >= 0, GetParam().opens) << mode;
    EXPECT_EQ(messageReason[0] == '\0', GetParam().opens) << mode;
    EXPECT_FALSE(file.isNew);
    if (GetParam().opens) {
      EXPECT_EQ(fcntl(file.descriptor, F_GETFL) & O_NONBLOCK, 0);
    }
  }
  EXPECT_EQ(readFile("target") + readFile("file"), "text\ntext\n");
}

TEST_F(OpenFile, OfAnotherUserIsNotPrivate) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give files away";
  writeFile("file", "text\n");
  ASSERT_EQ(chown("file", 12345, 12345), 0);
  EXPECT_LT(opened("file", OPEN_FOR_UPDATE, PRIVATE_FILE).descriptor, 0);
}

TEST_F(OpenFile, MustBeThereToBeUpdated) {
  EXPECT_LT(opened("missing", OPEN_FOR_UPDATE, REGULAR_FILE).descriptor, 0);
  EXPECT_STREQ(messageReason, "No such file or directory");
  EXPECT_FALSE(exists("missing"));
}

TEST_F(OpenFile, IsOfItsOwnerAloneWhenItIsNew) {
  for (const mode_t mask : {0U, 022U, 0277U}) {
    umask(mask);
    EXPECT_TRUE(opened("new", OPEN_OR_CREATE, PRIVATE_FILE).isNew);
    EXPECT_EQ(permissionsOf("new"), 0600U & ~mask);
    unlink("new");
  }
  umask(022);
}

TEST_F(OpenFile, KeepsThePermissionsThatItHasHadBefore) {
  writeFile("old", "text\n");
  chmod("old", 0664);
  EXPECT_FALSE(opened("old", OPEN_OR_CREATE, PRIVATE_FILE).isNew);
  EXPECT_EQ(permissionsOf("old"), 0664U);
}

TEST_F(OpenFile, IsFoundInItsFolderWhateverBecomesOfThePath) {
  mkdir("folder", 0700);
  const Place place = placeOf("folder/file");
  ASSERT_EQ(rename("folder", "moved"), 0);
  mkdir("folder", 0700);
  HeldFile file;
  ASSERT_TRUE(openHeldFile(place, OPEN_OR_CREATE, PRIVATE_FILE, file));
  EXPECT_TRUE(exists("moved/file"));
  EXPECT_FALSE(exists("folder/file"));
  EXPECT_TRUE(isInPlace(place, file.descriptor));
}

TEST_F(OpenFile, IsCreatedWhereALinkLeads) {
  mkdir("folder", 0700);
  ASSERT_EQ(symlink("folder/target", "link"), 0);
  HeldFile file;
  ASSERT_TRUE(openOrCreateByPath("link", OPEN_TO_WRITE, file));
  EXPECT_TRUE(file.isNew);
  EXPECT_TRUE(exists("folder/target"));
  removeEmptyFile(file);
  EXPECT_FALSE(exists("folder/target"));
  EXPECT_TRUE(exists("link"));
}

TEST_F(OpenFile, IsLockedAgainstOthers) {
  writeFile("file", "text\n");
  const HeldFile one = opened("file", OPEN_FOR_UPDATE, REGULAR_FILE);
  const HeldFile other = opened("file", OPEN_FOR_UPDATE, REGULAR_FILE);
  EXPECT_TRUE(lockFile(one, "file"));
  EXPECT_FALSE(lockFile(other, "file"));
  EXPECT_STREQ(messageReason, "another run is using it");
  close(one.descriptor);
  EXPECT_TRUE(lockFile(other, "file"));
}

TEST_F(OpenFile, IsNotLockedUnderTheNameOfAnother) {
  writeFile("file", "text\n");
  const HeldFile file = opened("file", OPEN_FOR_UPDATE, REGULAR_FILE);
  unlink("file");
  EXPECT_FALSE(lockFile(file, "file"));
  writeFile("file", "text\n");
  EXPECT_FALSE(lockFile(file, "file"));
  EXPECT_STREQ(messageReason, "something else has replaced it");
}

TEST_F(OpenFile, NeedsNoLockWhenItIsADevice) {
  EXPECT_TRUE(lockFile(opened("/dev/null", OPEN_TO_WRITE, NAMED_BY_USER), "/dev/null"));
  EXPECT_TRUE(lockFile(opened("/dev/null", OPEN_TO_WRITE, NAMED_BY_USER), "/dev/null"));
}

TEST_F(OpenFile, IsCutOnlyWhereItHasALength) {
  writeFile("file", "text\n");
  EXPECT_TRUE(cutFile(opened("file", OPEN_TO_WRITE, NAMED_BY_USER).descriptor));
  EXPECT_EQ(readFile("file"), "");
  EXPECT_TRUE(cutFile(opened("/dev/full", OPEN_TO_WRITE, NAMED_BY_USER).descriptor));
  EXPECT_FALSE(cutFile(-1));
}

TEST_F(OpenFile, MustStayUnderItsName) {
  writeFile("file", "text\n");
  const HeldFile file = opened("file", OPEN_TO_WRITE, NAMED_BY_USER);
  EXPECT_TRUE(isUnderName(file, "file"));
  ASSERT_EQ(rename("file", "moved"), 0);
  EXPECT_FALSE(isUnderName(file, "file"));
  EXPECT_STREQ(messageReason, "No such file or directory");
  writeFile("file", "text\n");
  EXPECT_FALSE(isUnderName(file, "file"));
  EXPECT_TRUE(isUnderName(opened("/dev/null", OPEN_TO_WRITE, NAMED_BY_USER), "file"));
}

TEST_F(OpenFile, MayHaveALongPath) {
  const std::string folder = repeated(19, repeated(200, "x") + "/");
  std::filesystem::create_directories(folder);
  HeldFile file;
  EXPECT_TRUE(openOrCreateByPath((folder + repeated(100, "y")).c_str(), OPEN_TO_WRITE, file));
  EXPECT_TRUE(file.isNew);
}

struct RemovalCase {
  const char* name;
  bool wasThere;
  const char* text;
  bool isLockedByAnother;
  bool isRemoved;
};
class Removal : public OpenFile, public testing::WithParamInterface<RemovalCase> {};
const RemovalCase removalCases[] = {
    {"OfANewFile", false, "", false, true},
    {"NotOfAFileThatWasThere", true, "", false, false},
    {"NotOfAFileWithContents", false, "text", false, false},
    {"NotOfAFileThatAnotherRunHasFound", false, "", true, false},
};
INSTANTIATE_CASES(Removal, removalCases);
TEST_P(Removal, IsOfEmptyNewFilesAlone) {
  if (GetParam().wasThere) writeFile("file", "");
  const HeldFile file = opened("file", OPEN_OR_CREATE, PRIVATE_FILE);
  writeFile("file", GetParam().text);
  const HeldFile other = opened("file", OPEN_FOR_UPDATE, PRIVATE_FILE);
  if (GetParam().isLockedByAnother) {
    ASSERT_EQ(flock(other.descriptor, LOCK_EX), 0);
  }
  removeEmptyFile(file);
  EXPECT_EQ(exists("file"), !GetParam().isRemoved);
}

TEST_F(OpenFile, ReachesItsDisk) {
  EXPECT_TRUE(syncFile(opened("new", OPEN_OR_CREATE, PRIVATE_FILE)));
  EXPECT_TRUE(syncFile(opened("/dev/null", OPEN_TO_WRITE, NAMED_BY_USER)));
  EXPECT_FALSE(syncFile({}));
}

}  // namespace
