// A program of the rules alone: that it links is what is tested. It follows a user's entries to the record.

#include <cstdio>
#include <string>
#include <vector>

#include "rules/adjustments.h"
#include "rules/dropped_lines.h"
#include "rules/line_scan.h"
#include "rules/merge.h"
#include "rules/new_dn.h"
#include "rules/object_class.h"
#include "rules/owner.h"

static bool isAsExpected(const char* what, std::string_view found, std::string_view expected) {
  if (found == expected) return true;
  fprintf(stderr, "%s: %.*s, not %.*s\n", what, SHOWN(found), SHOWN(expected));
  return false;
}

static std::vector<Line> linesOf(std::string_view text) {
  std::vector<Line> lines;
  LineScan scan = scanOf(text);
  for (Line line; takeEntryLines(scan, false, &line, 1) == 1;) lines.push_back(line);
  return lines;
}

// The record's new DN.
static std::string_view newDnOf(const std::vector<Line>& user, const Owner& owner, Texts& texts) {
  for (const Line& line : user) {
    const std::string_view name = withoutLineEnd(nameIn(line, USER_SIDE));
    if (!name.empty()) return newDnOf(NEW_USER_DN, name, subdomainOf(NEW_USER_DN, owner.saved), texts);
  }
  return {};
}

// The record's lines behind it.
static std::string merged(std::vector<Line>& user, std::vector<Line>& map) {
  std::vector<Line> room(user.size() + map.size());
  MergedEntry entry = {room.data(), static_cast<int32_t>(room.size())};
  if (mergeEntries(user, map, entry).line != nullptr) return "a line without a colon";
  std::string record;
  for (int32_t i = 1; i < entry.count; ++i)
    if (!isDropped(entry.lines[i], MERGED)) record += entry.lines[i].view();
  return record;
}

int main() {
  Texts texts;
  std::vector<Line> user = linesOf(
      "dn: secAuthority=Sales, cn=a\n# comment\nobjectclass: secUser\nprincipalName: jdoe\nsecuuid: 1\nacl: 2\n");
  std::vector<Line> map = linesOf("dn: cn=m,cn=Users,secAuthority=Sales\nobjectclass: secMap\nsecDN: cn=a\n");

  const Adjustment uuid = renameUuid(user, texts);
  bool isRight = isAsExpected("UUID", uuid.text, "secUUID: 1\n");
  if (isRight) user[static_cast<size_t>(uuid.line)] = scanLine(uuid.text);

  const bool areClassesRight = classOf(user) == SECUSER_OBJECTCLASS && classOf(map) == SECMAP_OBJECTCLASS;
  isRight = isAsExpected("classes", areClassesRight ? "right" : "wrong", "right") && isRight;

  const Owner owner = ownerOf(user, kindOf(classOf(user), user[0].view()), texts, nullptr);
  const Owner ownerOfMap = ownerOf(map, kindOf(classOf(map), map[0].view()), texts, nullptr);
  isRight = isAsExpected("owner", owner.key, "secAuthority=Sales,cn=a\n") && isRight;
  isRight = isAsExpected("owner of the map", ownerOfMap.key, owner.key) && isRight;

  const std::string_view dn = newDnOf(user, owner, texts);
  isRight = isAsExpected("new DN", dn,
                         "dn: principalName=jdoe,cn=Users,secAuthority=Sales,cn=Subdomains,secAuthority=default\n") &&
            isRight;
  isRight = isAsExpected("record", merged(user, map),
                         "objectclass: secUser\nprincipalName: jdoe\nsecUUID: 1\nsecDN: cn=a\n") &&
            isRight;
  return isRight ? 0 : 1;
}
