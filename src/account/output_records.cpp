#include "account/output_records.h"

#include <algorithm>
#include <bit>
#include <tuple>

#include "rules/text.h"

// The end of a record with an install date, whose digits are not known beforehand.
static constexpr std::string_view dateTag = "installDate: ";
static constexpr std::string_view dateEnd = ".0Z\n";
static constexpr size_t DIGITS = 14;

// The date is that of the run, of which the account knows nothing. It is the only thing in an output that cannot be
// foretold, and stands in the last line of its record.
static bool endsWithDate(const PiecedText& record) {
  // With the newline of the line before, unless there is none.
  char room[1 + dateTag.size() + DIGITS + dateEnd.size()] = {'\n'};
  const size_t length = std::min(record.size, sizeof room);
  if (length < sizeof room - 1) return false;
  copyEnd(record, room + sizeof room - length, length);
  std::string_view line(room, sizeof room);
  if (!line.starts_with('\n') || !line.ends_with(dateEnd)) return false;
  line.remove_prefix(1);
  const std::string_view digits = line.substr(dateTag.size(), DIGITS);
  return line.starts_with(dateTag) && digits.find_first_not_of("0123456789") == std::string_view::npos;
}

// The bytes that count where the date does not.
static PiecedText withoutDate(const PiecedText& record) {
  return beginOf(record, record.size - DIGITS - dateEnd.size());
}

static uint64_t hashOfRecord(const PiecedText& record) {
  return hashOf(endsWithDate(record) ? withoutDate(record) : record);
}

// Read in growing steps, because a window need not hold the whole record.
std::string_view recordAt(SurveyedFile& file, uint64_t place) {
  size_t length = size_t{64} * 1024;
  std::string_view text = textFrom(file, place, length).substr(0, length);
  while (text.find("\n\n") == std::string_view::npos && place + text.size() < file.size) {
    length *= 2;
    text = textFrom(file, place, length).substr(0, length);
  }
  return text.substr(0, lengthToEmptyLine(onePiece(text)));
}

// No record, at the end of a chain.
static constexpr uint32_t NO_NUMBER = UINT32_MAX;

// Returns where its chain begins: that of the records whose hashes end alike.
static uint32_t& chainOf(OutputRecords& records, uint64_t hash) {
  return records.chains[hash & (records.chains.size() - 1)];
}

static void link(OutputRecords& records, uint32_t number) {
  OutputRecord& record = records.all[number];
  uint32_t& first = chainOf(records, record.hash);
  record.nextOrMaker = first;
  first = number;
}

static void add(OutputRecords& records, uint64_t hash, uint64_t begin) {
  // The place shares its word with two bits: 46 bits are enough for files of 64 TiB.
  constexpr uint64_t PLACES = (uint64_t{1} << 46U) - 1;
  records.all.push_back({hash, begin & PLACES, 0, 0, NO_NUMBER});
}

static void addLinked(OutputRecords& records, std::string_view text, uint64_t begin) {
  add(records, hashOfRecord(onePiece(text)), begin);
  link(records, static_cast<uint32_t>(records.all.size() - 1));
}

// Has those searched for by their hashes that have not been found in their order.
static void linkRest(OutputRecords& records) {
  if (records.areLinked) return;
  records.areLinked = true;
  records.chains.assign(std::bit_ceil(records.all.size() - records.foundInOrder + 1), NO_NUMBER);
  for (size_t i = records.foundInOrder; i < records.all.size(); ++i) {
    const std::string_view text = recordAt(*records.file, records.all[i].place);
    records.all[i].hash = hashOfRecord(onePiece(text));
  }
  // From the last to the first, so that of equal ones the first comes first.
  for (size_t i = records.all.size(); i > records.foundInOrder; --i) link(records, static_cast<uint32_t>(i - 1));
}

// Takes the first record of a hash that is wanted out of its chain, as found, and returns its number.
// What has been found stands in no search's way any more: there can be millions of one and the same.
template <typename IsWanted>
static uint32_t takeOut(OutputRecords& records, uint64_t hash, uint64_t maker, IsWanted isWanted) {
  uint32_t before = NO_NUMBER;
  for (uint32_t number = chainOf(records, hash); number != NO_NUMBER;) {
    OutputRecord& record = records.all[number];
    const auto next = static_cast<uint32_t>(record.nextOrMaker);
    if (record.hash == hash && isWanted(record)) {
      if (before == NO_NUMBER)
        chainOf(records, hash) = next;
      else
        records.all[before].nextOrMaker = next;
      record.isFound = 1;
      record.nextOrMaker = maker;
      return number;
    }
    before = number;
    number = next;
  }
  return NO_NUMBER;
}

static bool isAttributeLine(std::string_view line) { return line[0] != ' ' && line[0] != '#' && !isBlankLine(line); }

// Returns the length of the record at the begin of a text, up to its first empty line, and counts its lines.
static size_t measureRecord(std::string_view text, int64_t& lines) {
  for (size_t begin = 0; begin < text.size();) {
    if (text[begin] == '\n') return begin;
    const size_t end = std::min(text.find('\n', begin), text.size() - 1) + 1;
    if (isAttributeLine(text.substr(begin, end - begin))) ++lines;
    begin = end;
  }
  return text.size();
}

void readRecords(SurveyedFile& file, OutputRecords& records) {
  records.file = &file;
  bool isParted = true;  // by an empty line from the record before
  uint64_t last = 0;
  for (uint64_t place = 0; place < file.size;) {
    // More than one empty line between records is not what a conversion writes; that is told by the sum of all bytes,
    // and where another one lacks by the end.
    if (textFrom(file, place, 1)[0] == '\n') {
      if (isParted) records.firstGap = std::min(records.firstGap, place);
      isParted = true;
      ++place;
      continue;
    }
    isParted = false;
    const std::string_view text = isWhole(file) ? textFrom(file, place, 1) : recordAt(file, place);
    add(records, 0, place);
    last = place;
    place += measureRecord(text, records.lines);
  }
  records.endsOpen = !isParted;
  if (!isParted) records.firstGap = std::min(records.firstGap, last);
  records.read = records.all.size();
}

// True when the record at the begin of a text is the expected one.
static bool isSame(std::string_view text, const PiecedText& expected, bool isOpen, bool hasAddedDate) {
  const std::string_view record = text.substr(0, expected.size);
  const bool isEnd =
      isOpen || text.size() == expected.size || (text.size() > expected.size && text[expected.size] == '\n');
  if (!isEnd || record.size() != expected.size) return false;
  const PiecedText compared = hasAddedDate ? withoutDate(expected) : expected;
  if (!isEqual(compared, record.substr(0, compared.size))) return false;
  return !hasAddedDate || endsWithDate(onePiece(record));
}

// Returns where it begins, NO_RECORD when there is none.
static uint64_t findOne(OutputRecords& records, const PiecedText& expected, uint64_t maker, bool hasAddedDate) {
  const auto isExpected = [&](const OutputRecord& record) {
    const std::string_view text = textFrom(*records.file, record.place, expected.size + 1);
    return isSame(text, expected, record.isOpen != 0, hasAddedDate);
  };
  // Most records stand in the order of the input: all that are copied, and those of the first pass. Comparing them
  // takes less time than searching.
  const bool isInOrder = !records.areLinked && records.foundInOrder < records.read;
  if (isInOrder && isExpected(records.all[records.foundInOrder])) {
    OutputRecord& record = records.all[records.foundInOrder++];
    record.isFound = 1;
    record.nextOrMaker = maker;
    return record.place;
  }
  linkRest(records);
  const uint32_t number = takeOut(records, hashOfRecord(expected), maker, isExpected);
  return number == NO_NUMBER ? NO_RECORD : records.all[number].place;
}

bool findRecord(OutputRecords& records, PiecedText text, uint64_t maker, bool hasAddedDate) {
  // All of them are marked as found, whether the first one was there or not.
  bool areFound = true;
  while (text.size > 0) {
    if (firstLineLength(text) == 0) {
      text = restOf(text, 1);
      continue;
    }
    // What the conversion writes for one entry reads as several records where a value of it is blank.
    const PiecedText one = beginOf(text, lengthToEmptyLine(text));
    const uint64_t place = findOne(records, one, maker, hasAddedDate && endsWithDate(one));
    text = restOf(text, one.size);
    if (place == NO_RECORD)
      areFound = false;
    else if (text.size == 0 && place + one.size == records.file->size)
      records.mayEndOpen = true;
  }
  return areFound;
}

static OutputRecord& addOpen(OutputRecords& records, uint64_t begin, size_t length) {
  addLinked(records, textFrom(*records.file, begin, length).substr(0, length), begin);
  OutputRecord& record = records.all[records.all.size() - 1];
  record.isOpen = 1;
  return record;
}

// Adds what stands behind an open record, up to the next empty line.
static void addRest(OutputRecords& records, uint64_t begin) {
  const std::string_view rest = begin < records.file->size ? recordAt(*records.file, begin) : std::string_view();
  if (!rest.empty() && rest[0] != '\n') addLinked(records, rest, begin);
}

// Takes one out that is none, or has been found without being searched for.
static void takeOut(OutputRecords& records, const OutputRecord& wanted) {
  takeOut(records, wanted.hash, NO_PLACE, [&](const OutputRecord& record) { return &record == &wanted; });
}

// Returns the number of the record that begins in a place and has not been found.
static size_t numberAt(const OutputRecords& records, uint64_t begin) {
  const auto isThere = [&](size_t i) { return records.all[i].place == begin && records.all[i].isFound == 0; };
  // The first of those in their order that does not begin before it.
  size_t first = 0;
  for (size_t end = records.read; first < end;) {
    const size_t middle = first + (end - first) / 2;
    if (records.all[middle].place < begin)
      first = middle + 1;
    else
      end = middle;
  }
  if (first < records.read && isThere(first)) return first;
  size_t number = records.read;
  while (number < records.all.size() && !isThere(number)) ++number;
  return number;
}

bool takeRecordAt(OutputRecords& records, uint64_t begin, uint64_t end, bool hasEmptyLine) {
  linkRest(records);
  const size_t number = numberAt(records, begin);
  if (number == records.all.size()) return false;
  takeOut(records, records.all[number]);
  takeOut(records, addOpen(records, begin, static_cast<size_t>(end - begin)));
  // What would be the empty line behind a last line that a NUL has cut is only its newline.
  const bool isLineOpen = end > begin && textFrom(*records.file, end - 1, 1)[0] != '\n';
  addRest(records, isLineOpen && hasEmptyLine ? end + 1 : end);
  return true;
}

void announceOpenRecord(OutputRecords& records, const PiecedText& text) {
  records.open.push_back({hashOfFirstLine(text), hashOf(text), text.size});
  records.longestOpen = std::max(records.longestOpen, text.size);
}

static bool isBefore(const OpenRecord& one, const OpenRecord& other) {
  return std::tie(one.dnHash, one.length, one.hash) < std::tie(other.dnHash, other.length, other.hash);
}

// Returns the length of the record that has been announced and begins there, 0 without one that another one is behind.
static size_t lengthOfOpen(OutputRecords& records, uint64_t place) {
  const std::string_view text = textFrom(*records.file, place, records.longestOpen + 1);
  const uint64_t dnHash = hashOfFirstLine(onePiece(text));
  const auto end = records.open.end();
  auto open = std::lower_bound(records.open.begin(), end, OpenRecord{dnHash, 0, 0}, isBefore);
  while (open != end && open->dnHash == dnHash && open->length < text.size()) {
    // Of those of one length, which may be many, one can be there.
    const size_t length = open->length;
    const OpenRecord wanted = {dnHash, hashOf({{&text, 1}, 0, length}), length};
    if (text[length] != '\n' && std::binary_search(open, end, wanted, isBefore)) return length;
    open = std::upper_bound(open, end, OpenRecord{dnHash, UINT64_MAX, length}, isBefore);
  }
  return 0;
}

void partOpenRecords(OutputRecords& records) {
  linkRest(records);
  std::sort(records.open.begin(), records.open.end(), isBefore);
  const size_t wholeOnes = records.open.empty() ? 0 : records.all.size();
  for (size_t i = 0; i < wholeOnes; ++i) {
    uint64_t place = records.all[i].place;
    size_t length = records.all[i].isFound != 0 ? 0 : lengthOfOpen(records, place);
    if (length == 0) continue;
    takeOut(records, records.all[i]);
    // Many can stand behind one another, all of them as one.
    for (; length > 0; length = lengthOfOpen(records, place)) {
      addOpen(records, place, length);
      place += length;
    }
    addRest(records, place);
  }
}

static uint64_t hashOfStored(const OutputRecords& records, const OutputRecord& record) {
  if (record.hash != 0) return record.hash;
  const std::string_view text = recordAt(*records.file, record.place);
  return hashOfRecord(onePiece(text));
}

uint64_t firstUnfound(const OutputRecords& records, uint64_t& maker) {
  const OutputRecord* first = nullptr;
  for (size_t i = 0; i < records.all.size(); ++i) {
    const OutputRecord& record = records.all[i];
    if (record.isFound == 0 && (first == nullptr || record.place < first->place)) first = &record;
  }
  maker = NO_PLACE;
  if (first == nullptr) return NO_RECORD;
  const uint64_t hash = hashOfStored(records, *first);
  // An equal one that is there by right makes the unexpected one a double.
  for (size_t i = 0; i < records.all.size(); ++i) {
    const OutputRecord& record = records.all[i];
    const bool isExpected = record.isFound != 0 && record.nextOrMaker != NO_PLACE;
    if (isExpected && hashOfStored(records, record) == hash) maker = record.nextOrMaker;
  }
  return first->place;
}
