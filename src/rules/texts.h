// Memory for texts that are made on the way. They stay where they are until all of them are given back at once.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

struct Texts {
  std::vector<std::unique_ptr<char[]>> blocks;
  char* free = nullptr;  // of the last ordinary block
  size_t freeSize = 0;   // bytes
};

// Returns room for a text of this size.
char* makeRoom(Texts& texts, size_t size);

// Returns a copy of the text.
std::string_view keepText(Texts& texts, std::string_view text);

// Gives all texts back; one block is kept for the next ones.
void forgetTexts(Texts& texts);
