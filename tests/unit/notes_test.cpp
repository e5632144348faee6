#include "workfile/notes.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <random>

#include "ldif/line_reader.h"
#include "ldif/object_buffer.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "rules/dn_hash.h"
#include "rules/text.h"
#include "test_support.h"
#include "workfile/preparation_pass.h"
#include "workfile/work_file.h"
#include "workfile/work_file_cursor.h"
#include "workfile/work_text.h"

namespace {

constexpr char USER[] = "dn: secAuthority=D,cn=a\nobjectClass: secUser\n\n";
constexpr char GROUP[] = "dn: secAuthority=D,cn=g\nobjectClass: secGroup\n\n";

class Notes : public FreshRun {
 protected:
  static void noteFile(const std::string& workFileText) {
    writeWorkFile(workFileText);
    noteWorkFile();
  }
};

struct KindCase {
  const char* name;
  std::string entry;
  EntryKind kind;
  const char* owner;  // null when it cannot be told
};
class NoteOfAnEntry : public Notes, public testing::WithParamInterface<KindCase> {};
const KindCase kindCases[] = {
    {"User", USER, SECUSER_KIND, "secAuthority=D,cn=a\n"},
    {"UsersEntry",
     "dn: principalName=a,cn=Users,secAuthority=D\nobjectClass: secUser\nsecAuthority: D\nsecDN: cn=a\n\n",
     USERS_SECUSER_KIND, "secAuthority=D,cn=a\n"},
    {"UsersEntryWithoutOwner", "dn: principalName=a,cn=Users,secAuthority=D\nobjectClass: secUser\n\n",
     USERS_SECUSER_KIND, nullptr},
    {"Policy", "dn: cn=P,secAuthority=D,cn=a\nobjectClass: secPolicy\n\n", SECPOLICY_KIND, "secAuthority=D,cn=a\n"},
    {"PolicyWithoutOwner", "dn: cn=P\nobjectClass: secPolicy\n\n", SECPOLICY_KIND, nullptr},
    {"PolicyData", "dn: cn=D,secAuthority=D,cn=a\nobjectClass: secPolicyData\n\n", SECPOLICYDATA_KIND,
     "secAuthority=D,cn=a\n"},
    {"MapOfAUser", "dn: cn=m,cn=Users,secAuthority=D\nobjectClass: secMap\nsecDN: cn=a\n\n", MAP_OF_USER_KIND,
     "secAuthority=D,cn=a\n"},
    {"MapOfAGroup", "dn: cn=m,cn=Groups,secAuthority=D\nobjectClass: secMap\nsecDN: cn=g\n\n", MAP_OF_GROUP_KIND,
     "secAuthority=D,cn=g\n"},
    {"Group", GROUP, SECGROUP_KIND, "secAuthority=D,cn=g\n"},
    {"ResourceCredentials", "dn: cn=a\nobjectClass: secResCreds\n\n", RESCREDS_KIND, nullptr},
    {"ContainerOfResourceCredentials", "dn: cn=ResCreds\nobjectClass: container\n\n", RESCREDS_KIND, nullptr},
    {"EntryOfNoClass", "dn: cn=a\nobjectClass: top\n\n", UNKNOWN_KIND, nullptr},
};
INSTANTIATE_CASES(NoteOfAnEntry, kindCases);
TEST_P(NoteOfAnEntry, SaysItsKindItsOwnerAndItsPlace) {
  noteFile("\n" + GetParam().entry + USER);
  ASSERT_TRUE(areNotesComplete);
  ASSERT_EQ(noteCount, 2u);
  EXPECT_EQ(notes[0].start, 1u);
  EXPECT_EQ(notes[0].length, GetParam().entry.size() - 1);
  EXPECT_EQ(notes[0].terminator, 1u);
  EXPECT_EQ(notes[0].kind, GetParam().kind);
  EXPECT_EQ(notes[0].isTaken, 0);
  EXPECT_EQ(notes[0].hasOwner, GetParam().owner != nullptr ? 1 : 0);
  if (GetParam().owner != nullptr) {
    EXPECT_EQ(notes[0].ownerHash, hashOfDn(GetParam().owner));
  }
  EXPECT_EQ(notes[1].start, 1 + GetParam().entry.size());
}

struct LinesCase {
  const char* name;
  int lines;
  uint32_t noted;
};
class NoteOfLines : public Notes, public testing::WithParamInterface<LinesCase> {};
const LinesCase linesCases[] = {
    {"Two", 2, 2},
    {"AsManyAsCanBeNoted", 510, 510},
    {"OneMore", 511, MANY_LINES},
    {"TwoMore", 512, MANY_LINES},
    {"VeryMany", 1025, MANY_LINES},
};
INSTANTIATE_CASES(NoteOfLines, linesCases);
TEST_P(NoteOfLines, SaysHowManyThereAre) {
  noteFile("dn: secAuthority=D,cn=a\n" + repeated(static_cast<size_t>(GetParam().lines) - 1, "a: b\n") + "\n");
  ASSERT_EQ(noteCount, 1u);
  EXPECT_EQ(notes[0].lines, GetParam().noted);
}

TEST_F(Notes, SayWhetherThereAreComments) {
  noteFile(std::string("# one\n") + USER + "dn: cn=b\n#two\n\n" + GROUP);
  ASSERT_EQ(noteCount, 3u);
  EXPECT_EQ(notes[0].hasComments, 1u);
  EXPECT_EQ(notes[1].hasComments, 1u);
  EXPECT_EQ(notes[2].hasComments, 0u);
}

struct OddCase {
  const char* name;
  std::string workFile;
};
class OddWorkFile : public Notes, public testing::WithParamInterface<OddCase> {};
const OddCase oddCases[] = {
    {"WithANul", std::string(USER) + "dn: cn=b" + std::string(1, '\0') + "c\n\n"},
    {"WithACommentOfItsOwn", std::string(USER) + "# comment\n\n" + GROUP},
    {"ThatEndsWithinALine", std::string(USER) + "dn: cn=b"},
    {"WithAnEntryThatFillsTheBuffer", USER + repeated(250'000, "a\n") + "\n"},
    {"WithALongBlankLineBehindAnEntry", "dn: cn=b\n" + std::string(20, ' ') + "\n"},
};
INSTANTIATE_CASES(OddWorkFile, oddCases);
TEST_P(OddWorkFile, IsNotNoted) {
  noteFile(GetParam().workFile);
  EXPECT_FALSE(areNotesComplete);
  EXPECT_EQ(noteCount, 0u);
  EXPECT_EQ(notes, nullptr);
  EXPECT_EQ(tifp, nullptr);
  EXPECT_EQ(next_available_object_slot, 0);
}

TEST_F(Notes, AreThereOfAnEmptyFile) {
  noteFile("   \n\r\n");
  EXPECT_TRUE(areNotesComplete);
  EXPECT_EQ(noteCount, 0u);
}

TEST_F(Notes, AreThereOfAFileThatEndsBehindALine) {
  noteFile("dn: secAuthority=D,cn=a\nobjectClass: secUser\n");
  ASSERT_TRUE(areNotesComplete);
  ASSERT_EQ(noteCount, 1u);
  EXPECT_EQ(notes[0].terminator, 0u);
}

TEST_F(Notes, LeaveACommentAtTheEndOfTheFileOut) {
  noteFile(std::string(USER) + "# comment\n");
  EXPECT_TRUE(areNotesComplete);
  EXPECT_EQ(noteCount, 1u);
}

TEST_F(Notes, AreThereOfManyEntries) {
  constexpr uint32_t ENTRIES = 300'000;  // seven megabytes of notes
  noteFile(repeated(ENTRIES, "dn: b\n\n"));
  ASSERT_TRUE(areNotesComplete);
  ASSERT_EQ(noteCount, ENTRIES);
  for (uint32_t i = 0; i < ENTRIES; i++) ASSERT_EQ(notes[i].start, i * 7u);
}

TEST_F(Notes, AreGivenUpWithoutRoom) {
  failNextMapping();
  noteFile(USER);
  EXPECT_FALSE(areNotesComplete);
  EXPECT_EQ(noteCount, 0u);
}

TEST_F(Notes, AreGivenUpWhenTheWorkFileCannotBeRead) {
  snprintf(temp_input_ldif_filename, FILE_NAME_SIZE, "%s", UNREADABLE_FILE);
  holdWorkFile();
  noteWorkFile();
  EXPECT_FALSE(areNotesComplete);
}

TEST_F(Notes, AreGivenUpWhenTheWorkFileIsGone) {
  writeWorkFile(USER);
  unlink("input.tmp");
  noteWorkFile();
  EXPECT_FALSE(areNotesComplete);
}

TEST_F(Notes, SeeAChangetype) {
  noteFile(std::string(USER) + "dn: cn=b\nchangetype: add\n\n");
  EXPECT_EQ(changetypeSeen, 1);
}

TEST_F(Notes, AreForgotten) {
  noteFile(USER);
  loadNotedObject(notes[0]);
  forgetNotes();
  EXPECT_FALSE(areNotesComplete);
  EXPECT_EQ(notes, nullptr);
  EXPECT_EQ(noteCount, 0u);
  EXPECT_EQ(notedObject, nullptr);
}

// From memory and from the disk.
TEST_F(Notes, LeadToTheLinesOfTheirEntries) {
  const std::string longLine = repeated(4095, "x");
  noteFile(std::string(USER) + "# comment\ndn: cn=b\n# comment\n" + longLine + "yz\r\n  \r\n");
  ASSERT_EQ(noteCount, 2u);
  for (const bool isMapped : {false, true}) {
    ASSERT_TRUE(!isMapped || mapWorkFile());
    loadNotedObject(notes[1]);
    EXPECT_EQ(objectLines(), (Lines{"dn: cn=b\n", longLine, "yz\r\n"}));
    EXPECT_EQ(isInWorkText(object[0].view()), isMapped);
    EXPECT_EQ(notedObject, &notes[1]);
    loadNotedObject(notes[0]);
    EXPECT_EQ(objectLines(), (Lines{"dn: secAuthority=D,cn=a\n", "objectClass: secUser\n"}));
  }
}

TEST_F(Notes, EndTheRunWhenTheirEntryCannotBeReadAnyMore) {
  noteFile(USER);
  ASSERT_EQ(truncate("input.tmp", 10), 0);
  EXPECT_EXIT(loadNotedObject(notes[0]), testing::ExitedWithCode(255),
              failureMessage(OBJECT_NOT_READ, "something else has changed it"));
}

// What the preparation pass notes while it writes, and what is noted of the same work file by reading it.
std::vector<Note> notesTaken() { return {notes, notes + noteCount}; }

void expectSameNotes(const std::vector<Note>& written, const std::vector<Note>& read) {
  ASSERT_EQ(written.size(), read.size());
  for (size_t i = 0; i < written.size(); i++) {
    SCOPED_TRACE("entry " + std::to_string(i));
    EXPECT_EQ(written[i].start, read[i].start);
    EXPECT_EQ(written[i].length, read[i].length);
    EXPECT_EQ(written[i].terminator, read[i].terminator);
    EXPECT_EQ(written[i].kind, read[i].kind);
    EXPECT_EQ(written[i].hasOwner, read[i].hasOwner);
    EXPECT_EQ(written[i].ownerHash, read[i].ownerHash);
    EXPECT_EQ(memcmp(&written[i], &read[i], sizeof(Note)), 0);
  }
}

class NotesOfThePreparation : public Notes {
 protected:
  static void prepare(const std::string& input) {
    writeFile("input", input);
    holdInput();
    holdOutput();
    holdEarlierWorkFile();
    runCounts.bytesOfEarlierWorkFile = sizeOfEarlierWorkFile();
    ASSERT_EQ(copyOriginalInputFileToTempInputFile(), 0);
  }
  // Returns whether there were any.
  static bool expectNotesAsRead(const std::string& input) {
    prepare(input);
    const bool wereComplete = areNotesComplete;
    const std::vector<Note> written = notesTaken();
    const int32_t wasChangetypeSeen = changetypeSeen;
    forgetNotes();
    if (!wereComplete) return false;
    changetypeSeen = 0;
    noteWorkFile();
    EXPECT_TRUE(areNotesComplete);
    EXPECT_EQ(changetypeSeen, wasChangetypeSeen);
    expectSameNotes(written, notesTaken());
    return !written.empty();
  }
};

struct InputCase {
  const char* name;
  std::string input;
};
class NotesOfAnInput : public NotesOfThePreparation, public testing::WithParamInterface<InputCase> {};
const InputCase inputCases[] = {
    {"Plain", std::string(USER).insert(45, "secAuthority: D\nprincipalName: p\n") + GROUP},
    {"FoldedDn", "dn: secAuthority=D,\n cn=g\nobjectClass: secGroup\n\n"},
    {"FoldedLine", "dn: cn=g\nobjectClass: secGroup\ncn: g\n g\n\n"},
    {"CarriageReturns", "dn: cn=g\r\nobjectClass: secGroup\r\n\r\n\r\ndn: cn=h\r\nobjectClass: secGroup\r\n"},
    {"CarriageReturnWithinALine", "dn: cn=g\nobjectClass: secGroup\nb: a\rc\n\n"},
    {"Comments", "# c\ndn: cn=g\n# c\nobjectClass: secGroup\n# c\n\n"},
    {"LineOf4094", "dn: cn=g\nobjectClass: secGroup\n" + repeated(4094, "x") + "\n\n"},
    {"LineOf4096InTwoLines",
     "dn: cn=g\nobjectClass: secGroup\n" + repeated(4000, "x") + "\n " + repeated(96, "y") + "\nb: 1\n\n"},
    {"LineOf8191InTwoLines",
     "dn: cn=g\nobjectClass: secGroup\n" + repeated(4000, "x") + "\n " + repeated(4190, "y") + "\nb: 1\n\n"},
    {"ChangetypeOfAGroup", "dn: cn=g\nchangetype: add\nobjectClass: secGroup\n\n"},
    {"BlanksInASecDn", "dn: cn=m,secAuthority=D\nobjectClass: secMap\nsecdn: cn=a , o=b\n\n"},
    {"BlanksInADn", "dn: secAuthority=D , cn=g  \nobjectClass: secGroup\n\n"},
};
INSTANTIATE_CASES(NotesOfAnInput, inputCases);
TEST_P(NotesOfAnInput, AreAsTheyAreRead) { EXPECT_TRUE(expectNotesAsRead(GetParam().input)); }

// Where the lines as they are written do not read as the same entry, the preparation does not note it.
struct ApartCase {
  const char* name;
  std::string lines;
};
class NotesThatAreLeftOut : public NotesOfThePreparation, public testing::WithParamInterface<ApartCase> {};
const ApartCase apartCases[] = {
    {"LineOf4095Characters", repeated(4095, "x") + "\n"},
    {"LineOf4095CharactersInTwoLines", repeated(4000, "x") + "\n " + repeated(95, "y") + "\n"},
    {"BlanksBehind4095Characters", repeated(4000, "x") + "\n " + repeated(95, "y") + "\n " + repeated(50, " ") + "\n"},
    {"CommentBehind4095Characters", repeated(4000, "x") + "\n " + repeated(95, "y") + "\n #\n"},
    {"CarriageReturnAlone", "b: 1\n\rc: 2\n"},
};
INSTANTIATE_CASES(NotesThatAreLeftOut, apartCases);
TEST_P(NotesThatAreLeftOut, WouldNotBeThoseOfTheEntryAsItReads) {
  prepare("dn: cn=g\nobjectClass: secGroup\n" + GetParam().lines + "\n");
  EXPECT_FALSE(areNotesComplete);
}

TEST_F(NotesOfThePreparation, AreNotTakenWhileTracing) {
  startTrace();
  prepare(GROUP);
  EXPECT_FALSE(areNotesComplete);
}

TEST_F(NotesOfThePreparation, AreNotTakenBehindAnEarlierWorkFile) {
  writeFile("input.tmp", USER);
  prepare(GROUP);
  EXPECT_FALSE(areNotesComplete);
}

TEST_F(NotesOfThePreparation, AreTakenBehindAnEarlierWorkFileThatIsEmpty) {
  writeFile("input.tmp", "");
  prepare(GROUP);
  EXPECT_TRUE(areNotesComplete);
  EXPECT_EQ(noteCount, 1u);
}

// Small inputs of entries that go to the work file, with lines in all ways in which they can be written.
class AnyInput {
 public:
  explicit AnyInput(uint32_t seed) : numbers(seed) {}

  std::string make() {
    std::string input;
    for (size_t entries = 1 + below(5); entries > 0; entries--)
      input += entry() + lineEnd() + (isOneIn(4) ? "\r\n" : "");
    if (isOneIn(6)) input.pop_back();
    return input;
  }

 private:
  size_t below(size_t limit) { return numbers() % limit; }
  bool isOneIn(size_t many) { return below(many) == 0; }
  std::string lineEnd() { return isOneIn(4) ? "\r\n" : "\n"; }

  // The line with its line end, folded now and then.
  std::string line(const std::string& text) {
    std::string folded;
    size_t pieces = isOneIn(4) ? 1 + below(3) : 0;
    size_t begin = 0;
    for (; pieces > 0 && begin + 2 < text.size(); pieces--) {
      const size_t end = begin + 1 + below(text.size() - begin - 1);
      if (text.find_first_not_of(' ', begin) >= end || text.find_first_not_of(' ', end) == std::string::npos) continue;
      folded += text.substr(begin, end - begin) + lineEnd() + (isOneIn(6) ? "# comment\n" : "") + " ";
      begin = end;
    }
    folded += text.substr(begin) + lineEnd();
    return holdsBlankLine(folded) ? text + "\n" : folded;
  }

  // As it is read: what is longer than a line can be is several.
  static bool holdsBlankLine(const std::string& text) {
    for (size_t begin = 0; begin < text.size();) {
      const std::string piece = text.substr(begin, LONGEST_LINE);
      const std::string next = piece.substr(0, std::min(piece.find('\n'), piece.size() - 1) + 1);
      if (isBlankLine(next)) return true;
      begin += next.size();
    }
    return false;
  }

  std::string oddLine() {
    switch (below(8)) {
      case 0:
        return line("b: " + repeated(4094 + below(4099) - 3, "x"));
      case 1:
        return line("b: " + repeated(4090 + below(8), "x") + "# no comment");
      case 2:
        return "b: 1\r2\n";
      case 3:
        return "b: 1\r\r\n";
      case 4:
        return "# comment\n";
      case 5:
        return "changetype: add" + lineEnd();
      case 6:
        return line("b: " + repeated(4000 + below(200), "x") + repeated(below(300), " ") + "y");
      default:
        return line("secDN: cn=a , o=b");
    }
  }

  std::string entry() {
    struct Kind {
      const char* dn;
      const char* objectClass;
      const char* lines;
    };
    static const Kind kinds[] = {
        {"secAuthority=D,cn=a", "secUser", "secAuthority: D\nprincipalName: a\n"},
        {"principalName=a,cn=Users,secAuthority=D", "secUser", "secAuthority: D\nprincipalName: a\nsecDN: cn=a\n"},
        {"cn=P , secAuthority=D,cn=a ", "secPolicy", ""},
        {"cn=D,secAuthority=D, cn=a", "secPolicyData", ""},
        {"cn=m,cn=Users,secAuthority=D", "secMap", "secDN: cn=a , o=x\n"},
        {"cn=m,cn=Groups", "secMap", "secDN: cn=a\n"},
        {"secAuthority=D, cn=g  ", "secGroup", "cn: g\n"},
        {"cn=r", "secResCreds", ""},
    };
    const Kind& kind = kinds[below(std::size(kinds))];
    std::string text = (isOneIn(5) ? "# comment\n" : "") + line("dn: " + std::string(kind.dn)) + kind.lines;
    // What ends the entry before its class must not leave a user behind who has no name.
    if (isOneIn(3) && strcmp(kind.objectClass, "secUser") != 0) text += oddLine();
    text += line("objectClass: " + std::string(kind.objectClass));
    while (isOneIn(2)) text += oddLine();
    return text;
  }

  std::mt19937 numbers;
};

TEST_F(NotesOfThePreparation, AreAsTheyAreReadOfAnyInput) {
  constexpr uint32_t INPUTS = 1000;
  uint32_t compared = 0;
  for (uint32_t seed = 1; seed <= INPUTS && !HasFailure(); seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    TearDown();
    SetUp();
    if (expectNotesAsRead(AnyInput(seed).make())) compared++;
  }
  EXPECT_GE(compared, INPUTS / 4);
}

// Blanking out that is put off leaves what blanking out at once leaves.
class BlankingPutOff : public Notes {
 protected:
  // With the entries taken whose bit is set.
  static std::string blankedAtOnce(const std::string& workFileText, uint32_t taken) {
    writeWorkFile(workFileText);
    EXPECT_TRUE(reopenWorkFile());
    for (uint32_t i = 0; getNextObjectFromTemporaryInputLDIFFile(tifp) == 0 || next_available_object_slot > 0; i++) {
      if ((taken >> i & 1U) != 0)
        EXPECT_EQ(deleteNextObjectFromTemporaryInputLDIFFile(tifp), 0);
      else
        EXPECT_EQ(stepOverNextObjectFromTemporaryInputLDIFFile(tifp), 0);
    }
    closeWorkFile();
    return readFile("input.tmp");
  }
  static std::string blankedAtTheEnd(const std::string& workFileText, uint32_t taken, bool isMapped) {
    noteFile(workFileText);
    EXPECT_TRUE(areNotesComplete);
    EXPECT_TRUE(!isMapped || mapWorkFile());
    for (uint32_t i = 0; i < noteCount; i++) {
      loadNotedObject(notes[i]);
      if ((taken >> i & 1U) != 0) {
        EXPECT_EQ(deleteNextObjectFromTemporaryInputLDIFFile(nullptr), 0);
      }
    }
    EXPECT_EQ(readFile("input.tmp"), workFileText);
    EXPECT_EQ(settleWorkFile(), nullptr);
    EXPECT_EQ(messageDetails.hint, NO_DETAIL);
    return readFile("input.tmp");
  }
};

const std::string oddWorkFile = "  \r\n" + std::string(USER) + "# c\ndn: cn=b\n# d\r\nx\n" + repeated(4094, "x") +
                                "\n   \n\n\r\n" + GROUP + "dn: cn=c\n" + repeated(4095, "x") + "y\n\ndn: cn=d\r\n" +
                                repeated(8190, "x") + "z\r\nb: a\rb\n\n" + "dn: cn=e\n";

TEST_F(BlankingPutOff, LeavesWhatBlankingAtOnceLeaves) {
  constexpr uint32_t ALL = 1U << 6U;
  for (uint32_t taken = 0; taken < ALL; taken++) {
    SCOPED_TRACE(taken);
    const std::string atOnce = blankedAtOnce(oddWorkFile, taken);
    EXPECT_EQ(atOnce == oddWorkFile, taken == 0);
    EXPECT_EQ(blankedAtTheEnd(oddWorkFile, taken, taken % 2 == 0), atOnce);
    TearDown();
    SetUp();
  }
}

TEST_F(BlankingPutOff, LeavesTheReasonOfTheFailureAlone) {
  noteFile(USER);
  notes[0].isTaken = 1;
  strcpy(messageReason, "reason");
  EXPECT_EQ(settleWorkFile(), nullptr);
  EXPECT_STREQ(messageReason, "reason");
}

TEST_F(BlankingPutOff, IsHintedAtWhenItFails) {
  noteFile(USER);
  notes[0].isTaken = 1;
  strcpy(messageReason, "reason");
  EXPECT_EXIT(
      (limitFileSize(0), settleWorkFile(),
       _exit(messageDetails.hint == GATHERED_ENTRIES_NOT_BLANKED && strcmp(messageReason, "reason") == 0 ? 0 : 1)),
      testing::ExitedWithCode(0), "^$");
  EXPECT_EQ(readFile("input.tmp"), USER);
}

TEST_F(BlankingPutOff, IsLeftUndoneInAFileThatSomethingElseHasCut) {
  noteFile(repeated(1000, USER));
  notes[0].isTaken = 1;
  const auto isRefused = [] {
    const bool isLost = truncate("input.tmp", 0) == 0;
    const char* const unreadable = settleWorkFile();
    return isLost && unreadable != nullptr && strcmp(unreadable, "input.tmp") == 0 &&
           strcmp(messageReason, "something else has changed it") == 0;
  };
  EXPECT_EXIT(_exit(isRefused() ? 0 : 1), testing::ExitedWithCode(0), "^$");
  EXPECT_EQ(readFile("input.tmp"), "");
}

TEST_F(BlankingPutOff, NeedsNoMemory) {
  noteFile(std::string(USER) + GROUP);
  notes[0].isTaken = notes[1].isTaken = 1;
  EXPECT_EXIT((failNextAllocation(), failNextReallocation(), _exit(settleWorkFile() == nullptr ? 0 : 1)),
              testing::ExitedWithCode(0), "^$");
  EXPECT_EQ(readFile("input.tmp").find_first_not_of(" \r\n"), std::string::npos);
}

TEST_F(BlankingPutOff, IsDoneWhenTheNotesAreGivenUp) {
  noteFile(std::string(USER) + GROUP);
  ASSERT_TRUE(mapWorkFile());
  notes[0].isTaken = 1;
  giveUpNotes();
  EXPECT_FALSE(areNotesComplete);
  EXPECT_EQ(noteCount, 0u);
  EXPECT_EQ(workText(0, 1).data(), nullptr);
  const std::string left = readFile("input.tmp");
  EXPECT_EQ(left.find_first_not_of(" \r\n"), strlen(USER));
  EXPECT_EQ(left.substr(strlen(USER)), GROUP);
}

TEST_F(BlankingPutOff, EndsTheRunWhenTheNotesAreGivenUpAndItFails) {
  noteFile(repeated(1000, USER));
  notes[999].isTaken = 1;
  EXPECT_EXIT((limitFileSize(0x8000), giveUpNotes()), testing::ExitedWithCode(255),
              failureMessage(WRITE_FAILED, "input.tmp.*: File too large"));
}

}  // namespace
