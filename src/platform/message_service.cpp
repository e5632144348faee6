#include "platform/message_service.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "platform/message_catalogue.h"
#include "platform/message_details.h"

// A text with its arguments: a file name of 4095 characters, each shown as \xNN at the worst, and the text.
static constexpr size_t LINE_CAPACITY = 20480;

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
static void appendVisibly(char* line, const char* text) {
  size_t end = strlen(line);
  for (; *text != '\0' && end + 5 < LINE_CAPACITY; ++text) {
    const auto character = static_cast<unsigned char>(*text);
    const bool control = character < ' ' || character == 0x7f;
    end += static_cast<size_t>(
        snprintf(line + end, LINE_CAPACITY - end, control ? "\\x%02X" : "%c", static_cast<unsigned>(character)));
  }
}

static void appendSubject(char* line, const char* subject) {
  char firstLine[4096];
  snprintf(firstLine, sizeof firstLine, "%.*s", static_cast<int>(strcspn(subject, "\r\n")), subject);
  appendVisibly(line, " Concerned: ");
  appendVisibly(line, firstLine);
}

static void appendAddition(char* line, const CatalogueMessage& message) {
  const bool hasReason = messageReason[0] != '\0';
  if ((message.addition == REASON || message.addition == REASON_AND_USAGE) && hasReason) {
    appendVisibly(line, ": ");
    appendVisibly(line, messageReason);
  }
  if (message.addition == SUBJECT && messageSubject != nullptr) appendSubject(line, messageSubject);
}

void zr_printf_utf8(uint32_t code, ...) {
  const CatalogueMessage* message = findCatalogueMessage(code);
  if (message == nullptr) return;
  static char text[LINE_CAPACITY];
  va_list arguments;
  va_start(arguments, code);
  vsnprintf(text, sizeof text, message->text, arguments);
  va_end(arguments);

  static char line[LINE_CAPACITY];
  snprintf(line, sizeof line, "tqldif2v6: %u %s: ", code, severityNames[message->severity]);
  appendVisibly(line, text);
  appendAddition(line, *message);
  FILE* route = routeOf(message->severity);
  fprintf(route, "%s\n%s", line, message->addition == REASON_AND_USAGE ? usageText : "");
  fflush(route);
}
