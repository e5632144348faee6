#include "platform/message_service.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "platform/composed_text.h"
#include "platform/message_catalogue.h"
#include "platform/message_details.h"
#include "platform/shown_text.h"

// A text with its arguments, of which a file name of 4095 characters is the longest.
static constexpr size_t TEXT_CAPACITY = 8192;
// The text and the DNs of two entries, each character shown as \xNN at the worst; what is longer is cut.
static constexpr size_t LINE_CAPACITY = size_t{128} * 1024;

static FILE* routes[NUMBER_OF_SEVERITIES];  // null: not routed yet

static FILE* routeOf(Severity severity) {
  // A failure may come before main has routed anything, and a test routes nothing.
  if (routes[severity] != nullptr) return routes[severity];
  return severity == SEVERITY_NOTICE ? stdout : stderr;
}

void zr_svc_routing(const char* routing, int32_t* status) {
  *status = 1;
  for (int severity = 0; severity < NUMBER_OF_SEVERITIES; ++severity) {
    // Behind the name comes the destination, and nothing else.
    const size_t length = strlen(severityNames[severity]);
    if (strncmp(routing, severityNames[severity], length) != 0) continue;
    const bool toOutput = strcmp(routing + length, ":STDOUT") == 0;
    if (!toOutput && strcmp(routing + length, ":STDERR") != 0) continue;
    routes[severity] = toOutput ? stdout : stderr;
    *status = 0;
  }
}

static void appendSubject(ComposedText& line, std::string_view subject) {
  const std::string_view dn = dnOfLine(subject);
  const MessageValue shown = dn.empty() ? textOf(line, HIDDEN_SUBJECT) : dn;
  // A damaged entry may have something else in place of its DN, and that is not shown.
  appendText(line, CONCERNED, {&shown, 1});
}

static void appendSentence(ComposedText& line, DetailText sentence) {
  if (sentence == NO_DETAIL) return;
  append(line, " ");
  appendText(line, sentence, messageDetails.values);
}

// Appends the text, in which its arguments stand already, and what belongs to it.
static void appendMessage(ComposedText& line, const CatalogueMessage& message, const char* text) {
  const bool hasReason = messageReason[0] != '\0';
  const MessageValue reason = {messageReason, MessageValue::CAUSE};
  switch (message.addition) {
    case NO_ADDITION:
      append(line, text);
      break;
    case REASON:
    case REASON_AND_USAGE:
      append(line, text);
      if (!hasReason) break;
      append(line, ": ");
      appendReason(line, messageReason, messageDetails.values);
      break;
    case SUBJECT:
      append(line, text);
      if (!messageSubject.empty()) appendSubject(line, messageSubject);
      if (hasReason) appendText(line, REASON_BEHIND, {&reason, 1});
      break;
    case SENTENCE_BEHIND:
      appendWithValues(line, text, messageDetails.values);
      appendSentence(line, messageDetails.sentence);
      break;
    case SENTENCE_IN_PLACE:
      if (messageDetails.sentence == NO_DETAIL)
        appendWithValues(line, text, messageDetails.values);
      else
        appendText(line, messageDetails.sentence, messageDetails.values);
  }
  appendSentence(line, messageDetails.hint);
  if (message.addition == REASON_AND_USAGE) appendUsage(line);
}

static void appendHead(ComposedText& line, const CatalogueMessage& message) {
  append(line, "tqldif2v6: ");
  appendNumber(line, message.code);
  append(line, " ");
  append(line, severityNames[message.severity]);
  append(line, ": ");
}

void zr_printf_utf8(uint32_t code, ...) {
  const CatalogueMessage* message = findCatalogueMessage(code);
  if (message == nullptr) return;
  // Static, since the message may be about memory.
  static char line[LINE_CAPACITY];
  va_list arguments;
  va_start(arguments, code);
  // Leaves room for the newline.
  composeText(line, sizeof line - 1, [&](ComposedText& composed) {
    static char text[TEXT_CAPACITY];
    va_list copy;
    // The text may be put together a second time, in English.
    va_copy(copy, arguments);
    vsnprintf(text, sizeof text, textOf(composed, *message), copy);
    va_end(copy);
    appendHead(composed, *message);
    appendMessage(composed, *message, text);
  });
  va_end(arguments);
  memcpy(line + strlen(line), "\n", 2);
  FILE* route = routeOf(message->severity);
  // In one piece, so that another process on the same terminal does not come in between.
  fwrite(line, 1, strlen(line), route);
  fflush(route);
}
