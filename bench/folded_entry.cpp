#include "folded_entry.h"

#include <utility>

std::string base64(RandomNumbers& random, uint32_t length) {
  constexpr char DIGITS[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  constexpr int DIGITS_OF_A_NUMBER = 10;
  std::string text;
  while (text.size() < length) {
    uint64_t bits = random.bits();
    for (int i = 0; i < DIGITS_OF_A_NUMBER; ++i, bits >>= 6U) text += DIGITS[bits % 64];
  }
  text.resize(length);
  return text;
}

std::string hexadecimal(uint64_t number) {
  std::string text;
  for (; text.size() < 16; number >>= 4U) text += "0123456789abcdef"[number % 16];
  return text;
}

void Entry::add(std::string_view name, std::initializer_list<std::string_view> value) {
  starts.push_back(lines.size());
  lines += name;
  for (const std::string_view part : value) lines += part;
}

std::string_view Entry::line(size_t number) const {
  const size_t end = number + 1 < starts.size() ? starts[number + 1] : lines.size();
  return std::string_view(lines).substr(starts[number], end - starts[number]);
}

static void appendFolded(std::string& text, std::string_view line) {
  constexpr size_t COLUMNS = 76;
  text += line.substr(0, COLUMNS);
  for (size_t at = COLUMNS; at < line.size(); at += COLUMNS - 1) {
    text += "\r\n ";
    text += line.substr(at, COLUMNS - 1);
  }
  text += "\r\n";
}

void Entry::appendTo(std::string& text) {
  std::vector<size_t> order(starts.size());
  for (size_t i = 0; i < order.size(); ++i) {
    order[i] = i;
    if (i <= orderedLines) continue;
    const auto choices = static_cast<uint32_t>(i - orderedLines + 1);
    std::swap(order[i], order[orderedLines + random.below(choices)]);
  }
  for (const size_t number : order) appendFolded(text, line(number));
  text += "\r\n";
}
