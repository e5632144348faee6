#include "survey/prepared_entry.h"

#include <algorithm>
#include <bit>
#include <ctime>

#include "rules/adjustments.h"
#include "rules/attribute.h"
#include "rules/dropped_lines.h"
#include "rules/known_names.h"
#include "rules/text.h"
#include "rules/unfolding.h"
#include "survey/spellings.h"

static constexpr uint32_t SECDN = nameBit("secdn");

// True when the line stands at the begin of one of the text: others go on with it.
static bool beginsLine(const Line& line, std::string_view text) {
  return line.text == text.data() || line.text[-1] == '\n';
}

// True when something stands behind what ends the line.
// The conversion cuts a line at its first carriage return; only where something else than the end follows is
// anything gone.
static bool losesEnd(const Line& line) {
  constexpr uint32_t LINE_END = 2;
  const std::string_view end = line.view().substr(line.contentLength);
  if (end.size() < LINE_END || end == "\r\n") return false;
  return end.find_first_not_of("\r\n") != std::string_view::npos;
}

// Every line that does not continue another one is an attribute line, and none is a piece.
static void findOriginsOfOrdinary(const ReadEntry& entry, std::string_view text, PreparedEntry& prepared) {
  const char* const begin = text.data() + entry.begin;
  prepared.origins.resize(prepared.attributeLines);
  uint32_t number = 0;
  for (const Line& line : entry.lines())
    if (!isContinuation(line)) {
      prepared.origins[number] = {static_cast<size_t>(line.text - begin), number, false, false};
      ++number;
    }
}

// Numbers the attribute lines of the entry and says of each line that will be written where it comes from.
static void findOrigins(const ReadEntry& entry, std::string_view text, bool areWanted, PreparedEntry& prepared) {
  prepared.text = text.substr(entry.begin, entry.end - entry.begin);
  prepared.origins.clear();
  prepared.attributeLines = 0;
  prepared.returns.clear();
  if (entry.isOrdinary) {
    prepared.attributeLines = static_cast<uint32_t>(entry.count) - entry.continuations;
    if (areWanted) findOriginsOfOrdinary(entry, text, prepared);
    return;
  }
  for (const Line& line : entry.lines()) {
    if (losesEnd(line)) prepared.returns.push_back(static_cast<size_t>(line.text - text.data()) - entry.begin);
    const bool isFirst = &line == entry.room.data();
    if (isContinuation(line) && !isFirst) continue;
    const bool isPiece = entry.hasLongLine && !isFirst && !beginsLine(line, text);
    if (!isPiece) ++prepared.attributeLines;
    if (areWanted)
      prepared.origins.push_back(
          {static_cast<size_t>(line.text - text.data()) - entry.begin, prepared.attributeLines - 1, isPiece, false});
  }
}

size_t placeInText(const PreparedEntry& prepared, size_t line) {
  size_t place = 0;
  for (size_t passed = 0; place < prepared.text.size();) {
    const char first = prepared.text[place];
    const bool isLine = first != '#' && (first != ' ' || place == 0);
    if (isLine && passed++ == line) return place;
    place = std::min(prepared.text.find('\n', place), prepared.text.size() - 1) + 1;
  }
  return 0;
}

// The date is not known beforehand; its length is.
static tm anyDate() {
  constexpr int YEARS_SINCE_1900 = 100;
  tm date = {};
  date.tm_year = YEARS_SINCE_1900;
  date.tm_mday = 1;
  return date;
}

// The lines change, or one is added behind the others.
static void apply(const Adjustment& adjustment, ReadEntry& entry, Texts& texts, PreparedEntry& prepared) {
  if (adjustment.problem != NO_DETAIL) prepared.problem = adjustment.problem;
  // No line of the entry asks for the change, or a problem keeps it from being made.
  if (adjustment.line < 0) return;
  const auto line = static_cast<size_t>(adjustment.line);
  if (line == entry.count) {
    // A line that is added has no line end until it is written. One that is too long must be looked at again then; any
    // other may have its newline now.
    entry.isOrdinary &= adjustment.text.size() < LONGEST_LINE;
    const Line added = scanLine(entry.isOrdinary ? joined({adjustment.text, "\n"}, texts) : adjustment.text);
    entry.room[entry.count++] = added;
    entry.names |= added.names;
    prepared.origins.push_back({0, NO_LINE, false, false});
    return;
  }
  // A version that is 6.0 already is kept, not renamed.
  const bool isUnchanged = entry.room[line].view() == adjustment.text;
  entry.room[line] = scanLine(adjustment.text);
  entry.names |= entry.room[line].names;
  const Entry before = entry.lines().first(line);
  const bool isFolded = !entry.isOrdinary || entry.continuations > 0;
  const auto place =
      !isFolded ? line : static_cast<size_t>(std::count_if(before.begin(), before.end(), [&](const Line& other) {
        return !isContinuation(other) || &other == before.data();
      }));
  if (place < prepared.origins.size() && !isContinuation(entry.room[line]))
    prepared.origins[place].isChanged = !isUnchanged;
}

// Returns where the attribute line begins in which a place of the entry lies.
static size_t beginOfLine(std::string_view entry, size_t place) {
  size_t begin = entry.substr(0, place).rfind('\n') + 1;
  while (begin > 0 && entry[begin] == ' ') begin = entry.substr(0, begin - 1).rfind('\n') + 1;
  return begin;
}

// Notes when a line that stands for an attribute has not its name. Lines are as they have been read.
// The conversion looks for a name anywhere in a line, so that it can find, say, principalName: in a description.
// That goes well or not, but an administrator will want to know.
static void noteTaken(const ReadEntry& entry, int32_t line, std::string_view name, PreparedEntry& prepared) {
  if (line < 0 || prepared.isValueTaken || static_cast<size_t>(line) >= entry.count) return;
  if (isNamed(entry.room[static_cast<size_t>(line)], name)) return;
  prepared.isValueTaken = true;
  const std::string_view text(entry.room[0].text, entry.end - entry.begin);
  auto whole = static_cast<size_t>(line);
  while (whole > 0 && isContinuation(entry.room[whole])) --whole;
  const char* const begin = entry.room[whole].text;
  const bool isThere = begin > text.data() && begin < text.data() + text.size();
  // A piece of a longer line is shown at the begin of that.
  prepared.takenPlace = isThere ? beginOfLine(text, static_cast<size_t>(begin - text.data())) : 0;
}

// The same of an attribute that is not added because the entry seems to have it.
static void noteTakenAnywhere(const ReadEntry& entry, std::string_view name, PreparedEntry& prepared) {
  int32_t found = -1;
  for (size_t i = 0; i < entry.count; ++i) {
    if ((entry.room[i].names & nameBit(name)) == 0) continue;
    if (isNamed(entry.room[i], name)) return;
    if (found < 0) found = static_cast<int32_t>(i);
  }
  noteTaken(entry, found, name, prepared);
}

static void adjustAuthorityInfo(ReadEntry& entry, Texts& texts, PreparedEntry& prepared) {
  const Adjustment version = convertVersion(entry.lines(), texts);
  noteTaken(entry, version.line, "version", prepared);
  apply(version, entry, texts, prepared);
  if (needsInstallDate(entry.lines()))
    apply(addInstallDate(entry.lines(), anyDate(), texts), entry, texts, prepared);
  else
    noteTakenAnywhere(entry, "installdate", prepared);
}

static bool isInBase64(std::string_view line) {
  const size_t colon = line.find(':');
  return colon != std::string_view::npos && line.substr(colon + 1).starts_with(':');
}

static void adjustUser(ReadEntry& entry, Texts& texts, PreparedEntry& prepared) {
  const Adjustment domainId = addDomainId(entry.lines(), texts, nullptr);
  prepared.isAuthorityCoded =
      domainId.line >= 0 && isInBase64(unfold(entry.lines(), domainId.sources[0], 0, texts).text);
  noteTaken(entry, domainId.sources[0], "secauthority", prepared);
  noteTaken(entry, domainId.sources[1], "principalname", prepared);
  if (domainId.line < 0 && domainId.problem == NO_DETAIL) noteTakenAnywhere(entry, "secdomainid", prepared);
  apply(domainId, entry, texts, prepared);
}

static void adjust(ReadEntry& entry, Texts& texts, PreparedEntry& prepared) {
  // In the order of the conversion: each looks at what the ones before it have left.
  if (getsVersionAndDate(prepared.objectClass)) adjustAuthorityInfo(entry, texts, prepared);
  if (getsDomainId(prepared.objectClass)) adjustUser(entry, texts, prepared);
  if (!getsNewUuidName(prepared.objectClass)) return;
  const Adjustment uuid = renameUuid(entry.lines(), texts);
  noteTaken(entry, uuid.line, "secuuid", prepared);
  apply(uuid, entry, texts, prepared);
}

// True when the lines, once they have been written, read as these very lines.
static bool readAsWritten(Entry lines) {
  return std::none_of(lines.begin(), lines.end(), [](const Line& line) {
    return line.length > LONGEST_LINE || line.text[0] == '#' || isBlankLine(line.view());
  });
}

// Reads the entry again as it has been written.
// What has been written may read otherwise: a line may be longer than a line can be, or blank, or look like a
// comment, and then the entry falls apart into several. The passes see those, not what stands in the input.
static void readWritten(Texts& texts, PreparedEntry& prepared) {
  char* const text = makeRoom(texts, prepared.bytes);
  char* to = text;
  std::vector<size_t> ends;  // of each line in the text
  for (const Line& line : prepared.lines) {
    to = std::copy_n(line.text, line.length, to);
    ends.push_back(static_cast<size_t>(to - text));
  }
  *to = '\n';
  const std::string_view written(text, prepared.bytes);
  EntryWalk walk = walkOver(written);
  ReadEntry entry;
  prepared.partLines.clear();
  prepared.partOrigins.clear();
  while (readEntry(walk, entry)) {
    WorkEntry part = {prepared.partLines.size(), entry.count};
    part.objectClass = classOf(entry.lines());
    part.kind = kindOf(part.objectClass, entry.room[0].view());
    prepared.partLines.insert(prepared.partLines.end(), entry.room.begin(),
                              entry.room.begin() + static_cast<ptrdiff_t>(entry.count));
    for (const Line& line : entry.lines()) {
      const auto place = static_cast<size_t>(line.text - text);
      const auto number = static_cast<size_t>(std::upper_bound(ends.begin(), ends.end(), place) - ends.begin());
      Origin origin = prepared.origins[number];
      origin.isPiece = origin.isPiece || !beginsLine(line, written);
      prepared.partOrigins.push_back(origin);
    }
    // Its rest is passed, as the pass would do, so that what follows is found.
    if (entry.isOversized) {
      Line line;
      part.isTooLong = takeOversizedLine(walk, entry, line);
      while (takeOversizedLine(walk, entry, line)) {
      }
    }
    prepared.parts.push_back(part);
  }
}

// Gives the lines newlines in place of CRLF, all of them in one copy of the text.
static void closeLines(ReadEntry& entry, std::string_view text, Texts& texts) {
  const std::string_view whole = text.substr(entry.begin, entry.end - entry.begin);
  char* const copy = makeRoom(texts, whole.size());
  whole.copy(copy, whole.size());
  for (Line& line : std::span(entry.room.data(), entry.count)) {
    char* const closed = copy + (line.text - whole.data());
    closed[line.contentLength] = '\n';
    line.text = closed;
    line.length = line.contentLength + 1;
  }
}

static uint32_t namesOf(Entry lines) {
  uint32_t names = 0;
  for (const Line& line : lines) names |= line.names;
  return names;
}

static void noteGoneLines(PreparedEntry& prepared) {
  std::vector<bool> isThere(prepared.attributeLines);
  for (const Origin& origin : prepared.partOrigins)
    if (origin.line != NO_LINE && !origin.isPiece) isThere[origin.line] = true;
  for (size_t i = 0; i < prepared.lines.size(); ++i) {
    const Origin& origin = prepared.origins[i];
    if (origin.line != NO_LINE && !origin.isPiece && !isThere[origin.line]) prepared.goneLines.push_back(i);
  }
}

uint64_t bytesOfLines(Entry lines) {
  uint64_t bytes = 0;
  for (const Line& line : lines) bytes += line.length;
  return bytes;
}

// Takes the blanks beside commas out of the lines that may name the owner, and notes what else that changes.
static bool tightenOwners(Texts& texts, PreparedEntry& prepared) {
  bool isAnyChanged = false;
  for (Line& line : prepared.lines) {
    if ((line.names & SECDN) == 0) continue;
    const Line before = line;
    if (!tightenOwnerNames({&line, 1}, texts)) continue;
    isAnyChanged = true;
    const auto number = static_cast<uint32_t>(&line - prepared.lines.data());
    if (!isNamed(before, "secdn"))
      prepared.takenForOwner = std::min(prepared.takenForOwner, number);
    else if (losesBlankOfName(before.content()))
      prepared.shortenedOwner = std::min(prepared.shortenedOwner, number);
  }
  return isAnyChanged;
}

// Gives the lines the form in which they are written. Returns true when they are those that have been read.
static bool prepareLines(ReadEntry& entry, std::string_view text, bool areTightened, Texts& texts,
                         PreparedEntry& prepared) {
  if (entry.room.size() == entry.count) entry.room.resize(entry.count + 1);
  if (entry.isOrdinary && entry.hasReturns) closeLines(entry, text, texts);
  if (isContinuation(entry.room[0]))
    prepared.problem = FOLDED_COMMENT;
  else
    adjust(entry, texts, prepared);
  UnfoldedEntry unfolded = {entry.count, true};
  if (!entry.isOrdinary || entry.continuations > 0)
    unfolded = unfoldLines({entry.room.data(), entry.count}, false, texts);
  prepared.lines = {entry.room.data(), unfolded.lines};
  const bool areNamesKnown = entry.isOrdinary && entry.continuations == 0;
  prepared.names = areNamesKnown ? entry.names : namesOf(prepared.lines);
  const bool isTightened = areTightened && (prepared.names & SECDN) != 0 && tightenOwners(texts, prepared);
  return unfolded.isAsRead && !isTightened;
}

// Where lines come from is asked of entries that are copied, and of those in which something is odd.
// They cost as much as the rest, and few entries are ever asked for them in the first look.
static bool needsOrigins(const ReadEntry& entry, const PreparedEntry& prepared) {
  constexpr uint32_t CHANGETYPE = nameBit("changetype");
  const bool isCopied = prepared.goesToOutput || prepared.kind == RESCREDS_KIND;
  if (isCopied || (entry.names & CHANGETYPE) != 0) return true;
  if (entry.isOrdinary) return false;
  return entry.hasLongLine || !entry.nuls.empty() ||
         std::any_of(entry.lines().begin(), entry.lines().end(),
                     [](const Line& line) { return line.length == LONGEST_LINE || losesEnd(line); });
}

static size_t bytesOf(Entry lines, bool areDropped) {
  size_t bytes = 1;
  for (const Line& line : lines)
    if (!areDropped || !isDropped(line, STRAIGHT_THROUGH)) bytes += line.length;
  return bytes;
}

// What is found out about an entry that was looked at before is gone.
static void beginPreparing(PreparedEntry& prepared) {
  prepared.problem = NO_DETAIL;
  prepared.isValueTaken = false;
  prepared.takenForOwner = prepared.shortenedOwner = NO_LINE;
  prepared.lacksOrigins = false;
  prepared.isForeseen = false;
  prepared.parts.clear();
  prepared.partLines.clear();
  prepared.goneLines.clear();
}

void prepareEntry(ReadEntry& entry, std::string_view text, ObjectClass objectClass, bool withOrigins, Texts& texts,
                  PreparedEntry& prepared) {
  beginPreparing(prepared);
  prepared.objectClass = objectClass;
  const bool beginsInside = isContinuation(entry.room[0]);
  const std::string_view dnLine = beginsInside ? entry.room[0].content() : unfold(entry.lines(), 0, 0, texts).text;
  prepared.goesToOutput = goesStraightThrough(prepared.objectClass, dnLine);
  prepared.kind = kindOf(prepared.objectClass, dnLine);
  withOrigins = withOrigins || needsOrigins(entry, prepared);
  findOrigins(entry, text, withOrigins, prepared);
  const bool isAsRead = prepareLines(entry, text, !prepared.goesToOutput, texts, prepared);
  prepared.bytes = bytesOf(prepared.lines, prepared.goesToOutput);
  if (prepared.goesToOutput || prepared.lines.empty()) return;
  // Only such lines can read otherwise than they have been written, and reading costs more than looking.
  if (!isAsRead && !readAsWritten(prepared.lines)) {
    prepared.lacksOrigins = !withOrigins;
    if (!withOrigins) return;
    readWritten(texts, prepared);
    noteGoneLines(prepared);
    return;
  }
  // The passes ask for the class again where the lines have changed: a folded one can read otherwise then.
  WorkEntry part = {0, prepared.lines.size(), prepared.objectClass, prepared.kind};
  if (!isAsRead) {
    part.objectClass = classOf(prepared.lines);
    part.kind = kindOf(part.objectClass, prepared.lines[0].view());
    // It is copied then, whatever it was before.
    prepared.lacksOrigins = part.kind == RESCREDS_KIND && !withOrigins;
  }
  prepared.parts.push_back(part);
}

// The names that decide about an entry and its adjustments.
static constexpr uint32_t DOMAIN_ID = nameBit("secdomainid");
static constexpr uint32_t AUTHORITY = nameBit("secauthority");
static constexpr uint32_t PRINCIPAL = nameBit("principalname");
static constexpr uint32_t UUID = nameBit("secuuid");
static constexpr uint32_t CLASS = nameBit("objectclass");
static constexpr uint32_t DECIDING = DOMAIN_ID | AUTHORITY | PRINCIPAL | UUID | CLASS | SECDN;

// True when the name ends at a colon of the line.
static bool standsIn(const Line& line, std::string_view name) {
  const std::string_view view = line.view();
  for (size_t colon = line.firstColon; colon < view.size(); colon = view.find(':', colon + 1))
    if (colon >= name.size() && isSameInAnyCase(view.substr(colon - name.size(), name.size()), name)) return true;
  return false;
}

// True when each deciding name that stands in a line is that line's own one; the names that are there are returned,
// too. Such names are looked for anywhere in a line; here every way of looking leads to the first line of that name.
static bool holdsNamesPlainly(Entry lines, uint32_t& names) {
  names = 0;
  for (const Line& line : lines)
    for (uint32_t found = line.names & DECIDING; found != 0; found &= found - 1) {
      const std::string_view name = knownNames[std::countr_zero(found)];
      // The bits only say that the name may stand here.
      if (isNamed(line, name))
        names |= found & -found;
      else if (standsIn(line, name))
        return false;
    }
  return true;
}

// True when an entry that is gathered can be adjusted in the plainest way: a user gets its domain identifier.
static bool isPlainlyAdjusted(ObjectClass objectClass, uint32_t names) {
  return !getsDomainId(objectClass) || (names & (DOMAIN_ID | AUTHORITY | PRINCIPAL)) == (AUTHORITY | PRINCIPAL);
}

// True when the owner's DN may lose a blank that is part of a name.
static bool mayShortenOwner(const ReadEntry& entry, std::string_view text, uint32_t names) {
  const std::string_view whole = text.substr(entry.begin, entry.end - entry.begin);
  return (names & SECDN) != 0 &&
         (whole.find('\\') != std::string_view::npos || whole.find('"') != std::string_view::npos);
}

// The first line as it is written.
static Line writtenFirstLine(const ReadEntry& entry, Texts& texts) {
  Line first = entry.room[0];
  if (entry.count > 1 && isContinuation(entry.room[1]))
    return scanLine(joined({unfold(entry.lines(), 0, 0, texts).text, "\n"}, texts));
  if (first.length == first.contentLength + 1) return first;
  // What is known of it stays as it is without a carriage return.
  first.text = joined({first.content(), "\n"}, texts).data();
  first.length = first.contentLength + 1;
  return first;
}

bool foreseePlainEntry(ReadEntry& entry, std::string_view text, ObjectClass objectClass, Texts& texts,
                       PreparedEntry& prepared) {
  constexpr uint32_t DN = nameBit("dn");
  // An entry as a whole may be no longer than a line, so that none of its lines can become too long, nor the one that
  // may be added, which has two of their values and a name.
  constexpr size_t ADDED = 32;
  const bool isShort = entry.end - entry.begin + ADDED < LONGEST_LINE;
  if (!entry.isOrdinary || !isShort || entry.mayFoldName || !entry.nuls.empty()) return false;
  const Line first = writtenFirstLine(entry, texts);
  if ((first.names & ~DN) != 0 || !isNamed(first, "dn")) return false;
  const std::string_view dnLine = first.content();
  const EntryKind kind = kindOf(objectClass, dnLine);
  const bool isGathered = kind < RESCREDS_KIND && kind != SECPOLICYDATA_KIND;
  if (!isGathered || goesStraightThrough(objectClass, dnLine)) return false;
  uint32_t names = 0;
  if (!holdsNamesPlainly(entry.lines(), names) || mayShortenOwner(entry, text, names)) return false;
  if (!isPlainlyAdjusted(objectClass, names)) return false;
  beginPreparing(prepared);
  prepared.objectClass = objectClass;
  prepared.kind = kind;
  findOrigins(entry, text, false, prepared);
  prepared.goesToOutput = false;
  prepared.isForeseen = true;
  prepared.foreseenFirst = first;
  prepared.bytes = 0;
  prepared.lines = {entry.room.data(), entry.count};
  prepared.names = entry.names;
  const size_t lines = prepared.attributeLines + (getsDomainId(prepared.objectClass) ? 1 : 0);
  prepared.parts.push_back({0, lines, prepared.objectClass, prepared.kind});
  return true;
}

void prepareFirstLine(PreparedEntry& prepared) {
  const auto isOwn = [](const Line& line) { return !isContinuation(line); };
  // What continues the first line stands in it now.
  const auto second = std::find_if(prepared.lines.begin() + 1, prepared.lines.end(), isOwn);
  prepared.lines = prepared.lines.subspan(static_cast<size_t>(second - prepared.lines.begin()) - 1);
  prepared.lines[0] = prepared.foreseenFirst;
}

void prepareKnownEntry(ReadEntry& entry, std::string_view text, ObjectClass objectClass, bool withOrigins, Texts& texts,
                       PreparedEntry& prepared) {
  prepared.problem = NO_DETAIL;
  prepared.parts.clear();
  prepared.partLines.clear();
  prepared.objectClass = objectClass;
  prepared.isValueTaken = true;  // or not: nobody asks again
  findOrigins(entry, text, withOrigins, prepared);
  prepareLines(entry, text, true, texts, prepared);
  prepared.parts.push_back({0, prepared.lines.size(), objectClass, UNKNOWN_KIND});
}

EntryKind kindOfWritten(const PreparedEntry& prepared) {
  return prepared.parts.empty() ? prepared.kind : prepared.parts[0].kind;
}

std::span<Line> linesOf(PreparedEntry& prepared, const WorkEntry& part) {
  if (prepared.partLines.empty()) return prepared.lines;
  return std::span(prepared.partLines).subspan(part.first, part.count);
}

std::span<const Origin> originsOf(const PreparedEntry& prepared, const WorkEntry& part) {
  if (prepared.partLines.empty()) return prepared.origins;
  return std::span(prepared.partOrigins).subspan(part.first, part.count);
}
