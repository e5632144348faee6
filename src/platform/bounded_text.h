// The string routines for lines and DNs. Letter case is that of the C locale.
#pragma once

#include <cstddef>

// Cuts trailing white space in place, all of it when there is nothing else. Returns its argument; null for null.
char* trim(char* string);

// Folds a string in place, byte by byte; null is left alone.
void strtolower(char* string);
void strtoupper(char* string);

// Finds needle in haystack without regard to case. Returns the place of the first match in haystack; haystack
// itself for an empty needle; null without a match, for a null needle or for an empty haystack.
char* dostristr(char* haystack, const char* needle);
const char* dostristr(const char* haystack, const char* needle);

// Removes the spaces before and after every comma, in place; tabs stay, escapes are not understood. Null is
// left alone.
void commaSpaceEater(char* string);

// True when every character is a space, a carriage return or a newline.
bool isBlankLine(const char* line);

// Turns a line into spaces closed by a carriage return and a newline, of the same length. A line of fewer than
// two characters becomes the two line-end characters, so it must have room for two and the NUL.
void blankLine(char* line);

// Cuts a text at its first carriage return or newline.
void cutAtLineEnd(char* text);

// Cuts a text at its first comma, if it has one.
void cutAtComma(char* text);

// Returns the first character that is not a space.
char* skipSpaces(char* text);
const char* skipSpaces(const char* text);

// Copies text into a buffer of the given size. Returns false, with the buffer unchanged, when it does not fit.
bool copyBounded(char* buffer, size_t size, const char* text);

// The same, folded to lower case.
bool copyLowered(char* buffer, size_t size, const char* text);

// Appends text to the text in a buffer of the given size. Returns false, with the buffer unchanged, when it
// does not fit.
bool appendBounded(char* buffer, size_t size, const char* text);
