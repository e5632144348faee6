#include "plain_rules.h"

#include <algorithm>
#include <string_view>

namespace plain {

static constexpr size_t NOWHERE = std::string::npos;
static constexpr size_t LONGEST_LINE = 4095;
static constexpr size_t SCRATCH_SIZE = 4096;
static constexpr size_t NAME_SIZE = 1024;
static constexpr size_t OWNER_DN_SIZE = 20000;

static char lowered(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

std::string lowered(std::string text) {
  for (char& character : text) character = lowered(character);
  return text;
}

std::string inOtherCase(std::string text) {
  for (char& character : text)
    if (lowered(character) >= 'a' && lowered(character) <= 'z') character = static_cast<char>(character ^ ('a' - 'A'));
  return text;
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != NOWHERE; }

size_t findInAnyCase(const std::string& text, const std::string& part) {
  const auto place = std::search(text.begin(), text.end(), part.begin(), part.end(),
                                 [](char one, char other) { return lowered(one) == lowered(other); });
  return place != text.end() || part.empty() ? static_cast<size_t>(place - text.begin()) : NOWHERE;
}

bool containsInAnyCase(const std::string& text, const std::string& part) {
  return findInAnyCase(text, part) != NOWHERE;
}

bool isBlank(const std::string& line) { return line.find_first_not_of(" \r\n") == NOWHERE; }

std::string blanked(const std::string& line) { return std::string(std::max<size_t>(line.size(), 2) - 2, ' ') + "\r\n"; }

std::string trimmed(std::string text) {
  text.erase(text.find_last_not_of(" \t\n\v\f\r") + 1);
  return text;
}

// A run of spaces goes when a comma stands on either side of it.
std::string withoutBlanksAtCommas(const std::string& text) {
  std::string result;
  for (size_t i = 0; i < text.size();) {
    const size_t end = std::min(text.find_first_not_of(' ', i), text.size());
    const bool isAtComma = (i > 0 && text[i - 1] == ',') || (end < text.size() && text[end] == ',');
    if (!isAtComma) result += text.substr(i, end - i);
    if (end < text.size()) result += text[end];
    i = end + 1;
  }
  return result;
}

std::string withoutLeadingSpaces(const std::string& text) {
  return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

std::string upTo(const std::string& text, const char* ends) { return text.substr(0, text.find_first_of(ends)); }

std::string readLine(const std::string& file, size_t position, size_t limit) {
  if (position >= file.size()) return "";
  const std::string piece = file.substr(position, limit);
  const size_t newline = piece.find('\n');
  return newline == NOWHERE ? piece : piece.substr(0, newline + 1);
}

static std::string visible(const std::string& line) { return line.substr(0, line.find('\0')); }

Entry readEntry(const std::string& file, size_t position) {
  Entry entry = {{}, position, false, false};
  while (!entry.endsAtBlankLine) {
    const std::string read = readLine(file, entry.end, LONGEST_LINE);
    if (read.empty()) break;
    entry.end += read.size();
    const std::string line = visible(read);
    if (isBlank(line)) {
      entry.endsAtBlankLine = !entry.lines.empty();
      continue;
    }
    if (contains(line, "changetype:")) entry.hasChangetype = true;
    if (line[0] != '#') entry.lines.push_back(line);
  }
  return entry;
}

// The walk of both; a blank form is written over every line of the entry where there is a file to write to.
static size_t walk(const std::string& file, size_t position, std::string* written) {
  for (bool isInEntry = false;;) {
    const std::string read = readLine(file, position, LONGEST_LINE);
    if (read.empty()) return position;
    const std::string line = visible(read);
    if (isBlank(line)) {
      position += read.size();
      if (isInEntry) return position;
      continue;
    }
    isInEntry = true;
    if (written == nullptr) {
      position += read.size();
      continue;
    }
    const std::string blank = blanked(line);
    const size_t replaced = std::min(blank.size(), written->size() - position);
    written->replace(position, replaced, blank);
    position += blank.size();
  }
}

size_t stepOverEntry(const std::string& file, size_t position) { return walk(file, position, nullptr); }

size_t blankOutEntry(std::string& file, size_t position) { return walk(file, position, &file); }

size_t copyOversizedEntry(const std::string& file, size_t position, std::string& copy) {
  const Entry entry = readEntry(file, position);
  for (const std::string& line : entry.lines)
    if (!isLeftOut(line, Way::OVERSIZED)) copy += line;
  if (entry.endsAtBlankLine) copy += "\n";
  return entry.end;
}

static std::string withoutLineEnd(const std::string& text) { return upTo(text, "\r\n"); }

// Joins the continuation lines behind a line to its text.
static std::string unfolded(const std::string& text, const Lines& entry, size_t index) {
  std::string result = withoutLineEnd(text);
  while (++index < entry.size() && entry[index][0] == ' ') result = withoutLineEnd(result + entry[index].substr(1));
  return result;
}

std::optional<std::string> attributeValue(const Lines& entry, const std::string& name) {
  const std::string key = lowered(name) + ":";
  for (size_t i = 0; i < entry.size(); ++i) {
    const size_t colon = entry[i].find(':');
    if (colon == NOWHERE) continue;
    const std::string folded = lowered(entry[i].substr(0, colon + 1)) + entry[i].substr(colon + 1);
    const size_t match = folded.find(key);
    if (match != NOWHERE) return unfolded(withoutLeadingSpaces(entry[i].substr(match + key.size())), entry, i);
  }
  return std::nullopt;
}

std::string wholeAttribute(const Lines& entry, size_t index) { return unfolded(entry[index], entry, index); }

std::string attributeFromColon(const Lines& entry, size_t index) {
  return unfolded(entry[index].substr(entry[index].find(':')), entry, index);
}

Lines unfolded(const Lines& entry) {
  Lines lines;
  for (size_t i = 0; i < entry.size(); ++i)
    if (entry[i][0] != ' ') lines.push_back(wholeAttribute(entry, i) + "\n");
  return lines;
}

Lines pieces(const Lines& lines) {
  Lines result;
  for (const std::string& line : lines)
    for (size_t place = 0; place < line.size(); place += LONGEST_LINE)
      result.push_back(line.substr(place, LONGEST_LINE));
  return result;
}

int32_t classOf(const Lines& entry) {
  for (const std::string& line : entry) {
    if (!contains(line, "objectClass:") && !contains(line, "objectclass:")) continue;
    if (contains(line, " secUser") || contains(line, " secuser")) return 1;
    if (contains(line, " secPolicyData") || contains(line, " secpolicydata")) return 2;
    if (contains(line, " secPolicy") || contains(line, " secpolicy")) return 3;
    if (contains(line, " secMap") || contains(line, " secmap")) return 5;
    if (contains(line, " secGroup") || contains(line, " secgroup")) return 4;
    if (contains(line, " secAuthorityInfo") || contains(line, " secauthorityinfo")) return 6;
    if (contains(line, " container") || contains(line, " Container"))
      return contains(entry[0], "cn=ResCreds") || contains(entry[0], "cn=rescreds") ? 7 : 9;
    if (contains(line, " secResCreds") || contains(line, " secrescreds")) return 8;
  }
  return 0;
}

bool isLeftOut(const std::string& line, Way way) {
  if (way == Way::STRAIGHT_THROUGH) return contains(line, "XOQ-ENTRYUUID: ") || contains(line, "xoq-entryuuid: ");
  if (way == Way::OVERSIZED) return contains(line, "XOQ-ENTRYUUID:") || contains(line, "xoq-entryuuid:");
  const std::string low = lowered(line);
  if (way != Way::MERGED && contains(low, "control:")) return true;
  return contains(low, "xoq-entryuuid:") || contains(low, "aclentry:") || contains(low, "aci:") ||
         contains(low, "acl:");
}

static std::string required(const std::optional<std::string>& value) {
  if (!value) throw Stopped();
  return *value;
}

enum ObjectClass {
  UNINTERESTING,
  SECUSER,
  SECPOLICYDATA,
  SECPOLICY,
  SECGROUP,
  SECMAP,
  SECAUTHORITYINFO,
  CONTAINER = 9
};

static bool anyContains(const Lines& entry, const std::string& part) {
  return std::any_of(entry.begin(), entry.end(),
                     [&](const std::string& line) { return containsInAnyCase(line, part); });
}

// Changes the first line that holds the text, from where the text begins.
template <typename Change>
static void changeFirst(Lines& entry, const std::string& text, Change change) {
  for (std::string& line : entry) {
    const size_t place = line.find(text);
    if (place == NOWHERE) continue;
    line = line.substr(0, place) + change(line.substr(place));
    return;
  }
}

static std::string withNewVersion(const std::string& text) {
  const std::string value = withoutLeadingSpaces(text.substr(text.find(' ')));
  const size_t replaced = std::min<size_t>(withoutLineEnd(value).size(), 3);
  return text.substr(0, text.size() - value.size()) + "6.0" + value.substr(replaced);
}

static std::string withNewUuidName(const std::string& text) { return "secUUID" + text.substr(7); }

static void adjust(Lines& entry, int32_t objectClass, const std::string& installDate) {
  if (objectClass == SECAUTHORITYINFO) {
    changeFirst(entry, "version: ", withNewVersion);
    if (!anyContains(entry, "installDate: ")) entry.push_back("installDate: " + installDate);
  }
  if (objectClass == SECUSER && !anyContains(entry, "secDomainId: ")) {
    const std::string authority = required(attributeValue(entry, "secAuthority"));
    entry.push_back("secDomainId: " + authority + "%" + required(attributeValue(entry, "principalName")));
  }
  if (objectClass == SECUSER || objectClass == SECGROUP) changeFirst(entry, "secuuid: ", withNewUuidName);
}

static bool goesToOutput(int32_t objectClass, const std::string& dnLine) {
  if (objectClass == SECPOLICY) return containsInAnyCase(dnLine, "cn=Policies,secAuthority=");
  return objectClass == UNINTERESTING || objectClass == SECAUTHORITYINFO || objectClass == CONTAINER;
}

static void prepareEntry(Lines entry, const std::string& installDate, Prepared& files) {
  if (entry[0][0] == ' ') throw Stopped();
  const bool isForOutput = goesToOutput(classOf(entry), wholeAttribute(entry, 0));
  adjust(entry, classOf(entry), installDate);
  std::string text;
  for (size_t i = 0; i < entry.size(); ++i) {
    if (entry[i][0] == ' ') continue;
    std::string line = wholeAttribute(entry, i);
    if (isForOutput && isLeftOut(line, Way::STRAIGHT_THROUGH)) continue;
    if (!isForOutput && contains(line, "secdn:")) line = withoutBlanksAtCommas(line);
    text += line + "\n";
  }
  (isForOutput ? files.output : files.workFile) += text + "\n";
}

Prepared prepared(const std::string& input, const std::string& installDate) {
  Prepared files = {"", "", false};
  try {
    for (Entry entry = readEntry(input, 0); !entry.lines.empty(); entry = readEntry(input, entry.end))
      prepareEntry(entry.lines, installDate, files);
  } catch (const Stopped&) {
    files.isStopped = true;
  }
  return files;
}

static bool isLeftOutOfMerge(const std::string& name) {
  for (const std::string_view other :
       {"dn:", "DN:", "objectclass:", "objectClass:", "XOQ-ENTRYUUID:", "xoq-entryuuid:", "control:", "Control:",
        "aclpropagate:", "aclPropagate:", "aclentry:", "aclEntry:", "acl:", "ACL:", "aci:", "ACI:"})
    if (name == other) return true;
  return false;
}

std::optional<Merged> merged(const Lines& input1, const Lines& input2) {
  Merged result;
  std::vector<bool> isLeft(input2.size(), true);
  for (const std::string& line : input1) {
    if (contains(line, "objectclass:") || contains(line, "objectClass:")) {
      result.lines.push_back(line);
      continue;
    }
    if (!contains(line, ":")) return std::nullopt;
    const std::string name = line.substr(0, line.find(':') + 1);
    if (name == "dn:" || name == "DN:") {
      result.lines.push_back(line);
      continue;
    }
    if (isLeftOutOfMerge(name)) {
      result.unmerged1.push_back(line);
      continue;
    }
    size_t match = 0;
    while (match < input2.size() && !(isLeft[match] && containsInAnyCase(input2[match], name))) ++match;
    const bool isMatched = match < input2.size();
    result.lines.push_back(isMatched && !containsInAnyCase(line, "secauthority:") ? input2[match] : line);
    if (isMatched) isLeft[match] = false;
  }
  for (size_t i = 0; i < input2.size(); ++i) {
    if (!isLeft[i]) continue;
    if (!contains(input2[i], ":")) return std::nullopt;
    const bool isLeftOut = isLeftOutOfMerge(input2[i].substr(0, input2[i].find(':') + 1));
    (isLeftOut ? result.unmerged2 : result.lines).push_back(input2[i]);
  }
  return result;
}

Lines Cells::entry(size_t row) const {
  Lines lines;
  for (size_t i = row * columnCount; i < cells.size() && !cells[i].empty(); ++i) lines.push_back(cells[i]);
  return lines;
}

bool Cells::put(size_t row, const Lines& entry) {
  const size_t first = row * columnCount;
  if (entry.size() > cells.size() - first) return false;
  std::copy(entry.begin(), entry.end(), cells.begin() + static_cast<std::ptrdiff_t>(first));
  return true;
}

void Cells::release(size_t row) {
  for (size_t i = row * columnCount; i < cells.size() && !cells[i].empty(); ++i) cells[i].clear();
}

// What stands in line 0 behind its three-character tag.
static std::string dnText(const Lines& entry) {
  constexpr size_t TAG_LENGTH = 3;
  const std::string& line = entry[0];
  if (line.size() <= TAG_LENGTH || line.back() != '\n') throw Stopped();
  return withoutLeadingSpaces(line.substr(TAG_LENGTH));
}

static std::string fitting(const std::string& text, size_t size) {
  if (text.size() >= size) throw Stopped();
  return text;
}

static Owner ownerInFirstLine(const Lines& entry, const std::string& dn) {
  return {dn, dn, entry[0].substr(0, entry[0].size() - dn.size())};
}

static Owner ownerInAttributes(const std::string& authority, const std::string& dn) {
  const std::string owner = fitting(authority + "," + dn, OWNER_DN_SIZE);
  return {owner, owner, ""};
}

static Owner ownerOfMap(const Lines& entry) {
  const std::optional<std::string> ownerDn = attributeValue(entry, "secDN");
  const std::string dn = required(attributeValue(entry, "dn"));
  const size_t authority = findInAnyCase(dn, "secAuthority");
  if (authority == NOWHERE) throw Stopped();
  return ownerInAttributes(upTo(dn.substr(authority), ","), withoutBlanksAtCommas(required(ownerDn)));
}

// The end of both sides: the key is trimmed and, on the user side, tightened, the saved DN tightened only.
static Owner normalised(Owner owner, const Lines& entry, bool isUserSide) {
  const bool isInFirstLine = !owner.firstLine.empty();
  const auto tightened = [isUserSide](const std::string& dn) { return isUserSide ? withoutBlanksAtCommas(dn) : dn; };
  owner.key = tightened(fitting(trimmed(owner.key) + "\n", isInFirstLine ? NOWHERE : OWNER_DN_SIZE));
  owner.savedDn = isInFirstLine ? tightened(owner.savedDn) : owner.key;
  if (owner.savedDn.empty() || owner.savedDn.back() != '\n') owner.savedDn += "\n";
  owner.firstLine = isInFirstLine ? owner.firstLine + owner.key : entry[0];
  return owner;
}

Owner ownerOnUserSide(const Lines& entry, int32_t objectClass) {
  if (objectClass == SECMAP) return normalised(ownerOfMap(entry), entry, true);
  if (objectClass == SECUSER && contains(lowered(fitting(entry[0], SCRATCH_SIZE)), "cn=users,secauthority=")) {
    const std::string authority = required(attributeValue(entry, "secAuthority"));
    const std::string dn = required(attributeValue(entry, "secDN"));
    return normalised(ownerInAttributes("secAuthority=" + upTo(authority, ":"), withoutBlanksAtCommas(dn)), entry,
                      true);
  }
  std::string dn = dnText(entry);
  if (objectClass != SECUSER) {
    const size_t comma = dn.find(',');
    if (comma == NOWHERE) throw Stopped();
    dn.erase(0, comma + 1);
  }
  return normalised(ownerInFirstLine(entry, dn), entry, true);
}

Owner ownerOnGroupSide(const Lines& entry, int32_t objectClass) {
  return normalised(objectClass == SECGROUP ? ownerInFirstLine(entry, dnText(entry)) : ownerOfMap(entry), entry, false);
}

// The value of the first line that holds one of the forms of the name's attribute.
static std::string nameIn(const Lines& entry, const std::string& form, const std::string& otherForm) {
  for (const std::string& line : entry) {
    size_t place = line.find(form);
    if (place == NOWHERE) place = line.find(otherForm);
    if (place != NOWHERE)
      return withoutLineEnd(fitting(withoutLeadingSpaces(line.substr(place + form.size())), NAME_SIZE));
  }
  return "";
}

static bool isInDefaultDomain(const std::string& dn) {
  const std::string low = lowered(fitting(dn, SCRATCH_SIZE));
  return contains(low, "secauthority=default") && !contains(low, "cn=subdomains");
}

static std::string dnLine(const std::string& beginning, const std::string& oldDn, const std::string& component) {
  const std::string domain = isInDefaultDomain(oldDn) ? "" : component + ",cn=Subdomains,";
  return fitting(beginning + domain + "secAuthority=default\n", SCRATCH_SIZE);
}

std::optional<std::string> newUserDn(const std::string& ownerDn, const Lines& userEntry) {
  const std::string name = nameIn(userEntry, "principalName:", "principalname:");
  if (name.empty()) return std::nullopt;
  return dnLine("dn: principalName=" + name + ",cn=Users,", ownerDn, upTo(ownerDn, ","));
}

std::optional<std::string> newGroupDn(const std::string& ownerDn, const Lines& groupEntry) {
  const std::string name = nameIn(groupEntry, "cn:", "CN:");
  if (name.empty()) return std::nullopt;
  return dnLine("dn: cn=" + name + ",cn=Groups,", ownerDn, upTo(ownerDn, ","));
}

std::optional<std::string> newPolicyDn(const std::string& policyDn, const Lines& userEntry) {
  const std::string name = nameIn(userEntry, "principalName:", "principalname:");
  if (name.empty()) return std::nullopt;
  const size_t authority = findInAnyCase(policyDn, "secauthority");
  if (!isInDefaultDomain(policyDn) && authority == NOWHERE) throw Stopped();
  const std::string component = authority == NOWHERE ? "" : upTo(policyDn.substr(authority), ",");
  return dnLine("dn: cn=Policy,cn=Policies,principalName=" + name + ",cn=Users,", policyDn, component);
}

std::string policyContainer(const std::string& newUserDn, bool hasChangetype) {
  const size_t colon = newUserDn.find(':');
  const std::string name = withoutLeadingSpaces(newUserDn.substr(colon == NOWHERE ? 0 : colon + 1));
  return fitting("dn: cn=Policies," + name, SCRATCH_SIZE) + (hasChangetype ? "changetype: add\n" : "") +
         "objectclass: container\nobjectclass: top\ncn: Policies\n\n";
}

}  // namespace plain
