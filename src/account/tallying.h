// An account while it is made: records are looked for in the output, lines are counted by their fates.
#pragma once

#include <cstdint>
#include <deque>
#include <span>
#include <string_view>
#include <vector>

#include "account/accounting.h"

// A record that should be in the output and is not.
struct MissingRecord {
  uint64_t begin;  // of its first entry in the input
  uint64_t dnHash;
  bool isContainer = false;  // of the entry, which is a policy
};

// An account while it is made.
struct Accounting {
  OutputRecords& output;
  AccountSink& sink;
  Account& account;
  std::deque<MissingRecord> missing = {};
  std::vector<uint32_t> longMissing = {};  // entries that fill their rows, or more, whose records are missing
  uint64_t expectedBytes = 0;
  uint64_t copiedBytes = 0;  // of those that the preparation writes
  DnComparison newDns = {};

  // A record as the conversion writes it, in the pieces in which its lines lie in memory.
  std::vector<std::string_view> pieces = {};
  size_t size = 0;  // bytes of them
};

// The record that is being put together.
PiecedText recordOf(const Accounting& accounting);
void beginRecord(Accounting& accounting);
void addPiece(Accounting& accounting, std::string_view piece);

// Puts a record together: the first line, where it is not among the others, and those that are not dropped.
void putRecord(Accounting& accounting, std::string_view firstLine, Entry lines, Road road);

// Looks for the record in the output, and counts it there. Returns false when it is missing, which is noted with the
// entry of the input that begins there.
bool find(Accounting& accounting, RecordKind kind, uint64_t begin, bool hasAddedDate = false);

// Returns how many lines of the input a part of an entry has.
int64_t attributeLinesOf(const PreparedEntry& prepared, const WorkEntry& part);

// Counts the lines of an entry by their fates, and has those that are gone taken.
void tally(Accounting& accounting, const EntryFate& entry);

// Corrects the fates of the lines of a record: what a missing one would have held is lost, but for what is dropped
// anyway.
void settleFates(Fates& fates, Entry lines, Road road, bool isFound);

// Accounts for an entry that goes to the output by itself. The fates are room that is used again and again.
void takeCopiedEntry(Accounting& accounting, Entry lines, std::span<const Origin> origins, Road road, uint64_t begin,
                     Fates& fates);
