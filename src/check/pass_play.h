// The passes of a run, played through on what is known of the entries, without a work file.
#pragma once

#include <cstdint>

#include "check/played_run.h"
#include "survey/new_dns.h"
#include "survey/record.h"
#include "survey/registry.h"

// Finds the owners that lose an entry to another one's which runs on into its row. To be called when all entries are
// there, before any records are made.
void findLosers(Registry& registry, const int32_t (&slots)[2], RecordMaker& maker);

// Plays the passes. What would end the run is found and passed over, so that all of it is found; the failure is the
// first. To be called behind makeRegularRecords; the records of the other owners are made here.
PlayedRun playPasses(Registry& registry, const int32_t (&slots)[2], RecordMaker& maker, DnComparison& newDns,
                     FindingSink& findings);
