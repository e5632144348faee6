#include "workfile/preparation_pass.h"

#include <cstring>

#include "ldif/attribute_lookup.h"
#include "ldif/colon_search.h"
#include "ldif/line_memory.h"
#include "ldif/object_buffer.h"
#include "ldif/object_class.h"
#include "ldif/text.h"
#include "platform/message_details.h"
#include "reporting/progress.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "workfile/entry_adjustments.h"
#include "workfile/input_file.h"
#include "workfile/work_file.h"

// Where the entries of one kind go.
struct Destination {
  Stream*& stream;
  const char* fileName;
  bool dropsEntryUuid;      // the directory server's UUID lines stay behind
  bool tightensOwnerNames;  // blanks around commas go, in the lines that later name an entry's owner
};

static const Destination toOutput = {ofp, output_ldif_filename, true, false};
static const Destination toWorkFile = {tifp, temp_input_ldif_filename, false, true};

static void stopOnFailure(int32_t result, const char* fileName) {
  if (result != 0) exitWithMessage(WRITE_FAILED, fileName);
}

static const Destination& chooseDestination(const char* dnLine) {
  switch (objectClass) {
    case UNINTERESTING_OBJECTCLASS:
    case SECAUTHORITYINFO_OBJECTCLASS:
    case CONTAINER_OBJECTCLASS:
      return toOutput;
    case SECPOLICY_OBJECTCLASS:
      return dostristr(dnLine, "cn=Policies,secAuthority=") != nullptr ? toOutput : toWorkFile;
    default:
      return toWorkFile;
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

static_assert(COUNTED_CLASSES == NUMBER_OF_OBJECTCLASSES);

static void count(const Destination& destination, const char* dnLine) {
  const auto entryClass = static_cast<size_t>(objectClass);
  ++(&destination == &toOutput ? runCounts.intoOutput : runCounts.intoWorkFile)[entryClass];
  if (objectClass == SECUSER_OBJECTCLASS && dostristr(dnLine, "cn=users,secauthority=") == nullptr)
    ++runCounts.ownUserEntries;
}

static void showProgressOfPreparation() {
  int64_t position = 0;
  if (getPosition(ifp, &position) == 0) showProgress("preparation", position, inputSize());
}

static void prepareObject() {
  determineTheObjectsObjectClass();
  char* dnLine = obtainAttributeFromObjectArray(0);
  tweekObjectInObjectArray();
  const Destination& destination = chooseDestination(dnLine);
  if (&destination == &toOutput) writeObjectToLDIFFile = 1;
  count(destination, dnLine);
  writeObject(destination);
  freeLine(dnLine);
}

static void prepareAllObjects() {
  for (;;) {
    const int32_t result = getNextObject(ifp);
    showProgressOfPreparation();
    if (result == OBJECT_COPIED_TO_OUTPUT) {
      ++runCounts.intoOutput[UNINTERESTING_OBJECTCLASS];
      continue;
    }
    if (result != 0 && next_available_object_slot == 0) return;
    if (readFailed(ifp)) return;  // the entry is not whole
    prepareObject();
  }
}

// What was in the output before goes only now, when everything that the run needs is open.
static void beginOutput() {
  if (cutFile(outputFile.descriptor))
    ofp = openStream(duplicateDescriptor(outputFile.descriptor), STREAM_FROM_BEGINNING);
  if (ofp != nullptr) return;
  removeEmptyFile(workFile);
  exitWithMessage(FILE_NOT_OPENED, output_ldif_filename);
}

int32_t copyOriginalInputFileToTempInputFile() {
  const int32_t debugBefore = debug;
  traceLine("copyOriginalInputFileToTempInputFile():  TURNING DEBUG TRACING OFF \n");
  traceLine("copyOriginalInputFileToTempInputFile():  FUNCTION ENTRY \n");
  traceLine("copyOriginalInputFileToTempInputFile():  The temporary input file name = %s \n", temp_input_ldif_filename);
  debug = 0;
  beginInput();
  openWorkFileForAppending(debugBefore != 0);
  beginOutput();

  prepareAllObjects();

  const bool couldBeRead = !readFailed(ifp);
  // Asked even if a read has failed: then this is why.
  const bool isRead = isInputUnchanged() && couldBeRead;
  // Only read, so that nothing of it can be lost; what the failed read had to say is needed still.
  if (closeStream(ifp) != 0 && isRead) messageReason[0] = '\0';
  stopOnFailure(closeAppendedWorkFile(), temp_input_ldif_filename);
  stopOnFailure(flushStream(ofp), output_ldif_filename);
  debug = debugBefore;
  traceLine("copyOriginalInputFileToTempInputFile():  TURNING DEBUG TRACING BACK ON \n");
  return isRead ? 0 : -1;
}
