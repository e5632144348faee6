// Message texts in the administrator's language, in UTF-8.
#pragma once

#include <string_view>

#include "platform/message_catalogue.h"

// Returns the message's text: that of the POSIX message catalogue tqldif2v6.cat, found through NLSPATH and the
// locale of messages, if it has one that takes the same arguments, otherwise the embedded one. The catalogue is
// opened at the first call and stays open; the locale of the process is the C locale before and after.
const char* textInLanguage(const CatalogueMessage& message);

// The same for the text of a detail. It takes no arguments: values are put in where a text has a place for them.
const char* textInLanguage(DetailText text);

// The same for why something failed: an English text of a detail, or the C library's text of an error, which has its
// translations itself. Where there is none, the same text. Valid until the next call.
std::string_view reasonInLanguage(std::string_view reason);

// True when both printf formats take the same arguments, in number and type. Known are %s and %d with flags, width
// and precision, in order or by position (%2$s); a format with anything else is refused.
bool takesSameArguments(const char* format, const char* otherFormat);
