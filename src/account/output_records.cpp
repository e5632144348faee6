#include "account/output_records.h"

#include <algorithm>
#include <cstring>
#include <string>

// The end of a record with an install date, whose digits are not known beforehand.
static constexpr std::string_view dateTag = "installDate: ";
static constexpr std::string_view dateEnd = ".0Z\n";
static constexpr size_t DIGITS = 14;

// The date is that of the run, of which the account knows nothing. It is the only thing in an output that cannot be
// foretold, and stands in the last line of its record.
static bool endsWithDate(std::string_view record) {
  const size_t length = dateTag.size() + DIGITS + dateEnd.size();
  if (record.size() < length || !record.ends_with(dateEnd)) return false;
  const std::string_view line = record.substr(record.size() - length);
  const std::string_view digits = line.substr(dateTag.size(), DIGITS);
  const bool beginsLine = record.size() == length || record[record.size() - length - 1] == '\n';
  return beginsLine && line.starts_with(dateTag) && digits.find_first_not_of("0123456789") == std::string_view::npos;
}

// The bytes that count where the date does not.
static std::string_view withoutDate(std::string_view record) {
  return record.substr(0, record.size() - DIGITS - dateEnd.size());
}

// A quick hash: what it finds is compared byte for byte.
static uint64_t hashOf(std::string_view text) {
  constexpr uint64_t FACTOR = 0x9E3779B97F4A7C15;
  uint64_t hash = text.size();
  uint64_t block = 0;
  size_t i = 0;
  for (; i + sizeof block <= text.size(); i += sizeof block) {
    memcpy(&block, text.data() + i, sizeof block);
    hash = (hash ^ block) * FACTOR;
    hash ^= hash >> 29U;
  }
  block = 0;
  memcpy(&block, text.data() + i, text.size() - i);
  hash = (hash ^ block) * FACTOR;
  return hash ^ hash >> 32U;
}

static uint64_t hashOfRecord(std::string_view record, bool hasDate) {
  return hashOf(hasDate ? withoutDate(record) : record);
}

// Returns the length of the record at the begin of a text: up to its first empty line, which does not belong to it.
static size_t recordLength(std::string_view text) {
  const size_t end = text.find("\n\n");
  return end == std::string_view::npos ? text.size() : end + 1;
}

// Read in growing steps, because a window need not hold the whole record.
std::string_view recordAt(SurveyedFile& file, uint64_t place) {
  size_t length = size_t{64} * 1024;
  std::string_view text = textFrom(file, place, length).substr(0, length);
  while (text.find("\n\n") == std::string_view::npos && place + text.size() < file.size) {
    length *= 2;
    text = textFrom(file, place, length).substr(0, length);
  }
  return text.substr(0, recordLength(text));
}

static size_t firstPlace(const OutputRecords& records, uint64_t hash) {
  return static_cast<size_t>(hash) & (records.places.size() - 1);
}

static void insert(OutputRecords& records, const OutputRecord& record) {
  size_t place = firstPlace(records, record.hash);
  while (records.places[place].isThere != 0) place = (place + 1) & (records.places.size() - 1);
  records.places[place] = record;
}

static void add(OutputRecords& records, std::string_view text, uint64_t begin) {
  constexpr size_t FIRST_PLACES = 1024;
  if (records.count >= records.places.size() / 4 * 3) {
    std::vector<OutputRecord> before(records.places.empty() ? FIRST_PLACES : records.places.size() * 2);
    before.swap(records.places);
    for (const OutputRecord& record : before)
      if (record.isThere != 0) insert(records, record);
  }
  // Sixteen bytes for each, since there are as many as there are users.
  OutputRecord record = {};
  const bool hasDate = endsWithDate(text);
  record.hash = hashOfRecord(text, hasDate);
  // The place shares its word with four bits: 46 bits are enough for files of 64 TiB.
  record.place = begin & ((uint64_t{1} << 46U) - 1);
  record.hasDate = hasDate ? 1 : 0;
  record.isThere = 1;
  size_t other = firstPlace(records, record.hash);
  while (records.places[other].isThere != 0 && records.places[other].hash != record.hash)
    other = (other + 1) & (records.places.size() - 1);
  if (records.places[other].isThere != 0) records.makers.emplace(record.hash, NO_PLACE);
  insert(records, record);
  ++records.count;
}

static bool isAttributeLine(std::string_view text, size_t begin) {
  return begin < text.size() && text[begin] != '\n' && text[begin] != ' ' && text[begin] != '#';
}

// Returns the length of the record at the begin of a text, as recordLength does, and counts its lines.
static size_t measureRecord(std::string_view text, int64_t& lines) {
  for (size_t begin = 0; begin < text.size();) {
    if (text[begin] == '\n') return begin;
    if (isAttributeLine(text, begin)) ++lines;
    const size_t end = text.find('\n', begin);
    if (end == std::string_view::npos) break;
    begin = end + 1;
  }
  return text.size();
}

void readRecords(SurveyedFile& file, OutputRecords& records) {
  records.file = &file;
  records.places.resize(1024);
  bool isParted = true;  // by an empty line from the record before
  uint64_t last = 0;
  for (uint64_t place = 0; place < file.size;) {
    // More than one empty line between records is not what a conversion writes; that is told by the sum of all bytes.
    if (textFrom(file, place, 1)[0] == '\n') {
      if (isParted) records.firstGap = std::min(records.firstGap, place);
      isParted = true;
      ++place;
      continue;
    }
    isParted = false;
    const std::string_view text = isWhole(file) ? textFrom(file, place, 1) : recordAt(file, place);
    const std::string_view record = text.substr(0, measureRecord(text, records.lines));
    add(records, record, place);
    last = place;
    place += record.size();
  }
  if (!isParted) records.firstGap = std::min(records.firstGap, last);
}

// True when the record at the begin of a text is the expected one.
static bool isSame(std::string_view text, std::string_view expected, bool isOpen, bool hasAddedDate) {
  const std::string_view record = text.substr(0, expected.size());
  const bool isEnd =
      isOpen || text.size() == expected.size() || (text.size() > expected.size() && text[expected.size()] == '\n');
  if (!isEnd || record.size() != expected.size()) return false;
  if (!hasAddedDate) return record == expected;
  return withoutDate(record) == withoutDate(expected);
}

static bool findOne(OutputRecords& records, std::string_view expected, uint64_t maker, bool hasAddedDate) {
  const uint64_t hash = hashOfRecord(expected, endsWithDate(expected));
  size_t place = firstPlace(records, hash);
  for (; records.places[place].isThere != 0; place = (place + 1) & (records.places.size() - 1)) {
    OutputRecord& record = records.places[place];
    // A record that has been found once is not there for a second entry that makes the same one.
    if (record.hash != hash || record.isFound != 0) continue;
    const std::string_view text = textFrom(*records.file, record.place, expected.size() + 1);
    if (!isSame(text, expected, record.isOpen != 0, hasAddedDate)) continue;
    record.isFound = 1;
    if (const auto made = records.makers.find(hash); made != records.makers.end()) made->second = maker;
    return true;
  }
  return false;
}

bool findRecord(OutputRecords& records, std::string_view text, uint64_t maker, bool hasAddedDate) {
  // All of them are marked as found, whether the first one was there or not.
  bool areFound = true;
  while (!text.empty()) {
    if (text[0] == '\n') {
      text.remove_prefix(1);
      continue;
    }
    // What the conversion writes for one entry reads as several records where a value of it is blank.
    const std::string_view one = text.substr(0, recordLength(text));
    areFound = findOne(records, one, maker, hasAddedDate && endsWithDate(one)) && areFound;
    text.remove_prefix(one.size());
  }
  return areFound;
}

// Parts a record in two. Returns the first of them.
static OutputRecord& part(OutputRecords& records, OutputRecord& record, size_t length) {
  const uint64_t begin = record.place;
  const uint64_t end = begin + length;
  SurveyedFile& file = *records.file;
  // It stays in the table, in which others are found by going past it.
  record.isFound = 1;  // as a whole it is none
  const std::string_view first = textFrom(file, begin, length).substr(0, length);
  add(records, first, begin);
  const std::string rest = end < file.size ? std::string(recordAt(file, end)) : std::string();
  if (!rest.empty() && rest[0] != '\n') add(records, rest, end);
  OutputRecord& parted = *std::find_if(records.places.begin(), records.places.end(), [&](const OutputRecord& other) {
    return other.isThere != 0 && other.isFound == 0 && other.place == begin;
  });
  parted.isOpen = 1;
  return parted;
}

bool takeRecordAt(OutputRecords& records, uint64_t begin, uint64_t end) {
  const auto found = std::find_if(records.places.begin(), records.places.end(), [&](const OutputRecord& record) {
    return record.isThere != 0 && record.isFound == 0 && record.place == begin;
  });
  if (found == records.places.end()) return false;
  part(records, *found, static_cast<size_t>(end - begin)).isFound = 1;
  return true;
}

bool partRecord(OutputRecords& records, std::string_view text) {
  for (OutputRecord& record : records.places) {
    if (record.isThere == 0 || record.isFound != 0 || record.isOpen != 0) continue;
    const std::string_view there = textFrom(*records.file, record.place, text.size() + 1);
    if (!there.starts_with(text) || there.size() == text.size() || there[text.size()] == '\n') continue;
    part(records, record, text.size());
    return true;
  }
  return false;
}

uint64_t firstUnfound(const OutputRecords& records, uint64_t& maker) {
  const OutputRecord* first = nullptr;
  for (const OutputRecord& record : records.places)
    if (record.isThere != 0 && record.isFound == 0 && (first == nullptr || record.place < first->place))
      first = &record;
  if (first == nullptr) return NO_RECORD;
  // An equal one that is there by right makes the unexpected one a double.
  const auto made = records.makers.find(first->hash);
  maker = made == records.makers.end() ? NO_PLACE : made->second;
  return first->place;
}
