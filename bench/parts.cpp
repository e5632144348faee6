// The parts of a conversion that its profile shows most.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

#include "ldif/colon_search.h"
#include "ldif/line_memory.h"
#include "ldif/line_reader.h"
#include "ldif/object_buffer.h"
#include "ldif/object_class.h"
#include "output/entry_merge.h"
#include "platform/stream.h"

static const char* const user[] = {
    "dn: secAuthority=Default,cn=Eva Farkas,ou=People,dc=example,dc=com\n",
    "objectclass: secUser\n",
    "objectclass: top\n",
    "secAuthority: Default\n",
    "principalName: efarkas\n",
    "secLoginType: Default:LDAP\n",
    "secAcctValid: TRUE\n",
    "secPwdValid: TRUE\n",
    "secPwdLastChanged: 20040516093712.0Z\n",
    "description: Shift lead, north office\n",
    "secUUID: 7d638a99-7ddd-4c68-3d08-7f7bde024baa\n",
    "xoq-entryuuid: cf8ee9b8-b83e-1928-7326-51c9cd5f80af\n",
    "secDomainId: Default%efarkas\n",
};
static const char* const map[] = {
    "dn: secUUID=7d638a99-7ddd-4c68-3d08-7f7bde024baa,cn=Users,secAuthority=Default\n",
    "objectclass: secMap\n",
    "objectclass: top\n",
    "secUUID: 7d638a99-7ddd-4c68-3d08-7f7bde024baa\n",
    "secDN: cn=Eva Farkas,ou=People,dc=example,dc=com\n",
    "xoq-entryuuid: 5d093cc6-535e-79df-6a70-5f9c71176173\n",
};

template <size_t count>
static std::vector<char*> cellsOf(const char* const (&lines)[count]) {
  std::vector<char*> cells;
  for (const char* line : lines) cells.push_back(copyLine(line, ""));
  cells.push_back(nullptr);
  return cells;
}

static void mergeUserWithMap(benchmark::State& state) {
  const std::vector<char*> userCells = cellsOf(user);
  const std::vector<char*> mapCells = cellsOf(map);
  for (auto _ : state) mergeObjects(userCells.data(), mapCells.data());
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(std::size(user) + std::size(map)));
}
BENCHMARK(mergeUserWithMap);

static void lookForLeftOutTexts(benchmark::State& state) {
  static constexpr ColonText texts[] = {"xoq-entryuuid:", "aclentry:", "aci:", "acl:"};
  for (auto _ : state)
    for (const char* line : user) benchmark::DoNotOptimize(findInAnyCase(line, texts));
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(std::size(user)));
}
BENCHMARK(lookForLeftOutTexts);

static void classifyUser(benchmark::State& state) {
  freeObject();
  next_available_object_slot = 0;
  for (const char* line : user) appendLineToObject(copyLine(line, ""));
  for (auto _ : state) determineTheObjectsObjectClass();
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(std::size(user)));
}
BENCHMARK(classifyUser);

static void copyAndFreeLine(benchmark::State& state) {
  for (auto _ : state) freeLine(copyLine(user[0], ""));
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(copyAndFreeLine);

static void readLines(benchmark::State& state) {
  char name[] = "/tmp/parts_benchmark.XXXXXX";
  Stream* stream = openStream(mkstemp(name), STREAM_FROM_BEGINNING);
  int64_t lines = 0;
  for (; lines < 100000; ++lines) writeText(stream, user[lines % static_cast<int64_t>(std::size(user))]);
  for (auto _ : state) {
    setPosition(stream, 0);
    while (getNextLine(nextLine, stream) == 0) benchmark::DoNotOptimize(nextLine);
  }
  state.SetItemsProcessed(state.iterations() * lines);
  closeStream(stream);
  unlink(name);
}
BENCHMARK(readLines);

BENCHMARK_MAIN();
