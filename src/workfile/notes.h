// What is known of every entry of the work file, so that a pass touches only those that it gathers. It is kept only as
// long as it is complete, and not while tracing, when every step has to be shown: without it the file is read.
#pragma once

#include <cstdint>
#include <string_view>

#include "ldif/object_buffer.h"
#include "rules/object_class.h"

constexpr int START_BITS = 41;  // 2 terabytes
constexpr int TERMINATOR_BITS = 4;
constexpr int LINES_BITS = 9;
constexpr int KIND_BITS = 4;

// The number of lines of an entry that has more than can be noted.
constexpr uint32_t MANY_LINES = (1U << LINES_BITS) - 1;

struct Note {
  uint64_t ownerHash;                     // of the key of its owner; valid if it has an owner
  uint64_t start : START_BITS;            // of its first line in the work file
  uint64_t terminator : TERMINATOR_BITS;  // bytes of the blank line that ends it
  uint64_t lines : LINES_BITS;            // number of its lines, or MANY_LINES
  uint64_t kind : KIND_BITS;              // an EntryKind
  uint64_t hasOwner : 1;                  // its owner can be told
  uint64_t isNormal : 1;                  // its first line names its owner as it stands, or does not name it
  uint64_t opensForKey : 1;               // a slot that it opens is found by the entries of the same owner
  uint64_t isTaken : 1;                   // it has been gathered or copied, and is not in the work file any more
  uint64_t isFirst : 1;                   // of its owner, among those that the plan was made of
  uint64_t hasComments : 1;               // among its lines
  uint32_t length;                        // bytes of its lines
  uint32_t rank;                          // of its owner in the plan
};
static_assert(sizeof(Note) == 24);

// The notes, in the order of the work file.
inline Note* notes = nullptr;
inline uint32_t noteCount = 0;

// The note of the entry in the entry buffer; null for an entry that has been read from the file.
inline Note* notedObject = nullptr;

// True while all entries are noted and the text of the work file stands in memory.
inline bool areNotesComplete = false;

// Begins the notes of a work file that is empty.
void beginNotes();

// Notes the entry in the entry buffer as it stands in the work file. Where that is not possible,
// for want of room, the notes are given up.
void noteObject(EntryKind kind, const ObjectExtent& extent);

// Gives the notes up between two passes: what has been taken is blanked out, and from now on the file is read. Ends the
// run with WRITE_FAILED when that is not possible.
void giveUpNotes();

// Gives back what the notes occupy.
void forgetNotes();

// Notes all entries of the work file by reading it once, where they could not be noted while it was written.
void noteWorkFile();

// Fills the entry buffer with the entry of a note.
void loadNotedObject(Note& note);

// For a run that fails: blanks out what has been taken, which has been put off until now. If that fails as well, a hint
// is added to the message. Returns the name of the work file when it could not be read, which is then why the run
// fails, and null otherwise.
const char* settleWorkFile();
