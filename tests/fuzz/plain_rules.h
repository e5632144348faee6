// The rules of the conversion once more, for the fuzzers to compare with: over std::string, as plain and as slow as
// they can be. Nothing here calls the conversion. A line is what a reader of nextLine sees, up to a NUL at most.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace plain {

using Lines = std::vector<std::string>;

// Texts.
std::string lowered(std::string text);
std::string inOtherCase(std::string text);  // of every letter
bool contains(const std::string& text, const std::string& part);
size_t findInAnyCase(const std::string& text, const std::string& part);  // npos without a match
bool containsInAnyCase(const std::string& text, const std::string& part);
bool isBlank(const std::string& line);
std::string blanked(const std::string& line);
std::string trimmed(std::string text);
std::string withoutBlanksAtCommas(const std::string& text);
std::string withoutLeadingSpaces(const std::string& text);
std::string upTo(const std::string& text, const char* ends);  // what stands before the first of these characters

// What a read of at most limit characters gives at a position of a file; empty at its end. NULs count.
std::string readLine(const std::string& file, size_t position, size_t limit);

// An entry of a file, where the walk to it ends, and whether it ends at a blank line.
struct Entry {
  Lines lines;
  size_t end;
  bool endsAtBlankLine;
  bool hasChangetype;  // in any line of the walk that is not blank, comments included
};
Entry readEntry(const std::string& file, size_t position);

// Steps over the next entry, comments counting as lines. Returns where the walk ends.
size_t stepOverEntry(const std::string& file, size_t position);

// Blanks the next entry out of the file. Returns where the walk ends.
size_t blankOutEntry(std::string& file, size_t position);

// Copies the next entry as an oversized one is copied. Returns where the walk ends; the copy is appended.
size_t copyOversizedEntry(const std::string& file, size_t position, std::string& copy);

// Attributes of an entry, unfolded.
std::optional<std::string> attributeValue(const Lines& entry, const std::string& name);
std::string wholeAttribute(const Lines& entry, size_t index);
std::string attributeFromColon(const Lines& entry, size_t index);

// The logical lines of an entry, each with one newline; continuation lines before the first are left out.
Lines unfolded(const Lines& entry);

// Lines as they are read back: in pieces, where they are too long.
Lines pieces(const Lines& lines);

// The object class code of an entry.
int32_t classOf(const Lines& entry);

// True when a line stays behind on its way to the output.
enum class Way { STRAIGHT_THROUGH, OVERSIZED, REMAINING, MERGED, POLICY };
bool isLeftOut(const std::string& line, Way way);

// What the preparation pass makes of an input, at the moment that an install date speaks of; up to the entry that
// stops it, if one does.
struct Prepared {
  std::string output;
  std::string workFile;
  bool isStopped;
};
Prepared prepared(const std::string& input, const std::string& installDate);

// The merged entry, and what remains of each input unmerged; nothing when a line that needs one has no colon.
struct Merged {
  Lines lines;
  Lines unmerged1;
  Lines unmerged2;
};
std::optional<Merged> merged(const Lines& input1, const Lines& input2);

// A matrix of the cache, a cell a line, in which nothing stops an entry from running on into the next row.
class Cells {
 public:
  Cells(size_t rows, size_t columns) : columnCount(columns), cells(rows * columns) {}

  // The lines from the beginning of a row on, up to the first free cell; none where that is the first.
  Lines entry(size_t row) const;

  // Puts the entry into the cells from the beginning of a row on. Returns false when they do not suffice.
  bool put(size_t row, const Lines& entry);

  // Frees the cells of the entry that begins in a row.
  void release(size_t row);

 private:
  size_t columnCount;
  Lines cells;  // empty where free
};

// How a run ends that cannot go on.
struct Stopped {};

// The owner of an entry: the key that is searched, the DN that a new slot gets, and the entry's line 0 afterwards.
// Throw Stopped for an entry that does not name its owner.
struct Owner {
  std::string key;
  std::string savedDn;
  std::string firstLine;
};
Owner ownerOnUserSide(const Lines& entry, int32_t objectClass);
Owner ownerOnGroupSide(const Lines& entry, int32_t objectClass);

// The new dn: lines, made of the old owner DN or policy DN and the lines of the owner's entry. Nothing when the entry
// has no name. Throw Stopped for what does not fit.
std::optional<std::string> newUserDn(const std::string& ownerDn, const Lines& userEntry);
std::optional<std::string> newGroupDn(const std::string& ownerDn, const Lines& groupEntry);
std::optional<std::string> newPolicyDn(const std::string& policyDn, const Lines& userEntry);
std::string policyContainer(const std::string& newUserDn, bool hasChangetype);  // the whole record

}  // namespace plain
