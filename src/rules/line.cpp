#include "rules/line.h"

std::string_view withoutLineEnd(std::string_view text) {
  if (text.ends_with('\n')) text.remove_suffix(1);
  return text.substr(0, text.find('\r'));
}

std::string_view firstLineIn(EntryText entry) {
  while (entry.text.starts_with('#')) entry.text.remove_prefix(nextLineIn(entry).size());
  return withoutNul(nextLineIn(entry));
}
