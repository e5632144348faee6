#include "reporting/reporting.h"

#include <cerrno>
#include <cstdarg>
#include <cstdlib>

#include "platform/message_codes.h"
#include "platform/message_service.h"
#include "platform/progress_line.h"
#include "platform/shown_text.h"

static void writeLine(FILE* stream, const char* format, va_list arguments) {
  // The caller may be about to tell the reason of a failed call.
  const int savedErrno = errno;
  vfprintf(stream, format, arguments);
  fflush(stream);
  errno = savedErrno;
}

// The brackets keep the macro of this name away.
void(traceLine)(const char* format, ...) {
  if (debug == 0 || tfp == nullptr) return;
  va_list arguments;
  va_start(arguments, format);
  writeLine(tfp, format, arguments);
  va_end(arguments);
}

static void writeHarmlessly(const char* format, va_list arguments) {
  constexpr size_t TEXT_SIZE = size_t{128} * 1024;
  const int savedErrno = errno;
  // Static, because it is called when memory is exhausted, too.
  static char text[TEXT_SIZE];
  static char shown[TEXT_SIZE];
  vsnprintf(text, sizeof text, format, arguments);
  shown[0] = '\0';
  appendHarmless(shown, sizeof shown, text, Newlines::KEPT);
  eraseProgressLine();
  fputs(shown, stdout);
  fflush(stdout);
  errno = savedErrno;
}

void printHarmlessly(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  writeHarmlessly(format, arguments);
  va_end(arguments);
}

void echoError(const char* format, ...) {
  if (debugError == 0) return;
  va_list arguments;
  va_start(arguments, format);
  writeHarmlessly(format, arguments);
  va_end(arguments);
}

void reportError(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  if (debug != 0 && tfp != nullptr) {
    va_list copy;
    // Arguments can be walked through only once.
    va_copy(copy, arguments);
    writeLine(tfp, format, copy);
    va_end(copy);
  }
  if (debugError != 0) writeHarmlessly(format, arguments);
  va_end(arguments);
}

// The brackets name the function, not the macro.
Sink traceSink() { return debug == 0 ? nullptr : (traceLine); }

std::string_view textOrNull(std::string_view text) { return text.data() != nullptr ? text : "null"; }

std::string_view textOrNULL(std::string_view text) { return text.data() != nullptr ? text : "NULL"; }

void concerning(std::string_view dn) { messageSubject = dn; }

void issueMessage(MessageCode code, const MessageDetails& details) {
  // A message begins on a line of its own.
  eraseProgressLine();
  messageDetails = details;
  zr_printf_utf8(code);
  messageDetails = {};
}

void issueMessage(CallFailure code, const char* failedCall, int32_t returnCode) {
  eraseProgressLine();
  zr_printf_utf8(code, failedCall, returnCode);
}

// Takes the step that a failure still wants. A file that could not be read is then the cause, whatever seemed to be.
static void prepareFailure() {
  eraseProgressLine();
  const auto step = stepBeforeFailure;
  stepBeforeFailure = nullptr;  // it can fail, too
  const char* const unreadable = step != nullptr ? step() : nullptr;
  if (unreadable == nullptr) return;
  // The failure that was to be told is a consequence of this one, which is told in its place.
  zr_printf_utf8(OBJECT_NOT_READ, unreadable);
  exit(-1);
}

void exitWithMessage(PlainFailure code) {
  prepareFailure();
  zr_printf_utf8(code);
  exit(-1);
}

void exitWithMessage(FileFailure code, const char* fileName) {
  prepareFailure();
  zr_printf_utf8(code, fileName);
  exit(-1);
}

void exitWithMessage(CallFailure code, const char* failedCall, int32_t returnCode) {
  prepareFailure();
  zr_printf_utf8(code, failedCall, returnCode);
  exit(-1);
}

void exitInSilence() {
  prepareFailure();
  exit(-1);
}
