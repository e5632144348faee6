#include "output/entry_merge.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "driver/reporting.h"
#include "ldif/object_buffer.h"
#include "ldif/text.h"

static constexpr char MALLOC_FAILURE[] = "mergeObjects():  malloc() failure.  EXITING. \n";

// Attribute names, colon included, that are never merged; other spellings pass.
static constexpr std::string_view excludedNames[] = {
    "objectclass:", "objectClass:", "XOQ-ENTRYUUID:", "xoq-entryuuid:", "control:",  "Control:", "aclpropagate:",
    "aclPropagate:", "aclentry:",   "aclEntry:",      "acl:",           "ACL:",      "aci:",     "ACI:"};

// A private copy of an input. A cell is null once its line has been merged or discarded.
struct Clone {
  char** lines;
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

static Clone cloneObject(char* const* input) {
  size_t count = 0;
  while (input[count] != nullptr) ++count;
  auto** lines = static_cast<char**>(allocate((count + 1) * sizeof(char*), MALLOC_FAILURE));
  for (size_t i = 0; i < count; ++i) lines[i] = copyLine(input[i], MALLOC_FAILURE);
  lines[count] = nullptr;
  return {lines, count};
}

// Frees what is left of a clone.
static void discard(const Clone& clone) {
  for (size_t i = 0; i < clone.count; ++i) free(clone.lines[i]);
  free(clone.lines);
}

static void discardLine(char*& line) {
  free(line);
  line = nullptr;
}

static void moveToObject(char*& line) {
  appendLineToObject(line);
  line = nullptr;
}

// Returns the attribute name of a line, up to and including its first colon; empty for a line without one.
static std::string_view attributeName(const char* line) {
  const char* colon = strchr(line, ':');
  return colon == nullptr ? std::string_view() : std::string_view(line, static_cast<size_t>(colon - line) + 1);
}

static bool isDn(std::string_view name) {
  return name == "dn:" || name == "DN:";
}

static bool isExcluded(std::string_view name) {
  return std::find(std::begin(excludedNames), std::end(excludedNames), name) != std::end(excludedNames);
}

// Returns the first line left in the clone that holds the name anywhere, in any case; null without one.
static char** findMatch(const Clone& clone, const char* name) {
  for (size_t i = 0; i < clone.count; ++i)
    if (clone.lines[i] != nullptr && dostristr(clone.lines[i], name) != nullptr) return &clone.lines[i];
  return nullptr;
}

// Settles one line of the first input, whose attribute name is neither dn: nor excluded.
static void mergeLine(char*& line, const Clone& clone2, std::string_view name) {
  char* nameText = copyLine(line, MALLOC_FAILURE);
  nameText[name.size()] = '\0';
  char** match = findMatch(clone2, nameText);
  free(nameText);
  if (match == nullptr) {
    moveToObject(line);
  } else if (dostristr(line, "secauthority:") != nullptr) {
    moveToObject(line);
    discardLine(*match);
  } else {
    moveToObject(*match);
    discardLine(line);
  }
}

static void walkFirstInput(const Clone& clone1, const Clone& clone2, const char* dnLine) {
  for (size_t i = 0; i < clone1.count; ++i) {
    char*& line = clone1.lines[i];
    if (strstr(line, "objectclass:") != nullptr || strstr(line, "objectClass:") != nullptr) {
      moveToObject(line);
      continue;
    }
    const std::string_view name = attributeName(line);
    if (name.empty()) exitForMissingColon(line, true, dnLine);
    if (isDn(name))
      moveToObject(line);
    else if (!isExcluded(name))
      mergeLine(line, clone2, name);
  }
}

static void walkSecondInput(const Clone& clone2, const char* dnLine) {
  for (size_t i = 0; i < clone2.count; ++i) {
    char*& line = clone2.lines[i];
    if (line == nullptr) continue;
    const std::string_view name = attributeName(line);
    if (name.empty()) exitForMissingColon(line, false, dnLine);
    if (!isDn(name) && !isExcluded(name)) moveToObject(line);
  }
}

static void traceUnmerged(const Clone& clone, const char* header, const char* name) {
  if (debug == 0) return;
  traceLine("%s", header);
  traceLine("                   CHECK THESE FOR ERRRORS. \n");
  for (size_t i = 0; i < clone.count; ++i)
    if (clone.lines[i] != nullptr)
      traceLine("                  %s[%d] = %s ", name, static_cast<int>(i), clone.lines[i]);
}

void mergeObjects(char* const* inputObject1, char* const* inputObject2) {
  traceLine("mergeObjects():  FUNCTION ENTRY \n");
  if (inputObject1[0] == nullptr || inputObject2[0] == nullptr) exitForEmptyInput(inputObject1[0], inputObject2[0]);
  freeObject();
  next_available_object_slot = 0;
  const Clone clone1 = cloneObject(inputObject1);
  const Clone clone2 = cloneObject(inputObject2);

  walkFirstInput(clone1, clone2, inputObject1[0]);
  walkSecondInput(clone2, inputObject1[0]);

  traceUnmerged(clone1, "\nmergeObjects():  THE FOLLOWING ATTRIBUTES REMAINED UNMERGED WITHIN inputObject1Clone. \n",
                "inputObject1Clone");
  traceUnmerged(clone2, "\nmergeObjects():  THE FOLLOWING ATTRIBUTES REMAINED UNMERGED WITHIN inputObject2Clone: \n",
                "inputObject2Clone");
  discard(clone1);
  discard(clone2);
  traceLine("mergeObjects():  The merged object is: \n");
  for (int32_t i = 0; debug != 0 && i < next_available_object_slot; ++i)
    traceLine("                 object[%d] = %s ", i, object[i]);
  traceLine("mergeObjects():  FUNCTION EXIT \n");
}
