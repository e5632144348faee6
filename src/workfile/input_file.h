// The input as a file: read once, while nobody may change it.
#pragma once

#include <cstdint>

// Makes ifp, the stream on the input. Ends the run with FILE_NOT_OPENED when the input could not be opened.
void beginInput();

// Returns how long the input was when it was opened, in bytes.
int64_t inputSize();

// Returns false, with the reason in messageReason, when the input is not what it was when it was opened, or its name
// leads to another file by now.
bool isInputUnchanged();
