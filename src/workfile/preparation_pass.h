// The preparation pass: the input is read once, and every entry goes, adjusted and unfolded, either straight to
// the output or to the work file.
#pragma once

#include <cstdint>

// 1 once an entry has been written straight to the output. For the debugger.
inline int32_t writeObjectToLDIFFile = 0;

// Runs the pass, with tracing off: opens and closes the input and the work file, appending to a work file that
// is there already, and leaves the output flushed and open. Returns 0, or -1 when the input could not be read
// to its end. Every other failure ends the run.
int32_t copyOriginalInputFileToTempInputFile();
