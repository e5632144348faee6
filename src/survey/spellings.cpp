#include "survey/spellings.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "rules/text.h"

std::string_view withoutMark(std::string_view text) {
  constexpr std::string_view MARK = "\xEF\xBB\xBF";
  return text.starts_with(MARK) ? text.substr(MARK.size()) : text;
}

std::string withoutSpareBlanks(std::string_view dn) {
  constexpr std::string_view SIGNS = ",=+";
  if (dn.find(' ') == std::string_view::npos) return std::string(trimmed(dn));
  std::string plain;
  for (const char character : trimmed(behindSpaces(dn))) {
    const bool isSign = SIGNS.find(character) != std::string_view::npos;
    const bool isBehindSign = !plain.empty() && SIGNS.find(plain.back()) != std::string_view::npos;
    if (isSign && plain.ends_with(' ')) plain.pop_back();
    if (character != ' ' || !(plain.ends_with(' ') || isBehindSign)) plain += character;
  }
  return plain;
}

bool losesBlankOfName(std::string_view dn) {
  bool isQuoted = false;
  for (size_t i = 0; i < dn.size(); ++i) {
    if (dn[i] == '"') isQuoted = !isQuoted;
    const bool isEscaped = dn[i] == '\\';
    if (isEscaped) ++i;
    if (!isEscaped && !isQuoted) continue;
    const std::string_view rest = dn.substr(std::min(i, dn.size()));
    if (rest.starts_with(", ") || (rest.starts_with(' ') && behindSpaces(rest).starts_with(','))) return true;
  }
  return false;
}

static constexpr size_t GROUP_DIGITS = 4;
static constexpr size_t GROUP_BYTES = 3;
static constexpr unsigned BITS_OF_DIGIT = 6;
static constexpr unsigned BITS_OF_BYTE = 8;
static constexpr uint8_t NO_DIGIT = 255;

using DigitValues = std::array<uint8_t, 256>;

static constexpr DigitValues valuesOfDigits() {
  constexpr std::string_view DIGITS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  DigitValues values{};
  values.fill(NO_DIGIT);
  for (size_t i = 0; i < DIGITS.size(); ++i) values[static_cast<unsigned char>(DIGITS[i])] = static_cast<uint8_t>(i);
  return values;
}

static constexpr DigitValues digitValues = valuesOfDigits();

static constexpr size_t bytesOf(size_t digits) { return digits * BITS_OF_DIGIT / BITS_OF_BYTE; }

// Decodes the digits that stand in front, a group at most, and returns how many those are.
static size_t decodeGroup(std::string_view text, char (&bytes)[GROUP_BYTES]) {
  uint32_t bits = 0;
  size_t digits = 0;
  for (; digits < std::min(GROUP_DIGITS, text.size()); ++digits) {
    const uint8_t value = digitValues[static_cast<unsigned char>(text[digits])];
    if (value == NO_DIGIT) break;
    bits = (bits << BITS_OF_DIGIT) | value;
  }
  bits <<= BITS_OF_DIGIT * (GROUP_DIGITS - digits);
  for (size_t i = 0; i < GROUP_BYTES; ++i)
    bytes[i] = static_cast<char>(bits >> (BITS_OF_BYTE * static_cast<unsigned>(GROUP_BYTES - 1 - i)));
  return digits;
}

// Of a file that has the value.
static bool isAddress(std::string_view value) { return value.starts_with('<'); }

static bool isInBase64(std::string_view value) { return value.starts_with(':'); }

std::string decodedBase64(std::string_view text) {
  std::string decoded;
  char bytes[GROUP_BYTES];
  size_t digits = GROUP_DIGITS;
  for (; digits == GROUP_DIGITS; text.remove_prefix(digits)) {
    digits = decodeGroup(text, bytes);
    decoded.append(bytes, bytesOf(digits));
  }
  return decoded;
}

// Gives what a value says, piece by piece. From where it stops being base 64 it says what stands there.
class ValueReader {
 public:
  explicit ValueReader(std::string_view value) : isBase64_(isInBase64(value)) {
    rest_ = behindSpaces(value.substr(isBase64_ ? 1 : 0));
    if (!isBase64_) return;
    while (rest_.ends_with(' ') || rest_.ends_with('\t')) rest_.remove_suffix(1);
    while (rest_.ends_with('=')) rest_.remove_suffix(1);
  }

  // Valid until the next call; shorter than PIECE at the end alone.
  std::string_view next() {
    size_t length = 0;
    while (isBase64_ && !isBroken_ && length < PIECE && !rest_.empty()) length += nextGroup(&piece_[length]);
    const size_t plainLength = isBase64_ && !isBroken_ ? 0 : std::min(PIECE - length, rest_.size());
    std::copy_n(rest_.begin(), plainLength, &piece_[length]);
    rest_.remove_prefix(plainLength);
    return {piece_, length + plainLength};
  }

  // True when it has stopped being base 64.
  bool isBroken() const { return isBroken_; }

  static constexpr size_t PIECE = 4 * GROUP_BYTES;

 private:
  size_t nextGroup(char* place) {
    char bytes[GROUP_BYTES];
    const size_t digits = decodeGroup(rest_, bytes);
    isBroken_ = digits < 2;
    if (isBroken_) return 0;
    rest_.remove_prefix(digits);
    std::copy_n(bytes, bytesOf(digits), place);
    return bytesOf(digits);
  }

  std::string_view rest_;
  bool isBase64_;
  bool isBroken_ = false;
  char piece_[PIECE] = {};
};

int compareValues(std::string_view one, std::string_view other) {
  if (isAddress(one) != isAddress(other)) return isAddress(one) ? -1 : 1;
  if (!isInBase64(one) && !isInBase64(other)) return behindSpaces(one).compare(behindSpaces(other));
  if (one == other) return 0;
  ValueReader reader(one);
  ValueReader otherReader(other);
  while (true) {
    const std::string_view piece = reader.next();
    const std::string_view otherPiece = otherReader.next();
    const int order = piece.compare(otherPiece);
    if (order != 0) return order;
    if (piece.size() == ValueReader::PIECE) continue;
    // What is no base 64 is the same as no text.
    return static_cast<int>(reader.isBroken()) - static_cast<int>(otherReader.isBroken());
  }
}

std::string_view decodedValueOf(const Line& line, std::string& decoded) {
  if (line.firstColon >= line.contentLength) return {};
  std::string_view value = line.content().substr(size_t{line.firstColon} + 1);
  const bool isBase64 = value.starts_with(':');
  value = behindSpaces(value.substr(isBase64 ? 1 : 0));
  while (value.ends_with(' ') || value.ends_with('\t')) value.remove_suffix(1);
  if (!isBase64) return value;
  decoded = decodedBase64(value);
  return decoded;
}
