#include "rules/dn_hash.h"

#include <sys/random.h>
#include <unistd.h>

#include <bit>
#include <cstring>

#include "rules/text.h"

struct HashKey {
  uint64_t low;
  uint64_t high;
};

// Another one in each run, so that nobody can put DNs of one hash together beforehand.
static HashKey drawKey() noexcept {
  HashKey key = {};
  // Without waiting: early in the boot of a machine there may be no random bytes yet, and the process number has to do.
  if (getrandom(&key, sizeof key, GRND_NONBLOCK) != sizeof key) key.low = static_cast<uint64_t>(getpid());
  return key;
}

static const HashKey hashKey = drawKey();

// SipHash with one round a block and three at the end, which nobody who does not know the key can make collide.
struct HashState {
  uint64_t a, b, c, d;
};

static void mix(HashState& s) {
  s.a += s.b;
  s.c += s.d;
  s.b = std::rotl(s.b, 13) ^ s.a;
  s.d = std::rotl(s.d, 16) ^ s.c;
  s.a = std::rotl(s.a, 32);
  s.c += s.b;
  s.a += s.d;
  s.b = std::rotl(s.b, 17) ^ s.c;
  s.d = std::rotl(s.d, 21) ^ s.a;
  s.c = std::rotl(s.c, 32);
}

static void take(HashState& state, uint64_t block) {
  state.d ^= block;
  mix(state);
  state.a ^= block;
}

uint64_t hashOfDn(std::string_view dn) {
  // The numbers are those of the published algorithm.
  HashState state = {hashKey.low ^ 0x736f6d6570736575, hashKey.high ^ 0x646f72616e646f6d,
                     hashKey.low ^ 0x6c7967656e657261, hashKey.high ^ 0x7465646279746573};
  uint64_t characters = 0;
  size_t i = 0;
  for (; i + sizeof characters <= dn.size(); i += sizeof characters) {
    memcpy(&characters, dn.data() + i, sizeof characters);
    take(state, loweredCharacters(characters));
  }
  // The rest, filled up with NULs; the length tells it from a DN that ends in NULs.
  characters = 0;
  memcpy(&characters, dn.data() + i, dn.size() - i);
  take(state, loweredCharacters(characters));
  take(state, dn.size());
  state.c ^= 0xff;
  for (int round = 0; round < 3; ++round) mix(state);
  return state.a ^ state.b ^ state.c ^ state.d;
}
