// The texts for people beside the sixteen messages: what is wrong with an entry, what became of the work file, why
// something failed, how far the run is.
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

  // Around what a message concerns, {1}, and its reason, {1}.
  CONCERNED,
  HIDDEN_SUBJECT,
  REASON_BEHIND,

  // Reasons of the file operations.
  NOT_REGULAR,
  SECOND_HARD_LINK,
  OTHER_USERS_FILE,
  SYMBOLIC_LINK,
  INPUT_NOT_WRITABLE,  // behind the reason of the system
  REPLACED_BY_OTHERS,
  USED_BY_ANOTHER_RUN,
  CHANGED_BY_OTHERS,
  CHANGED_WHILE_READ,
  LED_TO_BY_STREAM,
  TOO_MANY_STREAMS,
  NO_POSITION,

  // What is wrong with the command line.
  WRONG_NUMBER_OF_ARGUMENTS,
  NAME_OF_FILE_TOO_LONG,
  SLOT_COUNT_TOO_SMALL,
  SLOT_COUNT_TOO_LARGE,
  SAME_FILE,             // {1} and {2}: names
  STANDARD_ERROR_USED,   // {1}: name
  STANDARD_OUTPUT_USED,  // {1}: name

  USAGE,  // how the tool is called; all of the help there is

  // How far the run is: {1} percent, {2} MB/s, {3} seconds left.
  PROGRESS_OF_PREPARATION,
  PROGRESS_OF_PASSES,

  // A signal, {1}, has ended the run with its input, {2}, and output, {3}; at first these are not known.
  INTERRUPTED_AT_FIRST,
  INTERRUPTED,
  INTERRUPTED_WHEN_COMPLETE,

  NUMBER_OF_DETAIL_TEXTS
};
