// Texts that mean the same and are spelled otherwise.
#pragma once

#include <string>
#include <string_view>

// Returns a DN without blanks that do not matter: beside the signs between its parts, at its ends, and beside other
// blanks.
std::string withoutSpareBlanks(std::string_view dn);

// Returns the text that is given in base 64, up to the first character that is none of it.
std::string decodedBase64(std::string_view text);
