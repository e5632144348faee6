// The entries of a text, one after the other, as the conversion reads them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "rules/line.h"
#include "rules/line_scan.h"

// An entry as it has been read. Places are counted from the begin of the text.
struct ReadEntry {
  std::vector<Line> room;         // the lines stand at its begin; used again and again
  size_t count = 0;               // of the lines
  size_t heldFrom = 0;            // behind the blank lines before the entry: comments may stand in front of it
  size_t begin = 0;               // of the first line
  size_t end = 0;                 // behind the blank line that ends it
  bool isEndedByText = false;     // and by no blank line
  bool isOversized = false;       // it goes on behind the lines that are held
  std::vector<size_t> nuls;       // where lines begin that are cut short by one; the entry, for a piece of a line
  bool hasLongLine = false;       // a line stands there in pieces, or what is left of a comment
  size_t longLine = 0;            // where the first of them begins
  bool hasFoldedComment = false;  // what continues a comment is taken for more of the line before it
  bool isOrdinary = false;        // every line is whole and has a newline or CRLF behind it
  bool hasReturns = false;        // of an ordinary entry: some of these are CRLF
  uint32_t continuations = 0;     // lines of an ordinary entry that continue another
  uint32_t names = 0;             // Line::names of all lines together
  bool mayFoldName = false;       // of an ordinary entry: a known name may stand in a folded line but the first

  Entry lines() const { return {room.data(), count}; }
};

struct EntryWalk {
  std::string_view text;
  LineScan scan = {};
  size_t nul = std::string_view::npos;  // place of the next NUL, if there is one in what has been searched
  size_t searched = 0;                  // up to here
  bool hasMetNul = false;
  bool isInLine = false;  // what comes is more of a line that is longer than lines are taken
};

EntryWalk walkOver(std::string_view text);

// Reads the next entry. Returns false when there is none. Of an entry that is too long only the first lines are held;
// the others have to be taken next.
bool readEntry(EntryWalk& walk, ReadEntry& entry);

// Takes the next line of such an entry. Returns false, with the entry's end known, behind its last.
bool takeOversizedLine(EntryWalk& walk, ReadEntry& entry, Line& line);
