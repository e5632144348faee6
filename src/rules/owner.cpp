#include "rules/owner.h"

#include <algorithm>
#include <initializer_list>

#include "rules/attribute.h"
#include "rules/text.h"

static Owner withProblem(DetailText problem) {
  Owner owner;
  owner.problem = problem;
  return owner;
}

static std::string_view tightened(std::string_view text, Texts& texts) {
  if (!hasSpaceBesideComma(text)) return text;
  char* const copy = makeRoom(texts, text.size());
  std::copy(text.begin(), text.end(), copy);
  return {copy, commaSpaceEater(copy, text.size())};
}

// Returns the text closed by one newline in place of its trailing white space.
static std::string_view closed(std::string_view text, Texts& texts) {
  const std::string_view dn = trimmed(text);
  if (text.size() == dn.size() + 1 && text.back() == '\n') return text;
  return joined({dn, "\n"}, texts);
}

// The DN stands in the first line, from the given place on.
static Owner ownerInFirstLine(const Line& line, size_t place, Side side, Texts& texts) {
  Owner owner;
  const std::string_view dn = line.view().substr(place);
  owner.computed = dn;
  owner.saved = side == USER_SIDE ? tightened(dn, texts) : dn;
  owner.key = closed(owner.saved, texts);
  // Mostly the line names its owner as it stands, and nothing is copied.
  const bool isUnchanged = owner.key.data() == dn.data();
  owner.firstLine = isUnchanged ? line.view() : joined({line.view().substr(0, place), owner.key}, texts);
  return owner;
}

// The DN has been put together from several places, with a newline behind it.
static Owner ownerOfParts(const Line& firstLine, std::string_view dnLine, Side side, Texts& texts) {
  Owner owner;
  owner.computed = dnLine.substr(0, dnLine.size() - 1);
  if (owner.computed.size() >= SAVED_DN_SIZE) return withProblem(OWNER_DN_TOO_LONG);
  owner.key = closed(dnLine, texts);
  // With its newline it can be the one character too long.
  if (owner.key.size() >= SAVED_DN_SIZE) return withProblem(OWNER_DN_TOO_LONG);
  if (side == USER_SIDE) owner.key = tightened(owner.key, texts);
  owner.saved = owner.key;
  owner.firstLine = firstLine.view();
  return owner;
}

// Returns where the DN begins in a first line, which must have its three-character tag and its newline.
static size_t dnPlace(const Line& line) {
  constexpr size_t TAG_LENGTH = 3;
  if (line.length <= TAG_LENGTH || line.text[line.length - 1] != '\n') return std::string_view::npos;
  return line.view().find_first_not_of(' ', TAG_LENGTH);
}

// A user's own entry, and a group.
static Owner ownerOfOwnEntry(Entry entry, Side side, Texts& texts) {
  const size_t place = dnPlace(entry[0]);
  if (place == std::string_view::npos) return withProblem(INCOMPLETE_DN);
  return ownerInFirstLine(entry[0], place, side, texts);
}

// The owner of a policy or of policy data is its DN less the first component.
static Owner ownerBehindComma(Entry entry, Side side, Texts& texts) {
  const size_t place = dnPlace(entry[0]);
  if (place == std::string_view::npos) return withProblem(INCOMPLETE_DN);
  const size_t comma = entry[0].view().find(',', place);
  if (comma == std::string_view::npos) return withProblem(DN_WITHOUT_COMMA);
  return ownerInFirstLine(entry[0], comma + 1, side, texts);
}

// A 'Users' entry names its owner in two attributes.
static Owner ownerOfUsersEntry(Entry entry, Side side, Texts& texts, Sink show) {
  static constexpr AttributeName authorityName = "secAuthority";
  static constexpr AttributeName dnName = "secDN";
  const Attribute authority = valueOf(entry, authorityName, texts, show);
  const Attribute dn = valueOf(entry, dnName, texts, show);
  if (authority.line < 0) return withProblem(USERS_ENTRY_WITHOUT_AUTHORITY);
  if (dn.line < 0) return withProblem(USERS_ENTRY_WITHOUT_DN);
  // Kept: a value of base 64 comes with its second colon in front, and is cut to nothing by it.
  const std::string_view name = authority.text.substr(0, authority.text.find(':'));
  return ownerOfParts(entry[0], joined({"secAuthority=", name, ",", tightened(dn.text, texts), "\n"}, texts), side,
                      texts);
}

// A map names its owner by the secAuthority component of its own DN and by its secDN value, the name of which
// the user side asks for in lower case.
static Owner ownerOfMap(Entry entry, Side side, Texts& texts, Sink show) {
  static constexpr AttributeName ownerNames[] = {"secdn", "secDN"};  // by Side
  static constexpr AttributeName dnName = "dn";
  const Attribute ownerDn = valueOf(entry, ownerNames[side], texts, show);
  const Attribute dn = valueOf(entry, dnName, texts, show);
  if (dn.line < 0) return withProblem(INCOMPLETE_DN);
  const size_t authority = dostristr(dn.text, "secAuthority");
  if (authority == std::string_view::npos || ownerDn.line < 0) {
    Owner owner = withProblem(authority == std::string_view::npos ? MAP_WITHOUT_AUTHORITY : MAP_WITHOUT_DN);
    owner.shownDn = dn.text;
    return owner;
  }
  // From the name of the component on, wherever in the DN it stands.
  const std::string_view component = upToComma(dn.text.substr(authority));
  return ownerOfParts(entry[0], joined({component, ",", tightened(ownerDn.text, texts), "\n"}, texts), side, texts);
}

// What entries of an EntryKind are called.
static constexpr const char* shownKinds[] = {"'Users' SECUSER", "SECUSER", "SECGROUP", "SECPOLICYDATA",
                                             "SECMAP",          "SECMAP",  "SECPOLICY"};

static void showKind(Entry entry, EntryKind kind, Sink show) {
  if (show == nullptr) return;
  show("   The input object is a %s object \n", shownKinds[kind]);
  show("   Its DN is  %.*s", SHOWN(entry[0].view()));
}

Owner ownerOf(Entry entry, EntryKind kind, Texts& texts, Sink show) {
  const Side side = sideOf(kind);
  showKind(entry, kind, show);
  switch (kind) {
    case USERS_SECUSER_KIND:
      return ownerOfUsersEntry(entry, side, texts, show);
    case SECUSER_KIND:
    case SECGROUP_KIND:
      return ownerOfOwnEntry(entry, side, texts);
    case SECPOLICYDATA_KIND:
    case SECPOLICY_KIND:
      return ownerBehindComma(entry, side, texts);
    default:
      return ownerOfMap(entry, side, texts, show);
  }
}
