#include "rules/line.h"

#include <memory>
#include <random>

#include "rules/known_names.h"
#include "rules/line_scan.h"
#include "test_support.h"

namespace {

// A copy with nothing behind it, so that a build with sanitizers notices a look too far.
class Exactly {
 public:
  explicit Exactly(const std::string& text) : copy_(new char[text.size()]), size_(text.size()) {
    text.copy(copy_.get(), size_);
  }
  std::string_view view() const { return {copy_.get(), size_}; }

 private:
  std::unique_ptr<char[]> copy_;
  size_t size_;
};

char inOtherCase(char character) {
  const bool isLetter = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
  return static_cast<char>(isLetter ? character ^ 0x20 : character);
}

// What is to be known of a line, found by plain searches.
struct Plain {
  uint32_t firstColon = NO_COLON;
  uint32_t names = 0;  // those that must be among the line's
  uint64_t endings = 0;

  explicit Plain(const std::string& text) {
    const std::string folded = inLowerCase(text);
    for (size_t colon = text.find(':'); colon != std::string::npos; colon = text.find(':', colon + 1)) {
      if (firstColon == NO_COLON) firstColon = static_cast<uint32_t>(colon);
      if (colon >= 2) endings |= endingBit(pairOf(text[colon - 2], text[colon - 1]));
      for (uint32_t i = 0; i < NUMBER_OF_KNOWN_NAMES; i++)
        if (std::string_view(folded).substr(0, colon).ends_with(knownNames[i])) names |= uint32_t{1} << i;
    }
  }
};

// Expects of a line what a plain look shows. Bits beyond those only cost a second look.
void expectKnown(const Line& line, const std::string& text) {
  const Plain plain(text);
  ASSERT_EQ(line.view(), text);
  ASSERT_EQ(line.content(), text.substr(0, text.find_first_of("\r\n"))) << text;
  ASSERT_EQ(line.firstColon, plain.firstColon) << text;
  ASSERT_EQ(line.names & plain.names, plain.names) << text;
  ASSERT_EQ(line.endings & plain.endings, plain.endings) << text;
  if (line.firstColon != NO_COLON) {
    ASSERT_NE(line.endings, 0u) << text;
  }
}

Line takenFrom(LineScan& scan) {
  Line line;
  takeLine(scan, line);
  return line;
}

Line nextLineOf(std::string_view text) {
  LineScan scan = scanOf(text);
  return takenFrom(scan);
}

// Many at once, as long as they are ordinary.
std::vector<Line> allLinesOf(std::string_view text) {
  std::vector<Line> lines;
  LineScan scan = scanOf(text);
  while (scan.next < text.size()) {
    const size_t before = lines.size();
    lines.resize(before + 10);
    size_t taken = takeOrdinaryLines(scan, lines.data() + before, 10);
    if (taken == 0) takeLine(scan, lines[before + taken++]);
    lines.resize(before + taken);
  }
  return lines;
}

// In every place that a line can have in a block of characters that are looked at at once.
void expectKnownInEveryWay(const std::string& line) {
  const Exactly exactly(line);
  expectKnown(scanLine(exactly.view()), line);
  expectKnown(nextLineOf(exactly.view()), line);
  if (!line.ends_with('\n')) return;
  for (const size_t before : {1u, 8u, 15u, 62u, 63u, 64u}) {
    const std::string first = repeated(before - 1, ":") + "\n";
    const Exactly text(first + line + "cn: \rdn: :\n");
    LineScan scan = scanOf(text.view());
    expectKnown(takenFrom(scan), first);
    expectKnown(takenFrom(scan), line);
    expectKnown(takenFrom(scan), "cn: \rdn: :\n");
    EXPECT_EQ(takenFrom(scan).length, 0u);
    const std::vector<Line> lines = allLinesOf(text.view());
    ASSERT_EQ(lines.size(), 3u);
    expectKnown(lines[0], first);
    expectKnown(lines[1], line);
    expectKnown(lines[2], "cn: \rdn: :\n");
  }
}

TEST(ScannedLine, HasItsColonsWhereverTheyStand) {
  for (size_t length = 0; length <= 70; length++) {
    const std::string filler = repeated(length, "x");
    expectKnownInEveryWay(filler);
    expectKnownInEveryWay(filler + "\n");
    for (size_t first = 0; first < length; first++) {
      std::string line = filler;
      line[first] = ':';
      expectKnownInEveryWay(line);
      expectKnownInEveryWay(line + "\n");
      expectKnownInEveryWay(line + "\r\n");
      for (size_t second = first + 1; second < length; second += 5) {
        line[second] = ':';
        expectKnownInEveryWay(line + "\n");
        line[second] = 'x';
      }
    }
  }
}

TEST(ScannedLine, HasColonsAmongCharactersThatDifferFromThemInOneBit) {
  std::string text;
  for (int bit = 0; bit < 8; bit++) text += static_cast<char>(':' ^ 1 << bit);
  for (int bit = 0; bit < 8; bit++) text += static_cast<char>(':' ^ 1 << bit);
  std::string all;
  for (size_t i = 0; i < text.size(); i++) {
    if (text[i] == '\n' || text[i] == '\r') text[i] = 'x';
    all += text[i];
    all += ':';
  }
  expectKnownInEveryWay(text);
  expectKnownInEveryWay(text + ":");
  expectKnownInEveryWay(all + "\n");
}

TEST(ScannedLine, NeverMissesAKnownName) {
  for (const std::string_view name : knownNames) {
    std::string lower(name);
    std::string upper;
    std::string mixed;
    for (size_t i = 0; i < lower.size(); i++) {
      upper += inOtherCase(lower[i]);
      mixed += i % 2 == 0 ? inOtherCase(lower[i]) : lower[i];
    }
    for (const std::string& spelling : {lower, upper, mixed}) {
      for (const char* filler : {"x", " ", "\xff", ":", "d"}) {
        for (size_t before = 0; before < 40; before++) {
          const std::string line = repeated(before, filler) + spelling + ": value\n";
          ASSERT_NE(scanLine(line).names & nameBit(name), 0u) << line;
          ASSERT_NE(nextLineOf(line).names & nameBit(name), 0u) << line;
        }
      }
    }
  }
}

TEST(ScannedLine, SeldomTakesAnotherNameForAKnownOne) {
  std::mt19937 random(1);
  int taken = 0;
  for (int round = 0; round < 10000; round++) {
    std::string line;
    for (size_t length = 4 + random() % 10; length > 0; length--) line += static_cast<char>('a' + random() % 26);
    line += ": value\n";
    const Plain plain(line);
    taken += scanLine(line).names != plain.names;
  }
  EXPECT_LT(taken, 500);
}

TEST(ScannedLine, EndsItsContentWithTheFirstCarriageReturnWhereverItStands) {
  for (size_t length = 1; length <= 140; length++) {
    for (size_t place = 0; place < length; place += 3) {
      std::string line = repeated(length, "x");
      line[place] = '\r';
      expectKnownInEveryWay(line);
      if (place + 1 < length) line[length - 1] = '\r';
      expectKnownInEveryWay(line + "\n");
    }
  }
}

TEST(ScannedLine, IsLikeAPlainLookAtPseudorandomTexts) {
  const std::string alphabet = "cndaiCNDAI:: \r\xff\x80";
  std::mt19937 random(2);
  for (int round = 0; round < 3000; round++) {
    std::string line;
    for (size_t length = random() % 200; length > 0; length--) line += alphabet[random() % alphabet.size()];
    if (random() % 2 == 0) line += '\n';
    expectKnownInEveryWay(line);
  }
}

TEST(NextLine, EndsWithTheFirstNewlineWhereverItStands) {
  for (size_t length = 0; length <= 40; length++) {
    for (size_t behind = 0; behind <= 20; behind++) {
      const Exactly text(repeated(length, "x") + "\n" + repeated(behind, "\n"));
      EXPECT_EQ(nextLineOf(text.view()).length, length + 1);
    }
  }
}

struct LengthCase {
  const char* name;
  std::string text;
  size_t length;
};
class NextLineOf : public testing::TestWithParam<LengthCase> {};
const LengthCase lengthCases[] = {
    {"Nothing", "", 0},
    {"NoNewline", "abc", 3},
    {"NewlineAtOnce", "\nabc", 1},
    {"Of4094CharactersWithItsNewline", repeated(4094, "x") + "\nabc", 4095},
    {"Of4095CharactersWithoutIt", repeated(4095, "x") + "\nabc", 4095},
    {"Of4094CharactersInAll", repeated(4094, "x"), 4094},
    {"Of4095CharactersInAll", repeated(4095, "x"), 4095},
    {"Of4096CharactersInAll", repeated(4096, "x"), 4095},
    {"OfMoreThanTwice", repeated(10000, "x"), 4095},
    {"WithANul", std::string("a\0b\nc", 5), 4},
};
INSTANTIATE_CASES(NextLineOf, lengthCases);
TEST_P(NextLineOf, IsAtMostAsLongAsALineCanBe) {
  const Exactly text(GetParam().text);
  EXPECT_EQ(nextLineOf(text.view()).view(), GetParam().text.substr(0, GetParam().length));
  EXPECT_EQ(nextLineIn({text.view(), false}), GetParam().text.substr(0, GetParam().length));
}

TEST(NextLine, TakesNoColonBehindTheLongestOne) {
  EXPECT_EQ(nextLineOf(repeated(4094, "x") + ":").firstColon, 4094u);
  EXPECT_EQ(nextLineOf(repeated(4095, "x") + ":").firstColon, NO_COLON);
}

struct CutCase {
  const char* name;
  const char* line;
  const char* rest;
};
class LineEnd : public testing::TestWithParam<CutCase> {};
const CutCase cutCases[] = {
    {"Newline", "a: b\n", "a: b"},
    {"CarriageReturnAndNewline", "a: b\r\n", "a: b"},
    {"CarriageReturnInside", "a: b\rc: d\n", "a: b"},
    {"None", "a: b", "a: b"},
    {"Alone", "\r\n", ""},
    {"ColonOnlyBehindIt", "a\rxoq-entryuuid: b\n", "a"},
};
INSTANTIATE_CASES(LineEnd, cutCases);
TEST_P(LineEnd, BeginsWithTheFirstOfEitherKind) { EXPECT_EQ(withoutLineEnd(GetParam().line), GetParam().rest); }

struct EntryCase {
  const char* name;
  std::string text;
  bool mayHoldNul;
  Lines lines;
};
class TextOfAnEntry : public testing::TestWithParam<EntryCase> {};
const std::string NUL(1, '\0');
const std::string LONGEST(4095, 'x');
const EntryCase entryCases[] = {
    {"WholeLines", "dn: a\nb: c\n", false, {"dn: a\n", "b: c\n"}},
    {"CommentsAreLeftOut", "# 1\ndn: a\n# 2\n# 3\nb: c\n# 4\n", false, {"dn: a\n", "b: c\n"}},
    {"LastLineWithoutALineEnd", "dn: a\nb: c", false, {"dn: a\n", "b: c"}},
    {"LineWithoutALineEndInside", "dn: a\nb: c" + NUL + "d: e\n", true, {"dn: a\n", "b: c", "d: e\n"}},
    {"LineWithoutALineEndAtTheEnd", "dn: a\nb: c" + NUL, true, {"dn: a\n", "b: c"}},
    {"SeveralWithoutALineEnd", "a" + NUL + "b" + NUL + "c" + NUL, true, {"a", "b", "c"}},
    {"LongestLineNeedsNoNul", LONGEST + "b: c\n", true, {LONGEST, "b: c\n"}},
    {"LineOneShortOfTheLongest", LONGEST.substr(1) + NUL + "b: c\n", true, {LONGEST.substr(1), "b: c\n"}},
    {"CommentWithoutALineEnd", "# 1" + NUL + "dn: a\n", true, {"dn: a\n"}},
    {"Nothing", "", true, {}},
};
INSTANTIATE_CASES(TextOfAnEntry, entryCases);
TEST_P(TextOfAnEntry, IsItsLines) {
  const Exactly text(GetParam().text);
  const EntryText entry = {text.view(), GetParam().mayHoldNul};
  Lines lines;
  LineScan scan = scanOf(text.view());
  for (Line line; takeEntryLines(scan, GetParam().mayHoldNul, &line, 1) == 1;) {
    expectKnown(line, std::string(line.view()));
    lines.emplace_back(line.view());
  }
  EXPECT_EQ(lines, GetParam().lines);
  EXPECT_EQ(firstLineIn(entry), lines.empty() ? "" : lines[0]);
}

struct OrdinaryCase {
  const char* name;
  std::string text;
  size_t room;
  Lines taken;
};
class OrdinaryLines : public testing::TestWithParam<OrdinaryCase> {};
const OrdinaryCase ordinaryCases[] = {
    {"AllThatThereAre", "dn: a\r\nb: c\n", 9, {"dn: a\r\n", "b: c\n"}},
    {"AsManyAsThereIsRoomFor", "dn: a\nb: c\nd: e\n", 2, {"dn: a\n", "b: c\n"}},
    {"UpToAnEmptyLine", "dn: a\n\nb: c\n", 9, {"dn: a\n", "\n"}},
    {"UpToACarriageReturn", "dn: a\n\r\nb: c\n", 9, {"dn: a\n", "\r\n"}},
    {"UpToALineThatBeginsWithOne", "dn: a\n\rb\nc: d\n", 9, {"dn: a\n", "\rb\n"}},
    {"ContinuationsToo", "dn: a\n b\nc: d\n", 9, {"dn: a\n", " b\n", "c: d\n"}},
    {"NotBlanks", "dn: a\n  \nb: c\n", 9, {"dn: a\n"}},
    {"NotASpaceAtTheEnd", "dn: a\n ", 9, {"dn: a\n"}},
    {"NotTwoSpacesBeforeAText", "dn: a\n  b\n", 9, {"dn: a\n"}},
    {"NotAComment", "dn: a\n# b\n", 9, {"dn: a\n"}},
    {"NotWhatHasNoLineEnd", "dn: a\nb: c", 9, {"dn: a\n"}},
    {"NotAPiece", "dn: a\n" + LONGEST + "\n", 9, {"dn: a\n"}},
    {"ALineOfTheGreatestLength", LONGEST.substr(1) + "\nb: c\n", 9, {LONGEST.substr(1) + "\n", "b: c\n"}},
    {"NothingOfNothing", "", 9, {}},
};
INSTANTIATE_CASES(OrdinaryLines, ordinaryCases);
TEST_P(OrdinaryLines, AreTakenAtOnce) {
  const Exactly text(GetParam().text);
  LineScan scan = scanOf(text.view());
  std::vector<Line> lines(GetParam().room);
  lines.resize(takeOrdinaryLines(scan, lines.data(), lines.size()));
  Lines taken;
  std::string all;
  for (const Line& line : lines) all += taken.emplace_back(line.view());
  EXPECT_EQ(taken, GetParam().taken);
  EXPECT_EQ(scan.next, all.size());
  const std::string rest = GetParam().text.substr(all.size());
  if (!rest.empty()) expectKnown(takenFrom(scan), rest.substr(0, std::min(rest.find('\n'), LONGEST.size() - 1) + 1));
}

TEST(EndingBits, AreTheSameForBothCasesOfALetter) {
  for (char one = 'a'; one <= 'z'; one++) {
    for (char other = 'a'; other <= 'z'; other++) {
      EXPECT_EQ(endingBit(pairOf(one, other)), endingBit(pairOf(inOtherCase(one), other)));
      EXPECT_EQ(endingBit(pairOf(one, other)), endingBit(pairOf(one, inOtherCase(other))));
    }
  }
}

TEST(EndingBits, OfANameAreAmongThoseOfALineThatHoldsIt) {
  for (const char* name : {"", "n", "cn", "CN", "description"}) {
    for (const char* before : {"", " ", "x", "sec", ":"}) {
      const std::string line = std::string(before) + name + ":";
      EXPECT_NE(endingBits(name) & scanLine(line).endings, 0u) << line;
    }
  }
}

TEST(EndingBits, TellMostNamesApart) {
  int same = 0;
  for (char one = 'a'; one <= 'z'; one++)
    for (char other = 'a'; other <= 'z'; other++) same += endingBit(pairOf(one, other)) == endingBit(pairOf('c', 'n'));
  EXPECT_LT(same, 26 * 26 / 16);
}

}  // namespace
