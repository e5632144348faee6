#include "platform/message_translation.h"

#include <libintl.h>
#include <nl_types.h>

#include <array>
#include <cctype>
#include <clocale>
#include <cstdlib>
#include <cstring>

static constexpr size_t MAXIMUM_ARGUMENTS = 9;

// What a format takes: the conversion character of each argument, 0 for one that it does not use.
struct Arguments {
  std::array<char, MAXIMUM_ARGUMENTS> conversions;
  bool isUnderstood;
};

// Reads the number before a '$', if that is what comes, and moves behind it. Returns 0 for a conversion without one.
static size_t readPosition(const char*& format) {
  if (isdigit(static_cast<unsigned char>(*format)) == 0) return 0;
  char* end = nullptr;
  const unsigned long number = strtoul(format, &end, 10);
  if (number == 0 || *end != '$') return 0;
  format = end + 1;
  return number;
}

static Arguments argumentsOf(const char* format) {
  Arguments arguments = {{}, true};
  size_t inOrder = 0;
  size_t byPosition = 0;
  for (format = strchr(format, '%'); format != nullptr; format = strchr(format, '%')) {
    ++format;
    if (*format == '%') {
      ++format;
      continue;
    }
    const size_t position = readPosition(format);
    const size_t index = position > 0 ? position - 1 : inOrder;
    ++(position > 0 ? byPosition : inOrder);
    // They only say how the argument is shown. A star would take one of its own, and is refused.
    format += strspn(format, "-+ #0123456789.");
    const bool isKnown = *format == 's' || *format == 'd';
    // What a format means that mixes both ways of counting is left open by the standard.
    if (!isKnown || index >= MAXIMUM_ARGUMENTS || (inOrder > 0 && byPosition > 0)) return {{}, false};
    char& conversion = arguments.conversions[index];
    if (conversion != 0 && conversion != *format) return {{}, false};
    conversion = *format;
  }
  return arguments;
}

bool takesSameArguments(const char* format, const char* otherFormat) {
  const Arguments arguments = argumentsOf(format);
  const Arguments otherArguments = argumentsOf(otherFormat);
  return arguments.isUnderstood && otherArguments.isUnderstood && arguments.conversions == otherArguments.conversions;
}

static nl_catd openCatalogue() {
  setlocale(LC_MESSAGES, "");
  nl_catd opened = catopen("tqldif2v6.cat", NL_CAT_LOCALE);
  setlocale(LC_MESSAGES, "C");  // strerror's texts are traced and compared
  return opened;
}

static nl_catd catalogue() {
  static nl_catd opened = openCatalogue();
  return opened;
}

static bool hasCatalogue() {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): this is how catopen says that there is none
  return catalogue() != reinterpret_cast<nl_catd>(-1);
}

// Returns the translation of a text, or the text itself.
static const char* translated(int set, int number, const char* text) {
  return hasCatalogue() ? catgets(catalogue(), set, number, text) : text;
}

const char* textInLanguage(const CatalogueMessage& message) {
  const char* text = translated(1, messageNumber(message), message.text);
  // A catalogue can be anybody's: a format that takes other arguments would read what was not given.
  return takesSameArguments(text, message.text) ? text : message.text;
}

const char* textInLanguage(DetailText text) { return translated(2, text, detailText(text)); }

// The locale in which the C library tells errors; null when there is none.
static locale_t openErrorLocale() {
  // In UTF-8 as all translations are, whatever the terminal shows.
  bind_textdomain_codeset("libc", "UTF-8");
  return newlocale(LC_MESSAGES_MASK, "", locale_t());
}

// Only where the other texts are translated, too.
static std::string_view errorInLanguage(std::string_view error) {
  constexpr int LAST_ERROR = 133;  // of Linux
  static const locale_t locale = hasCatalogue() ? openErrorLocale() : locale_t();
  if (locale == locale_t()) return error;
  // A reason is kept as a text, through several hands, so its number has to be found again.
  for (int number = 1; number <= LAST_ERROR; ++number)
    if (error == strerror(number)) return strerror_l(number, locale);
  return error;
}

std::string_view reasonInLanguage(std::string_view reason) {
  for (int text = NO_DETAIL + 1; text < NUMBER_OF_DETAIL_TEXTS; ++text) {
    const auto detail = static_cast<DetailText>(text);
    if (reason == detailText(detail)) return textInLanguage(detail);
  }
  return errorInLanguage(reason);
}
