#include "platform/message_service.h"

#include <strings.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "platform/message_catalogue.h"
#include "platform/message_details.h"
#include "platform/message_translation.h"

// A text with its arguments, of which a file name of 4095 characters is the longest.
static constexpr size_t TEXT_CAPACITY = 8192;
// The text, a reason and an owner DN of 20,000 characters, each character shown as \xNN at the worst.
static constexpr size_t LINE_CAPACITY = size_t{128} * 1024;

static FILE* routes[NUMBER_OF_SEVERITIES];  // null: not routed yet

static FILE* routeOf(Severity severity) {
  if (routes[severity] != nullptr) return routes[severity];
  return severity == SEVERITY_NOTICE ? stdout : stderr;
}

void zr_svc_routing(const char* routing, int32_t* status) {
  *status = 1;
  for (int severity = 0; severity < NUMBER_OF_SEVERITIES; ++severity) {
    const size_t length = strlen(severityNames[severity]);
    if (strncmp(routing, severityNames[severity], length) != 0) continue;
    const bool toOutput = strcmp(routing + length, ":STDOUT") == 0;
    if (!toOutput && strcmp(routing + length, ":STDERR") != 0) continue;
    routes[severity] = toOutput ? stdout : stderr;
    *status = 0;
  }
}

// Appends text to the line, control characters made visible so that a name cannot fake a line of its own.
static void appendVisibly(char* line, const char* text, size_t length) {
  size_t end = strlen(line);
  for (size_t i = 0; i < length && end + 5 < LINE_CAPACITY; ++i) {
    const auto character = static_cast<unsigned char>(text[i]);
    const bool control = character < ' ' || character == 0x7f;
    end += static_cast<size_t>(
        snprintf(line + end, LINE_CAPACITY - end, control ? "\\x%02X" : "%c", static_cast<unsigned>(character)));
  }
}

static void appendVisibly(char* line, const char* text) { appendVisibly(line, text, strlen(text)); }

static bool looksLikeDn(const char* subject) {
  return strncasecmp(subject, "dn:", strlen("dn:")) == 0 || subject[strcspn(subject, "=:, ")] == '=';
}

// In a damaged file something else may stand where a DN belongs, a password perhaps: that is not shown.
static void appendSubject(char* line, const char* subject) {
  appendVisibly(line, " Concerned: ");
  if (looksLikeDn(subject))
    appendVisibly(line, subject, strcspn(subject, "\r\n"));
  else
    appendVisibly(line, "an entry that does not begin with its dn");
}

static void appendReason(char* line, const char* introduction) {
  if (messageReason[0] == '\0') return;
  appendVisibly(line, introduction);
  appendVisibly(line, messageReason);
}

static void appendAddition(char* line, const CatalogueMessage& message) {
  if (message.addition == REASON || message.addition == REASON_AND_USAGE) appendReason(line, ": ");
  if (message.addition != SUBJECT) return;
  if (messageSubject != nullptr) appendSubject(line, messageSubject);
  appendReason(line, " Reason: ");
}

void zr_printf_utf8(uint32_t code, ...) {
  const CatalogueMessage* message = findCatalogueMessage(code);
  if (message == nullptr) return;
  static char text[TEXT_CAPACITY];
  va_list arguments;
  va_start(arguments, code);
  vsnprintf(text, sizeof text, textInLanguage(*message), arguments);
  va_end(arguments);

  static char line[LINE_CAPACITY];
  snprintf(line, sizeof line, "tqldif2v6: %u %s: ", code, severityNames[message->severity]);
  appendVisibly(line, text);
  appendAddition(line, *message);
  const size_t end = strlen(line);
  snprintf(line + end, sizeof line - end, "\n%s", message->addition == REASON_AND_USAGE ? usageText : "");
  FILE* route = routeOf(message->severity);
  fwrite(line, 1, strlen(line), route);
  fflush(route);
}
