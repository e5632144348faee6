#include "output/cache_dump.h"

#include "ldif/line_memory.h"
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
  freeLine(secUser_dn[1]);
  secUser_dn[1] = nullptr;
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
  freeLine(secGroup_dn[1]);
  secGroup_dn[1] = nullptr;
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
