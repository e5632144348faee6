// The catalogue numbers of the messages that the run issues.
#pragma once

#include <cstdint>

enum MessageCode : uint32_t {
  MEMORY_EXHAUSTED = 380928300,
  POSITION_CALL_FAILED = 380928301,  // name of the call, its return code
  PROCESSING_FAILED = 380928302,
  ROW_ALREADY_OCCUPIED = 380928303,
  FILE_NOT_OPENED = 380928304,     // the file's name
  PREPARATION_FAILED = 380928305,  // the input file's name
  WRITE_FAILED = 380928306,        // the file's name
  OBJECT_NOT_READ = 380928307,     // the work file's name
  CONVERSION_BEGINS = 380928308,
  PREPARATION_BEGINS = 380928309,
  WORK_FILE_READY = 380928310,
  PASSES_BEGIN = 380928311,
  PASS_UNDER_WAY = 380928312,
  GATHERED_DATA_BEING_WRITTEN = 380928313,
  USAGE_ERROR = 380928314,
  CONVERSION_COMPLETE = 380928315
};
