// What became of every entry and line of an input in an output.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "account/output_records.h"
#include "survey/entry_findings.h"
#include "survey/new_dns.h"
#include "survey/survey.h"

// What the output has a record of.
enum RecordKind : uint8_t {
  USER_RECORD,
  GROUP_RECORD,
  POLICY_RECORD,
  CONTAINER_RECORD,
  CREDENTIALS_RECORD,
  STRAIGHT_RECORD,
  NUMBER_OF_RECORD_KINDS
};

struct Difference {
  bool isAny = false;
  uint64_t inputPlace = NO_PLACE;
  uint64_t outputPlace = NO_RECORD;
  std::string text;
};

struct Account {
  SurveyCounts counts;
  Registry registry;
  int64_t records[NUMBER_OF_RECORD_KINDS] = {};  // that are found
  int64_t lines[NUMBER_OF_FATES] = {};           // of the input
  int64_t copied = 0;                            // entries
  int64_t merged = 0;
  int64_t notWritten = 0;
  int64_t outputLines = 0;
  Difference first;
};

// What has become of an entry.
enum EntryState : uint8_t { IS_MISSING, IS_COPIED, IS_MERGED, IS_LEFT_OUT, HAS_GONE_LINES, NUMBER_OF_STATES };

// Where an entry has gone.
struct EntryFate {
  uint64_t begin;  // of the entry in the input
  EntryState what = IS_MISSING;
  std::string_view record = {};  // the dn: line of the record that it is in; empty without one
  Entry lines;                   // those that are told of
  std::span<const Origin> origins;
  const Fates* fates;  // of its lines
  // The lines of the record, for those that have taken the place of others; dropped ones, too. None where it is
  // missing.
  Entry written = {};
  Road road = MERGED;
  Entry between = {};  // as in MergedRow
  // Of an entry that is merged all those of its slot.
  std::span<const std::unique_ptr<LoadedEntry>> sources = {};
};

// Who takes the fates as they are found.
class AccountSink : public FindingSink {
 public:
  virtual bool wantsEntries() const = 0;  // those that are not written among them
  virtual void takeEntry(const EntryFate& entry) = 0;
  virtual void takeLoss(const EntryFate& entry, size_t line) = 0;

 protected:
  ~AccountSink() = default;
};

// Accounts for the input in the output. Both of its files are the input, looked at in two places: one and the same
// where it is in memory as a whole.
void accountFor(SurveyedFile& file, SurveyedFile& again, OutputRecords& output, AccountSink& sink, Account& account);
