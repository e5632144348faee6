#include "platform/stream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>

#include "platform/message_details.h"
#include "test_support.h"

namespace {

constexpr size_t WINDOW = 256 * 1024;

class StreamTest : public FreshRun {
 protected:
  static std::string line(Stream* stream, size_t limit = 100) { return std::string(readLine(stream, limit)); }
  static int64_t position(const Stream* stream) {
    int64_t position = -1;
    EXPECT_EQ(getPosition(stream, &position), 0);
    return position;
  }
};

TEST_F(StreamTest, ReadsLinesUpToTheLimit) {
  writeFile("file", "abc\n\nabcdef\nlast");
  Stream* stream = openForUpdate("file");
  EXPECT_EQ(line(stream, 4), "abc\n");
  EXPECT_EQ(line(stream, 4), "\n");
  EXPECT_EQ(line(stream, 4), "abcd");
  EXPECT_EQ(line(stream, 4), "ef\n");
  EXPECT_EQ(line(stream, 4), "last");
  EXPECT_EQ(line(stream, 4), "");
  EXPECT_FALSE(readFailed(stream));
}

TEST_F(StreamTest, ReadsNuls) {
  writeFile("file", std::string("a\0b\n", 4));
  EXPECT_EQ(line(openForUpdate("file")), std::string("a\0b\n", 4));
}

TEST_F(StreamTest, ReadsALineAcrossWindows) {
  writeFile("file", repeated(WINDOW - 2, "x") + "\nabcdef\n");
  Stream* stream = openForUpdate("file");
  EXPECT_EQ(line(stream, WINDOW).size(), WINDOW - 1);
  EXPECT_EQ(line(stream), "abcdef\n");
  EXPECT_EQ(position(stream), static_cast<int64_t>(WINDOW) + 6);
}

TEST_F(StreamTest, WritesInPlace) {
  writeFile("file", "one\ntwo\nthree\n");
  Stream* stream = openForUpdate("file");
  line(stream);
  EXPECT_EQ(position(stream), 4);
  EXPECT_EQ(writeText(stream, "TWO\n"), 0);
  EXPECT_EQ(line(stream), "three\n");
  EXPECT_EQ(setPosition(stream, 4), 0);
  EXPECT_EQ(line(stream), "TWO\n");
  EXPECT_EQ(flushStream(stream), 0);
  EXPECT_EQ(readFile("file"), "one\nTWO\nthree\n");
}

TEST_F(StreamTest, WritesInPlaceBackwards) {
  writeFile("file", "one\ntwo\n");
  Stream* stream = openForUpdate("file");
  line(stream);
  EXPECT_EQ(writeText(stream, "TWO"), 0);
  EXPECT_EQ(setPosition(stream, 0), 0);
  EXPECT_EQ(writeText(stream, "ONE"), 0);
  EXPECT_EQ(closeStream(stream), 0);
  EXPECT_EQ(readFile("file"), "ONE\nTWO\n");
}

TEST_F(StreamTest, WritesInPlaceFarBack) {
  writeFile("file", repeated(100000, "line\n"));
  Stream* stream = openForUpdate("file");
  for (int i = 0; i < 100000; i++) line(stream);
  setPosition(stream, 5);
  writeText(stream, "LINE");
  setPosition(stream, 5 * 99999);
  writeText(stream, "LAST");
  EXPECT_EQ(closeStream(stream), 0);
  EXPECT_EQ(readFile("file"), "line\nLINE\n" + repeated(99997, "line\n") + "LAST\n");
}

TEST_F(StreamTest, WritesOnBehindTheEnd) {
  writeFile("file", "ab");
  Stream* stream = openForUpdate("file");
  EXPECT_EQ(setPosition(stream, 1), 0);
  EXPECT_EQ(writeText(stream, "BCD"), 0);
  EXPECT_EQ(closeStream(stream), 0);
  EXPECT_EQ(readFile("file"), "aBCD");
}

TEST_F(StreamTest, WritesMoreThanAWindowAtOnce) {
  Stream* stream = openToCreate("file");
  const std::string text = repeated(3 * WINDOW + 1, "x");
  EXPECT_EQ(writeText(stream, "a"), 0);
  EXPECT_EQ(writeText(stream, text.data(), text.size()), 0);
  EXPECT_EQ(writeText(stream, std::string("b\0c", 3).data(), 3), 0);
  EXPECT_EQ(closeStream(stream), 0);
  EXPECT_EQ(readFile("file"), "a" + text + std::string("b\0c", 3));
}

TEST_F(StreamTest, AppendsBehindWhatIsThere) {
  writeFile("file", "former\n");
  Stream* stream = openStream(open("file", O_RDWR), STREAM_AT_END);
  EXPECT_EQ(position(stream), 7);
  EXPECT_EQ(writeText(stream, "added\n"), 0);
  EXPECT_EQ(closeStream(stream), 0);
  EXPECT_EQ(readFile("file"), "former\nadded\n");
}

TEST_F(StreamTest, CreatesAnew) {
  writeFile("file", "former\n");
  Stream* stream = openToCreate("file");
  EXPECT_EQ(readFile("file"), "");
  writeText(stream, "new\n");
  closeStream(stream);
  EXPECT_EQ(readFile("file"), "new\n");
}

TEST_F(StreamTest, IsNotMadeOfAFileThatIsNotOpen) {
  strcpy(messageReason, "the reason");
  EXPECT_EQ(openStream(-1, STREAM_FROM_BEGINNING), nullptr);
  EXPECT_STREQ(messageReason, "the reason");
}

TEST_F(StreamTest, IsNotMadeBehindTheEndOfAPipe) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  EXPECT_EQ(openStream(ends[1], STREAM_AT_END), nullptr);
  EXPECT_STREQ(messageReason, "Illegal seek");
  close(ends[0]);
}

TEST_F(StreamTest, FailsToReadWhatHasBeenCutOff) {
  const std::string text = repeated(100000, "line\n");
  writeFile("file", text);
  Stream* stream = openStream(open("file", O_RDWR), STREAM_OF_FIXED_SIZE);
  EXPECT_EQ(line(stream), "line\n");
  ASSERT_EQ(truncate("file", 200000), 0);
  while (!readLine(stream, 100).empty()) continue;
  EXPECT_TRUE(readFailed(stream));
  EXPECT_STREQ(messageReason, "something else has changed it");
}

TEST_F(StreamTest, KnowsTheSizeThatItHasGivenItsFile) {
  Stream* stream = openToCreate("file");
  for (int i = 0; i < 2; i++) {
    writeText(stream, "text\n");
    EXPECT_EQ(flushStream(stream), 0);
    EXPECT_TRUE(hasItsSize(stream));
  }
  ASSERT_EQ(truncate("file", 9), 0);
  EXPECT_FALSE(hasItsSize(stream));
  EXPECT_STREQ(messageReason, "something else has changed it");
  Stream* pipeStream = streamWithoutPositions();
  EXPECT_TRUE(hasItsSize(pipeStream));
  EXPECT_EQ(sizeGiven(stream), 10);
  EXPECT_EQ(sizeGiven(pipeStream), -1);
}

TEST_F(StreamTest, TellsAReaderThatHasLeftFromAFullDisk) {
  signal(SIGPIPE, SIG_IGN);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  Stream* broken = openStream(ends[1], STREAM_FROM_BEGINNING);
  writeText(broken, "x");
  EXPECT_EQ(flushStream(broken), -1);
  EXPECT_TRUE(isSpoiltByOthers(broken));
  EXPECT_FALSE(isSpoiltByOthers(streamThatCannotBeWritten()));
}

TEST_F(StreamTest, FailsToWriteToAFileThatHasAnotherSize) {
  for (const off_t size : {3, 6}) {
    writeFile("file", "text\n");
    Stream* stream = openStream(open("file", O_RDWR), size == 3 ? STREAM_OF_FIXED_SIZE : STREAM_FROM_BEGINNING);
    EXPECT_EQ(writeText(stream, "T"), 0);
    ASSERT_EQ(truncate("file", size), 0);
    EXPECT_EQ(flushStream(stream), -1);
    EXPECT_STREQ(messageReason, "something else has changed it");
    EXPECT_EQ(readFile("file")[0], 't');
    EXPECT_TRUE(isSpoiltByOthers(stream));
    EXPECT_EQ(closeStream(stream), -1);
  }
}

TEST_F(StreamTest, HasNoPositionsOnAPipe) {
  Stream* stream = streamWithoutPositions();
  int64_t place = 0;
  EXPECT_EQ(getPosition(stream, &place), -1);
  EXPECT_EQ(setPosition(stream, 0), -1);
}

TEST_F(StreamTest, HasNoNegativePositions) {
  writeFile("file", "text\n");
  Stream* stream = openForUpdate("file");
  line(stream);
  EXPECT_EQ(setPosition(stream, -1), -1);
  EXPECT_EQ(position(stream), 5);
}

TEST_F(StreamTest, TellsWhenAReadFails) {
  Stream* stream = openForUpdate(UNREADABLE_FILE);
  for (int i = 0; i < 2; i++) {
    EXPECT_EQ(readLine(stream, 100), "");
    EXPECT_TRUE(readFailed(stream));
  }
}

TEST_F(StreamTest, NeverForgetsAFailedWrite) {
  Stream* stream = openToCreate("/dev/full");
  EXPECT_EQ(writeText(stream, "pending"), 0);
  EXPECT_EQ(flushStream(stream), -1);
  EXPECT_STREQ(messageReason, "No space left on device");
  EXPECT_EQ(writeText(stream, "more"), -1);
  EXPECT_EQ(flushStream(stream), -1);
  EXPECT_EQ(closeStream(stream), -1);
  EXPECT_EQ(stream, nullptr);
}

TEST_F(StreamTest, FailsWhenAWindowCannotBeWritten) {
  Stream* stream = openToCreate("/dev/full");
  const std::string text = repeated(WINDOW + 1, "x");
  EXPECT_EQ(writeText(stream, text.c_str()), -1);
}

TEST_F(StreamTest, FailsToCloseWhenWhatIsPendingCannotBeWritten) {
  Stream* stream = openToCreate("/dev/full");
  writeText(stream, "pending");
  EXPECT_EQ(closeStream(stream), -1);
  EXPECT_STREQ(messageReason, "No space left on device");
}

struct SkipCase {
  const char* name;
  std::string contents;
  size_t limit;
  std::string next;  // the line read next
};
class Skip : public StreamTest, public testing::WithParamInterface<SkipCase> {};
const SkipCase skipCases[] = {
    {"EveryKindOfBlankLine", "\n  \n \r \r\n  text\n", 100, "  text\n"},
    {"NothingBeforeText", "text\n\n", 100, "text\n"},
    {"TabIsNoBlank", "\n\t\n", 100, "\t\n"},
    {"WholeFile", repeated(300000, " \r\n"), 100, ""},
    {"AcrossWindows", repeated(300000, " \r\n") + " text\n", 100, " text\n"},
    {"BlankPieceOfALongLine", repeated(4, " ") + "text\n", 4, "text"},
    {"LongLineWhoseFirstPieceIsNotBlank", "   text\n", 4, "   t"},
};
INSTANTIATE_CASES(Skip, skipCases);
TEST_P(Skip, EndsBeforeTheFirstLineThatIsNotBlank) {
  writeFile("file", GetParam().contents);
  Stream* stream = openForUpdate("file");
  skipBlankLines(stream, GetParam().limit);
  EXPECT_EQ(line(stream, GetParam().limit), GetParam().next);
  EXPECT_EQ(readFile("file"), GetParam().contents);
}

TEST_F(StreamTest, OpensAsManyAsThereAreAndNoMore) {
  Stream* last = nullptr;
  for (size_t i = 0; i < MAXIMUM_STREAMS; i++) {
    last = openToCreate("file");
    EXPECT_NE(last, nullptr);
  }
  EXPECT_EQ(openToCreate("another"), nullptr);
  EXPECT_STREQ(messageReason, "too many files are open");
  closeStream(last);
  EXPECT_NE(openToCreate("another"), nullptr);
}

TEST_F(StreamTest, ClosesNothingTwice) {
  Stream* stream = nullptr;
  EXPECT_EQ(closeStream(stream), 0);
}

TEST_F(StreamTest, WritesWhatIsPendingWhenAllStreamsAreClosed) {
  writeText(openToCreate("one"), "1\n");
  writeText(openToCreate("two"), "2\n");
  writeText(openToCreate("/dev/full"), "3\n");
  closeAllStreams();
  EXPECT_EQ(readFile("one"), "1\n");
  EXPECT_EQ(readFile("two"), "2\n");
}

TEST_F(StreamTest, LendsRoomForWhatIsWrittenNext) {
  Stream* stream = openToCreate("file");
  writeText(stream, "one\n");
  char* room = roomFor(stream, 10);
  ASSERT_NE(room, nullptr);
  memcpy(room, "two\nthrown", 10);
  passWritten(stream, 4);
  EXPECT_EQ(position(stream), 8);
  writeText(stream, "three\n");
  EXPECT_EQ(closeStream(stream), 0);
  EXPECT_EQ(readFile("file"), "one\ntwo\nthree\n");
}

TEST_F(StreamTest, LendsNearlyAWindowOfRoomWhateverHasBeenWritten) {
  constexpr size_t ROOM = WINDOW - 4096;  // a page that is not full stays
  Stream* stream = openToCreate("file");
  const std::string first = repeated(WINDOW - 1, "a");
  writeText(stream, first.data(), first.size());
  EXPECT_EQ(roomFor(stream, WINDOW + 1), nullptr);
  char* room = roomFor(stream, ROOM);
  ASSERT_NE(room, nullptr);
  memset(room, 'b', ROOM);
  passWritten(stream, ROOM);
  EXPECT_EQ(closeStream(stream), 0);
  EXPECT_EQ(readFile("file"), first + repeated(ROOM, "b"));
}

TEST_F(StreamTest, WritesWholePagesAsLongAsMoreIsToCome) {
  Stream* stream = openToCreate("file");
  writeText(stream, "some text\n");
  EXPECT_EQ(flushStream(stream), 0);
  const std::string text = repeated(WINDOW, "x");
  writeText(stream, text.data(), text.size());
  EXPECT_EQ(std::filesystem::file_size("file") % 4096, 0u);
  EXPECT_GE(std::filesystem::file_size("file"), WINDOW - 4096);
  EXPECT_EQ(closeStream(stream), 0);
  EXPECT_EQ(readFile("file"), "some text\n" + text);
}

TEST_F(StreamTest, LendsNoRoomOnceAWriteHasFailed) {
  writeFile("file", "text\n");
  Stream* stream = openForUpdate("file");
  makeWritesFail(stream);
  EXPECT_EQ(roomFor(stream, 4), nullptr);
}

TEST_F(StreamTest, WritesEveryPartIntoAPipeOnce) {
  Stream* stream = streamWithoutPositions();
  const int reader = open("pipe", O_RDONLY | O_NONBLOCK);
  for (const char* text : {"one\n", "two\n"}) {
    EXPECT_EQ(writeText(stream, text), 0);
    EXPECT_EQ(flushStream(stream), 0);
  }
  char text[100];
  EXPECT_EQ(std::string(text, static_cast<size_t>(read(reader, text, sizeof text))), "one\ntwo\n");
  close(reader);
}

TEST_F(StreamTest, HandsOutWhatItHasReadPieceByPiece) {
  writeFile("file", "one\ntwo");
  Stream* stream = openForUpdate("file");
  EXPECT_EQ(unreadText(stream), "");
  EXPECT_TRUE(readOn(stream));
  EXPECT_EQ(unreadText(stream), "one\ntwo");
  passOver(stream, 4);
  EXPECT_EQ(unreadText(stream), "two");
  EXPECT_EQ(position(stream), 4);
  EXPECT_FALSE(readOn(stream));
  EXPECT_FALSE(readFailed(stream));
  EXPECT_EQ(line(stream), "two");
  EXPECT_EQ(unreadText(stream), "");
}

TEST_F(StreamTest, TellsWhenItCannotReadOn) {
  Stream* stream = openForUpdate(UNREADABLE_FILE);
  EXPECT_FALSE(readOn(stream));
  EXPECT_TRUE(readFailed(stream));
}

TEST_F(StreamTest, CutsALineAtItsFirstNul) {
  writeFile("file", std::string("a\0b\0\nc\n", 8));
  Stream* stream = openForUpdate("file");
  const std::string_view read = readLine(stream, 100);
  EXPECT_EQ(read.size(), 5u);
  EXPECT_EQ(upToNul(stream, read), "a");
  EXPECT_EQ(upToNul(stream, readLine(stream, 100)), "c\n");
}

// A text in which every place can be told, longer than three windows.
std::string longText() {
  std::string text;
  for (int number = 0; text.size() <= 3 * WINDOW; number++) text += std::to_string(number) + "\n";
  return text;
}

TEST_F(StreamTest, HoldsATextHoweverMuchIsRead) {
  const std::string text = longText();
  writeFile("file", text);
  for (const size_t place : {size_t{0}, size_t{1}, size_t{100000}, WINDOW - 1, WINDOW, WINDOW + 1}) {
    Stream* stream = openForUpdate("file");
    while (static_cast<size_t>(position(stream)) < place)
      readLine(stream, place - static_cast<size_t>(position(stream)));
    holdText(stream);
    while (!readLine(stream, 4095).empty()) continue;
    EXPECT_EQ(position(stream), static_cast<int64_t>(text.size()));
    EXPECT_TRUE(std::string_view(heldText(stream), text.size() - place) == std::string_view(text).substr(place))
        << place;
    closeStream(stream);
  }
}

TEST_F(StreamTest, MovesAHeldTextWithItsPlaceInTheFile) {
  const std::string text = longText();
  writeFile("file", text);
  Stream* stream = openForUpdate("file");
  while (readLine(stream, 4095) != "40000\n") continue;
  const auto held = static_cast<size_t>(position(stream));
  holdText(stream);
  size_t moves = 0;
  for (const char* before = heldText(stream); readOn(stream); before = heldText(stream)) {
    passOver(stream, unreadText(stream).size());
    moves += heldText(stream) != before;
    const size_t length = static_cast<size_t>(position(stream)) - held;
    ASSERT_TRUE(std::string_view(heldText(stream), length) == std::string_view(text).substr(held, length));
  }
  EXPECT_GT(moves, 0u);
  EXPECT_EQ(position(stream), static_cast<int64_t>(text.size()));
}

TEST_F(StreamTest, ReadsOnWhenAHoldIsGivenUp) {
  const std::string text = longText();
  writeFile("file", text);
  for (const size_t read : {size_t{10}, WINDOW + 1, 2 * WINDOW}) {
    Stream* stream = openForUpdate("file");
    std::string all;
    holdText(stream);
    while (all.size() < read) all += readLine(stream, 4095);
    giveUpHold(stream);
    EXPECT_EQ(position(stream), static_cast<int64_t>(all.size()));
    for (std::string_view next = readLine(stream, 4095); !next.empty(); next = readLine(stream, 4095)) all += next;
    EXPECT_TRUE(all == text) << read;
    closeStream(stream);
  }
}

TEST_F(StreamTest, HoldsOneTextAfterTheOther) {
  const std::string text = longText();
  writeFile("file", text);
  Stream* stream = openForUpdate("file");
  size_t place = 0;
  for (int round = 0; place < text.size(); round++) {
    holdText(stream);
    const size_t wanted = std::min<size_t>(round % 2 == 0 ? 300000 : 5000, text.size() - place);
    while (static_cast<size_t>(position(stream)) < place + wanted) ASSERT_FALSE(readLine(stream, 4095).empty());
    const size_t length = static_cast<size_t>(position(stream)) - place;
    EXPECT_TRUE(std::string_view(heldText(stream), length) == std::string_view(text).substr(place, length)) << round;
    place += length;
    if (round % 3 == 0) giveUpHold(stream);
  }
}

TEST_F(StreamTest, GoesBackBehindAHeldText) {
  const std::string text = longText();
  writeFile("file", text);
  Stream* stream = openForUpdate("file");
  line(stream);
  holdText(stream);
  while (!readLine(stream, 4095).empty()) continue;
  EXPECT_EQ(setPosition(stream, 0), 0);
  std::string all;
  for (std::string_view next = readLine(stream, 4095); !next.empty(); next = readLine(stream, 4095)) all += next;
  EXPECT_TRUE(all == text);
}

TEST_F(StreamTest, WritesOnAfterALongHold) {
  const std::string text = longText();
  writeFile("file", text);
  Stream* stream = openForUpdate("file");
  holdText(stream);
  while (!readLine(stream, 4095).empty()) continue;
  EXPECT_EQ(writeText(stream, "added\n"), 0);
  giveUpHold(stream);
  EXPECT_EQ(writeText(stream, text.data(), text.size()), 0);
  EXPECT_EQ(closeStream(stream), 0);
  EXPECT_TRUE(readFile("file") == text + "added\n" + text);
}

TEST_F(StreamTest, NeedsMemoryOnlyForAHeldTextThatIsLongerThanTheWindow) {
  writeFile("file", repeated(WINDOW + 1, "x"));
  Stream* stream = openForUpdate("file");
  holdText(stream);
  const auto readAll = [&] {
    failNextAllocation();
    while (!readLine(stream, 4095).empty()) continue;
    _exit(0);
  };
  EXPECT_FAILURE(readAll(), MEMORY_EXHAUSTED);
  giveUpHold(stream);
  EXPECT_EXIT(readAll(), testing::ExitedWithCode(0), "^$");
}

}  // namespace
