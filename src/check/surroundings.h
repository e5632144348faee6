// What a run finds around its input: whether it can write there, what an earlier run has left, what the disk holds.
#pragma once

#include <string_view>

#include "check/prediction.h"
#include "survey/findings.h"

// Finds what is wrong with the file, before its entries are looked at. Returns the number of the message with which a
// run on it fails at once; 0 for none.
MessageCode findFileProblems(const char* input, FindingSink& findings);

// Finds what is wrong with it as a whole, and with the room for what is made of it.
void findWholeProblems(const char* input, std::string_view text, const Prediction& prediction, FindingSink& findings);

// True when the folder of a file lies in memory.
bool isFolderInMemory(const char* input);
