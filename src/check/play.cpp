#include "check/play.h"

#include <algorithm>

void fail(Play& play, MessageCode code, DetailText problem, std::string firstLine, std::string earlier) {
  if (play.run.failure.code != 0) return;
  play.run.failure = {code, problem, std::move(firstLine), std::move(earlier)};
}

static uint64_t findingKey(FindingId id, uint32_t entry) { return uint64_t{entry} * NUMBER_OF_FINDINGS + id; }

void reportOnce(Play& play, FindingId id, At at, uint32_t entry) {
  if (play.reported.insert(findingKey(id, entry)).second)
    play.findings.take({id, at, play.registry.entries[entry].begin});
}

void reportFailure(Play& play, DetailText problem, uint32_t entry) {
  reportOnce(play, findingOf(problem), AT_GIVEN, entry);
}

void noteSlots(Play& play, Side side, size_t slots) {
  if (play.run.failure.code == 0) play.run.memory.slots[side] = std::max<uint64_t>(play.run.memory.slots[side], slots);
}

void noteLookUp(Play& play) {
  if (play.run.failure.code == 0) play.run.memory.looksOwnersUp = true;
}
