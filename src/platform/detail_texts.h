// The sentences that make a message whole: what is wrong with an entry, what became of the work file.
#pragma once

#include <cstdint>

enum DetailText : uint8_t {
  NO_DETAIL,

  // Parts of others.
  HIDDEN_DN,
  LINE_OF_ENTRY,

  // Behind notices.
  NO_EARLIER_WORK_FILE,
  EARLIER_WORK_FILE,      // {1}: bytes
  WORK_FILE_NOT_REMOVED,  // {7}: name, {8}: reason

  // Behind a failure.
  EARLIER_WORK_FILE_AS_CAUSE,

  // What is wrong with an entry, {1}.
  USER_WITHOUT_AUTHORITY,
  USER_WITHOUT_NAME,
  FOLDED_COMMENT,
  NO_LOCAL_TIME,
  ENTRY_TOO_LONG,
  UNKNOWN_CLASS,
  DN_TOO_LONG,
  NOTHING_GATHERED,
  INCOMPLETE_DN,
  DN_WITHOUT_COMMA,
  USERS_ENTRY_WITHOUT_AUTHORITY,
  USERS_ENTRY_WITHOUT_DN,
  MAP_WITHOUT_AUTHORITY,
  MAP_WITHOUT_DN,
  OWNER_DN_TOO_LONG,
  USER_WITHOUT_MAP,
  GROUP_WITHOUT_MAP,
  USER_WITHOUT_OWN_ENTRY,
  GROUP_WITHOUT_OWN_ENTRY,
  GROUP_WITHOUT_NAME,
  NAME_TOO_LONG,
  POLICY_WITHOUT_AUTHORITY,
  LINE_WITHOUT_COLON,
  DOUBLED,      // {2}: the other entry
  ROW_OVERRUN,  // {2}: number of lines

  // What could not be done with an entry, {1}, in a file, {2}, and why, {3}.
  NOT_BLANKED,
  NOT_STEPPED_OVER,
  NOT_WRITTEN,

  // Behind any failure.
  GATHERED_ENTRIES_NOT_BLANKED,

  NUMBER_OF_DETAIL_TEXTS
};
