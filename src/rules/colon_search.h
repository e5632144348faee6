// Plain substring search for texts that hold a colon, which is nearly every text the conversion looks for: a
// match can only stand at a colon of the line, and a line has one or two.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// One bit for a character, the same for both cases of a letter.
constexpr uint32_t characterBit(char character) { return uint32_t{1} << (static_cast<unsigned char>(character) % 32U); }

// A line, its length and its colons, found once for all the texts that are looked for in it. The text is only lent.
struct ColonLine {
  const char* text = nullptr;
  size_t length = 0;
  const char* firstColon = nullptr;  // null without one
  uint32_t endings = 0;  // bits of the characters before the colons, some bit for none: what names here may end in

  ColonLine() = default;
  ColonLine(const char* line);
  ColonLine(const char* line, size_t lineLength);
};

// A text to look for, and where in it its first colon stands.
struct ColonText {
  std::string_view text;
  size_t colonAt;
  uint32_t ending;  // bit of the character before the colon; all bits without one

  constexpr ColonText(std::string_view searched)
      : text(searched), colonAt(searched.find(':')), ending(colonAt > 0 ? characterBit(searched[colonAt - 1]) : ~0U) {}
  constexpr ColonText(const char* searched) : ColonText(std::string_view(searched)) {}
};

// False when none of the texts can stand in the line, which is found out much faster than where they do.
inline bool mayStandIn(const ColonLine& line, std::span<const ColonText> texts) {
  uint32_t endings = 0;
  for (const ColonText& text : texts) endings |= text.ending;
  return (line.endings & endings) != 0;
}

// Of the texts that may stand in the line, these find the first place where one does, or null.
const char* findPlaceExactly(const ColonLine& line, std::span<const ColonText> texts);
const char* findPlaceInAnyCase(const ColonLine& line, std::span<const ColonText> texts);

// Returns the first place in the line where one of the texts stands, or null. The one compares letter case, the
// other ignores it.
inline const char* findExactly(const ColonLine& line, std::span<const ColonText> texts) {
  return mayStandIn(line, texts) ? findPlaceExactly(line, texts) : nullptr;
}

inline const char* findInAnyCase(const ColonLine& line, std::span<const ColonText> texts) {
  return mayStandIn(line, texts) ? findPlaceInAnyCase(line, texts) : nullptr;
}

// The same for a single text.
inline const char* findExactly(const ColonLine& line, const ColonText& text) {
  return findExactly(line, std::span(&text, 1));
}

inline const char* findInAnyCase(const ColonLine& line, const ColonText& text) {
  return findInAnyCase(line, std::span(&text, 1));
}
