#include "workfile/notes.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "ldif/line_reader.h"
#include "ldif/object_buffer.h"
#include "platform/scratch_memory.h"
#include "reporting/reporting.h"
#include "reporting/run_state.h"
#include "rules/dn_hash.h"
#include "rules/line_scan.h"
#include "rules/owner.h"
#include "rules/text.h"
#include "workfile/work_file.h"
#include "workfile/work_file_cursor.h"
#include "workfile/work_text.h"

static ScratchMemory memory;

void beginNotes() {
  areNotesComplete = true;
  noteCount = 0;
  notedObject = nullptr;
}

void forgetNotes() {
  areNotesComplete = false;
  notedObject = nullptr;
  noteCount = 0;
  notes = nullptr;
  freeScratchMemory(memory);
}

static bool makeRoomForNote() {
  const size_t size = (size_t{noteCount} + 1) * sizeof(Note);
  // The plan numbers the notes in 32 bits.
  if (noteCount == UINT32_MAX || !growScratchMemory(memory, size, workFile.place.folder)) return false;
  notes = reinterpret_cast<Note*>(memory.data);
  return true;
}

static void noteOwner(Note& note, EntryKind kind) {
  // The final copy takes the one, and the other ends the run: neither has an owner to look for.
  if (kind == RESCREDS_KIND || kind == UNKNOWN_KIND) return;
  const Owner owner = ownerOf(entryInObject(), kind, objectTexts, nullptr);
  note.hasOwner = owner.problem == NO_DETAIL ? 1 : 0;
  if (note.hasOwner == 0) return;
  note.isNormal = owner.firstLine.data() == object[0].text ? 1 : 0;
  note.opensForKey = owner.saved.data() == owner.key.data() || owner.saved == owner.key ? 1 : 0;
  note.ownerHash = hashOfDn(owner.key);
}

void noteObject(EntryKind kind, const ObjectExtent& extent) {
  constexpr uint64_t START_LIMIT = uint64_t{1} << START_BITS;
  constexpr uint64_t TERMINATOR_LIMIT = uint64_t{1} << TERMINATOR_BITS;
  if (!areNotesComplete) return;
  const auto start = static_cast<uint64_t>(extent.begin);
  const uint64_t terminator = static_cast<uint64_t>(extent.end) - start - extent.linesLength;
  // A work file or an entry of such a size is so rare that the run does without notes then.
  const bool fits = start < START_LIMIT && terminator < TERMINATOR_LIMIT && extent.linesLength <= UINT32_MAX;
  if (!fits || !makeRoomForNote()) {
    forgetNotes();
    return;
  }
  Note note = {};
  note.start = start % START_LIMIT;
  note.terminator = terminator % TERMINATOR_LIMIT;
  note.length = static_cast<uint32_t>(extent.linesLength);
  // The exact number matters only up to the columns of a row.
  note.lines = std::min(static_cast<uint32_t>(next_available_object_slot), MANY_LINES) % (MANY_LINES + 1);
  note.kind = kind % (1U << KIND_BITS);
  note.hasComments = extent.hasComments ? 1 : 0;
  noteOwner(note, kind);
  notes[noteCount++] = note;
}

// True for an entry that cannot be blanked out as it stands: a line ends with the file, or is cut short by a NUL.
static bool isOdd(const ObjectExtent& extent, int32_t result) {
  const std::string_view last = object[next_available_object_slot - 1].view();
  return extent.hasOddLines || (result != 0 && last.back() != '\n');
}

void noteWorkFile() {
  beginNotes();
  if (!reopenWorkFile()) {
    forgetNotes();
    return;
  }
  for (;;) {
    freeObject();
    skipBlankLines(tifp, NEXT_LINE_SIZE - 1);
    ObjectExtent extent;
    const int32_t result = readLinesOfObject(tifp, true, extent);
    extent.end = requirePosition(tifp);
    if (extent.hasChangetype) changetypeSeen = 1;
    // Nothing but blank lines has come: this is the end.
    if (next_available_object_slot == 0 && !extent.hasOddLines) break;
    // A note must stand for what a pass would read: with anything odd, all passes read the file.
    if (next_available_object_slot == 0 || result == OBJECT_COPIED_TO_OUTPUT || isOdd(extent, result)) {
      forgetNotes();
      break;
    }
    noteObject(kindOf(classOf(entryInObject()), firstLineOfObject()), extent);
    if (!areNotesComplete) break;
  }
  if (readFailed(tifp)) forgetNotes();  // the passes will meet it, and say so
  freeObject();
  closeWorkFile();
}

// Reads a part of the file into the texts of the entry.
static std::string_view readWorkText(uint64_t start, size_t length) {
  char* const text = makeRoom(objectTexts, length);
  for (size_t filled = 0; filled < length;) {
    const ssize_t count =
        pread(workFile.descriptor, text + filled, length - filled, static_cast<off_t>(start + filled));
    // A signal that does not end the run only interrupts the call.
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) {
      failWith(count == 0 ? CHANGED_BY_OTHERS : NO_DETAIL);
      exitWithMessage(OBJECT_NOT_READ, temp_input_ldif_filename);
    }
    filled += static_cast<size_t>(count);
  }
  return {text, length};
}

void loadNotedObject(Note& note) {
  freeObject();
  notedObject = &note;
  std::string_view text = workText(note.start, note.length);
  // The file could not be mapped.
  if (text.empty()) text = readWorkText(note.start, note.length);
  appendLinesToObject(text);
  // What was noted had lines: if none is left, somebody else has changed the file.
  if (next_available_object_slot > 0) return;
  failWith(CHANGED_BY_OTHERS);
  exitWithMessage(OBJECT_NOT_READ, temp_input_ldif_filename);
}

// Returns false, with the reason in messageReason, when not all could be blanked out. Takes nothing from the heap.
static bool blankTakenObjects() {
  Stream* stream = nullptr;
  bool isBlanked = true;
  // So that the deletion below goes into the file and not into a note.
  notedObject = nullptr;
  for (uint32_t i = 0; isBlanked && i < noteCount; ++i) {
    if (notes[i].isTaken == 0) continue;
    if (stream == nullptr) stream = openStream(duplicateDescriptor(workFile.descriptor), STREAM_OF_FIXED_SIZE);
    isBlanked = stream != nullptr && setPosition(stream, static_cast<int64_t>(notes[i].start)) == 0 &&
                deleteNextObjectFromTemporaryInputLDIFFile(stream) == 0 && !readFailed(stream);
  }
  return closeStream(stream) == 0 && isBlanked;
}

void giveUpNotes() {
  const bool isBlanked = blankTakenObjects();
  forgetNotes();
  // Nothing refers to it between two passes. From now on the file is changed while it is read.
  unmapWorkFile();
  if (!isBlanked) exitWithMessage(WRITE_FAILED, temp_input_ldif_filename);
}

const char* settleWorkFile() {
  // The failure that is about to be told has its own reason, which must not be lost to a second one.
  char reason[sizeof messageReason];
  memcpy(reason, messageReason, sizeof reason);
  // Nothing is written to a file that somebody else has taken over or cut.
  if (!isWorkFileAsItWasLeft()) return temp_input_ldif_filename;
  if (!blankTakenObjects()) messageDetails.hint = GATHERED_ENTRIES_NOT_BLANKED;
  memcpy(messageReason, reason, sizeof reason);
  return nullptr;
}
