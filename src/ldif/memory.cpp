#include "ldif/line_memory.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "reporting/reporting.h"

#if defined(__SANITIZE_ADDRESS__) || defined(SEPARATE_LINES)

// Every line is a block of its own: under the sanitizer, so that a step over its end is noticed, and for tests that
// make each allocation fail.
char* allocateLine(size_t size, const char* allocationFailureLine) {
  return static_cast<char*>(allocate(size, allocationFailureLine));
}

void freeLine(char* line) { free(line); }

#else

// Blocks are cut one behind the other from large pieces, so that the lines of an entry lie side by side. A block
// that is given back can be used again at once if it is the last one of its piece, otherwise with the whole piece
// when none of its blocks is in use any more.
static constexpr size_t PIECE_SIZE = size_t{64} * 1024;

struct Piece {
  Piece* nextFree;  // of the pieces without blocks
  size_t size;      // bytes, this header included; more than PIECE_SIZE for a block that needs a piece of its own
  size_t used;      // bytes from its beginning
  size_t blocks;    // in use
};

// Stands before every block, small because there are millions. Counts in units of two bytes.
struct Header {
  uint16_t offset;  // of this header in its piece
  uint16_t size;    // this header included; 0 for a block that has a piece of its own
};
constexpr size_t UNIT = sizeof(uint16_t);  // bytes
static_assert(PIECE_SIZE / UNIT <= UINT16_MAX + size_t{1});

static Piece* currentPiece = nullptr;  // the one that blocks are cut from
static Piece* freePieces = nullptr;

static Piece* makePiece(size_t size, const char* allocationFailureLine) {
  auto* piece = static_cast<Piece*>(allocate(size, allocationFailureLine));
  *piece = {nullptr, size, sizeof(Piece), 0};
  return piece;
}

// Returns a piece that has room for a block of the given size.
static Piece* pieceWithRoom(size_t blockSize, const char* allocationFailureLine) {
  if (currentPiece != nullptr && currentPiece->size - currentPiece->used >= blockSize) return currentPiece;
  if (sizeof(Piece) + blockSize > PIECE_SIZE) return makePiece(sizeof(Piece) + blockSize, allocationFailureLine);
  if (freePieces == nullptr) freePieces = makePiece(PIECE_SIZE, allocationFailureLine);
  currentPiece = freePieces;
  freePieces = currentPiece->nextFree;
  return currentPiece;
}

char* allocateLine(size_t size, const char* allocationFailureLine) {
  const size_t blockSize = (sizeof(Header) + size + UNIT - 1) / UNIT * UNIT;
  Piece* piece = pieceWithRoom(blockSize, allocationFailureLine);
  auto* header = reinterpret_cast<Header*>(reinterpret_cast<char*>(piece) + piece->used);
  const size_t sizeInUnits = piece->size > PIECE_SIZE ? 0 : blockSize / UNIT;
  *header = {static_cast<uint16_t>(piece->used / UNIT), static_cast<uint16_t>(sizeInUnits)};
  piece->used += blockSize;
  ++piece->blocks;
  return reinterpret_cast<char*>(header + 1);
}

// Makes a piece without blocks ready for new ones.
static void empty(Piece* piece) {
  piece->used = sizeof(Piece);
  if (piece->size > PIECE_SIZE) {
    free(piece);
  } else if (piece != currentPiece) {
    piece->nextFree = freePieces;
    freePieces = piece;
  }
}

void freeLine(char* line) {
  if (line == nullptr) return;
  const Header* header = reinterpret_cast<Header*>(line) - 1;
  const size_t offset = header->offset * UNIT;
  auto* piece = reinterpret_cast<Piece*>(line - sizeof(Header) - offset);
  if (offset + header->size * UNIT == piece->used) piece->used = offset;
  if (--piece->blocks == 0) empty(piece);
}

#endif

char* copyLine(const char* text, const char* allocationFailureLine) {
  return copyLine(text, strlen(text), allocationFailureLine);
}

char* copyLine(const char* text, size_t length, const char* allocationFailureLine) {
  char* copy = allocateLine(length + LINE_SPARE, allocationFailureLine);
  memcpy(copy, text, length);
  copy[length] = '\0';
  return copy;
}
