#include "check/report.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <string>
#include <utility>

#include "check/slot_counts.h"
#include "survey/shown_place.h"
#include "survey/shown_values.h"

void Report::begin() {
  if (options_.json) fputs("{\"problems\": [", stdout);
}

void Report::take(const Finding& finding) {
  constexpr int64_t SHOWN_OF_EACH = 10;
  if (options_.json) {
    // Written as it is found: a million findings need no memory.
    fputs(isAnyFound_ ? ",\n" : "\n", stdout);
    fputs(dumped(jsonProblem(file_, finding, options_.values)).c_str(), stdout);
  } else if (options_.all || counts_[finding.id] < SHOWN_OF_EACH) {
    // People read them by kind and in the order of the input, which is known at the end alone.
    kept_.push_back(finding);
  }
  ++counts_[finding.id];
  // Then the table of slot counts does not hold the whole truth.
  stopsAtOthers_ = stopsAtOthers_ || finding.at == AT_OTHERS || finding.id == TOO_MANY_LINES;
  isAnyFound_ = true;
}

void Report::writeJson(const Prediction& prediction, uint64_t memoryBytes) {
  const SurveyCounts& counts = prediction.counts;
  // What a run does not come to has no number: null, where 0 would look like one.
  const bool fails = prediction.code != 0;
  const Json countsOfKinds = {{"entries", counts.entries},
                              {"users", prediction.registry.ownersOf[USER_SIDE]},
                              {"groups", prediction.registry.ownersOf[GROUP_SIDE]},
                              {"policies", counts.policies},
                              {"policy_data", counts.policyData},
                              {"maps", counts.maps},
                              {"resource_credentials", counts.resourceCredentials},
                              {"straight_through", counts.straightThrough}};
  const Json run = {
      {"users_slots", prediction.slots[USER_SIDE]},
      {"groups_slots", prediction.slots[GROUP_SIDE]},
      {"exit", fails ? 255 : 0},
      {"code", fails ? Json(prediction.code) : Json()},
      {"line", jsonLine(file_, prediction.failingEntry)},
      {"dn", jsonDn(file_, prediction.failingEntry)},
      {"passes", prediction.passes},
      {"output_bytes", fails ? Json() : Json(prediction.outputBytes)},
      {"work_file_bytes", prediction.endsInPreparation ? Json() : Json(prediction.registry.measured.workFile)},
      {"memory_bytes", memoryBytes}};
  printf("%s],\n\"verdict\": %s,\n\"counts\": %s,\n\"run\": %s}\n", isAnyFound_ ? "\n" : "",
         fails ? "\"stops\"" : "\"converts\"", dumped(countsOfKinds).c_str(), dumped(run).c_str());
}

// The findings by kind.
void Report::writeFindings() {
  for (int id = 0; id < NUMBER_OF_FINDINGS; ++id) {
    if (counts_[id] == 0) continue;
    const FindingKind& kind = kindOf(static_cast<FindingId>(id));
    printf("\n%s (%s), %" PRId64 ": %s\n  %s\n", kind.id, nameOf(kind.effect), counts_[id], kind.what, kind.advice);
    int64_t shown = 0;
    for (const Finding& finding : kept_) {
      // What is wrong with the file as a whole has no place in it, and is said by the heading alone.
      if (finding.id != id || finding.entry == NO_PLACE) continue;
      const std::string line = harmless(lineText(file_, finding, options_.values));
      printf("    line %" PRId64 ": %s%s%s%s\n", lineNumberOf(file_, finding.place()),
             shownDnAt(file_, finding.entry).c_str(), line.empty() ? "" : ", ", line.c_str(),
             finding.at == AT_OTHERS ? " (at other slot counts)" : "");
      ++shown;
    }
    if (shown != 0 && shown < counts_[id]) printf("    and %" PRId64 " more: --all shows them\n", counts_[id] - shown);
  }
}

void Report::writeText(const Prediction& prediction, uint64_t memoryBytes) {
  const SurveyCounts& counts = prediction.counts;
  const std::string name = harmless(options_.input);
  if (prediction.code == 0) {
    printf("%s: the conversion with slots for %d users and %d groups succeeds.\n", name.c_str(),
           prediction.slots[USER_SIDE], prediction.slots[GROUP_SIDE]);
  } else {
    printf("%s: the conversion with slots for %d users and %d groups stops with message %u", name.c_str(),
           prediction.slots[USER_SIDE], prediction.slots[GROUP_SIDE], prediction.code);
    // The entry is named as the message of the run will name it, so that the two can be compared.
    if (prediction.failingEntry != NO_PLACE)
      printf(" about the entry in line %" PRId64, lineNumberOf(file_, prediction.failingEntry));
    puts(".");
  }
  printf("\nEntries: %" PRId64 "\n  users %u, groups %u, policies %" PRId64 ", policy data %" PRId64 ", maps %" PRId64
         "\n  resource credentials %" PRId64 ", copied straight through %" PRId64 "\n",
         counts.entries, prediction.registry.ownersOf[USER_SIDE], prediction.registry.ownersOf[GROUP_SIDE],
         counts.policies, counts.policyData, counts.maps, counts.resourceCredentials, counts.straightThrough);
  printf("The run: passes %" PRId64, prediction.passes);
  if (!prediction.endsInPreparation) printf(", work file %" PRIu64 " bytes", prediction.registry.measured.workFile);
  if (prediction.code == 0) printf(", output %" PRIu64 " bytes", prediction.outputBytes);
  printf(", memory %" PRIu64 " MiB\n", (memoryBytes >> 20U) + 1);
  writeSlotCounts(prediction, isFolderInMemory_);
  if (stopsAtOthers_) puts("  With some slot counts the run stops, or entries run on into others: see the problems.");
  if (!isAnyFound_) puts("\nNo problem was found.");
  // Findings come in the order in which they are made, which is that of the owners for some.
  std::sort(kept_.begin(), kept_.end(), [](const Finding& one, const Finding& other) {
    return std::pair(one.entry, one.line) < std::pair(other.entry, other.line);
  });
  writeFindings();
}

void Report::end(const Prediction& prediction, uint64_t memoryBytes) {
  if (options_.json)
    writeJson(prediction, memoryBytes);
  else
    writeText(prediction, memoryBytes);
}
