#include "ldif/oversized_object_copy.h"

#include "ldif/line_reader.h"
#include "reporting/run_state.h"
#include "test_support.h"

namespace {

class OversizedObjectCopy : public FreshRun {
 protected:
  void openFiles(const std::string& input) {
    writeFile("input", input);
    ifp = openForUpdate("input");
    ofp = openToCreate("output.ldif");
  }
};

struct CopyCase {
  const char* name;
  std::string input;
  std::string output;
  std::string nextLine;  // where the input is left
};
class CopyOf : public OversizedObjectCopy, public testing::WithParamInterface<CopyCase> {};
const CopyCase copyCases[] = {
    {"BlankLinesBeforeItAreSkipped", "\n \r\ndn: a\n\nnext\n", "dn: a\n\n", "next\n"},
    {"CommentsAreDropped", "# c\n\n# d\ndn: a\n# e\nb: 1\n\nnext\n", "dn: a\nb: 1\n\n", "next\n"},
    {"EntryUuidsAreDropped", "dn: a\nXOQ-ENTRYUUID: 1\nxoq-entryuuid:2\ntext: xoq-entryuuid: 3\nb: 1\n\n",
     "dn: a\nb: 1\n\n", ""},
    {"EntryUuidInMixedCaseStays", "dn: a\nxoq-EntryUUID: 1\n\n", "dn: a\nxoq-EntryUUID: 1\n\n", ""},
    {"AccessControlStays", "dn: a\naci: 1\naclentry: 2\n\n", "dn: a\naci: 1\naclentry: 2\n\n", ""},
    {"LinesStayAsTheyAre", "dn: a\r\n b\r\n\r\nnext\n", "dn: a\r\n b\r\n\n", "next\n"},
    {"LongLineComesOutWhole", "x: " + repeated(5000, "x") + "\n\n", "x: " + repeated(5000, "x") + "\n\n", ""},
    {"EndOfTheFileGetsNoBlankLine", "dn: a\nb: 1\n", "dn: a\nb: 1\n", ""},
    {"EntryUuidStartsTheEntry", "xoq-entryuuid: 1\n\nnext\n", "\n", "next\n"},
};
INSTANTIATE_CASES(CopyOf, copyCases);
TEST_P(CopyOf, AnEntry) {
  openFiles(GetParam().input);
  moveNextObjectToOutputLDIFFile();
  getNextLine(nextLine, ifp);
  EXPECT_EQ(nextLine, GetParam().nextLine);
  closeStream(ofp);
  EXPECT_EQ(readFile("output.ldif"), GetParam().output);
}

TEST_F(OversizedObjectCopy, TracesEveryLine) {
  openFiles("\n# c\ndn: a\n\n");
  startTrace();
  moveNextObjectToOutputLDIFFile();
  const std::string name = "moveNextObjectToOutputLDIFFile():  ";
  expectTraced({name + "FUNCTION ENTRY \n", "\n" + name + "THE LINE READ WAS: \n   \n",
                "This is a BLANK line which precedes the next object.  \n",
                "\n" + name + "THE LINE READ WAS: # c\n   \n", "This is a COMMENT which will be discarded.  \n",
                "\n" + name + "THE LINE READ WAS: dn: a\n   \n", name + "Writing this line to the output LDIF file. \n",
                "\n" + name + "THE LINE READ WAS: \n   \n", "This is a BLANK line which terminates the object.  \n",
                name + "Writing a blank line between objects \n", name + "FUNCTION EXIT   \n"});
}

TEST_F(OversizedObjectCopy, StopsWhenALineCannotBeWritten) {
  openFiles("dn: a\n\n");
  closeStream(ofp);
  ofp = streamThatCannotBeWritten();
  startTrace();
  EXPECT_EXIT(moveNextObjectToOutputLDIFFile(), testing::ExitedWithCode(255),
              failureMessage(WRITE_FAILED, "output.ldif"));
  expectTraced({"moveNextObjectToOutputLDIFFile():  fputs() failed with rc=-1 \n"});
}

TEST_F(OversizedObjectCopy, StopsWhenTheEmptyLineCannotBeWritten) {
  openFiles("xoq-entryuuid: 1\n\n");
  closeStream(ofp);
  ofp = streamThatCannotBeWritten();
  startTrace();
  EXPECT_EXIT(moveNextObjectToOutputLDIFFile(), testing::ExitedWithCode(255),
              failureMessage(WRITE_FAILED, "output.ldif"));
  expectTraced({"moveNextObjectToOutputLDIFFile():  fputs() failed with rc=-1 \n"});
}

}  // namespace
