// How a program ends that only looks at its files: what it says begins with its name, and what is half made goes away.
#pragma once

// The program's name; set by main before anything else.
inline const char* programName = "";

// Files to be taken away should the process end by a signal, or by endAtOnce; null for none.
inline const char* filesToRemove[2] = {nullptr, nullptr};

// From then on a signal that ends the process takes those files away first, and a file that may not grow is the error
// of a call.
void removeFilesAtEnd();

// Has a signal handled, the first time that it comes.
void handleOnce(int number, void (*handler)(int));

// Ends the process at once with exit status 2, having taken those files away; the text says why. Calls only what a
// signal handler may call.
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
