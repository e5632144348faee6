#include "ldif/entry_line.h"

#include "ldif/object_buffer.h"
#include "reporting/run_state.h"
#include "test_support.h"

namespace {

class EntryLine : public FreshRun {
 protected:
  static void useInput(const std::string& contents) {
    writeFile("input", contents);
    holdInput();
  }
};

struct LineCase {
  const char* name;
  std::string input;
  const char* firstLine;
  int64_t first;
  int64_t second;
};
class LineOf : public EntryLine, public testing::WithParamInterface<LineCase> {};
const LineCase lineCases[] = {
    {"FirstEntry", "dn: cn=a\nb: c\n", "dn: cn=a\n", 1, 0},
    {"LaterEntry", "\n\ndn: cn=a\nb: c\n \r\n\ndn: cn=b\n", "dn: cn=b\n", 7, 0},
    {"LineEndsAsInDos", "dn: cn=a\r\n\r\ndn: cn=b\r\n", "dn: cn=b\n", 3, 0},
    {"BehindComments", "# a\n# b\ndn: cn=a\n", "dn: cn=a\n", 3, 0},
    {"CommentsAloneAreNoEntry", "# a\n\ndn: cn=a\n", "dn: cn=a\n", 3, 0},
    {"FoldedDn", "dn: cn=a\n\ndn: cn=\n b,o=\n x\nb: c\n d\n", "dn: cn=b,o=x\n", 3, 0},
    {"FoldedDnWithACommentInside", "dn: cn=\n# c\n b\n", "dn: cn=b\n", 1, 0},
    {"FoldedLineFurtherBehindIsNoDn", "dn: cn=b\nx: y\n z\n", "dn: cn=bz\n", 0, 0},
    {"BlanksBesideCommas", "dn: cn=a , o=x  \n", "dn: cn=a,o=x\n", 1, 0},
    {"BlanksBesideCommasInMemory", "dn: cn=a,o=x\n", "dn: cn=a , o=x \n", 1, 0},
    {"BlanksElsewhereCount", "dn: cn=a b\n", "dn: cn=ab\n", 0, 0},
    {"LetterCaseCounts", "dn: cn=A\n", "dn: cn=a\n", 0, 0},
    {"TwoOfThree", "dn: cn=a\n\ndn: cn=a\n\ndn: cn=a\n", "dn: cn=a\n", 1, 3},
    {"NulEndsALine", std::string("dn: cn=a\0b\n\ndn: cn=b\n", 21), "dn: cn=b\n", 3, 0},
    {"PieceOfALongLineIsALine", "dn: cn=a\nx: " + std::string(9000, 'x') + "\n\ndn: cn=b\n", "dn: cn=b\n", 4, 0},
    {"NoEntry", "", "dn: cn=a\n", 0, 0},
};
INSTANTIATE_CASES(LineOf, lineCases);
TEST_P(LineOf, IsFoundByTheFirstLine) {
  useInput(GetParam().input);
  const EntryLines lines = linesOfEntries(GetParam().firstLine);
  EXPECT_EQ(lines.first, GetParam().first);
  EXPECT_EQ(lines.second, GetParam().second);
}

TEST_F(EntryLine, IsFoundByTheOrdinal) {
  useInput("dn: cn=a\n\n# c\n\n\ndn: cn=a\n\ndn: cn=a");
  EXPECT_EQ(lineOfEntry(1), 1);
  EXPECT_EQ(lineOfEntry(2), 6);
  EXPECT_EQ(lineOfEntry(3), 8);
  EXPECT_EQ(lineOfEntry(4), 0);
}

TEST_F(EntryLine, IsThatOfEveryEntryThatIsRead) {
  const std::string input = "\n# c\ndn: cn=a\n\n" + repeated(250001, "b: c\n") + "\n\ndn: cn=c\nx: y\n\n \ndn: cn=d";
  useInput(input);
  ifp = openForUpdate("input");
  ofp = openToCreate("output.ldif");
  for (const int64_t line : {3, 5, 250008, 0}) {
    getNextObject(ifp);
    if (line != 0) {
      EXPECT_EQ(lineOfEntry(objectsRead), line);
    }
  }
}

TEST_F(EntryLine, IsNotKnownWithoutAnInput) {
  EXPECT_EQ(lineOfEntry(1), 0);
  EXPECT_EQ(linesOfEntries("dn: cn=a\n").first, 0);
}

TEST_F(EntryLine, OfALineBeyondMeasureIsNotFound) {
  const std::string line = "dn: cn=" + repeated(70000, "x") + "\n";
  useInput("dn: cn=" + repeated(20, "\n " + repeated(3500, "x")) + "\n");
  EXPECT_EQ(linesOfEntries(line).first, 0);
}

struct SameCase {
  const char* name;
  const char* one;
  const char* other;
  bool isSame;
};
class FirstLines : public FreshRun, public testing::WithParamInterface<SameCase> {};
const SameCase sameCases[] = {
    {"BlanksBesideCommasAndAtTheEnd", "dn: cn=a , o=x \t\r\n", "dn: cn=a,o=x", true},
    {"BlanksElsewhere", "dn: cn=a b\n", "dn: cn=ab\n", false},
    {"LetterCase", "dn: cn=A\n", "dn: cn=a\n", false},
    {"OneLonger", "dn: cn=ab\n", "dn: cn=a\n", false},
};
INSTANTIATE_CASES(FirstLines, sameCases);
TEST_P(FirstLines, AreTheSameWhateverBlanksStandBesideCommas) {
  EXPECT_EQ(isSameFirstLine(GetParam().one, GetParam().other), GetParam().isSame);
  EXPECT_EQ(isSameFirstLine(GetParam().other, GetParam().one), GetParam().isSame);
}

}  // namespace
