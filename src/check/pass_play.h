// The passes of a run, played through on what is known of the entries, without a work file.
#pragma once

#include <cstdint>
#include <string>

#include "platform/detail_texts.h"
#include "platform/message_codes.h"
#include "survey/new_dns.h"
#include "survey/record.h"
#include "survey/registry.h"

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

// Finds the owners that lose an entry to another one's which runs on into its row. To be called when all entries are
// there, before any records are made.
void findLosers(Registry& registry, const int32_t (&slots)[2], RecordMaker& maker);

// Plays the passes. What would end the run is found and passed over, so that all of it is found; the failure is the
// first. To be called behind makeRegularRecords; the records of the other owners are made here.
PlayedRun playPasses(Registry& registry, const int32_t (&slots)[2], RecordMaker& maker, DnComparison& newDns,
                     FindingSink& findings);
