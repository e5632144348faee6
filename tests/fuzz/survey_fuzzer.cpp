// A whole check of an input, at slot counts that are part of it, and an account of it in another part: nothing of it
// may fail, and the sums hold.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <string>

#include "account/accounting.h"
#include "check/prediction.h"

static void require(bool holds, const char* what) {
  if (holds) return;
  fprintf(stderr, "it does not hold: %s\n", what);
  abort();
}

// A file of a name, in memory.
struct FuzzedFile {
  int descriptor;
  std::string name;
};

static FuzzedFile makeFile(std::string_view text) {
  const int descriptor = memfd_create("fuzzed", MFD_CLOEXEC);
  require(descriptor >= 0 && write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size()),
          "a file");
  return {descriptor, "/proc/self/fd/" + std::to_string(descriptor)};
}

static void closeSurveyed(SurveyedFile& file) {
  munmap(const_cast<char*>(file.window), file.windowLength);
  close(file.descriptor);
  file = {};
}

class Findings final : public FindingSink {
 public:
  explicit Findings(size_t size) : size_(size) {}
  void take(const Finding& finding) override {
    require(finding.entry == NO_PLACE || finding.entry < size_, "a finding is about an entry of the input");
    require(finding.line == NO_PLACE || finding.line < size_, "a finding is about a line of the input");
    if (kindOf(finding.id).effect == STOPS && finding.at == AT_GIVEN) stops_ = true;
  }
  bool stops() const { return stops_; }

 private:
  size_t size_;
  bool stops_ = false;
};

class SomeFates final : public AccountSink {
 public:
  void take(const Finding&) override {}
  bool wantsEntries() const override { return true; }
  void takeEntry(const EntryFate& entry) override {
    require(entry.fates->size() == entry.lines.size(), "every line has its fate");
  }
  void takeLoss(const EntryFate& entry, size_t line) override {
    require(line < entry.lines.size(), "a loss is a line");
  }
};

static void check(const FuzzedFile& input, size_t size, const int32_t (&slots)[2]) {
  SurveyedFile file;
  SurveyedFile again;
  require(openSurveyed(input.name.c_str(), file) && openSurveyed(input.name.c_str(), again), "opened");
  Findings findings(size);
  Prediction prediction;
  predictRun(file, again, slots, findings, prediction);
  require((prediction.code != 0) == findings.stops(), "a run fails where something stops it");
  closeSurveyed(file);
  closeSurveyed(again);
}

static void account(const FuzzedFile& input, const FuzzedFile& result) {
  SurveyedFile file;
  SurveyedFile again;
  SurveyedFile output;
  require(openSurveyed(input.name.c_str(), file) && openSurveyed(input.name.c_str(), again), "opened");
  require(openSurveyed(result.name.c_str(), output), "opened");
  OutputRecords records = {};
  readRecords(output, records);
  SomeFates sink;
  Account made;
  accountFor(file, again, records, sink, made);
  require(std::accumulate(made.lines, std::end(made.lines), int64_t{0}) == made.counts.attributeLines,
          "the sum of lines");
  require(made.copied + made.merged + made.notWritten == made.counts.entries, "the sum of entries");
  require(made.outputLines >= made.lines[KEPT] + made.lines[RENAMED], "lines of the output");
  for (SurveyedFile* opened : {&file, &again, &output}) closeSurveyed(*opened);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) return 0;
  const int32_t slots[2] = {data[0] % 8, data[1] % 8};
  const std::string_view text(reinterpret_cast<const char*>(data) + 3, size - 3);
  const size_t parted = text.size() * (data[2] % 4) / 4;
  const FuzzedFile input = makeFile(text.substr(parted));
  const FuzzedFile output = makeFile(text.substr(0, parted));
  check(input, text.size() - parted, slots);
  account(input, output);
  close(input.descriptor);
  close(output.descriptor);
  return 0;
}
