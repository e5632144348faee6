#include "workfile/preparation_pass.h"

#include <algorithm>
#include <string_view>

#include "ldif/attribute_lookup.h"
#include "ldif/line_reader.h"
#include "ldif/line_writer.h"
#include "ldif/object_buffer.h"
#include "platform/message_details.h"
#include "reporting/progress.h"
#include "reporting/reporting.h"
#include "reporting/run_counts.h"
#include "reporting/run_state.h"
#include "rules/adjustments.h"
#include "rules/dropped_lines.h"
#include "workfile/entry_adjustments.h"
#include "workfile/input_file.h"
#include "workfile/notes.h"
#include "workfile/work_file.h"

static void stopOnFailure(int32_t result, const char* fileName) {
  if (result != 0) exitWithMessage(WRITE_FAILED, fileName);
}

static void writeObject(Stream* stream, const char* fileName, Road road) {
  stopOnFailure(writeLines(stream, entryInObject(), road), fileName);
  // Ends the entry, whether or not the input had a blank line there.
  stopOnFailure(writeText(stream, "\n"), fileName);
}

static int64_t endOfWorkFile() {
  int64_t position = 0;
  getPosition(tifp, &position);  // cannot fail: it has been positioned at its end
  return position;
}

// The passes will look at the entry as it has been written: its class may be another one when its lines are others than
// those that were read.
static void noteWrittenObject(EntryKind kind, int64_t begin, int64_t end, bool isAsRead) {
  if (!isAsRead && !splitObjectAsRead()) {
    areNotesComplete = false;
    return;
  }
  const Entry entry = entryInObject();
  // A pass that reads the file would see it; one that goes by the notes may never look at this entry.
  if (std::any_of(entry.begin(), entry.end(), holdsChangetype)) changetypeSeen = 1;
  noteObject(isAsRead ? kind : kindOf(classOf(entry), firstLineOfObject()),
             {.begin = begin, .linesLength = static_cast<size_t>(end - begin) - 1, .end = end});
}

static void writeObjectToOutput() {
  writeObjectToLDIFFile = 1;
  unfoldObject();
  writeObject(ofp, output_ldif_filename, STRAIGHT_THROUGH);
}

static void writeObjectToWorkFile(EntryKind kind) {
  const int64_t begin = endOfWorkFile();
  // First of all: a folded DN has its commas and the blanks beside them in different lines.
  const bool isUnfolded = !unfoldObject();
  const bool isTightened = tightenOwnerNames({object, static_cast<size_t>(next_available_object_slot)}, objectTexts);
  writeObject(tifp, temp_input_ldif_filename, INTO_WORK_FILE);
  if (areNotesComplete) noteWrittenObject(kind, begin, endOfWorkFile(), !isUnfolded && !isTightened);
}

static_assert(COUNTED_CLASSES == NUMBER_OF_OBJECTCLASSES);

static void count(EntryKind kind, bool goesToOutput) {
  const auto entryClass = static_cast<size_t>(objectClass);
  ++(goesToOutput ? runCounts.intoOutput : runCounts.intoWorkFile)[entryClass];
  // The Users entries are of the same class, but make no users: the number of passes is told from these alone.
  if (kind == SECUSER_KIND) ++runCounts.ownUserEntries;
}

static void showProgressOfPreparation() {
  int64_t position = 0;
  if (getPosition(ifp, &position) == 0) showProgress(PROGRESS_OF_PREPARATION, position, inputSize());
}

static void prepareObject() {
  determineTheObjectsObjectClass();
  // With its folding undone: what tells the kind may stand across two lines.
  const std::string_view dnLine = obtainAttributeFromObjectArray(0);
  const auto entryClass = static_cast<ObjectClass>(objectClass);
  const bool goesToOutput = goesStraightThrough(entryClass, dnLine);
  const EntryKind kind = kindOf(entryClass, dnLine);
  // Behind the question of class and kind, which are those of the entry as it was in the input.
  tweekObjectInObjectArray();
  count(kind, goesToOutput);
  if (goesToOutput)
    writeObjectToOutput();
  else
    writeObjectToWorkFile(kind);
}

static void prepareAllObjects() {
  for (;;) {
    const int32_t result = getNextObject(ifp);
    showProgressOfPreparation();
    if (result == OBJECT_COPIED_TO_OUTPUT) {
      ++runCounts.intoOutput[UNINTERESTING_OBJECTCLASS];
      continue;
    }
    // The last entry, too, comes with the result that tells the end of the file.
    if (result != 0 && next_available_object_slot == 0) return;
    if (readFailed(ifp)) return;  // the entry is not whole
    prepareObject();
  }
}

// The old contents of the output go only now, when everything that the run needs is open.
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
  // Kept: nothing of the preparation is traced but its beginning and end.
  debug = 0;
  // The output last, because opening it as a stream cuts it.
  beginInput();
  openWorkFileForAppending(debugBefore != 0);
  beginOutput();
  beginNotes();
  // Entries that an earlier run has left are not known, and a traced run shows every step.
  areNotesComplete = debugBefore == 0 && runCounts.bytesOfEarlierWorkFile <= 0;

  prepareAllObjects();

  const bool couldBeRead = !readFailed(ifp);
  // Asked even if a read has failed: a change by somebody else is then the reason.
  const bool isRead = isInputUnchanged() && couldBeRead;
  // The input is only read, so its closing can lose nothing; but the reason of a read that failed is still needed.
  if (closeStream(ifp) != 0 && isRead) messageReason[0] = '\0';
  stopOnFailure(closeAppendedWorkFile(), temp_input_ldif_filename);
  stopOnFailure(flushStream(ofp), output_ldif_filename);
  debug = debugBefore;
  traceLine("copyOriginalInputFileToTempInputFile():  TURNING DEBUG TRACING BACK ON \n");
  return isRead ? 0 : -1;
}
