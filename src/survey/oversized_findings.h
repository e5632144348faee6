// What is odd about entries that are too long to be held, and are copied line by line.
#pragma once

#include <cstdint>
#include <string_view>

#include "survey/findings.h"
#include "survey/new_dns.h"
#include "survey/survey.h"

// To be told of the entries in the order of the input, with their lines.
class OversizedFindings {
 public:
  OversizedFindings(DnComparison& newDns, FindingSink& findings) : newDns_(newDns), findings_(findings) {}

  // The begin of such an entry. Behind an entry that begins with its DN all others should.
  void takeEntry(const ReadEntry& entry, const PreparedEntry& prepared, uint64_t begin, bool isBehindDn);
  // Its lines, as an EntryVisitor gets them, and its end.
  void takeLine(const Line& line, OversizedLine what, uint64_t place);
  void takeEnd(const ReadEntry& entry);
  // Something else is written, behind all such entries so far.
  void takeRecord();

 private:
  struct OfEntry {
    uint64_t begin = 0;
    ObjectClass objectClass = UNINTERESTING_OBJECTCLASS;
    std::string_view firstLine = {};
    bool isVersion = false;  // the first line
    bool hasDn = false;      // it begins with one
    bool shouldHaveDn = false;
    bool hasSecondDn = false;
    bool isChange = false;
    bool isClassOverlooked = false;
    bool isAnyLong = false;
    bool isAnyWritten = false;
    bool isOpen = false;  // the last line that is written has no newline
  };
  // Of a line and those that continue it.
  struct OfLine {
    uint64_t begin = 0;
    bool isGone = false;  // its first piece
    bool isDroppedInPart = false;
    bool isLong = false;
    bool isCut = false;  // the last piece so far
  };

  void takeOwnLine(const Line& line);
  void takeLong();
  bool isClassOverlooked(const Line& line) const;
  void takeInLine(FindingId id, bool& isTaken);

  DnComparison& newDns_;
  FindingSink& findings_;
  uint64_t runsOn_ = NO_PLACE;  // the last such entry, if what follows in the output begins without an empty line
  OfEntry entry_;
  OfLine line_;
};
