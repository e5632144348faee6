// The files of the run: opened, compared with each other and locked before anything is written to one of them.
#pragma once

// Opens input, trace, output and an earlier run's work file, and locks them. Ends the run with USAGE_ERROR when one
// file would play two roles, or when standard output or standard error leads to one of the files; with FILE_NOT_OPENED
// when the trace cannot be opened or another run is using one of them. Nothing has been changed then. An input that
// cannot be opened is left to the preparation pass, an output to the function below, so that their messages come where
// the files are needed.
void openFilesOfRun();

// Ends the run with FILE_NOT_OPENED when the output could not be opened.
void requireOpenOutput();
