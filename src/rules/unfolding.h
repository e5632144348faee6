// The form in which the lines of an entry are written: folding undone, one newline behind each.
#pragma once

#include <cstddef>
#include <span>

#include "rules/line.h"
#include "rules/texts.h"

struct UnfoldedEntry {
  size_t lines;   // those that are left, from the first place on
  bool isAsRead;  // but for their line ends they are the lines that have been read
};

// Brings the lines of an entry into that form, in place. Texts in memory of our own may be changed there; others are
// copied if they have to change.
UnfoldedEntry unfoldLines(std::span<Line> entry, bool areTextsOurs, Texts& texts);
