// Reading, blanking out and stepping over entries, and looking things up in them, against the plain rules. Nothing of
// it may end the run.
#include "fuzz_support.h"
#include "ldif/attribute_lookup.h"
#include "ldif/colon_search.h"
#include "ldif/line_memory.h"
#include "ldif/line_reader.h"
#include "ldif/object_buffer.h"
#include "ldif/object_class.h"
#include "ldif/oversized_object_copy.h"
#include "plain_rules.h"
#include "reporting/run_state.h"
#include "workfile/work_file_cursor.h"

static constexpr size_t LARGEST_FILE = 12 * 1024;  // bytes
static constexpr size_t LARGEST_TRACED_FILE = 2 * 1024;
static constexpr unsigned MOST_ENTRIES = 30;  // of a pass
static constexpr char NAME[] = "input.tmp";

static int64_t positionOf(const Stream* stream) {
  int64_t position = -1;
  getPosition(stream, &position);
  return position;
}

static bool isAt(const Stream* stream, size_t position) { return positionOf(stream) == static_cast<int64_t>(position); }

// Takes a string of the conversion over.
static std::string taken(char* text) {
  const std::string result = text;
  freeLine(text);
  return result;
}

static void checkLookups(const Lines& lines) {
  for (const char* name : {"secdn", "dn", "secAuthority", "secDN", "principalName"}) {
    const std::optional<std::string> expected = plain::attributeValue(lines, name);
    char* value = obtainAttributeValueFromObjArray(name);
    require((value != nullptr) == expected.has_value(), "an attribute is found where there is one");
    if (value != nullptr) require(taken(value) == *expected, "the value of an attribute");
  }
  for (size_t i = 0; i < lines.size(); ++i) {
    const auto index = static_cast<int32_t>(i);
    if (lines[i][0] == ' ') continue;
    require(taken(obtainAttributeFromObjectArray(index)) == plain::wholeAttribute(lines, i), "an attribute");
    if (plain::contains(lines[i], ":"))
      require(taken(obtainAttributeValueFromObjectArray(index)) == plain::attributeFromColon(lines, i),
              "an attribute from its colon on");
  }
}

static void checkSearches(const Lines& lines) {
  static constexpr ColonText texts[] = {"secdn:", "objectClass:", "acl:", "version: ", "xoq-entryuuid: "};
  for (const std::string& line : lines)
    for (const ColonText& text : texts) {
      const std::string part(text.text);
      const char* place = findExactly(line.c_str(), text);
      require((place == nullptr ? std::string::npos : static_cast<size_t>(place - line.c_str())) == line.find(part),
              "a text is found in its first place");
      place = findInAnyCase(line.c_str(), text);
      require((place == nullptr ? std::string::npos : static_cast<size_t>(place - line.c_str())) ==
                  plain::findInAnyCase(line, part),
              "a text is found in any case in its first place");
    }
}

static void checkClass(const Lines& lines) {
  determineTheObjectsObjectClass();
  require(objectClass == plain::classOf(lines), "the class of an entry");
  require(isUsersObject() == plain::contains(plain::lowered(lines[0]), "cn=users,secauthority="), "a 'Users' entry");
  require(isMapOfUser() == plain::containsInAnyCase(lines[0], "cn=Users"), "a map of a user");
}

static void readAsInput(const std::string& file) {
  Stream* stream = openForUpdate(NAME);
  for (size_t position = 0;;) {
    const plain::Entry expected = plain::readEntry(file, position);
    const int32_t result = getNextObject(stream);
    require(result == (expected.endsAtBlankLine ? 0 : -1), "the end of an entry of the input");
    require(objectLines() == expected.lines, "the lines of an entry of the input");
    require(isAt(stream, expected.end), "the input stands behind the entry");
    if (expected.lines.empty()) break;
    checkSearches(expected.lines);
    checkClass(expected.lines);
    checkLookups(expected.lines);
    position = expected.end;
  }
  closeStream(stream);
}

static void copyAsOversized(const std::string& file) {
  constexpr char OUTPUT[] = "output";
  ifp = openForUpdate(NAME);
  ofp = openToCreate(OUTPUT);
  std::string expected;
  for (size_t position = 0; position < file.size();) {
    moveNextObjectToOutputLDIFFile();
    position = plain::copyOversizedEntry(file, position, expected);
    require(isAt(ifp, position), "the input stands behind the entry that was copied");
  }
  closeStream(ifp);
  require(closeStream(ofp) == 0 && readFile(OUTPUT) == expected, "an oversized entry is copied as it stands");
}

static void readFromWorkFile(Stream* stream, const plain::Entry& expected, size_t position) {
  const int32_t changetypeBefore = changetypeSeen;
  const int32_t result = getNextObjectFromTemporaryInputLDIFFile(stream);
  require(result == (expected.endsAtBlankLine ? 0 : -1), "the end of an entry of the work file");
  require(objectLines() == expected.lines, "the lines of an entry of the work file");
  require(isAt(stream, position), "reading an entry leaves the work file where it was");
  require(changetypeSeen == (expected.hasChangetype ? 1 : changetypeBefore), "a changetype is noticed");
}

// Makes a pass from the position on. Each entry is blanked out or stepped over, as a bit of the switches says. Returns
// where the next pass begins.
static size_t makePass(std::string& file, size_t position, unsigned isBlankedOut) {
  Stream* stream = openForUpdate(NAME);
  setPosition(stream, static_cast<int64_t>(position));
  hasTheStepOverFilePositionBeenInitialized = 0;
  std::optional<size_t> firstSteppedOver;
  for (unsigned number = 0; number < MOST_ENTRIES; ++number) {
    const plain::Entry expected = plain::readEntry(file, position);
    readFromWorkFile(stream, expected, position);
    if (expected.lines.empty()) break;
    if (number % 3 == 0) readFromWorkFile(stream, expected, position);
    if (((isBlankedOut >> number % 8) & 1) != 0) {
      position = plain::blankOutEntry(file, position);
      require(deleteNextObjectFromTemporaryInputLDIFFile(stream) == 0, "an entry can be blanked out");
    } else {
      if (!firstSteppedOver) firstSteppedOver = position;
      position = plain::stepOverEntry(file, position);
      require(stepOverNextObjectFromTemporaryInputLDIFFile(stream) == 0, "an entry can be stepped over");
    }
    require(isAt(stream, position), "the work file stands behind the entry");
  }
  require(closeStream(stream) == 0 && readFile(NAME) == file, "blanking out changes nothing else");
  require(hasTheStepOverFilePositionBeenInitialized == (firstSteppedOver ? 1 : 0), "the first step over is remembered");
  if (!firstSteppedOver) return 0;
  require(filePositionOfFirstObjectSteppedOver == static_cast<int64_t>(*firstSteppedOver),
          "where the first step began");
  return *firstSteppedOver;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input = unpack(data, size, LARGEST_FILE);
  beginRun();
  if ((input.switches & 1) != 0 && input.text.size() <= LARGEST_TRACED_FILE) startTrace();
  writeFile(NAME, input.text);
  readAsInput(input.text);
  copyAsOversized(input.text);
  const size_t next = makePass(input.text, 0, input.switches >> 1);
  makePass(input.text, next, 0xFF);
  freeObject();
  return 0;
}
