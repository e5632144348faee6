#include "rules/first_line.h"

#include <algorithm>

void append(FirstLine& line, std::string_view piece) {
  for (const char end : {'\r', '\n'}) piece = piece.substr(0, piece.find(end));
  // What has been kept already is looked at, too: a comma and the blanks beside it may stand in two pieces of a folded
  // line.
  for (const char character : piece) {
    if (character == ' ' && line.length > 0 && line.text[line.length - 1] == ',') continue;
    if (character == ',')
      while (line.length > 0 && line.text[line.length - 1] == ' ') --line.length;
    line.isWhole = line.isWhole && line.length < FirstLine::CAPACITY;
    if (line.isWhole) line.text[line.length++] = character;
  }
}

void trimEnd(FirstLine& line) { line.length = std::min(line.view().find_last_not_of(" \t\v\f") + 1, line.length); }

void normalise(FirstLine& line, std::string_view text) {
  line.clear();
  append(line, text);
  trimEnd(line);
}

bool isEqual(const FirstLine& line, const FirstLine& other) {
  // Of lines that were cut nobody knows how they go on, so they are not taken for one another.
  return line.isWhole && other.isWhole && line.view() == other.view();
}
