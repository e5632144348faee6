// Owners, names and rows against the plain rules: the entries of the input are gathered in the slots of their owners,
// and then the new DNs of all slots are built, or all rows released.
#include <algorithm>
#include <iterator>

#include "cache/cache_slots.h"
#include "cache/object_cache.h"
#include "cache/owner_association.h"
#include "fuzz_support.h"
#include "ldif/line_reader.h"
#include "ldif/object_buffer.h"
#include "output/add_entry_writers.h"
#include "output/new_dn.h"
#include "plain_rules.h"
#include "reporting/run_state.h"
#include "rules/dn_hash.h"
#include "rules/text.h"

static constexpr size_t LARGEST_TEXT = 48 * 1024;  // bytes

// Calls one of the plain rules. Returns nothing where it stops the run.
template <typename Rule>
static auto unlessStopped(Rule rule) -> std::optional<decltype(rule())> {
  try {
    return rule();
  } catch (const plain::Stopped&) {
    return std::nullopt;
  }
}

static uint32_t codeOf(bool goesOn) { return goesOn ? 0 : PROCESSING_FAILED; }

static void checkText(const std::string& line) {
  const std::vector<char> memory(line.begin(), line.end());
  const std::string_view text(memory.data(), memory.size());
  const auto changed = [&line](size_t (*change)(char*, size_t), size_t room) {
    std::vector<char> buffer(line.begin(), line.end());
    buffer.resize(std::max(line.size(), room));
    buffer.shrink_to_fit();
    return std::string(buffer.data(), change(buffer.data(), line.size()));
  };
  require(changed(commaSpaceEater, 0) == plain::withoutBlanksAtCommas(line), "blanks around commas go");
  require(changed(blankLine, 2) == plain::blanked(line), "a line is blanked");
  require(hasSpaceBesideComma(text) == (plain::withoutBlanksAtCommas(line) != line), "a blank beside a comma is seen");
  require(trimmed(text) == plain::trimmed(line), "trailing white space goes");
  require(behindSpaces(text) == plain::withoutLeadingSpaces(line), "leading spaces go");
  require(withoutLineEnd(text) == plain::upTo(line, "\r\n"), "a line is cut at its end");
  require(upToComma(text) == plain::upTo(line, ","), "a line is cut at its comma");
  require(isBlankLine(text) == plain::isBlank(line), "a blank line");
  const std::string low = plain::lowered(line);
  require(std::equal(line.begin(), line.end(), low.begin(), low.end(),
                     [](char one, char other) { return lowered(one) == static_cast<unsigned char>(other); }),
          "a line is folded");
  require(hashOfDn(text) == hashOfDn(plain::inOtherCase(line)), "a hash does not regard case");
  for (const char* part : {"secAuthority", "cn=Users", "cn=Policies,secAuthority="})
    require(dostristr(text, part) == plain::findInAnyCase(line, part), "a text is found in any case");
}

// How the owner of an entry is found on a side.
struct OwnerRule {
  plain::Owner (*ownerOf)(const Lines& entry, int32_t objectClass);
  int32_t (*learnSlot)();
};

// By Side.
static constexpr OwnerRule ownerRules[] = {{plain::ownerOnUserSide, learnIndexOfAssociatedSecUserDN},
                                           {plain::ownerOnGroupSide, learnIndexOfAssociatedSecGroupDN}};

static int32_t slotOf(const CacheSide& side, const std::string& key) {
  for (int32_t slot = 0; slot < *side.nextSlot; ++slot)
    if (plain::lowered(std::string((*side.dns)[slot])) == plain::lowered(key)) return slot;
  return NO_SLOT;
}

// What is done with the rows of a matrix, and how they have to be.
struct Rows {
  void (*move)(int32_t);
  void (*release)(int32_t);
  plain::Cells cells;
  int32_t occupied;
};

// By EntryKind.
static std::vector<Rows> rowsOfKind;

static void beginRows() {
  static constexpr std::pair<void (*)(int32_t), void (*)(int32_t)> operations[] = {
      {moveUsersSecUserObjectFromObjectArrayToUsersSecUserMatrix, freeUsersSecUser},
      {moveSecUserObjectFromObjectArrayToSecUserMatrix, freeSecUser},
      {moveSecGroupObjectFromObjectArrayToSecGroupMatrix, freeSecGroup},
      {moveSecPolicyDataObjectFromObjectArrayToSecPolicyDataMatrix, freeSecPolicyData},
      {moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix, freeSecMapForSecUser},
      {moveSecMapForSecGroupObjectFromObjectArrayToSecMapForSecGroupMatrix, freeSecMapForSecGroup},
      {moveSecPolicyObjectFromObjectArrayToSecPolicyMatrix, freeSecPolicy}};
  rowsOfKind.clear();
  for (size_t kind = 0; kind < std::size(operations); ++kind) {
    const CacheMatrix& matrix = matrices[kind];
    const auto rows = static_cast<size_t>(*sideOf(matrix).limit);
    const plain::Cells cells(rows, static_cast<size_t>(matrix.columns));
    rowsOfKind.push_back({operations[kind].first, operations[kind].second, cells, 0});
  }
}

static Lines rowLines(const CacheMatrix& matrix, int32_t slot) {
  std::vector<Line> room;
  Lines texts;
  for (const Line& line : linesOfRow(matrix, slot, room)) texts.emplace_back(line.view());
  return texts;
}

static void checkRows(EntryKind kind) {
  const CacheMatrix& matrix = matrices[kind];
  require(*matrix.occupied == rowsOfKind[kind].occupied, "the entries of a matrix are counted");
  for (int32_t slot = 0; slot < *sideOf(matrix).limit; ++slot) {
    const Lines expected = rowsOfKind[kind].cells.entry(static_cast<size_t>(slot));
    require(isRowInUse(matrix, slot) == !expected.empty(), "a row is in use when its first cell is");
    require(rowLines(matrix, slot) == expected, "a row has the lines of its cells");
    require(firstLineOfRow(matrix, slot) == (expected.empty() ? "" : expected[0]), "the first line of a row");
  }
}

// Moves the entry into the slot's row of its kind, where that is free. Returns false when that has ended the run.
static bool moveIntoSlot(EntryKind kind, int32_t slot) {
  Rows& rows = rowsOfKind[kind];
  if (isRowInUse(matrices[kind], slot)) return true;
  const Lines lines = objectLines();
  const bool fits = rows.cells.put(static_cast<size_t>(slot), lines);
  const uint32_t outcome = outcomeOf([&] {
    if (kind == SECPOLICY_KIND) copySecPolicyDNFromObjectArrayToSecPolicyDNArray(slot);
    rows.move(slot);
  });
  require(outcome == (fits ? 0 : ROW_ALREADY_OCCUPIED), "an entry fits into its row and those behind it, or not");
  if (!fits) return false;
  require(next_available_object_slot == 0, "an entry that has been moved is not in the buffer any more");
  if (kind == SECPOLICY_KIND)
    require(secPolicy_dn[slot] == plain::withoutLeadingSpaces(lines[0].substr(3)), "the DN of a policy");
  ++rows.occupied;
  checkRows(kind);
  return true;
}

// Finds the entry's owner, opens a slot for it where there is none, and moves the entry there. Returns false when the
// run has ended, as it has to.
static bool gather(const Lines& lines) {
  const EntryKind kind = kindOf(static_cast<ObjectClass>(objectClass), firstLineOfObject());
  const CacheSide& side = cacheSides[sideOf(kind)];
  const OwnerRule& rule = ownerRules[sideOf(kind)];
  const std::optional<plain::Owner> owner = unlessStopped([&] { return rule.ownerOf(lines, objectClass); });
  int32_t slot = NO_SLOT;
  const uint32_t outcome = outcomeOf([&] { slot = rule.learnSlot(); });
  require(outcome == codeOf(owner.has_value()), "an entry names its owner, or the run ends");
  if (!owner) return false;
  require(side.savedDn == owner->savedDn, "the owner's DN");
  require(firstLineOfObject() == owner->firstLine, "the line 0 of which the owner was learnt");
  require(slot == slotOf(side, owner->key), "the owner's slot");
  const bool hasPlace = slot != NO_SLOT || *side.nextSlot < *side.limit;
  if (hasPlace) require(!isShutOut(sideOf(kind), hashOfDn(owner->key)), "an owner that has a place is not shut out");
  if (!hasPlace) return true;
  if (slot == NO_SLOT) {
    slot = *side.nextSlot;
    outcomeOf([&] {
      makeRoomForSlot(sideOf(kind), slot);
      (*side.dns)[slot] = keepText(gatheredTexts, side.savedDn);
    });
    ++*side.nextSlot;
    ++*side.count;
  }
  return moveIntoSlot(kind, slot);
}

static void releaseRows() {
  for (int kind = 0; kind < RESCREDS_KIND; ++kind) {
    Rows& rows = rowsOfKind[static_cast<size_t>(kind)];
    for (int32_t slot = 0; slot < *sideOf(matrices[kind]).limit; ++slot) {
      if (!rows.cells.entry(static_cast<size_t>(slot)).empty()) --rows.occupied;
      rows.cells.release(static_cast<size_t>(slot));
      outcomeOf([&] { rows.release(slot); });
      checkRows(static_cast<EntryKind>(kind));
    }
  }
}

// Builds the new DN in place of the old one. Returns false when there is none to be had.
static bool buildDn(std::optional<std::string> (*rule)(const std::string&, const Lines&), int32_t (*build)(int32_t),
                    std::string_view* dns, int32_t slot, const Lines& entry) {
  const std::string before(dns[slot]);
  const auto expected = unlessStopped([&] { return rule(before, entry); });
  int32_t result = 0;
  const uint32_t outcome = outcomeOf([&] { result = build(slot); });
  require(outcome == codeOf(expected.has_value()), "a DN is built, or the run ends");
  if (!expected) return false;
  require(result == (*expected ? 0 : -1), "a DN is built of an entry that has a name");
  require(dns[slot] == (*expected ? **expected : before), "the new DN");
  return expected->has_value();
}

static bool buildUser(int32_t slot) {
  const Lines entry = rowLines(secUserMatrix, slot);
  if (!buildDn(plain::newUserDn, createNewSecUserDN, secUser_dn, slot, entry)) return false;
  const std::string newDn(secUser_dn[slot]);
  const auto expected = unlessStopped([&] { return plain::policyContainer(newDn, changetypeSeen == 1); });
  constexpr char OUTPUT[] = "output";
  const uint32_t outcome = outcomeOf([&] {
    ofp = openToCreate(OUTPUT);
    writePolicyContainerAddToOutputFile(slot);
    closeStream(ofp);
  });
  require(outcome == codeOf(expected.has_value()), "a container is written, or the run ends");
  if (expected) require(readFile(OUTPUT) == *expected, "the container");
  if (!expected) return false;
  if (secPolicy_dn[slot].data() != nullptr)
    return buildDn(plain::newPolicyDn, createNewSecPolicyDN, secPolicy_dn, slot, entry);
  require(createNewSecPolicyDN(slot) == 0 && secPolicy_dn[slot].data() == nullptr,
          "without a policy there is nothing to build");
  return true;
}

static bool buildGroup(int32_t slot) {
  return buildDn(plain::newGroupDn, createNewSecGroupDN, secGroup_dn, slot, rowLines(secGroupMatrix, slot));
}

// Returns false when the run has ended.
static bool gatherAll(const std::string& text) {
  for (plain::Entry entry = plain::readEntry(text, 0); !entry.lines.empty();
       entry = plain::readEntry(text, entry.end)) {
    checkText(entry.lines[0]);
    outcomeOf([&] { fillObject(entry.lines); });
    determineTheObjectsObjectClass();
    if (objectClass < SECUSER_OBJECTCLASS || objectClass > SECMAP_OBJECTCLASS) continue;
    if (!gather(entry.lines)) return false;
  }
  return true;
}

// Switches: 1 tracing, 2 a changetype was seen; the next two bits and the two behind them are slots beyond one. With 64
// the rows are released.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const FuzzInput input = unpack(data, size, LARGEST_TEXT);
  beginRun();
  if ((input.switches & 1) != 0) startTrace();
  changetypeSeen = (input.switches >> 1) & 1;
  max_number_of_secuser_slots = 1 + ((input.switches >> 2) & 3);
  max_number_of_secgroup_slots = 1 + ((input.switches >> 4) & 3);
  outcomeOf([] {
    allocateObjectCache();
    initializeAllArrays();
  });
  beginRows();
  if (!gatherAll(input.text)) return 0;
  if ((input.switches & 64) != 0) {
    releaseRows();
    return 0;
  }
  for (int32_t slot = 0; slot < next_available_secUser_dn_slot; ++slot)
    if (!buildUser(slot)) return 0;
  for (int32_t slot = 0; slot < next_available_secGroup_dn_slot; ++slot)
    if (!buildGroup(slot)) return 0;
  return 0;
}
