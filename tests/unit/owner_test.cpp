#include "rules/owner.h"

#include "test_support.h"

namespace {

std::vector<Line> scanned(const Lines& texts) {
  std::vector<Line> lines;
  for (const std::string& text : texts) lines.push_back(scanLine(text));
  return lines;
}

struct OwnerCase {
  const char* name;
  EntryKind kind;
  Lines lines;
  const char* computed;
  const char* key;
  const char* saved;
  const char* firstLine;
};
class OwnerOf : public testing::TestWithParam<OwnerCase> {};
constexpr char USERS_DN[] = "dn: principalName=a,cn=Users,secAuthority=Default\n";
constexpr char MAP_DN[] = "dn: cn=m,cn=Users , secAuthority=Sales ,o=b\n";
constexpr char GROUP_MAP_DN[] = "dn: cn=m,cn=Groups,secAuthority=Sales ,o=b\n";
const OwnerCase ownerCases[] = {
    {"User", SECUSER_KIND, {"dn: cn=a,o=b\n"}, "cn=a,o=b\n", "cn=a,o=b\n", "cn=a,o=b\n", "dn: cn=a,o=b\n"},
    {"UserWithBlanks",
     SECUSER_KIND,
     {"dn:  cn=a ,  o=b \t\n"},
     "cn=a ,  o=b \t\n",
     "cn=a,o=b\n",
     "cn=a,o=b \t\n",
     "dn:  cn=a,o=b\n"},
    {"UserWithACarriageReturn", SECUSER_KIND, {"dn: cn=a\r\n"}, "cn=a\r\n", "cn=a\n", "cn=a\r\n", "dn: cn=a\n"},
    {"UsersEntry",
     USERS_SECUSER_KIND,
     {USERS_DN, "secAuthority: Sales\n", "secDN: cn=a , o=b \n"},
     "secAuthority=Sales,cn=a,o=b ",
     "secAuthority=Sales,cn=a,o=b\n",
     "secAuthority=Sales,cn=a,o=b\n",
     USERS_DN},
    {"UsersEntryWithFoldedValues",
     USERS_SECUSER_KIND,
     {USERS_DN, "secAuthority: Sa\n", " les:x\n", "secDN: cn=a,\n", "  o=b\n"},
     "secAuthority=Sales,cn=a,o=b",
     "secAuthority=Sales,cn=a,o=b\n",
     "secAuthority=Sales,cn=a,o=b\n",
     USERS_DN},
    {"Policy",
     SECPOLICY_KIND,
     {"dn: cn=Policy , cn=a , o=b \n"},
     " cn=a , o=b \n",
     " cn=a,o=b\n",
     " cn=a,o=b \n",
     "dn: cn=Policy , cn=a,o=b\n"},
    {"PolicyData", SECPOLICYDATA_KIND, {"dn: cn=Data,cn=a\n"}, "cn=a\n", "cn=a\n", "cn=a\n", "dn: cn=Data,cn=a\n"},
    {"PolicyBehindAComma", SECPOLICY_KIND, {"dn: ,\n"}, "\n", "\n", "\n", "dn: ,\n"},
    {"MapOfAUser",
     MAP_OF_USER_KIND,
     {MAP_DN, "secDN: cn=a , o=b \n"},
     "secAuthority=Sales ,cn=a,o=b ",
     "secAuthority=Sales,cn=a,o=b\n",
     "secAuthority=Sales,cn=a,o=b\n",
     MAP_DN},
    {"Group",
     SECGROUP_KIND,
     {"dn: cn=a , o=b \n"},
     "cn=a , o=b \n",
     "cn=a , o=b\n",
     "cn=a , o=b \n",
     "dn: cn=a , o=b\n"},
    {"GroupInOrder", SECGROUP_KIND, {"dn: cn=a,o=b\n"}, "cn=a,o=b\n", "cn=a,o=b\n", "cn=a,o=b\n", "dn: cn=a,o=b\n"},
    {"MapOfAGroup",
     MAP_OF_GROUP_KIND,
     {GROUP_MAP_DN, "secDN: cn=a , o=b \n"},
     "secAuthority=Sales ,cn=a,o=b ",
     "secAuthority=Sales ,cn=a,o=b\n",
     "secAuthority=Sales ,cn=a,o=b\n",
     GROUP_MAP_DN},
};
INSTANTIATE_CASES(OwnerOf, ownerCases);
TEST_P(OwnerOf, IsWorkedOut) {
  const std::vector<Line> entry = scanned(GetParam().lines);
  Texts texts;
  const Owner owner = ownerOf(entry, GetParam().kind, texts, nullptr);
  EXPECT_EQ(owner.problem, NO_DETAIL);
  EXPECT_EQ(owner.computed, GetParam().computed);
  EXPECT_EQ(owner.key, GetParam().key);
  EXPECT_EQ(owner.saved, GetParam().saved);
  EXPECT_EQ(owner.firstLine, GetParam().firstLine);
  for (size_t i = 0; i < entry.size(); i++) EXPECT_EQ(entry[i].view(), GetParam().lines[i]);
}

struct ProblemCase {
  const char* name;
  EntryKind kind;
  Lines lines;
  DetailText problem;
  const char* shownDn;
};
class UnknownOwner : public testing::TestWithParam<ProblemCase> {};
const std::string LONG_DN = "secDN: " + std::string(SAVED_DN_SIZE, 'x') + "\n";
const ProblemCase problemCases[] = {
    {"UserWithoutADn", SECUSER_KIND, {"dn: \n"}, NO_DETAIL, ""},
    {"UserWithTheTagAlone", SECUSER_KIND, {"dn:"}, INCOMPLETE_DN, ""},
    {"UserWithATagTooShort", SECUSER_KIND, {"a:\n"}, INCOMPLETE_DN, ""},
    {"UserWithoutALineEnd", SECUSER_KIND, {"dn: cn=a"}, INCOMPLETE_DN, ""},
    {"GroupWithoutALineEnd", SECGROUP_KIND, {"dn: cn=a"}, INCOMPLETE_DN, ""},
    {"PolicyWithoutALineEnd", SECPOLICY_KIND, {"dn: cn=a,o=b"}, INCOMPLETE_DN, ""},
    {"PolicyWithoutAComma", SECPOLICY_KIND, {"dn: cn=a\n"}, DN_WITHOUT_COMMA, ""},
    {"PolicyDataWithoutAComma", SECPOLICYDATA_KIND, {"dn: cn=a\n"}, DN_WITHOUT_COMMA, ""},
    {"UsersEntryWithoutAuthority", USERS_SECUSER_KIND, {USERS_DN, "secDN: cn=a\n"}, USERS_ENTRY_WITHOUT_AUTHORITY, ""},
    {"UsersEntryWithoutSecDn", USERS_SECUSER_KIND, {USERS_DN, "secAuthority: a\n"}, USERS_ENTRY_WITHOUT_DN, ""},
    {"UsersEntryWithNeither", USERS_SECUSER_KIND, {USERS_DN}, USERS_ENTRY_WITHOUT_AUTHORITY, ""},
    {"UsersEntryWithALongDn", USERS_SECUSER_KIND, {USERS_DN, "secAuthority: a\n", LONG_DN}, OWNER_DN_TOO_LONG, ""},
    {"MapWithoutDn", MAP_OF_USER_KIND, {"x: a\n", "y: b\n"}, INCOMPLETE_DN, ""},
    {"MapWithoutAuthority", MAP_OF_USER_KIND, {"dn: cn=m\n", "secDN: cn=a\n"}, MAP_WITHOUT_AUTHORITY, "cn=m"},
    {"MapWithoutSecDn", MAP_OF_GROUP_KIND, {"dn: cn=m,secAuthority=a\n"}, MAP_WITHOUT_DN, "cn=m,secAuthority=a"},
    {"MapWithNeither", MAP_OF_GROUP_KIND, {"dn: cn=m\n"}, MAP_WITHOUT_AUTHORITY, "cn=m"},
    {"MapWithALongDn", MAP_OF_USER_KIND, {"dn: secAuthority=a\n", LONG_DN}, OWNER_DN_TOO_LONG, ""},
};
INSTANTIATE_CASES(UnknownOwner, problemCases);
TEST_P(UnknownOwner, HasItsProblem) {
  const std::vector<Line> entry = scanned(GetParam().lines);
  Texts texts;
  const Owner owner = ownerOf(entry, GetParam().kind, texts, nullptr);
  EXPECT_EQ(owner.problem, GetParam().problem);
  EXPECT_EQ(owner.shownDn, GetParam().shownDn);
}

struct CaseOfName {
  const char* name;
  EntryKind kind;
  const char* line;
  bool isFound;
};
class SecDnInAValue : public testing::TestWithParam<CaseOfName> {};
const CaseOfName namesInValues[] = {
    {"LowerCaseOnTheUserSide", MAP_OF_USER_KIND, "text: see secdn: cn=a\n", true},
    {"LowerCaseOnTheGroupSide", MAP_OF_GROUP_KIND, "text: see secdn: cn=a\n", true},
    {"MixedCaseOnTheUserSide", MAP_OF_USER_KIND, "text: see secDN: cn=a\n", false},
    {"MixedCaseOnTheGroupSide", MAP_OF_GROUP_KIND, "text: see secDN: cn=a\n", false},
};
INSTANTIATE_CASES(SecDnInAValue, namesInValues);
TEST_P(SecDnInAValue, HasToStandInLowerCase) {
  const std::vector<Line> entry = {scanLine("dn: secAuthority=b\n"), scanLine(GetParam().line)};
  Texts texts;
  const Owner owner = ownerOf(entry, GetParam().kind, texts, nullptr);
  EXPECT_EQ(owner.problem, GetParam().isFound ? NO_DETAIL : MAP_WITHOUT_DN);
}

TEST(LongestOwner, HasOneCharacterLessThanTheRoomForIt) {
  const auto problemOf = [](size_t length) {
    const std::string line = "secDN: " + repeated(length, "x") + "\n";
    const std::vector<Line> entry = {scanLine("dn: secAuthority=a\n"), scanLine(line)};
    Texts texts;
    return ownerOf(entry, MAP_OF_USER_KIND, texts, nullptr).problem;
  };
  // "secAuthority=a," before it, a newline and the closing NUL behind it.
  EXPECT_EQ(problemOf(SAVED_DN_SIZE - 15 - 2), NO_DETAIL);
  EXPECT_EQ(problemOf(SAVED_DN_SIZE - 15 - 1), OWNER_DN_TOO_LONG);
}

std::string shownSteps;
void keepStep(const char* format, ...) { shownSteps += format; }

TEST(OwnerOfAMap, IsShownAsItIsWorkedOut) {
  const std::vector<Line> entry = {scanLine("dn: secAuthority=a\n"), scanLine("secDN: b\n")};
  Texts texts;
  shownSteps.clear();
  ownerOf(entry, MAP_OF_USER_KIND, texts, keepStep);
  EXPECT_EQ(shownSteps.find("   The input object is a %s object \n   Its DN is  %.*s"), 0u);
  EXPECT_NE(shownSteps.find("    Seeking the value of attribute:  %.*s\n"), std::string::npos);
}

}  // namespace
