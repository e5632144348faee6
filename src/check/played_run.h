// What the passes of a run come to.
#pragma once

#include <cstdint>
#include <string>

#include "platform/detail_texts.h"
#include "platform/message_codes.h"

// How a run ends that fails in the passes.
struct RunFailure {
  MessageCode code = 0;  // of the message; 0 for a run that does not fail
  DetailText problem = NO_DETAIL;
  std::string firstLine;         // of the entry that is complained of; empty where none is known
  std::string earlierFirstLine;  // of a doubled entry, that of the other
};

// What says how much memory a run takes.
struct PlayedMemory {
  uint64_t slots[2] = {0, 0};  // by Side, whose rows are used
  uint64_t bytes = 0;          // that the passes have written
  uint32_t mostLines = 0;      // of an entry as it stands in its rows
  bool looksOwnersUp = false;  // by their DNs
  uint64_t mostLeft = 0;       // owners, when the passes are planned anew because an entry has been left
};

struct PlayedRun {
  RunFailure failure;
  PlayedMemory memory;
  int64_t passes = 0;  // that write something, or begin to
  uint64_t bytes = 0;  // that they write
};
