// Where the attribute names of one entry stand in another.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "rules/line.h"

// Which lines hold a name anywhere, in any case. Found by one walk over the entry however many names there
// are; only worth its memory for long entries.
struct NameMatches {
  using Names = std::vector<std::string_view>;
  Names names;                               // each once, in the order of their characters from the colon backwards
  std::vector<std::vector<uint32_t>> lines;  // of each those that hold no longer one at that place, the last one first
  std::vector<uint32_t> winners;             // binary tree above the names: below each node the one with the first line
  std::span<Line> entry;                     // lent
};

// Finds the lines of the entry that hold one of the names. Each name ends in its only colon.
NameMatches findMatches(std::vector<std::string_view> names, std::span<Line> entry);

// Returns the first line left that holds the name, which is one of them; null without one.
Line* firstThatHolds(NameMatches& matches, std::string_view name);
