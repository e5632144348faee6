// Attributes of an entry, with LDIF folding undone.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/sink.h"
#include "rules/known_names.h"
#include "rules/line.h"
#include "rules/text.h"
#include "rules/texts.h"

// An attribute: its text, which lies in the entry or in the texts, and the lines in which it stands.
struct Attribute {
  int32_t line = -1;     // the first; -1 when the entry has no such attribute
  int32_t nextLine = 0;  // the first behind it
  std::string_view text;
};

// The name of a line's own attribute: what stands before its first colon, or all of a line without one.
inline std::string_view ownName(const Line& line) {
  return line.firstColon == NO_COLON ? line.content() : line.view().substr(0, line.firstColon);
}

// True when that is the name, in any case.
inline bool isNamed(const Line& line, std::string_view name) {
  const std::string_view own = ownName(line);
  return own.size() == name.size() && isSameInAnyCase(own, name);
}

inline bool isContinuation(const Line& line) { return line.length > 0 && line.text[0] == ' '; }

// Returns what begins at the given place of a line, line ends cut away, with the continuation lines behind it joined to
// it. A text that has been joined lies in the texts, with room for one more character behind it.
Attribute unfold(Entry entry, int32_t line, size_t place, Texts& texts);

// The name of an attribute (without colon), and the bits of lines in which it may stand: those of a known name, or of
// the Bloom filter for another one. One of the two is 0.
struct AttributeName {
  std::string_view text;
  uint32_t names;
  uint64_t endings;

  constexpr AttributeName(std::string_view name)
      : text(name), names(nameBit(name)), endings(names == 0 ? endingBits(name) : 0) {}
  constexpr AttributeName(const char* name) : AttributeName(std::string_view(name)) {}
};

// Returns the value of the first line that carries the attribute, in whatever case the name is written. The name
// is looked for anywhere in the line: it also matches a longer attribute name that ends in it, and a
// value that holds it in lower case. Only spaces are skipped before the value, so a base-64 value comes with its second
// colon in front.
Attribute valueOf(Entry entry, const AttributeName& name, Texts& texts, Sink show);
