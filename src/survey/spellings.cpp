#include "survey/spellings.h"

#include <cstdint>

#include "rules/text.h"

std::string withoutSpareBlanks(std::string_view dn) {
  constexpr std::string_view SIGNS = ",=+";
  std::string plain;
  for (const char character : trimmed(behindSpaces(dn))) {
    const bool isSign = SIGNS.find(character) != std::string_view::npos;
    const bool isBehindSign = !plain.empty() && SIGNS.find(plain.back()) != std::string_view::npos;
    if (isSign && plain.ends_with(' ')) plain.pop_back();
    if (character != ' ' || !(plain.ends_with(' ') || isBehindSign)) plain += character;
  }
  return plain;
}

std::string decodedBase64(std::string_view text) {
  constexpr std::string_view DIGITS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  constexpr unsigned BITS_OF_DIGIT = 6;
  constexpr unsigned BITS_OF_BYTE = 8;
  std::string decoded;
  uint32_t bits = 0;
  unsigned count = 0;  // of those that are in no byte yet
  for (const char character : text) {
    const size_t digit = DIGITS.find(character);
    if (digit == std::string_view::npos) break;
    bits = (bits << BITS_OF_DIGIT) | static_cast<uint32_t>(digit);
    count += BITS_OF_DIGIT;
    if (count < BITS_OF_BYTE) continue;
    count -= BITS_OF_BYTE;
    decoded += static_cast<char>(bits >> count);
  }
  return decoded;
}
