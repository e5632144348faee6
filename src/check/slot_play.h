// The slots of a pass that is played: what is gathered into them, and what is written of them.
#pragma once

#include "check/play.h"

// An entry as a pass meets it. Returns false when it stays.
bool meet(Play& play, uint32_t number);

// Ends a pass: has the records of all slots that are in use written, and empties them.
void flush(Play& play);

// What the records of a slot that cannot be written are to the run. What is known has been reported.
void failForRecords(Play& play, const SlotRecords& records, const SlotRows& rows, Side side, int32_t slot,
                    bool isKnown);
