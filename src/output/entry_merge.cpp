#include "output/entry_merge.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <span>
#include <string_view>

#include "ldif/colon_search.h"
#include "ldif/complaint.h"
#include "ldif/line_memory.h"
#include "ldif/object_buffer.h"
#include "reporting/reporting.h"

static constexpr char MALLOC_FAILURE[] = "mergeObjects():  malloc() failure.  EXITING. \n";

// Attribute names, colon included, that are never merged; other spellings pass.
static constexpr std::string_view excludedNames[] = {
    "objectclass:",  "objectClass:", "XOQ-ENTRYUUID:", "xoq-entryuuid:", "control:", "Control:", "aclpropagate:",
    "aclPropagate:", "aclentry:",    "aclEntry:",      "acl:",           "ACL:",     "aci:",     "ACI:"};

struct Input {
  ColonLine* lines;  // their text belongs to the caller; null once a line has been merged or discarded
  size_t count;
};

[[noreturn]] static void exitForEmptyInput(const char* line1, const char* line2) {
  traceLine("mergeObjects():  One or both inputs is NULL.  Exiting. \n");
  echoError("mergeObjects(): inputObject1 = %s\n", textOrNULL(line1));
  echoError("mergeObjects(): inputObject2 = %s\n", textOrNULL(line2));
  exitForEntry(INCOMPLETE_DN, line1 != nullptr ? line1 : line2);
}

[[noreturn]] static void exitForMissingColon(const char* line, bool inFirstInput, const char* dnLine) {
  reportError("mergeObjects():  Colon missing from attribute definition. EXITING. \n");
  traceLine("                 The input file could be corrupt.                  \n");
  if (inFirstInput)
    echoError("mergeObjects():  attributeClone = %s\n", line);
  else
    echoError("attributeClone =  %s\n", line);
  exitForEntry(LINE_WITHOUT_COLON, dnLine);
}

// The caller frees the lines.
static Input makeInput(char* const* texts) {
  size_t count = 0;
  while (texts[count] != nullptr) ++count;
  auto* lines = static_cast<ColonLine*>(allocate(count * sizeof(ColonLine), MALLOC_FAILURE));
  std::uninitialized_copy(texts, texts + count, lines);
  return {lines, count};
}

// Appends a copy of the line to the entry buffer.
static void moveToObject(ColonLine& line) {
  copyLineToObject(line, MALLOC_FAILURE);
  line.text = nullptr;
}

// Returns the attribute name of a line that has a colon, up to and including the first.
static std::string_view attributeName(const ColonLine& line) {
  return {line.text, static_cast<size_t>(line.firstColon - line.text) + 1};
}

static bool isDn(std::string_view name) { return name == "dn:" || name == "DN:"; }

static bool isExcluded(std::string_view name) {
  return std::find(std::begin(excludedNames), std::end(excludedNames), name) != std::end(excludedNames);
}

static bool holdsName(const ColonLine& line, const ColonText& name) {
  return line.text != nullptr && findInAnyCase(line, name) != nullptr;
}

// Returns the first line left that holds the name anywhere, in any case; null without one.
static ColonLine* findMatch(const Input& input, const ColonText& name) {
  ColonLine* end = input.lines + input.count;
  ColonLine* match = std::find_if(input.lines, end, [&](const ColonLine& line) { return holdsName(line, name); });
  return match != end ? match : nullptr;
}

static constexpr ColonText secAuthorityText = "secauthority:";

// Settles a line of the first input, whose attribute name is neither dn: nor excluded.
static void mergeLine(ColonLine& line, const Input& input2) {
  ColonLine* match = findMatch(input2, attributeName(line));
  if (match == nullptr) {
    moveToObject(line);
  } else if (findInAnyCase(line, secAuthorityText) != nullptr) {
    moveToObject(line);
    match->text = nullptr;
  } else {
    moveToObject(*match);
    line.text = nullptr;
  }
}

static constexpr ColonText objectClassTexts[] = {"objectclass:", "objectClass:"};

static void walkFirstInput(const Input& input1, const Input& input2) {
  const char* dnLine = input1.lines[0].text;
  for (ColonLine& line : std::span(input1.lines, input1.count)) {
    if (findExactly(line, objectClassTexts) != nullptr) {
      moveToObject(line);
      continue;
    }
    if (line.firstColon == nullptr) exitForMissingColon(line.text, true, dnLine);
    if (isDn(attributeName(line)))
      moveToObject(line);
    else if (!isExcluded(attributeName(line)))
      mergeLine(line, input2);
  }
}

static void walkSecondInput(const Input& input2, const char* dnLine) {
  for (ColonLine& line : std::span(input2.lines, input2.count)) {
    if (line.text == nullptr) continue;
    if (line.firstColon == nullptr) exitForMissingColon(line.text, false, dnLine);
    if (!isDn(attributeName(line)) && !isExcluded(attributeName(line))) moveToObject(line);
  }
}

static void traceUnmerged(const Input& input, const char* header, const char* name) {
  if (debug == 0) return;
  traceLine("%s", header);
  traceLine("                   CHECK THESE FOR ERRRORS. \n");
  for (size_t i = 0; i < input.count; ++i)
    if (input.lines[i].text != nullptr)
      traceLine("                  %s[%d] = %s ", name, static_cast<int>(i), input.lines[i].text);
}

void mergeObjects(char* const* inputObject1, char* const* inputObject2) {
  traceLine("mergeObjects():  FUNCTION ENTRY \n");
  if (inputObject1[0] == nullptr || inputObject2[0] == nullptr) exitForEmptyInput(inputObject1[0], inputObject2[0]);
  freeObject();
  next_available_object_slot = 0;
  const Input input1 = makeInput(inputObject1);
  const Input input2 = makeInput(inputObject2);

  walkFirstInput(input1, input2);
  walkSecondInput(input2, inputObject2[0]);

  traceUnmerged(input1, "\nmergeObjects():  THE FOLLOWING ATTRIBUTES REMAINED UNMERGED WITHIN inputObject1Clone. \n",
                "inputObject1Clone");
  traceUnmerged(input2, "\nmergeObjects():  THE FOLLOWING ATTRIBUTES REMAINED UNMERGED WITHIN inputObject2Clone: \n",
                "inputObject2Clone");
  free(input1.lines);
  free(input2.lines);
  traceLine("mergeObjects():  The merged object is: \n");
  for (int32_t i = 0; debug != 0 && i < next_available_object_slot; ++i)
    traceLine("                 object[%d] = %s ", i, object[i]);
  traceLine("mergeObjects():  FUNCTION EXIT \n");
}
