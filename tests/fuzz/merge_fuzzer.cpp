// The merge against the plain rules: the entries of the input are merged as those of a user are, the first with the
// second, the third with the result, and so on. Long entries are looked through in another way; so the first ones are
// merged again, made long.
#include "fuzz_support.h"
#include "ldif/object_buffer.h"
#include "output/entry_merge.h"
#include "plain_rules.h"

static constexpr size_t LARGEST_TEXT = 6 * 1024;  // bytes
static constexpr unsigned MOST_LONG_MERGES = 3;

// Merges both in the entry buffer. Returns nothing when that has ended the run, as it has to.
static std::optional<Lines> merge(const Lines& lines1, const Lines& lines2) {
  Texts texts;
  std::vector<Line> input1 = tableOf(lines1, texts);
  std::vector<Line> input2 = tableOf(lines2, texts);
  const std::vector<Line> before1 = input1;
  const std::vector<Line> before2 = input2;
  const std::optional<plain::Merged> expected = plain::merged(lines1, lines2);
  const uint32_t outcome = outcomeOf([&] { mergeObjects(input1, input2); });
  require(outcome == (expected ? 0 : PROCESSING_FAILED), "entries are merged unless a line has no colon");
  require(linesOf(before1) == lines1 && linesOf(before2) == lines2, "the texts of the inputs stay as they were");
  if (!expected) return std::nullopt;
  require(objectLines() == expected->lines, "the lines of the merged entry");
  require(linesOf(input1) == expected->unmerged1 && linesOf(input2) == expected->unmerged2,
          "what remains unmerged of the inputs");
  return expected->lines;
}

// Every other time in lower case.
static Lines repeated(const Lines& lines, size_t times) {
  Lines result;
  for (size_t i = 0; i < times; ++i)
    for (const std::string& line : lines) result.push_back(i % 2 == 0 ? line : plain::lowered(line));
  return result;
}

// The same with entries so long that their comparisons are beyond the limit.
static void mergeLong(const Lines& lines1, const Lines& lines2) {
  constexpr size_t MOST_COMPARISONS_ONE_BY_ONE = 10'000;
  size_t times = 1;
  while (times * lines1.size() * times * lines2.size() <= MOST_COMPARISONS_ONE_BY_ONE) ++times;
  merge(repeated(lines1, times), repeated(lines2, times));
}

// Switches: 1 tracing, 2 long entries, too.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const FuzzInput input = unpack(data, size, LARGEST_TEXT);
  beginRun();
  if ((input.switches & 1) != 0) startTrace();
  plain::Entry entry = plain::readEntry(input.text, 0);
  std::optional<Lines> merged = entry.lines;
  for (unsigned number = 0; merged && !merged->empty(); ++number) {
    entry = plain::readEntry(input.text, entry.end);
    if (entry.lines.empty()) break;
    const Lines first = number == 0 ? *merged : entry.lines;
    const Lines second = number == 0 ? entry.lines : *merged;
    if ((input.switches & 2) != 0 && number < MOST_LONG_MERGES) mergeLong(first, second);
    merged = merge(first, second);
  }
  return 0;
}
