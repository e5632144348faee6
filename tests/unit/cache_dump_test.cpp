#include "output/cache_dump.h"

#include "reporting/reporting.h"
#include "test_support.h"

namespace {

class CacheDump : public FreshRun {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    buildCache(3, 3);
  }
  static std::string dump() {
    startTrace();
    dumpData();
    return traced();
  }
  static size_t count(const std::string& text, const std::string& part) {
    size_t found = 0;
    for (size_t place = text.find(part); place != std::string::npos; place = text.find(part, place + 1)) found++;
    return found;
  }
};

TEST_F(CacheDump, WritesNothingWhileTracingIsOff) {
  openUserSlot("a\n");
  startTrace();
  debug = 0;
  dumpData();
  EXPECT_EQ(traced(), "");
}

TEST_F(CacheDump, ShowsTheCountersOfAnEmptyCache) {
  const std::string trace = dump();
  expectTraced(
      {"\n\n\n/*************************************************************/ \n"
       "\ndumpData():  FUNCTION ENTRY \n"
       "/************* THE DATA BELOW IS THE DATA BEFORE *************/ \n"
       "/************* IT HAS BEEN MODIFIED OR COPIED TO *************/ \n"
       "/************* THE OUTPUT FILE.                  *************/ \n",
       "\ndumpData() - secUser_dn_count                             = 0 \n",
       "dumpData() - numberOfSecUserObjectsInObjectCache          = 0 \n",
       "dumpData() - numberOfSecPolicyDataObjectsInObjectCache    = 0 \n",
       "dumpData() - numberOfSecMapForSecUserObjectsInObjectCache = 0 \n",
       "dumpData() - numberOfUserSecUserObjectsInObjectCache      = 0 \n",
       "dumpData() - numberOfSecPolicyObjectsInObjectCache        = 0 \n",
       "dumpData() - next_available_secUser_dn_slot               = 0 \n",
       "/*************** END   DUMP OF USER  DATA ABOVE **************/ \n"
       "/*************** BEGIN DUMP OF GROUP DATA BELOW **************/ \n",
       "\ndumpData() - secGroup_dn_count                             = 0 \n",
       "dumpData() - numberOfSecGroupObjectsInObjectCache          = 0 \n",
       "dumpData() - numberOfSecMapForSecGroupObjectsInObjectCache = 0 \n",
       "dumpData() - next_available_secGroup_dn_slot               = 0 \n",
       "/*************** END   DUMP OF GROUP DATA ABOVE **************/ \n"
       "dumpData():  FUNCTION EXIT \n\n"
       "/*************************************************************/ \n\n\n\n"});
  EXPECT_EQ(count(trace, "BEGIN NEW"), 0u);
}

TEST_F(CacheDump, ShowsAUserOfOneEntry) {
  openUserSlot("cn=a\n");
  fillRow(secUserMatrix, 0, {"dn: a\n", "cn: 1\n"});
  dump();
  expectTraced({"dumpData() - secUser_dn_count                             = 1 \n",
                "dumpData() - numberOfSecUserObjectsInObjectCache          = 1 \n",
                "----------------- BEGIN NEW USER --------------------------------------\n"
                "\ndumpData() - secUser_dn[0] = cn=a\n \n",
                "dumpData() - secUser_matrix[0][0] = dn: a\n"
                "dumpData() - secUser_matrix[0][1] = cn: 1\n\n",
                "\ndumpData() - No \"Users\" secUser entry for this secUser. \n\n",
                "\ndumpData() - secPolicyData_matrix[0][0] was NULL \n\n",
                "\ndumpData() - No secPolicy DN for this user. \n\n", "\ndumpData() - No secPolicy for this user. \n\n",
                "\ndumpData() - secMapForSecUser_matrix[0][0] was NULL \n\n", "END   DUMP OF USER  DATA ABOVE"});
}

TEST_F(CacheDump, ShowsAUserOfAllButItsOwnEntry) {
  openUserSlot("cn=a\n");
  openUserSlot("cn=b\n");
  secUser_dn[1] = {};
  setDn(secPolicy_dn, 1, "cn=p\n");
  fillRow(usersSecUserMatrix, 1, {"dn: u\n"});
  fillRow(secPolicyDataMatrix, 1, {"dn: d\n"});
  fillRow(secPolicyMatrix, 1, {"dn: p\n", "cn: p\n"});
  fillRow(secMapForSecUserMatrix, 1, {"dn: m\n"});
  dump();
  expectTraced({"dumpData() - secUser_dn[0] = cn=a\n \n", "BEGIN NEW USER", "\ndumpData() - secUser_dn[1] was NULL \n",
                "\ndumpData() - secUser_matrix[1][0] was NULL \n",
                "dumpData() - Users_secUser_matrix[1][0] = dn: u\n\n",
                "dumpData() - secPolicyData_matrix[1][0] = dn: d\n\n", "\ndumpData() - secPolicy_dn[1] = cn=p\n \n",
                "dumpData() - secPolicy_matrix[1][0] = dn: p\ndumpData() - secPolicy_matrix[1][1] = cn: p\n\n",
                "dumpData() - secMap_for_secUser_matrix[1][0] = dn: m\n\n"});
}

TEST_F(CacheDump, ShowsGroups) {
  openGroupSlot("cn=g\n");
  openGroupSlot("cn=h\n");
  secGroup_dn[1] = {};
  fillRow(secGroupMatrix, 0, {"dn: g\n", "cn: g\n"});
  fillRow(secMapForSecGroupMatrix, 0, {"dn: m\n"});
  dump();
  expectTraced({"dumpData() - secGroup_dn_count                             = 2 \n",
                "\n----------------- BEGIN NEW GROUP -----------------------------------\n"
                "\ndumpData() - secGroup_dn[0] = cn=g\n \n",
                "dumpData() - secGroup_matrix[0][0] = dn: g\ndumpData() - secGroup_matrix[0][1] = cn: g\n\n",
                "dumpData() - secMap_for_secGroup_matrix[0][0] = dn: m\n\n",
                "\n----------------- BEGIN NEW GROUP -----------------------------------\n",
                "\ndumpData() - secGroup_dn[1] was NULL \n\n", "\ndumpData() - secGroup_matrix[1][0] was NULL \n\n",
                "\ndumpData() - secMap_for_secGroup_matrix[1][0] was NULL \n\n"});
}

struct LongRowCase {
  const char* name;
  const CacheMatrix* matrix;
  size_t lines;  // of the entry in slot 0
  Lines behind;  // lines that are shown behind them
};
class DumpOfALongRow : public CacheDump, public testing::WithParamInterface<LongRowCase> {};
const LongRowCase longRowCases[] = {
    {"Of48LinesEndsBeforeTheNext", &secUserMatrix, 48, {}},
    {"Of49LinesEndsBeforeTheNext", &secUserMatrix, 49, {}},
    {"Of50LinesGoesOnInTheNext", &secUserMatrix, 50, {"dn: b\n", "c: 1\n"}},
    {"OfAPolicyOf498LinesEndsBeforeTheNext", &secPolicyMatrix, 498, {}},
    {"OfAPolicyOf499LinesEndsBeforeTheNext", &secPolicyMatrix, 499, {}},
    {"OfAPolicyOf500LinesGoesOnInTheNext", &secPolicyMatrix, 500, {"dn: b\n", "c: 1\n"}},
};
INSTANTIATE_CASES(DumpOfALongRow, longRowCases);
TEST_P(DumpOfALongRow, IsShownUpToItsEnd) {
  const CacheMatrix& matrix = *GetParam().matrix;
  openUserSlot("cn=a\n");
  openUserSlot("cn=b\n");
  fillRow(matrix, 1, {"dn: b\n", "c: 1\n"});
  Lines lines = {"dn: a\n"};
  while (lines.size() < GetParam().lines) lines.push_back("b: " + std::to_string(lines.size()) + "\n");
  fillRow(matrix, 0, lines);
  lines.insert(lines.end(), GetParam().behind.begin(), GetParam().behind.end());
  std::string expected;
  for (size_t i = 0; i < lines.size(); i++)
    expected += "dumpData() - " + std::string(matrix.name) + "[0][" + std::to_string(i) + "] = " + lines[i];
  const std::string next = "dumpData() - " + std::string(matrix.name) + "[1][0] = dn: b\ndumpData() - ";
  dump();
  expectTraced({"BEGIN NEW USER", expected + "\n", "BEGIN NEW USER", next + matrix.name + "[1][1] = c: 1\n\n"});
}

struct OverrunCase {
  const char* name;
  const CacheMatrix* matrix;
  size_t over;  // lines that the entry has more than a row
  Lines rest;   // what the next row holds
};
class DumpOfAnOverrun : public CacheDump, public testing::WithParamInterface<OverrunCase> {};
const OverrunCase overrunCases[] = {
    {"Of51Lines", &secUserMatrix, 1, {"b: 50\n"}},
    {"Of52Lines", &secUserMatrix, 2, {"b: 50\n", "b: 51\n"}},
    {"OfAPolicyOf501Lines", &secPolicyMatrix, 1, {"b: 500\n"}},
    {"OfAPolicyOf502Lines", &secPolicyMatrix, 2, {"b: 500\n", "b: 501\n"}},
};
INSTANTIATE_CASES(DumpOfAnOverrun, overrunCases);
TEST_P(DumpOfAnOverrun, IsShownWithBothRows) {
  const CacheMatrix& matrix = *GetParam().matrix;
  const size_t width = static_cast<size_t>(matrix.columns);
  openUserSlot("cn=a\n");
  openUserSlot("cn=b\n");
  Lines lines = {"dn: a\n"};
  while (lines.size() < width + GetParam().over) lines.push_back("b: " + std::to_string(lines.size()) + "\n");
  fillRow(matrix, 0, lines);
  const std::string name = "dumpData() - " + std::string(matrix.name);
  std::string first, second;
  for (size_t i = 0; i < lines.size(); i++) first += name + "[0][" + std::to_string(i) + "] = " + lines[i];
  for (size_t i = 0; i < GetParam().rest.size(); i++)
    second += name + "[1][" + std::to_string(i) + "] = " + GetParam().rest[i];
  dump();
  expectTraced({"BEGIN NEW USER", first + "\n", "BEGIN NEW USER", second + "\n"});
}

TEST_F(CacheDump, VisitsSlotsInUseOnly) {
  openUserSlot("cn=a\n");
  openGroupSlot("cn=g\n");
  fillRow(secUserMatrix, 1, {"dn: not in use\n"});
  const std::string trace = dump();
  EXPECT_EQ(count(trace, "BEGIN NEW USER"), 1u);
  EXPECT_EQ(count(trace, "BEGIN NEW GROUP"), 1u);
  EXPECT_EQ(count(trace, "not in use"), 0u);
  EXPECT_EQ(secUser_dn_count, 1);
}

}  // namespace
