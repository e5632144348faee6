#include "platform/character_set.h"

#include <langinfo.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>

iconv_t openConversion(const char* characterSet) {
  iconv_t conversion = iconv_open(characterSet, "UTF-8");
  // NOLINTNEXTLINE(performance-no-int-to-ptr): this is how iconv_open says that there is none
  return conversion == reinterpret_cast<iconv_t>(-1) ? nullptr : conversion;
}

// The locale of the process stays the C locale: in another one other bytes would be letters to the rules.
static iconv_t openConversionForTerminal() {
  const locale_t locale = newlocale(LC_CTYPE_MASK, "", locale_t());
  if (locale == locale_t()) return openConversion(nl_langinfo(CODESET));
  iconv_t conversion = openConversion(nl_langinfo_l(CODESET, locale));
  freelocale(locale);
  return conversion;
}

iconv_t conversionForTerminal() {
  static iconv_t conversion = openConversionForTerminal();
  return conversion;
}

static void beginConversion(iconv_t conversion) { iconv(conversion, nullptr, nullptr, nullptr, nullptr); }

// A place where iconv goes on reading or writing, and how many bytes there are from there on.
struct Part {
  char* text;
  size_t length;
};

// Converts until something stops it. Returns 0 when all has been converted, or why it was not: E2BIG for want of room,
// anything else for a character that has no counterpart.
static int convert(iconv_t conversion, Part& source, Part& target) {
  const size_t replaced = iconv(conversion, &source.text, &source.length, &target.text, &target.length);
  if (replaced == static_cast<size_t>(-1)) return errno;
  return replaced == 0 ? 0 : EILSEQ;  // some C libraries put another character in place
}

bool isRepresentable(iconv_t conversion, std::string_view text) {
  constexpr size_t PART_SIZE = 256;
  if (conversion == nullptr) return false;
  beginConversion(conversion);
  Part source = {const_cast<char*>(text.data()), text.size()};  // iconv only reads it
  int problem = 0;
  do {
    char converted[PART_SIZE];
    Part target = {converted, sizeof converted};
    problem = convert(conversion, source, target);
  } while (problem == E2BIG);
  return problem == 0;
}

// Shows the first byte of the source, which belongs to a character that the character set lacks, and moves behind it.
// Returns false for want of room, with nothing of the byte shown.
static bool showByte(iconv_t conversion, Part& source, Part& target) {
  constexpr size_t SHOWN_SIZE = 5;  // \xNN
  char shown[SHOWN_SIZE];
  snprintf(shown, sizeof shown, "\\x%02X", static_cast<unsigned char>(*source.text));
  Part escape = {shown, strlen(shown)};
  const Part before = target;
  if (convert(conversion, escape, target) != 0) {
    target = before;
    return false;
  }
  ++source.text;
  --source.length;
  return true;
}

void convertText(iconv_t conversion, char* buffer, size_t size) {
  constexpr size_t CAPACITY = size_t{128} * 1024;  // of the longest message
  constexpr size_t RESERVE = 16;  // for what brings a character set with states back to its first one, and the NUL
  static char converted[CAPACITY];
  beginConversion(conversion);
  Part source = {buffer, strlen(buffer)};
  Part target = {converted, std::min(size, CAPACITY) - RESERVE};
  // Up to a character that the character set lacks, then its bytes one by one, none of which is a character, and on.
  while (source.length > 0) {
    const int problem = convert(conversion, source, target);
    // Without room the rest is cut off.
    if (problem == 0 || problem == E2BIG || !showByte(conversion, source, target)) break;
  }
  target.length += RESERVE - 1;
  iconv(conversion, nullptr, nullptr, &target.text, &target.length);
  *target.text = '\0';
  memcpy(buffer, converted, static_cast<size_t>(target.text - converted) + 1);
}
