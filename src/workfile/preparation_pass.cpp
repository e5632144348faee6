#include "workfile/preparation_pass.h"

#include <cstring>

#include "driver/interruption.h"
#include "driver/reporting.h"
#include "driver/run_state.h"
#include "ldif/attribute_lookup.h"
#include "ldif/colon_search.h"
#include "ldif/line_memory.h"
#include "ldif/object_buffer.h"
#include "ldif/object_class.h"
#include "ldif/text.h"
#include "platform/message_details.h"
#include "workfile/entry_adjustments.h"

// Where the entries of one kind go.
struct Destination {
  Stream*& stream;
  const char* fileName;
  bool dropsEntryUuid;      // the directory server's UUID lines stay behind
  bool tightensOwnerNames;  // blanks around commas go, in the lines that later name an entry's owner
};

static const Destination outputFile = {ofp, output_ldif_filename, true, false};
static const Destination workFile = {tifp, temp_input_ldif_filename, false, true};

static void stopOnFailure(int32_t result, const char* fileName) {
  if (result != 0) exitWithMessage(WRITE_FAILED, fileName);
}

static const Destination& chooseDestination(const char* dnLine) {
  switch (objectClass) {
    case UNINTERESTING_OBJECTCLASS:
    case SECAUTHORITYINFO_OBJECTCLASS:
    case CONTAINER_OBJECTCLASS:
      return outputFile;
    case SECPOLICY_OBJECTCLASS:
      return dostristr(dnLine, "cn=Policies,secAuthority=") != nullptr ? outputFile : workFile;
    default:
      return workFile;
  }
}

// The entry-UUID lines of the directory server.
static constexpr ColonText entryUuidTexts[] = {"XOQ-ENTRYUUID: ", "xoq-entryuuid: "};

static constexpr ColonText ownerText = "secdn:";

// Writes a line whose text has lost its line end and has room for another.
static void writeLine(const Destination& destination, char* text, const ColonLine& line) {
  size_t length = line.length;
  if (destination.tightensOwnerNames && findExactly(line, ownerText) != nullptr) {
    commaSpaceEater(text);
    length = strlen(text);
  }
  if (destination.dropsEntryUuid && findExactly(line, entryUuidTexts) != nullptr) return;
  text[length] = '\n';
  stopOnFailure(writeText(destination.stream, text, length + 1), destination.fileName);
}

// Nobody needs the entry behind this, so a line without continuation is changed in place rather than copied.
static void writeObject(const Destination& destination) {
  for (int32_t i = 0; i < next_available_object_slot; ++i) {
    if (object[i][0] == ' ') continue;
    const bool isFolded = i + 1 < next_available_object_slot && object[i + 1][0] == ' ';
    if (isFolded) {
      char* line = obtainAttributeFromObjectArray(i);
      writeLine(destination, line, line);
      freeLine(line);
    } else {
      cutLineEndOfObject(i);
      writeLine(destination, object[i], colonsOfObject(i));
    }
  }
  stopOnFailure(writeText(destination.stream, "\n"), destination.fileName);
}

static void prepareObject() {
  determineTheObjectsObjectClass();
  char* dnLine = obtainAttributeFromObjectArray(0);
  tweekObjectInObjectArray();
  const Destination& destination = chooseDestination(dnLine);
  if (&destination == &outputFile) writeObjectToLDIFFile = 1;
  writeObject(destination);
  freeLine(dnLine);
}

static void prepareAllObjects() {
  for (;;) {
    const int32_t result = getNextObject(ifp);
    if (result == OBJECT_COPIED_TO_OUTPUT) continue;
    if (result != 0 && next_available_object_slot == 0) return;
    if (readFailed(ifp)) return;  // the entry is not whole
    prepareObject();
  }
}

// No signal may find the work file there and not yet marked as the run's own.
static void openWorkFile(bool isTracing) {
  holdSignals();
  tifp = openStream(temp_input_ldif_filename, OPEN_TO_APPEND, PRIVATE_FILE);
  workFileIsToBeRemoved = tifp != nullptr && !isTracing ? 1 : 0;
  letSignalsThrough();
  if (tifp == nullptr) exitWithMessage(FILE_NOT_OPENED, temp_input_ldif_filename);
}

int32_t copyOriginalInputFileToTempInputFile() {
  const int32_t debugBefore = debug;
  traceLine("copyOriginalInputFileToTempInputFile():  TURNING DEBUG TRACING OFF \n");
  traceLine("copyOriginalInputFileToTempInputFile():  FUNCTION ENTRY \n");
  traceLine("copyOriginalInputFileToTempInputFile():  The temporary input file name = %s \n", temp_input_ldif_filename);
  debug = 0;
  ifp = openStream(input_ldif_filename, OPEN_FOR_UPDATE, REGULAR_FILE);
  if (ifp == nullptr) exitWithMessage(FILE_NOT_OPENED, input_ldif_filename);
  openWorkFile(debugBefore != 0);

  prepareAllObjects();

  const int32_t result = readFailed(ifp) ? -1 : 0;
  // Only read, so that nothing of it can be lost; what the failed read had to say is needed still.
  if (closeStream(ifp) != 0 && result == 0) messageReason[0] = '\0';
  stopOnFailure(closeStream(tifp), temp_input_ldif_filename);
  stopOnFailure(flushStream(ofp), output_ldif_filename);
  debug = debugBefore;
  traceLine("copyOriginalInputFileToTempInputFile():  TURNING DEBUG TRACING BACK ON \n");
  return result;
}
