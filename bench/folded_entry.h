// One entry on its way into an export: folded at 76 columns, every line ended by CR and LF.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "random_numbers.h"

// Returns digits, of which there are so many.
std::string base64(RandomNumbers& random, uint32_t length);

// Returns the sixteen digits of a number.
std::string hexadecimal(uint64_t number);

class Entry {
 public:
  explicit Entry(uint64_t seed) : random(seed) {}

  // Appends a line of an attribute, whose colon and blank are part of the name, and of its value.
  void add(std::string_view name, std::initializer_list<std::string_view> value);

  // Lines added from here on may change places.
  void beginUnordered() { orderedLines = starts.size(); }

  // Appends the entry and the empty line behind it to the text.
  void appendTo(std::string& text);

  RandomNumbers random;

 private:
  std::string_view line(size_t number) const;

  std::string lines;           // one behind the other
  std::vector<size_t> starts;  // where in them each line begins
  size_t orderedLines = 0;
};
