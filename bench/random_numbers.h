// Numbers that look random and are the same in every run.
#pragma once

#include <cstdint>
#include <iterator>

// Spreads the bits of a number over all of its bits; different numbers stay different.
constexpr uint64_t mixed(uint64_t number) {
  number = (number ^ number >> 30U) * 0xBF58476D1CE4E5B9;
  number = (number ^ number >> 27U) * 0x94D049BB133111EB;
  return number ^ number >> 31U;
}

class RandomNumbers {
 public:
  explicit RandomNumbers(uint64_t seed) : state(mixed(seed)) {}

  uint64_t bits() { return mixed(state += 0x9E3779B97F4A7C15); }
  // From 0 to count - 1.
  uint32_t below(uint32_t count) { return static_cast<uint32_t>((bits() >> 32U) * count >> 32U); }
  bool inPercent(uint32_t percent) { return below(100) < percent; }

  template <typename Choices>
  auto one(const Choices& choices) {
    return choices[below(static_cast<uint32_t>(std::size(choices)))];
  }

 private:
  uint64_t state;
};
