// The catalogue numbers of the messages that the run issues, by what they are given.
#pragma once

#include <cstdint>

using MessageCode = uint32_t;

// Failures that need no more than their number and what has been filled in of their details.
enum PlainFailure : MessageCode {
  MEMORY_EXHAUSTED = 380928300,
  PROCESSING_FAILED = 380928302,
  ROW_ALREADY_OCCUPIED = 380928303,
  USAGE_ERROR = 380928314
};

// Failures of a call: its name, its return code.
enum CallFailure : MessageCode { POSITION_CALL_FAILED = 380928301 };

// Failures of a file: its name.
enum FileFailure : MessageCode {
  FILE_NOT_OPENED = 380928304,
  PREPARATION_FAILED = 380928305,  // of the input
  WRITE_FAILED = 380928306,
  OBJECT_NOT_READ = 380928307  // in the work file
};

// Progress.
enum Notice : MessageCode {
  CONVERSION_BEGINS = 380928308,
  PREPARATION_BEGINS = 380928309,
  WORK_FILE_READY = 380928310,
  PASSES_BEGIN = 380928311,
  PASS_UNDER_WAY = 380928312,
  GATHERED_DATA_BEING_WRITTEN = 380928313,
  CONVERSION_COMPLETE = 380928315
};
