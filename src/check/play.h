// Where a play of the passes stands, and what is noted in it.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "check/entry_queues.h"
#include "check/played_run.h"
#include "check/played_slots.h"
#include "survey/line_fates.h"
#include "survey/new_dns.h"

constexpr int32_t NO_SLOT = -1;

// A release that has run on into the row of another slot.
struct PlayedOverrun {
  EntryKind kind;
  int32_t slot;
  int32_t lastSlot;
  std::string firstLine;
  uint32_t entry;
};

// An entry that stands in the row of another slot, too.
struct RunOn {
  EntryKind kind;
  int32_t slot;
  uint32_t entry;
  bool isOverAnother;  // that had been gathered there
};

using SlotEntry = std::pair<int32_t, uint32_t>;  // a slot, and the number of an entry

struct Play {
  Registry& registry;
  const int32_t (&limits)[2];
  RecordMaker& maker;
  DnComparison& newDns;
  FindingSink& findings;
  RecordSurvivors survivors = {};
  PlayedRun run = {};

  PlayedSlots slots{registry};
  int32_t inUse[2] = {0, 0};
  int32_t counts[RESCREDS_KIND] = {};
  std::vector<PlayedOverrun> overruns = {};

  std::vector<int32_t> slotOfOwner = {};       // by owner: that which is found in this pass, or NO_SLOT
  EntryQueues queues{registry};                // where something odd can happen
  uint32_t nextOwner[2] = {0, 0};              // by Side, among those that no pass has met
  std::set<uint32_t> metBefore[2] = {};        // the first entry that is left of owners that one has met
  std::unordered_set<uint64_t> reported = {};  // findings that have been told, by entry and identifier
  std::vector<RunOn> runOn = {};               // in this pass
  std::set<SlotEntry> swallowed = {};          // in this pass: what has stood in rows that others have taken
  bool isPlanLeft = false;                     // in this pass, because an entry has been left
  bool isTrial = false;                        // that makes no record, and is to find out who loses entries
};

// The records of such an owner have been made before, and what is odd about them has been told.
inline bool isKnown(const RegistryOwner& owner) { return owner.isRegular && !owner.losesEntry; }

// A run ends with its first failure. The play goes on behind it, so that the failures of later entries are found,
// too, each of which would end a run once the earlier ones have been mended.
void fail(Play& play, MessageCode code, DetailText problem, std::string firstLine, std::string earlier = {});

// An entry that is met in several passes, or that is complained of in several ways, is one problem to mend.
void reportOnce(Play& play, FindingId id, At at, uint32_t entry);
void reportFailure(Play& play, DetailText problem, uint32_t entry);

// Slots that are opened behind a failure are the play's alone.
void noteSlots(Play& play, Side side, size_t slots);
void noteLookUp(Play& play);
