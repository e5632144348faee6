#include "ldif/line_reader.h"

#include "test_support.h"

namespace {

class LineReader : public FreshRun {
 protected:
  Stream* fileWith(const std::string& contents) {
    writeFile("file", contents);
    return openForUpdate("file");
  }
};

TEST_F(LineReader, KeepsTheLineEnds) {
  Stream* stream = fileWith("a\r\n\nlast");
  EXPECT_EQ(getNextLine(nextLine, stream), 0);
  EXPECT_STREQ(nextLine, "a\r\n");
  EXPECT_EQ(getNextLine(nextLine, stream), 0);
  EXPECT_STREQ(nextLine, "\n");
  EXPECT_EQ(getNextLine(nextLine, stream), 0);
  EXPECT_STREQ(nextLine, "last");
}

TEST_F(LineReader, EmptiesTheBufferAtTheEndOfTheFile) {
  Stream* stream = fileWith("a\n");
  getNextLine(nextLine, stream);
  EXPECT_EQ(getNextLine(nextLine, stream), -1);
  EXPECT_STREQ(nextLine, "");
}

TEST_F(LineReader, EmptiesTheBufferWhenTheReadFails) {
  Stream* stream = openForUpdate(UNREADABLE_FILE);
  nextLine[0] = 'x';
  EXPECT_EQ(getNextLine(nextLine, stream), -1);
  EXPECT_STREQ(nextLine, "");
}

TEST_F(LineReader, CountsEveryAttempt) {
  Stream* stream = fileWith("a\n");
  const int32_t before = lineNum;
  getNextLine(nextLine, stream);
  getNextLine(nextLine, stream);
  getNextLine(nextLine, stream);
  EXPECT_EQ(lineNum, before + 3);
}

TEST_F(LineReader, DeliversALongLineInPieces) {
  Stream* stream = fileWith(repeated(5000, "x") + "\nnext\n");
  getNextLine(nextLine, stream);
  EXPECT_EQ(nextLine, repeated(4095, "x"));
  getNextLine(nextLine, stream);
  EXPECT_EQ(nextLine, repeated(905, "x") + "\n");
  getNextLine(nextLine, stream);
  EXPECT_STREQ(nextLine, "next\n");
}

TEST_F(LineReader, TakesTheNewlineOfALineOf4094Characters) {
  Stream* stream = fileWith(repeated(4094, "x") + "\nnext\n");
  getNextLine(nextLine, stream);
  EXPECT_EQ(nextLine, repeated(4094, "x") + "\n");
  getNextLine(nextLine, stream);
  EXPECT_STREQ(nextLine, "next\n");
}

TEST_F(LineReader, LeavesTheNewlineOfALineOf4095CharactersAlone) {
  Stream* stream = fileWith(repeated(4095, "x") + "\nnext\n");
  getNextLine(nextLine, stream);
  EXPECT_EQ(nextLine, repeated(4095, "x"));
  getNextLine(nextLine, stream);
  EXPECT_STREQ(nextLine, "\n");
}

TEST_F(LineReader, CannotSeeBehindANulInALine) {
  Stream* stream = fileWith(std::string("ab\0cd\nnext\n", 11));
  getNextLine(nextLine, stream);
  EXPECT_STREQ(nextLine, "ab");
  getNextLine(nextLine, stream);
  EXPECT_STREQ(nextLine, "next\n");
}

TEST_F(LineReader, HandsALineOutAsItStandsNulsIncluded) {
  Stream* stream = fileWith(std::string("abc\r\nab\0cd\n\0\n", 13) + repeated(5000, "x"));
  const int32_t before = lineNum;
  EXPECT_EQ(readNextLine(stream), "abc\r\n");
  EXPECT_EQ(readNextLine(stream), std::string_view("ab\0cd\n", 6));
  EXPECT_EQ(readNextLine(stream), std::string_view("\0\n", 2));
  EXPECT_EQ(readNextLine(stream), repeated(4095, "x"));
  EXPECT_EQ(readNextLine(stream), repeated(905, "x"));
  EXPECT_EQ(readNextLine(stream), "");
  EXPECT_EQ(lineNum, before + 6);
}

}  // namespace
