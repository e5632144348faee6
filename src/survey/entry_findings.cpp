#include "survey/entry_findings.h"

#include <algorithm>

#include "rules/attribute.h"
#include "rules/dn_hash.h"
#include "rules/text.h"

static std::string_view nameOf(const Line& line) {
  return line.firstColon == NO_COLON ? line.content() : line.view().substr(0, line.firstColon);
}

static bool isNamed(const Line& line, std::string_view name) { return isSameInAnyCase(nameOf(line), name); }

// The values that name a class that is known.
static constexpr std::string_view classNames[] = {"secUser",  "secPolicyData",    "secPolicy", "secMap",
                                                  "secGroup", "secAuthorityInfo", "container", "secResCreds"};

static bool namesKnownClass(const Line& line) {
  if (!isNamed(line, "objectclass")) return false;
  std::string_view value = line.content().substr(nameOf(line).size() + 1);
  value = behindSpaces(value);
  value = value.substr(0, value.find_last_not_of(" \t") + 1);
  return std::any_of(std::begin(classNames), std::end(classNames),
                     [&](std::string_view name) { return isSameInAnyCase(value, name); });
}

static uint64_t placeOf(const PreparedEntry& prepared, size_t line, uint64_t begin) {
  return line < prepared.origins.size() ? begin + prepared.origins[line].place : begin;
}

static void findLongLines(const ReadEntry& entry, const PreparedEntry& prepared, uint64_t begin,
                          FindingSink& findings) {
  for (size_t i = 0; i < prepared.lines.size(); ++i) {
    const bool isCut = !prepared.goesToOutput && prepared.lines[i].length > LONGEST_LINE;
    const bool isPiece = entry.hasLongLine && i < prepared.origins.size() && prepared.origins[i].isPiece;
    if (!isCut && !isPiece) continue;
    findings.take({LONG_LINE, AT_NONE, begin, placeOf(prepared, i, begin)});
    return;
  }
  if (entry.hasLongLine) findings.take({LONG_LINE, AT_NONE, begin, begin});
}

void findChanges(const ReadEntry& entry, const PreparedEntry& prepared, uint64_t begin, FindingSink& findings) {
  if (entry.isOversized) {
    if (!prepared.goesToOutput) findings.take({OVERSIZED_ENTRY, AT_NONE, begin});
    return;
  }
  const Entry lines = prepared.lines;
  if (lines.empty()) return;
  if (lines.size() > 1 && isNamed(lines[0], "version")) findings.take({VERSION_LINE, AT_NONE, begin});
  if (lines[0].view().starts_with("\xEF\xBB\xBF")) findings.take({BYTE_ORDER_MARK, AT_NONE, begin});
  if (entry.hasNul) findings.take({NUL_BYTE, AT_NONE, begin});
  if (prepared.hasReturn) findings.take({RETURN_IN_LINE, AT_NONE, begin});
  if (entry.hasFoldedComment) findings.take({COMMENT_IS_FOLDED, AT_NONE, begin});
  findLongLines(entry, prepared, begin, findings);
  const bool isKnown =
      prepared.objectClass != UNINTERESTING_OBJECTCLASS && prepared.objectClass != CONTAINER_OBJECTCLASS;
  bool hasUnknownName = false;
  bool isChange = false;
  for (size_t i = 0; i < lines.size(); ++i) {
    constexpr uint32_t NAMES = nameBit("changetype") | nameBit("objectclass");
    if ((lines[i].names & NAMES) == 0) continue;
    if (!isChange && isNamed(lines[i], "changetype")) {
      isChange = true;
      findings.take({CHANGE_RECORD, AT_NONE, begin, placeOf(prepared, i, begin)});
    }
    const bool isPlainContainer =
        prepared.objectClass == CONTAINER_OBJECTCLASS && namesKnownClass(lines[i]) &&
        isSameInAnyCase(lines[i].content().substr(lines[i].content().find(':') + 1), " container");
    if (isKnown || hasUnknownName || isPlainContainer || !namesKnownClass(lines[i])) continue;
    hasUnknownName = true;
    findings.take({CLASS_NAME_NOT_KNOWN, AT_NONE, begin, placeOf(prepared, i, begin)});
  }
}

void findLosses(const Fates& fates, std::span<const Origin> origins, uint64_t begin, FindingSink& findings) {
  for (size_t i = 0; i < fates.size(); ++i) {
    if (fates[i] < REPLACED || origins[i].line == NO_LINE || origins[i].isPiece) continue;
    const uint64_t place = begin + origins[i].place;
    if (fates[i] == REPLACED) findings.take({VALUE_IS_REPLACED, AT_NONE, begin, place});
    if (fates[i] == LOOKS_LIKE_BOOKKEEPING) findings.take({LINE_LOOKS_LIKE_BOOKKEEPING, AT_NONE, begin, place});
    if (fates[i] == LOST) findings.take({LINE_IS_LOST, AT_NONE, begin, place});
  }
}

static bool needsEscapes(std::string_view name) {
  return name.find_first_of(",+\"\\<>;=") != std::string_view::npos || name.front() == '#' || name.front() == ' ' ||
         name.back() == ' ';
}

static void insert(std::vector<uint64_t>& places, uint64_t hash) {
  size_t place = static_cast<size_t>(hash >> 1U) & (places.size() - 1);
  while (places[place] != 0 && places[place] != hash) place = (place + 1) & (places.size() - 1);
  places[place] = hash;
}

// Returns false when the DN has been there before.
static bool isNew(NewDns& newDns, std::string_view dn) {
  const uint64_t hash = hashOfDn(dn) | 1U;
  if (newDns.count >= newDns.places.size() / 4 * 3) {
    std::vector<uint64_t> before(newDns.places.size() * 2);
    before.swap(newDns.places);
    for (const uint64_t other : before)
      if (other != 0) insert(newDns.places, other);
  }
  size_t place = static_cast<size_t>(hash >> 1U) & (newDns.places.size() - 1);
  while (newDns.places[place] != 0 && newDns.places[place] != hash) place = (place + 1) & (newDns.places.size() - 1);
  if (newDns.places[place] == hash) return false;
  newDns.places[place] = hash;
  ++newDns.count;
  return true;
}

void findNameChanges(const RecordMaker& maker, const SlotRows& rows, Side side, NewDns& newDns, FindingSink& findings) {
  const EntryKind own = side == USER_SIDE ? SECUSER_KIND : SECGROUP_KIND;
  const uint64_t begin = maker.registry->entries[rows.parts[own][0].entry].begin;
  const SlotRecords& records = maker.records;
  const std::string_view name = records.name;
  const bool isBase64 = name.front() == ':';
  if (isBase64) findings.take({NAME_IN_BASE_64, AT_NONE, begin});
  if (!isBase64 && needsEscapes(name)) findings.take({NAME_NEEDS_ESCAPES, AT_NONE, begin});
  if (!isNamed(records.nameLine, side == USER_SIDE ? "principalname" : "cn"))
    findings.take({NAME_FROM_ANOTHER_LINE, AT_NONE, begin});
  if (!isNew(newDns, records.newDn)) findings.take({NEW_DN_TWICE, AT_NONE, begin});
}
