#include "platform/message_service.h"

#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string_view>

#include "platform/message_catalogue.h"
#include "platform/message_details.h"
#include "platform/message_translation.h"
#include "platform/shown_text.h"

// A text with its arguments, of which a file name of 4095 characters is the longest.
static constexpr size_t TEXT_CAPACITY = 8192;
// The text and the DNs of two entries, each character shown as \xNN at the worst; what is longer is cut.
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

// Leaves room for the newline.
static void append(char* line, std::string_view text) { appendHarmless(line, LINE_CAPACITY - 1, text); }

static void appendNumber(char* line, int64_t number) {
  constexpr size_t DIGITS = 24;
  char digits[DIGITS];
  snprintf(digits, sizeof digits, "%" PRId64, number);
  append(line, digits);
}

// What a message says of an entry: its DN, and where in the input it stands.
static void appendEntry(char* line, const MessageValue& entry);

// Appends a text with the values put in where it says {1}, {2} and so on.
static void appendWithValues(char* line, std::string_view text, std::span<const MessageValue> values) {
  for (size_t brace = text.find('{'); brace != std::string_view::npos; brace = text.find('{')) {
    append(line, text.substr(0, brace));
    text.remove_prefix(brace + 1);
    const size_t number = strtoul(text.data(), nullptr, 10);
    const size_t closing = text.find('}');
    text.remove_prefix(closing == std::string_view::npos ? text.size() : closing + 1);
    if (number == 0 || number > values.size()) continue;
    const MessageValue& value = values[number - 1];
    if (value.kind == MessageValue::NUMBER) appendNumber(line, value.number);
    if (value.kind == MessageValue::TEXT) append(line, value.text);
    if (value.kind == MessageValue::ENTRY) appendEntry(line, value);
  }
  append(line, text);
}

static void appendEntry(char* line, const MessageValue& entry) {
  const std::string_view dn = dnOfLine(entry.text);
  append(line, dn.empty() ? textInLanguage(HIDDEN_DN) : dn);
  const MessageValue number = entry.number;
  if (entry.number > 0) appendWithValues(line, textInLanguage(LINE_OF_ENTRY), {&number, 1});
}

static void appendSubject(char* line, std::string_view subject) {
  const std::string_view dn = dnOfLine(subject);
  append(line, " Concerned: ");
  append(line, dn.empty() ? "an entry whose DN cannot be shown" : dn);
}

static void appendReason(char* line, const char* introduction) {
  if (messageReason[0] == '\0') return;
  append(line, introduction);
  append(line, messageReason);
}

static void appendSentence(char* line, DetailText sentence) {
  if (sentence == NO_DETAIL) return;
  append(line, " ");
  appendWithValues(line, textInLanguage(sentence), messageDetails.values);
}

// Appends the text, in which its arguments stand already, and what belongs to it.
static void appendMessage(char* line, const CatalogueMessage& message, const char* text) {
  switch (message.addition) {
    case NO_ADDITION:
      append(line, text);
      break;
    case REASON:
    case REASON_AND_USAGE:
      append(line, text);
      appendReason(line, ": ");
      break;
    case SUBJECT:
      append(line, text);
      if (!messageSubject.empty()) appendSubject(line, messageSubject);
      appendReason(line, " Reason: ");
      break;
    case SENTENCE_BEHIND:
      appendWithValues(line, text, messageDetails.values);
      appendSentence(line, messageDetails.sentence);
      break;
    case SENTENCE_IN_PLACE:
      appendWithValues(line, messageDetails.sentence == NO_DETAIL ? text : textInLanguage(messageDetails.sentence),
                       messageDetails.values);
  }
  appendSentence(line, messageDetails.hint);
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
  appendMessage(line, *message, text);
  const size_t end = strlen(line);
  snprintf(line + end, sizeof line - end, "\n%s", message->addition == REASON_AND_USAGE ? usageText : "");
  FILE* route = routeOf(message->severity);
  fwrite(line, 1, strlen(line), route);
  fflush(route);
}
