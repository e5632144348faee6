#include "rules/texts.h"

#include <algorithm>

// Under the sanitizer every text has a block of its own, so that a step over its end is noticed.
#ifdef __SANITIZE_ADDRESS__
static constexpr size_t BLOCK_SIZE = 0;
#else
static constexpr size_t BLOCK_SIZE = size_t{64} * 1024;
#endif

static void takeBlock(Texts& texts) {
  texts.free = texts.blocks.front().get();
  texts.freeSize = BLOCK_SIZE;
}

// The first block is an ordinary one; a text that is larger has a block of its own.
char* makeRoom(Texts& texts, size_t size) {
  if (texts.blocks.empty() || (size > texts.freeSize && size < BLOCK_SIZE + 1)) {
    texts.blocks.push_back(std::make_unique_for_overwrite<char[]>(BLOCK_SIZE));
    texts.free = texts.blocks.back().get();
    texts.freeSize = BLOCK_SIZE;
  }
  if (size > texts.freeSize) {
    texts.blocks.push_back(std::make_unique_for_overwrite<char[]>(size));
    return texts.blocks.back().get();
  }
  texts.freeSize -= size;
  texts.free += size;
  return texts.free - size;
}

std::string_view keepText(Texts& texts, std::string_view text) {
  return {std::copy(text.begin(), text.end(), makeRoom(texts, text.size())) - text.size(), text.size()};
}

void forgetTexts(Texts& texts) {
  if (texts.blocks.empty()) return;
  texts.blocks.resize(1);
  takeBlock(texts);
}
