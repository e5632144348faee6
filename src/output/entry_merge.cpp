#include "output/entry_merge.h"

#include <algorithm>

#include "ldif/complaint.h"
#include "ldif/object_buffer.h"
#include "reporting/reporting.h"
#include "rules/merge.h"

static std::string_view firstLineOf(Entry entry) { return entry.empty() ? std::string_view() : entry[0].view(); }

[[noreturn]] static void exitForEmptyInput(Entry input1, Entry input2) {
  traceLine("mergeObjects():  One or both inputs is NULL.  Exiting. \n");
  echoError("mergeObjects(): inputObject1 = %.*s\n", SHOWN(textOrNULL(firstLineOf(input1))));
  echoError("mergeObjects(): inputObject2 = %.*s\n", SHOWN(textOrNULL(firstLineOf(input2))));
  exitForEntry(INCOMPLETE_DN, firstLineOf(input1.empty() ? input2 : input1));
}

[[noreturn]] static void exitForMissingColon(const MergeProblem& problem, std::string_view dnLine) {
  reportError("mergeObjects():  Colon missing from attribute definition. EXITING. \n");
  traceLine("                 The input file could be corrupt.                  \n");
  // Kept: the two entries' lines are echoed in different words.
  const char* const echo = problem.isInFirst ? "mergeObjects():  attributeClone = %.*s\n" : "attributeClone =  %.*s\n";
  echoError(echo, SHOWN(problem.line->view()));
  exitForEntry(LINE_WITHOUT_COLON, dnLine);
}

static void traceUnmerged(Entry input, const char* header, const char* name) {
  if (debug == 0) return;
  traceLine("%s", header);
  traceLine("                   CHECK THESE FOR ERRRORS. \n");
  for (size_t i = 0; i < input.size(); ++i)
    // Kept: lines that are left out on purpose count as unmerged.
    if (isLeft(input[i]))
      traceLine("                  %s[%d] = %.*s ", name, static_cast<int>(i), SHOWN(input[i].view()));
}

void mergeObjects(std::span<Line> inputObject1, std::span<Line> inputObject2) {
  traceLine("mergeObjects():  FUNCTION ENTRY \n");
  if (inputObject1.empty() || inputObject2.empty()) exitForEmptyInput(inputObject1, inputObject2);
  // The merge takes the lines away, and a failure still has to name the entries.
  const std::string_view dnLine1 = inputObject1[0].view();
  const std::string_view dnLine2 = inputObject2[0].view();
  // Neither entry stands in the buffer any more (see mergeWithUsersObject).
  freeObject();
  MergedEntry merged = {object, OBJECT_ARRAY_SIZE};
  const MergeProblem problem = mergeEntries(inputObject1, inputObject2, merged);
  // The merge counts on without room, so as to find what is wrong with the entries first.
  next_available_object_slot = std::min(merged.count, OBJECT_ARRAY_SIZE);
  if (merged.count > OBJECT_ARRAY_SIZE) appendLineToObject({});  // ends the run
  if (problem.line != nullptr) exitForMissingColon(problem, problem.isInFirst ? dnLine1 : dnLine2);

  traceUnmerged(inputObject1,
                "\nmergeObjects():  THE FOLLOWING ATTRIBUTES REMAINED UNMERGED WITHIN inputObject1Clone. \n",
                "inputObject1Clone");
  traceUnmerged(inputObject2,
                "\nmergeObjects():  THE FOLLOWING ATTRIBUTES REMAINED UNMERGED WITHIN inputObject2Clone: \n",
                "inputObject2Clone");
  traceLine("mergeObjects():  The merged object is: \n");
  for (int32_t i = 0; debug != 0 && i < next_available_object_slot; ++i)
    traceLine("                 object[%d] = %.*s ", i, SHOWN(object[i].view()));
  traceLine("mergeObjects():  FUNCTION EXIT \n");
}
