// Letter case as the C locale has it, whatever the environment: only ASCII letters have two cases. A table, since
// the conversion compares every line without regard to case several times.
#pragma once

#include <array>

constexpr std::array<unsigned char, 256> makeLoweredCharacters() {
  std::array<unsigned char, 256> table{};
  for (unsigned i = 0; i < table.size(); ++i)
    table[i] = static_cast<unsigned char>(i >= 'A' && i <= 'Z' ? i - 'A' + 'a' : i);
  return table;
}

inline constexpr std::array<unsigned char, 256> loweredCharacters = makeLoweredCharacters();

inline unsigned char lowered(char character) { return loweredCharacters[static_cast<unsigned char>(character)]; }
