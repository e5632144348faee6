// Plain substring search for texts that hold a colon, which is nearly every text the conversion looks for: a
// match can only stand at a colon of the line, and what is known of the line mostly says that there is none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "rules/known_names.h"
#include "rules/line.h"

// A text to look for, and where in it its first colon stands.
struct ColonText {
  std::string_view text;
  size_t colonAt;
  uint32_t name;    // bit of the known name before its colon; 0 for another name
  uint64_t ending;  // bits in a line's Bloom filter of what stands before the colon

  constexpr ColonText(std::string_view searched) : ColonText(searched, searched.find(':'), nameBit(searched)) {}
  constexpr ColonText(const char* searched) : ColonText(std::string_view(searched)) {}

  // The same of a name with its colon, without finding out whether it is a known one.
  static constexpr ColonText unknown(std::string_view name) { return {name, name.size() - 1, 0}; }

 private:
  constexpr ColonText(std::string_view searched, size_t colon, uint32_t knownName)
      : text(searched), colonAt(colon), name(knownName), ending(endingBits(searched.substr(0, colon))) {}
};

// False when the text cannot stand in the line, which is found out much faster than where it does.
inline bool mayStandIn(const Line& line, const ColonText& text) {
  return text.name != 0 ? (line.names & text.name) != 0 : (line.endings & text.ending) != 0;
}

// The same of several texts.
inline bool mayStandIn(const Line& line, std::span<const ColonText> texts) {
  bool may = false;
  for (const ColonText& text : texts) may = may || mayStandIn(line, text);
  return may;
}

constexpr size_t NOT_FOUND = std::string_view::npos;

// Of the texts that may stand in the line, these find the first place where one does, or NOT_FOUND.
size_t findPlaceExactly(const Line& line, std::span<const ColonText> texts);
size_t findPlaceInAnyCase(const Line& line, std::span<const ColonText> texts);

// Returns the first place in the line where one of the texts stands, or NOT_FOUND. The one compares letter case, the
// other ignores it.
inline size_t findExactly(const Line& line, std::span<const ColonText> texts) {
  return mayStandIn(line, texts) ? findPlaceExactly(line, texts) : NOT_FOUND;
}

inline size_t findInAnyCase(const Line& line, std::span<const ColonText> texts) {
  return mayStandIn(line, texts) ? findPlaceInAnyCase(line, texts) : NOT_FOUND;
}

// The same for a single text.
inline size_t findExactly(const Line& line, const ColonText& text) { return findExactly(line, std::span(&text, 1)); }

inline size_t findInAnyCase(const Line& line, const ColonText& text) {
  return findInAnyCase(line, std::span(&text, 1));
}
