#include "ldif/text.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "ldif/letter_case.h"
#include "reporting/reporting.h"

char* trim(char* string) {
  if (string == nullptr) return nullptr;
  size_t length = strlen(string);
  while (length > 0 && isspace(static_cast<unsigned char>(string[length - 1]))) --length;
  string[length] = '\0';
  return string;
}

static void lowerInto(char* buffer, const char* text, size_t length) {
  for (size_t i = 0; i < length; ++i) buffer[i] = static_cast<char>(lowered(text[i]));
}

void strtolower(char* string) {
  if (string == nullptr) return;
  lowerInto(string, string, strlen(string));
}

void strtoupper(char* string) {
  if (string == nullptr) return;
  for (; *string != '\0'; ++string) *string = static_cast<char>(toupper(static_cast<unsigned char>(*string)));
}

const char* dostristr(const char* haystack, const char* needle) {
  if (needle == nullptr) return nullptr;
  if (*needle == '\0') return haystack;
  const unsigned char first = lowered(*needle);
  for (; *haystack != '\0'; ++haystack) {
    if (lowered(*haystack) != first) continue;
    size_t i = 1;
    while (needle[i] != '\0' && lowered(needle[i]) == lowered(haystack[i])) ++i;
    if (needle[i] == '\0') return haystack;
  }
  return nullptr;
}

char* dostristr(char* haystack, const char* needle) {
  return const_cast<char*>(dostristr(static_cast<const char*>(haystack), needle));
}

// Drops the spaces that follow a comma on the way from the copy back into the string.
static void eatSpacesAfterCommas(char* string, const char* copy) {
  char* write = string;
  for (; *copy != '\0'; ++copy)
    if (*copy != ' ' || write == string || write[-1] != ',') *write++ = *copy;
  *write = '\0';
}

static void eatSpacesBeforeCommas(char* string) {
  char* write = string;
  for (const char* read = string; *read != '\0'; ++read) {
    if (*read == ',')
      while (write > string && write[-1] == ' ') --write;
    *write++ = *read;
  }
  *write = '\0';
}

static bool hasSpaceBesideComma(const char* string) {
  for (const char* comma = strchr(string, ','); comma != nullptr; comma = strchr(comma + 1, ','))
    if (comma[1] == ' ' || (comma > string && comma[-1] == ' ')) return true;
  return false;
}

void commaSpaceEater(char* string) {
  if (string == nullptr || !hasSpaceBesideComma(string)) return;
  const size_t size = strlen(string) + 1;
  char* copy = static_cast<char*>(allocate(size, "commaSpaceEater():  malloc() failure.  EXITING. \n"));
  memcpy(copy, string, size);
  eatSpacesAfterCommas(string, copy);
  free(copy);
  eatSpacesBeforeCommas(string);
}

bool isBlankLine(const char* line) {
  while (*line == ' ' || *line == '\r' || *line == '\n') ++line;
  return *line == '\0';
}

void blankLine(char* line) {
  size_t length = strlen(line);
  memset(line, ' ', length);
  if (length < 2) length = 2;
  line[length - 2] = '\r';
  line[length - 1] = '\n';
  line[length] = '\0';
}

void cutAtLineEnd(char* text) {
  for (const char lineEnd : {'\n', '\r'})
    if (char* place = strchr(text, lineEnd)) *place = '\0';
}

void cutAtComma(char* text) { text[strcspn(text, ",")] = '\0'; }

const char* skipSpaces(const char* text) {
  while (*text == ' ') ++text;
  return text;
}

char* skipSpaces(char* text) { return const_cast<char*>(skipSpaces(static_cast<const char*>(text))); }

bool copyBounded(char* buffer, size_t size, const char* text) {
  const size_t length = strlen(text);
  if (length >= size) return false;
  memcpy(buffer, text, length + 1);
  return true;
}

bool copyLowered(char* buffer, size_t size, const char* text) {
  const size_t length = strlen(text);
  if (length >= size) return false;
  lowerInto(buffer, text, length + 1);
  return true;
}

bool appendBounded(char* buffer, size_t size, const char* text) {
  const size_t length = strlen(buffer);
  return copyBounded(buffer + length, size - length, text);
}
