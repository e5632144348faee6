// The records that a run makes of the entries of a user or a group, and what becomes of their lines there.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/detail_texts.h"
#include "rules/dropped_lines.h"
#include "rules/line.h"
#include "rules/object_class.h"
#include "rules/texts.h"
#include "survey/prepared_entry.h"
#include "survey/registry.h"
#include "survey/surveyed_file.h"

// An entry of the input that has been read once more, as it stands in a row.
struct LoadedEntry {
  ReadEntry read;
  PreparedEntry prepared;
  std::array<char, size_t{16} * 1024> memory;
  Texts texts{memory.data(), memory.size()};
  std::string copy;        // of the text where the file is not in memory as a whole
  uint64_t begin = 0;      // of the text in the input
  uint32_t number = NONE;  // of the entry
  std::span<Line> lines;
  std::span<const Origin> origins;
  bool areOriginsKnown = false;
};

// Where the lines of an entry of the kind that is gathered go.
constexpr Road roadOf(EntryKind kind) { return kind == SECPOLICY_KIND ? POLICY : MERGED; }

// Returns where a line of the entry comes from.
Origin originOf(const Registry& registry, const LoadedEntry& entry, size_t line);

// Brings near what will soon be asked for, since it can lie anywhere in memory and in the file: first what is known of
// an entry, then its lines and texts.
struct EntryFetch {
  size_t known = 0;  // Registry::byOwner has been fetched up to here
  size_t texts = 0;
};
// To be called for each owner in turn.
void fetchAhead(EntryFetch& fetch, const SurveyedFile& file, const Registry& registry, const RegistryOwner& owner);

// Some lines of an entry in a row; where no entry has too many lines that is a whole entry.
struct RowPart {
  uint32_t entry;  // number
  uint32_t first;  // line
  uint32_t count;
};

// What stands in the rows of a slot, by EntryKind. Lines of several entries can follow one another.
struct SlotRows {
  std::vector<RowPart> parts[RESCREDS_KIND];
  uint32_t opener = NONE;    // the entry whose owner DN is that of the slot
  uint32_t policyDn = NONE;  // the policy whose DN the slot has
};

// The records of a slot.
struct SlotRecords {
  DetailText problem = NO_DETAIL;  // why they cannot be written
  // The first line of the entry that is complained of; nothing where that is one that the slot lacks.
  std::string_view subject;
  EntryKind subjectKind = UNKNOWN_KIND;  // of that entry; UNKNOWN_KIND for the owner's own
  EntryKind missing = UNKNOWN_KIND;      // the kind that the slot lacks, for such a problem
  EntryKind present = UNKNOWN_KIND;      // one that it has; UNKNOWN_KIND for none
  std::string_view name;                 // of the owner
  Line nameLine;                         // in which that stands
  std::string_view oldDn;                // of the owner
  std::string_view newDn;                // dn: lines
  std::string_view containerDn;          // without CONTAINER_DN_BEGIN
  std::string_view policyDn;             // empty without one
  bool hasPolicy = false;                // a record of it, behind that of the container
  std::vector<Line> merged;              // the lines of the record, dropped ones among them; the first is not written
  std::vector<Line> policyLines;
  uint64_t bytes = 0;  // of all records
};

// Room for the entries of a slot and what is made of them; used again and again.
struct RecordMaker {
  // The file and the registry are lent.
  RecordMaker(SurveyedFile& input, Registry& all, bool isChangetypeSeen)
      : file(&input), registry(&all), changetypeSeen(isChangetypeSeen) {}

  SurveyedFile* file;
  Registry* registry;
  bool changetypeSeen;
  bool areOriginsWanted = false;                     // of all lines; of a few they can be found later
  Measures measured = {};                            // of the entries that have been loaded first by this one
  std::vector<std::unique_ptr<LoadedEntry>> loaded;  // those of the slot at its begin
  size_t loadedCount = 0;
  std::vector<Line> lines[RESCREDS_KIND];  // of rows of several parts
  std::vector<Line> partial;
  std::array<char, size_t{16} * 1024> memory;
  Texts texts{memory.data(), memory.size()};
  SlotRecords records;
};

// Empties the rows for another slot.
void clearRows(SlotRows& rows);

// Puts an entry that fits into its row. The first entry of the slot opens it.
void addToRow(const Registry& registry, uint32_t entry, SlotRows& rows);

// Makes the records of a slot, which has an opener, of its entries, loading them in the place of others. The records
// and the entries stay until the maker is used for another slot.
const SlotRecords& makeRecords(RecordMaker& maker, Side side, const SlotRows& rows);

// Returns an entry of the slot, loaded beside those that are.
LoadedEntry& loadedEntry(RecordMaker& maker, uint32_t number);

// Returns an entry, loaded in the place of all others. One that is asked for again and again stays loaded.
const LoadedEntry& loadedAlone(RecordMaker& maker, uint32_t number);

// Measures the entries that are in no record that has been made, and adds what has been measured to the registry's.
void measureRest(RecordMaker& maker);
