#include "ldif/attribute_lookup.h"

#include <cstdlib>
#include <cstring>

#include "ldif/complaint.h"
#include "ldif/letter_case.h"
#include "ldif/line_memory.h"
#include "ldif/object_buffer.h"
#include "ldif/text.h"
#include "reporting/reporting.h"

// What the two lookups by index differ in: the lines that name them, and where the copy begins.
struct LookupByIndex {
  const char* function;
  const char* mallocFailure;
  const char* reallocFailure;
  const char* continuationError;
  bool fromColon;
};

static constexpr LookupByIndex wholeLine = {
    "obtainAttributeFromObjectArray", "obtainAttributeFromObjectArray():  ERROR:  malloc() failure.  Exiting. \n",
    "obtainAttributeFromObjectArray():  ERROR:  realloc() failure.  Exiting. \n",
    "obtainAttributeFromObjectArray():  ERROR:  The object at the specified index is a 'continuation' line.  "
    "Exiting. \n",
    false};
static constexpr LookupByIndex fromFirstColon = {
    "obtainAttributeValueFromObjectArray",
    "obtainAttributeValueFromObjectArray():  ERROR:  malloc() failure.  Exiting. \n",
    "obtainAttributeValueFromObjectArray():  ERROR:  realloc() failure.  Exiting. \n",
    "obtainAttributeValueFromObjectArray():  ERROR:  The object at the specified index is a 'continuation' line.  "
    "Exiting. \n",
    true};

static constexpr char LINE_ENDS[] = "\r\n";

static bool isContinuationLine(int32_t index) {
  return index < OBJECT_ARRAY_SIZE && object[index] != nullptr && object[index][0] == ' ';
}

// Copies source, which stands in slot index, joins the continuation lines behind that slot to it and drops all
// line ends. Moves index to the first slot that was not joined. The room doubles when it is used up, so that a value of
// many lines, as a photo is one, is not copied for each of them.
static char* unfold(const char* source, int32_t& index, const char* mallocFailure, const char* reallocFailure) {
  size_t length = strcspn(source, LINE_ENDS);
  size_t room = length + LINE_SPARE;
  char* text = copyLine(source, length, mallocFailure);
  for (++index; isContinuationLine(index); ++index) {
    const char* piece = object[index] + 1;
    const size_t pieceLength = strcspn(piece, LINE_ENDS);
    if (length + pieceLength + LINE_SPARE > room) {
      room = (length + pieceLength) * 2 + LINE_SPARE;
      char* grown = allocateLine(room, reallocFailure);
      memcpy(grown, text, length);
      freeLine(text);
      text = grown;
    }
    memcpy(text + length, piece, pieceLength);
    length += pieceLength;
    text[length] = '\0';
  }
  return text;
}

// True when the key, which is in lower case and ends in its only colon, ends at the colon at the given place of
// the line. Case is ignored up to the line's first colon and counts behind it.
static bool keyEndsAt(const ColonLine& line, const char* colon, std::string_view key) {
  if (static_cast<size_t>(colon - line.text) + 1 < key.size()) return false;
  const char* start = colon + 1 - key.size();
  for (size_t i = 0; i < key.size(); ++i) {
    const bool isFolded = start + i <= line.firstColon;
    if ((isFolded ? lowered(start[i]) : static_cast<unsigned char>(start[i])) != static_cast<unsigned char>(key[i]))
      return false;
  }
  return true;
}

// Returns what follows the key's first match in the line, or null.
static const char* findValue(const ColonLine& line, const ColonText& key) {
  if ((line.endings & key.ending) == 0) return nullptr;
  for (const char* colon = line.firstColon; colon != nullptr; colon = strchr(colon + 1, ':'))
    if (keyEndsAt(line, colon, key.text)) return colon + 1;
  return nullptr;
}

char* obtainAttributeValueFromObjArray(const char* name) {
  traceLine("obtainAttributeValueFromObjArray():  FUNCTION ENTRY \n");
  traceLine("    Seeking the value of attribute:  %s\n", name);
  char* key = copyLine(name, "obtainAttributeValueFromObjArray():  malloc() failure.  EXITING. \n");
  appendBounded(key, strlen(name) + LINE_SPARE, ":");
  strtolower(key);

  const char* found = nullptr;
  int32_t index = 0;
  const ColonText keyText = key;
  while (index < next_available_object_slot && (found = findValue(colonsOfObject(index), keyText)) == nullptr) ++index;
  freeLine(key);
  if (found == nullptr) {
    traceLine("obtainAttributeValueFromObjArray():  ERROR:  Attribute not found. \n");
    traceLine("obtainAttributeValueFromObjArray():  FUNCTION EXIT \n");
    return nullptr;
  }
  int32_t nextIndex = index;
  char* value = unfold(skipSpaces(found), nextIndex,
                       "obtainAttributeValueFromObjArray():  ERROR:  malloc() failure.  Exiting. \n",
                       "obtainAttributeValueFromObjArray():  ERROR:  realloc() failure.  Exiting. \n");
  traceLine("   The attribute value at index %d returned is:   %s \n", index, value);
  traceLine("obtainAttributeValueFromObjArray():  FUNCTION EXIT \n");
  return value;
}

static char* obtainByIndex(const LookupByIndex& lookup, int32_t index) {
  traceLine("\n%s():  FUNCTION ENTRY \n", lookup.function);
  traceLine("    Seeking the attribute at index %d \n", index);
  traceLine("    object[%d] = %s \n", index, textOrNull(object[index]));
  if (isContinuationLine(index)) {
    reportError("%s", lookup.continuationError);
    echoError("%s():  object = %s\n", lookup.function, textOrNull(object[index]));
    exitForObject(FOLDED_COMMENT);
  }
  const char* source = object[index];
  if (lookup.fromColon) source += strcspn(source, ":");
  char* text = unfold(source, index, lookup.mallocFailure, lookup.reallocFailure);
  traceLine("%s(): \n", lookup.function);
  traceLine("   The attribute at index %d returned is:   %s \n", index, text);
  traceLine("%s():  FUNCTION EXIT \n", lookup.function);
  return text;
}

char* obtainAttributeFromObjectArray(int32_t index) { return obtainByIndex(wholeLine, index); }

char* obtainAttributeValueFromObjectArray(int32_t index) { return obtainByIndex(fromFirstColon, index); }
