#include "workfile/final_copy.h"

#include <unistd.h>

#include <filesystem>

#include "driver/pass_loop.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "test_support.h"
#include "workfile/notes.h"
#include "workfile/work_text.h"

namespace {

constexpr char CONTAINER[] = "dn: cn=ResCreds\nobjectClass: container\n\n";

class FinalCopy : public FreshRun {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    ofp = openToCreate("output.ldif");
  }
};

TEST_F(FinalCopy, CopiesResourceCredentialsWithoutTheServersLines) {
  writeWorkFile(
      "dn: cn=ResCreds\nobjectClass: container\nAclEntry: 1\nACI: 2\nxacl: 3\nControl: 4\n\n"
      "       \r\n\n"
      "dn: cn=a\nobjectClass: secResCreds\nXoq-EntryUUID: 5\ntext: see ACI: 6\naclPropagate: 7\nacls: 8\n\n");
  copyRemainingObjectsToOutputLDIFFile();
  EXPECT_EQ(tifp, nullptr);
  closeStream(ofp);
  EXPECT_EQ(readFile("output.ldif"),
            "dn: cn=ResCreds\nobjectClass: container\n\n"
            "dn: cn=a\nobjectClass: secResCreds\naclPropagate: 7\nacls: 8\n\n");
  EXPECT_EQ(readFile("input.tmp").find_first_not_of(" \r\n"), std::string::npos);
}

TEST_F(FinalCopy, CopiesTheNotedEntriesThatAreLeft) {
  const std::string entries =
      "dn: cn=ResCreds\nobjectClass: container\nACI: 2\n\ndn: cn=a\nobjectClass: secResCreds\n\n"
      "dn: cn=b\nobjectClass: secResCreds\n\n";
  writeWorkFile(entries);
  noteWorkFile();
  ASSERT_TRUE(mapWorkFile());
  notes[1].isTaken = 1;
  copyRemainingObjectsToOutputLDIFFile();
  EXPECT_EQ(tifp, nullptr);
  closeStream(ofp);
  EXPECT_EQ(readFile("output.ldif"),
            "dn: cn=ResCreds\nobjectClass: container\n\ndn: cn=b\nobjectClass: secResCreds\n\n");
  for (uint32_t i = 0; i < noteCount; i++) EXPECT_EQ(notes[i].isTaken, 1) << i;
  EXPECT_EQ(runCounts.resourceCredentials, 2);
  EXPECT_EQ(readFile("input.tmp"), entries);
}

TEST_F(FinalCopy, StopsAtANotedEntryOfAnotherClass) {
  writeWorkFile(std::string(CONTAINER) + "dn: cn=a\nobjectClass: secGroup\n\n");
  noteWorkFile();
  EXPECT_FAILURE(copyRemainingObjectsToOutputLDIFFile(), PROCESSING_FAILED);
}

TEST_F(FinalCopy, StopsWhenTheWorkFileIsCutWhileItIsInMemory) {
  writeWorkFile(repeated(1000, CONTAINER));
  noteWorkFile();
  stepBeforeFailure = settleWorkFile;
  EXPECT_EXIT((mapWorkFile(), std::filesystem::resize_file("input.tmp", 100), copyRemainingObjectsToOutputLDIFFile()),
              testing::ExitedWithCode(255), failureMessage(OBJECT_NOT_READ, "something else has changed it"));
}

TEST_F(FinalCopy, EndsALastEntryWithAnEmptyLine) {
  writeWorkFile("dn: cn=a\nobjectClass: secResCreds\n");
  copyRemainingObjectsToOutputLDIFFile();
  closeStream(ofp);
  EXPECT_EQ(readFile("output.ldif"), "dn: cn=a\nobjectClass: secResCreds\n\n");
}

TEST_F(FinalCopy, CopiesNothingFromABlankWorkFile) {
  writeWorkFile("       \r\n\n   \r\n");
  copyRemainingObjectsToOutputLDIFFile();
  EXPECT_EQ(tifp, nullptr);
  closeStream(ofp);
  EXPECT_EQ(readFile("output.ldif"), "");
  EXPECT_EQ(readFile("input.tmp"), "       \r\n\n   \r\n");
}

TEST_F(FinalCopy, TracesEachEntry) {
  writeWorkFile(CONTAINER);
  startTrace();
  copyRemainingObjectsToOutputLDIFFile();
  expectTraced({"\ncopyRemainingObjectsToOutputLDIFFile():  FUNCTION ENTRY  \n",
                "\ncopyRemainingObjectsToOutputLDIFFile():  Another object WAS read successfully.  \n"
                "           next_available_object_slot = 2  \n"
                "\ncopyRemainingObjectsToOutputLDIFFile():  THE OBJECT READ WAS:  \n",
                "dn: cn=ResCreds\n", "objectClass: container\n", "\n",
                "\ncopyRemainingObjectsToOutputLDIFFile():  getNextObjectFromTemporaryInputLDIFFile() has reached the "
                "end of the temporary input LDIF file. \n",
                "\ncopyRemainingObjectsToOutputLDIFFile():  FUNCTION EXIT  \n"});
}

TEST_F(FinalCopy, StopsAtAnEntryOfAnotherClass) {
  writeWorkFile(std::string(CONTAINER) + "dn: cn=a\nobjectClass: secGroup\n\n");
  startTrace();
  EXPECT_FAILURE((echoToFile(), copyRemainingObjectsToOutputLDIFFile()), PROCESSING_FAILED);
  const std::string error =
      "copyRemainingObjectsToOutputLDIFFile():  ERROR:  The object class of this object was unrecognizable.  EXITING. "
      "\n";
  expectTraced({error});
  EXPECT_EQ(echoed(), error);
}

TEST_F(FinalCopy, StopsAtAContainerThatIsNoneOfResourceCredentials) {
  writeWorkFile("dn: cn=a\nobjectClass: container\n\n");
  EXPECT_FAILURE(copyRemainingObjectsToOutputLDIFFile(), PROCESSING_FAILED);
}

TEST_F(FinalCopy, NamesAMissingWorkFile) {
  writeWorkFile("");
  unlink("input.tmp");
  startTrace();
  EXPECT_EXIT(copyRemainingObjectsToOutputLDIFFile(), testing::ExitedWithCode(255),
              failureMessage(FILE_NOT_OPENED, "input.tmp.*: No such file or directory"));
  expectTraced(
      {"copyRemainingObjectsToOutputLDIFFile():  ERROR:  Unable to open temporary input LDIF file:  "
       "input.tmp. \n"
       "                 EXITING \n"});
}

TEST_F(FinalCopy, NamesAWorkFileThatCannotBeRead) {
  snprintf(temp_input_ldif_filename, FILE_NAME_SIZE, "%s", UNREADABLE_FILE);
  holdWorkFile();
  startTrace();
  EXPECT_EXIT(copyRemainingObjectsToOutputLDIFFile(), testing::ExitedWithCode(255),
              failureMessage(OBJECT_NOT_READ, UNREADABLE_FILE));
  expectTraced(
      {"\ncopyRemainingObjectsToOutputLDIFFile():  ERROR:  The next object could not be read successfully.  "
       "EXITING.  \n"});
}

// The last entry is so long that it has to be read again to be blanked out, up to the end of the file.
TEST_F(FinalCopy, StopsWheneverTheWorkFileCannotBeRead) {
  buildCache(1, 1);
  startTrace();  // or else the file is read twice
  failEveryReadIn([] {
    writeWorkFile(std::string(CONTAINER) + "dn: cn=a\nobjectClass: secResCreds\n" +
                  repeated(100, "text: " + repeated(4000, "x") + "\n"));
    echoToFile();
    makePasses();
    copyRemainingObjectsToOutputLDIFFile();
  });
}

TEST_F(FinalCopy, ReturnsInSilenceWhenALineCannotBeWritten) {
  closeStream(ofp);
  ofp = streamThatCannotBeWritten();
  writeWorkFile(CONTAINER);
  startTrace();
  EXPECT_EQ(messagesOf([] { copyRemainingObjectsToOutputLDIFFile(); }), "");
  EXPECT_NE(tifp, nullptr);
  expectTraced({"copyRemainingObjectsToOutputLDIFFile():  fputs() failed with rc=-1 \n"});
}

TEST_F(FinalCopy, EndsInSilenceWhenTheEmptyLineCannotBeWritten) {
  writeWorkFile(CONTAINER);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  tfp = fdopen(ends[1], "w");  // the limit on files does not reach a pipe
  debug = 1;
  const size_t linesOnly = sizeof CONTAINER - 2;
  EXPECT_EXIT((limitFileSize(linesOnly), copyRemainingObjectsToOutputLDIFFile()), testing::ExitedWithCode(255), "^$");
  char trace[8192];
  const ssize_t length = ::read(ends[0], trace, sizeof trace);
  close(ends[0]);
  EXPECT_NE(std::string(trace, static_cast<size_t>(length))
                .find("copyRemainingObjectsToOutputLDIFFile():  fputs() failed with rc=-1 \n"),
            std::string::npos);
  EXPECT_EQ(readFile("output.ldif") + "\n", CONTAINER);
}

TEST_F(FinalCopy, StopsWhenAnEntryCannotBeBlankedOut) {
  closeStream(ofp);
  ofp = openToCreate("/dev/null");
  writeWorkFile(repeated(20000, CONTAINER));
  startTrace();
  EXPECT_FAILURE((limitFileSize(0x10000), echoToFile(), copyRemainingObjectsToOutputLDIFFile()), PROCESSING_FAILED);
  EXPECT_EQ(echoed(),
            "copyRemainingObjectsToOutputLDIFFile():  ERROR: deleteNextObjectFromTemporaryInputLDIFFile() failed "
            "deleting a ResCreds container or secResCreds object.  EXITING. \n");
}

TEST_F(FinalCopy, StopsWhenTheBlankedWorkFileCannotBeClosed) {
  closeStream(ofp);
  ofp = openToCreate("/dev/null");
  writeWorkFile(repeated(1650, CONTAINER));
  EXPECT_EXIT((limitFileSize(0x10000), copyRemainingObjectsToOutputLDIFFile()), testing::ExitedWithCode(255),
              failureMessage(WRITE_FAILED, "input.tmp"));
}

TEST_F(FinalCopy, EndsAnEntryBehindALineOf4095Characters) {
  writeWorkFile("dn: cn=ResCreds\nobjectClass: container\n" + repeated(4095, "x") + "\n\n");
  copyRemainingObjectsToOutputLDIFFile();
  closeStream(ofp);
  EXPECT_EQ(readFile("output.ldif"), "dn: cn=ResCreds\nobjectClass: container\n" + repeated(4095, "x") + "\n");
}

}  // namespace
