#include "cache/object_cache.h"

#include <cstring>

#include "ldif/object_buffer.h"
#include "test_support.h"
#include "workfile/work_text.h"

namespace {

class ObjectCache : public FreshRun {};

int32_t* const counters[] = {&numberOfSecUserObjectsInObjectCache,
                             &numberOfUserSecUserObjectsInObjectCache,
                             &numberOfSecPolicyDataObjectsInObjectCache,
                             &numberOfSecPolicyObjectsInObjectCache,
                             &numberOfSecMapForSecUserObjectsInObjectCache,
                             &numberOfSecGroupObjectsInObjectCache,
                             &numberOfSecMapForSecGroupObjectsInObjectCache,
                             &next_available_secUser_dn_slot,
                             &next_available_secGroup_dn_slot,
                             &secUser_dn_count,
                             &secGroup_dn_count};

void expectNoDns(const std::string_view* dns, int32_t slots) {
  for (int32_t slot = 0; slot < slots; slot++) EXPECT_EQ(dns[slot].data(), nullptr) << "slot " << slot;
}

void expectEmptyRows(const CacheMatrix& matrix, int32_t slots) {
  for (int32_t slot = 0; slot < slots; slot++) {
    EXPECT_FALSE(isRowInUse(matrix, slot)) << matrix.name << " " << slot;
    EXPECT_EQ(firstLineOfRow(matrix, slot).data(), nullptr) << matrix.name << " " << slot;
    EXPECT_EQ(rowLines(matrix, slot), Lines{}) << matrix.name << " " << slot;
  }
}

TEST_F(ObjectCache, HasItsTablesEmptyOnceAllocated) {
  buildCache(3, 2);
  expectNoDns(secUser_dn, 3);
  expectNoDns(secPolicy_dn, 3);
  expectNoDns(secGroup_dn, 2);
  for (const CacheMatrix* matrix : allMatrices) expectEmptyRows(*matrix, matrix->side == USER_SIDE ? 3 : 2);
}

TEST_F(ObjectCache, IsInitializedWithTheEntryBuffer) {
  buildCache(1, 1);
  for (int32_t* counter : counters) *counter = 7;
  fillObject({"line", "line"});
  for (std::string_view** dns : {&secUser_dn, &secPolicy_dn, &secGroup_dn}) setDn(*dns, 0, "line");
  for (const CacheMatrix* matrix : allMatrices) fillRow(*matrix, 0, {"line"});
  strcpy(saved_secUser_dn, "user");
  strcpy(saved_secGroup_dn, "group");

  initializeAllArrays();

  for (int32_t* counter : counters) EXPECT_EQ(*counter, 0);
  EXPECT_EQ(next_available_object_slot, 0);
  expectNoDns(secUser_dn, 1);
  expectNoDns(secPolicy_dn, 1);
  expectNoDns(secGroup_dn, 1);
  for (const CacheMatrix* matrix : allMatrices) expectEmptyRows(*matrix, 1);
  EXPECT_STREQ(saved_secUser_dn, "user");
  EXPECT_STREQ(saved_secGroup_dn, "group");
}

TEST_F(ObjectCache, HasNoTablesOnceDeallocated) {
  buildCache(1, 1);
  deallocateObjectCache();
  EXPECT_EQ(secUser_dn, nullptr);
  EXPECT_EQ(secPolicy_dn, nullptr);
  EXPECT_EQ(secGroup_dn, nullptr);
  for (const CacheMatrix* matrix : allMatrices) {
    EXPECT_EQ(*matrix->rows, nullptr) << matrix->name;
    EXPECT_FALSE(isRowInUse(*matrix, 0)) << matrix->name;
  }
}

TEST_F(ObjectCache, GrowsWithTheSlotsAndKeepsWhatTheyHold) {
  constexpr int32_t SLOTS = 1000;
  buildCache(SLOTS, SLOTS);
  for (int32_t slot = 0; slot < SLOTS; slot++) {
    makeRoomForSlot(USER_SIDE, slot);
    makeRoomForSlot(GROUP_SIDE, slot);
    ASSERT_EQ(secUser_dn[slot].data(), nullptr) << slot;
    ASSERT_EQ(secPolicy_dn[slot].data(), nullptr) << slot;
    ASSERT_EQ(secGroup_dn[slot].data(), nullptr) << slot;
    for (const CacheMatrix* matrix : allMatrices) ASSERT_FALSE(isRowInUse(*matrix, slot)) << matrix->name << slot;
    const std::string name = std::to_string(slot) + "\n";
    for (std::string_view** dns : {&secUser_dn, &secPolicy_dn, &secGroup_dn}) setDn(*dns, slot, name);
    for (const CacheMatrix* matrix : allMatrices) fillRow(*matrix, slot, {name});
  }
  for (int32_t slot = 0; slot < SLOTS; slot++) {
    const std::string name = std::to_string(slot) + "\n";
    for (const std::string_view* dns : {secUser_dn, secPolicy_dn, secGroup_dn}) ASSERT_EQ(dns[slot], name);
    for (const CacheMatrix* matrix : allMatrices) ASSERT_EQ(rowLines(*matrix, slot), Lines{name}) << matrix->name;
  }
  for (const CacheMatrix* matrix : allMatrices) EXPECT_FALSE(isRowInUse(*matrix, 1 << 20)) << matrix->name;
}

TEST_F(ObjectCache, ShowsTheFirstLineOfARowWithoutWhatIsNoneOfIt) {
  buildCache(1, 1);
  fillRow(secUserMatrix, 0, {"dn: a", "b: 1\n"});
  EXPECT_EQ(firstLineOfRow(secUserMatrix, 0), "dn: a");
  writeWorkFile("# comment\ndn: b\n");
  ASSERT_TRUE(mapWorkFile());
  const std::string_view text = workText(0, 16);
  secUser_matrix[0] = {text.data(), 16, 1, false};
  EXPECT_EQ(firstLineOfRow(secUserMatrix, 0), "dn: b\n");
}

TEST_F(ObjectCache, TracesItsLimits) {
  max_number_of_secuser_slots = 3;
  max_number_of_secgroup_slots = 2;
  startTrace();
  allocateObjectCache();
  EXPECT_EQ(traced(),
            "\nallocateObjectCache():  FUNCTION ENTRY  \n"
            "\nallocateObjectCache():  max_number_of_secuser_slots  = 3  \n"
            "\nallocateObjectCache():  max_number_of_secgroup_slots = 2  \n"
            "\nallocateObjectCache():  FUNCTION EXIT  \n");
  startTrace();
  deallocateObjectCache();
  EXPECT_EQ(traced(),
            "\ndeallocateObjectCache():  FUNCTION ENTRY  \n"
            "\ndeallocateObjectCache():  max_number_of_secuser_slots  = 3  \n"
            "\ndeallocateObjectCache():  max_number_of_secgroup_slots = 2  \n"
            "\ndeallocateObjectCache():  FUNCTION EXIT  \n");
}

TEST_F(ObjectCache, NeedsMemoryForEachOfItsTables) {
  max_number_of_secuser_slots = 1;
  max_number_of_secgroup_slots = 1;
  startTrace();
  exhaustMemoryIn([] { allocateObjectCache(); });
  const std::string trace = traced();
  size_t failures = 0;
  for (size_t at = trace.find("malloc()"); at != std::string::npos; at = trace.find("malloc()", at + 1)) failures++;
  EXPECT_EQ(failures, 3 + allMatrices.size());
}

TEST_F(ObjectCache, NeedsMemory) {
  max_number_of_secuser_slots = 1;
  max_number_of_secgroup_slots = 1;
  startTrace();
  EXPECT_FAILURE((failNextReallocation(), allocateObjectCache()), MEMORY_EXHAUSTED);
  expectTraced({"allocateObjectCache():  malloc() failure.  EXITING. \n"});
}

}  // namespace
