// What becomes of the lines of the input.
#pragma once

#include <cstdint>
#include <vector>

#include "survey/record.h"

enum LineFate : uint8_t {
  LEFT_OUT,                // its whole entry is not
  ABSORBED,                // another entry of the record says the same: DN, object classes, equal lines
  RENAMED,                 // it is in the output with another name or value, as it has to
  KEPT,                    // it is in the output
  REPLACED,                // by a line of the same attribute with another value
  REPLACED_BY_SAME,        // by a line of the same attribute and value, in another spelling
  BOOKKEEPING,             // it belongs to the directory server, as its name says
  LOOKS_LIKE_BOOKKEEPING,  // it only holds such a name
  LOST,
  NUMBER_OF_FATES
};

// Of the lines of an entry, by their place.
using Fates = std::vector<LineFate>;

// The fate of a line that is dropped on a road.
LineFate fateOfDropped(const Line& line, Road road);

// Finds the fates of the lines of an entry that is written alone, but for its first line when that gets a new DN.
void findFatesAlone(Entry lines, std::span<const Origin> origins, Road road, bool getsNewDn, Fates& fates);

// Finds out which lines are in the record of a user or a group: as lines of their own, and not as more of a line that
// has been cut and so has no line end. To be made of the records first.
struct RecordSurvivors {
  std::vector<const char*> places;  // hash table of their texts
  std::vector<const Line*> lines;
};
void findSurvivors(const SlotRecords& records, RecordSurvivors& survivors);

// Finds the fates of the lines of an entry that is merged. The base is the entry whose object classes the record has.
void findMergedFates(const LoadedEntry& entry, const RecordSurvivors& survivors, bool isOwnEntry, bool isBase,
                     Fates& fates);
