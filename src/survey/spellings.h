// Texts that mean the same and are spelled otherwise.
#pragma once

#include <string>
#include <string_view>

#include "rules/line.h"

// Returns a text without the byte-order mark of UTF-8, which some programs write in front of it.
std::string_view withoutMark(std::string_view text);

// Returns a DN without blanks that do not matter: beside the signs between its parts, at its ends, and beside other
// blanks.
std::string withoutSpareBlanks(std::string_view dn);

// True when a blank beside a comma, which the conversion takes out, is part of a name: where the two are escaped or
// quoted.
bool losesBlankOfName(std::string_view dn);

// Returns the text that is given in base 64, up to the first character that is none of it.
std::string decodedBase64(std::string_view text);

// Orders two values as they stand behind the colon of their name: a text in base 64, which has a second colon in front
// of it, is the same as the text itself; the address of a file, behind <, is the same as no text. Blanks in front do
// not count, as they do not in LDIF. Quick where they differ soon.
int compareValues(std::string_view one, std::string_view other);

// Returns the value of a line without the blanks around it, empty without a colon. One in base 64 is decoded, into the
// room given.
std::string_view decodedValueOf(const Line& line, std::string& decoded);
