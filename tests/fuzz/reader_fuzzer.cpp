// Reading, blanking out and stepping over entries, what is known of their lines, and looking things up in them, against
// the plain rules. Nothing of it may end the run.
#include <algorithm>

#include "fuzz_support.h"
#include "ldif/attribute_lookup.h"
#include "ldif/line_reader.h"
#include "ldif/object_buffer.h"
#include "ldif/oversized_object_copy.h"
#include "plain_rules.h"
#include "reporting/run_state.h"
#include "rules/colon_search.h"
#include "rules/dropped_lines.h"
#include "rules/known_names.h"
#include "rules/line.h"
#include "rules/line_scan.h"
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

// What is known of a line's names may be too much, never too little.
static void checkLine(const Line& line, const std::string& text) {
  require(line.view() == text, "the text of a line");
  require(line.content() == plain::upTo(text, "\r\n"), "a line without its line end");
  const size_t firstColon = text.find(':');
  require(line.firstColon == (firstColon == std::string::npos ? NO_COLON : firstColon), "the first colon of a line");
  for (size_t colon = firstColon; colon != std::string::npos; colon = text.find(':', colon + 1)) {
    const size_t looked = std::min<size_t>(colon, 3);
    const std::string before = text.substr(colon - looked, looked);
    for (const std::string& name : {before, plain::inOtherCase(before), before.substr(looked - (looked > 0))})
      require((line.endings & endingBits(name)) != 0, "what stands before a colon is known");
  }
  const std::string low = plain::lowered(text);
  for (const std::string_view name : knownNames)
    if (plain::contains(low, std::string(name) + ":"))
      require((line.names & nameBit(name)) != 0, "a known name is known");
}

static void checkLines(const Lines& lines) {
  require(objectLines() == lines, "the lines of an entry");
  for (size_t i = 0; i < lines.size(); ++i) checkLine(object[i], lines[i]);
}

// The lines of a text that stands in memory.
static void checkText(const std::string& text) {
  const std::vector<char> memory(text.begin(), text.end());
  LineScan scan = scanOf({memory.data(), memory.size()});
  for (size_t position = 0; position < text.size();) {
    const std::string line = plain::readLine(text, position, LONGEST_LINE);
    Line taken;
    if (takeOrdinaryLines(scan, &taken, 1) == 0) takeLine(scan, taken);
    checkLine(taken, line);
    checkLine(scanLine({memory.data() + position, line.size()}), line);
    position += line.size();
    require(scan.next == position, "a scan moves on by a line");
  }
}

static void checkLookups(const Lines& lines) {
  for (const char* name : {"secdn", "dn", "secAuthority", "secDN", "principalName", "name"}) {
    const std::optional<std::string> expected = plain::attributeValue(lines, name);
    const std::string_view value = obtainAttributeValueFromObjArray(name);
    require((value.data() != nullptr) == expected.has_value(), "an attribute is found where there is one");
    if (expected) require(value == *expected, "the value of an attribute");
  }
  for (size_t i = 0; i < lines.size(); ++i) {
    const auto index = static_cast<int32_t>(i);
    if (lines[i][0] == ' ') continue;
    require(obtainAttributeFromObjectArray(index) == plain::wholeAttribute(lines, i), "an attribute");
    if (plain::contains(lines[i], ":"))
      require(obtainAttributeValueFromObjectArray(index) == plain::attributeFromColon(lines, i),
              "an attribute from its colon on");
  }
}

static void checkSearch(const Line& line, const ColonText& text) {
  const std::string part(text.text);
  const std::string whole(line.view());
  require(findExactly(line, text) == whole.find(part), "a text is found in its first place");
  require(findInAnyCase(line, text) == plain::findInAnyCase(whole, part),
          "a text is found in any case in its first place");
}

// Every line is searched for some texts, among them the name of another line.
static void checkSearches(const Lines& lines) {
  static constexpr ColonText texts[] = {
      "secdn:", "objectClass:", "acl:", "cn:", "version: ", "xoq-entryuuid: ", "o:", "secMember:"};
  for (size_t i = 0; i < lines.size(); ++i) {
    for (const ColonText& text : texts) checkSearch(object[i], text);
    const std::string& other = lines[(i + 1) % lines.size()];
    const size_t colon = other.find(':');
    if (colon != std::string::npos)
      checkSearch(object[i], ColonText::unknown(std::string_view(other).substr(0, colon + 1)));
  }
}

static void checkLeftOut(const Lines& lines) {
  static constexpr std::pair<Road, plain::Way> roads[] = {{STRAIGHT_THROUGH, plain::Way::STRAIGHT_THROUGH},
                                                          {OVERSIZED, plain::Way::OVERSIZED},
                                                          {REMAINING, plain::Way::REMAINING},
                                                          {MERGED, plain::Way::MERGED},
                                                          {POLICY, plain::Way::POLICY}};
  for (size_t i = 0; i < lines.size(); ++i)
    for (const auto& [road, way] : roads)
      require(isDropped(object[i], road) == plain::isLeftOut(lines[i], way), "a line stays behind or not");
}

static void checkClass(const Lines& lines) {
  determineTheObjectsObjectClass();
  require(objectClass == plain::classOf(lines), "the class of an entry");
  require(isUsersLine(lines[0]) == plain::contains(plain::lowered(lines[0]), "cn=users,secauthority="),
          "a 'Users' entry");
  require(isLineOfUser(lines[0]) == plain::containsInAnyCase(lines[0], "cn=Users"), "a map of a user");
}

// The lines one behind the other, as a row of the cache holds them, and those of a file.
static void checkEntryText(const Lines& lines) {
  std::vector<char> text;
  bool holdsNul = false;
  for (const std::string& line : lines) {
    text.insert(text.end(), line.begin(), line.end());
    if (line.back() == '\n' || line.size() == LONGEST_LINE) continue;
    text.push_back('\0');
    holdsNul = true;
  }
  text.shrink_to_fit();
  for (const bool mayHoldNul : {true, false}) {
    if (holdsNul && !mayHoldNul) continue;
    const EntryText entry = {{text.data(), text.size()}, mayHoldNul};
    require(firstLineIn(entry) == lines[0], "the first line of a text");
    LineScan scan = scanOf(entry.text);
    std::vector<Line> taken(lines.size() + 1);
    require(takeEntryLines(scan, mayHoldNul, taken.data(), taken.size()) == lines.size(),
            "a text has the lines of its entry");
    for (size_t i = 0; i < lines.size(); ++i) checkLine(taken[i], lines[i]);
  }
}

// Unfolds the entry in the buffer, and reads it back as it would be written.
static void checkUnfolding(const Lines& lines) {
  const Lines expected = plain::unfolded(lines);
  unfoldObject();
  checkLines(expected);
  std::string text;
  for (const std::string& line : expected) text += line;
  text += "\n";
  const plain::Entry read = plain::readEntry(text, 0);
  const bool readsAsWritten = read.lines == plain::pieces(expected) && read.end == text.size();
  require(splitObjectAsRead() == readsAsWritten, "an entry reads as it is written, or not");
  if (readsAsWritten) checkLines(read.lines);
}

static void readAsInput(const std::string& file) {
  Stream* stream = openForUpdate(NAME);
  for (size_t position = 0;;) {
    const plain::Entry expected = plain::readEntry(file, position);
    const int32_t result = getNextObject(stream);
    require(result == (expected.endsAtBlankLine ? 0 : -1), "the end of an entry of the input");
    checkLines(expected.lines);
    require(isAt(stream, expected.end), "the input stands behind the entry");
    if (expected.lines.empty()) break;
    checkSearches(expected.lines);
    checkLeftOut(expected.lines);
    checkClass(expected.lines);
    checkLookups(expected.lines);
    checkEntryText(expected.lines);
    checkUnfolding(expected.lines);
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
  checkLines(expected.lines);
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
  checkText(input.text);
  readAsInput(input.text);
  copyAsOversized(input.text);
  const size_t next = makePass(input.text, 0, input.switches >> 1);
  makePass(input.text, next, 0xFF);
  freeObject();
  return 0;
}
