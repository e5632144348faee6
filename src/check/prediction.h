// What a run on the input will do.
#pragma once

#include <cstdint>
#include <vector>

#include "check/pass_play.h"
#include "survey/entry_findings.h"
#include "survey/new_dns.h"
#include "survey/survey.h"

struct Prediction {
  uint64_t inputBytes = 0;
  SurveyCounts counts;
  Registry registry;
  int32_t slots[2] = {0, 0};         // by Side
  MessageCode code = 0;              // of the message of a run that fails; 0 for one that succeeds
  uint64_t failingEntry = NO_PLACE;  // where the entry begins that the message names
  int64_t passes = 0;
  PlayedMemory memory;
  uint64_t outputBytes = 0;
  bool endsInPreparation = false;
  bool hasDn = false;                               // an entry begins with one
  std::vector<uint64_t> entriesThatEndPreparation;  // where they begin, of those that would be copied
};

// Has the run fail before it reads anything.
void failAtOnce(Prediction& prediction, MessageCode code);

// Predicts the run with these slot counts, 0 standing for as many as there are owners, and has every finding about the
// entries taken. The files are the input, looked at in two places: one and the
// same where it is in memory as a whole.
void predictRun(SurveyedFile& file, SurveyedFile& again, const int32_t (&slots)[2], FindingSink& findings,
                Prediction& prediction);
