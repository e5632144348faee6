// What the passes leave in the work file goes to the output.
#pragma once

// Copies the resource-credential entries that are left to the output, without the lines that belong to the
// directory server, and blanks them out of the work file, which it opens and closes. Any other entry ends the
// run with PROCESSING_FAILED. Returns in silence when a line cannot be written: closing the output
// tells. Ends the run in silence, with status -1, when the empty line behind an entry cannot be written, and with
// WRITE_FAILED when somebody else is the cause.
void copyRemainingObjectsToOutputLDIFFile();
