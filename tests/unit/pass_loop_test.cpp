#include "driver/pass_loop.h"

#include <unistd.h>

#include <filesystem>

#include "driver/pass_plan.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "test_support.h"
#include "workfile/notes.h"
#include "workfile/work_file_cursor.h"
#include "workfile/work_text.h"

namespace {

class PassLoop : public FreshRun {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    ofp = openToCreate("output.ldif");
    buildCache(1, 1);
  }
};

std::string userEntries(const std::string& name) {
  return "dn: cn=m,cn=Users,secAuthority=Default\nobjectClass: secMap\nsecDN: cn=" + name +
         "\n\n"
         "dn: secAuthority=Default,cn=" +
         name + "\nobjectClass: secUser\nprincipalName: " + name + "\n\n";
}
std::string userRecord(const std::string& name) {
  return "dn: principalName=" + name + ",cn=Users,secAuthority=default\nobjectClass: secUser\nprincipalName: " + name +
         "\nsecDN: cn=" + name + "\n\n";
}
std::string groupEntries(const std::string& name) {
  return "dn: secAuthority=Default,cn=" + name + "\nobjectClass: secGroup\ncn: " + name +
         "\n\n"
         "dn: cn=m,cn=Groups,secAuthority=Default\nobjectClass: secMap\nsecDN: cn=" +
         name + "\n\n";
}
std::string groupRecord(const std::string& name) {
  return "dn: cn=" + name + ",cn=Groups,secAuthority=default\nobjectClass: secGroup\ncn: " + name +
         "\nsecDN: cn=" + name + "\n\n";
}

std::string underWay(int pass, int of) {
  return "tqldif2v6: 380928312 NOTICE: Pass " + std::to_string(pass) + " of about " + std::to_string(of) +
         " over the work file is under way.\n";
}
const std::string BEING_WRITTEN =
    "tqldif2v6: 380928313 NOTICE: The users and groups gathered in this pass are being written: users ";
std::string beingWritten(int users, int groups, int percent) {
  return BEING_WRITTEN + std::to_string(users) + ", groups " + std::to_string(groups) + ". " + std::to_string(percent) +
         " percent of the work file is done.\n";
}

TEST_F(PassLoop, TakesOneUserAndOneGroupPerPassWithOneSlotEach) {
  writeWorkFile(userEntries("a") + groupEntries("g") + userEntries("b") + userEntries("c") + groupEntries("h"));
  runCounts.ownUserEntries = 3;
  // The entries of each user have 141 bytes, those of each group 132: 273, 546 and 687 of 687.
  ASSERT_EQ(userEntries("a").size(), 141);
  ASSERT_EQ(groupEntries("g").size(), 132);
  EXPECT_EQ(outputOf([] { makePasses(); }), underWay(1, 3) + beingWritten(1, 1, 39) + underWay(2, 3) +
                                                beingWritten(1, 1, 79) + underWay(3, 3) + beingWritten(1, 0, 100));
  EXPECT_EQ(tifp, nullptr);
  closeStream(ofp);
  EXPECT_EQ(readFile("output.ldif"),
            userRecord("a") + groupRecord("g") + userRecord("b") + groupRecord("h") + userRecord("c"));
}

TEST_F(PassLoop, ReadsTheFileWhenThereIsNoMemoryToNoteItsEntries) {
  writeWorkFile(userEntries("a") + userEntries("b") + userEntries("c"));
  failNextMapping();
  outputOf([] { makePasses(); });
  EXPECT_FALSE(areNotesComplete);
  EXPECT_EQ(stepBeforeFailure, nullptr);
  closeStream(ofp);
  EXPECT_EQ(readFile("output.ldif"), userRecord("a") + userRecord("b") + userRecord("c"));
  EXPECT_EQ(readFile("input.tmp").find_first_not_of(" \r\n"), std::string::npos);
}

TEST_F(PassLoop, ReadsTheEntriesOfAFileThatCannotBeBroughtIntoMemory) {
  writeWorkFile(userEntries("a") + userEntries("b") + userEntries("c"));
  noteWorkFile();
  failNextMapping();
  outputOf([] { makePasses(); });
  EXPECT_EQ(workText(0, 1).data(), nullptr);
  EXPECT_TRUE(areNotesComplete);
  closeStream(ofp);
  EXPECT_EQ(readFile("output.ldif"), userRecord("a") + userRecord("b") + userRecord("c"));
}

TEST_F(PassLoop, ReadsTheFileWhenThereIsNoMemoryForAPlan) {
  writeWorkFile(userEntries("a") + userEntries("b") + userEntries("c"));
  noteWorkFile();
  ASSERT_TRUE(mapWorkFile());
  failNextMapping();
  ASSERT_FALSE(planPasses());
  outputOf([] { makePasses(); });
  closeStream(ofp);
  EXPECT_EQ(readFile("output.ldif"), userRecord("a") + userRecord("b") + userRecord("c"));
}

TEST_F(PassLoop, BlanksOutOnlyWhenTheRunFails) {
  const std::string entries = userEntries("a") + userEntries("b") + groupEntries("g");
  writeWorkFile(entries);
  outputOf([] { makePasses(); });
  EXPECT_EQ(readFile("input.tmp"), entries);
  EXPECT_EXIT(exitWithMessage(PROCESSING_FAILED), testing::ExitedWithCode(255), failureMessage(PROCESSING_FAILED));
  EXPECT_EQ(readFile("input.tmp").find_first_not_of(" \r\n"), std::string::npos);
  EXPECT_EQ(readFile("input.tmp").size(), entries.size());
}

TEST_F(PassLoop, WritesTheSameWhenTracing) {
  writeWorkFile(userEntries("a") + userEntries("b") + groupEntries("g"));
  startTrace();
  outputOf([] { makePasses(); });
  closeStream(ofp);
  EXPECT_EQ(readFile("output.ldif"), userRecord("a") + groupRecord("g") + userRecord("b"));
  EXPECT_EQ(readFile("input.tmp").find_first_not_of(" \r\n"), std::string::npos);
  const std::string end =
      "\nmain():  getNextObjectFromTemporaryInputLDIFFile() has reached the end of the temporary input LDIF file. \n";
  expectTraced({"main():  Beginning new iteration of outer loop to make another pass on the input file. \n",
                "\nmain():  Another object WAS read successfully.  \n"
                "         next_available_object_slot = 3  \n"
                "         THE OBJECT READ WAS:  \n",
                "secDN: cn=a\n", "\nmain():  This is the end of the inner loop \n", end,
                "\nmain():  Calling copyAllAccumulatedDataToOutputFile() within loop \n",
                "\nmain():  Returned from copyAllAccumulatedDataToOutputFile() within loop \n",
                "\nmain():  This is the end of the outer loop \n",
                "main():  Beginning new iteration of outer loop to make another pass on the input file. \n", end,
                "main():  Beginning new iteration of outer loop to make another pass on the input file. \n", end,
                "\nmain():  This is the end of the outer loop \n"});
}

TEST_F(PassLoop, HasNeverDoneMoreThanAllOfTheWorkFile) {
  writeWorkFile(userEntries("a"));
  runCounts.bytesGathered = 100;  // as if a part of it had been read before
  EXPECT_EQ(outputOf([] { makePasses(); }), underWay(1, 1) + beingWritten(1, 0, 100));
}

TEST_F(PassLoop, TakesALastEntryThatTheEndOfTheFileEnds) {
  std::string entries = userEntries("a");
  entries.pop_back();
  writeWorkFile(entries);
  outputOf([] { makePasses(); });
  closeStream(ofp);
  EXPECT_EQ(readFile("output.ldif"), userRecord("a"));
}

TEST_F(PassLoop, AnnouncesAPassThatMeetsResourceCredentialsOnly) {
  writeWorkFile("dn: cn=a\nobjectClass: secResCreds\n\ndn: cn=ResCreds\nobjectClass: container\n\n");
  EXPECT_EQ(outputOf([] { makePasses(); }), underWay(1, 1));
  EXPECT_EQ(atLeastOneObjectProcessed, 0);
}

TEST_F(PassLoop, AnnouncesNoPassOverABlankWorkFile) {
  writeWorkFile("     \r\n\n");
  EXPECT_EQ(outputOf([] { makePasses(); }), "");
}

TEST_F(PassLoop, StopsWhenAPassGathersNothingAlthoughEntriesRemain) {
  writeWorkFile(userEntries("a"));
  numberOfSecUserObjectsInObjectCache = 1;
  numberOfSecMapForSecUserObjectsInObjectCache = 1;
  EXPECT_FAILURE((echoToFile(), makePasses()), PROCESSING_FAILED);
  EXPECT_EQ(echoed().find(BEING_WRITTEN), std::string::npos);
}

TEST_F(PassLoop, StopsWhenAPassCannotBeResumed) {
  writeWorkFile("dn: cn=a\nobjectClass: secResCreds\n\n");
  hasTheStepOverFilePositionBeenInitialized = 1;
  filePositionOfFirstObjectSteppedOver = -1;
  startTrace();
  EXPECT_EXIT(makePasses(), testing::ExitedWithCode(255),
              failureMessage(POSITION_CALL_FAILED, "fsetpos\\(\\) failed with return code -1"));
  expectTraced({"main():  fsetpos() failed with rc = -1 (dec)  \n"});
}

TEST_F(PassLoop, ResumesWhereTheFirstEntryWasSteppedOver) {
  writeWorkFile("dn: cn=a\nobjectClass: top\n\ndn: cn=b\nobjectClass: secResCreds\n\n");
  hasTheStepOverFilePositionBeenInitialized = 1;
  filePositionOfFirstObjectSteppedOver = 27;
  startTrace();
  outputOf([] { makePasses(); });  // the first entry would end the run
  EXPECT_EQ(atLeastOneObjectProcessed, 0);
}

TEST_F(PassLoop, NamesAMissingWorkFile) {
  writeWorkFile("");
  unlink("input.tmp");
  startTrace();
  EXPECT_EXIT(makePasses(), testing::ExitedWithCode(255),
              failureMessage(FILE_NOT_OPENED, "input.tmp.*: No such file or directory"));
  expectTraced(
      {"main():  ERROR:  Unable to open temporary input LDIF file:  input.tmp. \n"
       "                 EXITING \n"});
}

TEST_F(PassLoop, NamesAWorkFileThatCannotBeRead) {
  snprintf(temp_input_ldif_filename, FILE_NAME_SIZE, "%s", UNREADABLE_FILE);
  holdWorkFile();
  startTrace();
  EXPECT_EXIT((echoToFile(), makePasses()), testing::ExitedWithCode(255),
              failureMessage(OBJECT_NOT_READ, UNREADABLE_FILE));
  expectTraced({"\nmain():  ERROR:  The next object could not be read successfully.  EXITING.  \n"});
}

// The last entry is so long that it has to be read again to be blanked out, up to the end of the file.
TEST_F(PassLoop, StopsWheneverTheWorkFileCannotBeRead) {
  startTrace();  // or else the file is read twice
  failEveryReadIn([] {
    ofp = openToCreate("output.ldif");
    writeWorkFile(userEntries("a") + userEntries("b") +
                  "dn: cn=Policy,secAuthority=Default,cn=b\nobjectClass: secPolicy\n" +
                  repeated(100, "text: " + repeated(4000, "x") + "\n"));
    echoToFile();
    makePasses();
  });
}

TEST_F(PassLoop, StopsWheneverANotedEntryCannotBeRead) {
  const std::string entries = userEntries("a") + userEntries("b") + userEntries("c");
  writeWorkFile(entries);
  noteWorkFile();
  ASSERT_TRUE(areNotesComplete);
  failEveryReadIn([&] {
    writeFile("input.tmp", entries);  // of which the one before has blanked some out
    ofp = openToCreate("output.ldif");
    failNextMapping();
    echoToFile();
    makePasses();
  });
}

TEST_F(PassLoop, NamesAWorkFileThatCannotBeNotedBecauseItCannotBeRead) {
  snprintf(temp_input_ldif_filename, FILE_NAME_SIZE, "%s", UNREADABLE_FILE);
  holdWorkFile();
  EXPECT_EXIT((echoToFile(), makePasses()), testing::ExitedWithCode(255),
              failureMessage(OBJECT_NOT_READ, UNREADABLE_FILE));
}

TEST_F(PassLoop, StopsWhenTheWorkFileIsCutWhileItIsInMemory) {
  const std::string entries = userEntries("a") + repeated(100, userEntries("b"));
  writeWorkFile(entries);
  noteWorkFile();
  EXPECT_EXIT((mapWorkFile(), std::filesystem::resize_file("input.tmp", 100), outputOf([] { makePasses(); })),
              testing::ExitedWithCode(255), failureMessage(OBJECT_NOT_READ, "something else has changed it"));
}

TEST_F(PassLoop, StopsAtAnEntryOfNoClass) {
  writeWorkFile("dn: o=a\nobjectClass: container\n\n");
  startTrace();
  EXPECT_FAILURE((echoToFile(), makePasses()), PROCESSING_FAILED);
  const std::string error = "main():  ERROR:  The object class of this object was unrecognizable.  EXITING. \n";
  expectTraced({error});
  EXPECT_NE(echoed().find(error), std::string::npos);
}

TEST_F(PassLoop, StopsWhenTheGatheredDataCannotBeWritten) {
  closeStream(ofp);
  ofp = streamThatCannotBeWritten();
  writeWorkFile(
      "dn: secAuthority=Default,cn=g\nobjectClass: secGroup\ncn: g\n\n"
      "dn: cn=m,secAuthority=Default\nobjectClass: secMap\nsecDN: cn=g\n\n");
  startTrace();
  EXPECT_FAILURE((echoToFile(), makePasses()), PROCESSING_FAILED);
  const std::string error =
      "main():  ERROR:  Failed to copy all accumulated data to the temporary output LDIF file.  EXITING.  \n";
  expectTraced({"writeSecGroupAddToOutputFile():  fputs() failed with rc=-1 \n",
                "copyAllAccumulatedDataToOutputFile() - writeSecGroupAddToOutputFile() failure.  RETURNING. \n",
                error});
  EXPECT_NE(echoed().find(error), std::string::npos);
}

}  // namespace
