#include "ldif/line_memory.h"

#include <cstring>

#include "test_support.h"

namespace {

class LineMemory : public FreshRun {};

TEST_F(LineMemory, CopiesATextWithRoomBehindIt) {
  for (size_t length : {0u, 1u, 50u, 4095u, 100000u}) {
    const std::string text = repeated(length, "x");
    char* copy = copyLine(text.c_str(), "");
    EXPECT_EQ(copy, text);
    char* next = copyLine("next", "");
    memset(copy + length, 'y', LINE_SPARE);
    EXPECT_STREQ(next, "next");
    EXPECT_EQ(strncmp(copy, text.c_str(), length), 0);
    freeLine(next);
    freeLine(copy);
  }
}

TEST_F(LineMemory, HandsEachBlockToOneOwner) {
  std::vector<char*> lines;
  for (int round = 0; round < 3; round++) {
    for (size_t size = 1; size <= 600; size++) {
      lines.push_back(allocateLine(size, ""));
      memset(lines.back(), static_cast<int>(size % 251), size);
    }
    for (size_t size = 1; size <= 600; size++) {
      const char* line = lines[size - 1];
      EXPECT_TRUE(line[0] == static_cast<char>(size % 251) && line[size - 1] == line[0]) << size;
    }
    for (char* line : lines) freeLine(line);
    lines.clear();
  }
}

TEST_F(LineMemory, LeavesNullAlone) { freeLine(nullptr); }

TEST_F(LineMemory, EndsTheRunWhenExhausted) {
  startTrace();
  EXPECT_FAILURE((failNextAllocation(), freeLine(allocateLine(20, "no line. \n"))), MEMORY_EXHAUSTED);
  EXPECT_FAILURE((failNextAllocation(), freeLine(copyLine("a", "no copy. \n"))), MEMORY_EXHAUSTED);
  EXPECT_EQ(traced(), "no line. \nno copy. \n");
}

TEST_F(LineMemory, HandsOutBlocksOfAboutTheSizeOfAPiece) {
  constexpr size_t PIECE = 64 * 1024;
  std::vector<char*> lines;
  for (size_t size = PIECE - 64; size <= PIECE + 8; size += 8) {
    lines.push_back(allocateLine(size, ""));
    memset(lines.back(), 'x', size);
    for (int i = 0; i < 1000; i++) lines.push_back(copyLine(repeated(100, "y").c_str(), ""));
  }
  for (const char* line : lines) EXPECT_TRUE(line[0] == line[99] && (line[0] == 'x' || line[0] == 'y'));
  for (char* line : lines) freeLine(line);
}

TEST_F(LineMemory, KeepsTheLinesThatAreNotGivenBack) {
  std::vector<char*> lines;
  for (int i = 0; i < 3000; i++) lines.push_back(copyLine(std::to_string(i).c_str(), ""));
  for (int round = 0; round < 3; round++) {
    for (size_t i = 0; i < 3000; i++) {
      if (i % 3 == 0) continue;
      freeLine(lines[i]);
      lines[i] = copyLine(("new " + std::to_string(i)).c_str(), "");
    }
    for (size_t i = 0; i < 3000; i++) EXPECT_EQ(lines[i], (i % 3 == 0 ? "" : "new ") + std::to_string(i));
  }
  for (char* line : lines) freeLine(line);
}

}  // namespace
