// The way out for an input entry that is too long for the entry buffer.
#pragma once

// Copies the next entry of the input straight to the output, line by line as read, without its comment lines
// and its entry-UUID lines, and an empty line behind it unless the file ends first. The input must stand where
// the entry, or the blank lines before it, begin; it is left behind the entry. Ends the run with WRITE_FAILED,
// files closed, when the output cannot be written.
void moveNextObjectToOutputLDIFFile();
