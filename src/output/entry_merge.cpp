#include "output/entry_merge.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "driver/reporting.h"
#include "ldif/colon_search.h"
#include "ldif/line_memory.h"
#include "ldif/object_buffer.h"

static constexpr char MALLOC_FAILURE[] = "mergeObjects():  malloc() failure.  EXITING. \n";

// Attribute names, colon included, that are never merged; other spellings pass.
static constexpr std::string_view excludedNames[] = {
    "objectclass:",  "objectClass:", "XOQ-ENTRYUUID:", "xoq-entryuuid:", "control:", "Control:", "aclpropagate:",
    "aclPropagate:", "aclentry:",    "aclEntry:",      "acl:",           "ACL:",     "aci:",     "ACI:"};

// The lines of an input that are still to be merged: a cell is null once its line has been merged or discarded.
// The lines themselves stay the caller's.
struct Remainder {
  const char** lines;
  size_t count;
};

[[noreturn]] static void exitForEmptyInput(const char* line1, const char* line2) {
  traceLine("mergeObjects():  One or both inputs is NULL.  Exiting. \n");
  echoError("mergeObjects(): inputObject1 = %s\n", textOrNULL(line1));
  echoError("mergeObjects(): inputObject2 = %s\n", textOrNULL(line2));
  concerning(line1 != nullptr ? line1 : line2);
  exitWithMessage(PROCESSING_FAILED);
}

[[noreturn]] static void exitForMissingColon(const char* line, bool inFirstInput, const char* dnLine) {
  reportError("mergeObjects():  Colon missing from attribute definition. EXITING. \n");
  traceLine("                 The input file could be corrupt.                  \n");
  if (inFirstInput)
    echoError("mergeObjects():  attributeClone = %s\n", line);
  else
    echoError("attributeClone =  %s\n", line);
  concerning(dnLine);
  exitWithMessage(PROCESSING_FAILED);
}

static Remainder allLinesOf(char* const* input) {
  size_t count = 0;
  while (input[count] != nullptr) ++count;
  auto** lines = static_cast<const char**>(allocate((count + 1) * sizeof(char*), MALLOC_FAILURE));
  std::copy(input, input + count, lines);
  return {lines, count};
}

// Appends a copy of the line to the entry buffer.
static void moveToObject(const char*& line) {
  appendLineToObject(copyLine(line, MALLOC_FAILURE));
  line = nullptr;
}

// Returns the attribute name of a line, up to and including its first colon; empty for a line without one.
static std::string_view attributeName(const char* line) {
  const char* colon = strchr(line, ':');
  return colon == nullptr ? std::string_view() : std::string_view(line, static_cast<size_t>(colon - line) + 1);
}

static bool isDn(std::string_view name) { return name == "dn:" || name == "DN:"; }

static bool isExcluded(std::string_view name) {
  return std::find(std::begin(excludedNames), std::end(excludedNames), name) != std::end(excludedNames);
}

// Returns the first remaining line that holds the name anywhere, in any case; null without one.
static const char** findMatch(const Remainder& remainder, const ColonText& name) {
  for (size_t i = 0; i < remainder.count; ++i)
    if (remainder.lines[i] != nullptr && findInAnyCase(remainder.lines[i], name) != nullptr) return &remainder.lines[i];
  return nullptr;
}

// Settles one line of the first input, whose attribute name is neither dn: nor excluded.
static void mergeLine(const char*& line, const Remainder& remainder2, std::string_view name) {
  const char** match = findMatch(remainder2, name);
  if (match == nullptr) {
    moveToObject(line);
  } else if (findInAnyCase(line, "secauthority:") != nullptr) {
    moveToObject(line);
    *match = nullptr;
  } else {
    moveToObject(*match);
    line = nullptr;
  }
}

static constexpr ColonText objectClassTexts[] = {"objectclass:", "objectClass:"};

static void walkFirstInput(const Remainder& remainder1, const Remainder& remainder2, const char* dnLine) {
  for (size_t i = 0; i < remainder1.count; ++i) {
    const char*& line = remainder1.lines[i];
    if (findExactly(line, objectClassTexts) != nullptr) {
      moveToObject(line);
      continue;
    }
    const std::string_view name = attributeName(line);
    if (name.empty()) exitForMissingColon(line, true, dnLine);
    if (isDn(name))
      moveToObject(line);
    else if (!isExcluded(name))
      mergeLine(line, remainder2, name);
  }
}

static void walkSecondInput(const Remainder& remainder2, const char* dnLine) {
  for (size_t i = 0; i < remainder2.count; ++i) {
    const char*& line = remainder2.lines[i];
    if (line == nullptr) continue;
    const std::string_view name = attributeName(line);
    if (name.empty()) exitForMissingColon(line, false, dnLine);
    if (!isDn(name) && !isExcluded(name)) moveToObject(line);
  }
}

static void traceUnmerged(const Remainder& remainder, const char* header, const char* name) {
  if (debug == 0) return;
  traceLine("%s", header);
  traceLine("                   CHECK THESE FOR ERRRORS. \n");
  for (size_t i = 0; i < remainder.count; ++i)
    if (remainder.lines[i] != nullptr)
      traceLine("                  %s[%d] = %s ", name, static_cast<int>(i), remainder.lines[i]);
}

void mergeObjects(char* const* inputObject1, char* const* inputObject2) {
  traceLine("mergeObjects():  FUNCTION ENTRY \n");
  if (inputObject1[0] == nullptr || inputObject2[0] == nullptr) exitForEmptyInput(inputObject1[0], inputObject2[0]);
  freeObject();
  next_available_object_slot = 0;
  const Remainder remainder1 = allLinesOf(inputObject1);
  const Remainder remainder2 = allLinesOf(inputObject2);

  walkFirstInput(remainder1, remainder2, inputObject1[0]);
  walkSecondInput(remainder2, inputObject1[0]);

  traceUnmerged(remainder1,
                "\nmergeObjects():  THE FOLLOWING ATTRIBUTES REMAINED UNMERGED WITHIN inputObject1Clone. \n",
                "inputObject1Clone");
  traceUnmerged(remainder2,
                "\nmergeObjects():  THE FOLLOWING ATTRIBUTES REMAINED UNMERGED WITHIN inputObject2Clone: \n",
                "inputObject2Clone");
  free(remainder1.lines);
  free(remainder2.lines);
  traceLine("mergeObjects():  The merged object is: \n");
  for (int32_t i = 0; debug != 0 && i < next_available_object_slot; ++i)
    traceLine("                 object[%d] = %s ", i, object[i]);
  traceLine("mergeObjects():  FUNCTION EXIT \n");
}
