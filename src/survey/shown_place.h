// What is shown of a place of a file: never a value unless it is asked for.
#pragma once

#include <cstdint>
#include <string>

#include "survey/surveyed_file.h"

// The DN of the entry that begins in a place, folding undone; isKnown is false where it does not begin with its DN, or
// with one in base 64.
struct ShownDn {
  std::string text;
  bool isKnown = false;
};
ShownDn dnAt(SurveyedFile& file, uint64_t entry);

// The same as it can be shown on a terminal, or that it cannot be shown.
std::string shownDnAt(SurveyedFile& file, uint64_t entry);

// The line that begins in a place, up to its first odd byte, with those that continue it. What is longer than 64 KiB is
// cut.
std::string wholeLineAt(SurveyedFile& file, uint64_t place);

// The attribute name of the line that begins in a place; empty unless it is a valid one.
std::string attributeAt(SurveyedFile& file, uint64_t line);

// The value behind it, folding undone.
std::string valueAt(SurveyedFile& file, uint64_t line);

// Returns the text as it can be shown on a terminal.
std::string harmless(const std::string& text);

// The number of the line, from 1.
int64_t lineNumberOf(SurveyedFile& file, uint64_t place);
