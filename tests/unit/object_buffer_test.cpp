#include "ldif/object_buffer.h"

#include <cstring>

#include "ldif/complaint.h"
#include "ldif/line_memory.h"
#include "ldif/line_reader.h"
#include "reporting/reporting.h"
#include "reporting/run_state.h"
#include "test_support.h"

namespace {

class ObjectBuffer : public FreshRun {
 protected:
  void openInput(const std::string& contents) {
    writeFile("input", contents);
    ifp = openForUpdate("input");
  }
};

struct ReadCase {
  const char* name;
  std::string file;
  int32_t result;
  Lines lines;
};
class FirstEntry : public FreshRun, public testing::WithParamInterface<ReadCase> {};
const ReadCase readCases[] = {
    {"BlankLinesAndCommentsBeforeItAreSkipped", "\n# c\n \r\n#\ndn: a\n\n", 0, {"dn: a\n"}},
    {"CommentInsideDoesNotEndIt", "dn: a\n# c\nb: c\n\n", 0, {"dn: a\n", "b: c\n"}},
    {"LineOfSpacesEndsIt", "dn: a\n   \nb: c\n\n", 0, {"dn: a\n"}},
    {"CarriageReturnAndNewlineEndIt", "dn: a\r\n\r\nb: c\n", 0, {"dn: a\r\n"}},
    {"TabIsALineOfIt", "dn: a\n\t\nb: c\n\n", 0, {"dn: a\n", "\t\n", "b: c\n"}},
    {"NumberSignBehindABlankIsNoComment", "dn: a\n # c\n\n", 0, {"dn: a\n", " # c\n"}},
    {"FoldedLinesStayFolded", "dn: a\n b\n\n", 0, {"dn: a\n", " b\n"}},
    {"EndOfTheFileEndsIt", "dn: a\nb: c\n", -1, {"dn: a\n", "b: c\n"}},
    {"LastLineWithoutNewline", "dn: a\nb: c", -1, {"dn: a\n", "b: c"}},
    {"NoneInABlankFile", "\n  \n# c\n", -1, {}},
    {"NoneInAnEmptyFile", "", -1, {}},
};
INSTANTIATE_CASES(FirstEntry, readCases);
TEST_P(FirstEntry, IsRead) {
  writeFile("input", GetParam().file);
  EXPECT_EQ(getNextObject(openForUpdate("input")), GetParam().result);
  EXPECT_EQ(objectLines(), GetParam().lines);
  EXPECT_EQ(object[next_available_object_slot], nullptr);
}

TEST_F(ObjectBuffer, IsRefilledWithEachEntry) {
  openInput("dn: a\nb: c\n\n\ndn: d\n");
  EXPECT_EQ(getNextObject(ifp), 0);
  EXPECT_EQ(getNextObject(ifp), -1);
  EXPECT_EQ(objectLines(), Lines{"dn: d\n"});
  EXPECT_EQ(object[1], nullptr);
  EXPECT_EQ(getNextObject(ifp), -1);
  EXPECT_EQ(next_available_object_slot, 0);
  EXPECT_EQ(object[0], nullptr);
}

TEST_F(ObjectBuffer, HoldsALongLineAsTwo) {
  openInput(repeated(5000, "x") + "\n\n");
  EXPECT_EQ(getNextObject(ifp), 0);
  EXPECT_EQ(objectLines(), (Lines{repeated(4095, "x"), repeated(905, "x") + "\n"}));
}

TEST_F(ObjectBuffer, HoldsAnEntryOf249999Lines) {
  openInput(repeated(249999, "a: b\n") + "\n");
  EXPECT_EQ(getNextObject(ifp), 0);
  EXPECT_EQ(next_available_object_slot, 249999);
  EXPECT_STREQ(object[249998], "a: b\n");
  EXPECT_EQ(object[249999], nullptr);
}

TEST_F(ObjectBuffer, PassesAnEntryOf250000LinesToTheOutput) {
  openInput("\n" + repeated(250000, "a: b\n") + "\ndn: next\n\n");
  ofp = openToCreate("output.ldif");
  EXPECT_EQ(getNextObject(ifp), OBJECT_COPIED_TO_OUTPUT);
  EXPECT_EQ(next_available_object_slot, 0);
  EXPECT_EQ(object[0], nullptr);
  EXPECT_EQ(getNextObject(ifp), 0);
  EXPECT_EQ(objectLines(), Lines{"dn: next\n"});
  closeStream(ofp);
  EXPECT_EQ(readFile("output.ldif"), repeated(250000, "a: b\n") + "\n");
}

TEST_F(ObjectBuffer, TracesWhatIsRead) {
  openInput("dn: a\n b\n\ndn: c\n");
  startTrace();
  getNextObject(ifp);
  EXPECT_EQ(traced(),
            "getNextObject():  FUNCTION ENTRY  \n"
            "getNextObject():  filePositionBeforeReadingObject = 0  \n"
            "\ngetNextObject():  The object read is:   \n"
            "   object[0] = dn: a\n"
            "   object[1] =  b\n"
            "getNextObject():  Returning 0 \n"
            "getNextObject():  FUNCTION EXIT   \n");
  startTrace();
  getNextObject(ifp);
  expectTraced({"filePositionBeforeReadingObject = 10  \n", "Returning -1 \n"});
}

TEST_F(ObjectBuffer, CannotBeFilledFromAPipe) {
  ifp = streamWithoutPositions();
  startTrace();
  EXPECT_FAILURE(getNextObject(ifp), POSITION_CALL_FAILED);
  EXPECT_EXIT(getNextObject(ifp), testing::ExitedWithCode(255), "fgetpos\\(\\) failed with return code -1");
  expectTraced({"getNextObject():  fgetpos() failed with rc = -1 (dec)  \n"});
}

TEST_F(ObjectBuffer, NeedsMemoryForEachLine) {
  openInput("dn: a\n\n");
  startTrace();
  EXPECT_FAILURE((failNextAllocation(), getNextObject(ifp)), MEMORY_EXHAUSTED);
  expectTraced({"getNextObject():  malloc() failure.  EXITING. \n"});
}

TEST_F(ObjectBuffer, IsFreedUpToTheFirstGap) {
  fillObject({"a", "b", "c"});
  char* behindTheGap = object[2];
  freeLine(object[1]);
  object[1] = nullptr;
  freeObject();
  EXPECT_EQ(object[0], nullptr);
  EXPECT_EQ(object[2], behindTheGap);
  EXPECT_EQ(next_available_object_slot, 3);
  freeLine(behindTheGap);
  object[2] = nullptr;
}

TEST_F(ObjectBuffer, TakesNoLineMoreThanItHolds) {
  strcpy(nextLine, "a: b\n");
  nextLineLength = strlen(nextLine);
  next_available_object_slot = OBJECT_ARRAY_SIZE - 1;
  storeNextLine("unused");
  EXPECT_STREQ(object[OBJECT_ARRAY_SIZE - 1], "a: b\n");
  EXPECT_FAILURE(storeNextLine("unused"), PROCESSING_FAILED);
  EXPECT_FAILURE(appendLineToObject(nextLine), PROCESSING_FAILED);
  freeLine(object[OBJECT_ARRAY_SIZE - 1]);
  object[OBJECT_ARRAY_SIZE - 1] = nullptr;
}

TEST_F(ObjectBuffer, NamesItsEntryInAFailure) {
  fillObject({"dn: cn=a\n", "b: c\n"});
  EXPECT_EXIT(exitForObject(MAP_WITHOUT_DN), testing::ExitedWithCode(255),
              failureMessage(PROCESSING_FAILED, "The map cn=a has no secDN, and the conversion has stopped"));
  fillObject({});
  EXPECT_EQ(firstLineOfObject(), nullptr);
  EXPECT_EXIT(exitForObject(MAP_WITHOUT_DN), testing::ExitedWithCode(255),
              failureMessage(PROCESSING_FAILED, "The map whose DN cannot be shown has no secDN,"));
}

struct CutCase {
  const char* name;
  const char* line;
  const char* rest;
  int firstColon;  // of the rest, -1 for none
};
class CutLine : public FreshRun, public testing::WithParamInterface<CutCase> {};
const CutCase cutCases[] = {
    {"AtTheNewline", "a: b\n", "a: b", 1},
    {"AtTheCarriageReturn", "a: b\r\n", "a: b", 1},
    {"AtACarriageReturnInside", "a: b\rc: d\n", "a: b", 1},
    {"WithoutALineEnd", "a: b", "a: b", 1},
    {"OfALineEndAlone", "\r\n", "", -1},
    {"WithTheOnlyColonBehindIt", "a\rxoq-entryuuid: b\n", "a", -1},
};
INSTANTIATE_CASES(CutLine, cutCases);
TEST_P(CutLine, KnowsWhatIsLeft) {
  for (const bool isKnownBefore : {false, true}) {
    fillObject({GetParam().line});
    if (isKnownBefore) colonsOfObject(0);
    cutLineEndOfObject(0);
    const ColonLine& line = colonsOfObject(0);
    EXPECT_STREQ(object[0], GetParam().rest);
    EXPECT_EQ(line.text, object[0]);
    EXPECT_EQ(line.length, strlen(GetParam().rest));
    EXPECT_EQ(line.firstColon, GetParam().firstColon < 0 ? nullptr : object[0] + GetParam().firstColon);
  }
}

TEST_F(ObjectBuffer, FindsTheColonsOfEveryNewLine) {
  fillObject({"a: b\n"});
  EXPECT_EQ(colonsOfObject(0).firstColon, object[0] + 1);
  fillObject({"abc: d: e\n"});
  EXPECT_EQ(colonsOfObject(0).text, object[0]);
  EXPECT_EQ(colonsOfObject(0).firstColon, object[0] + 3);
  strcpy(nextLine, "ab: c\n");
  nextLineLength = strlen(nextLine);
  storeNextLine("unused");
  EXPECT_EQ(colonsOfObject(1).firstColon, object[1] + 2);
  EXPECT_EQ(colonsOfObject(1).length, 6);
}

TEST_F(ObjectBuffer, FindsTheColonsOfAChangedLineAnew) {
  fillObject({"version: 5\n"});
  colonsOfObject(0);
  strcpy(object[0], "ab: 5.0\n");
  objectLineHasChanged(0);
  EXPECT_EQ(colonsOfObject(0).length, 8);
  EXPECT_EQ(colonsOfObject(0).firstColon, object[0] + 2);
}

TEST_F(ObjectBuffer, KnowsTheColonsOfACopiedLine) {
  const char texts[][6] = {"ab: c", "abc"};
  for (const char* text : texts) copyLineToObject(text, "unused");
  EXPECT_EQ(objectLines(), (Lines{"ab: c", "abc"}));
  EXPECT_NE(object[0], texts[0]);
  EXPECT_EQ(colonsOfObject(0).text, object[0]);
  EXPECT_EQ(colonsOfObject(0).length, 5);
  EXPECT_EQ(colonsOfObject(0).firstColon, object[0] + 2);
  EXPECT_EQ(colonsOfObject(1).firstColon, nullptr);
}

}  // namespace
