// The entry buffer: the one entry being worked on. Refilled by the readers, changed by tweekObjectInObjectArray, filled
// by mergeObjects, emptied by freeObject and the cache moves.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/stream.h"
#include "rules/line.h"
#include "rules/object_class.h"
#include "rules/policy_container.h"
#include "rules/texts.h"

// The lines of the entry as read, line end included; line 0 is the dn: line. Their texts stand where they have been
// read, in a stream or a file in memory, or in objectTexts: they are lent until the buffer is filled anew. Behind the
// last slot a line is only looked at.
inline Line object[OBJECT_ARRAY_SIZE + 1];

// Number of filled slots.
inline int32_t next_available_object_slot = 0;

// Texts that were made for the entry in the buffer: lines changed or added, values unfolded. Forgotten with it.
inline char memoryOfObjectTexts[size_t{64} * 1024];
inline Texts objectTexts(memoryOfObjectTexts, sizeof memoryOfObjectTexts);

// The entry as the rules take it.
inline Entry entryInObject() { return {object, static_cast<size_t>(next_available_object_slot)}; }

// Returns line 0, or nothing when the buffer is empty.
inline std::string_view firstLineOfObject() {
  return next_available_object_slot > 0 ? object[0].view() : std::string_view();
}

// getNextObject's result for an entry too long for the buffer, which has gone straight to the output.
constexpr int32_t OBJECT_COPIED_TO_OUTPUT = 99;

// Number of entries that getNextObject has read.
inline int64_t objectsRead = 0;

// Reads the next entry of the input. Returns 0 when a blank line ended it; -1 at the end of the file, with
// the last entry in the buffer if the file does not end in a blank line, else with a count of 0;
// OBJECT_COPIED_TO_OUTPUT for an entry of 250,000 lines or more, the buffer being empty. Ends the run when
// the position cannot be taken or restored, or memory is exhausted. The lines stand in the stream until it is read on.
int32_t getNextObject(Stream* stream);

// Where in its file the entry read last stands.
struct ObjectExtent {
  int64_t readFrom = 0;      // where the stream stood before the read
  int64_t begin = 0;         // of its first line
  size_t linesLength = 0;    // up to the end of its last line
  int64_t end = 0;           // behind the blank line that ended it
  bool hasOddLines = false;  // blank lines before it, that is comments alone, or a NUL
  bool hasChangetype = false;
  bool hasComments = false;
};

// Fills the empty buffer with the lines up to the blank line that ends an entry. Returns 0; -1 at the end of the file.
// With an entry that fills the buffer it returns OBJECT_COPIED_TO_OUTPUT, the stream being still in the entry, or takes
// the buffer's last line, too, and ends the run with PROCESSING_FAILED at the next one.
int32_t readLinesOfObject(Stream* stream, bool stopsWhenFull, ObjectExtent& extent);

// Copies the lines from where they have been read into the texts of the entry.
void keepObjectApart();

// Empties the buffer.
void freeObject();

// Appends a line. Ends the run with PROCESSING_FAILED when the buffer is full.
void appendLineToObject(const Line& line);

// Appends the lines of a text, which hold no NUL, without its comments. Ends the run as appendLineToObject does.
void appendLinesToObject(std::string_view text);

// Puts another text in place of the line in a slot, or behind the last line; it has to stay while the entry is there.
void setLineOfObject(int32_t slot, std::string_view text);

// Gives all lines the form in which they are written: folding undone, one newline behind each. Returns true when they
// are those that have been read but for their line ends.
bool unfoldObject();

// Splits lines that are longer than a line can be. Returns false when the entry, once it has been written, does
// not read as these lines: a line that is blank or a comment ends or interrupts it, or they are too many.
bool splitObjectAsRead();

// Traces every line of the entry as "   object[%d] = %s".
void traceObject();

// Code of the entry in the entry buffer, an ObjectClass; valid until the next classification.
inline int32_t objectClass = UNINTERESTING_OBJECTCLASS;

// Sets objectClass.
void determineTheObjectsObjectClass();
