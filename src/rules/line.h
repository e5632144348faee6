// A line of an entry and what is known of it: found once, kept beside it, and asked by every rule.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

constexpr uint32_t NO_COLON = UINT32_MAX;
constexpr uint32_t GONE = uint32_t{1} << 31U;  // the bit of Line::names that the merge sets, and is none of a name

// The text is only lent and not closed by a NUL; it has its line end, if it came with one.
struct Line {
  const char* text = nullptr;
  uint32_t length = 0;             // bytes
  uint32_t contentLength = 0;      // bytes up to its first carriage return or its newline
  uint32_t firstColon = NO_COLON;  // its place
  uint32_t names = 0;              // of the known names those that may end at one of its colons (known_names.h)
  uint64_t endings = 0;            // Bloom filter: endingBit of what stands before each of its colons; of a line that
                                   // is GONE what the merge says

  std::string_view view() const { return {text, length}; }
  std::string_view content() const { return {text, contentLength}; }
};

// True when the merge has left the line where it was.
inline bool isLeft(const Line& line) { return (line.names & GONE) == 0; }

// The lines of an entry; the first is the dn: line.
using Entry = std::span<const Line>;

// Bytes that are taken for one line; what is longer is several.
constexpr size_t LONGEST_LINE = 4095;

// Lines of an entry that can be held; one of so many is copied as it stands.
constexpr int32_t OBJECT_ARRAY_SIZE = 250000;

// Finds out everything about a text that a Line says.
Line scanLine(std::string_view text);

// Returns the two characters before a colon as a number below 1,024, the same for both cases of a letter.
constexpr uint32_t pairOf(char lastButOne, char last) {
  return static_cast<unsigned char>(lastButOne) % 32U * 32U + static_cast<unsigned char>(last) % 32U;
}

// Returns their bit in the Bloom filter of a line: a name whose bit is missing there ends at none of its colons, one
// whose bit is set may.
constexpr uint64_t endingBit(uint32_t pair) { return uint64_t{1} << ((pair ^ pair >> 5U) % 64U); }

// The bits that a name (without colon) can have: a single character has all, because it may end any other name.
constexpr uint64_t endingBits(std::string_view name) {
  return name.size() < 2 ? ~uint64_t{0} : endingBit(pairOf(name[name.size() - 2], name.back()));
}

// Returns a line, or a part of one, up to its first carriage return or its newline.
std::string_view withoutLineEnd(std::string_view text);

// The text of an entry: its lines one behind the other. Where the lines have been put together, a NUL stands behind one
// that has no line end although it is not as long as a line can be.
struct EntryText {
  std::string_view text;
  bool mayHoldNul;
};

// Returns the first line, or piece of a line, of a text, its line end or its NUL included.
inline std::string_view nextLineIn(const EntryText& entry) {
  const std::string_view line = entry.text.substr(0, LONGEST_LINE);
  const size_t newline = line.find('\n');
  const std::string_view next = newline == std::string_view::npos ? line : line.substr(0, newline + 1);
  const size_t nul = entry.mayHoldNul ? next.find('\0') : std::string_view::npos;
  return nul == std::string_view::npos ? next : next.substr(0, nul + 1);
}

// Returns the line without its NUL.
inline std::string_view withoutNul(std::string_view line) { return line.substr(0, line.size() - line.ends_with('\0')); }

// Returns the first line of an entry's text that is no comment.
std::string_view firstLineIn(EntryText entry);
