// The slots of a pass that is played: what stands in their rows.
#pragma once

#include <array>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "survey/record.h"
#include "survey/registry.h"

// What a slot holds: of each kind an entry, NONE, or ODD.
struct Slot {
  std::array<uint32_t, RESCREDS_KIND> rows;
  uint32_t opener;
  uint32_t policyDn;
  uint32_t owner;
  bool isRunOver;  // an entry that did not fit has taken what stood in a row, and the run has failed for it
};
constexpr uint32_t ODD = NONE - 1;  // the parts stand elsewhere
constexpr Slot EMPTY_SLOT = {{NONE, NONE, NONE, NONE, NONE, NONE, NONE}, NONE, NONE, NONE, false};

struct PlayedSlots {
  const Registry& registry;
  std::vector<Slot> of[2] = {};  // by Side; more than are in use where an entry runs on
  // Rows of several parts are rare. They stand apart, so that a slot stays small: there can be as many slots as there
  // are users.
  std::unordered_map<uint64_t, std::vector<RowPart>> oddRows = {};
};

// Returns a slot, which is made if there have not been so many.
Slot& slotAt(PlayedSlots& slots, Side side, int32_t slot);

// Returns what stands in a row. An empty list is an empty row; so is any row behind the last slot that has been used.
std::vector<RowPart> partsOf(const PlayedSlots& slots, EntryKind kind, int32_t slot);

uint32_t lineCount(const std::vector<RowPart>& parts);
bool isFull(const PlayedSlots& slots, EntryKind kind, int32_t slot);

// Returns what is taken for the entry of a row: where that is full, what stands in the next one, too.
std::vector<RowPart> readOn(const PlayedSlots& slots, EntryKind kind, int32_t slot);

void setRow(PlayedSlots& slots, EntryKind kind, int32_t slot, std::vector<RowPart> parts);
void clearRow(PlayedSlots& slots, EntryKind kind, int32_t slot);

// Adds what is left of the parts behind their first lines to others.
void appendRest(const std::vector<RowPart>& from, uint32_t passed, std::vector<RowPart>& parts);
