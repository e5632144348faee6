#include "ldif/object_buffer.h"

#include <unistd.h>

#include "ldif/complaint.h"
#include "ldif/line_writer.h"
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
  static void fillWithShortLines(int32_t count) {
    fillObject({});
    while (next_available_object_slot < count) appendLineToObject(scanLine("a: b\n"));
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
}

TEST_F(ObjectBuffer, IsRefilledWithEachEntry) {
  openInput("dn: a\nb: c\n\n\ndn: d\n");
  EXPECT_EQ(getNextObject(ifp), 0);
  EXPECT_EQ(getNextObject(ifp), -1);
  EXPECT_EQ(objectLines(), Lines{"dn: d\n"});
  EXPECT_EQ(getNextObject(ifp), -1);
  EXPECT_EQ(next_available_object_slot, 0);
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
  EXPECT_EQ(object[249998].view(), "a: b\n");
}

TEST_F(ObjectBuffer, PassesAnEntryOf250000LinesToTheOutput) {
  openInput("\n" + repeated(250000, "a: b\n") + "\ndn: next\n\n");
  ofp = openToCreate("output.ldif");
  EXPECT_EQ(getNextObject(ifp), OBJECT_COPIED_TO_OUTPUT);
  EXPECT_EQ(next_available_object_slot, 0);
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

// Its lines stand in the window of the stream, which holds 256 KiB.
TEST_F(ObjectBuffer, HoldsAnEntryThatIsLongerThanTheWindow) {
  Lines lines = {"dn: a\n"};
  for (int number = 0; number < 100000; number++) lines.push_back("n: " + std::to_string(number) + "\n");
  std::string contents;
  for (const std::string& line : lines) contents += line;
  openInput("dn: before\n\n" + contents + "\ndn: behind\n\n");
  EXPECT_EQ(getNextObject(ifp), 0);
  EXPECT_EQ(getNextObject(ifp), 0);
  EXPECT_EQ(objectLines(), lines);
  EXPECT_EQ(getNextObject(ifp), 0);
  EXPECT_EQ(objectLines(), Lines{"dn: behind\n"});
}

TEST_F(ObjectBuffer, HoldsEveryEntryWhereverTheWindowEnds) {
  Lines entries;
  for (int number = 0; number < 20000; number++)
    entries.push_back("dn: " + std::to_string(number) + repeated(static_cast<size_t>(number % 60), "x") + "\n");
  std::string contents;
  for (const std::string& line : entries) contents += line + line + "\n";
  openInput(contents);
  for (const std::string& line : entries) {
    ASSERT_EQ(getNextObject(ifp), 0);
    ASSERT_EQ(objectLines(), (Lines{line, line}));
  }
}

TEST_F(ObjectBuffer, NeedsMemoryForAnEntryThatIsLongerThanTheWindow) {
  openInput(repeated(60000, "a: b\n") + "\n");
  EXPECT_FAILURE((failNextAllocation(), getNextObject(ifp)), MEMORY_EXHAUSTED);
}

TEST_F(ObjectBuffer, NeedsNoMemoryForOrdinaryEntries) {
  openInput(repeated(20000, "dn: a\nb: c\n\n"));
  expectNoAllocationIn([] {
    for (int number = 0; number < 20000; number++) getNextObject(ifp);
    if (objectsRead != 20000) _exit(1);
  });
}

TEST_F(ObjectBuffer, GivesItsTextsBackWhenItIsEmptied) {
  fillObject({"dn: a\n"});
  const char* const first = makeRoom(objectTexts, 10);
  freeObject();
  EXPECT_EQ(makeRoom(objectTexts, 10), memoryOfObjectTexts);
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(next_available_object_slot, 0);
}

TEST_F(ObjectBuffer, TakesNoLineMoreThanItHolds) {
  fillWithShortLines(OBJECT_ARRAY_SIZE);
  EXPECT_EQ(object[OBJECT_ARRAY_SIZE - 1].view(), "a: b\n");
  EXPECT_FAILURE(appendLineToObject(scanLine("a: c\n")), PROCESSING_FAILED);
  EXPECT_FAILURE(setLineOfObject(OBJECT_ARRAY_SIZE, "a: c\n"), PROCESSING_FAILED);
}

TEST_F(ObjectBuffer, NamesItsEntryInAFailure) {
  fillObject({"dn: cn=a\n", "b: c\n"});
  EXPECT_EXIT(exitForObject(MAP_WITHOUT_DN), testing::ExitedWithCode(255),
              failureMessage(PROCESSING_FAILED, "The map cn=a has no secDN, and the conversion has stopped"));
  fillObject({});
  EXPECT_EQ(firstLineOfObject().data(), nullptr);
  EXPECT_EXIT(exitForObject(MAP_WITHOUT_DN), testing::ExitedWithCode(255),
              failureMessage(PROCESSING_FAILED, "The map whose DN cannot be shown has no secDN,"));
}

TEST_F(ObjectBuffer, KnowsTheColonsOfALineThatHasBeenChangedOrAdded) {
  fillObject({"version: 5\n", "cn: a\n"});
  setLineOfObject(0, "ab: 5.0\n");
  setLineOfObject(2, "abc: d");
  EXPECT_EQ(objectLines(), (Lines{"ab: 5.0\n", "cn: a\n", "abc: d"}));
  EXPECT_EQ(object[0].firstColon, 2u);
  EXPECT_EQ(object[2].firstColon, 3u);
}

struct UnfoldCase {
  const char* name;
  Lines lines;
  Lines unfolded;
};
class Unfolding : public FreshRun, public testing::WithParamInterface<UnfoldCase> {};
const UnfoldCase unfoldCases[] = {
    {"NothingToDo", {"dn: a\n", "b: c\n"}, {"dn: a\n", "b: c\n"}},
    {"FoldedLines", {"dn: a\n", " b\n", "  c\n", "d: e\n", "f: g\n", " h\n"}, {"dn: ab c\n", "d: e\n", "f: gh\n"}},
    {"CarriageReturnAtTheEnd", {"dn: a\r\n", "b: c\r\n", " d\r\n"}, {"dn: a\n", "b: cd\n"}},
    {"CarriageReturnInside", {"a: b\rc: d\n", "e: f\n"}, {"a: b\n", "e: f\n"}},
    {"CarriageReturnInsideOfAContinuation", {"a: b\n", " c\rd\n", " e\n"}, {"a: bce\n"}},
    {"SeveralCarriageReturns", {"a: b\r\r\n"}, {"a: b\n"}},
    {"CarriageReturnWithoutANewline", {"a: b\r"}, {"a: b\n"}},
    {"CarriageReturnAlone", {"a: b\n", "\r"}, {"a: b\n", "\n"}},
    {"NoLineEnd", {"dn: a\n", "b: c"}, {"dn: a\n", "b: c\n"}},
    {"NoLineEndOfTheContinuation", {"b: c\n", " d"}, {"b: cd\n"}},
    {"NoLineEndOfOneBefore", {"b: c", "d: e\n", "f: g", " h"}, {"b: c\n", "d: e\n", "f: gh\n"}},
    {"ContinuationOfNothingGoes", {" a\n", "b: c\n"}, {"b: c\n"}},
    {"EmptyContinuation", {"a: b\n", " \n", " c\n"}, {"a: bc\n"}},
    {"PieceOfALongLine", {repeated(4095, "x"), "y\n"}, {repeated(4095, "x") + "\n", "y\n"}},
    {"Nothing", {}, {}},
};
INSTANTIATE_CASES(Unfolding, unfoldCases);
TEST_P(Unfolding, GivesEveryLineOneNewline) {
  fillObject(GetParam().lines);
  unfoldObject();
  EXPECT_EQ(objectLines(), GetParam().unfolded);
}

// What is known of the lines is what a look at them shows.
TEST_P(Unfolding, KnowsTheLinesAnew) {
  fillObject(GetParam().lines);
  unfoldObject();
  for (const Line& line : entryInObject()) {
    const Line known = scanLine(line.view());
    EXPECT_EQ(line.firstColon, known.firstColon);
    EXPECT_EQ(line.names & known.names, known.names);
    EXPECT_EQ(line.endings & known.endings, known.endings);
  }
}

struct AsReadCase {
  const char* name;
  Lines lines;
  bool isAsRead;
};
class UnfoldedEntry : public FreshRun, public testing::WithParamInterface<AsReadCase> {};
const AsReadCase asReadCases[] = {
    {"OfWholeLines", {"dn: a\n", "b: c\r\n"}, true},
    {"ThatEndsWithTheFile", {"dn: a\n", "b: c"}, true},
    {"OfFoldedLines", {"dn: a\n", "b: c\n", " de\n"}, false},
    {"ThatIsAsLongAsTheFirstOfTwoLines", {"dn: a\n", "b: c\n", " d\n"}, false},
    {"ThatHasLostItsFirstLine", {" dn: a\n", "b: c\n"}, false},
    {"ThatHasLostWhatFollowsACarriageReturn", {"dn: a\n", "b: c\rd\n"}, false},
    {"ThatHasLostThePieceBehindACarriageReturn", {"dn: a\n", "b: c\rd"}, false},
    {"WithAPieceOfALongLine", {"dn: a\n", repeated(4095, "x"), "y\n"}, false},
};
INSTANTIATE_CASES(UnfoldedEntry, asReadCases);
TEST_P(UnfoldedEntry, IsThatWhichHasBeenReadOrNot) {
  fillObject(GetParam().lines);
  EXPECT_EQ(unfoldObject(), GetParam().isAsRead);
}

TEST_F(ObjectBuffer, ForgetsAColonThatHasBeenCutOff) {
  fillObject({"a\rxoq-entryuuid: b\n"});
  unfoldObject();
  EXPECT_EQ(objectLines(), Lines{"a\n"});
  EXPECT_EQ(object[0].firstColon, NO_COLON);
  EXPECT_EQ(object[0].names, 0u);
}

struct SplitCase {
  const char* name;
  Lines lines;
  bool readsAsWritten;
  Lines split;
};
class Splitting : public FreshRun, public testing::WithParamInterface<SplitCase> {};
const std::string FULL(4095, 'x');
const SplitCase splitCases[] = {
    {"ShortLines", {"dn: a\n", "b: c\n"}, true, {"dn: a\n", "b: c\n"}},
    {"LongestLine", {repeated(4094, "x") + "\n"}, true, {repeated(4094, "x") + "\n"}},
    {"OneCharacterMoreLeavesABlankLine", {"a: b\n", FULL + "\n"}, false, {"a: b\n", FULL, "\n"}},
    {"TwoPieces", {"a: b\n", FULL + "y\n", "c: d\n"}, true, {"a: b\n", FULL, "y\n", "c: d\n"}},
    {"ThreePiecesAndTwo",
     {FULL + FULL + "z\n", "a: b\n", FULL + "y\n"},
     true,
     {FULL, FULL, "z\n", "a: b\n", FULL, "y\n"}},
    {"BlankPiece", {FULL + "   \n"}, false, {FULL, "   \n"}},
    {"PieceThatBeginsAComment", {FULL + "#y\n"}, false, {FULL, "#y\n"}},
    {"NumberSignInsideAPiece", {FULL + "y#\n"}, true, {FULL, "y#\n"}},
    {"BlankLine", {"a: b\n", "\n"}, false, {"a: b\n", "\n"}},
    {"Comment", {"a: b\n", "# c\n"}, false, {"a: b\n", "# c\n"}},
};
INSTANTIATE_CASES(Splitting, splitCases);
TEST_P(Splitting, MakesTheLinesAsTheyWillBeRead) {
  fillObject(GetParam().lines);
  EXPECT_EQ(splitObjectAsRead(), GetParam().readsAsWritten);
  EXPECT_EQ(objectLines(), GetParam().split);
}

TEST_F(ObjectBuffer, IsNotSplitIntoMorePiecesThanItHolds) {
  fillWithShortLines(OBJECT_ARRAY_SIZE - 1);
  setLineOfObject(OBJECT_ARRAY_SIZE - 1, keepText(objectTexts, FULL + "y\n"));
  EXPECT_FALSE(splitObjectAsRead());
  EXPECT_EQ(next_available_object_slot, OBJECT_ARRAY_SIZE);
  fillWithShortLines(OBJECT_ARRAY_SIZE - 2);
  setLineOfObject(OBJECT_ARRAY_SIZE - 2, keepText(objectTexts, FULL + "y\n"));
  EXPECT_TRUE(splitObjectAsRead());
  EXPECT_EQ(next_available_object_slot, OBJECT_ARRAY_SIZE);
}

struct ExtentCase {
  const char* name;
  std::string file;
  Lines lines;
  int64_t begin;
  size_t linesLength;
  bool hasOddLines;
  bool hasChangetype;
};
class Extent : public FreshRun, public testing::WithParamInterface<ExtentCase> {};
const ExtentCase extentCases[] = {
    {"OfWholeLines", "dn: a\nb: c\n\nd: e\n", {"dn: a\n", "b: c\n"}, 0, 11, false, false},
    {"WithAComment", "dn: a\n# b\nc: d\n\n", {"dn: a\n", "c: d\n"}, 0, 15, false, false},
    {"ThatEndsWithTheFile", "dn: a\nb: c\n", {"dn: a\n", "b: c\n"}, 0, 11, false, false},
    {"WithoutALineEnd", "dn: a\nb: c", {"dn: a\n", "b: c"}, 0, 10, false, false},
    {"OfALongLine",
     repeated(5000, "x") + "\n\n",
     {repeated(4095, "x"), repeated(905, "x") + "\n"},
     0,
     5001,
     false,
     false},
    {"WithANul", std::string("dn: a\nb\0: c\n\n", 14), {"dn: a\n", "b"}, 0, 12, true, false},
    {"OfAnEntryThatIsAdded", "dn: a\nchangetype: add\n\n", {"dn: a\n", "changetype: add\n"}, 0, 22, false, true},
    {"WithAnotherCaseOfIt", "dn: a\nChangetype: add\n\n", {"dn: a\n", "Changetype: add\n"}, 0, 22, false, false},
    {"WithItInAComment", "dn: a\n#changetype: add\n\n", {"dn: a\n"}, 0, 23, false, true},
};
INSTANTIATE_CASES(Extent, extentCases);
TEST_P(Extent, TellsWhereTheEntryStands) {
  writeFile("file", GetParam().file);
  ObjectExtent extent;
  readLinesOfObject(openForUpdate("file"), false, extent);
  EXPECT_EQ(objectLines(), GetParam().lines);
  EXPECT_EQ(extent.begin, GetParam().begin);
  EXPECT_EQ(extent.linesLength, GetParam().linesLength);
  EXPECT_EQ(extent.hasOddLines, GetParam().hasOddLines);
  EXPECT_EQ(extent.hasChangetype, GetParam().hasChangetype);
  EXPECT_EQ(extent.hasComments, GetParam().file.find('#') != std::string::npos);  // which stands nowhere else
}

TEST_F(ObjectBuffer, TellsThatItsLinesCannotBeWritten) {
  for (const size_t length : {10u, 1000000u}) {  // with and without room in the stream
    fillObject({"dn: a\n", repeated(length, "x") + "\n"});
    Stream* stream = openToCreate("/dev/full");
    const int32_t result = writeLines(stream, entryInObject(), INTO_WORK_FILE);
    EXPECT_EQ(flushStream(stream), -1);
    if (length > 10) {
      EXPECT_EQ(result, -1);
    }
    EXPECT_EQ(writeLines(stream, entryInObject(), INTO_WORK_FILE), -1);
    closeStream(stream);
  }
}

TEST_F(ObjectBuffer, KnowsThatAnEntryDoesNotBeginWhereTheReadDid) {
  for (const char* contents : {"\ndn: a\n\n", " \r\n\ndn: a\n\n", "# c\n\ndn: a\n\n"}) {
    writeFile("file", contents);
    ObjectExtent extent;
    fillObject({});
    EXPECT_EQ(readLinesOfObject(openForUpdate("file"), false, extent), 0);
    EXPECT_EQ(objectLines(), Lines{"dn: a\n"});
    EXPECT_TRUE(extent.hasOddLines);
  }
}

TEST_F(ObjectBuffer, CanBeKeptApartFromWhatItWasReadFrom) {
  openInput("dn: a\nb: c\n\n" + repeated(100000, "d: e\n"));
  getNextObject(ifp);
  keepObjectApart();
  while (!readLine(ifp, 100).empty()) continue;
  closeStream(ifp);
  EXPECT_EQ(objectLines(), (Lines{"dn: a\n", "b: c\n"}));
  EXPECT_EQ(object[0].text + object[0].length, object[1].text);  // one behind the other
}

TEST_F(ObjectBuffer, HoldsNoPartOfALineThatCannotBeRead) {
  ObjectExtent extent;
  Stream* stream = openForUpdate(UNREADABLE_FILE);
  EXPECT_EQ(readLinesOfObject(stream, false, extent), -1);
  EXPECT_EQ(next_available_object_slot, 0);
  EXPECT_TRUE(readFailed(stream));
}

}  // namespace
