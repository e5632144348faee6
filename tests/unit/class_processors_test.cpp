#include "cache/class_processors.h"

#include "ldif/object_buffer.h"
#include "reporting/run_state.h"
#include "test_support.h"
#include "workfile/work_file_cursor.h"

namespace {

constexpr char USER[] = "dn: secAuthority=Default,cn=a\nobjectClass: secUser\n\n";
constexpr char OTHER_USER[] = "dn: secAuthority=Default,cn=b\nobjectClass: secUser\n\n";
constexpr char USERS_ENTRY[] =
    "dn: principalName=a,cn=Users,secAuthority=Default\nobjectClass: secUser\nsecAuthority: Default\nsecDN: cn=a\n\n";
constexpr char POLICY[] = "dn: cn=Policy,secAuthority=Default,cn=a\nobjectClass: secPolicy\n\n";
constexpr char POLICY_DATA[] = "dn: cn=Data,secAuthority=Default,cn=a\nobjectClass: secPolicyData\n\n";
constexpr char USER_MAP[] = "dn: cn=m,cn=Users,secAuthority=Default\nobjectClass: secMap\nsecDN: cn=a\n\n";
constexpr char GROUP[] = "dn: secAuthority=Default,cn=g\nobjectClass: secGroup\n\n";
constexpr char GROUP_MAP[] = "dn: cn=m,cn=Groups,secAuthority=Default\nobjectClass: secMap\nsecDN: cn=g\n\n";

int32_t process() {
  switch (objectClass) {
    case SECUSER_OBJECTCLASS:
      return processSecUserObjectFromTempInputLDIFFile();
    case SECPOLICYDATA_OBJECTCLASS:
      return processSecPolicyDataObjectFromTempInputLDIFFile();
    case SECPOLICY_OBJECTCLASS:
      return processSecPolicyObjectFromTempInputLDIFFile();
    case SECGROUP_OBJECTCLASS:
      return processSecGroupObjectFromTempInputLDIFFile();
    default:
      return processSecMapObjectFromTempInputLDIFFile();
  }
}

class ClassProcessors : public FreshRun {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    buildCache(1, 1);
  }
  static void openWorkFile(const std::string& contents) {
    closeStream(tifp);
    writeWorkFile(contents);
    tifp = openForUpdate("input.tmp");
  }
  static void readNext() {
    getNextObjectFromTemporaryInputLDIFFile(tifp);
    determineTheObjectsObjectClass();
  }
  static void processNext() {
    readNext();
    EXPECT_EQ(process(), 0);
  }
  // What is left in the work file once its blank lines are taken out.
  static std::string leftInWorkFile() {
    closeStream(tifp);
    const std::string contents = readFile("input.tmp");
    std::string left;
    for (size_t start = 0, end; start < contents.size(); start = end + 1) {
      end = contents.find('\n', start);
      const std::string line = contents.substr(start, end - start + 1);
      if (line.find_first_not_of(" \r\n") != std::string::npos) left += line;
    }
    return left;
  }
};

TEST_F(ClassProcessors, OpenASlotWithTheFirstEntryAndLetTheOthersJoin) {
  openWorkFile(std::string(USER) + USERS_ENTRY + USER_MAP + POLICY + POLICY_DATA);
  for (int i = 0; i < 5; i++) processNext();
  EXPECT_EQ(secUser_dn[0], "secAuthority=Default,cn=a\n");
  EXPECT_EQ(secPolicy_dn[0], "cn=Policy,secAuthority=Default,cn=a\n");
  EXPECT_EQ(secUser_dn_count, 1);
  EXPECT_EQ(next_available_secUser_dn_slot, 1);
  for (const CacheMatrix* matrix : allMatrices) {
    EXPECT_EQ(*matrix->occupied, matrix->side == USER_SIDE ? 1 : 0) << matrix->name;
  }
  EXPECT_EQ(rowLines(secUserMatrix, 0), (Lines{"dn: secAuthority=Default,cn=a\n", "objectClass: secUser\n"}));
  EXPECT_EQ(rowLines(usersSecUserMatrix, 0)[0], "dn: principalName=a,cn=Users,secAuthority=Default\n");
  EXPECT_EQ(leftInWorkFile(), "");
}

TEST_F(ClassProcessors, OpenAUsersSlotWithAnyOfItsEntries) {
  for (const char* entry : {USERS_ENTRY, POLICY, POLICY_DATA, USER_MAP}) {
    TearDown();
    SetUp();
    openWorkFile(std::string(entry) + USER);
    processNext();
    processNext();
    EXPECT_EQ(secUser_dn[0], "secAuthority=Default,cn=a\n");
    EXPECT_EQ(secUser_dn_count, 1);
    EXPECT_EQ(numberOfSecUserObjectsInObjectCache, 1);
    EXPECT_EQ(leftInWorkFile(), "");
  }
}

TEST_F(ClassProcessors, StepOverAnOwnerWithoutASlotWhenNoneIsFree) {
  openWorkFile(std::string(USER) + OTHER_USER + USER_MAP);
  for (int i = 0; i < 3; i++) processNext();
  EXPECT_EQ(numberOfSecUserObjectsInObjectCache, 1);
  EXPECT_EQ(numberOfSecMapForSecUserObjectsInObjectCache, 1);
  EXPECT_EQ(secUser_dn_count, 1);
  EXPECT_EQ(hasTheStepOverFilePositionBeenInitialized, 1);
  EXPECT_EQ(filePositionOfFirstObjectSteppedOver, static_cast<int64_t>(sizeof USER - 1));
  EXPECT_EQ(leftInWorkFile() + "\n", OTHER_USER);
}

TEST_F(ClassProcessors, GatherAGroupAndItsMap) {
  openWorkFile(std::string(GROUP_MAP) + GROUP);
  processNext();
  processNext();
  EXPECT_EQ(secGroup_dn[0], "secAuthority=Default,cn=g\n");
  EXPECT_EQ(secGroup_dn_count, 1);
  EXPECT_EQ(next_available_secGroup_dn_slot, 1);
  EXPECT_EQ(numberOfSecGroupObjectsInObjectCache, 1);
  EXPECT_EQ(numberOfSecMapForSecGroupObjectsInObjectCache, 1);
  EXPECT_EQ(secUser_dn_count, 0);
  EXPECT_EQ(leftInWorkFile(), "");
}

TEST_F(ClassProcessors, HandOutSlotsInOrder) {
  buildCache(2, 1);
  openWorkFile(std::string(OTHER_USER) + USER);
  processNext();
  processNext();
  EXPECT_EQ(secUser_dn[0], "secAuthority=Default,cn=b\n");
  EXPECT_EQ(secUser_dn[1], "secAuthority=Default,cn=a\n");
}

TEST_F(ClassProcessors, PutAUsersEntryBesideTheOrdinaryOne) {
  openWorkFile(
      "dn: principalName=a,CN=USERS,SECAUTHORITY=Default\nobjectClass: secUser\nsecAuthority: Default\n"
      "secDN: cn=a\n\n" +
      std::string(USER));
  processNext();
  processNext();
  EXPECT_EQ(numberOfUserSecUserObjectsInObjectCache, 1);
  EXPECT_EQ(numberOfSecUserObjectsInObjectCache, 1);
  EXPECT_EQ(secUser_dn_count, 1);
}

TEST_F(ClassProcessors, TellTheSideOfAMapInAnyCase) {
  openWorkFile(
      "dn: cn=m,CN=USERS,secAuthority=Default\nobjectClass: secMap\nsecDN: cn=a\n\n"
      "dn: cn=m,o=u,secAuthority=Default\nobjectClass: secMap\nsecDN: cn=Users\n\n");
  processNext();
  EXPECT_EQ(numberOfSecMapForSecUserObjectsInObjectCache, 1);
  processNext();
  EXPECT_EQ(numberOfSecMapForSecGroupObjectsInObjectCache, 1);
}

TEST_F(ClassProcessors, GatherTheNormalisedLineZero) {
  openWorkFile("dn: cn=Policy,secAuthority=Default , cn=a  \nobjectClass: secPolicy\n\n");
  processNext();
  EXPECT_EQ(secUser_dn[0], "secAuthority=Default,cn=a  \n");
  EXPECT_EQ(secPolicy_dn[0], "cn=Policy,secAuthority=Default,cn=a\n");
  EXPECT_EQ(rowLines(secPolicyMatrix, 0)[0], "dn: cn=Policy,secAuthority=Default,cn=a\n");
}

struct SecondEntryCase {
  const char* name;
  const char* entry;
};
class SecondEntry : public ClassProcessors, public testing::WithParamInterface<SecondEntryCase> {};
const SecondEntryCase secondEntryCases[] = {
    {"User", USER},          {"UsersEntry", USERS_ENTRY}, {"PolicyData", POLICY_DATA},
    {"UserMap", USER_MAP},   {"Policy", POLICY},          {"Group", GROUP},
    {"GroupMap", GROUP_MAP},
};
INSTANTIATE_CASES(SecondEntry, secondEntryCases);
TEST_P(SecondEntry, OfOneOwnerEndsTheRun) {
  openWorkFile(std::string(GetParam().entry) + GetParam().entry);
  processNext();
  readNext();
  EXPECT_FAILURE(process(), ROW_ALREADY_OCCUPIED);
}

// Work-file failures: the stream is a pipe, which has no positions, once the entry has been read.
struct WorkFileFailureCase {
  const char* name;
  const char* slotDn;  // the slot that is open; null for none, and then none is free if steppedOver
  bool steppedOver;
  const char* entry;
  std::string error;
  const char* echo;  // behind the error; null where it is free
};
class WorkFileFailure : public ClassProcessors, public testing::WithParamInterface<WorkFileFailureCase> {};

std::string deleteError(const std::string& processor, const std::string& what) {
  return processor + "ObjectFromTempInputLDIFFile():  ERROR: deleteNextObjectFromTemporaryInputLDIFFile() failed " +
         "deleting a " + what + " object.  EXITING. \n";
}
std::string stepError(const std::string& processor, const std::string& what) {
  return processor + "ObjectFromTempInputLDIFFile():  ERROR: stepOverNextObjectFromTemporaryInputLDIFFile() failed " +
         "stepping over a " + what + " object.  EXITING. \n";
}

constexpr char OWNER[] = "secAuthority=Default,cn=a\n";
constexpr char GROUP_OWNER[] = "secAuthority=Default,cn=g\n";
constexpr char USER_ECHO[] = "secUser_dn is : secAuthority=Default,cn=a\n\n";
constexpr char GROUP_ECHO[] = "secGroup_dn is : secAuthority=Default,cn=g\n\n";

const WorkFileFailureCase workFileFailureCases[] = {
    {"UserThatJoins", OWNER, false, USER, deleteError("processSecUser", "secUser"), USER_ECHO},
    {"UserThatOpens", nullptr, false, USER, deleteError("processSecUser", "secUser"), nullptr},
    {"UserThatWaits", nullptr, true, USER, stepError("processSecUser", "secUser"), nullptr},
    {"PolicyDataThatJoins", OWNER, false, POLICY_DATA, deleteError("processSecPolicyData", "secPolicyData"), USER_ECHO},
    {"PolicyDataThatOpens", nullptr, false, POLICY_DATA, deleteError("processSecPolicyData", "secPolicyData"), nullptr},
    {"PolicyDataThatWaits", nullptr, true, POLICY_DATA, stepError("processSecPolicyData", "secPolicyData"), nullptr},
    {"PolicyThatJoins", OWNER, false, POLICY, deleteError("processSecPolicy", "secPolicy"), USER_ECHO},
    {"PolicyThatOpens", nullptr, false, POLICY, deleteError("processSecPolicy", "secPolicy"), ""},
    {"PolicyThatWaits", nullptr, true, POLICY, stepError("processSecPolicy", "secPolicy"), ""},
    {"GroupThatJoins", GROUP_OWNER, false, GROUP, deleteError("processSecGroup", "secGroup"), GROUP_ECHO},
    {"GroupThatOpens", nullptr, false, GROUP, deleteError("processSecGroup", "secGroup"), ""},
    {"GroupThatWaits", nullptr, true, GROUP, stepError("processSecGroup", "secGroup"), ""},
    {"UserMapThatJoins", OWNER, false, USER_MAP, deleteError("processSecMap", "secUser"),
     "secUser_dn is: secAuthority=Default,cn=a\n \n"},
    {"UserMapThatOpens", nullptr, false, USER_MAP, deleteError("processSecMap", "secUser"), ""},
    {"UserMapThatWaits", nullptr, true, USER_MAP, stepError("processSecMap", "secUser"), ""},
    {"GroupMapThatJoins", GROUP_OWNER, false, GROUP_MAP, deleteError("processSecMap", "secUser"), ""},
    {"GroupMapThatOpens", nullptr, false, GROUP_MAP, deleteError("processSecMap", "secUser"), ""},
    {"GroupMapThatWaits", nullptr, true, GROUP_MAP, stepError("processSecMap", "secUser"), ""},
};
INSTANTIATE_CASES(WorkFileFailure, workFileFailureCases);
TEST_P(WorkFileFailure, EndsTheRun) {
  const WorkFileFailureCase& failure = GetParam();
  const bool ofGroup = failure.entry == GROUP || failure.entry == GROUP_MAP;
  const char* slotDn = failure.steppedOver ? "cn=another\n" : failure.slotDn;
  if (slotDn != nullptr) ofGroup ? openGroupSlot(slotDn) : openUserSlot(slotDn);
  openWorkFile(failure.entry);
  readNext();
  closeStream(tifp);
  tifp = streamWithoutPositions();
  startTrace();
  EXPECT_EXIT((echoToFile(), process()), testing::ExitedWithCode(255),
              positionFailureThen("fgetpos", PROCESSING_FAILED));
  expectTraced({failure.error});
  if (failure.echo != nullptr) {
    EXPECT_EQ(echoed(), failure.error + failure.echo);
  } else {
    EXPECT_EQ(echoed().substr(0, failure.error.size()), failure.error);
  }
}

TEST_F(ClassProcessors, StopWhenTheWorkFileCannotBeWritten) {
  openWorkFile(GROUP);
  makeWritesFail(tifp);
  readNext();
  EXPECT_FAILURE(process(), PROCESSING_FAILED);
}

struct MemoryCase {
  const char* name;
  const char* entry;
};
class OwnersMemory : public ClassProcessors, public testing::WithParamInterface<MemoryCase> {};
const MemoryCase memoryCases[] = {
    {"User", USER},   {"UsersEntry", USERS_ENTRY}, {"PolicyData", POLICY_DATA}, {"Policy", POLICY},
    {"Group", GROUP}, {"UserMap", USER_MAP},       {"GroupMap", GROUP_MAP},
};
INSTANTIATE_CASES(OwnersMemory, memoryCases);
TEST_P(OwnersMemory, IsNeeded) {
  openWorkFile(GetParam().entry);
  readNext();
  exhaustMemoryIn([] { process(); });
}

// The lines of a trace message behind its first one.
const std::string INDENT(45, ' ');

class MapTrace : public ClassProcessors {
 protected:
  static void traceNext() {
    readNext();
    startTrace();
    EXPECT_EQ(process(), 0);
  }
};

const std::string MAP = "processSecMapObjectFromTempInputLDIFFile():  ";

TEST_F(MapTrace, FollowsAMapThatOpensAUsersSlot) {
  openWorkFile(USER_MAP);
  traceNext();
  expectTraced({MAP + "FUNCTION ENTRY \n", MAP + "The object array is: \n",
                "object[0] = dn: cn=m,cn=Users,secAuthority=Default\n ", "object[1] = objectClass: secMap\n ",
                MAP + "secMap is associated with a secUser \n",
                MAP + "learnIndexOfAssociatedSecUserDN() returned index = -1 \n",
                MAP + "The secUser DN was NOT FOUND! \n", INDENT + "This is the first entry for this secUser. \n",
                MAP + "A slot IS AVAILABLE for this secUser/secMap \n",
                INDENT + "next_available_secUser_dn_slot = 0 \n", MAP + "The next_available_secUser_dn_slot is 0 \n",
                INDENT + "Added the following entry to the secUser_dn array.\n",
                INDENT + "secUser_dn[0] = secAuthority=Default,cn=a\n",
                INDENT + "Calling moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix( 0 ) \n",
                MAP + "Deleting this secMap object from the temporary input LDIF file \n", MAP + "FUNCTION EXIT. \n",
                MAP + "The object array is:\n"});
}

TEST_F(MapTrace, FollowsAMapThatJoinsAUser) {
  openWorkFile(std::string(USER) + USER_MAP);
  processNext();
  traceNext();
  expectTraced({MAP + "learnIndexOfAssociatedSecUserDN() returned index = 0 \n",
                MAP + "The secUser DN was FOUND in the secUser_dn array! \n",
                INDENT + "secUser_dn = secAuthority=Default,cn=a\n \n",
                INDENT + "Calling moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix( 0 ) \n",
                INDENT + "Calling deleteNextObjectFromTemporaryInputLDIFFile \n", MAP + "FUNCTION EXIT. \n"});
}

TEST_F(MapTrace, FollowsAMapOfAUserThatWaits) {
  openUserSlot("cn=another\n");
  openWorkFile(USER_MAP);
  traceNext();
  expectTraced({MAP + "The secUser DN was NOT FOUND! \n", MAP + "A slot IS NOT AVAILABLE for this secUser/secMap \n",
                INDENT + "next_available_secUser_dn_slot = 1 \n",
                INDENT + "Stepping over this secMap object in the temporary input LDIF file \n",
                MAP + "FUNCTION EXIT. \n", MAP + "The object array is:\n",
                "object[0] = dn: cn=m,cn=Users,secAuthority=Default\n "});
}

TEST_F(MapTrace, FollowsAMapThatOpensAGroupsSlot) {
  openWorkFile(GROUP_MAP);
  traceNext();
  expectTraced({MAP + "secMap is associated with a secGroup \n",
                MAP + "learnIndexOfAssociatedSecGroupDN() returned index = -1 \n",
                INDENT + "This is the first entry for this secGroup. \n",
                MAP + "A slot IS AVAILABLE for this secGroup/secMap \n",
                INDENT + "next_available_secGroup_dn_slot = 0 \n",
                INDENT + "Added the following entry to the secGroup_dn array.\n",
                INDENT + "secGroup_dn[0] = secAuthority=Default,cn=g\n",
                INDENT + "Calling moveSecMapForSecGroupObjectFromObjectArrayToSecGroupForSecUserMatrix( 0 ) \n",
                MAP + "FUNCTION EXIT. \n"});
}

TEST_F(MapTrace, FollowsAMapThatJoinsAGroup) {
  openWorkFile(std::string(GROUP) + GROUP_MAP);
  processNext();
  traceNext();
  expectTraced({MAP + "learnIndexOfAssociatedSecGroupDN() returned index = 0 \n",
                MAP + "The secGroup DN was FOUND in the secGroup_dn array! \n",
                INDENT + "secGroup_dn = secAuthority=Default,cn=g\n",
                INDENT + "Calling moveSecMapForSecGroupObjectFromObjectArrayToSecMapForSecGroupMatrix( 0 ) \n",
                INDENT + "Calling deleteNextObjectFromTemporaryInputLDIFFile() \n"});
}

TEST_F(MapTrace, FollowsAMapOfAGroupThatWaits) {
  openGroupSlot("cn=another\n");
  openWorkFile(GROUP_MAP);
  traceNext();
  expectTraced(
      {MAP + "A slot IS NOT AVAILABLE for this secGroup/secMap \n", INDENT + "next_available_secGroup_dn_slot = 1 \n"});
}

TEST_F(ClassProcessors, TraceTheirEntryAndExit) {
  openWorkFile(std::string(USER) + POLICY_DATA + POLICY + GROUP);
  for (const char* name : {"processSecUser", "processSecPolicyData", "processSecPolicy", "processSecGroup"}) {
    readNext();
    startTrace();
    process();
    expectTraced({std::string(name) + "ObjectFromTempInputLDIFFile():  FUNCTION ENTRY. \n",
                  std::string(name) + "ObjectFromTempInputLDIFFile():  FUNCTION EXIT. \n"});
  }
}

}  // namespace
