// Letter case as the C locale has it, whatever the environment: only ASCII letters have two cases. Without a branch
// or a table, so that compilers fold many characters at once.
#pragma once

constexpr unsigned char lowered(char character) {
  constexpr unsigned LETTERS = 26;
  const auto code = static_cast<unsigned char>(character);
  return static_cast<unsigned char>(code + (code - unsigned{'A'} < LETTERS ? 'a' - 'A' : 0));
}
