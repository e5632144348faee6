// The records of an output, as they are looked for and found.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "account/pieced_text.h"
#include "survey/block_list.h"
#include "survey/findings.h"
#include "survey/surveyed_file.h"

constexpr uint64_t NO_RECORD = UINT64_MAX;

// A run of lines between empty lines.
struct OutputRecord {
  uint64_t hash;        // 0 for one that has not been searched for by it
  uint64_t place : 46;  // where it begins
  uint64_t isOpen : 1;  // another one goes on where it ends, without an empty line
  uint64_t isFound : 1;
  // Of one that has not been found the number of the next such in its chain; then the place of the entry in the input
  // that makes it.
  uint64_t nextOrMaker;
};

// The beginning of a record behind which another one goes on.
struct OpenRecord {
  uint64_t dnHash;  // of its first line
  uint64_t hash;
  size_t length;
};

struct OutputRecords {
  SurveyedFile* file = nullptr;
  BlockList<OutputRecord> all = {};   // in their order; behind them those into which one has been parted
  size_t read = 0;                    // how many stand in their order
  size_t foundInOrder = 0;            // of these, at their begin, before any was searched for
  bool areLinked = false;             // the others can be searched for
  std::vector<uint32_t> chains = {};  // by the hash: the first record of each chain
  std::vector<OpenRecord> open = {};  // that have been announced
  size_t longestOpen = 0;             // bytes
  uint64_t firstGap = NO_RECORD;      // where the first records are parted by other than one empty line
  bool endsOpen = false;              // the last one has no empty line behind it
  bool mayEndOpen = false;            // it has been found, and should have none
  int64_t lines = 0;                  // attribute lines of the whole output
};

// Looks the output through.
void readRecords(SurveyedFile& file, OutputRecords& records);

// Looks for a record that is as it should be and has not been found before. Returns false when there is none. A text is
// several records where it holds empty lines; all of them must be there. Of an added install date only the form counts.
// The maker is the place of the entry in the input.
bool findRecord(OutputRecords& records, PiecedText text, uint64_t maker, bool hasAddedDate);

// Finds a record that ends in a place and has no empty line there. What stands behind it is another one, behind the
// empty line if one was written, which ends a line without a newline. Returns false when no record begins there.
bool takeRecordAt(OutputRecords& records, uint64_t begin, uint64_t end, bool hasEmptyLine);

// Announces a record that may have no empty line behind it.
void announceOpenRecord(OutputRecords& records, const PiecedText& text);

// Parts the records that go on behind one that has been announced.
void partOpenRecords(OutputRecords& records);

// Returns the place of the first record that has not been found; NO_RECORD when all have. The maker is that of one just
// like it which has; without one NO_PLACE.
uint64_t firstUnfound(const OutputRecords& records, uint64_t& maker);

// Returns the record that begins in a place.
std::string_view recordAt(SurveyedFile& file, uint64_t place);
