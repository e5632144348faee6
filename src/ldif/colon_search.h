// Plain substring search for texts that hold a colon, which is nearly every text the conversion looks for: a
// match can only stand at a colon of the line, and a line has one or two.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

// A text to look for, and where in it its first colon stands.
struct ColonText {
  std::string_view text;
  size_t colonAt;

  constexpr ColonText(std::string_view searched) : text(searched), colonAt(searched.find(':')) {}
  constexpr ColonText(const char* searched) : ColonText(std::string_view(searched)) {}
};

// True when the text stands in the line so that its colon is the given colon of the line, in whatever case.
bool standsInAnyCase(const char* line, const char* colon, const ColonText& text);

// Returns the first place in the line where one of the texts stands, or null. The one compares letter case, the
// other ignores it.
const char* findExactly(const char* line, std::span<const ColonText> texts);
const char* findInAnyCase(const char* line, std::span<const ColonText> texts);

// The same for a single text.
const char* findExactly(const char* line, const ColonText& text);
const char* findInAnyCase(const char* line, const ColonText& text);
