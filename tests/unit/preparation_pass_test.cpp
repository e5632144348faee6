#include "workfile/preparation_pass.h"

#include "driver/reporting.h"
#include "driver/run_state.h"
#include "test_support.h"

namespace {

class PreparationPass : public FreshRun {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    ofp = openToCreate("output.ldif");
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
  EXPECT_EQ(copyOriginalInputFileToTempInputFile(), 0);
  closeStream(ofp);
  EXPECT_EQ(readFile("output.ldif"), GetParam().output);
  EXPECT_EQ(readFile("input.tmp"), GetParam().workFile);
  EXPECT_EQ(readFile("input"), GetParam().input);
}

TEST_F(PreparationPass, AppendsToAWorkFileThatIsThere) {
  writeFile("input", "dn: cn=g\nobjectClass: secGroup\n");
  writeFile("input.tmp", "# left over\n");
  copyOriginalInputFileToTempInputFile();
  EXPECT_EQ(readFile("input.tmp"), "# left over\ndn: cn=g\nobjectClass: secGroup\n\n");
}

TEST_F(PreparationPass, NamesAMissingInput) {
  EXPECT_EXIT(copyOriginalInputFileToTempInputFile(), testing::ExitedWithCode(255),
              failureMessage(FILE_NOT_OPENED, "file input .*: No such file or directory"));
}

TEST_F(PreparationPass, LeavesTheOutputOpenAndTheOthersClosed) {
  writeFile("input", "dn: o=a\nobjectClass: top\n\ndn: cn=g\nobjectClass: secGroup\n");
  EXPECT_EQ(copyOriginalInputFileToTempInputFile(), 0);
  EXPECT_EQ(ifp, nullptr);
  EXPECT_EQ(tifp, nullptr);
  EXPECT_NE(ofp, nullptr);
  EXPECT_EQ(writeObjectToLDIFFile, 1);
  EXPECT_EQ(readFile("output.ldif"), "dn: o=a\nobjectClass: top\n\n");
  EXPECT_EQ(readFile("input.tmp"), "dn: cn=g\nobjectClass: secGroup\n\n");
}

TEST_F(PreparationPass, RaisesNoFlagWhenNothingGoesStraightToTheOutput) {
  writeFile("input", "dn: cn=g\nobjectClass: secGroup\n");
  copyOriginalInputFileToTempInputFile();
  EXPECT_EQ(writeObjectToLDIFFile, 0);
}

TEST_F(PreparationPass, TracesNothingBetweenOffAndOn) {
  writeFile("input", "dn: cn=g\nobjectClass: secGroup\n");
  startTrace();
  copyOriginalInputFileToTempInputFile();
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
  EXPECT_FAILURE(copyOriginalInputFileToTempInputFile(), PROCESSING_FAILED);
  EXPECT_EQ(traced().find("tweekObjectInObjectArray"), std::string::npos);
}

TEST_F(PreparationPass, ReportsAnInputThatCannotBeReadToItsEnd) {
  snprintf(input_ldif_filename, FILE_NAME_SIZE, "%s", UNREADABLE_FILE);
  EXPECT_EQ(copyOriginalInputFileToTempInputFile(), -1);
}

TEST_F(PreparationPass, StopsWhenTheOutputCannotBeWritten) {
  closeStream(ofp);
  ofp = streamThatCannotBeWritten();
  writeFile("input", "dn: o=a\n\n");
  EXPECT_EXIT(copyOriginalInputFileToTempInputFile(), testing::ExitedWithCode(255),
              failureMessage(WRITE_FAILED, "output.ldif"));
}

TEST_F(PreparationPass, StopsWhenTheOutputCannotBeFlushed) {
  closeStream(ofp);
  ofp = openToCreate("/dev/full");
  writeFile("input", "dn: o=a\n\n");
  EXPECT_EXIT(copyOriginalInputFileToTempInputFile(), testing::ExitedWithCode(255),
              failureMessage(WRITE_FAILED, "output.ldif.*: No space left on device"));
}

TEST_F(PreparationPass, StopsWhenTheWorkFileCannotBeWritten) {
  writeFile("input", repeated(20000, "dn: cn=g\nobjectClass: secGroup\n\n"));
  EXPECT_EXIT((limitFileSize(0x10000), copyOriginalInputFileToTempInputFile()), testing::ExitedWithCode(255),
              failureMessage(WRITE_FAILED, "input.tmp.*: File too large"));
}

TEST_F(PreparationPass, StopsWhenTheWorkFileCannotBeClosed) {
  writeFile("input", repeated(3000, "dn: cn=g\nobjectClass: secGroup\n\n"));
  EXPECT_EXIT((limitFileSize(0x10000), copyOriginalInputFileToTempInputFile()), testing::ExitedWithCode(255),
              failureMessage(WRITE_FAILED, "input.tmp.*: File too large"));
}

TEST_F(PreparationPass, StopsWhenTheWorkFileCannotBeOpened) {
  writeFile("input", "dn: o=a\n\n");
  snprintf(temp_input_ldif_filename, FILE_NAME_SIZE, "missing/input.tmp");
  EXPECT_EXIT(copyOriginalInputFileToTempInputFile(), testing::ExitedWithCode(255),
              failureMessage(FILE_NOT_OPENED, "missing/input.tmp.*: No such file or directory"));
}

}  // namespace
