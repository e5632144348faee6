// The command line of the account.
#pragma once

struct AccountOptions {
  bool json = false;
  bool all = false;             // every line and change, not as many losses and changes as fit on a screen
  bool values = false;          // are shown, too
  const char* entry = nullptr;  // the DN of the entries that are asked for; null for all
  const char* input = "";
  const char* output = "";
};

// Reads it. Ends the process for --help and --version, and with exit status 2 and a message for a command line that
// cannot be used.
AccountOptions readOptions(int argumentCount, char** arguments);
