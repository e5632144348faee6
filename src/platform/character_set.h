// The character set in which messages are shown: that of the locale's LC_CTYPE. Texts are in UTF-8 before.
#pragma once

#include <iconv.h>

#include <cstddef>
#include <string_view>

// Returns a conversion to a character set, or null when the C library has none.
iconv_t openConversion(const char* characterSet);

// The one to the character set of the locale that the environment names, opened at the first call.
iconv_t conversionForTerminal();

// True when every character of the text is in the character set; false without a conversion.
bool isRepresentable(iconv_t conversion, std::string_view text);

// Converts the text in a buffer of the given size in place, as much of it as fits. Characters that the character set
// lacks are shown as \xNN, byte by byte.
void convertText(iconv_t conversion, char* buffer, size_t size);
