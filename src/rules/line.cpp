#include "rules/line.h"

std::string_view withoutLineEnd(std::string_view text) {
  // Kept: a carriage return ends the line wherever it stands; what is behind it does not count.
  if (text.ends_with('\n')) text.remove_suffix(1);
  return text.substr(0, text.find('\r'));
}

std::string_view firstLineIn(EntryText entry) {
  // The text is that of the work file as it stands, where a left-over one may have comments.
  while (entry.text.starts_with('#')) entry.text.remove_prefix(nextLineIn(entry).size());
  return withoutNul(nextLineIn(entry));
}
