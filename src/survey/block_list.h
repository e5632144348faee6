// A list that grows without moving what stands in it, so that it never needs its room twice.
#pragma once

#include <cstddef>
#include <vector>

template <typename T>
class BlockList {
 public:
  void push_back(const T& value) {
    if (size_ % BLOCK_SIZE == 0) {
      blocks_.emplace_back();
      blocks_.back().reserve(BLOCK_SIZE);
    }
    blocks_.back().push_back(value);
    ++size_;
  }
  // Not checked: it is asked many times for each entry.
  T& operator[](size_t place) { return blocks_.data()[place / BLOCK_SIZE].data()[place % BLOCK_SIZE]; }
  const T& operator[](size_t place) const { return blocks_.data()[place / BLOCK_SIZE].data()[place % BLOCK_SIZE]; }
  size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }

 private:
  // Few blocks, so that where they are is soon found: the list of them stays in the processor's cache.
  static constexpr size_t BLOCK_SIZE = 4096;

  std::vector<std::vector<T>> blocks_;
  size_t size_ = 0;
};
