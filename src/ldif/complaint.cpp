#include "ldif/complaint.h"

#include <cstdio>

#include "ldif/entry_line.h"
#include "ldif/object_buffer.h"
#include "platform/message_catalogue.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "rules/attribute.h"

static char reasonOfFailure[sizeof messageReason];

// Finding the line of an entry has reasons of its own to fail. A position call has none.
static void keepReason() {
  const char* reason = messageReason[0] != '\0' ? messageReason : detailText(NO_POSITION);
  snprintf(reasonOfFailure, sizeof reasonOfFailure, "%s", reason);
}

static void complain(DetailText problem, const MessageValue& entry, const MessageValue& second = {},
                     const MessageValue& third = {}) {
  const DetailText hint = runCounts.bytesOfEarlierWorkFile > 0 ? EARLIER_WORK_FILE_AS_CAUSE : NO_DETAIL;
  messageDetails = {problem, hint, {entry, second, third}};
}

// A first line, as far as a message can show it: what the run does before the message may change the entry.
struct KeptLine {
  char text[size_t{32} * 1024];
};
static KeptLine keptLine;
static KeptLine keptEarlierLine;

static std::string_view keep(KeptLine& kept, std::string_view firstLine) {
  return {kept.text, firstLine.copy(kept.text, sizeof kept.text)};
}

// Joins the first line of the entry in the buffer with those that continue it.
static std::string_view unfoldedFirstLine() {
  size_t length = 0;
  for (int32_t i = 0; i < next_available_object_slot && (i == 0 || isContinuation(object[i])); ++i) {
    const std::string_view piece = object[i].content().substr(i == 0 ? 0 : 1);
    length += piece.copy(keptLine.text + length, sizeof keptLine.text - length);
  }
  return {keptLine.text, length};
}

// During the preparation pass it is the entry that has been read last, in which lines may still be folded.
static MessageValue entryOf(std::string_view firstLine, KeptLine& kept = keptLine) {
  if (ifp != nullptr) return {unfoldedFirstLine(), lineOfEntry(objectsRead)};
  return {keep(kept, firstLine), !firstLine.empty() ? linesOfEntries(firstLine).first : 0};
}

void complain(DetailText problem, std::string_view firstLine) { complain(problem, entryOf(firstLine)); }

// Of two entries with the same DN of which the input holds one, the other comes from an earlier run's work file, which
// is read first.
void complainOfDouble(std::string_view firstLine, std::string_view earlierFirstLine) {
  MessageValue entry = entryOf(firstLine);
  MessageValue earlier = entryOf(earlierFirstLine, keptEarlierLine);
  // Looked for by the same DN, both would be found where the first of them stands.
  if (isSameFirstLine(firstLine, earlierFirstLine)) {
    const EntryLines lines = linesOfEntries(firstLine);
    // The entry that fails is the one that came later.
    entry.number = lines.second != 0 ? lines.second : lines.first;
    earlier.number = lines.second != 0 ? lines.first : 0;
  }
  complain(DOUBLED, entry, earlier);
}

void complainOfLength(std::string_view firstLine, int32_t lines) {
  complain(ROW_OVERRUN, entryOf(firstLine), int64_t{lines});
}

void complainOfFile(DetailText problem, std::string_view firstLine, const char* fileName) {
  keepReason();
  complain(problem, entryOf(firstLine), fileName, {reasonOfFailure, MessageValue::CAUSE});
}

void exitForEntry(DetailText problem, std::string_view firstLine) {
  complain(problem, firstLine);
  exitWithMessage(PROCESSING_FAILED);
}

void exitForEntryInFile(DetailText problem, std::string_view firstLine, const char* fileName) {
  complainOfFile(problem, firstLine, fileName);
  exitWithMessage(PROCESSING_FAILED);
}

void exitForObject(DetailText problem) { exitForEntry(problem, firstLineOfObject()); }
