// The state that the whole run shares: the names and limits of the command line, the open files, the scratch
// buffers. Names and limits are set from the command line; the preparation pass, the passes and the final copy open
// and close the work file.
#pragma once

#include <csignal>
#include <cstddef>
#include <cstdint>

#include "platform/message_details.h"
#include "platform/open_file.h"
#include "platform/stream.h"

constexpr size_t FILE_NAME_SIZE = 4096;        // bytes, closing NUL included
constexpr size_t DEBUG_FILE_NAME_SIZE = 1024;  // bytes, closing NUL included
constexpr size_t TEMP_STRING_SIZE = 4096;      // bytes, closing NUL included

// What is added to the input's name to name the work file.
inline constexpr char WORK_FILE_ENDING[] = ".tmp";

// Where a traced run keeps a copy of the work file as the preparation pass has left it: in the current folder.
inline constexpr char PRESERVED_WORK_FILE[] = "TEMPORARY_INPUT_LDIF_FILE";

inline char input_ldif_filename[FILE_NAME_SIZE];
inline char output_ldif_filename[FILE_NAME_SIZE];
inline char temp_input_ldif_filename[FILE_NAME_SIZE];  // the work file: the input's name and ".tmp"
inline char debugFileName[DEBUG_FILE_NAME_SIZE];       // the trace file; empty without one

// The shell command whose effect a file operation has, as the trace shows it; cut when it does not fit.
inline char systemCommand[FILE_NAME_SIZE];

// The files that the run holds, and its locks on them, from its start to its end; the work file from the preparation
// pass on, its copy from the moment it is made. Those that are not open have a descriptor of -1.
inline HeldFile inputFile;
inline HeldFile outputFile;
inline HeldFile traceFile;
inline HeldFile workFile;
inline HeldFile preservedWorkFile;

// Why the input could not be opened; empty when it was.
inline char inputProblem[sizeof messageReason];

// The length of the work file as the preparation pass has left it, in bytes; the passes do not change it.
inline int64_t workFileLength = 0;

// How many users and groups one pass may gather; at least 1 each.
inline int32_t max_number_of_secuser_slots = 0;
inline int32_t max_number_of_secgroup_slots = 0;

inline Stream* ifp = nullptr;   // input, open during the preparation pass
inline Stream* tifp = nullptr;  // work file, open during the preparation pass, each pass and the final copy
inline Stream* ofp = nullptr;   // output, open until the end of the run

// 1 while a work file exists that an interrupted run takes away: from its opening to its removal, unless tracing.
inline volatile sig_atomic_t workFileIsToBeRemoved = 0;

// 1 once the output is whole and on its disk.
inline volatile sig_atomic_t outputIsComplete = 0;

// 1 when the current pass has read an entry that still needs work: one of a user or a group.
inline int32_t atLeastOneObjectProcessed = 0;

// Scratch copy of one line or DN, mostly in lower case; valid until the next use.
inline char tempString[TEMP_STRING_SIZE];
