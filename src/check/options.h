// The command line of the check.
#pragma once

#include <cstdint>

struct CheckOptions {
  bool json = false;
  bool all = false;            // every problem is shown, not ten of each kind
  bool values = false;         // are shown, too
  const char* good = nullptr;  // where the split goes; null without one
  const char* rejected = nullptr;
  const char* input = "";
  int32_t slots[2] = {0, 0};  // by Side; 0 for as many as there are owners
};

// Reads it. Ends the process for --help and --version, and with exit status 2 and a message for a command line that
// cannot be used.
CheckOptions readOptions(int argumentCount, char** arguments);
