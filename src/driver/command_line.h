// The command line: names and limits into the run state.
#pragma once

// Takes the command line over into the file names, the slot limits and debug (1 when a trace file is named). Ends the
// run with USAGE_ERROR, messageReason saying why, when it cannot be used.
void readCommandLine(int argumentCount, char* const* arguments);
