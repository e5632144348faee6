#include "ldif/oversized_object_copy.h"

#include "ldif/colon_search.h"
#include "ldif/line_reader.h"
#include "ldif/text.h"
#include "reporting/reporting.h"
#include "reporting/run_state.h"

// Writes through to the file, so that it is complete up to a line that fails.
static void write(const char* text) {
  int32_t result = writeText(ofp, text);
  if (result == 0) result = flushStream(ofp);
  if (result == 0) return;
  traceLine("moveNextObjectToOutputLDIFFile():  fputs() failed with rc=%d \n", result);
  exitWithMessage(WRITE_FAILED, output_ldif_filename);
}

static void writeTerminatingBlankLine() {
  traceLine("This is a BLANK line which terminates the object.  \n");
  write("\n");
  traceLine("moveNextObjectToOutputLDIFFile():  Writing a blank line between objects \n");
}

// The entry-UUID lines of the directory server; other letter case is copied.
static constexpr ColonText entryUuidTexts[] = {"XOQ-ENTRYUUID:", "xoq-entryuuid:"};

static void writeLine() {
  if (findExactly(nextLine, entryUuidTexts) != nullptr) return;
  traceLine("moveNextObjectToOutputLDIFFile():  Writing this line to the output LDIF file. \n");
  write(nextLine);
}

void moveNextObjectToOutputLDIFFile() {
  traceLine("moveNextObjectToOutputLDIFFile():  FUNCTION ENTRY \n");
  bool started = false;
  while (getNextLine(nextLine, ifp) == 0) {
    traceLine("\nmoveNextObjectToOutputLDIFFile():  THE LINE READ WAS: %s   \n", nextLine);
    if (isBlankLine(nextLine) && started) {
      writeTerminatingBlankLine();
      break;
    }
    if (isBlankLine(nextLine)) {
      traceLine("This is a BLANK line which precedes the next object.  \n");
    } else if (nextLine[0] == '#') {
      traceLine("This is a COMMENT which will be discarded.  \n");
    } else {
      started = true;
      writeLine();
    }
  }
  write("");
  traceLine("moveNextObjectToOutputLDIFFile():  FUNCTION EXIT   \n");
}
