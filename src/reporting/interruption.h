// What an administrator's Ctrl-C leaves behind.
#pragma once

// From now on INT, TERM and HUP, unless they are ignored already, take the work file away and say on standard error
// what was interrupted, before they end the process as they would have; while tracing the work file is kept. The work
// of the first signal is done before a second one counts. Where a signal ends no process, as for the first one of a
// container, the run ends with status 255. Failed writes end no process any more: a pipe that nobody reads and a file
// that may not grow are met where they are written to. No core dump is left, which would hold the credentials of the
// input.
void prepareForSignals();

// Adds the names of the input and the output, as the command line gives them, to what is said.
void nameFilesForSignals();

// Hold these three back, so that none arrives between two steps that belong together, and let through again those that
// were not held back before.
void holdSignals();
void letSignalsThrough();
