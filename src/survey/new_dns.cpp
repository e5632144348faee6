#include "survey/new_dns.h"

#include <algorithm>

#include "rules/attribute.h"
#include "rules/dn_hash.h"
#include "rules/new_dn.h"
#include "rules/text.h"
#include "survey/domains.h"
#include "survey/spellings.h"

// The characters that RFC 4514 has escaped in a DN. The conversion puts a name into the new DN as it is.
static bool needsEscapes(std::string_view name) {
  return name.find_first_of(",+\"\\<>;=") != std::string_view::npos || name.front() == '#' || name.front() == ' ' ||
         name.back() == ' ';
}

void DnComparison::insert(uint64_t hash) {
  size_t place = firstPlace(hash);
  while (places_[place] != 0) place = (place + 1) & (places_.size() - 1);
  places_[place] = hash;
}

void DnComparison::grow() {
  std::vector<uint64_t> before(places_.size() * 2);
  before.swap(places_);
  for (const uint64_t hash : before)
    if (hash != 0) insert(hash);
}

bool DnComparison::add(uint64_t hash) {
  if (count_ >= places_.size() / 4 * 3) grow();
  size_t place = firstPlace(hash);
  while (places_[place] != 0 && places_[place] != hash) place = (place + 1) & (places_.size() - 1);
  if (places_[place] == hash) return false;
  places_[place] = hash;
  ++count_;
  return true;
}

// Of a DN without spare blanks, in any letter case; never 0.
static uint64_t hashOfPlainDn(std::string_view dn) { return hashOfDn(dn) | 1U; }

static uint64_t hashOfNewDn(std::string_view dn) {
  const bool mayHaveSpareBlanks = dn.find(' ') != std::string_view::npos;
  return mayHaveSpareBlanks ? hashOfPlainDn(withoutSpareBlanks(dn)) : hashOfPlainDn(dn);
}

void DnComparison::takeCopied(const Line& firstLine) {
  if (!isNamed(firstLine, "dn")) return;
  // Most DNs are those of persons, and end otherwise.
  const std::string_view asWritten = dnOfFirstLine(firstLine.view());
  const bool mayEndSo = asWritten.starts_with(':') || holdsInAnyCase(asWritten, "secauthority");
  if (!mayEndSo) return;
  std::string decoded;
  const std::string dn = withoutSpareBlanks(decodedValueOf(firstLine, decoded));
  // All new DNs end with it, and few others.
  if (!holdsInAnyCase(dn, ",secauthority=default")) return;
  add(hashOfPlainDn(dn));
  constexpr std::string_view CONTAINER = "cn=policies,";
  constexpr std::string_view POLICY = "cn=policy,cn=policies,";
  const std::string_view view = dn;
  if (isSameInAnyCase(view.substr(0, CONTAINER.size()), CONTAINER))
    aboveContainers_.insert(hashOfPlainDn(view.substr(CONTAINER.size())));
  if (isSameInAnyCase(view.substr(0, POLICY.size()), POLICY))
    abovePolicies_.insert(hashOfPlainDn(view.substr(POLICY.size())));
}

void DnComparison::compare(const RecordDn& dn, FindingSink& findings) {
  if (!add(dn.hash)) findings.take({NEW_DN_TWICE, AT_NONE, dn.entry});
  const bool isTwice = aboveContainers_.contains(dn.hash) || (dn.isPolicyWritten && abovePolicies_.contains(dn.hash));
  if (dn.policy != NO_PLACE && isTwice) findings.take({NEW_DN_TWICE, AT_NONE, dn.policy});
}

// True when a user's record has a secDomainId that the conversion has made, and not of what it stands for.
static bool isDomainIdMistaken(RecordMaker& maker, uint32_t ownEntry) {
  const LoadedEntry& own = loadedEntry(maker, ownEntry);
  const size_t last = own.lines.size() - 1;
  const Line& added = own.lines[last];
  if (originOf(*maker.registry, own, last).line != NO_LINE || !isNamed(added, "secdomainid")) return false;
  const std::vector<Line>& merged = maker.records.merged;
  const bool isThere =
      std::any_of(merged.begin(), merged.end(), [&](const Line& line) { return line.text == added.text; });
  const std::string_view name = maker.records.name;
  const std::string_view authority = added.content().substr(0, added.contentLength - name.size());
  const bool isOfName = added.content().ends_with(name) && authority.ends_with('%');
  return isThere && (!isOfName || own.prepared.isAuthorityCoded);
}

// True when the policy's DN is not below that of its container.
static bool isApartFromContainer(const SlotRecords& records) {
  if (records.policyDn.ends_with(records.containerDn)) return false;
  const std::string dn = withoutSpareBlanks(records.policyDn);
  const std::string above = withoutSpareBlanks(records.containerDn);
  return !isSameInAnyCase(std::string_view(dn).substr(dn.size() - std::min(dn.size(), above.size())), above);
}

// True when the line that the owner's name was taken from is of another attribute, and its own says otherwise.
static bool isNameMistaken(const SlotRecords& records, Entry own, Side side) {
  const auto isOfName = [&](const Line& line) { return isNamed(line, side == USER_SIDE ? "principalname" : "cn"); };
  if (isOfName(records.nameLine)) return false;
  const auto first = std::find_if(
      own.begin(), own.end(), [&](const Line& line) { return isOfName(line) && nameIn(line, side).data() != nullptr; });
  return first == own.end() || withoutLineEnd(nameIn(*first, side)) != records.name;
}

RecordDn findNameChanges(RecordMaker& maker, const SlotRows& rows, Side side, FindingSink& findings) {
  const uint32_t own = rows.parts[ownKindOf(side)][0].entry;
  const uint64_t begin = maker.registry->entries[own].begin;
  const SlotRecords& records = maker.records;
  const std::string_view name = records.name;
  const bool isBase64 = name.front() == ':';
  // The name begins with the second colon of a base-64 value, which is not decoded.
  if (isBase64) findings.take({NAME_IN_BASE_64, AT_NONE, begin});
  if (!isBase64 && needsEscapes(name)) findings.take({NAME_NEEDS_ESCAPES, AT_NONE, begin});
  if (isNameMistaken(records, loadedEntry(maker, own).lines, side))
    findings.take({NAME_FROM_ANOTHER_LINE, AT_NONE, begin});
  if (isDomainMistaken(side == USER_SIDE ? NEW_USER_DN : NEW_GROUP_DN, records.oldDn))
    findings.take({DOMAIN_IS_MISTAKEN, AT_NONE, begin});
  if (side == USER_SIDE && isDomainIdMistaken(maker, own)) findings.take({DOMAIN_ID_IS_MISTAKEN, AT_NONE, begin});
  const uint64_t policy = rows.policyDn == NONE ? NO_PLACE : maker.registry->entries[rows.policyDn].begin;
  if (records.hasPolicy && isApartFromContainer(records)) findings.take({DOMAIN_IS_MISTAKEN, AT_NONE, policy});
  return {hashOfNewDn(dnOfFirstLine(withoutLineEnd(records.newDn))), begin, policy, records.hasPolicy};
}
