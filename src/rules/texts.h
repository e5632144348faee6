// Memory for texts that are made on the way. They stay where they are until all of them are given back at once.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <memory_resource>
#include <string_view>

// release() gives all texts back.
using Texts = std::pmr::monotonic_buffer_resource;

// Returns room for a text of this size.
inline char* makeRoom(Texts& texts, size_t size) { return static_cast<char*>(texts.allocate(size, 1)); }

// Returns a copy of the text.
inline std::string_view keepText(Texts& texts, std::string_view text) {
  char* const copy = makeRoom(texts, text.size());
  return {copy, text.copy(copy, text.size())};
}

// Returns the parts, one behind the other.
inline std::string_view joined(std::initializer_list<std::string_view> parts, Texts& texts) {
  size_t size = 0;
  for (const std::string_view part : parts) size += part.size();
  char* const text = makeRoom(texts, size);
  char* to = text;
  for (const std::string_view part : parts) to += part.copy(to, part.size());
  return {text, size};
}
