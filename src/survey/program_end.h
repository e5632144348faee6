// How a program ends that only looks at its files: what it says begins with its name, and what is half made goes away.
#pragma once

// The program's name; set by main before anything else.
inline const char* programName = "";

// Files to be taken away should the process end by a signal, or for a part of a file that is gone; null for none.
inline const char* filesToRemove[2] = {nullptr, nullptr};

// From then on a signal that ends the process takes those files away first, and a part of a file in memory that is
// gone or cannot be read ends it with exit status 2.
void removeFilesAtEnd();

// Ends the process at once with exit status 2, having taken those files away; the text says why.
[[noreturn]] void endAtOnce(const char* text);

// Ends the process with exit status 2 for a file; the reason is in messageReason.
[[noreturn]] void endFor(const char* file);

// Ends the process with exit status 2 for a command line that cannot be used.
[[noreturn]] void endForUsage(const char* problem, const char* usage);

// Ends the process with what was asked for on standard output, and exit status 0.
[[noreturn]] void endWith(const char* text);

// Ends the process for what has been written to standard output and does not come out: a report that is cut must not
// look like one without problems.
void flushOrEnd();
