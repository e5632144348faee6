// The trace, the echo of errors, and the one way in which the run ends on a failure:
// trace line, echoed line, message, exit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "platform/message_codes.h"
#include "platform/message_details.h"
#include "platform/sink.h"

// 1 while tracing is on. Set by the command line; off during the preparation pass and while an entry is
// being blanked out.
inline int32_t debug = 0;

// 1 when the environment variable DEBUG_ERROR is set, to whatever value: errors are echoed on standard output.
inline int32_t debugError = 0;

// The trace stream, open for the whole run when a trace file is named; null otherwise.
inline FILE* tfp = nullptr;

// Writes to the trace, and flushes it; does nothing while debug is 0. Leaves errno alone. A macro for its callers: a
// run that does not trace comes to some forty such places with every entry.
[[gnu::format(printf, 1, 2)]] void traceLine(const char* format, ...);
#define traceLine(...) (debug == 0 ? static_cast<void>(0) : traceLine(__VA_ARGS__))

// Writes to standard output, and flushes it. Control characters other than newlines, and bytes that are not UTF-8, are
// shown as \xNN. A text beyond 128 KiB is cut.
[[gnu::format(printf, 1, 2)]] void printHarmlessly(const char* format, ...);

// The same, but does nothing while debugError is 0.
[[gnu::format(printf, 1, 2)]] void echoError(const char* format, ...);

// Both, where the two texts are the same.
[[gnu::format(printf, 1, 2)]] void reportError(const char* format, ...);

// The trace as the rules show their steps to it: null while debug is 0.
Sink traceSink();

// For a text that may be missing: the text, or "null" or "NULL".
std::string_view textOrNull(std::string_view text);
std::string_view textOrNULL(std::string_view text);

// Names the entry (its dn: line) that the next message concerns, if it reports the failure of a position call. The text
// is only lent, and must stay valid until then; an empty one takes it back.
void concerning(std::string_view dn);

// Issues a notice, or an error that the run survives, with its details.
void issueMessage(MessageCode code, const MessageDetails& details = {});
void issueMessage(CallFailure code, const char* failedCall, int32_t returnCode);

// What is still to be done when the run fails, before it says so; null for nothing. It may change what is said: it
// returns the name of a file that has turned out to be unreadable, or null.
inline const char* (*stepBeforeFailure)() = nullptr;

// Issue the message with the details that have been filled in and end the process with status -1; main has seen to it
// that what was written to the open files reaches them.
[[noreturn]] void exitWithMessage(PlainFailure code);
[[noreturn]] void exitWithMessage(FileFailure code, const char* fileName);
[[noreturn]] void exitWithMessage(CallFailure code, const char* failedCall, int32_t returnCode);

// Ends the process without a message.
[[noreturn]] void exitInSilence();
