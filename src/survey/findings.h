// What a survey finds: each kind has its identifier, says what will happen, and what to do.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/detail_texts.h"

enum FindingId : uint8_t {
  ENTRY_BEGINS_WITH_CONTINUATION,
  USER_HAS_NO_AUTHORITY,
  USER_HAS_NO_NAME,
  USERS_ENTRY_HAS_NO_AUTHORITY,
  USERS_ENTRY_HAS_NO_DN,
  MAP_HAS_NO_AUTHORITY,
  MAP_HAS_NO_DN,
  DN_IS_INCOMPLETE,
  DN_HAS_NO_COMMA,
  OWNER_DN_IS_TOO_LONG,
  USER_HAS_NO_MAP,
  GROUP_HAS_NO_MAP,
  ENTRY_WITHOUT_USER,
  MAP_WITHOUT_GROUP,
  GROUP_HAS_NO_NAME,
  NAME_IS_TOO_LONG,
  DN_IS_TOO_LONG,
  POLICY_HAS_NO_AUTHORITY,
  LINE_HAS_NO_COLON,
  DOUBLED_ENTRY,
  TOO_MANY_LINES,
  CLASS_IS_UNKNOWN,
  ENTRY_IS_TOO_LONG,
  NOTHING_CAN_BE_GATHERED,

  LINE_LOOKS_LIKE_BOOKKEEPING,
  LINE_IS_LOST,
  LINE_IS_TAKEN,
  VALUE_IS_REPLACED,

  NAME_IN_BASE_64,
  NAME_NEEDS_ESCAPES,
  DOMAIN_ID_IS_MISTAKEN,
  DOMAIN_IS_MISTAKEN,
  NAME_FROM_ANOTHER_LINE,
  NEW_DN_TWICE,
  ENTRY_IN_ANOTHER_ROW,
  CLASS_NAME_NOT_KNOWN,
  CLASS_NAME_IS_LONGER,
  VERSION_LINE,
  BYTE_ORDER_MARK,
  CHANGE_RECORD,
  NUL_BYTE,
  RETURN_IN_LINE,
  LONG_LINE,
  OVERSIZED_ENTRY,
  DROPPED_IN_PART,
  RECORD_RUNS_ON,
  COMMENT_IS_FOLDED,
  VALUE_TAKEN_FOR_ATTRIBUTE,
  ENTRY_WITHOUT_DN,
  SECOND_DN,
  VERSION_STAYS,
  DN_LOSES_BLANK,
  DN_STAYS,

  INPUT_IS_NOT_WRITABLE,
  INPUT_NAME_IS_TOO_LONG,
  WORK_FILE_IS_NOT_POSSIBLE,
  WORK_FILE_IS_THERE,
  NO_ROOM_ON_DISK,
  NOT_LDIF,
  INPUT_IS_EMPTY,
  NOTHING_TO_CONVERT,

  NUMBER_OF_FINDINGS
};

enum Effect : uint8_t { STOPS, LOSES, CHANGES, SURROUNDINGS };

// In the order in which its row is read.
struct FindingKind {  // NOLINT(clang-analyzer-optin.performance.Padding)
  const char* id;
  Effect effect;
  const char* what;                // will happen
  const char* advice;              // what to do
  DetailText failure = NO_DETAIL;  // of the conversion, that it is
};

const FindingKind& kindOf(FindingId id);
const char* nameOf(Effect effect);

// At which slot counts a run ends.
enum At : uint8_t { AT_NONE, AT_GIVEN, AT_OTHERS };
const char* nameOf(At at);

// Returns the finding that a failure of the conversion is. There is one for each that an entry can bring about.
FindingId findingOf(DetailText problem);

constexpr uint64_t NO_PLACE = UINT64_MAX;

struct Finding {
  FindingId id;
  At at = AT_NONE;
  uint64_t entry = NO_PLACE;  // where the entry begins in the input
  uint64_t line = NO_PLACE;   // where the line stands that it is about, if it is about one

  uint64_t place() const { return line != NO_PLACE ? line : entry; }
};

// Who takes the findings as they are found.
class FindingSink {
 public:
  virtual void take(const Finding& finding) = 0;

 protected:
  ~FindingSink() = default;
};
