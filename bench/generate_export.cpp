// Writes a lifelike export of any size: every entry is made from its place in the order, so that none is kept.
//
// usage: generate_export class|user|shuffled USERS GROUPS OUTPUT
#include <bit>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "lifelike_entries.h"
#include "random_numbers.h"

struct Size {
  uint64_t users;
  uint64_t groups;

  // Places, some of which stay empty: not every user has an entry of every kind.
  uint64_t places() const { return REGISTRY_ENTRIES + KINDS_OF_A_USER * users + KINDS_OF_A_GROUP * groups; }
};

struct Place {
  Kind kind;
  uint64_t number;
};

static Kind kindAt(uint64_t number) { return static_cast<Kind>(number); }

// All entries of one kind stand together.
static Place placeByClass(const Size& size, uint64_t index) {
  if (index < REGISTRY_ENTRIES) return {REGISTRY, index};
  index -= REGISTRY_ENTRIES;
  if (index < KINDS_OF_A_USER * size.users) return {kindAt(index / size.users), index % size.users};
  index -= KINDS_OF_A_USER * size.users;
  return {kindAt(GROUP + index / size.groups), index % size.groups};
}

// All entries of one user stand together, and begin with another kind at the next user.
static Place placeByUser(const Size& size, uint64_t index) {
  if (index < REGISTRY_ENTRIES) return {REGISTRY, index};
  index -= REGISTRY_ENTRIES;
  const uint64_t user = index / KINDS_OF_A_USER;
  if (user < size.users) return {kindAt((index + user) % KINDS_OF_A_USER), user};
  index -= KINDS_OF_A_USER * size.users;
  return {kindAt(GROUP + index % KINDS_OF_A_GROUP), index / KINDS_OF_A_GROUP};
}

// Swaps halves of the number, each time changed by the other one: that can be undone, so no two become the same.
static uint64_t scrambled(uint64_t number, unsigned bitsOfHalf) {
  constexpr uint64_t ROUNDS = 4;
  const uint64_t mask = (uint64_t{1} << bitsOfHalf) - 1;
  uint64_t left = number >> bitsOfHalf;
  uint64_t right = number & mask;
  for (uint64_t round = 1; round <= ROUNDS; ++round) {
    const uint64_t next = left ^ (mixed(right + (round << 48U)) & mask);
    left = right;
    right = next;
  }
  return left << bitsOfHalf | right;
}

// A number that is too large is scrambled on until it is none: the way ends where it began, so it is found.
static Place placeShuffled(const Size& size, uint64_t index) {
  const unsigned bitsOfHalf = (static_cast<unsigned>(std::bit_width(size.places())) + 1) / 2;
  do index = scrambled(index, bitsOfHalf);
  while (index >= size.places());
  return placeByClass(size, index);
}

static void writeTo(FILE* file, std::string& text) {
  if (fwrite(text.data(), 1, text.size(), file) != text.size()) {
    perror("write");
    exit(1);
  }
  text.clear();
}

static void writeExport(FILE* file, Place (*placeAt)(const Size& size, uint64_t index), const Size& size) {
  constexpr size_t BLOCK_SIZE = size_t{1024} * 1024;
  std::string text;
  for (uint64_t index = 0; index < size.places(); ++index) {
    const Place place = placeAt(size, index);
    if (isThere(place.kind, place.number)) appendEntry(text, place.kind, place.number);
    if (text.size() >= BLOCK_SIZE) writeTo(file, text);
  }
  writeTo(file, text);
}

static int showUsage() {
  fprintf(stderr, "usage: generate_export class|user|shuffled USERS GROUPS OUTPUT\n");
  return 1;
}

int main(int argumentCount, char* arguments[]) {
  if (argumentCount != 5) return showUsage();
  const std::string_view order = arguments[1];
  auto* const placeAt = order == "class"      ? placeByClass
                        : order == "user"     ? placeByUser
                        : order == "shuffled" ? placeShuffled
                                              : nullptr;
  const Size size = {strtoull(arguments[2], nullptr, 10), strtoull(arguments[3], nullptr, 10)};
  if (placeAt == nullptr) return showUsage();
  FILE* file = fopen(arguments[4], "w");
  if (file == nullptr) {
    perror(arguments[4]);
    return 1;
  }
  writeExport(file, placeAt, size);
  return fclose(file) == 0 ? 0 : 1;
}
