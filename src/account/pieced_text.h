// A text in the pieces in which it lies in memory. Put together, a record that is most of a file would be held twice.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

struct PiecedText {
  std::span<const std::string_view> pieces;  // lent; none is empty
  size_t skipped = 0;                        // bytes of the first piece that are not part of the text
  size_t size = 0;                           // bytes; there may be more in the pieces
};

inline PiecedText onePiece(const std::string_view& text) { return {{&text, 1}, 0, text.size()}; }
PiecedText onePiece(std::string_view&& text) = delete;  // it would be gone

// Calls for each piece, as far as it is part of the text, until a call returns false.
template <typename TakePiece>
void forEachPiece(const PiecedText& text, TakePiece takePiece) {
  size_t skipped = text.skipped;
  size_t left = text.size;
  for (size_t i = 0; left > 0; ++i) {
    const std::string_view piece = text.pieces[i].substr(skipped, left);
    skipped = 0;
    left -= piece.size();
    if (!takePiece(piece)) return;
  }
}

PiecedText beginOf(const PiecedText& text, size_t length);
PiecedText restOf(const PiecedText& text, size_t length);

// Returns the length of the first line without its newline.
size_t firstLineLength(const PiecedText& text);

// Returns the length up to the first empty line, which does not belong to it.
size_t lengthToEmptyLine(const PiecedText& text);

// Copies the last bytes, of which there must be so many.
void copyEnd(const PiecedText& text, char* end, size_t length);

bool isEqual(const PiecedText& text, std::string_view other);
bool endsWith(const PiecedText& text, std::string_view end);

// A quick hash: what it finds is compared byte for byte.
uint64_t hashOf(const PiecedText& text);
inline uint64_t hashOfFirstLine(const PiecedText& text) { return hashOf(beginOf(text, firstLineLength(text))); }
