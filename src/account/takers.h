// The lines of the output that have taken the place of those of an entry that are gone.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "account/accounting.h"
#include "survey/line_fates.h"

// Quick for any number of lines. What is needed for that is made for the first line that is asked for: most entries
// have none.
class Takers {
 public:
  // The entry is lent.
  explicit Takers(const EntryFate& entry) : entry_(entry) {}

  // Returns the line of the record that stands for one of the entry, dropped or not; null without one.
  const Line* takerOf(size_t line);

  // Returns where a line of the record comes from; NO_PLACE when it has been added.
  uint64_t placeOf(const Line& taker);

 private:
  struct Source {
    const char* text;
    uint64_t place;
  };

  const Line* likeliest(const Line& line, Likeness likeness);
  void takeSources(Entry lines, std::span<const Origin> origins, uint64_t begin);

  const EntryFate& entry_;
  std::optional<std::vector<const Line*>> alike_[SAME_TEXT];  // that stay in the record, sorted by so much of them
  std::optional<std::vector<Source>> sources_;                // of all lines that are in the record, by text
};
