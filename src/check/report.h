// What the check says.
#pragma once

#include <cstdint>
#include <deque>

#include "check/options.h"
#include "check/prediction.h"
#include "survey/findings.h"
#include "survey/surveyed_file.h"

// Takes the findings: written at once as JSON, kept for text.
class Report final : public FindingSink {
 public:
  Report(const CheckOptions& options, SurveyedFile& file, bool isFolderInMemory)
      : options_(options), file_(file), isFolderInMemory_(isFolderInMemory) {}

  void begin();
  void take(const Finding& finding) override;
  void end(const Prediction& prediction, uint64_t memoryBytes);

  bool isAnyFound() const { return isAnyFound_; }

 private:
  void writeText(const Prediction& prediction, uint64_t memoryBytes);
  void writeFindings();
  void writeJson(const Prediction& prediction, uint64_t memoryBytes);

  const CheckOptions& options_;
  SurveyedFile& file_;
  bool isFolderInMemory_;
  std::deque<Finding> kept_;
  int64_t counts_[NUMBER_OF_FINDINGS] = {};
  bool isAnyFound_ = false;
  bool stopsAtOthers_ = false;  // other slot counts than the given ones
};
