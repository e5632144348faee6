#include "reporting/reporting.h"

#include <cerrno>
#include <cstdarg>
#include <cstdlib>

#include "platform/message_service.h"
#include "platform/progress_line.h"
#include "platform/shown_text.h"

static void writeLine(FILE* stream, const char* format, va_list arguments) {
  const int savedErrno = errno;
  vfprintf(stream, format, arguments);
  fflush(stream);
  errno = savedErrno;
}

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
    va_copy(copy, arguments);
    writeLine(tfp, format, copy);
    va_end(copy);
  }
  if (debugError != 0) writeHarmlessly(format, arguments);
  va_end(arguments);
}

const char* textOrNull(const char* text) { return text != nullptr ? text : "null"; }

const char* textOrNULL(const char* text) { return text != nullptr ? text : "NULL"; }

void concerning(const char* dn) { messageSubject = dn; }

void issueMessage(MessageCode code, const MessageDetails& details) {
  eraseProgressLine();
  messageDetails = details;
  zr_printf_utf8(code);
  messageDetails = {};
}

void issueMessage(MessageCode code, const char* failedCall, int32_t returnCode) {
  eraseProgressLine();
  zr_printf_utf8(code, failedCall, returnCode);
}

void exitWithMessage(MessageCode code) {
  eraseProgressLine();
  zr_printf_utf8(code);
  exit(-1);
}

void exitWithMessage(MessageCode code, const char* fileName) {
  eraseProgressLine();
  zr_printf_utf8(code, fileName);
  exit(-1);
}

void exitWithMessage(MessageCode code, const char* failedCall, int32_t returnCode) {
  issueMessage(code, failedCall, returnCode);
  exit(-1);
}

static void* orExit(void* block, const char* failureLine) {
  if (block != nullptr) return block;
  traceLine("%s", failureLine);
  exitWithMessage(MEMORY_EXHAUSTED);
}

void* allocate(size_t size, const char* failureLine) { return orExit(malloc(size), failureLine); }

void* reallocate(void* block, size_t size, const char* failureLine) {
  return orExit(realloc(block, size), failureLine);
}
