#include "cache/cache_slots.h"

#include "ldif/line_memory.h"
#include "ldif/object_buffer.h"
#include "platform/message_details.h"
#include "test_support.h"

namespace {

struct RowCase {
  const char* name;  // of the table
  const CacheMatrix* matrix;
  void (*move)(int32_t slot);
  void (*release)(int32_t slot);
  std::string moveName;
  std::string occupied;  // what follows the name in the line for an occupied row
};
class Row : public FreshRun, public testing::WithParamInterface<RowCase> {
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
INSTANTIATE_CASES(Row, rowCases);

TEST_P(Row, TakesTheLinesOfTheEntryOver) {
  fillObject({"dn: a\n", "b: 1\n"});
  char* const lines[] = {object[0], object[1]};
  GetParam().move(1);
  char** const cells = *GetParam().matrix->cells + width();
  EXPECT_EQ(cells[0], lines[0]);
  EXPECT_EQ(cells[1], lines[1]);
  EXPECT_EQ(cells[2], nullptr);
  EXPECT_EQ(occupied(), 1);
  EXPECT_EQ(next_available_object_slot, 0);
  EXPECT_EQ(object[0], nullptr);
  EXPECT_EQ(object[1], nullptr);
}

TEST_P(Row, TakesTheLinesPacked) {
  fillObject({"x", "dn: a\n", "x", "b: 1\n", "c: 2\n"});
  for (int32_t gap : {0, 2}) {
    freeLine(object[gap]);
    object[gap] = nullptr;
  }
  GetParam().move(0);
  EXPECT_EQ(row(0), (Lines{"dn: a\n", "b: 1\n", "c: 2\n"}));
}

TEST_P(Row, TakesOneEntryOnly) {
  moveEntry({"dn: first\n", "b: 1\n"}, 1);
  fillObject({"dn: second\n"});
  startTrace();
  EXPECT_FAILURE((echoToFile(), GetParam().move(1)), ROW_ALREADY_OCCUPIED);
  const std::string line = GetParam().moveName + GetParam().occupied;
  EXPECT_EQ(traced(), GetParam().moveName + "():  FUNCTION ENTRY \n" + line);
  EXPECT_EQ(echoed(), line + GetParam().name + " = dn: first\n\n");
}

TEST_P(Row, TracesTheMove) {
  startTrace();
  moveEntry({"dn: a\n"}, 0);
  expectTraced({GetParam().moveName + "():  FUNCTION ENTRY \n", GetParam().moveName + "():  FUNCTION EXIT \n"});
}

TEST_P(Row, IsFreedAndCountedDown) {
  moveEntry(entryOf(3), 0);
  moveEntry(entryOf(2), 1);
  GetParam().release(0);
  EXPECT_EQ(row(0), Lines{});
  EXPECT_EQ(row(1), entryOf(2));
  EXPECT_EQ(occupied(), 1);
}

TEST_P(Row, IsNotCountedDownWhenEmpty) {
  moveEntry(entryOf(2), 1);
  GetParam().release(0);
  EXPECT_EQ(row(1), entryOf(2));
  EXPECT_EQ(occupied(), 1);
}

// What is said of slot 1 when it lacks the entry of the table.
class RowThatIsMissing : public Row {
 protected:
  void SetUp() override {
    Row::SetUp();
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
  EXPECT_STREQ(messageDetails.values[0].text, "dn: a\n");
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

TEST_P(Row, IsFreedOnIntoTheNextWhenFull) {
  moveEntry(entryOf(width()), 0);
  moveEntry(entryOf(2), 1);
  GetParam().release(0);
  EXPECT_EQ(row(1), Lines{});
  EXPECT_EQ(occupied(), 1);
  GetParam().release(1);
  EXPECT_EQ(occupied(), 1);
}

TEST_P(Row, RunsOnIntoTheNextWhenTooLong) {
  moveEntry(entryOf(width() + 2), 0);
  EXPECT_EQ(row(0), entryOf(width() + 2));
  EXPECT_EQ(row(1).size(), 2u);
  EXPECT_EQ(occupied(), 1);
  fillObject({"dn: b\n"});
  EXPECT_FAILURE(GetParam().move(1), ROW_ALREADY_OCCUPIED);
}

TEST_P(Row, OfTheLastSlotHoldsItsWidth) {
  moveEntry(entryOf(width()), 2);
  EXPECT_EQ(row(2), entryOf(width()));
  GetParam().release(2);
  EXPECT_EQ(occupied(), 0);
}

TEST_P(Row, OfTheLastSlotCannotRunOn) {
  fillObject(entryOf(width() + 1));
  EXPECT_FAILURE(GetParam().move(2), ROW_ALREADY_OCCUPIED);
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
    EXPECT_EQ(secUser_dn[0], nullptr);
    EXPECT_EQ(secGroup_dn[0], nullptr);
    EXPECT_EQ(secPolicy_dn[0], nullptr);
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
  EXPECT_STREQ(secPolicy_dn[1], GetParam().dn);
  EXPECT_EQ(objectLines()[0], GetParam().line);
}

TEST_F(CacheSlots, OverwriteThePolicyDn) {
  setDn(secPolicy_dn, 0, "first\n");
  fillObject({"dn: second\n"});
  copySecPolicyDNFromObjectArrayToSecPolicyDNArray(0);
  EXPECT_STREQ(secPolicy_dn[0], "second\n");
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
  startTrace();
  EXPECT_FAILURE((failNextAllocation(), copySecPolicyDNFromObjectArrayToSecPolicyDNArray(1)), MEMORY_EXHAUSTED);
  expectTraced({"copySecPolicyDNFromObjectArrayToSecPolicyDNArray():  malloc() failure.  EXITING. \n"});
}

}  // namespace
