#include <algorithm>

#include "cache/cache_slots.h"
#include "cache/object_cache.h"
#include "cache/owner_association.h"
#include "driver/pass.h"
#include "driver/pass_plan.h"
#include "ldif/object_buffer.h"
#include "reporting/run_state.h"
#include "rules/owner.h"
#include "rules/text.h"
#include "workfile/notes.h"
#include "workfile/work_text.h"

static EntryKind kindOf(const Note& note) { return static_cast<EntryKind>(note.kind); }

static int64_t bytesOf(const Note& note) { return int64_t{note.length} + static_cast<int64_t>(note.terminator); }

static int32_t slotsInUse() { return next_available_secUser_dn_slot + next_available_secGroup_dn_slot; }

// Gathers the entry of a note. Returns false when it had to be left.
static bool gather(Note& note) {
  loadNotedObject(note);
  if (note.kind == UNKNOWN_KIND) return settleObject(bytesOf(note));
  objectClass = classOfKind(kindOf(note));
  return settleObjectOfKind(kindOf(note), bytesOf(note));
}

// True for kinds whose owner is told by the first line.
static bool isOwnerInFirstLine(EntryKind kind) {
  return kind == SECUSER_KIND || kind == SECGROUP_KIND || kind == SECPOLICY_KIND || kind == SECPOLICYDATA_KIND;
}

// Returns a text that stays for the pass.
static std::string_view kept(std::string_view text) {
  return isInWorkText(text) ? text : keepText(gatheredTexts, text);
}

static void openSlot(const CacheSide& slots, std::string_view dn) {
  (*slots.dns)[*slots.nextSlot] = kept(dn);
  ++*slots.nextSlot;
  ++*slots.count;
}

// The row of an entry: its text, with the normalised first line in place of its own.
static Row rowOf(const Note& note, std::string_view text, std::string_view firstLine) {
  const auto lines = static_cast<int16_t>(note.lines);
  if (note.isNormal != 0) return {text.data(), note.length, lines, false};
  const std::string_view rest = text.substr(nextLineIn({text, false}).size());
  const size_t length = firstLine.size() + rest.size();
  char* const changed = makeRoom(gatheredTexts, length);
  std::copy(rest.begin(), rest.end(), std::copy(firstLine.begin(), firstLine.end(), changed));
  return {changed, static_cast<uint32_t>(length), lines, false};
}

// Gathers an entry as planned, and looks only at what its note leaves open. Returns false for an entry that has to be
// looked at: one that runs on into other rows, for instance.
static bool gatherUnseen(Note& note) {
  const EntryKind kind = kindOf(note);
  const std::string_view text = workText(note.start, note.length);
  if (note.hasOwner == 0 || note.hasComments != 0 || text.empty() || !isOpen(kind)) return false;
  const bool opensSlot = note.isFirst != 0;
  const bool needsOwner = opensSlot || note.isNormal == 0 || kind == SECPOLICY_KIND;
  const CacheSide& slots = cacheSides[sideOf(kind)];
  const int32_t slot = plannedSlotOf(note);
  if ((opensSlot && note.opensForKey == 0) || opensSlot != (slot == *slots.nextSlot)) return false;
  freeObject();
  Owner owner;
  if (needsOwner) {
    appendLinesToObject(isOwnerInFirstLine(kind) ? nextLineIn({text, false}) : text);
    owner = ownerOf(entryInObject(), kind, objectTexts, nullptr);
    next_available_object_slot = 0;
    if (owner.problem != NO_DETAIL) return false;                            // it is not as it was noted
    if (kind == SECUSER_KIND && isUsersLine(owner.firstLine)) return false;  // it is one without its blanks
  }
  makeRoomForSlot(sideOf(kind), slot);
  const Row row = rowOf(note, text, owner.firstLine);
  if (!placeUnseen(matrices[kind], slot, row)) return false;
  if (kind == SECPOLICY_KIND) secPolicy_dn[slot] = kept(dnOfFirstLine(owner.firstLine));
  if (opensSlot) openSlot(slots, owner.saved);
  note.isTaken = 1;
  countGathered(kind, bytesOf(note));
  return true;
}

// Gathers the entry of a note. Returns false when it did not come as planned: it had to be left, or its owner had no
// slot although an earlier entry should have opened one, or had one too early, or got one that its other entries will
// not find.
static bool gatherAsPlanned(Note& note) {
  if (gatherUnseen(note)) return true;
  const int32_t slotsBefore = slotsInUse();
  if (!gather(note)) return false;
  return note.isFirst != 0 ? slotsInUse() == slotsBefore + 1 && note.opensForKey != 0 : slotsInUse() == slotsBefore;
}

// True when the entry cannot be gathered, whatever it reads: its kind has no room, or its owner none.
static bool isOutOfReach(const Note& note) {
  const EntryKind kind = kindOf(note);
  if (kind == UNKNOWN_KIND) return false;
  return !isOpen(kind) || (note.hasOwner != 0 && isShutOut(sideOf(kind), note.ownerHash));
}

// Settles all entries from a note on, for a pass that has left its plan.
static void walkNotes(uint32_t from) {
  for (uint32_t i = from; i < noteCount; ++i) {
    if (notes[i].isTaken != 0 || notes[i].kind == RESCREDS_KIND || isOutOfReach(notes[i])) continue;
    gather(notes[i]);
  }
}

void walkPlannedEntries() {
  if (!isAnyEntryLeft()) return;
  announcePass();
  if (!isAnyEntryToBeGathered()) return;
  atLeastOneObjectProcessed = 1;
  for (const uint32_t number : notesOfNextPass()) {
    if (gatherAsPlanned(notes[number])) continue;
    // The entry that did not fit has changed what the later ones will find: the plan holds no more, neither for this
    // pass nor for the next.
    rejectPlan();
    walkNotes(number + 1);
    return;
  }
}
