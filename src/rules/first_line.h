// The first line of an entry in the form in which it is compared with another: without anything that may differ between
// the input and what becomes of it.
#pragma once

#include <cstddef>
#include <string_view>

// Without its line end, blanks beside commas and white space at the end. Kept in a fixed buffer, because a run whose
// memory is exhausted needs it, too; a longer line is equal to none.
struct FirstLine {
  static constexpr size_t CAPACITY = size_t{64} * 1024;
  char text[CAPACITY];
  size_t length;
  bool isWhole;

  void clear() {
    length = 0;
    isWhole = true;
  }
  std::string_view view() const { return {text, length}; }
};

// Appends a piece of the line, up to its line end. Behind the last piece comes trimEnd.
void append(FirstLine& line, std::string_view piece);
void trimEnd(FirstLine& line);

// Makes it of a line in one piece.
void normalise(FirstLine& line, std::string_view text);

bool isEqual(const FirstLine& line, const FirstLine& other);
