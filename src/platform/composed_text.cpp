#include "platform/composed_text.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>

#include "platform/character_set.h"
#include "platform/message_translation.h"
#include "platform/shown_text.h"

void append(ComposedText& composed, std::string_view text) { appendHarmless(composed.buffer, composed.size, text); }

void appendNumber(ComposedText& composed, int64_t number) {
  constexpr size_t DIGITS = 24;
  char digits[DIGITS];
  snprintf(digits, sizeof digits, "%" PRId64, number);
  append(composed, digits);
}

// Returns the translation, or the English text where that is wanted.
static std::string_view choose(ComposedText& composed, std::string_view translation, std::string_view english) {
  if (!composed.isInLanguage || translation == english) return english;
  composed.isTranslated = true;
  // One text that cannot be shown takes the others with it: half a message in another language helps nobody.
  composed.isRepresentable = composed.isRepresentable && isRepresentable(conversionForTerminal(), translation);
  return translation;
}

const char* textOf(ComposedText& composed, const CatalogueMessage& message) {
  return choose(composed, textInLanguage(message), message.text).data();
}

std::string_view textOf(ComposedText& composed, DetailText text) {
  return choose(composed, textInLanguage(text), detailText(text));
}

// What a text says of an entry: its DN, and where in the input it stands.
static void appendEntry(ComposedText& composed, const MessageValue& entry) {
  const std::string_view dn = dnOfLine(entry.text);
  append(composed, dn.empty() ? textOf(composed, HIDDEN_DN) : dn);
  // Without a number for an entry that the input does not hold, or that was not found there again.
  const MessageValue line = entry.number;
  if (entry.number > 0) appendText(composed, LINE_OF_ENTRY, {&line, 1});
}

static void appendValue(ComposedText& composed, const MessageValue& value) {
  switch (value.kind) {
    case MessageValue::NOTHING:
      break;
    case MessageValue::NUMBER:
      appendNumber(composed, value.number);
      break;
    case MessageValue::TEXT:
      append(composed, value.text);
      break;
    case MessageValue::CAUSE:
      appendReason(composed, value.text);
      break;
    case MessageValue::ENTRY:
      appendEntry(composed, value);
  }
}

void appendWithValues(ComposedText& composed, std::string_view text, std::span<const MessageValue> values) {
  for (size_t brace = text.find('{'); brace != std::string_view::npos; brace = text.find('{')) {
    append(composed, text.substr(0, brace));
    text.remove_prefix(brace + 1);
    const size_t number = strtoul(text.data(), nullptr, 10);
    // A translation with a number that there is no value for, or with a brace too few, loses a place and breaks
    // nothing.
    const size_t closing = text.find('}');
    text.remove_prefix(closing == std::string_view::npos ? text.size() : closing + 1);
    if (number > 0 && number <= values.size()) appendValue(composed, values[number - 1]);
  }
  append(composed, text);
}

void appendText(ComposedText& composed, DetailText text, std::span<const MessageValue> values) {
  appendWithValues(composed, textOf(composed, text), values);
}

void appendReason(ComposedText& composed, std::string_view reason, std::span<const MessageValue> values) {
  const std::string_view addition = detailText(INPUT_NOT_WRITABLE);
  // The opening of the input has put two texts together.
  const bool hasAddition = reason.ends_with(addition);
  if (hasAddition) reason.remove_suffix(addition.size());
  appendWithValues(composed, choose(composed, reasonInLanguage(reason), reason), values);
  if (hasAddition) appendText(composed, INPUT_NOT_WRITABLE);
}

void appendUsage(ComposedText& composed) {
  for (const std::string_view lines : {std::string_view("\n"), textOf(composed, USAGE)})
    appendHarmless(composed.buffer, composed.size, lines, Newlines::KEPT);
}

bool finishComposedText(const ComposedText& composed) {
  // English messages are the same bytes in every locale.
  if (!composed.isTranslated) return true;
  if (composed.isRepresentable) convertText(conversionForTerminal(), composed.buffer, composed.size);
  return composed.isRepresentable;
}
