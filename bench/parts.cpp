// The parts of a conversion that its profile shows most.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <iterator>
#include <string>
#include <vector>

#include "ldif/line_reader.h"
#include "ldif/object_buffer.h"
#include "output/entry_merge.h"
#include "platform/stream.h"
#include "rules/colon_search.h"
#include "rules/line.h"
#include "rules/line_scan.h"

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
static std::vector<Line> tableOf(const char* const (&lines)[count]) {
  std::vector<Line> table;
  for (const char* line : lines) table.push_back(scanLine(line));
  return table;
}

static void lookLinesThrough(benchmark::State& state) {
  std::string text;
  for (const char* line : user) text += line;
  for (auto _ : state) {
    LineScan scan = scanOf(text);
    Line lines[std::size(user)];
    benchmark::DoNotOptimize(takeEntryLines(scan, false, lines, std::size(lines)));
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(std::size(user)));
}
BENCHMARK(lookLinesThrough);

// The merge takes its inputs to pieces.
static void mergeUserWithMap(benchmark::State& state) {
  const std::vector<Line> userTable = tableOf(user);
  const std::vector<Line> mapTable = tableOf(map);
  std::vector<Line> input1;
  std::vector<Line> input2;
  for (auto _ : state) {
    input1 = userTable;
    input2 = mapTable;
    mergeObjects(input1, input2);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(std::size(user) + std::size(map)));
}
BENCHMARK(mergeUserWithMap);

static void lookForLeftOutTexts(benchmark::State& state) {
  static constexpr ColonText texts[] = {"xoq-entryuuid:", "aclentry:", "aci:", "acl:"};
  const std::vector<Line> table = tableOf(user);
  for (auto _ : state)
    for (const Line& line : table) benchmark::DoNotOptimize(findInAnyCase(line, texts));
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(std::size(user)));
}
BENCHMARK(lookForLeftOutTexts);

static void classifyUser(benchmark::State& state) {
  freeObject();
  for (const Line& line : tableOf(user)) appendLineToObject(line);
  for (auto _ : state) determineTheObjectsObjectClass();
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(std::size(user)));
}
BENCHMARK(classifyUser);

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
