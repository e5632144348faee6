#include "survey/oversized_findings.h"

#include "rules/adjustments.h"
#include "rules/attribute.h"
#include "survey/class_names.h"
#include "survey/entry_findings.h"

static constexpr std::string_view DN = "dn";

void OversizedFindings::takeEntry(const ReadEntry& entry, const PreparedEntry& prepared, uint64_t begin,
                                  bool isBehindDn) {
  const Line& first = entry.room[0];
  entry_ = {.begin = begin, .objectClass = withoutCredentials(prepared.objectClass), .firstLine = first.view()};
  line_ = {.begin = begin};
  if (!prepared.goesToOutput || getsVersionAndDate(prepared.objectClass))
    findings_.take({OVERSIZED_ENTRY, AT_NONE, begin});
  entry_.isVersion = findOddBegin(first.view(), entry.count, begin, findings_);
  entry_.hasDn = beginsWithDn(entry);
  entry_.shouldHaveDn = isBehindDn;
  Texts texts;
  newDns_.takeCopied(scanLine(unfold(entry.lines(), 0, 0, texts).text));
}

// One finding in a line, or in an entry, is enough.
void OversizedFindings::takeInLine(FindingId id, bool& isTaken) {
  if (!isTaken) findings_.take({id, AT_NONE, entry_.begin, line_.begin});
  isTaken = true;
}

// True when the line gives the entry a class that does not count.
bool OversizedFindings::isClassOverlooked(const Line& line) const {
  const ObjectClass code = classNamedBy(line);
  return code != UNINTERESTING_OBJECTCLASS && code != entry_.objectClass &&
         (withoutCredentials(classOf({&line, 1})) != code || !goesStraightThrough(code, entry_.firstLine));
}

void OversizedFindings::takeOwnLine(const Line& line) {
  constexpr uint32_t OBJECTCLASS = nameBit("objectclass");
  const bool isFirst = line_.begin == entry_.begin;
  if (!isFirst && isNamed(line, DN)) {
    if (entry_.hasDn) takeInLine(SECOND_DN, entry_.hasSecondDn);
    entry_.shouldHaveDn = true;
  }
  if (isNamed(line, "changetype")) takeInLine(CHANGE_RECORD, entry_.isChange);
  if ((line.names & OBJECTCLASS) != 0 && isClassOverlooked(line))
    takeInLine(CLASS_NAME_NOT_KNOWN, entry_.isClassOverlooked);
}

void OversizedFindings::takeLong() {
  takeInLine(LONG_LINE, line_.isLong);
  entry_.isAnyLong = true;
}

void OversizedFindings::takeLine(const Line& line, OversizedLine what, uint64_t place) {
  if (line_.isCut) takeLong();
  const bool isGone = isDropped(line, OVERSIZED);
  if (what != MORE_OF_LINE) {
    line_ = {.begin = place, .isGone = isGone};
    takeOwnLine(line);
  }
  const bool endsInNewline = line.text[line.length - 1] == '\n';
  line_.isCut = line.length == LONGEST_LINE && !endsInNewline;
  if (isContinuation(line) && isGone != line_.isGone) takeInLine(DROPPED_IN_PART, line_.isDroppedInPart);
  if (isGone) return;
  takeRecord();
  entry_.isAnyWritten = true;
  entry_.isOpen = !endsInNewline;
}

void OversizedFindings::takeEnd(const ReadEntry& entry) {
  // Nothing is cut of a line with which the text ends.
  if (line_.isCut && !entry.isEndedByText) takeLong();
  line_.isCut = false;
  const uint64_t begin = entry_.begin;
  const auto placeOf = [&](size_t place) { return begin + (place - entry.begin); };
  for (const size_t nul : entry.nuls) findings_.take({NUL_BYTE, AT_NONE, begin, placeOf(nul)});
  if (entry.hasFoldedComment) findings_.take({COMMENT_IS_FOLDED, AT_NONE, begin});
  // It is in a comment, whose rest is a line.
  if (entry.hasLongLine && !entry_.isAnyLong) findings_.take({LONG_LINE, AT_NONE, begin, placeOf(entry.longLine)});
  if (!entry_.hasDn && !entry_.isVersion && entry_.shouldHaveDn) findings_.take({ENTRY_WITHOUT_DN, AT_NONE, begin});
  // The end of the text writes no empty line, and the empty line ends a line that has no newline.
  if (entry_.isAnyWritten && (entry_.isOpen || entry.isEndedByText)) runsOn_ = begin;
}

void OversizedFindings::takeRecord() {
  if (runsOn_ != NO_PLACE) findings_.take({RECORD_RUNS_ON, AT_NONE, runsOn_});
  runsOn_ = NO_PLACE;
}
