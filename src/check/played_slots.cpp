#include "check/played_slots.h"

#include <algorithm>

static uint64_t keyOf(EntryKind kind, int32_t slot) { return static_cast<uint64_t>(slot) * RESCREDS_KIND + kind; }

Slot& slotAt(PlayedSlots& slots, Side side, int32_t slot) {
  auto& ofSide = slots.of[side];
  if (ofSide.size() <= static_cast<size_t>(slot)) ofSide.resize(static_cast<size_t>(slot) + 1, EMPTY_SLOT);
  return ofSide[static_cast<size_t>(slot)];
}

std::vector<RowPart> partsOf(const PlayedSlots& slots, EntryKind kind, int32_t slot) {
  const auto& ofSide = slots.of[sideOf(kind)];
  if (static_cast<size_t>(slot) >= ofSide.size()) return {};
  const uint32_t row = ofSide[static_cast<size_t>(slot)].rows[kind];
  if (row == NONE) return {};
  if (row == ODD) return slots.oddRows.at(keyOf(kind, slot));
  return {{row, 0, slots.registry.entries[row].lines}};
}

uint32_t lineCount(const std::vector<RowPart>& parts) {
  uint32_t lines = 0;
  for (const RowPart& part : parts) lines += part.count;
  return lines;
}

bool isFull(const PlayedSlots& slots, EntryKind kind, int32_t slot) {
  return lineCount(partsOf(slots, kind, slot)) == rowLength(kind);
}

std::vector<RowPart> readOn(const PlayedSlots& slots, EntryKind kind, int32_t slot) {
  std::vector<RowPart> all = partsOf(slots, kind, slot);
  for (uint32_t lines = lineCount(all); lines == rowLength(kind);) {
    const std::vector<RowPart> more = partsOf(slots, kind, ++slot);
    lines = lineCount(more);
    all.insert(all.end(), more.begin(), more.end());
  }
  return all;
}

void setRow(PlayedSlots& slots, EntryKind kind, int32_t slot, std::vector<RowPart> parts) {
  slotAt(slots, sideOf(kind), slot).rows[kind] = ODD;
  slots.oddRows[keyOf(kind, slot)] = std::move(parts);
}

void clearRow(PlayedSlots& slots, EntryKind kind, int32_t slot) {
  slots.oddRows.erase(keyOf(kind, slot));
  slotAt(slots, sideOf(kind), slot).rows[kind] = NONE;
}

void appendRest(const std::vector<RowPart>& from, uint32_t passed, std::vector<RowPart>& parts) {
  for (RowPart part : from) {
    const uint32_t gone = std::min(passed, part.count);
    passed -= gone;
    part.first += gone;
    part.count -= gone;
    if (part.count > 0) parts.push_back(part);
  }
}
