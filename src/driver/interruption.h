// What an administrator's Ctrl-C leaves behind.
#pragma once

// From now on INT, TERM and HUP, unless they are ignored already, take the work file away before they end the
// process as they would have; while tracing it is kept. Failed writes end no process any more: a pipe that nobody
// reads and a file that may not grow are met where they are written to. No core dump is left, which would hold the
// credentials of the input.
void prepareForSignals();

// Holds these three back, so that none arrives between two steps that belong together, and lets them through again.
void holdSignals();
void letSignalsThrough();
