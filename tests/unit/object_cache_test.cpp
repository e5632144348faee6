#include "cache/object_cache.h"

#include <cstring>

#include "ldif/object_buffer.h"
#include "test_support.h"

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

void expectNullCells(char** cells, int32_t count) {
  for (int32_t cell = 0; cell < count; cell++) EXPECT_EQ(cells[cell], nullptr) << "cell " << cell;
}

TEST_F(ObjectCache, HasItsTablesEmptyOnceAllocated) {
  buildCache(3, 2);
  expectNullCells(secUser_dn, 3);
  expectNullCells(secPolicy_dn, 3);
  expectNullCells(secGroup_dn, 2);
  expectNullCells(secUser_matrix, 3 * 50);
  expectNullCells(Users_secUser_matrix, 3 * 50);
  expectNullCells(secPolicyData_matrix, 3 * 50);
  expectNullCells(secPolicy_matrix, 3 * 500);
  expectNullCells(secMap_for_secUser_matrix, 3 * 50);
  expectNullCells(secGroup_matrix, 2 * 50);
  expectNullCells(secMap_for_secGroup_matrix, 2 * 50);
}

TEST_F(ObjectCache, IsInitializedWithTheEntryBufferButNotItsCount) {
  buildCache(1, 1);
  for (int32_t* counter : counters) *counter = 7;
  char line[] = "line";
  object[0] = object[1] = object[OBJECT_ARRAY_SIZE - 1] = line;
  next_available_object_slot = 2;
  secUser_dn[0] = secPolicy_dn[0] = secGroup_dn[0] = line;
  for (const CacheMatrix* matrix : allMatrices) (*matrix->cells)[matrix->columns - 1] = line;
  strcpy(saved_secUser_dn, "user");
  strcpy(saved_secGroup_dn, "group");

  initializeAllArrays();

  for (int32_t* counter : counters) EXPECT_EQ(*counter, 0);
  expectNullCells(object, OBJECT_ARRAY_SIZE);
  EXPECT_EQ(next_available_object_slot, 2);
  expectNullCells(secUser_dn, 1);
  expectNullCells(secPolicy_dn, 1);
  expectNullCells(secGroup_dn, 1);
  for (const CacheMatrix* matrix : allMatrices) expectNullCells(*matrix->cells, matrix->columns);
  EXPECT_STREQ(saved_secUser_dn, "user");
  EXPECT_STREQ(saved_secGroup_dn, "group");
}

TEST_F(ObjectCache, HasNoTablesOnceDeallocated) {
  buildCache(1, 1);
  deallocateObjectCache();
  EXPECT_EQ(secUser_dn, nullptr);
  EXPECT_EQ(secPolicy_dn, nullptr);
  EXPECT_EQ(secGroup_dn, nullptr);
  for (const CacheMatrix* matrix : allMatrices) EXPECT_EQ(*matrix->cells, nullptr) << matrix->name;
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

TEST_F(ObjectCache, NeedsMemory) {
  max_number_of_secuser_slots = 1;
  max_number_of_secgroup_slots = 1;
  startTrace();
  EXPECT_FAILURE((failNextAllocation(), allocateObjectCache()), MEMORY_EXHAUSTED);
  expectTraced({"allocateObjectCache():  malloc() failure.  EXITING. \n"});
}

}  // namespace
