#include "cache/cache_slots.h"

#include <algorithm>
#include <iterator>
#include <random>

#include "ldif/object_buffer.h"
#include "platform/message_details.h"
#include "test_support.h"
#include "workfile/notes.h"
#include "workfile/work_text.h"

namespace {

struct RowCase {
  const char* name;  // of the table
  const CacheMatrix* matrix;
  void (*move)(int32_t slot);
  void (*release)(int32_t slot);
  std::string moveName;
  std::string occupied;  // what follows the name in the line for an occupied row
};
class MatrixRow : public FreshRun, public testing::WithParamInterface<RowCase> {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    buildCache(3, 3);
  }
  static Lines entryOf(int32_t lines) {
    Lines entry = {"dn: a\n"};
    while (static_cast<int32_t>(entry.size()) < lines) entry.push_back("b: " + std::to_string(entry.size()) + "\n");
    return entry;
  }
  static void moveEntry(const Lines& lines, int32_t slot) {
    fillObject(lines);
    GetParam().move(slot);
  }
  static Lines row(int32_t slot) { return rowLines(*GetParam().matrix, slot); }
  static int32_t occupied() { return *GetParam().matrix->occupied; }
  static int32_t width() { return GetParam().matrix->columns; }
};

const RowCase rowCases[] = {
    {"secUser_matrix", &secUserMatrix, moveSecUserObjectFromObjectArrayToSecUserMatrix, freeSecUser,
     "moveSecUserObjectFromObjectArrayToSecUserMatrix", "():  Destination slot is already occupied.  EXITING.\n"},
    {"Users_secUser_matrix", &usersSecUserMatrix, moveUsersSecUserObjectFromObjectArrayToUsersSecUserMatrix,
     freeUsersSecUser, "moveUsersSecUserObjectFromObjectArrayToUsersSecUserMatrix",
     "():  Destination slot is already occupied.  EXITING. \n"},
    {"secPolicyData_matrix", &secPolicyDataMatrix, moveSecPolicyDataObjectFromObjectArrayToSecPolicyDataMatrix,
     freeSecPolicyData, "moveSecPolicyDataObjectFromObjectArrayToSecPolicyDataMatrix",
     "():  Destination slot is already occupied.  EXITING. \n"},
    {"secPolicy_matrix", &secPolicyMatrix, moveSecPolicyObjectFromObjectArrayToSecPolicyMatrix, freeSecPolicy,
     "moveSecPolicyObjectFromObjectArrayToSecPolicyMatrix", "():  Destination slot is already occupied.  EXITING. \n"},
    {"secMap_for_secUser_matrix", &secMapForSecUserMatrix,
     moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix, freeSecMapForSecUser,
     "moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix",
     "():  Destination slot is already occupied.  EXITING. \n"},
    {"secGroup_matrix", &secGroupMatrix, moveSecGroupObjectFromObjectArrayToSecGroupMatrix, freeSecGroup,
     "moveSecGroupObjectFromObjectArrayToSecGroupMatrix", "():  Destination slot is already occupied.  EXITING. \n"},
    {"secMap_for_secGroup_matrix", &secMapForSecGroupMatrix,
     moveSecMapForSecGroupObjectFromObjectArrayToSecMapForSecGroupMatrix, freeSecMapForSecGroup,
     "moveSecMapForSecGroupObjectFromObjectArrayToSecMapForSecGroupMatrix",
     "():  Destination slot is already occupied.  EXITING. \n"},
};
INSTANTIATE_CASES(MatrixRow, rowCases);

TEST_P(MatrixRow, TakesTheLinesOfTheEntryOver) {
  moveEntry({"dn: a\n", "b: 1\n"}, 1);
  EXPECT_EQ(next_available_object_slot, 0);
  fillObject({"dn: another\n", "in: its place\n"});
  EXPECT_EQ(row(0), Lines{});
  EXPECT_EQ(row(1), (Lines{"dn: a\n", "b: 1\n"}));
  EXPECT_EQ(row(2), Lines{});
  EXPECT_EQ(occupied(), 1);
}

TEST_P(MatrixRow, KeepsTheLinesApartThatHaveNoLineEnd) {
  const Lines lines = {"dn: a", repeated(4095, "x"), repeated(4095, "y"), "b: 1", "c: 2\n", "d: 3"};
  moveEntry(lines, 0);
  EXPECT_EQ(row(0), lines);
}

TEST_P(MatrixRow, TakesOneEntryOnly) {
  moveEntry({"dn: first\n", "b: 1\n"}, 1);
  fillObject({"dn: second\n"});
  startTrace();
  EXPECT_FAILURE((echoToFile(), GetParam().move(1)), ROW_ALREADY_OCCUPIED);
  const std::string line = GetParam().moveName + GetParam().occupied;
  EXPECT_EQ(traced(), GetParam().moveName + "():  FUNCTION ENTRY \n" + line);
  EXPECT_EQ(echoed(), line + GetParam().name + " = dn: first\n\n");
}

TEST_P(MatrixRow, TracesTheMove) {
  startTrace();
  moveEntry({"dn: a\n"}, 0);
  expectTraced({GetParam().moveName + "():  FUNCTION ENTRY \n", GetParam().moveName + "():  FUNCTION EXIT \n"});
}

TEST_P(MatrixRow, IsFreedAndCountedDown) {
  moveEntry(entryOf(3), 0);
  moveEntry(entryOf(2), 1);
  GetParam().release(0);
  EXPECT_EQ(row(0), Lines{});
  EXPECT_EQ(row(1), entryOf(2));
  EXPECT_EQ(occupied(), 1);
}

TEST_P(MatrixRow, IsNotCountedDownWhenEmpty) {
  moveEntry(entryOf(2), 1);
  GetParam().release(0);
  EXPECT_EQ(row(1), entryOf(2));
  EXPECT_EQ(occupied(), 1);
}

// What is said of slot 1 when it lacks the entry of the table.
class RowThatIsMissing : public MatrixRow {
 protected:
  void SetUp() override {
    MatrixRow::SetUp();
    openUserSlot("a\n");
    openUserSlot("b\n");
    openGroupSlot("a\n");
    openGroupSlot("b\n");
  }
  static DetailText complaint(int32_t slot, const CacheMatrix& missing, const CacheMatrix* present) {
    complainOfMissingEntry(USER_WITHOUT_MAP, slot, missing, present);
    return messageDetails.sentence;
  }
  static const CacheMatrix& ofTable() { return *GetParam().matrix; }
  static const CacheMatrix& ofAnother() { return &ofTable() == &secUserMatrix ? secPolicyMatrix : secUserMatrix; }
};
INSTANTIATE_CASES(RowThatIsMissing, rowCases);

TEST_P(RowThatIsMissing, HasGoneWithALongerEntryOfTheSlotBefore) {
  moveEntry(entryOf(width()), 0);
  moveEntry(entryOf(2), 1);
  GetParam().release(0);
  EXPECT_EQ(complaint(1, ofTable(), &ofAnother()), ROW_OVERRUN);
  EXPECT_EQ(messageDetails.values[0].text, "dn: a\n");
  EXPECT_EQ(messageDetails.values[1].number, width() - 1);
  EXPECT_EQ(complaint(2, ofTable(), nullptr), USER_WITHOUT_MAP);
  EXPECT_EQ(complaint(1, ofAnother(), nullptr), USER_WITHOUT_MAP);
  EXPECT_EQ(complaint(2, ofAnother(), &ofTable()), ROW_OVERRUN);  // which came late, for want of room
  forgetOverruns();
  EXPECT_EQ(complaint(1, ofTable(), nullptr), USER_WITHOUT_MAP);
}

TEST_P(RowThatIsMissing, IsNobodysFaultBehindAFullRow) {
  moveEntry(entryOf(width()), 0);
  GetParam().release(0);
  EXPECT_EQ(complaint(1, ofTable(), nullptr), USER_WITHOUT_MAP);
  EXPECT_EQ(complaint(1, ofAnother(), &ofTable()), USER_WITHOUT_MAP);
}

TEST_P(RowThatIsMissing, IsNobodysFaultInASlotThatWasFree) {
  freeSecUserDN(1);
  freeSecGroupDN(1);
  moveEntry(entryOf(width() + 1), 0);
  GetParam().release(0);
  EXPECT_EQ(complaint(1, ofTable(), nullptr), USER_WITHOUT_MAP);
}

TEST_P(MatrixRow, IsFreedOnIntoTheNextWhenFull) {
  moveEntry(entryOf(width()), 0);
  moveEntry(entryOf(2), 1);
  GetParam().release(0);
  EXPECT_EQ(row(1), Lines{});
  EXPECT_EQ(occupied(), 1);
  GetParam().release(1);
  EXPECT_EQ(occupied(), 1);
}

TEST_P(MatrixRow, RunsOnIntoTheNextWhenTooLong) {
  moveEntry(entryOf(width() + 2), 0);
  EXPECT_EQ(row(0), entryOf(width() + 2));
  EXPECT_EQ(row(1).size(), 2u);
  EXPECT_EQ(occupied(), 1);
  fillObject({"dn: b\n"});
  EXPECT_FAILURE(GetParam().move(1), ROW_ALREADY_OCCUPIED);
}

TEST_P(MatrixRow, TakesAnEntryUnseenUnlessItWouldBeFull) {
  std::string text;
  for (const std::string& line : entryOf(width())) text += line;
  const auto length = static_cast<uint32_t>(text.size());
  EXPECT_FALSE(placeUnseen(*GetParam().matrix, 0, {text.data(), length, static_cast<int16_t>(width()), false}));
  EXPECT_EQ(row(0), Lines{});
  EXPECT_EQ(occupied(), 0);
  const auto shorter = static_cast<uint32_t>(text.size() - entryOf(width()).back().size());
  EXPECT_TRUE(placeUnseen(*GetParam().matrix, 0, {text.data(), shorter, static_cast<int16_t>(width() - 1), false}));
  EXPECT_EQ(row(0), entryOf(width() - 1));
  EXPECT_EQ(occupied(), 1);
}

TEST_P(MatrixRow, TakesNoSecondEntryUnseen) {
  moveEntry({"dn: a\n"}, 1);
  EXPECT_FALSE(placeUnseen(*GetParam().matrix, 1, {"dn: b\n", 6, 1, false}));
  EXPECT_EQ(row(1), Lines{"dn: a\n"});
  EXPECT_EQ(occupied(), 1);
}

// An entry in slot 0 around the width of its row, and one of three lines in the row behind it that came before.
struct WidthCase {
  int32_t over;       // lines that the entry has more than the row
  size_t nextKept;    // lines that the next row keeps of those it had, its last ones
  bool takesItAlong;  // the row, and its release, go on in the next one
};
const WidthCase widthCases[] = {{-2, 3, false}, {-1, 3, false}, {0, 3, true}, {1, 2, true}, {2, 1, true}, {3, 0, true}};

TEST_P(MatrixRow, GoesOnInTheNextFromItsWidthOn) {
  const Lines next = {"dn: next\n", "n: 1\n", "n: 2\n"};
  for (const WidthCase& widthCase : widthCases) {
    SCOPED_TRACE(widthCase.over);
    buildCache(3, 3);
    moveEntry(next, 1);
    const Lines entry = entryOf(width() + widthCase.over);
    moveEntry(entry, 0);

    const Lines kept(next.end() - static_cast<ptrdiff_t>(widthCase.nextKept), next.end());
    Lines nextRow(entry.begin() + std::min<ptrdiff_t>(width(), std::ssize(entry)), entry.end());
    nextRow.insert(nextRow.end(), kept.begin(), kept.end());
    Lines whole = entry;
    if (widthCase.takesItAlong) whole.insert(whole.end(), kept.begin(), kept.end());
    EXPECT_EQ(row(0), whole);
    EXPECT_EQ(row(1), nextRow);
    EXPECT_EQ(occupied(), 2);

    GetParam().release(0);
    EXPECT_EQ(row(0), Lines{});
    EXPECT_EQ(row(1), widthCase.takesItAlong ? Lines{} : next);
    EXPECT_EQ(occupied(), 1);
    GetParam().release(1);
    EXPECT_EQ(row(1), Lines{});
    EXPECT_EQ(occupied(), widthCase.takesItAlong ? 1 : 0);
  }
}

TEST_P(MatrixRow, RunsOnIntoTheRowsBehindTheNext) {
  moveEntry({"dn: last\n", "n: 1\n", "n: 2\n"}, 2);
  const Lines entry = entryOf(2 * width() + 1);
  moveEntry(entry, 0);
  Lines whole = entry;
  whole.insert(whole.end(), {"n: 1\n", "n: 2\n"});
  EXPECT_EQ(row(0), whole);
  EXPECT_EQ(row(1), Lines(whole.begin() + width(), whole.end()));
  EXPECT_EQ(row(2), (Lines{entry.back(), "n: 1\n", "n: 2\n"}));
  GetParam().release(0);
  EXPECT_EQ(row(2), Lines{});
  EXPECT_EQ(occupied(), 1);
}

TEST_P(MatrixRow, IsReleasedWithTheRestOfTheEntryBefore) {
  moveEntry(entryOf(width() + 2), 0);
  GetParam().release(1);
  EXPECT_EQ(row(0), entryOf(width()));
  EXPECT_EQ(occupied(), 0);
}

TEST_P(MatrixRow, OfTheLastSlotHoldsItsWidth) {
  moveEntry(entryOf(width()), 2);
  EXPECT_EQ(row(2), entryOf(width()));
  GetParam().release(2);
  EXPECT_EQ(occupied(), 0);
}

TEST_P(MatrixRow, OfTheLastSlotCannotRunOn) {
  fillObject(entryOf(width() + 1));
  startTrace();
  EXPECT_FAILURE((echoToFile(), GetParam().move(2)), ROW_ALREADY_OCCUPIED);
  const std::string error =
      GetParam().moveName + "():  ERROR:  The entry runs past the end of " + GetParam().name + ".  EXITING. \n";
  EXPECT_EQ(traced(), GetParam().moveName + "():  FUNCTION ENTRY \n" + error);
  EXPECT_EQ(echoed(), error);
}

TEST_P(MatrixRow, CannotRunPastTheLastSlot) {
  moveEntry(entryOf(3 * width()), 0);
  EXPECT_EQ(row(0), entryOf(3 * width()));
  buildCache(3, 3);
  fillObject(entryOf(3 * width() + 1));
  EXPECT_EXIT(GetParam().move(0), testing::ExitedWithCode(255),
              failureMessage(ROW_ALREADY_OCCUPIED, std::to_string(width() - 1) + " lines"));
}

TEST_P(MatrixRow, GetsTheRowsThatItNeedsWhenItRunsOn) {
  buildCache(200, 200);
  moveEntry(entryOf(width() + 2), 63);
  EXPECT_EQ(row(63), entryOf(width() + 2));
  EXPECT_EQ(row(64).size(), 2u);
  moveEntry({"dn: b\n"}, 65);
  EXPECT_EQ(row(65), Lines{"dn: b\n"});
  EXPECT_EQ(row(63), entryOf(width() + 2));
}

// The table as it would be if every line had a cell of its own: an entry takes the cells from the first of its row on,
// and ends before the first empty one.
class Cells {
 public:
  Cells(int32_t slots, int32_t columns)
      : width(static_cast<size_t>(columns)), cells(width * static_cast<size_t>(slots)) {}

  bool isFree(int32_t slot) const { return cells[firstOf(slot)].empty(); }
  bool hasRoomFor(int32_t slot, size_t lines) const { return firstOf(slot) + lines <= cells.size(); }
  void move(int32_t slot, const Lines& entry) { std::copy(entry.begin(), entry.end(), cells.begin() + placeOf(slot)); }
  void release(int32_t slot) {
    for (size_t cell = firstOf(slot); cell < cells.size() && !cells[cell].empty(); cell++) cells[cell].clear();
  }
  Lines row(int32_t slot) const {
    const auto end = std::find(cells.begin() + placeOf(slot), cells.end(), "");
    return {cells.begin() + placeOf(slot), end};
  }

 private:
  size_t firstOf(int32_t slot) const { return static_cast<size_t>(slot) * width; }
  ptrdiff_t placeOf(int32_t slot) const { return static_cast<ptrdiff_t>(firstOf(slot)); }

  size_t width;
  Lines cells;
};

constexpr int32_t FEW_SLOTS = 4;

class RowAmongOthers : public MatrixRow {
 protected:
  // Around the width of a row, or twice the width, or short.
  int32_t anyLength() {
    const int32_t around[] = {2, width(), width(), 2 * width()};
    return std::max(1, around[numbers() % 4] - 2 + static_cast<int32_t>(numbers() % 5));
  }
  int32_t anySlot() { return static_cast<int32_t>(numbers() % FEW_SLOTS); }
  void expectRows(const Cells& cells, int32_t entries) {
    for (int32_t slot = 0; slot < FEW_SLOTS; slot++) ASSERT_EQ(row(slot), cells.row(slot)) << "slot " << slot;
    ASSERT_EQ(occupied(), entries);
  }
  // Moves entries in and releases them; what is moved in next is asked for.
  void moveAndRelease(const std::function<Lines()>& nextEntry) {
    Cells cells(FEW_SLOTS, width());
    int32_t entries = 0;
    for (int step = 0; step < 12 && !HasFatalFailure(); step++) {
      const int32_t slot = anySlot();
      if (numbers() % 4 == 0) {
        if (!cells.isFree(slot)) --entries;
        GetParam().release(slot);
        cells.release(slot);
      } else {
        const Lines entry = nextEntry();
        if (!cells.isFree(slot) || !cells.hasRoomFor(slot, entry.size())) continue;
        GetParam().move(slot);
        cells.move(slot, entry);
        ++entries;
      }
      expectRows(cells, entries);
    }
  }
  std::mt19937 numbers;
};
INSTANTIATE_CASES(RowAmongOthers, rowCases);

TEST_P(RowAmongOthers, HoldsWhatCellsWouldHold) {
  for (int round = 0; round < 20 && !HasFatalFailure(); round++) {
    SCOPED_TRACE(round);
    buildCache(FEW_SLOTS, FEW_SLOTS);
    moveAndRelease([&] {
      Lines entry = {"dn: " + std::to_string(numbers()) + "\n"};
      const auto length = static_cast<size_t>(anyLength());
      while (entry.size() < length) {
        const auto kind = numbers() % 20;
        entry.push_back(kind == 0 ? repeated(4095, "x") : std::to_string(entry.size()) + (kind == 1 ? "" : ": x\n"));
      }
      fillObject(entry);
      return entry;
    });
  }
}

// Their lines stand in the file in memory, with comments between them; some first lines have been changed.
TEST_P(RowAmongOthers, HoldsWhatCellsWouldHoldOfAWorkFile) {
  for (int round = 0; round < 20 && !HasFatalFailure(); round++) {
    SCOPED_TRACE(round);
    TearDown();
    SetUp();
    buildCache(FEW_SLOTS, FEW_SLOTS);
    std::string file;
    std::vector<Lines> entries;
    for (int number = 0; number < 12; number++) {
      Lines entry = {"dn: " + std::to_string(number) + "\n"};
      file += entry[0];
      const auto length = static_cast<size_t>(anyLength());
      while (entry.size() < length) {
        if (numbers() % 8 == 0) file += "# comment\n";
        entry.push_back(numbers() % 20 == 0 ? repeated(4095, "x") : std::to_string(entry.size()) + ": x\n");
        file += entry.back();
      }
      if (!entry.back().ends_with('\n')) {
        entry.push_back("z\n");
        file += "z\n";
      }
      file += "\n";
      entries.push_back(entry);
    }
    writeWorkFile(file);
    noteWorkFile();
    ASSERT_EQ(noteCount, entries.size());
    ASSERT_TRUE(mapWorkFile());
    uint32_t next = 0;
    moveAndRelease([&] {
      loadNotedObject(notes[next]);
      Lines entry = entries[next++];
      if (numbers() % 4 == 0) {
        entry[0] = "dn: changed\n";
        setLineOfObject(0, entry[0]);
      }
      return entry;
    });
  }
}

class CacheSlots : public FreshRun {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    buildCache(2, 2);
  }
};

TEST_F(CacheSlots, TraceTheMapOfAUserOnceMoved) {
  fillObject({"dn: a\n", "b: 1\n"});
  startTrace();
  moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix(1);
  const std::string name = "moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix():  ";
  EXPECT_EQ(traced(), name + "FUNCTION ENTRY \n" + name + "The secMap object moved is: \n" +
                          "secMap_for_secUser_matrix[1][0] = dn: a\n secMap_for_secUser_matrix[1][1] = b: 1\n " + name +
                          "FUNCTION EXIT \n");
}

TEST_F(CacheSlots, ReleaseTheirDns) {
  openUserSlot("a\n");
  openGroupSlot("b\n");
  setDn(secPolicy_dn, 0, "c\n");
  for (int i = 0; i < 2; i++) {
    freeSecUserDN(0);
    freeSecGroupDN(0);
    freeSecPolicyDN(0);
    EXPECT_EQ(secUser_dn[0].data(), nullptr);
    EXPECT_EQ(secGroup_dn[0].data(), nullptr);
    EXPECT_EQ(secPolicy_dn[0].data(), nullptr);
  }
  EXPECT_EQ(secUser_dn_count, 1);
  EXPECT_EQ(secGroup_dn_count, 1);
}

struct PolicyDnCase {
  const char* name;
  const char* line;
  const char* dn;
};
class PolicyDn : public CacheSlots, public testing::WithParamInterface<PolicyDnCase> {};
const PolicyDnCase policyDnCases[] = {
    {"BlanksBehindTheTagGo", "dn:   cn=Policy,o=a \n", "cn=Policy,o=a \n"},
    {"NoBlankBehindTheTag", "dn:cn=Policy\n", "cn=Policy\n"},
    {"TabStays", "dn: \tcn=Policy\n", "\tcn=Policy\n"},
    {"TagIsNotChecked", "xyzcn=Policy", "cn=Policy"},
};
INSTANTIATE_CASES(PolicyDn, policyDnCases);
TEST_P(PolicyDn, IsCopiedFromLineZero) {
  fillObject({GetParam().line, "b: 1\n"});
  copySecPolicyDNFromObjectArrayToSecPolicyDNArray(1);
  EXPECT_EQ(secPolicy_dn[1], GetParam().dn);
  EXPECT_EQ(objectLines()[0], GetParam().line);
}

TEST_F(CacheSlots, OverwriteThePolicyDn) {
  setDn(secPolicy_dn, 0, "first\n");
  fillObject({"dn: second\n"});
  copySecPolicyDNFromObjectArrayToSecPolicyDNArray(0);
  EXPECT_EQ(secPolicy_dn[0], "second\n");
}

TEST_F(CacheSlots, TraceThePolicyDn) {
  fillObject({"dn: a\n"});
  startTrace();
  copySecPolicyDNFromObjectArrayToSecPolicyDNArray(1);
  EXPECT_EQ(traced(),
            "copySecPolicyDNFromObjectArrayToSecPolicyDNArray():  FUNCTION ENTRY \n"
            "copySecPolicyDNFromObjectArrayToSecPolicyDNArray(): \n"
            "   The secPolicy dn copied was:   a\n \n"
            "   The secGroup dn was copied to slot 1 \n"
            "copySecPolicyDNFromObjectArrayToSecPolicyDNArray():  FUNCTION EXIT \n");
}

TEST_F(CacheSlots, NeedMemoryForThePolicyDn) {
  fillObject({"dn: a\n"});
  EXPECT_FAILURE((failNextAllocation(), copySecPolicyDNFromObjectArrayToSecPolicyDNArray(1)), MEMORY_EXHAUSTED);
}

TEST_F(CacheSlots, NeedMemoryForTheLinesOfAnEntryAndForItsRow) {
  buildCache(1000, 1);
  exhaustMemoryIn([] {
    fillObject({"dn: a\n"});
    moveSecUserObjectFromObjectArrayToSecUserMatrix(999);
  });
}

TEST_F(CacheSlots, LeaveTheLinesOfAWorkFileInMemoryWhereTheyAre) {
  writeWorkFile("dn: a\n# comment\nb: 1\n\ndn: c\n\n");
  noteWorkFile();
  ASSERT_TRUE(mapWorkFile());
  loadNotedObject(notes[0]);
  moveSecUserObjectFromObjectArrayToSecUserMatrix(1);
  EXPECT_TRUE(isInWorkText(secUser_matrix[1].entryText().text));
  EXPECT_EQ(rowLines(secUserMatrix, 1), (Lines{"dn: a\n", "b: 1\n"}));
  loadNotedObject(notes[1]);
  setLineOfObject(0, "dn: changed\n");
  moveSecUserObjectFromObjectArrayToSecUserMatrix(0);
  EXPECT_FALSE(isInWorkText(secUser_matrix[0].entryText().text));
  EXPECT_EQ(rowLines(secUserMatrix, 0), Lines{"dn: changed\n"});
}

}  // namespace
