// Texts for people, put together in their language and in the character set of their terminal.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "platform/message_catalogue.h"
#include "platform/message_details.h"

// A text that is being put together.
struct ComposedText {
  char* buffer;                 // closed by a NUL
  size_t size;                  // of the buffer; what does not fit is cut
  bool isInLanguage;            // its parts are translated where a translation is found, otherwise all are English
  bool isTranslated = false;    // one of them is
  bool isRepresentable = true;  // and all are in the character set
};

// Append what comes from a file or a name, or is English in every language, harmlessly; a number; a text in which the
// values stand for {1}, {2} and so on; why something failed, a reason like messageReason, with values.
void append(ComposedText& composed, std::string_view text);
void appendNumber(ComposedText& composed, int64_t number);
void appendText(ComposedText& composed, DetailText text, std::span<const MessageValue> values = {});
void appendReason(ComposedText& composed, std::string_view reason, std::span<const MessageValue> values = {});

// The same of a text that textOf has given, perhaps with other things put in.
void appendWithValues(ComposedText& composed, std::string_view text, std::span<const MessageValue> values);
const char* textOf(ComposedText& composed, const CatalogueMessage& message);
std::string_view textOf(ComposedText& composed, DetailText text);

// Appends how the tool is called, on lines of its own.
void appendUsage(ComposedText& composed);

// Brings a text that is composed into the character set. Returns false when it is to be composed in English.
bool finishComposedText(const ComposedText& composed);

// Calls a function that puts a text together in a buffer: in the user's language, and a second time, all in English, if
// one of its parts cannot be shown in the terminal's character set. An English text is shown as it stands; in any
// other, all that is put in is converted, too.
template <typename Compose>
void composeText(char* buffer, size_t size, Compose compose) {
  for (const bool isInLanguage : {true, false}) {
    ComposedText composed = {buffer, size, isInLanguage};
    buffer[0] = '\0';
    compose(composed);
    if (finishComposedText(composed)) return;
  }
}
