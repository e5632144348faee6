// Owners and names against the plain rules: the entries of the input are gathered in the slots of their owners, and
// then the new DNs of all slots are built.
#include "cache/cache_slots.h"
#include "cache/object_cache.h"
#include "cache/owner_association.h"
#include "fuzz_support.h"
#include "ldif/letter_case.h"
#include "ldif/line_memory.h"
#include "ldif/line_reader.h"
#include "ldif/object_buffer.h"
#include "ldif/object_class.h"
#include "ldif/text.h"
#include "output/add_entry_writers.h"
#include "output/new_dn.h"
#include "plain_rules.h"
#include "reporting/run_state.h"

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
  const auto changed = [&line](auto change) {
    std::string buffer = line + '\0' + std::string(2, 'x');
    change(buffer.data());
    return std::string(buffer.c_str());
  };
  require(changed(commaSpaceEater) == plain::withoutBlanksAtCommas(line), "blanks around commas go");
  require(changed(trim) == plain::trimmed(line), "trailing white space goes");
  require(changed(blankLine) == plain::blanked(line), "a line is blanked");
  require(changed(strtolower) == plain::lowered(line), "a line is folded");
  require(changed(cutAtLineEnd) == plain::upTo(line, "\r\n"), "a line is cut at its end");
  require(changed(cutAtComma) == plain::upTo(line, ","), "a line is cut at its comma");
  require(isBlankLine(line.c_str()) == plain::isBlank(line), "a blank line");
  for (const char* text : {"secAuthority", "cn=Users", "cn=Policies,secAuthority="}) {
    const char* place = dostristr(line.c_str(), text);
    require((place == nullptr ? std::string::npos : static_cast<size_t>(place - line.c_str())) ==
                plain::findInAnyCase(line, text),
            "a text is found in any case");
  }
}

// The side of an entry: how its owner is found, and what slots there are.
struct Side {
  plain::Owner (*ownerOf)(const Lines& entry, int32_t objectClass);
  int32_t (*learnSlot)();
  bool (*isShutOut)(uint32_t ownerHash);
  char*** dns;
  const char* savedDn;
  int32_t* nextSlot;
  int32_t* count;
  const int32_t* limit;
};

static constexpr Side userSide = {
    plain::ownerOnUserSide, learnIndexOfAssociatedSecUserDN, isUserShutOut,     &secUser_dn,
    saved_secUser_dn,       &next_available_secUser_dn_slot, &secUser_dn_count, &max_number_of_secuser_slots};
static constexpr Side groupSide = {
    plain::ownerOnGroupSide, learnIndexOfAssociatedSecGroupDN, isGroupShutOut,     &secGroup_dn,
    saved_secGroup_dn,       &next_available_secGroup_dn_slot, &secGroup_dn_count, &max_number_of_secgroup_slots};

static int32_t slotOf(const Side& side, const std::string& key) {
  for (int32_t slot = 0; slot < *side.nextSlot; ++slot)
    if (plain::lowered((*side.dns)[slot]) == plain::lowered(key)) return slot;
  return NO_SLOT;
}

// Moves the entry into the slot's row of its class, where that is free. Returns false when that has ended the run.
static bool moveIntoSlot(int32_t slot, bool isUsers) {
  const CacheMatrix* matrix = nullptr;
  void (*move)(int32_t) = nullptr;
  switch (objectClass) {
    case SECUSER_OBJECTCLASS:
      matrix = isUsers ? &usersSecUserMatrix : &secUserMatrix;
      move = isUsers ? moveUsersSecUserObjectFromObjectArrayToUsersSecUserMatrix
                     : moveSecUserObjectFromObjectArrayToSecUserMatrix;
      break;
    case SECPOLICY_OBJECTCLASS:
      matrix = &secPolicyMatrix;
      move = moveSecPolicyObjectFromObjectArrayToSecPolicyMatrix;
      break;
    case SECGROUP_OBJECTCLASS:
      matrix = &secGroupMatrix;
      move = moveSecGroupObjectFromObjectArrayToSecGroupMatrix;
      break;
    default:
      return true;
  }
  if (rowOf(*matrix, slot)[0] != nullptr) return true;
  const auto room = static_cast<int64_t>(*matrix->rows - slot) * matrix->columns;
  const bool fits = next_available_object_slot <= room;
  const uint32_t outcome = outcomeOf([&] {
    if (objectClass == SECPOLICY_OBJECTCLASS) copySecPolicyDNFromObjectArrayToSecPolicyDNArray(slot);
    move(slot);
  });
  require(outcome == (fits ? 0 : ROW_ALREADY_OCCUPIED), "an entry fits into its row and those behind it, or not");
  return fits;
}

// Finds the entry's owner, opens a slot for it where there is none, and moves the entry there. Returns false when the
// run has ended, as it has to.
static bool gather(const Lines& lines) {
  const bool isMap = objectClass == SECMAP_OBJECTCLASS;
  const bool isOfGroup = objectClass == SECGROUP_OBJECTCLASS || (isMap && !isMapOfUser());
  const bool isUsers = objectClass == SECUSER_OBJECTCLASS && isUsersObject();
  const Side& side = isOfGroup ? groupSide : userSide;
  const std::optional<plain::Owner> owner = unlessStopped([&] { return side.ownerOf(lines, objectClass); });
  int32_t slot = NO_SLOT;
  const uint32_t outcome = outcomeOf([&] { slot = side.learnSlot(); });
  require(outcome == codeOf(owner.has_value()), "an entry names its owner, or the run ends");
  if (!owner) return false;
  require(side.savedDn == owner->savedDn, "the owner's DN");
  require(object[0] == owner->firstLine, "the line 0 of which the owner was learnt");
  require(slot == slotOf(side, owner->key), "the owner's slot");
  const bool hasPlace = slot != NO_SLOT || *side.nextSlot < *side.limit;
  if (hasPlace) require(!side.isShutOut(hashOfLastOwner), "an owner that has a place is not shut out");
  if (!hasPlace) return true;
  if (slot == NO_SLOT) {
    slot = *side.nextSlot;
    outcomeOf([&] { (*side.dns)[slot] = copyLine(side.savedDn, ""); });
    ++*side.nextSlot;
    ++*side.count;
  }
  return moveIntoSlot(slot, isUsers);
}

static Lines rowLines(const CacheMatrix& matrix, int32_t slot) {
  Lines lines;
  for (char** cell = rowOf(matrix, slot); *cell != nullptr; ++cell) lines.push_back(*cell);
  return lines;
}

// Builds the new DN in place of the old one. Returns false when there is none to be had.
static bool buildDn(std::optional<std::string> (*rule)(const std::string&, const Lines&), int32_t (*build)(int32_t),
                    char** dns, int32_t slot, const Lines& entry) {
  const std::string before = dns[slot];
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
  const auto expected = unlessStopped([&] { return plain::policyContainer(secUser_dn[slot], changetypeSeen == 1); });
  constexpr char OUTPUT[] = "output";
  const uint32_t outcome = outcomeOf([&] {
    ofp = openToCreate(OUTPUT);
    writePolicyContainerAddToOutputFile(slot);
    closeStream(ofp);
  });
  require(outcome == codeOf(expected.has_value()), "a container is written, or the run ends");
  if (expected) require(readFile(OUTPUT) == *expected, "the container");
  if (!expected) return false;
  if (secPolicy_dn[slot] != nullptr)
    return buildDn(plain::newPolicyDn, createNewSecPolicyDN, secPolicy_dn, slot, entry);
  require(createNewSecPolicyDN(slot) == 0 && secPolicy_dn[slot] == nullptr,
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

// Switches: 1 tracing, 2 a changetype was seen; the next two bits and the two behind them are slots beyond one.
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
  if (!gatherAll(input.text)) return 0;
  for (int32_t slot = 0; slot < next_available_secUser_dn_slot; ++slot)
    if (!buildUser(slot)) return 0;
  for (int32_t slot = 0; slot < next_available_secGroup_dn_slot; ++slot)
    if (!buildGroup(slot)) return 0;
  return 0;
}
