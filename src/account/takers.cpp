#include "account/takers.h"

#include <algorithm>
#include <functional>

// Of several that have as much in common with the line the first one of the record.
const Line* Takers::likeliest(const Line& line, Likeness likeness) {
  auto& alike = alike_[likeness];
  if (!alike) {
    alike.emplace();
    // A line that has been dropped stands for nothing.
    for (const Line& written : entry_.written)
      if (&written != entry_.written.data() && !isDropped(written, entry_.road)) alike->push_back(&written);
    std::stable_sort(alike->begin(), alike->end(),
                     [&](const Line* one, const Line* other) { return compareLines(*one, *other, likeness) < 0; });
  }
  const auto found = std::lower_bound(alike->begin(), alike->end(), line, [&](const Line* one, const Line& other) {
    return compareLines(*one, other, likeness) < 0;
  });
  return found != alike->end() && compareLines(**found, line, likeness) == 0 ? *found : nullptr;
}

// Returns the line that the merge has put in the place of another one; null without one.
static const Line* mergedOver(const EntryFate& entry, const Line& line) {
  if (entry.sources.empty() || entry.road != MERGED) return nullptr;
  const uint64_t place = placeInRecord(&line, entry.between);
  if (place == NO_PLACE_IN_RECORD) return nullptr;
  const Line* const taker = entry.written.data() + place;
  return taker->text == line.text ? nullptr : taker;
}

const Line* Takers::takerOf(size_t line) {
  const Line& gone = entry_.lines[line];
  const LineFate fate = (*entry_.fates)[line];
  if (fate == REPLACED_BY_SAME) return likeliest(gone, SAME_VALUE);
  if (fate != REPLACED && fate != LOST) return nullptr;
  const Line* const taker = mergedOver(entry_, gone);
  if (fate == LOST || (taker != nullptr && !isDropped(*taker, entry_.road))) return taker;
  return likeliest(gone, SAME_NAME);
}

void Takers::takeSources(Entry lines, std::span<const Origin> origins, uint64_t begin) {
  for (size_t i = 0; i < lines.size(); ++i)
    if (origins[i].line != NO_LINE) sources_->push_back({lines[i].text, begin + origins[i].place});
}

uint64_t Takers::placeOf(const Line& taker) {
  const auto isBefore = [](const Source& source, const char* text) { return std::less<>()(source.text, text); };
  if (!sources_) {
    sources_.emplace();
    takeSources(entry_.lines, entry_.origins, entry_.begin);
    for (const auto& source : entry_.sources) takeSources(source->lines, source->origins, source->begin);
    std::sort(sources_->begin(), sources_->end(),
              [&](const Source& one, const Source& other) { return isBefore(one, other.text); });
  }
  // Merging moves lines, and their texts stay where they are.
  const auto found = std::lower_bound(sources_->begin(), sources_->end(), taker.text, isBefore);
  return found != sources_->end() && found->text == taker.text ? found->place : NO_PLACE;
}
