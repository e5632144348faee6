#include "workfile/preparation_pass.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "ldif/object_buffer.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "test_support.h"
#include "workfile/work_file.h"

namespace {

class PreparationPass : public FreshRun {
 protected:
  // With the files as the run has opened them.
  static int32_t prepare() {
    holdInput();
    holdOutput();
    holdEarlierWorkFile();
    runCounts.bytesOfEarlierWorkFile = sizeOfEarlierWorkFile();
    return copyOriginalInputFileToTempInputFile();
  }
};

struct SplitCase {
  const char* name;
  std::string input;
  std::string output;
  std::string workFile;
};
class Split : public PreparationPass, public testing::WithParamInterface<SplitCase> {};
const SplitCase splitCases[] = {
    {"PolicyOfTheAuthority", "dn: cn=a,CN=policies,SecAuthority=Default\nobjectClass: secPolicy\n",
     "dn: cn=a,CN=policies,SecAuthority=Default\nobjectClass: secPolicy\n\n", ""},
    {"PolicyOfTheAuthorityWithABlank", "dn: cn=a,cn=Policies, secAuthority=Default\nobjectClass: secPolicy\n", "",
     "dn: cn=a,cn=Policies, secAuthority=Default\nobjectClass: secPolicy\n\n"},
    {"PolicyOfAUser", "dn: cn=Policy,secAuthority=Default,cn=u\nobjectClass: secPolicy\n", "",
     "dn: cn=Policy,secAuthority=Default,cn=u\nobjectClass: secPolicy\n\n"},
    {"PolicyWithAFoldedDn", "dn: cn=a,cn=Poli\n cies,secAuthority=Default\nobjectClass: secPolicy\n",
     "dn: cn=a,cn=Policies,secAuthority=Default\nobjectClass: secPolicy\n\n", ""},
    {"AuthorityInfo", "dn: cn=a\nobjectClass: secAuthorityInfo\nversion: 5.1\nxoq-entryuuid: 1\ninstallDate: 2020\n",
     "dn: cn=a\nobjectClass: secAuthorityInfo\nversion: 6.0\ninstallDate: 2020\n\n", ""},
    {"OtherEntriesAndContainers",
     "dn: o=a\nobjectClass: top\nXOQ-ENTRYUUID: 1\naci: 2\n\n\ndn: cn=b\nobjectClass: container\n",
     "dn: o=a\nobjectClass: top\naci: 2\n\ndn: cn=b\nobjectClass: container\n\n", ""},
    {"EntryUuidsWithoutABlankOrInMixedCaseStay", "dn: o=a\nxoq-entryuuid:1\nXoq-EntryUuid: 2\n",
     "dn: o=a\nxoq-entryuuid:1\nXoq-EntryUuid: 2\n\n", ""},
    {"ResourceCredentials",
     "dn: cn=ResCreds\nobjectClass: container\n\ndn: cn=r\nobjectClass: secResCreds\nxoq-entryuuid: 1\n", "",
     "dn: cn=ResCreds\nobjectClass: container\n\ndn: cn=r\nobjectClass: secResCreds\nxoq-entryuuid: 1\n\n"},
    {"UserGroupMapAndPolicyData",
     "dn: cn=u\nobjectClass: secUser\nsecAuthority: D\nprincipalName: p\nsecuuid: 1\n\n"
     "dn: cn=g\nobjectClass: secGroup\nsecuuid: 2\n\n"
     "dn: cn=m\nobjectClass: secMap\n\n"
     "dn: cn=d\nobjectClass: secPolicyData\n",
     "",
     "dn: cn=u\nobjectClass: secUser\nsecAuthority: D\nprincipalName: p\nsecUUID: 1\nsecDomainId: D%p\n\n"
     "dn: cn=g\nobjectClass: secGroup\nsecUUID: 2\n\n"
     "dn: cn=m\nobjectClass: secMap\n\n"
     "dn: cn=d\nobjectClass: secPolicyData\n\n"},
    {"FoldedLinesAreJoined", "dn: o=a\r\ndescription: abc\r\n def\r\n", "dn: o=a\ndescription: abcdef\n\n", ""},
    {"CommentsAreDropped", "# c\ndn: o=a\n# d\nl: b\n", "dn: o=a\nl: b\n\n", ""},
    {"BlanksAroundTheCommasOfASecDnGo", "dn: cn=m , o=x\nobjectClass: secMap\nsecdn: cn=a , o=b\nsecDN: cn=a , o=b\n",
     "", "dn: cn=m , o=x\nobjectClass: secMap\nsecdn: cn=a,o=b\nsecDN: cn=a , o=b\n\n"},
    {"BlanksAroundTheCommasOfASecDnStayInTheOutput", "dn: o=a\nsecdn: cn=a , o=b\n", "dn: o=a\nsecdn: cn=a , o=b\n\n",
     ""},
};
INSTANTIATE_CASES(Split, splitCases);
TEST_P(Split, GoesByTheClass) {
  writeFile("input", GetParam().input);
  EXPECT_EQ(prepare(), 0);
  closeStream(ofp);
  EXPECT_EQ(readFile("output.ldif"), GetParam().output);
  EXPECT_EQ(readFile("input.tmp"), GetParam().workFile);
  EXPECT_EQ(readFile("input"), GetParam().input);
}

TEST_F(PreparationPass, AppendsToAWorkFileThatIsThere) {
  writeFile("input", "dn: cn=g\nobjectClass: secGroup\n");
  writeFile("input.tmp", "# left over\n");
  prepare();
  EXPECT_EQ(readFile("input.tmp"), "# left over\ndn: cn=g\nobjectClass: secGroup\n\n");
}

TEST_F(PreparationPass, NamesAMissingInput) {
  EXPECT_EXIT(prepare(), testing::ExitedWithCode(255),
              failureMessage(FILE_NOT_OPENED, "file input .*: No such file or directory"));
}

TEST_F(PreparationPass, LeavesTheOutputOpenAndTheOthersClosed) {
  writeFile("input", "dn: o=a\nobjectClass: top\n\ndn: cn=g\nobjectClass: secGroup\n");
  EXPECT_EQ(prepare(), 0);
  EXPECT_EQ(ifp, nullptr);
  EXPECT_EQ(tifp, nullptr);
  EXPECT_NE(ofp, nullptr);
  EXPECT_EQ(writeObjectToLDIFFile, 1);
  EXPECT_EQ(readFile("output.ldif"), "dn: o=a\nobjectClass: top\n\n");
  EXPECT_EQ(readFile("input.tmp"), "dn: cn=g\nobjectClass: secGroup\n\n");
}

TEST_F(PreparationPass, RaisesNoFlagWhenNothingGoesStraightToTheOutput) {
  writeFile("input", "dn: cn=g\nobjectClass: secGroup\n");
  prepare();
  EXPECT_EQ(writeObjectToLDIFFile, 0);
}

TEST_F(PreparationPass, TracesNothingBetweenOffAndOn) {
  writeFile("input", "dn: cn=g\nobjectClass: secGroup\n");
  startTrace();
  prepare();
  EXPECT_EQ(debug, 1);
  EXPECT_EQ(traced(),
            "copyOriginalInputFileToTempInputFile():  TURNING DEBUG TRACING OFF \n"
            "copyOriginalInputFileToTempInputFile():  FUNCTION ENTRY \n"
            "copyOriginalInputFileToTempInputFile():  The temporary input file name = input.tmp \n"
            "copyOriginalInputFileToTempInputFile():  TURNING DEBUG TRACING BACK ON \n");
}

TEST_F(PreparationPass, TracesNoFailureInside) {
  writeFile("input", "dn: cn=u\nobjectClass: secUser\n");
  startTrace();
  EXPECT_FAILURE(prepare(), PROCESSING_FAILED);
  EXPECT_EQ(traced().find("tweekObjectInObjectArray"), std::string::npos);
}

TEST_F(PreparationPass, ReportsAnInputThatCannotBeReadToItsEnd) {
  ASSERT_EQ(symlink(UNREADABLE_FILE, "input"), 0);
  EXPECT_EQ(prepare(), -1);
}

TEST_F(PreparationPass, StopsWhenTheOutputCannotBeWritten) {
  strcpy(output_ldif_filename, "/dev/full");
  writeFile("input", "dn: o=a\n\n" + repeated(30000, "# comment\n") + "\n" + repeated(30000, "dn: o=b\n\n"));
  EXPECT_EXIT(prepare(), testing::ExitedWithCode(255), failureMessage(WRITE_FAILED, "/dev/full"));
}

TEST_F(PreparationPass, StopsWhenTheOutputCannotBeFlushed) {
  strcpy(output_ldif_filename, "/dev/full");
  writeFile("input", "dn: o=a\n\n");
  EXPECT_EXIT(prepare(), testing::ExitedWithCode(255),
              failureMessage(WRITE_FAILED, "/dev/full.*: No space left on device"));
}

TEST_F(PreparationPass, StopsWhenTheWorkFileCannotBeWritten) {
  writeFile("input", repeated(20000, "dn: cn=g\nobjectClass: secGroup\n\n"));
  EXPECT_EXIT((limitFileSize(0x10000), prepare()), testing::ExitedWithCode(255),
              failureMessage(WRITE_FAILED, "input.tmp.*: File too large"));
}

TEST_F(PreparationPass, StopsWhenTheWorkFileCannotBeClosed) {
  writeFile("input", repeated(3000, "dn: cn=g\nobjectClass: secGroup\n\n"));
  EXPECT_EXIT((limitFileSize(0x10000), prepare()), testing::ExitedWithCode(255),
              failureMessage(WRITE_FAILED, "input.tmp.*: File too large"));
}

TEST_F(PreparationPass, LeavesAnOutputAsItWasWhenTheWorkFileCannotBeOpened) {
  writeFile("input", "dn: o=a\n\n");
  writeFile("output.ldif", "good\n");
  mkdir("input.tmp", 0700);
  EXPECT_FAILURE(prepare(), FILE_NOT_OPENED);
  EXPECT_EQ(readFile("output.ldif"), "good\n");
}

TEST_F(PreparationPass, CountsWhereEntriesGo) {
  writeFile("input",
            "dn: cn=u\nobjectClass: secUser\nsecAuthority: D\nprincipalName: p\n\n"
            "dn: principalName=p,cn=Users,secAuthority=D\nobjectClass: secUser\nsecAuthority: D\nprincipalName: p\n\n"
            "dn: cn=d\nobjectClass: secPolicyData\n\ndn: o=a\n\ndn: o=b\n");
  prepare();
  EXPECT_EQ(runCounts.intoWorkFile[SECUSER_OBJECTCLASS], 2);
  EXPECT_EQ(runCounts.ownUserEntries, 1);
  EXPECT_EQ(runCounts.intoWorkFile[SECPOLICYDATA_OBJECTCLASS], 1);
  EXPECT_EQ(runCounts.intoOutput[UNINTERESTING_OBJECTCLASS], 2);
  EXPECT_EQ(objectsRead, 5);
}

TEST_F(PreparationPass, StopsWhenTheWorkFileCannotBeOpened) {
  writeFile("input", "dn: o=a\n\n");
  mkdir("input.tmp", 0700);
  EXPECT_EXIT(prepare(), testing::ExitedWithCode(255), failureMessage(FILE_NOT_OPENED, "input.tmp.*: Is a directory"));
}

}  // namespace
