#include "driver/pass_plan.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <random>

#include "cache/cache_slots.h"
#include "cache/owner_association.h"
#include "driver/pass.h"
#include "ldif/line_reader.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "test_support.h"
#include "workfile/notes.h"
#include "workfile/work_file.h"
#include "workfile/work_text.h"

namespace {

std::string user(const std::string& name) { return "dn: secAuthority=D,cn=" + name + "\nobjectClass: secUser\n\n"; }
std::string policy(const std::string& name) {
  return "dn: cn=P,secAuthority=D,cn=" + name + "\nobjectClass: secPolicy\n\n";
}
std::string mapOfUser(const std::string& name) {
  return "dn: cn=m,cn=Users,secAuthority=D\nobjectClass: secMap\nsecDN: cn=" + name + "\n\n";
}
std::string group(const std::string& name) { return "dn: secAuthority=D,cn=" + name + "\nobjectClass: secGroup\n\n"; }
std::string mapOfGroup(const std::string& name) {
  return "dn: cn=m,cn=Groups,secAuthority=D\nobjectClass: secMap\nsecDN: cn=" + name + "\n\n";
}
constexpr char CREDENTIALS[] = "dn: cn=r\nobjectClass: secResCreds\n\n";
constexpr char POLICY_WITHOUT_OWNER[] = "dn: cn=P\nobjectClass: secPolicy\n\n";
constexpr char UNKNOWN_ENTRY[] = "dn: o=a\nobjectClass: top\n\n";

using Numbers = std::vector<uint32_t>;

class PassPlan : public FreshRun {
 protected:
  static void note(const std::string& workFileText, int32_t userSlots, int32_t groupSlots) {
    buildCache(userSlots, groupSlots);
    writeWorkFile(workFileText);
    noteWorkFile();
    ASSERT_TRUE(areNotesComplete);
  }
  static Numbers nextPass() {
    const std::span<const uint32_t> numbers = notesOfNextPass();
    return {numbers.begin(), numbers.end()};
  }
};

struct PlanCase {
  const char* name;
  std::string workFile;
  int32_t userSlots;
  int32_t groupSlots;
  std::vector<Numbers> passes;  // the numbers of the entries that each gathers
};
class Plan : public PassPlan, public testing::WithParamInterface<PlanCase> {};
const PlanCase planCases[] = {
    {"AnEmptyFileNeedsNoPass", "", 1, 1, {}},
    {"OwnersComeInTheOrderInWhichTheirEntriesShowThem",
     mapOfUser("c") + user("a") + user("b") + policy("a") + user("c"),
     1,
     1,
     {{0, 4}, {1, 3}, {2}}},
    {"APassGathersAsManyOwnersAsItHasSlots",
     user("a") + user("b") + user("c") + user("d") + user("e"),
     2,
     1,
     {{0, 1}, {2, 3}, {4}}},
    {"EntriesOfAnOwnerComeInTheOrderOfTheFile",
     user("a") + user("b") + policy("b") + mapOfUser("a") + policy("a") + mapOfUser("b"),
     1,
     1,
     {{0, 3, 4}, {1, 2, 5}}},
    {"TheSidesCountApart",
     user("a") + group("a") + mapOfGroup("b") + user("b") + group("b") + user("c") + mapOfGroup("a"),
     1,
     2,
     {{0, 1, 2, 4, 6}, {3}, {5}}},
    {"ASideWithFewSlotsNeedsMorePasses",
     user("a") + group("g") + user("b") + group("h") + group("i"),
     2,
     1,
     {{0, 1, 2}, {3}, {4}}},
    {"LetterCaseTellsNoOwnersApart", user("a") + user("b") + policy("A"), 1, 1, {{0, 2}, {1}}},
    {"BlanksAtTheEndTellNoOwnersApart", user("a  ") + user("b") + policy("a"), 1, 1, {{0, 2}, {1}}},
    {"BlanksBesideCommasTellUsersNotApartButGroups",
     user("a") + "dn: secAuthority=D, cn=a\nobjectClass: secUser\n\n" + group("g") +
         "dn: secAuthority=D, cn=g\nobjectClass: secGroup\n\n",
     1,
     1,
     {{0, 1, 2}, {3}}},
    {"AnEntryWithoutAnOwnerComesInTheFirstPass",
     user("a") + user("b") + POLICY_WITHOUT_OWNER + user("c"),
     1,
     1,
     {{0, 2}, {1}, {3}}},
    {"AnEntryOfNoClassComesInTheFirstPass", user("a") + user("b") + UNKNOWN_ENTRY, 1, 1, {{0, 2}, {1}}},
    {"ResourceCredentialsAreNotGathered", CREDENTIALS + user("a") + CREDENTIALS, 1, 1, {{1}}},
};
INSTANTIATE_CASES(Plan, planCases);
TEST_P(Plan, SaysWhatEachPassGathers) {
  note(GetParam().workFile, GetParam().userSlots, GetParam().groupSlots);
  ASSERT_TRUE(planPasses());
  for (const Numbers& pass : GetParam().passes) {
    EXPECT_TRUE(planPasses());  // it stays the same
    EXPECT_EQ(nextPass(), pass);
  }
  EXPECT_EQ(nextPass(), Numbers{});
}

TEST_F(PassPlan, IsMadeAnewOfWhatIsLeftOnceItIsRejected) {
  note(user("a") + user("b") + policy("b") + user("c") + policy("a"), 1, 1);
  ASSERT_TRUE(planPasses());
  EXPECT_EQ(nextPass(), (Numbers{0, 4}));
  notes[0].isTaken = notes[1].isTaken = 1;
  rejectPlan();
  ASSERT_TRUE(planPasses());
  EXPECT_EQ(nextPass(), Numbers{2});
  EXPECT_EQ(nextPass(), Numbers{3});
  EXPECT_EQ(nextPass(), Numbers{4});
  EXPECT_EQ(nextPass(), Numbers{});
}

TEST_F(PassPlan, GivesEachOwnerASlot) {
  note(user("a") + user("b") + user("c") + group("g") + policy("b") + group("h"), 2, 1);
  ASSERT_TRUE(planPasses());
  const int32_t slots[] = {0, 1, 0, 0, 1, 0};
  for (size_t i = 0; i < std::size(slots); i++) EXPECT_EQ(plannedSlotOf(notes[i]), slots[i]) << i;
  const bool areFirst[] = {true, true, true, true, false, true};
  for (size_t i = 0; i < std::size(areFirst); i++) EXPECT_EQ(notes[i].isFirst, areFirst[i] ? 1 : 0) << i;
}

TEST_F(PassPlan, KnowsWhatIsLeft) {
  note(user("a") + CREDENTIALS + user("b"), 1, 1);
  ASSERT_TRUE(planPasses());
  EXPECT_TRUE(isAnyEntryLeft());
  EXPECT_TRUE(isAnyEntryToBeGathered());
  notes[0].isTaken = 1;
  EXPECT_TRUE(isAnyEntryToBeGathered());
  notes[2].isTaken = 1;
  EXPECT_TRUE(isAnyEntryLeft());
  EXPECT_FALSE(isAnyEntryToBeGathered());
  notes[1].isTaken = 1;
  EXPECT_FALSE(isAnyEntryLeft());
}

TEST_F(PassPlan, IsMadeForManyOwners) {
  constexpr int32_t OWNERS = 5000;
  std::string file;
  for (int32_t i = 0; i < OWNERS; i++) file += user(std::to_string(i));
  for (int32_t i = 0; i < OWNERS; i++) file += policy(std::to_string(i));
  note(file, 1000, 1);
  ASSERT_TRUE(planPasses());
  for (uint32_t pass = 0; pass < 5; pass++) {
    Numbers expected;
    for (uint32_t i = 0; i < 1000; i++) expected.push_back(pass * 1000 + i);
    for (uint32_t i = 0; i < 1000; i++) expected.push_back(OWNERS + pass * 1000 + i);
    ASSERT_EQ(nextPass(), expected);
  }
  EXPECT_EQ(nextPass(), Numbers{});
}

// The file is read then, and so has to be as it would be without notes.
TEST_F(PassPlan, IsGivenUpWithTheNotesWithoutRoom) {
  const std::string taken = user("a");
  note(taken + user("b"), 1, 1);
  ASSERT_TRUE(mapWorkFile());
  notes[0].isTaken = 1;
  failNextMapping();
  EXPECT_FALSE(planPasses());
  EXPECT_FALSE(areNotesComplete);
  EXPECT_EQ(workText(0, 1).data(), nullptr);
  const std::string left = readFile("input.tmp");
  EXPECT_EQ(left.substr(0, taken.size()).find_first_not_of(" \r\n"), std::string::npos);
  EXPECT_EQ(left.substr(taken.size()), user("b"));
}

// The two ways of walking the work file, side by side. Each is a process of its own, as it may end in a failure.
class TwoWalks : public FreshRun {
 protected:
  struct Outcome {
    int status = 0;
    std::string gathered;  // what the cache held after each pass, and what was said
    std::string messages;
    std::string workFile;
  };
  static constexpr int32_t MOST_PASSES = 40;

  static Outcome outcomeOf(const std::string& workFileText, int32_t userSlots, int32_t groupSlots, bool isPlanned) {
    writeFile("input.tmp", workFileText);
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
      atexit(closeAllStreams);
      for (const auto& [name, descriptor] : {std::pair{"gathered", STDOUT_FILENO}, {"messages", STDERR_FILENO}}) {
        const int file = open(name, O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600);
        dup2(file, descriptor);
        close(file);
      }
      buildCache(userSlots, groupSlots);
      holdWorkFile();
      makePassesAndShow(isPlanned);
      fflush(stdout);
      _exit(0);
    }
    Outcome outcome;
    waitpid(child, &outcome.status, 0);
    outcome.gathered = readFile("gathered");
    outcome.messages = readFile("messages");
    outcome.workFile = readFile("input.tmp");
    return outcome;
  }

  static void makePassesAndShow(bool isPlanned) {
    if (isPlanned) {
      noteWorkFile();
      if (!areNotesComplete || !mapWorkFile()) _exit(99);
      stepBeforeFailure = settleWorkFile;
    }
    atLeastOneObjectProcessed = 1;
    for (int32_t pass = 0; atLeastOneObjectProcessed == 1 && pass < MOST_PASSES; pass++) {
      atLeastOneObjectProcessed = 0;
      isPassAnnounced = false;
      ++runCounts.passes;
      if (!reopenWorkFile()) _exit(98);
      if (isPlanned && !planPasses()) _exit(97);
      isPlanned ? walkPlannedEntries() : walkWorkFile();
      requireUnchangedWorkFile();
      closeWorkFile();
      showCache();
      emptyCache();
    }
    if (isPlanned) settleWorkFile();
  }

  static void showCache() {
    printf("%d %d %d %d %d %ld %ld %d\n", next_available_secUser_dn_slot, secUser_dn_count,
           next_available_secGroup_dn_slot, secGroup_dn_count, atLeastOneObjectProcessed,
           static_cast<long>(runCounts.bytesGathered), static_cast<long>(runCounts.policyData), changetypeSeen);
    showDns("user", secUser_dn, next_available_secUser_dn_slot);
    showDns("policy", secPolicy_dn, next_available_secUser_dn_slot);
    showDns("group", secGroup_dn, next_available_secGroup_dn_slot);
    for (const CacheMatrix* matrix : allMatrices) {
      printf("%s: %d\n", matrix->name, *matrix->occupied);
      for (int32_t slot = 0; slot < *sideOf(*matrix).limit; slot++) {
        printf("[%d] ", slot);
        for (const std::string& line : rowLines(*matrix, slot)) printf("<%s>", line.c_str());
        printf("%.*s\n", SHOWN(firstLineOfRow(*matrix, slot)));
      }
    }
  }
  static void showDns(const char* name, const std::string_view* dns, int32_t slots) {
    for (int32_t slot = 0; slot < slots; slot++) printf("%s %s\n", name, shown(dns[slot]).c_str());
  }

  // As the flush does, whatever is missing.
  static void emptyCache() {
    for (int32_t slot = 0; slot < next_available_secUser_dn_slot; slot++) {
      freeSecUserDN(slot);
      freeSecUser(slot);
      freeUsersSecUser(slot);
      freeSecPolicyData(slot);
      freeSecMapForSecUser(slot);
      freeSecPolicyDN(slot);
      freeSecPolicy(slot);
    }
    for (int32_t slot = 0; slot < next_available_secGroup_dn_slot; slot++) {
      freeSecGroupDN(slot);
      freeSecGroup(slot);
      freeSecMapForSecGroup(slot);
    }
    next_available_secUser_dn_slot = next_available_secGroup_dn_slot = secUser_dn_count = secGroup_dn_count = 0;
    gatheredTexts.release();
    forgetOwnersOfPass();
  }

  // Returns what both came to; the planned one if they differ.
  static Outcome expectSame(const std::string& workFileText, int32_t userSlots, int32_t groupSlots) {
    const Outcome read = outcomeOf(workFileText, userSlots, groupSlots, false);
    const Outcome planned = outcomeOf(workFileText, userSlots, groupSlots, true);
    EXPECT_EQ(planned.status, read.status);
    EXPECT_EQ(planned.gathered, read.gathered);
    EXPECT_EQ(planned.messages, read.messages);
    EXPECT_EQ(planned.workFile, read.workFile);
    return planned;
  }
  static bool hasSucceeded(const Outcome& outcome) {
    return WIFEXITED(outcome.status) && WEXITSTATUS(outcome.status) == 0;
  }
  static size_t passesOf(const Outcome& outcome) {
    size_t passes = 0;
    const std::string mark = "\nsecUser_matrix: ";
    for (size_t at = outcome.gathered.find(mark); at != std::string::npos; at = outcome.gathered.find(mark, at + 1)) {
      passes++;
    }
    return passes;
  }
};

struct WalkCase {
  const char* name;
  std::string workFile;
  int32_t userSlots;
  int32_t groupSlots;
  size_t passes;         // 0 for a run that fails
  const char* messages;  // which of it must be said
};
class TwoWalksOfAFile : public TwoWalks, public testing::WithParamInterface<WalkCase> {};
const WalkCase walkCases[] = {
    {"OneUser", user("a") + mapOfUser("a"), 1, 1, 2, ""},
    {"DoubledEntryAtAnOpenGate", user("a") + user("a"), 2, 1, 0, "ERROR"},
    // The second entry comes when the gate of its kind is closed, and so opens a slot of its own in the next pass.
    {"DoubledEntryAtAClosedGate", user("a") + user("a") + user("b") + policy("a") + policy("b"), 1, 1, 4, ""},
    {"DoubledEntryBehindTheOthers", user("a") + user("b") + user("c") + user("a") + policy("c"), 1, 1, 5, ""},
    {"DoubledEntryOfAGroup", group("g") + user("a") + group("g") + user("b") + mapOfGroup("g"), 1, 1, 3, ""},
    {"SidesWithDifferentLimits", user("a") + user("b") + group("g") + group("h") + user("c") + mapOfGroup("h"), 3, 1, 3,
     ""},
    {"SidesWithDifferentLimitsTheOtherWay", group("g") + group("h") + user("a") + user("b") + mapOfGroup("h"), 1, 2, 3,
     ""},
    // The blanks stay in the DN of the slot, where the other entries do not find it.
    {"BlanksThatHideASlot", user("a  ") + policy("a") + mapOfUser("a") + user("b"), 1, 1, 4, ""},
    {"BlanksThatHideASlotFromOneOfThree", policy("a ") + user("a") + user("b"), 3, 1, 2, ""},
    {"EntryWithoutAnOwner", user("a") + user("b") + POLICY_WITHOUT_OWNER, 1, 1, 0, "ERROR"},
    {"EntryWithoutAnOwnerAtAClosedGate", policy("a") + POLICY_WITHOUT_OWNER + user("a"), 1, 1, 0, "ERROR"},
    {"EntryOfNoClass", user("a") + UNKNOWN_ENTRY, 1, 1, 0, "ERROR"},
    {"CommentAtTheEnd", user("a") + "# comment\n", 1, 1, 2, ""},
    {"ResourceCredentialsAlone", CREDENTIALS, 1, 1, 1, ""},
    {"ResourceCredentialsBetween", CREDENTIALS + user("a") + CREDENTIALS + user("b"), 1, 1, 3, ""},
};
INSTANTIATE_CASES(TwoWalksOfAFile, walkCases);
TEST_P(TwoWalksOfAFile, GatherTheSame) {
  const Outcome outcome = expectSame(GetParam().workFile, GetParam().userSlots, GetParam().groupSlots);
  EXPECT_EQ(hasSucceeded(outcome), GetParam().passes != 0);
  if (GetParam().passes != 0) {
    EXPECT_EQ(passesOf(outcome), GetParam().passes);
  }
  EXPECT_NE(outcome.messages.find(GetParam().messages), std::string::npos);
}

// Small work files with much that is unusual in them.
class AnyWorkFile {
 public:
  explicit AnyWorkFile(uint32_t seed) : numbers(seed) {}

  std::string make() {
    std::vector<std::string> entries;
    const bool isStrange = isOneIn(3);  // and perhaps ends in a failure
    const size_t users = 1 + below(6);
    const size_t groups = below(5);
    for (size_t i = 0; i < users; i++) addEntriesOfUser(entries, std::string(1, static_cast<char>('a' + i)), isStrange);
    for (size_t i = 0; i < groups; i++)
      addEntriesOfGroup(entries, std::string(1, static_cast<char>('g' + i)), isStrange);
    while (isOneIn(3)) entries.push_back(CREDENTIALS);
    if (isStrange && isOneIn(6)) entries.push_back(POLICY_WITHOUT_OWNER);
    if (isStrange && isOneIn(6)) entries.push_back("dn: cn=m,cn=Users\nobjectClass: secMap\n\n");
    if (isStrange && isOneIn(12)) entries.push_back(UNKNOWN_ENTRY);
    if (isOneIn(4)) {
      std::shuffle(entries.begin(), entries.end(), numbers);
    } else {
      for (size_t i = 0; i + 1 < entries.size(); i++)
        if (isOneIn(4)) std::swap(entries[i], entries[i + 1]);
    }
    std::string file;
    for (const std::string& entry : entries) file += blankLines() + entry;
    if (isOneIn(4)) file.pop_back();  // the end of the file ends the last entry
    return file;
  }

 private:
  size_t below(size_t limit) { return numbers() % limit; }
  bool isOneIn(size_t many) { return below(many) == 0; }

  std::string blankLines() {
    static const char* const blanks[] = {"", "", "", "\n", "   \n", "\r\n", "        \r\n   \r\n\n"};
    return blanks[below(std::size(blanks))];
  }

  std::string spelled(const std::string& dn) {
    static const char* const ends[] = {"", "", "", "", "", "", " ", " \t "};
    std::string spelling;
    for (const char character : dn) {
      const bool isComma = character == ',' && isOneIn(12);
      spelling += isComma ? " , " : std::string(1, isOneIn(30) ? static_cast<char>(toupper(character)) : character);
    }
    return spelling + ends[below(std::size(ends))];
  }

  // An entry of about as many lines as a row has, now and then.
  std::string entry(const std::string& dn, const std::string& objectClassName, const std::string& lines) {
    std::string text = isOneIn(12) ? "# comment\n" : "";
    text += "dn: " + spelled(dn) + "\n" + (isOneIn(15) ? "# changetype: add\n" : "") +
            "objectClass: " + objectClassName + "\n" + lines;
    size_t count = 2 + static_cast<size_t>(std::count(lines.begin(), lines.end(), '\n'));
    const size_t width = objectClassName == "secPolicy" ? 500 : 50;
    const size_t length = isOneIn(width == 50 ? 8 : 12) ? width - 2 + below(5) : below(6);
    for (; count < length; count++) text += std::to_string(count) + ": x\n";
    if (isOneIn(10)) text += "# comment\n";
    if (isOneIn(20)) text += repeated(4094 + below(3), "x") + "\n";
    if (isOneIn(20)) text += "changetype: add\n";
    return text + "\n";
  }

  void add(std::vector<std::string>& entries, size_t missing, const std::string& text, bool isStrange) {
    if (isOneIn(missing)) return;
    entries.push_back(text);
    if (isStrange && isOneIn(8)) entries.push_back(text);
  }

  void addEntriesOfUser(std::vector<std::string>& entries, const std::string& name, bool isStrange) {
    const std::string owner = "secAuthority=D,cn=" + name + ",o=x";
    const std::string inUsers = "cn=" + name + ",o=x";
    add(entries, 12, entry(owner, "secUser", "principalName: " + name + "\n"), isStrange);
    add(entries, 8, entry("cn=m,cn=Users,secAuthority=D", "secMap", "secDN: " + spelled(inUsers) + "\n"), isStrange);
    add(entries, 2,
        entry("principalName=" + name + ",cn=Users,secAuthority=D", "secUser",
              "secAuthority: D\nsecDN: " + spelled(inUsers) + "\n"),
        isStrange);
    add(entries, 2, entry("cn=P," + owner, "secPolicy", ""), isStrange);
    add(entries, 2, entry("cn=D," + owner, "secPolicyData", ""), isStrange);
  }

  void addEntriesOfGroup(std::vector<std::string>& entries, const std::string& name, bool isStrange) {
    const std::string owner = "secAuthority=D,cn=" + name + ",o=x";
    add(entries, 12, entry(owner, "secGroup", "cn: " + name + "\n"), isStrange);
    add(entries, 8, entry("cn=m,cn=Groups,secAuthority=D", "secMap", "secDN: " + spelled("cn=" + name + ",o=x") + "\n"),
        isStrange);
  }

  std::mt19937 numbers;
};

TEST_F(TwoWalks, GatherTheSameOfAnyFile) {
  int succeeded = 0;
  int failed = 0;
  size_t mostPasses = 0;
  for (uint32_t seed = 1; seed <= 150 && !HasFailure(); seed++) {
    const std::string file = AnyWorkFile(seed).make();
    if (file.empty()) continue;
    std::mt19937 numbers(seed);
    for (int32_t slots = 1; slots <= 4 && !HasFailure(); slots++) {
      const int32_t groupSlots = numbers() % 2 == 0 ? slots : 1 + static_cast<int32_t>(numbers() % 4);
      SCOPED_TRACE("seed " + std::to_string(seed) + ", slots " + std::to_string(slots) + " and " +
                   std::to_string(groupSlots));
      const Outcome outcome = expectSame(file, slots, groupSlots);
      ++(hasSucceeded(outcome) ? succeeded : failed);
      if (hasSucceeded(outcome)) mostPasses = std::max(mostPasses, passesOf(outcome));
    }
  }
  EXPECT_GE(succeeded, 100);
  EXPECT_GE(failed, 30);
  EXPECT_GE(mostPasses, 6u);
}

}  // namespace
