// What comes from a file or a name, made fit to be shown on a terminal.
#pragma once

#include <cstddef>
#include <string_view>

enum class Newlines : bool { HIDDEN, KEPT };

// Appends text to the text in a buffer of the given size, as much of it as fits. Control characters, those from U+0080
// to U+009F among them, and bytes that are not UTF-8 are shown as \xNN, so that a name can neither fake a line of its
// own nor command a terminal. Newlines are kept only where it is said.
void appendHarmless(char* buffer, size_t size, std::string_view text, Newlines newlines = Newlines::HIDDEN);

// Returns the DN in a dn: line, without the blanks around it; nothing unless the line begins with dn: and what follows
// is a DN. In a damaged file something else may stand where a DN belongs, a password perhaps: that is not shown.
std::string_view dnOfLine(std::string_view line);

// Returns the text without the white space behind it if it is a DN: components type=value parted by commas or
// semicolons; nothing otherwise. A line of base 64, which can end in equals signs, is none.
std::string_view asDn(std::string_view text);
