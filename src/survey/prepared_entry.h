// What becomes of an entry of the input before the passes: where it goes, and with which lines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/detail_texts.h"
#include "rules/line.h"
#include "rules/object_class.h"
#include "rules/texts.h"
#include "survey/entry_walk.h"

// Where a written line comes from.
struct Origin {
  size_t place;    // of its text, from the begin of the entry in the input
  uint32_t line;   // number of the attribute line of the entry; NO_LINE for a line that is added
  bool isPiece;    // it is what is left of a line that has been cut
  bool isChanged;  // it has got another text
};
constexpr uint32_t NO_LINE = UINT32_MAX;

// An entry as it stands in the work file. One of the input is several where a line of it does not read as it has been
// written.
struct WorkEntry {
  size_t first = 0;  // of its lines among all
  size_t count = 0;
  ObjectClass objectClass = UNINTERESTING_OBJECTCLASS;
  EntryKind kind = UNKNOWN_KIND;
  bool isTooLong = false;  // to be held
};

struct PreparedEntry {
  ObjectClass objectClass = UNINTERESTING_OBJECTCLASS;
  EntryKind kind = UNKNOWN_KIND;
  DetailText problem = NO_DETAIL;  // why the run ends here
  bool goesToOutput = false;
  bool lacksOrigins = false;          // they are needed: it has to be read and prepared once more with them
  bool isValueTaken = false;          // for an attribute that its line is not
  size_t takenPlace = 0;              // of the line; 0 where that is not known
  uint32_t takenForOwner = NO_LINE;   // of the lines: a value that has lost blanks as if it were the owner's DN
  uint32_t shortenedOwner = NO_LINE;  // the owner's DN has lost blanks of a name
  bool isAuthorityCoded = false;      // of a user: in base 64, as it stands in the identifier that is added
  bool isForeseen = false;       // the lines are those that have been read: it is a plain entry, and not prepared yet
  Line foreseenFirst;            // of such an entry, the first line as it will be
  uint32_t attributeLines = 0;   // of the input, each in one piece with those that continue it
  size_t bytes = 0;              // of the lines as they are written, without those that are dropped, and the empty line
  std::string_view text;         // of the input, from the entry on
  std::span<Line> lines;         // as they are written, a newline behind each; they stand in the room of the entry
  uint32_t names = 0;            // that their Line::names may hold
  std::vector<Origin> origins;   // of each of them
  std::vector<WorkEntry> parts;  // of an entry for the work file: mostly one
  std::vector<Line> partLines;   // of an entry of several parts, or with pieces
  std::vector<Origin> partOrigins;
  std::vector<size_t> returns;    // where lines begin, from the begin of the entry, that have more behind a return
  std::vector<size_t> goneLines;  // places of the lines that read as nothing once they are written, as parts
};

// Most entries are plain: there is nothing odd about them, and what becomes of them shows before they are prepared.
// Preparing is most of the work, so that such an entry is prepared once, when its record is made.
// Works out what is asked of a plain entry before that: its kind and how many lines it will have. Its bytes stay
// unknown, and there is nothing to be found in it but an unknown spelling of its class and a second DN. Returns false
// for other entries.
bool foreseePlainEntry(ReadEntry& entry, std::string_view text, ObjectClass objectClass, Texts& texts,
                       PreparedEntry& prepared);

// Gives the first line of such an entry the form in which it will be. In that of the others it makes no difference to
// the entry's owner.
void prepareFirstLine(PreparedEntry& prepared);

// Returns where an attribute line of an entry without pieces begins, from the begin of the entry, where the origins
// have not been found.
size_t placeInText(const PreparedEntry& prepared, size_t line);

// Prepares an entry that has been read and can be held, as the conversion does; its lines are used up. The text is that
// of the walk, the class that of the lines as they have been read. The origins are only found where they may be needed,
// unless they are asked for. Texts last until they are released.
void prepareEntry(ReadEntry& entry, std::string_view text, ObjectClass objectClass, bool withOrigins, Texts& texts,
                  PreparedEntry& prepared);

// The same of an entry that is known to become one in the work file, of the same class.
void prepareKnownEntry(ReadEntry& entry, std::string_view text, ObjectClass objectClass, bool withOrigins, Texts& texts,
                       PreparedEntry& prepared);

// Returns the kind as which a run takes an entry for the work file: by its class as it has been written there, which
// can be another one where the class was folded.
EntryKind kindOfWritten(const PreparedEntry& prepared);

uint64_t bytesOfLines(Entry lines);

// The lines of a part, and where they come from. Those of a plain entry that has not been prepared are all its lines.
std::span<Line> linesOf(PreparedEntry& prepared, const WorkEntry& part);
std::span<const Origin> originsOf(const PreparedEntry& prepared, const WorkEntry& part);
