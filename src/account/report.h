// What the account says.
#pragma once

#include <cstdint>
#include <deque>
#include <string>

#include "account/accounting.h"
#include "account/options.h"
#include "account/takers.h"

// Takes what is found: losses are written at once as JSON; of the rest is kept what will be shown.
class AccountReport final : public AccountSink {
 public:
  AccountReport(const AccountOptions& options, SurveyedFile& input, SurveyedFile& output)
      : options_(options), input_(input), output_(output) {}

  void begin();
  void take(const Finding& finding) override;
  bool wantsEntries() const override;
  void takeEntry(const EntryFate& entry) override;
  void takeLoss(const EntryFate& entry, size_t line) override;
  void end(const Account& account);

  bool isAnyFound() const { return losses_ > 0 || !changes_.empty(); }

 private:
  struct Loss {
    uint64_t entry;
    uint64_t line;
    LineFate fate;
  };

  bool isWanted(const EntryFate& entry);
  void writeHead(const EntryFate& entry);
  void writeEntry(const EntryFate& entry);
  void writeTaker(const Line& taker, uint64_t source, Road road);
  void writeFate(const EntryFate& entry, Takers& takers, size_t i);
  void writeJson(const Account& account);
  void writeText(const Account& account);
  int64_t shownOfEach() const;
  template <typename List, typename IsOfKind, typename Write>
  void writeKind(const std::string& name, const std::string& what, int64_t count, const List& list, IsOfKind isOfKind,
                 Write write);
  void writeLosses();
  void writeChanges();

  const AccountOptions& options_;
  SurveyedFile& input_;
  SurveyedFile& output_;
  std::deque<Finding> changes_;
  std::deque<Loss> shown_;  // losses
  int64_t losses_ = 0;
  int64_t lossesOf_[NUMBER_OF_FATES] = {};
  int64_t changesOf_[NUMBER_OF_FINDINGS] = {};
  int64_t entriesWritten_ = 0;

  uint64_t asked_ = NO_PLACE;  // the last entry that came: it may come in parts, line by line even
  bool isWanted_ = false;
  uint64_t written_ = NO_PLACE;  // the last one of which something was written
};
