// Which entries each pass will gather, worked out beforehand from the notes.
#pragma once

#include <cstdint>
#include <span>

#include "workfile/notes.h"

// Sees to it that there is a plan of the passes to come. They open slots for the owners in the order in which these
// appear among the entries that are left, each pass for as many as a side has slots; so the number of an owner in this
// order tells its pass. Returns false, the notes being given up, when there is no room for a plan.
bool planPasses();

// Makes the next planPasses plan anew, because other entries are left than those planned for.
void rejectPlan();

// Gives back what the plan occupies.
void forgetPlan();

// Returns the numbers of the notes that the next pass of the plan gathers, in the order of the work file, and moves on.
std::span<const uint32_t> notesOfNextPass();

// Returns the slot that the plan has for the owner of an entry.
int32_t plannedSlotOf(const Note& note);

// True when entries are left, and entries of users or groups among them.
bool isAnyEntryLeft();
bool isAnyEntryToBeGathered();
