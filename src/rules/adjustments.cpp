#include "rules/adjustments.h"

#include <algorithm>
#include <initializer_list>
#include <string>

#include "rules/attribute.h"
#include "rules/colon_search.h"
#include "rules/text.h"

// A text found in the entry: the number of the line, and where in it the text stands.
struct Found {
  int32_t line;  // -1 when not found
  size_t place;
};

// Looks for the first place in the entry where the text stands in this very case.
static Found findInEntry(Entry entry, const ColonText& text) {
  for (size_t i = 0; i < entry.size(); ++i)
    if (const size_t place = findExactly(entry[i], text); place != NOT_FOUND) return {static_cast<int32_t>(i), place};
  return {-1, 0};
}

static bool isInEntryInAnyCase(Entry entry, const ColonText& text) {
  return std::any_of(entry.begin(), entry.end(),
                     [&](const Line& line) { return findInAnyCase(line, text) != NOT_FOUND; });
}

// Returns the line with a part of it replaced. What stands around that part, the line end included, stays byte for
// byte.
static Adjustment replaced(Entry entry, int32_t line, size_t place, size_t length, std::string_view replacement,
                           Texts& texts) {
  const std::string_view text = entry[static_cast<size_t>(line)].view();
  return {line, joined({text.substr(0, place), replacement, text.substr(place + length)}, texts), NO_DETAIL};
}

Adjustment convertVersion(Entry entry, Texts& texts) {
  static constexpr ColonText versionText = "version: ";
  // As long as 5.1. Of a longer version the rest stays behind the new one.
  constexpr size_t VERSION_LENGTH = 3;
  const Found found = findInEntry(entry, versionText);
  if (found.line < 0) return {};
  const std::string_view line = entry[static_cast<size_t>(found.line)].view();
  // The text that was found ends in the first of the blanks before the value; there may be more.
  const std::string_view value = behindSpaces(line.substr(found.place + versionText.text.size() - 1));
  const size_t length = std::min(withoutLineEnd(value).size(), VERSION_LENGTH);
  return replaced(entry, found.line, line.size() - value.size(), length, "6.0", texts);
}

bool needsInstallDate(Entry entry) {
  static constexpr ColonText installDateText = "installDate: ";
  return !isInEntryInAnyCase(entry, installDateText);
}

Adjustment addInstallDate(Entry entry, const tm& local, Texts& texts) {
  constexpr size_t PART_SIZE = 10;
  std::string line = "installDate: ";
  for (const char* format : {"%Y", "%m", "%d", "%I", "%M", "%S"}) {
    char part[PART_SIZE];
    line.append(part, strftime(part, sizeof part, format, &local));
  }
  return {static_cast<int32_t>(entry.size()), keepText(texts, line + ".0Z"), NO_DETAIL};
}

Adjustment addDomainId(Entry entry, Texts& texts, Sink show) {
  constexpr std::string_view TAG = "secDomainId: ";
  static constexpr ColonText tagText = TAG;
  static constexpr AttributeName authorityName = "secAuthority";
  static constexpr AttributeName principalName = "principalName";
  if (isInEntryInAnyCase(entry, tagText)) return {};
  const Attribute authority = valueOf(entry, authorityName, texts, show);
  // The authority first: of a user without either it is what the message names.
  if (authority.line < 0) return {-1, {}, USER_WITHOUT_AUTHORITY};
  const Attribute name = valueOf(entry, principalName, texts, show);
  if (name.line < 0) return {-1, {}, USER_WITHOUT_NAME};
  const std::string_view line = joined({TAG, authority.text, "%", name.text}, texts);
  return {static_cast<int32_t>(entry.size()), line, NO_DETAIL, {authority.line, name.line}};
}

Adjustment renameUuid(Entry entry, Texts& texts) {
  static constexpr ColonText uuidText = "secuuid: ";
  const Found found = findInEntry(entry, uuidText);
  if (found.line < 0) return {};
  return replaced(entry, found.line, found.place, uuidText.text.size(), "secUUID: ", texts);
}

bool tightenOwnerNames(std::span<Line> entry, Texts& texts) {
  static constexpr ColonText ownerText = "secdn:";
  bool isAnyChanged = false;
  for (Line& line : entry) {
    const std::string_view view = line.view();
    // Kept: in this letter case only. Of any other secDN line the blanks stay in the record; the owner is found without
    // them all the same.
    if (findExactly(line, ownerText) == NOT_FOUND || !hasSpaceBesideComma(view)) continue;
    // Without its newline, which comes behind what is left: the line can only become shorter.
    char* const text = makeRoom(texts, view.size());
    const size_t length = commaSpaceEater(text, view.copy(text, view.size() - 1));
    text[length] = '\n';
    line = scanLine({text, length + 1});
    isAnyChanged = true;
  }
  return isAnyChanged;
}
