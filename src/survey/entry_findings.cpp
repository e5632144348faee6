#include "survey/entry_findings.h"

#include <algorithm>

#include "rules/adjustments.h"
#include "rules/attribute.h"
#include "rules/policy_container.h"
#include "rules/text.h"
#include "survey/class_names.h"
#include "survey/spellings.h"

static bool isSameToRun(ObjectClass one, ObjectClass other) {
  // A container is copied like an entry of an unknown class.
  const auto isCopied = [](ObjectClass code) {
    return code == UNINTERESTING_OBJECTCLASS || code == CONTAINER_OBJECTCLASS;
  };
  return withoutCredentials(one) == withoutCredentials(other) || (isCopied(one) && isCopied(other));
}

// Returns the number of the line that decides about the class of the entry, where its own attribute decides otherwise;
// else the number of lines.
static size_t lineTakenForClass(Entry lines, ObjectClass ofEntry) {
  constexpr uint32_t OBJECTCLASS = nameBit("objectclass");
  size_t taken = lines.size();
  for (const Line& line : lines) {
    if ((line.names & OBJECTCLASS) == 0) continue;
    const ObjectClass found = classOf({&line, 1});
    if (found == UNINTERESTING_OBJECTCLASS) continue;
    if (isNamed(line, "objectclass")) return isSameToRun(found, ofEntry) ? lines.size() : taken;
    taken = std::min(taken, static_cast<size_t>(&line - lines.data()));
  }
  return isSameToRun(UNINTERESTING_OBJECTCLASS, ofEntry) ? lines.size() : taken;
}

// The class by which the entry is dealt with: of one that is gathered, as it is once its lines are whole.
static ObjectClass classOfWritten(const PreparedEntry& prepared) {
  return prepared.parts.empty() ? prepared.objectClass : prepared.parts[0].objectClass;
}

// True when the class would have more done with the entry than to copy it, but another one stands before it.
static bool isBehindAnother(ObjectClass code, const PreparedEntry& prepared) {
  const bool isConverted = getsVersionAndDate(code) || !goesStraightThrough(code, prepared.lines[0].view());
  const ObjectClass decided = classOfWritten(prepared);
  return isConverted && withoutCredentials(decided) != code &&
         lineTakenForClass(prepared.lines, decided) == prepared.lines.size();
}

// True when the line names a class that the run knows only in another spelling, in one piece, or in front of others.
static bool isClassOverlooked(const Line& line, const PreparedEntry& prepared, bool isFolded) {
  const ObjectClass code = classNamedBy(line);
  return code != UNINTERESTING_OBJECTCLASS && withoutCredentials(prepared.objectClass) != code &&
         (isFolded || withoutCredentials(classOf({&line, 1})) != code || isBehindAnother(code, prepared));
}

// True for a piece that goes on where another one ends.
static bool isBehind(const Origin& piece, const Origin& before) {
  return piece.isPiece && before.place + LONGEST_LINE == piece.place;
}

// Where the whole lines of an entry begin in which places of it lie. Quick for places in their order.
// A finding in a piece, or in what continues a line, is shown at the begin of that line, where people look for it.
class WholeLines {
 public:
  WholeLines(const PreparedEntry& prepared, uint64_t begin) : prepared_(prepared), begin_(begin) {}

  uint64_t lineOf(size_t place) {
    const auto& origins = prepared_.origins;
    // In the order of their places; what has been added stands behind them.
    auto at = std::partition_point(origins.begin(), origins.end(), [&](const Origin& origin) {
      return origin.line != NO_LINE && origin.place <= place;
    });
    if (at == origins.begin()) return begin_;
    --at;
    const auto goesOn = [&] { return at->isPiece && at != origins.begin(); };
    // The pieces of a line follow one another without a gap.
    while (goesOn() && isBehind(*at, *(at - 1))) --at;
    if (at->isPiece && isOfComment(at->place)) return begin_ + lineBegin_;
    while (goesOn()) --at;
    return begin_ + at->place;
  }

 private:
  bool isOfComment(size_t place) {
    if (place < searched_) searched_ = lineBegin_ = 0;
    // One line can be asked for again and again, and be most of the file.
    const size_t newline = prepared_.text.substr(searched_, place - searched_).rfind('\n');
    if (newline != std::string_view::npos) lineBegin_ = searched_ + newline + 1;
    searched_ = place;
    return prepared_.text[lineBegin_] == '#';
  }

  const PreparedEntry& prepared_;
  uint64_t begin_;
  size_t searched_ = 0;
  size_t lineBegin_ = 0;  // of the line in which that lies
};

static uint64_t placeOf(const PreparedEntry& prepared, size_t line, uint64_t begin, WholeLines& wholeLines) {
  if (prepared.isForeseen) return begin + static_cast<uint64_t>(prepared.lines[line].text - prepared.text.data());
  if (prepared.origins.size() < prepared.lines.size()) return begin + placeInText(prepared, line);
  return line < prepared.origins.size() ? wholeLines.lineOf(prepared.origins[line].place) : begin;
}

static void findLongLines(const ReadEntry& entry, const PreparedEntry& prepared, uint64_t begin,
                          FindingSink& findings) {
  if (entry.isOrdinary && entry.end - entry.begin <= LONGEST_LINE) return;
  // Policy data are not written, in whatever pieces.
  if (prepared.parts.size() == 1 && prepared.parts[0].kind == SECPOLICYDATA_KIND) return;
  WholeLines wholeLines(prepared, begin);
  uint64_t last = NO_PLACE;
  bool isAny = entry.hasLongLine;
  for (size_t i = 0; i < prepared.lines.size(); ++i) {
    const bool isLong = prepared.lines[i].length > LONGEST_LINE && (entry.hasLongLine || !prepared.goesToOutput);
    const bool isPiece = i < prepared.origins.size() && prepared.origins[i].isPiece;
    if (!isLong && !isPiece) continue;
    isAny = true;
    if (i < prepared.origins.size() && prepared.origins[i].line == NO_LINE) continue;  // it has been added
    if (isPiece && i > 0 && last != NO_PLACE && isBehind(prepared.origins[i], prepared.origins[i - 1])) continue;
    const uint64_t place = placeOf(prepared, i, begin, wholeLines);
    if (place != last) findings.take({LONG_LINE, AT_NONE, begin, place});
    last = place;
  }
  if (last != NO_PLACE || !isAny) return;
  // What is too long is its line end, and that is gone by now.
  const uint64_t cut = entry.hasLongLine ? begin + (entry.longLine - entry.begin) : NO_PLACE;
  findings.take({LONG_LINE, AT_NONE, begin, cut});
}

static constexpr std::string_view DN = "dn";

// A finding for each line in which one of the places lies, in their order.
static void findInLines(FindingId id, const std::vector<size_t>& places, const PreparedEntry& prepared, uint64_t begin,
                        FindingSink& findings) {
  WholeLines wholeLines(prepared, begin);
  uint64_t last = NO_PLACE;
  for (const size_t place : places) {
    // A line that is cut to nothing is none of the entry's any more; one in front of it never was, and its place in
    // the entry is less than none.
    const bool isOutside = place >= prepared.text.size() || prepared.text[place] == '\0';
    const uint64_t line = isOutside ? begin + place : wholeLines.lineOf(place);
    if (line != last) findings.take({id, AT_NONE, begin, line});
    last = line;
  }
}

void findNulsBehind(SurveyedFile& file, uint64_t entriesEnd, FindingSink& findings) {
  const auto length = static_cast<size_t>(file.size - entriesEnd);
  EntryWalk walk = walkOver(textFrom(file, entriesEnd, length));
  ReadEntry rest;
  // There is no entry any more, only lines that are cut to nothing, of which one is enough to tell of.
  readEntry(walk, rest);
  if (!rest.nuls.empty()) findings.take({NUL_BYTE, AT_NONE, entriesEnd + rest.nuls[0]});
}

static bool hasMark(std::string_view firstLine) { return withoutMark(firstLine).size() < firstLine.size(); }

// Other programs write a line with the version of LDIF above the first entry. The conversion takes it for the first
// line of that entry, and the DN for an attribute.
static bool isVersionLine(std::string_view firstLine) {
  constexpr std::string_view VERSION = "version:";
  return isSameInAnyCase(withoutMark(firstLine).substr(0, VERSION.size()), VERSION);
}

bool findOddBegin(std::string_view firstLine, size_t lines, uint64_t begin, FindingSink& findings) {
  const bool isVersion = isVersionLine(firstLine);
  if (lines > 1 && isVersion) findings.take({VERSION_LINE, AT_NONE, begin});
  if (hasMark(firstLine)) findings.take({BYTE_ORDER_MARK, AT_NONE, begin});
  return isVersion;
}

void DnWatch::take(const ReadEntry& entry, const PreparedEntry& prepared, uint64_t begin, FindingSink& findings) {
  const auto isDnLine = [](const Line& line) { return isNamed(line, DN); };
  // A plain entry has a DN.
  if (prepared.isForeseen && isAny_) return;
  if (beginsWithDn(entry)) {
    if (inFront_ != NO_PLACE) findings.take({ENTRY_WITHOUT_DN, AT_NONE, inFront_});
    inFront_ = NO_PLACE;
    isAny_ = true;
    return;
  }
  const bool isCopied = prepared.goesToOutput || kindOfWritten(prepared) == RESCREDS_KIND;
  if (entry.isOversized || !isCopied || prepared.problem != NO_DETAIL || prepared.lines.empty()) return;
  const std::string_view first = prepared.lines[0].view();
  // Each is a finding of its own.
  if (isVersionLine(first) || hasMark(first)) return;
  if (isAny_ || std::any_of(prepared.lines.begin(), prepared.lines.end(), isDnLine))
    findings.take({ENTRY_WITHOUT_DN, AT_NONE, begin});
  else if (inFront_ == NO_PLACE)
    inFront_ = begin;
}

// What its first line and its bytes show.
static void findOddBytes(const ReadEntry& entry, const PreparedEntry& prepared, uint64_t begin, FindingSink& findings) {
  findOddBegin(prepared.lines[0].view(), prepared.lines.size(), begin, findings);
  std::vector<size_t> nuls = entry.nuls;
  for (size_t& place : nuls) place -= entry.begin;
  findInLines(NUL_BYTE, nuls, prepared, begin, findings);
  findInLines(RETURN_IN_LINE, prepared.returns, prepared, begin, findings);
  if (entry.hasFoldedComment && prepared.problem != FOLDED_COMMENT) findings.take({COMMENT_IS_FOLDED, AT_NONE, begin});
  findLongLines(entry, prepared, begin, findings);
}

// The class that decides about an entry may stand in a value.
static void findTakenClass(const PreparedEntry& prepared, uint64_t begin, WholeLines& wholeLines,
                           FindingSink& findings) {
  const size_t taken = lineTakenForClass(prepared.lines, classOfWritten(prepared));
  if (taken < prepared.lines.size())
    findings.take({VALUE_TAKEN_FOR_ATTRIBUTE, AT_NONE, begin, placeOf(prepared, taken, begin, wholeLines)});
}

// True when the line that begins in a place, which is counted from the begin of the entry, is continued.
static bool isFolded(const PreparedEntry& prepared, uint64_t place) {
  const size_t newline = prepared.text.find('\n', static_cast<size_t>(place));
  return newline < prepared.text.size() - 1 && prepared.text[newline + 1] == ' ';
}

// True for a dn: line of an entry that begins with one. A piece of a longer line is none.
static bool isSecondDn(const PreparedEntry& prepared, size_t line) {
  const bool isPiece = line < prepared.origins.size() && prepared.origins[line].isPiece;
  return line > 0 && !isPiece && isNamed(prepared.lines[line], DN) && isNamed(prepared.lines[0], DN);
}

// Returns the line whose value is taken for the DN of the entry's owner, as many as there are lines for none.
static size_t lineTakenForOwner(const PreparedEntry& prepared) {
  constexpr uint32_t SECDN = nameBit("secdn");
  if (prepared.takenForOwner != NO_LINE) return prepared.takenForOwner;
  const Entry lines = prepared.lines;
  const bool isNamedInLine =
      prepared.kind == MAP_OF_USER_KIND || prepared.kind == MAP_OF_GROUP_KIND || prepared.kind == USERS_SECUSER_KIND;
  const auto mayBeTaken = [](const Line& line) { return (line.names & SECDN) != 0 && !isNamed(line, "secdn"); };
  if (!isNamedInLine || prepared.isForeseen || std::none_of(lines.begin(), lines.end(), mayBeTaken))
    return lines.size();
  Texts texts;
  const Attribute owner = valueOf(lines, "secdn", texts, nullptr);
  const auto found = static_cast<size_t>(owner.line);
  return owner.line >= 0 && mayBeTaken(lines[found]) ? found : lines.size();
}

// What becomes of the DNs of the entry and its owner. Returns true when a value is taken for one.
static bool findOddDns(const PreparedEntry& prepared, uint64_t begin, WholeLines& wholeLines, FindingSink& findings) {
  const Line& first = prepared.lines[0];
  const bool isMap = prepared.kind == MAP_OF_USER_KIND || prepared.kind == MAP_OF_GROUP_KIND;
  if (isMap && isNamed(first, DN) && ownName(first) != "dn" && ownName(first) != "DN")
    findings.take({DN_STAYS, AT_NONE, begin});
  const auto placeOfLine = [&](size_t line) { return placeOf(prepared, line, begin, wholeLines); };
  if (prepared.shortenedOwner != NO_LINE)
    findings.take({DN_LOSES_BLANK, AT_NONE, begin, placeOfLine(prepared.shortenedOwner)});
  const size_t taken = lineTakenForOwner(prepared);
  const bool isTaken = !prepared.isValueTaken && taken < prepared.lines.size();
  if (isTaken) findings.take({VALUE_TAKEN_FOR_ATTRIBUTE, AT_NONE, begin, placeOfLine(taken)});
  return isTaken;
}

static void findSecondDn(const PreparedEntry& prepared, uint64_t begin, WholeLines& wholeLines, FindingSink& findings) {
  for (size_t i = 0; i < prepared.lines.size(); ++i) {
    if (prepared.lines[i].firstColon != DN.size() || !isSecondDn(prepared, i)) continue;
    findings.take({SECOND_DN, AT_NONE, begin, placeOf(prepared, i, begin, wholeLines)});
    return;
  }
}

// Returns true when a value is taken for a changetype, or has been taken for something else: one finding for an entry
// is enough, whatever attributes were taken from odd places.
static bool findChangetypes(const PreparedEntry& prepared, bool isTaken, uint64_t begin, WholeLines& wholeLines,
                            FindingSink& findings) {
  constexpr uint32_t CHANGETYPE = nameBit("changetype");
  bool isChange = false;
  for (size_t i = 0; (prepared.names & CHANGETYPE) != 0 && i < prepared.lines.size(); ++i) {
    const Line& line = prepared.lines[i];
    if ((line.names & CHANGETYPE) == 0) continue;
    const bool isOwn = isNamed(line, "changetype");
    const bool isTakenHere = !isOwn && !isTaken && !prepared.goesToOutput && holdsChangetype(line);
    if (!isTakenHere && (!isOwn || isChange)) continue;
    const FindingId id = isOwn ? CHANGE_RECORD : VALUE_TAKEN_FOR_ATTRIBUTE;
    findings.take({id, AT_NONE, begin, placeOf(prepared, i, begin, wholeLines)});
    isChange = isChange || isOwn;
    isTaken = isTaken || isTakenHere;
  }
  return isTaken;
}

// Returns true when there is a class whose name does not count.
static bool findUnknownClass(const ReadEntry& entry, const PreparedEntry& prepared, uint64_t begin,
                             WholeLines& wholeLines, FindingSink& findings) {
  constexpr uint32_t OBJECTCLASS = nameBit("objectclass");
  // What is copied is sorted by its lines as they are folded.
  const bool isAnyFolded = !entry.isOrdinary || entry.continuations > 0;
  const bool isClassFolded = isAnyFolded && prepared.goesToOutput &&
                             withoutCredentials(classOf(prepared.lines)) != withoutCredentials(prepared.objectClass);
  for (size_t i = 0; i < prepared.lines.size(); ++i) {
    const Line& line = prepared.lines[i];
    if ((line.names & OBJECTCLASS) == 0) continue;
    const bool isFoldedHere = isClassFolded && isFolded(prepared, placeOf(prepared, i, begin, wholeLines) - begin);
    if (!isClassOverlooked(line, prepared, isFoldedHere)) continue;
    findings.take({CLASS_NAME_NOT_KNOWN, AT_NONE, begin, placeOf(prepared, i, begin, wholeLines)});
    return true;
  }
  return false;
}

// The class is known by the begin of its name, and behind any blank of the value.
static void findLongerClass(const PreparedEntry& prepared, uint64_t begin, WholeLines& wholeLines,
                            FindingSink& findings) {
  constexpr uint32_t OBJECTCLASS = nameBit("objectclass");
  const ObjectClass code = withoutCredentials(classOfWritten(prepared));
  const auto isOfClass = [&](const Line& line) {
    return (line.names & OBJECTCLASS) != 0 && classNamedBy(line) == code;
  };
  const Entry lines = prepared.lines;
  if (isSameToRun(UNINTERESTING_OBJECTCLASS, code) || std::any_of(lines.begin(), lines.end(), isOfClass)) return;
  for (const Line& line : lines) {
    if (!isNamed(line, "objectclass") || classOf({&line, 1}) != code) continue;
    const auto i = static_cast<size_t>(&line - lines.data());
    findings.take({CLASS_NAME_IS_LONGER, AT_NONE, begin, placeOf(prepared, i, begin, wholeLines)});
    return;
  }
}

// What the names of its lines show.
static void findOddNames(const ReadEntry& entry, const PreparedEntry& prepared, uint64_t begin, FindingSink& findings) {
  WholeLines wholeLines(prepared, begin);
  bool isTaken = findOddDns(prepared, begin, wholeLines, findings) || prepared.isValueTaken;
  if (prepared.isValueTaken) findings.take({VALUE_TAKEN_FOR_ATTRIBUTE, AT_NONE, begin, begin + prepared.takenPlace});
  findSecondDn(prepared, begin, wholeLines, findings);
  isTaken = findChangetypes(prepared, isTaken, begin, wholeLines, findings);
  const bool hasUnknownName = findUnknownClass(entry, prepared, begin, wholeLines, findings);
  // Nothing is taken for the class of an entry that has none.
  const bool hasClass = prepared.objectClass != UNINTERESTING_OBJECTCLASS;
  const bool mayBeTaken = !isTaken && !hasUnknownName && !prepared.isForeseen && prepared.partLines.empty();
  if (hasClass && mayBeTaken) findTakenClass(prepared, begin, wholeLines, findings);
  if (hasClass && !hasUnknownName) findLongerClass(prepared, begin, wholeLines, findings);
}

// Of the versions of the authority information the conversion changes the first one, where it stands as it knows it.
// One finding for an entry is enough.
static void findVersionsThatStay(const PreparedEntry& prepared, uint64_t begin, FindingSink& findings) {
  if (!getsVersionAndDate(prepared.objectClass)) return;
  WholeLines wholeLines(prepared, begin);
  for (const Line& line : prepared.lines) {
    std::string decoded;
    const bool isVersion = isNamed(line, "version") && !isDropped(line, STRAIGHT_THROUGH);
    if (!isVersion || decodedValueOf(line, decoded) == "6.0") continue;
    const auto i = static_cast<size_t>(&line - prepared.lines.data());
    findings.take({VERSION_STAYS, AT_NONE, begin, placeOf(prepared, i, begin, wholeLines)});
    return;
  }
}

bool beginsWithDn(const ReadEntry& entry) { return isNamed(entry.room[0], "dn"); }

void findChanges(const ReadEntry& entry, const PreparedEntry& prepared, uint64_t begin, FindingSink& findings) {
  if (entry.isOversized || prepared.lines.empty()) return;
  // A plain entry has a DN, whole lines and no odd byte.
  if (!prepared.isForeseen) findOddBytes(entry, prepared, begin, findings);
  findOddNames(entry, prepared, begin, findings);
  findVersionsThatStay(prepared, begin, findings);
}

void findLoss(LineFate fate, const Line& line, Road road, const Origin& origin, uint64_t begin, FindingSink& findings,
              FindingId lost) {
  if (origin.line == NO_LINE || origin.isPiece) return;
  // Removing the other value would not save a line that is dropped anyway.
  if (fate == REPLACED && isDropped(line, road)) fate = LOOKS_LIKE_BOOKKEEPING;
  const uint64_t place = begin + origin.place;
  if (fate == REPLACED) findings.take({VALUE_IS_REPLACED, AT_NONE, begin, place});
  if (fate == LOOKS_LIKE_BOOKKEEPING) findings.take({LINE_LOOKS_LIKE_BOOKKEEPING, AT_NONE, begin, place});
  if (fate == LOST) findings.take({lost, AT_NONE, begin, place});
}

void findGoneLines(const PreparedEntry& prepared, uint64_t begin, FindingSink& findings) {
  for (const size_t i : prepared.goneLines)
    findings.take({LINE_IS_LOST, AT_NONE, begin, begin + prepared.origins[i].place});
}
