#include "workfile/work_file_cursor.h"

#include "ldif/line_reader.h"
#include "ldif/object_buffer.h"
#include "reporting/reporting.h"
#include "reporting/run_state.h"
#include "test_support.h"
#include "workfile/notes.h"

namespace {

constexpr char TWO_ENTRIES[] = "dn: cn=a\nb: 1\n\ndn: cn=c\n\n";  // at 0 and 15

class WorkFileCursor : public FreshRun {
 protected:
  void openWorkFile(const std::string& contents) {
    writeFile("input.tmp", contents);
    tifp = openForUpdate("input.tmp");
  }
  static int32_t read() { return getNextObjectFromTemporaryInputLDIFFile(tifp); }
  static int32_t blankOut() { return deleteNextObjectFromTemporaryInputLDIFFile(tifp); }
  static int32_t stepOver() { return stepOverNextObjectFromTemporaryInputLDIFFile(tifp); }
  static int64_t position() {
    int64_t position = -1;
    getPosition(tifp, &position);
    return position;
  }
};

TEST_F(WorkFileCursor, ReadsTheSameEntryAgainUntilItIsSettled) {
  openWorkFile(TWO_ENTRIES);
  for (int i = 0; i < 2; i++) {
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(objectLines(), (Lines{"dn: cn=a\n", "b: 1\n"}));
    EXPECT_EQ(position(), 0);
    EXPECT_EQ(filePositionBeforeReadingObject, 0);
  }
}

TEST_F(WorkFileCursor, BlanksAnEntryOutInPlace) {
  openWorkFile(TWO_ENTRIES);
  read();
  EXPECT_EQ(blankOut(), 0);
  EXPECT_EQ(position(), 15);
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(objectLines(), Lines{"dn: cn=c\n"});
  closeStream(tifp);
  EXPECT_EQ(readFile("input.tmp"), "       \r\n   \r\n\ndn: cn=c\n\n");
}

TEST_F(WorkFileCursor, SkipsBlankedEntries) {
  openWorkFile(TWO_ENTRIES);
  blankOut();
  blankOut();
  closeStream(tifp);
  tifp = openForUpdate("input.tmp");
  EXPECT_EQ(read(), -1);
  EXPECT_EQ(next_available_object_slot, 0);
  EXPECT_EQ(position(), 0);
}

TEST_F(WorkFileCursor, BlanksBehindBlankedEntries) {
  openWorkFile("       \r\n\n\ndn: cn=c\nd: 1\n\ndn: cn=e\n\n");
  EXPECT_EQ(blankOut(), 0);
  closeStream(tifp);
  EXPECT_EQ(readFile("input.tmp"), "       \r\n\n\n       \r\n   \r\n\ndn: cn=e\n\n");
}

TEST_F(WorkFileCursor, StepsOverAnEntryUnchanged) {
  openWorkFile(TWO_ENTRIES);
  EXPECT_EQ(stepOver(), 0);
  EXPECT_EQ(position(), 15);
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(objectLines(), Lines{"dn: cn=c\n"});
  closeStream(tifp);
  EXPECT_EQ(readFile("input.tmp"), TWO_ENTRIES);
}

TEST_F(WorkFileCursor, RemembersWhereTheFirstEntrySteppedOverBegins) {
  openWorkFile(TWO_ENTRIES);
  blankOut();
  EXPECT_EQ(hasTheStepOverFilePositionBeenInitialized, 0);
  stepOver();
  EXPECT_EQ(hasTheStepOverFilePositionBeenInitialized, 1);
  EXPECT_EQ(filePositionOfFirstObjectSteppedOver, 15);
  EXPECT_EQ(filePositionOfFirstObjectSteppedOver_ftell, 15);
}

TEST_F(WorkFileCursor, KeepsTheRememberedPositionAtTheSecondStep) {
  openWorkFile("\n\n" + std::string(TWO_ENTRIES));
  stepOver();
  stepOver();
  EXPECT_EQ(filePositionOfFirstObjectSteppedOver, 0);
}

TEST_F(WorkFileCursor, SettlesALastEntryThatTheEndOfTheFileEnds) {
  openWorkFile("dn: cn=a\nb: 12");
  EXPECT_EQ(read(), -1);
  EXPECT_EQ(objectLines(), (Lines{"dn: cn=a\n", "b: 12"}));
  EXPECT_EQ(stepOver(), 0);
  setPosition(tifp, 0);
  EXPECT_EQ(blankOut(), 0);
  EXPECT_EQ(stepOver(), 0);
  EXPECT_EQ(blankOut(), 0);
  closeStream(tifp);
  EXPECT_EQ(readFile("input.tmp"), "       \r\n   \r\n");
}

TEST_F(WorkFileCursor, TakesALongLineInPieces) {
  openWorkFile(repeated(5000, "x") + "\n\n");
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(objectLines(), (Lines{repeated(4095, "x"), repeated(905, "x") + "\n"}));
  EXPECT_EQ(blankOut(), 0);
  closeStream(tifp);
  EXPECT_EQ(readFile("input.tmp"), repeated(4093, " ") + "\r\n" + repeated(904, " ") + "\r\n\n");
}

TEST_F(WorkFileCursor, SkipsACommentOnlyWhenReading) {
  openWorkFile("# c\n\ndn: cn=a\n\n");
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(objectLines(), Lines{"dn: cn=a\n"});
  EXPECT_EQ(blankOut(), 0);
  EXPECT_EQ(position(), 5);
  closeStream(tifp);
  EXPECT_EQ(readFile("input.tmp"), "  \r\n\ndn: cn=a\n\n");
}

TEST_F(WorkFileCursor, StepsOverACommentAsAnEntry) {
  openWorkFile("# c\n\ndn: cn=a\n\n");
  stepOver();
  EXPECT_EQ(position(), 5);
}

struct ChangetypeCase {
  const char* name;
  std::string file;
  int32_t seen;
};
class Changetype : public FreshRun, public testing::WithParamInterface<ChangetypeCase> {};
const ChangetypeCase changetypeCases[] = {
    {"Line", "dn: a\nchangetype: add\n\n", 1},         {"AnywhereInALine", "dn: a\ntext: changetype:\n\n", 1},
    {"Comment", "# changetype: add\ndn: a\n\n", 1},    {"OtherCase", "dn: a\nchangeType: add\n\n", 0},
    {"LaterEntry", "dn: a\n\nchangetype: add\n\n", 0},
};
INSTANTIATE_CASES(Changetype, changetypeCases);
TEST_P(Changetype, IsSeenByTheRead) {
  writeFile("input.tmp", GetParam().file);
  getNextObjectFromTemporaryInputLDIFFile(openForUpdate("input.tmp"));
  EXPECT_EQ(changetypeSeen, GetParam().seen);
}

TEST_F(WorkFileCursor, NeverForgetsAChangetype) {
  openWorkFile(TWO_ENTRIES);
  changetypeSeen = 1;
  read();
  EXPECT_EQ(changetypeSeen, 1);
}

TEST_F(WorkFileCursor, TracesTheRead) {
  openWorkFile("\ndn: cn=a\nb: 1\n\n");
  startTrace();
  read();
  EXPECT_EQ(
      traced(),
      "getNextObjectFromTemporaryInputLDIFFile():  FUNCTION ENTRY  \n"
      "getNextObjectFromTemporaryInputLDIFFile():  filePositionBeforeReadingObject = 0  \n"
      "\ngetNextObjectFromTemporaryInputLDIFFile():  The object read is:   \n"
      "   object[0] = dn: cn=a\n"
      "   object[1] = b: 1\n"
      "getNextObjectFromTemporaryInputLDIFFile():  filePositionBeforeReadingObject = 0  \n"
      "                                            filePositionAfterReadingObject = 0  \n"
      "                                            THESE VALUES SHOULD BE EQUAL SINCE THIS FUNCTION RESTORES THE "
      "FILE    \n"
      "                                            POSITION TO THE BEGINNING OF THE OBJECT THAT IT READS.         "
      "       \n"
      "getNextObjectFromTemporaryInputLDIFFile():  Returning rc = 0 \n"
      "                                            next_available_object_slot = 2 \n"
      "getNextObjectFromTemporaryInputLDIFFile():  FUNCTION EXIT   \n");
}

TEST_F(WorkFileCursor, TracesOnlyEntryAndExitOfTheBlankingOut) {
  openWorkFile(TWO_ENTRIES);
  startTrace();
  blankOut();
  EXPECT_EQ(debug, 1);
  EXPECT_EQ(traced(),
            "deleteNextObjectFromTemporaryInputLDIFFile():  FUNCTION ENTRY  \n"
            "deleteNextObjectFromTemporaryInputLDIFFile():  FUNCTION EXIT  \n");
}

TEST_F(WorkFileCursor, TracesEveryLineSteppedOver) {
  openWorkFile("\ndn: cn=a\n\n");
  startTrace();
  stepOver();
  const std::string next =
      "\nstepOverNextObjectFromTemporaryInputLDIFFile() - The next line returned from getNextLine() is:   \n";
  const std::string name = "stepOverNextObjectFromTemporaryInputLDIFFile() - ";
  expectTraced({"stepOverNextObjectFromTemporaryInputLDIFFile():  FUNCTION ENTRY  \n",
                next + "\n \nThe line read contains 1 characters \n" + name + "The line IS a blank line.   \n" + name +
                    "This blank line precedes the object   \n",
                next + "dn: cn=a\n \nThe line read contains 9 characters \n" + name +
                    "The line IS NOT a blank line.   \n" + name + "This is an actual line of the object  \n",
                next + "\n \nThe line read contains 1 characters \n" + name + "The line IS a blank line.   \n" + name +
                    "This blank line terminates the object   \n",
                "and will cause this function to return.  \n",
                "stepOverNextObjectFromTemporaryInputLDIFFile():  FUNCTION EXIT \n"});
}

TEST_F(WorkFileCursor, TracesTheEndOfTheFileSteppedTo) {
  openWorkFile("dn: cn=a\n");
  startTrace();
  stepOver();
  expectTraced({"This is an actual line of the object  \n",
                "stepOverNextObjectFromTemporaryInputLDIFFile():  getNextLine() has reached EOF.  Exiting loop. \n",
                "stepOverNextObjectFromTemporaryInputLDIFFile():  FUNCTION EXIT \n"});
}

constexpr char POSITION_MESSAGE[] =
    "tqldif2v6: 380928301 ERROR: fgetpos() failed with return code -1: a position in a file could not be saved or "
    "restored.\n";
constexpr char POSITION_MESSAGE_AFTER_A_READ[] =
    "tqldif2v6: 380928301 ERROR: fgetpos() failed with return code -1: a position in a file could not be saved or "
    "restored. Reason: Illegal seek\n";

TEST_F(WorkFileCursor, CannotReadFromAPipe) {
  tifp = streamWithoutPositions();
  startTrace();
  EXPECT_FAILURE(read(), POSITION_CALL_FAILED);
  EXPECT_EXIT(read(), testing::ExitedWithCode(255), "fgetpos\\(\\) failed with return code -1");
  expectTraced({"getNextObjectFromTemporaryInputLDIFFile():  fgetpos() failed with rc = -1 (dec)  \n"});
}

TEST_F(WorkFileCursor, CannotBlankOutInAPipe) {
  tifp = streamWithoutPositions();
  startTrace();
  EXPECT_EQ(messagesOf([] { EXPECT_EQ(blankOut(), -1); }), POSITION_MESSAGE_AFTER_A_READ);
  EXPECT_EQ(debug, 1);
  EXPECT_EQ(traced(),
            "deleteNextObjectFromTemporaryInputLDIFFile():  FUNCTION ENTRY  \n"
            "deleteNextObjectFromTemporaryInputLDIFFile():  FUNCTION EXIT ERROR  \n");
}

TEST_F(WorkFileCursor, CannotStepOverInAPipe) {
  tifp = streamWithoutPositions();
  startTrace();
  EXPECT_EQ(messagesOf([] { EXPECT_EQ(stepOver(), -1); }), POSITION_MESSAGE);
  EXPECT_EQ(hasTheStepOverFilePositionBeenInitialized, 0);
  expectTraced({"stepOverNextObjectFromTemporaryInputLDIFFile():  fgetpos() failed with rc = -1 (dec)  \n"});
}

TEST_F(WorkFileCursor, BlanksOutInSilenceWhenAWriteFails) {
  openWorkFile(TWO_ENTRIES);
  makeWritesFail(tifp);
  startTrace();
  EXPECT_EQ(messagesOf([] { EXPECT_EQ(blankOut(), -1); }), "");
  expectTraced({"deleteNextObjectFromTemporaryInputLDIFFile():  FUNCTION EXIT ERROR  \n"});
}

TEST_F(WorkFileCursor, TellsAReadFailureFromTheEndOfTheFile) {
  tifp = openForUpdate(UNREADABLE_FILE);
  EXPECT_EQ(read(), OBJECT_NOT_READABLE);
}

TEST_F(WorkFileCursor, NeedsMemoryForALongEntry) {
  openWorkFile("dn: cn=a\n" + repeated(80000, "b: 1\n") + "\n");
  exhaustMemoryIn([] { read(); });
}

TEST_F(WorkFileCursor, OnlyMarksTheNoteOfAnEntryThatHasBeenLoadedByIt) {
  writeWorkFile(TWO_ENTRIES);
  noteWorkFile();
  ASSERT_EQ(noteCount, 2u);
  tifp = openForUpdate("input.tmp");
  loadNotedObject(notes[0]);
  EXPECT_EQ(stepOver(), 0);
  EXPECT_EQ(notes[0].isTaken, 0);
  EXPECT_EQ(hasTheStepOverFilePositionBeenInitialized, 0);
  EXPECT_EQ(blankOut(), 0);
  EXPECT_EQ(notes[0].isTaken, 1);
  EXPECT_EQ(notes[1].isTaken, 0);
  EXPECT_EQ(position(), 0);
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(notedObject, nullptr);
  EXPECT_EQ(blankOut(), 0);
  closeStream(tifp);
  EXPECT_EQ(readFile("input.tmp"), "       \r\n   \r\n\ndn: cn=c\n\n");
}

TEST_F(WorkFileCursor, RefusesAnEntryOfMoreLinesThanTheBuffer) {
  openWorkFile(repeated(250000, "a\n"));
  EXPECT_EQ(read(), -1);
  EXPECT_EQ(next_available_object_slot, 250000);
  closeStream(tifp);
  openWorkFile(repeated(250001, "a\n"));
  EXPECT_FAILURE(read(), PROCESSING_FAILED);
}

TEST_F(WorkFileCursor, SettlesTheEntryThatComesNextAndNotTheOneReadLast) {
  openWorkFile(TWO_ENTRIES);
  read();
  stepOver();
  stepOver();
  EXPECT_EQ(position(), 25);
  setPosition(tifp, 0);
  read();
  blankOut();
  setPosition(tifp, 0);
  blankOut();
  EXPECT_EQ(position(), 25);
  closeStream(tifp);
  EXPECT_EQ(readFile("input.tmp"), "       \r\n   \r\n\n       \r\n\n");
}

TEST_F(WorkFileCursor, SettlesAnEntryThatMemoryDoesNotHoldAsAWhole) {
  const std::string behind = "\ndn: cn=c\n\n";
  openWorkFile("dn: cn=a\n" + repeated(80000, "b: 1\n") + behind);
  read();
  EXPECT_EQ(stepOver(), 0);
  EXPECT_EQ(position(), 400010);
  setPosition(tifp, 0);
  read();
  EXPECT_EQ(blankOut(), 0);
  EXPECT_EQ(position(), 400010);
  closeStream(tifp);
  EXPECT_EQ(readFile("input.tmp"), "       \r\n" + repeated(80000, "   \r\n") + behind);
}

TEST_F(WorkFileCursor, BlanksCommentsOutWithTheEntryTheyStandIn) {
  openWorkFile("  \n# c\ndn: cn=a\n# d\nb: 1\n\nnext\n");
  read();
  EXPECT_EQ(blankOut(), 0);
  closeStream(tifp);
  EXPECT_EQ(readFile("input.tmp"), "  \n  \r\n       \r\n  \r\n   \r\n\nnext\n");
}

TEST_F(WorkFileCursor, BlanksALineOutUpToItsNul) {
  const std::string rest("\0y\nc: 1\n\n", 9);
  openWorkFile("dn: cn=a\nb: x" + rest);
  read();
  EXPECT_EQ(stepOver(), 0);
  EXPECT_EQ(position(), 22);
  setPosition(tifp, 0);
  read();
  EXPECT_EQ(blankOut(), 0);
  EXPECT_EQ(position(), 16);
  closeStream(tifp);
  EXPECT_EQ(readFile("input.tmp"), "       \r\n  \r\n" + rest);
}

TEST_F(WorkFileCursor, BlanksAnEntryThatHasBeenReadOutInSilenceWhenAWriteFails) {
  openWorkFile(TWO_ENTRIES);
  makeWritesFail(tifp);
  read();
  EXPECT_EQ(messagesOf([] { EXPECT_EQ(blankOut(), -1); }), "");
}

}  // namespace
