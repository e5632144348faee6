#include "survey/record.h"

#include <algorithm>

#include "rules/merge.h"
#include "rules/new_dn.h"
#include "rules/owner.h"
#include "rules/policy_container.h"
#include "rules/text.h"
#include "survey/file_walk.h"

// Reads the entry that begins in a place, enlarging the text until it holds all of it. Where the file is not in memory
// as a whole the text is copied, with the character before it.
// The character before the entry is wanted because rules ask whether a line begins where a line of the file does.
static std::string_view readAt(SurveyedFile& file, bool mayHoldNul, uint64_t begin, LoadedEntry& loaded) {
  constexpr size_t FIRST_LENGTH = size_t{64} * 1024;
  const size_t before = begin > 0 ? 1 : 0;
  for (size_t length = FIRST_LENGTH;; length *= 2) {
    std::string_view text = textFrom(file, begin - before, length);
    if (!isWhole(file)) {
      loaded.copy = text.substr(0, length);
      text = loaded.copy;
    }
    EntryWalk walk = walkOver(text.substr(before));
    // The first look at the file has searched all of it.
    if (!mayHoldNul) walk.searched = walk.text.size();
    readEntry(walk, loaded.read);
    const bool reachesEnd = begin - before + text.size() == file.size;
    if (isWhole(file) || reachesEnd || !mayBeCut(loaded.read, walk.text)) return walk.text;
  }
}

// Returns the text of the input from the entry on.
static std::string_view readEntryOnceMore(SurveyedFile& file, const Registry& registry, const GatheredEntry& entry,
                                          LoadedEntry& loaded) {
  const std::string_view text = textFrom(file, entry.begin, 1);
  if (entry.keptAt == NOT_KEPT || !isWhole(file)) return readAt(file, registry.mayHoldNul, entry.begin, loaded);
  takeKeptLines(registry.kept, entry.keptAt, text, loaded.read);
  return text;
}

// A plain entry has not been prepared before.
static void measure(RecordMaker& maker, GatheredEntry& entry, Entry lines) {
  const uint64_t bytes = bytesOfLines(lines);
  entry.isMeasured = true;
  maker.measured.add({bytes + 1, 0});  // and the empty line
}

// True when an earlier part of the same entry of the input is there, and nobody has made anything of this one yet.
// A long line that is not folded is as many parts as it has pieces.
static bool holdsPart(const LoadedEntry& loaded, const Registry& registry, const GatheredEntry& entry) {
  return loaded.number != NONE && loaded.begin == entry.begin && registry.entries[loaded.number].part < entry.part;
}

static void prepareOnceMore(RecordMaker& maker, const GatheredEntry& entry, LoadedEntry& loaded) {
  const Registry& registry = *maker.registry;
  loaded.texts.release();
  loaded.begin = entry.begin;
  const std::string_view text = readEntryOnceMore(*maker.file, registry, entry, loaded);
  // Among many lines each one would be looked for from the first on.
  constexpr uint32_t FEW_LINES = 256;
  const bool areOriginsWanted = maker.areOriginsWanted || entry.lines > FEW_LINES;
  // What the first look found need not be found again; it is most of the work.
  loaded.areOriginsKnown = !entry.isPlain || areOriginsWanted;
  if (entry.isPlain)
    prepareKnownEntry(loaded.read, text, classOfKind(entry.kind), areOriginsWanted, loaded.texts, loaded.prepared);
  else
    prepareEntry(loaded.read, text, classOf(loaded.read.lines()), true, loaded.texts, loaded.prepared);
}

static void loadEntry(RecordMaker& maker, uint32_t number, LoadedEntry& loaded) {
  GatheredEntry& entry = maker.registry->entries[number];
  if (!holdsPart(loaded, *maker.registry, entry)) prepareOnceMore(maker, entry, loaded);
  loaded.number = number;
  const auto& parts = loaded.prepared.parts;
  if (entry.part >= parts.size() || parts[entry.part].count != entry.lines) endForChange();
  const WorkEntry& part = parts[entry.part];
  loaded.lines = linesOf(loaded.prepared, part);
  loaded.origins = originsOf(loaded.prepared, part);
  const bool isNew = !entry.isMeasured;
  if (isNew) measure(maker, entry, loaded.lines);
  // A slot holds the first line as its owner's DN has been read from it: blanks and all that stands behind are gone.
  if (entry.isNormal) return;
  const Owner owner = ownerOf(loaded.lines, entry.kind, loaded.texts, nullptr);
  loaded.lines[0] = scanLine(owner.firstLine);
  if (isNew) maker.measured.kept += bytesOfLines(loaded.lines);
}

Origin originOf(const Registry& registry, const LoadedEntry& entry, size_t line) {
  if (entry.areOriginsKnown) return entry.origins[line];
  // A plain entry has no pieces; what is behind its own lines has been added.
  if (line >= entry.prepared.attributeLines) return {0, NO_LINE, false, false};
  const uint32_t keptAt = registry.entries[entry.number].keptAt;
  const size_t place = keptAt == NOT_KEPT ? placeInText(entry.prepared, line)
                                          : placeOfKept(registry.kept, keptAt, entry.prepared.text, line);
  return {place, static_cast<uint32_t>(line), false, false};
}

// A slot has five entries at most where all are regular, so that looking for one is quick.
LoadedEntry& loadedEntry(RecordMaker& maker, uint32_t number) {
  for (size_t i = 0; i < maker.loadedCount; ++i)
    if (maker.loaded[i]->number == number) return *maker.loaded[i];
  if (maker.loadedCount == maker.loaded.size()) maker.loaded.push_back(std::make_unique<LoadedEntry>());
  LoadedEntry& loaded = *maker.loaded[maker.loadedCount++];
  loadEntry(maker, number, loaded);
  return loaded;
}

const LoadedEntry& loadedAlone(RecordMaker& maker, uint32_t number) {
  if (maker.loadedCount != 1 || maker.loaded[0]->number != number) maker.loadedCount = 0;
  return loadedEntry(maker, number);
}

void measureRest(RecordMaker& maker) {
  const auto& entries = maker.registry->entries;
  for (uint32_t i = 0; i < entries.size(); ++i) {
    if (!entries[i].isMeasured) loadedAlone(maker, i);
  }
  maker.registry->measured.add(maker.measured);
  maker.measured = {};
}

void clearRows(SlotRows& rows) {
  for (auto& parts : rows.parts) parts.clear();
  rows.opener = rows.policyDn = NONE;
}

void addToRow(const Registry& registry, uint32_t entry, SlotRows& rows) {
  const GatheredEntry& added = registry.entries[entry];
  rows.parts[added.rowKind].push_back({entry, 0, added.lines});
  rows.opener = std::min(rows.opener, entry);
  if (added.rowKind == SECPOLICY_KIND) rows.policyDn = entry;
}

// Puts the lines of a row together; mostly they are those of an entry.
static std::span<Line> linesOfRow(RecordMaker& maker, const SlotRows& rows, EntryKind kind) {
  if (rows.parts[kind].size() == 1) {
    const RowPart& part = rows.parts[kind][0];
    return loadedEntry(maker, part.entry).lines.subspan(part.first, part.count);
  }
  std::vector<Line>& lines = maker.lines[kind];
  lines.clear();
  for (const RowPart& part : rows.parts[kind]) {
    const auto from = loadedEntry(maker, part.entry).lines.subspan(part.first, part.count);
    lines.insert(lines.end(), from.begin(), from.end());
  }
  return lines;
}

static bool isInUse(const SlotRows& rows, EntryKind kind) { return !rows.parts[kind].empty(); }

static void complain(SlotRecords& records, DetailText problem, std::string_view subject) {
  records.problem = problem;
  records.subject = subject;
}

// The slot has no entry of a kind, and no record without it.
static void complainOfMissing(SlotRecords& records, DetailText problem, EntryKind missing, EntryKind present,
                              RecordMaker& maker, const SlotRows& rows) {
  records.missing = missing;
  records.present = present;
  const bool isPresent = present != UNKNOWN_KIND && isInUse(rows, present);
  complain(records, problem, isPresent ? linesOfRow(maker, rows, present)[0].view() : std::string_view());
}

// The complaint about a user without an own entry names one of its others, in the order in which the run looks for
// one.
static EntryKind firstInUse(const SlotRows& rows) {
  for (const EntryKind kind : {MAP_OF_USER_KIND, USERS_SECUSER_KIND, SECPOLICY_KIND, SECPOLICYDATA_KIND})
    if (isInUse(rows, kind)) return kind;
  return UNKNOWN_KIND;
}

// The name that the owner's own entry gives. Without one it is empty.
static void findName(SlotRecords& records, Entry own, Side side) {
  for (const Line& line : own) {
    const std::string_view found = nameIn(line, side);
    if (found.data() == nullptr) continue;
    records.nameLine = line;
    records.name = withoutLineEnd(found);
    // The name is taken for granted as it is: the run complains of its length, and then writes nothing.
    if (found.size() >= NAME_SIZE) complain(records, NAME_TOO_LONG, own[0].view());
    return;
  }
}

// The DN with which a slot has been opened.
static std::string_view ownerDn(RecordMaker& maker, uint32_t opener) {
  const GatheredEntry& entry = maker.registry->entries[opener];
  LoadedEntry& loaded = loadedEntry(maker, opener);
  return keepText(maker.texts, ownerOf(loaded.lines, entry.kind, loaded.texts, nullptr).saved);
}

// Merges two entries into a third one; kindOfMerged is that of the one that is not the owner's own. Returns false, with
// the problem noted, when that is not possible.
static bool merge(SlotRecords& records, std::span<Line> first, std::span<Line> second, EntryKind kindOfMerged,
                  std::vector<Line>& into) {
  const std::string_view firstDn = first[0].view();
  const std::string_view secondDn = second[0].view();
  // A merged entry holds every line of both at most; one that is longer than the entry buffer has no room there in
  // the run.
  into.resize(first.size() + second.size());
  MergedEntry merged = {into.data(), static_cast<int32_t>(into.size())};
  const MergeProblem problem = mergeEntries(first, second, merged);
  into.resize(static_cast<size_t>(merged.count));
  if (merged.count > OBJECT_ARRAY_SIZE) complain(records, ENTRY_TOO_LONG, into[0].view());
  if (problem.line == nullptr) return records.problem == NO_DETAIL;
  complain(records, LINE_WITHOUT_COLON, problem.isInFirst ? firstDn : secondDn);
  records.subjectKind = problem.isInFirst == (kindOfMerged == USERS_SECUSER_KIND) ? kindOfMerged : UNKNOWN_KIND;
  return records.problem == NO_DETAIL;
}

static uint64_t bytesOfRecord(std::string_view dnLine, Entry lines, Road road) {
  uint64_t bytes = dnLine.size() + 1;
  for (const Line& line : lines.subspan(std::min<size_t>(1, lines.size())))
    if (!isDropped(line, road)) bytes += line.length;
  return bytes;
}

static bool storeNewDn(RecordMaker& maker, NewDnOf what, std::string_view oldDn, std::string_view subject,
                       std::string_view& newDn) {
  SlotRecords& records = maker.records;
  const NewDn made = replaceDn(what, records.name, oldDn, maker.texts);
  newDn = made.line;
  if (made.problem != NO_DETAIL) complain(records, made.problem, subject);
  return made.problem == NO_DETAIL;
}

static void makePolicy(RecordMaker& maker, const SlotRows& rows, std::string_view ownLine) {
  SlotRecords& records = maker.records;
  const auto policy = linesOfRow(maker, rows, SECPOLICY_KIND);
  const std::string_view subject = policy.empty() ? std::string_view() : policy[0].view();
  const std::string_view oldDn = dnOfFirstLine(loadedEntry(maker, rows.policyDn).lines[0].view());
  if (!storeNewDn(maker, NEW_POLICY_DN, oldDn, subject, records.policyDn)) {
    records.subjectKind = SECPOLICY_KIND;
    return;
  }
  records.containerDn = containerDnEnd(records.newDn);
  constexpr std::string_view BEGIN = CONTAINER_DN_BEGIN;
  const size_t length = BEGIN.size() + records.containerDn.size();
  if (length >= TEMP_DN_SIZE) {
    complain(records, DN_TOO_LONG, ownLine);
    return;
  }
  records.bytes += length;
  for (size_t i = maker.changetypeSeen ? 0 : 1; i < std::size(containerLines); ++i)
    records.bytes += std::string_view(containerLines[i]).size();
  // Kept: a policy that another slot has taken leaves its DN behind, and a container is written for it all the same.
  if (policy.empty()) return;
  records.hasPolicy = true;
  records.policyLines.assign(policy.begin(), policy.end());
  records.bytes += bytesOfRecord(records.policyDn, policy, POLICY);
}

const SlotRecords& makeRecords(RecordMaker& maker, Side side, const SlotRows& rows) {
  const EntryKind ownKind = ownKindOf(side);
  const EntryKind mapKind = side == USER_SIDE ? MAP_OF_USER_KIND : MAP_OF_GROUP_KIND;
  const DetailText withoutOwn = side == USER_SIDE ? USER_WITHOUT_OWN_ENTRY : GROUP_WITHOUT_OWN_ENTRY;
  const DetailText withoutMap = side == USER_SIDE ? USER_WITHOUT_MAP : GROUP_WITHOUT_MAP;
  SlotRecords& records = maker.records;
  SlotRecords empty;
  // The room for lines is kept from record to record.
  empty.merged.swap(records.merged);
  empty.policyLines.swap(records.policyLines);
  records = std::move(empty);
  maker.loadedCount = 0;
  maker.texts.release();

  const EntryKind other = side == GROUP_SIDE ? MAP_OF_GROUP_KIND : firstInUse(rows);
  if (!isInUse(rows, ownKind)) {
    complainOfMissing(records, withoutOwn, ownKind, other, maker, rows);
    return records;
  }
  const auto own = linesOfRow(maker, rows, ownKind);
  const std::string_view ownLine = own[0].view();
  findName(records, own, side);
  if (records.problem == NO_DETAIL && records.name.empty())
    complain(records, side == USER_SIDE ? USER_WITHOUT_NAME : GROUP_WITHOUT_NAME, ownLine);
  if (records.problem != NO_DETAIL) return records;
  const NewDnOf what = side == USER_SIDE ? NEW_USER_DN : NEW_GROUP_DN;
  records.oldDn = ownerDn(maker, rows.opener);
  if (!storeNewDn(maker, what, records.oldDn, ownLine, records.newDn)) return records;
  if (!isInUse(rows, mapKind)) {
    complainOfMissing(records, withoutMap, mapKind, ownKind, maker, rows);
    return records;
  }
  const bool hasUsers = side == USER_SIDE && isInUse(rows, USERS_SECUSER_KIND);
  if (!merge(records, own, linesOfRow(maker, rows, mapKind), mapKind, hasUsers ? maker.partial : records.merged))
    return records;
  if (hasUsers &&
      !merge(records, linesOfRow(maker, rows, USERS_SECUSER_KIND), maker.partial, USERS_SECUSER_KIND, records.merged))
    return records;
  records.bytes = bytesOfRecord(records.newDn, records.merged, MERGED);
  if (side == USER_SIDE && rows.policyDn != NONE) makePolicy(maker, rows, ownLine);
  return records;
}

static void fetchText(const SurveyedFile& file, const Registry& registry, const GatheredEntry& entry) {
  constexpr size_t CACHE_LINE = 64;  // bytes
  constexpr size_t USUAL_LENGTH = 512;
  if (entry.keptAt != NOT_KEPT) __builtin_prefetch(keptIn(registry.kept, entry.keptAt));
  for (size_t place = 0; place < USUAL_LENGTH; place += CACHE_LINE)
    __builtin_prefetch(file.window + entry.begin + place);
}

void fetchAhead(EntryFetch& fetch, const SurveyedFile& file, const Registry& registry, const RegistryOwner& owner) {
  // In entries: a handful of owners.
  constexpr size_t KNOWN_AHEAD = 64;
  constexpr size_t TEXTS_AHEAD = 16;
  const size_t end = registry.byOwner.size();
  // A window that must be moved first cannot be fetched ahead.
  if (!isWhole(file)) return;
  const size_t passed = owner.begin + owner.entries;
  fetch.known = std::max(fetch.known, passed);
  fetch.texts = std::max(fetch.texts, passed);
  for (; fetch.known < std::min(passed + KNOWN_AHEAD, end); ++fetch.known)
    __builtin_prefetch(&registry.entries[registry.byOwner[fetch.known]]);
  for (; fetch.texts < std::min(passed + TEXTS_AHEAD, end); ++fetch.texts)
    fetchText(file, registry, registry.entries[registry.byOwner[fetch.texts]]);
}
