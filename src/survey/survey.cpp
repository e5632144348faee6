#include "survey/survey.h"

#include <algorithm>

#include "rules/attribute.h"
#include "rules/dn_hash.h"
#include "rules/dropped_lines.h"
#include "rules/owner.h"
#include "rules/policy_container.h"
#include "survey/file_walk.h"
#include "survey/progress.h"
#include "survey/registry.h"

// One look at the file.
struct Survey {
  Registry& registry;
  EntryVisitor& visitor;
  SurveyCounts counts = {};
  ReadEntry entry = {};
  // An entry that has to be read twice stands here the second time, since the walk goes on in the first.
  ReadEntry again = {};
  PreparedEntry prepared = {};
  bool areLinesKept = false;   // the file is in memory as a whole, so that lines have places that last
  uint32_t keptAt = NOT_KEPT;  // those of the entry
  bool isLineOpen = false;     // what was written last of an entry that is copied line by line has no newline
  char memory[size_t{64} * 1024] = {};
  Texts texts{memory, sizeof memory};
};

// Users and groups are counted by their owners, in the registry: an entry alone does not make one.
static void count(SurveyCounts& counts, EntryKind kind) {
  if (kind == SECPOLICY_KIND) ++counts.policies;
  if (kind == SECPOLICYDATA_KIND) ++counts.policyData;
  if (kind == MAP_OF_USER_KIND || kind == MAP_OF_GROUP_KIND) ++counts.maps;
  if (kind == RESCREDS_KIND) ++counts.resourceCredentials;
}

// A written line that is longer than one can be is read in pieces.
// The tool asks each line as it reads it back from the work file, and there the rest of a long one is a line of its
// own.
static bool holdsChangetypeAsRead(const Line& line) {
  if (line.length <= LONGEST_LINE) return holdsChangetype(line);
  for (size_t i = 0; i < line.length; i += LONGEST_LINE)
    if (holdsChangetype(scanLine(line.view().substr(i, LONGEST_LINE)))) return true;
  return false;
}

// What a run cannot leave in the work file: an entry whose first line changes, an owner's DN that does not stand there.
static void noteKeptTexts(Registry& registry, AwaitedEntry& awaited, const Owner& owner, Entry lines) {
  const GatheredEntry& gathered = awaited.entry;
  const bool standsThere = gathered.isNormal && gathered.kind != USERS_SECUSER_KIND &&
                           gathered.kind != MAP_OF_USER_KIND && gathered.kind != MAP_OF_GROUP_KIND;
  if (!standsThere) awaited.openerBytes = owner.saved.size();
  if (gathered.isMeasured && !gathered.isNormal)
    registry.measured.kept += bytesOfLines(lines.subspan(1)) + owner.firstLine.size();
}

static void noteOwner(Registry& registry, AwaitedEntry& awaited, Entry lines, Texts& texts) {
  GatheredEntry& gathered = awaited.entry;
  const Owner owner = ownerOf(lines, gathered.kind, texts, nullptr);
  gathered.problem = owner.problem;
  if (owner.problem != NO_DETAIL) return;
  awaited.hash = hashOfDn(owner.key);
  // A slot is searched for by the key, and remembers the saved DN: blanks behind the DN of its first entry keep its
  // others out.
  gathered.opensForKey = owner.saved == owner.key;
  gathered.isNormal = owner.firstLine.data() == lines[0].text;
  noteKeptTexts(registry, awaited, owner, lines);
  // The rewritten first line may read as that of an entry under cn=Users although the entry was not sorted as one.
  if (gathered.kind == SECUSER_KIND && !gathered.isNormal && isUsersLine(owner.firstLine))
    gathered.rowKind = USERS_SECUSER_KIND;
}

static void addPart(Survey& survey, const WorkEntry& part, uint32_t number, uint64_t begin) {
  const Entry lines = linesOf(survey.prepared, part);
  AwaitedEntry& awaited = nextEntry(survey.registry);
  GatheredEntry& gathered = awaited.entry;
  gathered.begin = begin;
  gathered.part = number;
  gathered.kind = part.kind;
  gathered.rowKind = part.kind;
  gathered.isPlain = part.kind != RESCREDS_KIND && !survey.entry.hasLongLine && survey.prepared.partLines.empty() &&
                     part.objectClass == survey.prepared.objectClass;
  gathered.isMeasured = !survey.prepared.isForeseen;
  gathered.keptAt = survey.keptAt;
  gathered.lines = static_cast<uint32_t>(part.count);
  gathered.endsPreparation = survey.prepared.problem != NO_DETAIL;
  if (!survey.prepared.partLines.empty()) survey.registry.hasOpenLines = true;
  if (part.isTooLong) gathered.problem = ENTRY_TOO_LONG;
  if (part.kind == UNKNOWN_KIND) gathered.problem = UNKNOWN_CLASS;
  if (gathered.problem == NO_DETAIL && part.kind < RESCREDS_KIND)
    noteOwner(survey.registry, awaited, lines, survey.texts);
  if (part.kind == RESCREDS_KIND) {
    // The resource credentials go to the output behind all passes, so that their bytes do not depend on these.
    for (const Line& line : lines)
      if (!isDropped(line, REMAINING)) survey.counts.finalBytes += line.length;
    ++survey.counts.finalBytes;
    if (!gathered.endsPreparation) survey.visitor.takeCopied(lines, originsOf(survey.prepared, part), REMAINING, begin);
  }
  addEntry(survey.registry);
}

static void takePrepared(Survey& survey, uint64_t begin) {
  const PreparedEntry& prepared = survey.prepared;
  SurveyCounts& counts = survey.counts;
  counts.attributeLines += prepared.attributeLines;
  if (prepared.problem != NO_DETAIL && counts.problem == NO_DETAIL) {
    counts.problem = prepared.problem;
    counts.problemEntry = begin;
    counts.heldToProblem = counts.held;
  }
  if (prepared.goesToOutput) {
    ++counts.straightThrough;
    counts.outputBytes += prepared.bytes;
    if (prepared.problem == NO_DETAIL)
      survey.visitor.takeCopied(prepared.lines, prepared.origins, STRAIGHT_THROUGH, begin);
    return;
  }
  count(counts, prepared.kind);
  survey.registry.measured.workFile += prepared.bytes;
  constexpr uint32_t CHANGETYPE = nameBit("changetype");
  const auto holds = [](const Line& line) { return (line.names & CHANGETYPE) != 0 && holdsChangetypeAsRead(line); };
  const bool mayHold = !counts.changetypeSeen && (prepared.names & CHANGETYPE) != 0;
  if (mayHold && std::any_of(prepared.lines.begin(), prepared.lines.end(), holds)) counts.changetypeSeen = true;
  uint32_t number = 0;
  for (const WorkEntry& part : prepared.parts) addPart(survey, part, number++, begin);
}

// A line of an entry that is too long to be held goes to the output as it stands.
static void takeOversizedLine(Survey& survey, const Line& line, uint64_t begin, std::string_view text) {
  // Such lines are not unfolded: a piece counts with the line whose piece it is.
  const size_t place = static_cast<size_t>(line.text - text.data()) - survey.entry.begin;
  const bool isMore = isContinuation(line) || (place > 0 && line.text[-1] != '\n');
  const OversizedLine ofItsOwn = survey.isLineOpen ? JOINED_LINE : OWN_LINE;
  survey.visitor.takeOversizedLine(line, isMore ? MORE_OF_LINE : ofItsOwn, begin, begin + place);
  if (!isMore) ++survey.counts.attributeLines;
  if (isDropped(line, OVERSIZED)) return;
  survey.counts.outputBytes += line.length;
  survey.isLineOpen = line.text[line.length - 1] != '\n';
}

static void takeOversized(Survey& survey, EntryWalk& walk, uint64_t begin) {
  survey.isLineOpen = false;
  for (const Line& line : survey.entry.lines()) takeOversizedLine(survey, line, begin, walk.text);
  Line line;
  while (takeOversizedLine(walk, survey.entry, line)) takeOversizedLine(survey, line, begin, walk.text);
  ++survey.counts.straightThrough;
  if (!survey.entry.isEndedByText) ++survey.counts.outputBytes;
  survey.visitor.endOversized(survey.entry, begin);
}

// An entry that does not read as it is written is rare.
static void prepareAgain(Survey& survey, std::string_view text) {
  EntryWalk walk = walkOver(text);
  readEntry(walk, survey.again);
  survey.texts.release();
  prepareEntry(survey.again, text, survey.prepared.objectClass, true, survey.texts, survey.prepared);
}

static void takePlainLines(Survey& survey) {
  if (survey.areLinesKept) survey.keptAt = keepLines(survey.registry.kept, survey.entry);
  prepareFirstLine(survey.prepared);
}

// What a run holds of an entry, in its longest form, whose place in the file has that end.
static void measureEntry(const ReadEntry& entry, uint64_t end, size_t gatheredBefore, HeldMost& held) {
  const uint64_t length = entry.end - entry.heldFrom;
  if (length > held.longest) {
    held.longest = length;
    held.longestAt = end - length;
    held.gatheredBeforeLongest = gatheredBefore;
  }
  held.lines = std::max<uint64_t>(held.lines, entry.count);
  if (length <= held.copied || entry.isOversized) return;
  if (entry.continuations == 0 && !entry.hasLongLine) return;
  uint64_t copied = 0;
  for (const Line& line : entry.lines())
    if (isContinuation(line) || line.text[line.length - 1] != '\n') copied += line.length;
  held.copied = std::max(held.copied, std::min(copied, length));
}

static void takeEntry(Survey& survey, EntryWalk& walk, uint64_t textBegin) {
  ++survey.counts.entries;
  const uint64_t begin = textBegin + survey.entry.begin;
  measureEntry(survey.entry, textBegin + survey.entry.end, survey.registry.awaitedEnd, survey.counts.held);
  const ObjectClass objectClass = classOf(survey.entry.lines());
  if (survey.entry.isOversized) {
    survey.prepared = {};
    survey.prepared.objectClass = objectClass;
    survey.prepared.goesToOutput = goesStraightThrough(objectClass, survey.entry.room[0].content());
    survey.visitor.takeEntry(survey.entry, survey.prepared, begin);
    takeOversized(survey, walk, begin);
    return;
  }
  survey.texts.release();
  survey.keptAt = NOT_KEPT;
  if (foreseePlainEntry(survey.entry, walk.text, objectClass, survey.texts, survey.prepared))
    takePlainLines(survey);
  else
    prepareEntry(survey.entry, walk.text, objectClass, false, survey.texts, survey.prepared);
  // Preparing uses the lines up, so that where they came from cannot be found out afterwards.
  if (survey.prepared.lacksOrigins) prepareAgain(survey, walk.text.substr(survey.entry.begin));
  survey.visitor.takeEntry(survey.entry, survey.prepared, begin);
  takePrepared(survey, begin);
}

SurveyCounts surveyInput(SurveyedFile& file, Registry& registry, EntryVisitor& visitor) {
  Survey survey = {.registry = registry, .visitor = visitor};
  survey.areLinesKept = canBeWhole(file);
  registry.mayHoldNul = walkEntries(file, survey.entry, [&](EntryWalk& walk, uint64_t textBegin) {
    takeEntry(survey, walk, textBegin);
    survey.counts.entriesEnd = textBegin + survey.entry.end;
    showSurveyProgress("entries", textBegin + survey.entry.end, file.size);
    return true;
  });
  // Comments at the end of the file are held like an entry.
  measureEntry(survey.entry, file.size, registry.awaitedEnd, survey.counts.held);
  endAdding(registry);
  return survey.counts;
}

void surveyOversized(SurveyedFile& file, uint64_t begin, EntryVisitor& visitor) {
  Registry none;
  Survey survey = {.registry = none, .visitor = visitor};
  const auto take = [&](EntryWalk& walk, uint64_t textBegin) {
    if (!survey.entry.isOversized) endForChange();
    takeOversized(survey, walk, textBegin + survey.entry.begin);
    return false;
  };
  walkEntries(file, survey.entry, take, begin);
}
