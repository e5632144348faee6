// The object cache: the tables in which one pass gathers the entries of a bounded number of users and groups.
// A slot is an index that means the same owner in every table of its side.
#pragma once

#include <cstddef>
#include <cstdint>

#include "reporting/run_state.h"

constexpr int32_t SECUSER_MATRIX_NUMBER_OF_COLUMNS = 50;     // cells per row of every matrix but one
constexpr int32_t SECPOLICY_MATRIX_NUMBER_OF_COLUMNS = 500;  // cells per row of secPolicy_matrix
constexpr size_t SAVED_DN_SIZE = 20000;                      // bytes, closing NUL included

// Owner DNs by slot, each a heap string ending in "\n", null for none; the flush replaces them by the new dn:
// lines. secPolicy_dn holds the DN of the user's policy entry and tells by not being null that there is one.
inline char** secUser_dn = nullptr;
inline char** secPolicy_dn = nullptr;
inline char** secGroup_dn = nullptr;

// The matrices: flat arrays of rows, one row a slot. A row holds one entry, its lines packed from cell 0, and
// is empty when cell 0 is null. A row owns its lines. Nothing stops an entry from running on into the next
// row. Behind the last row stands one more null cell, so that a walk along a row ends inside the table.
inline char** secUser_matrix = nullptr;        // the users' ordinary entries
inline char** Users_secUser_matrix = nullptr;  // their 'Users' entries
inline char** secPolicyData_matrix = nullptr;
inline char** secPolicy_matrix = nullptr;
inline char** secMap_for_secUser_matrix = nullptr;
inline char** secGroup_matrix = nullptr;
inline char** secMap_for_secGroup_matrix = nullptr;

// Entries moved into each matrix and not released yet. Counted, not derived from the rows: an entry that runs
// on into the next row makes the two differ.
inline int32_t numberOfSecUserObjectsInObjectCache = 0;
inline int32_t numberOfUserSecUserObjectsInObjectCache = 0;
inline int32_t numberOfSecPolicyDataObjectsInObjectCache = 0;
inline int32_t numberOfSecPolicyObjectsInObjectCache = 0;
inline int32_t numberOfSecMapForSecUserObjectsInObjectCache = 0;
inline int32_t numberOfSecGroupObjectsInObjectCache = 0;
inline int32_t numberOfSecMapForSecGroupObjectsInObjectCache = 0;

// The next slot to open on each side, and the number of slots in use; equal within a pass, 0 after a flush.
// The flush counts the latter down.
inline int32_t next_available_secUser_dn_slot = 0;
inline int32_t next_available_secGroup_dn_slot = 0;
inline int32_t secUser_dn_count = 0;
inline int32_t secGroup_dn_count = 0;

// Owner DN of the entry looked at last, ending in "\n"; filled by the owner association.
inline char saved_secUser_dn[SAVED_DN_SIZE];
inline char saved_secGroup_dn[SAVED_DN_SIZE];

struct CacheMatrix {
  const char* name;            // as written in trace and label lines
  const char* moveFunction;    // the operation that fills its rows
  char*** cells;               // the table variable
  int32_t columns;             // cells per row
  const int32_t* rows;         // slot limit of its side
  int32_t* occupied;           // its occupancy counter
  const char* occupiedEnding;  // of the line for an occupied row; kept: one of the seven has no blank
};

inline constexpr CacheMatrix secUserMatrix = {"secUser_matrix",
                                              "moveSecUserObjectFromObjectArrayToSecUserMatrix",
                                              &secUser_matrix,
                                              SECUSER_MATRIX_NUMBER_OF_COLUMNS,
                                              &max_number_of_secuser_slots,
                                              &numberOfSecUserObjectsInObjectCache,
                                              "\n"};
inline constexpr CacheMatrix usersSecUserMatrix = {"Users_secUser_matrix",
                                                   "moveUsersSecUserObjectFromObjectArrayToUsersSecUserMatrix",
                                                   &Users_secUser_matrix,
                                                   SECUSER_MATRIX_NUMBER_OF_COLUMNS,
                                                   &max_number_of_secuser_slots,
                                                   &numberOfUserSecUserObjectsInObjectCache,
                                                   " \n"};
inline constexpr CacheMatrix secPolicyDataMatrix = {"secPolicyData_matrix",
                                                    "moveSecPolicyDataObjectFromObjectArrayToSecPolicyDataMatrix",
                                                    &secPolicyData_matrix,
                                                    SECUSER_MATRIX_NUMBER_OF_COLUMNS,
                                                    &max_number_of_secuser_slots,
                                                    &numberOfSecPolicyDataObjectsInObjectCache,
                                                    " \n"};
inline constexpr CacheMatrix secPolicyMatrix = {"secPolicy_matrix",
                                                "moveSecPolicyObjectFromObjectArrayToSecPolicyMatrix",
                                                &secPolicy_matrix,
                                                SECPOLICY_MATRIX_NUMBER_OF_COLUMNS,
                                                &max_number_of_secuser_slots,
                                                &numberOfSecPolicyObjectsInObjectCache,
                                                " \n"};
inline constexpr CacheMatrix secMapForSecUserMatrix = {
    "secMap_for_secUser_matrix",
    "moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix",
    &secMap_for_secUser_matrix,
    SECUSER_MATRIX_NUMBER_OF_COLUMNS,
    &max_number_of_secuser_slots,
    &numberOfSecMapForSecUserObjectsInObjectCache,
    " \n"};
inline constexpr CacheMatrix secGroupMatrix = {"secGroup_matrix",
                                               "moveSecGroupObjectFromObjectArrayToSecGroupMatrix",
                                               &secGroup_matrix,
                                               SECUSER_MATRIX_NUMBER_OF_COLUMNS,
                                               &max_number_of_secgroup_slots,
                                               &numberOfSecGroupObjectsInObjectCache,
                                               " \n"};
inline constexpr CacheMatrix secMapForSecGroupMatrix = {
    "secMap_for_secGroup_matrix",
    "moveSecMapForSecGroupObjectFromObjectArrayToSecMapForSecGroupMatrix",
    &secMap_for_secGroup_matrix,
    SECUSER_MATRIX_NUMBER_OF_COLUMNS,
    &max_number_of_secgroup_slots,
    &numberOfSecMapForSecGroupObjectsInObjectCache,
    " \n"};

// Cell 0 of a slot's row; for the slot limit itself, the end of the table.
char** rowOf(const CacheMatrix& matrix, int32_t slot);

// Allocates the ten tables, all null, for the two slot limits. Ends the run with MEMORY_EXHAUSTED when one
// cannot be had. Untouched slots cost address space only.
void allocateObjectCache();

// Sets all counters and cursors to 0 and nulls the entry buffer and every cell of every table; frees nothing.
void initializeAllArrays();

// Frees the ten tables, not what their cells point to.
void deallocateObjectCache();
