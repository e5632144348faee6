// The trace, the echo of errors, and the one way in which the run ends on a failure:
// trace line, echoed line, message, exit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "platform/message_codes.h"
#include "platform/message_details.h"

// 1 while tracing is on. Set by the command line; off during the preparation pass and while an entry is
// being blanked out.
inline int32_t debug = 0;

// 1 when the environment variable DEBUG_ERROR is set, to whatever value: errors are echoed on standard output.
inline int32_t debugError = 0;

// The trace stream, open for the whole run when a trace file is named; null otherwise.
inline FILE* tfp = nullptr;

// Writes to the trace, and flushes it; does nothing while debug is 0. Leaves errno alone. A macro for its callers,
// because without tracing a run passes by the places that trace some forty times an entry.
[[gnu::format(printf, 1, 2)]] void traceLine(const char* format, ...);
#define traceLine(...) (debug == 0 ? static_cast<void>(0) : traceLine(__VA_ARGS__))

// Writes to standard output, and flushes it. Control characters other than newlines, and what is no UTF-8, are shown as
// \xNN. A text beyond 128 KiB is cut.
[[gnu::format(printf, 1, 2)]] void printHarmlessly(const char* format, ...);

// The same, but does nothing while debugError is 0.
[[gnu::format(printf, 1, 2)]] void echoError(const char* format, ...);

// Both, where the two texts are the same.
[[gnu::format(printf, 1, 2)]] void reportError(const char* format, ...);

// For a %s whose text may be missing: the text, or "null" or "NULL".
const char* textOrNull(const char* text);
const char* textOrNULL(const char* text);

// Says which entry (its dn: line) the failure of a position call concerns that the next message reports. The text is
// only lent, and must stay valid until then; null takes it back.
void concerning(const char* dn);

// Issues a notice, or an error that the run survives, with its details.
void issueMessage(MessageCode code, const MessageDetails& details = {});
void issueMessage(MessageCode code, const char* failedCall, int32_t returnCode);

// Issues the message with the details that have been filled in and ends the process with status -1; main has seen to it
// that what was written to the open files reaches them.
[[noreturn]] void exitWithMessage(MessageCode code);
[[noreturn]] void exitWithMessage(MessageCode code, const char* fileName);
[[noreturn]] void exitWithMessage(MessageCode code, const char* failedCall, int32_t returnCode);

// Allocates, or traces the given line and ends the run with MEMORY_EXHAUSTED. The caller frees with free.
[[nodiscard]] void* allocate(size_t size, const char* failureLine);
[[nodiscard]] void* reallocate(void* block, size_t size, const char* failureLine);
