// Accounts for the entries as they are read: those that go to the output by themselves, and what of the others is gone
// before a pass meets them.
#pragma once

#include <cstdint>
#include <vector>

#include "account/tallying.h"
#include "survey/oversized_findings.h"

// An entry that was too long to be held and whose lines are to be looked at again.
struct OversizedEntry {
  uint64_t begin;
  bool isFound;  // in the output
};

class CopiedEntries final : public EntryVisitor {
 public:
  explicit CopiedEntries(Accounting& accounting)
      : accounting_(accounting), oversized_(accounting.newDns, accounting.sink) {}

  void takeEntry(const ReadEntry& entry, const PreparedEntry& prepared, uint64_t begin) override;
  void takeCopied(Entry lines, std::span<const Origin> origins, Road road, uint64_t begin) override;
  void takeOversizedLine(const Line& line, OversizedLine what, uint64_t begin, uint64_t place) override;
  void endOversized(const ReadEntry& entry, uint64_t begin) override;

  // What the passes write, and the resource credentials, follow all that has been read.
  void takeRecordsBehind() { oversized_.takeRecord(); }

  // Accounts for the lines of those entries that were too long to be held, as far as more is to be said of them than
  // that all are kept. The file is the input.
  void takeOversizedAgain(SurveyedFile& file);

  // The lines of policy data; those of a regular registry are not looked at again.
  int64_t policyDataLines() const { return policyDataLines_; }

 private:
  void takeFailed(const PreparedEntry& prepared, uint64_t begin);
  void takeGoneLines(const PreparedEntry& prepared, uint64_t begin);
  void beginOversized();

  Accounting& accounting_;
  OversizedFindings oversized_;
  Fates fates_;
  int64_t policyDataLines_ = 0;
  DnWatch dns_;

  // Of an entry that is copied line by line.
  bool isOversized_ = false;
  bool isSame_ = true;  // so far in its place in the output
  uint64_t at_ = 0;     // where its next line should stand there
  int64_t kept_ = 0;    // lines
  bool isAnyGone_ = false;
  std::vector<OversizedEntry> again_;
};
