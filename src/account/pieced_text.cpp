#include "account/pieced_text.h"

#include <algorithm>
#include <cstring>

PiecedText beginOf(const PiecedText& text, size_t length) { return {text.pieces, text.skipped, length}; }

PiecedText restOf(const PiecedText& text, size_t length) {
  PiecedText rest = {text.pieces, text.skipped + length, text.size - length};
  while (!rest.pieces.empty() && rest.skipped >= rest.pieces[0].size()) {
    rest.skipped -= rest.pieces[0].size();
    rest.pieces = rest.pieces.subspan(1);
  }
  return rest;
}

size_t firstLineLength(const PiecedText& text) {
  size_t length = 0;
  forEachPiece(text, [&](std::string_view piece) {
    const size_t end = piece.find('\n');
    length += std::min(end, piece.size());
    return end == std::string_view::npos;
  });
  return length;
}

size_t lengthToEmptyLine(const PiecedText& text) {
  size_t length = 0;
  bool isAtLineBegin = false;
  forEachPiece(text, [&](std::string_view piece) {
    if (isAtLineBegin && piece[0] == '\n') return false;
    const size_t end = piece.find("\n\n");
    length += end == std::string_view::npos ? piece.size() : end + 1;
    isAtLineBegin = piece.back() == '\n';
    return end == std::string_view::npos;
  });
  return length;
}

void copyEnd(const PiecedText& text, char* end, size_t length) {
  char* next = end;
  forEachPiece(restOf(text, text.size - length), [&](std::string_view piece) {
    next = std::copy(piece.begin(), piece.end(), next);
    return true;
  });
}

bool isEqual(const PiecedText& text, std::string_view other) {
  if (text.size != other.size()) return false;
  bool isSame = true;
  forEachPiece(text, [&](std::string_view piece) {
    isSame = other.starts_with(piece);
    other.remove_prefix(piece.size());
    return isSame;
  });
  return isSame;
}

bool endsWith(const PiecedText& text, std::string_view end) {
  return text.size >= end.size() && isEqual(restOf(text, text.size - end.size()), end);
}

uint64_t hashOf(const PiecedText& text) {
  constexpr uint64_t FACTOR = 0x9E3779B97F4A7C15;
  uint64_t hash = text.size;
  char block[sizeof hash] = {};
  size_t filled = 0;
  const auto takeBlock = [&](const char* bytes) {
    uint64_t value = 0;
    memcpy(&value, bytes, sizeof value);
    hash = (hash ^ value) * FACTOR;
    hash ^= hash >> 29U;
  };
  // Where a piece ends does not count.
  forEachPiece(text, [&](std::string_view piece) {
    if (filled > 0) {
      const size_t more = std::min(sizeof block - filled, piece.size());
      memcpy(block + filled, piece.data(), more);
      filled += more;
      piece.remove_prefix(more);
      if (filled < sizeof block) return true;
      takeBlock(block);
    }
    for (; piece.size() >= sizeof block; piece.remove_prefix(sizeof block)) takeBlock(piece.data());
    filled = piece.size();
    memcpy(block, piece.data(), filled);
    return true;
  });
  memset(block + filled, 0, sizeof block - filled);
  takeBlock(block);
  return hash ^ hash >> 32U;
}
