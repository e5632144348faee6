// The object cache: the tables in which one pass gathers the entries of a bounded number of users and groups.
// A slot is an index that means the same owner in every table of its side.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "reporting/run_state.h"
#include "rules/line.h"
#include "rules/object_class.h"
#include "rules/owner.h"
#include "rules/texts.h"

// A row holds one entry: the text of its lines, one behind the other, and their number; no text for an empty row.
// Nothing stops an entry from running on into the next row, as it would in cells: its lines beyond the row's columns
// stand there, in place of those that were there or before what is left of them. A full row goes on in the next one.
struct Row {
  const char* text;
  uint32_t length;  // bytes
  int16_t lines;
  bool mayHoldNul;  // as in an EntryText

  EntryText entryText() const { return {{text, length}, mayHoldNul}; }
};

// Owner DNs by slot, each ending in "\n", without data for none; the flush replaces them by the new dn: lines.
// secPolicy_dn holds the DN of the user's policy entry and tells that there is one.
inline std::string_view* secUser_dn = nullptr;
inline std::string_view* secPolicy_dn = nullptr;
inline std::string_view* secGroup_dn = nullptr;

// The matrices, a row a slot. All tables have room for the slots in use and the rows into which their entries run on.
inline Row* secUser_matrix = nullptr;        // the users' ordinary entries
inline Row* Users_secUser_matrix = nullptr;  // their 'Users' entries
inline Row* secPolicyData_matrix = nullptr;
inline Row* secPolicy_matrix = nullptr;
inline Row* secMap_for_secUser_matrix = nullptr;
inline Row* secGroup_matrix = nullptr;
inline Row* secMap_for_secGroup_matrix = nullptr;

// What the slots hold that does not stand in the work file in memory, DNs among it; forgotten when all slots are empty.
inline Texts gatheredTexts;

// The new DNs of the slot that is being written; forgotten when it has been.
inline char memoryOfNewDns[size_t{16} * 1024];
inline Texts newDns(memoryOfNewDns, sizeof memoryOfNewDns);

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

// What the two sides differ in, but for the tables of their entries.
struct CacheSide {
  const char* ownerClass;     // as written in the map processor's trace
  const char* dnName;         // of the DN array, as written in trace and echo
  const char* learnName;      // of the owner association
  const char* upperCaseName;  // as written in the trace of the search
  std::string_view** dns;
  int32_t* nextSlot;
  int32_t* count;
  const int32_t* limit;
  char* savedDn;
};

// By Side.
inline constexpr CacheSide cacheSides[] = {
    {"secUser", "secUser_dn", "learnIndexOfAssociatedSecUserDN", "SECUSER", &secUser_dn,
     &next_available_secUser_dn_slot, &secUser_dn_count, &max_number_of_secuser_slots, saved_secUser_dn},
    {"secGroup", "secGroup_dn", "learnIndexOfAssociatedSecGroupDN", "SECGROUP", &secGroup_dn,
     &next_available_secGroup_dn_slot, &secGroup_dn_count, &max_number_of_secgroup_slots, saved_secGroup_dn}};

struct CacheMatrix {
  const char* name;          // as written in trace and label lines
  const char* moveFunction;  // the operation that fills its rows
  Row** rows;                // the table variable
  int32_t columns;           // lines per row
  Side side;
  int32_t* occupied;           // its occupancy counter
  const char* occupiedEnding;  // of the line for an occupied row; kept: one of the seven has no blank
};

// Of each EntryKind that is gathered.
inline constexpr CacheMatrix matrices[] = {
    {"Users_secUser_matrix", "moveUsersSecUserObjectFromObjectArrayToUsersSecUserMatrix", &Users_secUser_matrix,
     SECUSER_MATRIX_NUMBER_OF_COLUMNS, USER_SIDE, &numberOfUserSecUserObjectsInObjectCache, " \n"},
    {"secUser_matrix", "moveSecUserObjectFromObjectArrayToSecUserMatrix", &secUser_matrix,
     SECUSER_MATRIX_NUMBER_OF_COLUMNS, USER_SIDE, &numberOfSecUserObjectsInObjectCache, "\n"},
    {"secGroup_matrix", "moveSecGroupObjectFromObjectArrayToSecGroupMatrix", &secGroup_matrix,
     SECUSER_MATRIX_NUMBER_OF_COLUMNS, GROUP_SIDE, &numberOfSecGroupObjectsInObjectCache, " \n"},
    {"secPolicyData_matrix", "moveSecPolicyDataObjectFromObjectArrayToSecPolicyDataMatrix", &secPolicyData_matrix,
     SECUSER_MATRIX_NUMBER_OF_COLUMNS, USER_SIDE, &numberOfSecPolicyDataObjectsInObjectCache, " \n"},
    {"secMap_for_secUser_matrix", "moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix",
     &secMap_for_secUser_matrix, SECUSER_MATRIX_NUMBER_OF_COLUMNS, USER_SIDE,
     &numberOfSecMapForSecUserObjectsInObjectCache, " \n"},
    {"secMap_for_secGroup_matrix", "moveSecMapForSecGroupObjectFromObjectArrayToSecMapForSecGroupMatrix",
     &secMap_for_secGroup_matrix, SECUSER_MATRIX_NUMBER_OF_COLUMNS, GROUP_SIDE,
     &numberOfSecMapForSecGroupObjectsInObjectCache, " \n"},
    {"secPolicy_matrix", "moveSecPolicyObjectFromObjectArrayToSecPolicyMatrix", &secPolicy_matrix,
     SECPOLICY_MATRIX_NUMBER_OF_COLUMNS, USER_SIDE, &numberOfSecPolicyObjectsInObjectCache, " \n"}};

inline constexpr const CacheMatrix& usersSecUserMatrix = matrices[USERS_SECUSER_KIND];
inline constexpr const CacheMatrix& secUserMatrix = matrices[SECUSER_KIND];
inline constexpr const CacheMatrix& secGroupMatrix = matrices[SECGROUP_KIND];
inline constexpr const CacheMatrix& secPolicyDataMatrix = matrices[SECPOLICYDATA_KIND];
inline constexpr const CacheMatrix& secMapForSecUserMatrix = matrices[MAP_OF_USER_KIND];
inline constexpr const CacheMatrix& secMapForSecGroupMatrix = matrices[MAP_OF_GROUP_KIND];
inline constexpr const CacheMatrix& secPolicyMatrix = matrices[SECPOLICY_KIND];

inline const CacheSide& sideOf(const CacheMatrix& matrix) { return cacheSides[matrix.side]; }

// True while an entry of this kind may be gathered: its matrix counts fewer entries than its side has slots.
inline bool isOpen(EntryKind kind) {
  return kind < RESCREDS_KIND && *matrices[kind].occupied < *sideOf(matrices[kind]).limit;
}

// True when there is an entry in the slot's row, or a part of one.
bool isRowInUse(const CacheMatrix& matrix, int32_t slot);

// Returns the first line of a row, nothing of an empty one.
std::string_view firstLineOfRow(const CacheMatrix& matrix, int32_t slot);

// Returns the rows in which the entry of a slot stands: none, one, or where that is full those in which it goes on,
// too.
std::span<const Row> rowsOf(const CacheMatrix& matrix, int32_t slot);

// Returns their lines. They stand in the given room, which grows as needed and is used again and again.
std::span<Line> linesOfRow(const CacheMatrix& matrix, int32_t slot, std::vector<Line>& room);

// Begins with empty tables and the slots that both sides open first.
void allocateObjectCache();

// Makes room for a slot in the tables of its side; its rows and DNs are empty. Ends the run with MEMORY_EXHAUSTED.
void makeRoomForSlot(Side side, int32_t slot);

// Sets all counters and cursors to 0, empties the entry buffer and every row and DN.
void initializeAllArrays();

// Gives the tables back.
void deallocateObjectCache();
