// The merge against the plain rules: the entries of the input are merged as those of a user are, the first with the
// second, the third with the result, and so on.
#include "fuzz_support.h"
#include "ldif/object_buffer.h"
#include "output/entry_merge.h"
#include "plain_rules.h"

static constexpr size_t LARGEST_TEXT = 6 * 1024;  // bytes

// An entry in the form that mergeObjects takes.
static std::vector<char*> cellsOf(Lines& lines) {
  std::vector<char*> cells;
  for (std::string& line : lines) cells.push_back(line.data());
  cells.push_back(nullptr);
  return cells;
}

// Merges both into the entry buffer. Returns false when that has ended the run, as it has to.
static bool merge(Lines& input1, Lines& input2) {
  const Lines before1 = input1;
  const Lines before2 = input2;
  const std::vector<char*> cells1 = cellsOf(input1);
  const std::vector<char*> cells2 = cellsOf(input2);
  const std::optional<Lines> expected = plain::merged(input1, input2);
  const uint32_t outcome = outcomeOf([&] { mergeObjects(cells1.data(), cells2.data()); });
  require(outcome == (expected ? 0 : PROCESSING_FAILED), "entries are merged unless a line has no colon");
  require(input1 == before1 && input2 == before2, "the inputs of a merge stay as they were");
  if (expected) require(objectLines() == *expected, "the lines of the merged entry");
  return expected.has_value();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const FuzzInput input = unpack(data, size, LARGEST_TEXT);
  beginRun();
  if ((input.switches & 1) != 0) startTrace();
  plain::Entry entry = plain::readEntry(input.text, 0);
  Lines merged = entry.lines;
  for (bool isFirst = true; !merged.empty(); isFirst = false) {
    entry = plain::readEntry(input.text, entry.end);
    if (entry.lines.empty()) break;
    if (!(isFirst ? merge(merged, entry.lines) : merge(entry.lines, merged))) break;
    merged = objectLines();
  }
  return 0;
}
