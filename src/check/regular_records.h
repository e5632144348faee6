// The records of the owners whose entries are regular, which are nearly all: one of each kind at most, so that no slot
// counts make a difference to them.
#pragma once

#include <cstdint>

#include "survey/line_fates.h"
#include "survey/new_dns.h"
#include "survey/record.h"

// Fills the rows of a slot with the entries of such an owner.
void fillRows(const Registry& registry, const RegistryOwner& owner, SlotRows& rows);

// Returns the entry of the slot to which a problem of its records belongs.
uint32_t entryOf(const SlotRows& rows, const SlotRecords& records, Side side);

// Finds what is odd about the records that have been made of a slot, and which lines are lost. Returns the new DN,
// which has not been compared yet. The survivors are room that is used again and again.
RecordDn takeRecords(RecordMaker& maker, const SlotRows& rows, Side side, RecordSurvivors& survivors,
                     FindingSink& findings);

// Finds which lines are lost of an entry whose row an entry of another owner has taken. To be called behind
// takeRecords.
void findSwallowed(RecordMaker& maker, uint32_t number, const RecordSurvivors& survivors, FindingSink& findings);

// Makes all of them: finds whether they can be written, how many bytes they have, and what is odd about them. Half of
// them are made at the same time as the other half, where a second processor is free; findings come in one order all
// the same.
void makeRegularRecords(Registry& registry, RecordMaker& maker, DnComparison& newDns, FindingSink& findings);
