#include "ldif/oversized_object_copy.h"

#include "ldif/line_reader.h"
#include "reporting/reporting.h"
#include "reporting/run_state.h"
#include "rules/dropped_lines.h"
#include "rules/text.h"

static void requireWritten(int32_t result) {
  if (result == 0) return;
  traceLine("moveNextObjectToOutputLDIFFile():  fputs() failed with rc=%d \n", result);
  exitWithMessage(WRITE_FAILED, output_ldif_filename);
}

static void writeTerminatingBlankLine() {
  traceLine("This is a BLANK line which terminates the object.  \n");
  requireWritten(writeText(ofp, "\n"));
  traceLine("moveNextObjectToOutputLDIFFile():  Writing a blank line between objects \n");
}

static void writeLine(std::string_view line) {
  // A piece of a long line is looked at as if it were a line of its own.
  if (isDropped(scanLine(line), OVERSIZED)) return;
  traceLine("moveNextObjectToOutputLDIFFile():  Writing this line to the output LDIF file. \n");
  requireWritten(writeText(ofp, line.data(), line.size()));
}

void moveNextObjectToOutputLDIFFile() {
  traceLine("moveNextObjectToOutputLDIFFile():  FUNCTION ENTRY \n");
  bool started = false;
  for (;;) {
    const std::string_view read = readNextLine(ifp);
    if (read.empty()) break;
    // The empty rest of a line that begins with a NUL ends the entry like a blank line.
    const std::string_view line = upToNul(ifp, read);
    traceLine("\nmoveNextObjectToOutputLDIFFile():  THE LINE READ WAS: %.*s   \n", SHOWN(line));
    // Blank lines and comments before the entry belong to none and are left out.
    if (isBlankLine(line) && started) {
      writeTerminatingBlankLine();
      break;
    }
    if (isBlankLine(line)) {
      traceLine("This is a BLANK line which precedes the next object.  \n");
    } else if (line[0] == '#') {
      traceLine("This is a COMMENT which will be discarded.  \n");
    } else {
      started = true;
      writeLine(line);
    }
  }
  // A write that fails is to be told before anything is read after this entry.
  requireWritten(flushStream(ofp));
  traceLine("moveNextObjectToOutputLDIFFile():  FUNCTION EXIT   \n");
}
