#include "rules/texts.h"

#include <algorithm>

#include "test_support.h"

namespace {

class TextMemory : public FreshRun {};

TEST_F(TextMemory, KeepsACopyOfEveryTextWhereItStands) {
  Texts texts;
  Lines given;
  std::vector<std::string_view> kept;
  for (size_t number = 0; number < 3000; number++) {
    given.push_back(repeated(number % 700, std::to_string(number % 10)));
    kept.push_back(keepText(texts, given.back()));
    EXPECT_NE(kept.back().data(), given.back().data());
  }
  for (size_t number = 0; number < 3000; number++) ASSERT_EQ(kept[number], given[number]) << number;
}

TEST_F(TextMemory, HandsOutRoomOfAnySizeToOneOwner) {
  constexpr size_t BLOCK = 64 * 1024;
  Texts texts;
  std::vector<char*> rooms;
  std::vector<size_t> sizes;
  for (const size_t size :
       {size_t{0}, size_t{1}, BLOCK - 1, BLOCK, BLOCK + 1, 10 * BLOCK, size_t{100}, BLOCK, size_t{1}}) {
    rooms.push_back(makeRoom(texts, size));
    sizes.push_back(size);
    std::fill_n(rooms.back(), size, static_cast<char>('a' + rooms.size()));
  }
  for (size_t i = 0; i < rooms.size(); i++)
    EXPECT_EQ(std::string(rooms[i], sizes[i]), std::string(sizes[i], static_cast<char>('b' + i)));
}

TEST_F(TextMemory, GivesAllTextsBackAtOnce) {
  char memory[100];
  Texts texts(memory, sizeof memory);
  for (int i = 0; i < 10; i++) keepText(texts, repeated(40000, "x"));
  texts.release();
  EXPECT_EQ(keepText(texts, "new").data(), memory);
}

TEST_F(TextMemory, JoinsParts) {
  Texts texts;
  EXPECT_EQ(joined({"a", "", "bc", {}, "\n"}, texts), "abc\n");
  EXPECT_EQ(joined({}, texts), "");
  EXPECT_NE(joined({}, texts).data(), nullptr);
}

TEST_F(TextMemory, EndsTheRunWhenExhausted) {
  Texts texts;
  EXPECT_FAILURE((failNextAllocation(), keepText(texts, "a")), MEMORY_EXHAUSTED);
  keepText(texts, "a");
  EXPECT_FAILURE((failNextAllocation(), makeRoom(texts, 100000)), MEMORY_EXHAUSTED);
}

}  // namespace
