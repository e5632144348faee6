#include "platform/composed_text.h"

#include <unistd.h>

#include <cstring>

#include "platform/message_codes.h"
#include "platform/message_service.h"
#include "test_support.h"

namespace {

// Each test speaks German in a process of its own, which has spoken no other language before.
class German : public FreshRun {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    setenv("NLSPATH", GERMAN_CATALOGUE, 1);
    setenv("LC_ALL", "C.UTF-8", 1);
  }
  void TearDown() override {
    unsetenv("LC_ALL");
    unsetenv("NLSPATH");
    GTEST_FLAG_SET(death_test_style, "fast");
    FreshRun::TearDown();
  }
  static void issue(MessageCode code, const char* argument = nullptr) {
    zr_printf_utf8(code, argument);
    _exit(0);
  }
  static void show(DetailText text, std::initializer_list<MessageValue> values) {
    char buffer[400];
    composeText(buffer, sizeof buffer, [&](ComposedText& composed) {
      appendText(composed, text, {values.begin(), values.size()});
    });
    fputs(buffer, stderr);
    _exit(0);
  }
};
#define EXPECT_SHOWN(statement, shown) EXPECT_EXIT(statement, testing::ExitedWithCode(0), shown)

TEST_F(German, TellsWhatAMessageConcernsAndItsReason) {
  messageSubject = "dn: cn=\u00e4\n";
  failWith(CHANGED_BY_OTHERS);
  EXPECT_SHOWN(issue(MEMORY_EXHAUSTED),
               "Platzzahlen\\. Betroffen: cn=\u00e4 Grund: jemand anders hat sie ge\u00e4ndert\n$");
  messageSubject = "dn:: Y249YQ==\n";
  EXPECT_SHOWN(issue(MEMORY_EXHAUSTED), " Betroffen: ein Eintrag, dessen DN nicht gezeigt werden kann Grund: ");
}

TEST_F(German, TellsTheReasonBehindAReason) {
  snprintf(messageReason, sizeof messageReason, "%s%s", detailText(NOT_REGULAR), detailText(INPUT_NOT_WRITABLE));
  EXPECT_SHOWN(
      issue(FILE_NOT_OPENED, "a"),
      " Die Datei a konnte nicht ge\u00f6ffnet werden: es ist keine gew\u00f6hnliche Datei \\(die Eingabe muss "
      "beschreibbar sein, obwohl sie nie ge\u00e4ndert wird\\)\n$");
}

TEST_F(German, TellsTheReasonWithinASentence) {
  messageDetails = {
      .sentence = NOT_WRITTEN,
      .values = {MessageValue{"dn: cn=a\n", 0}, "b", MessageValue{"too many files are open", MessageValue::CAUSE}}};
  EXPECT_SHOWN(issue(PROCESSING_FAILED), " nicht in die Datei b geschrieben werden \\(zu viele Dateien sind offen\\)");
}

TEST_F(German, TellsAReasonThatItDoesNotKnowAsItStands) {
  strcpy(messageReason, "Sonnenfinsternis");
  EXPECT_SHOWN(issue(WRITE_FAILED, "a"), "Das Schreiben in die Datei a ist gescheitert: Sonnenfinsternis\n$");
}

TEST_F(German, ShowsTheUsageOnLinesOfItsOwn) {
  failWith(NAME_OF_FILE_TOO_LONG);
  EXPECT_SHOWN(issue(USAGE_ERROR), "brauchbar: ein Dateiname ist zu lang\nAufruf: tqldif2v6 Eingabe Ausgabe ");
}

TEST_F(German, ShowsProgress) {
  EXPECT_SHOWN(show(PROGRESS_OF_PASSES, {"7", "3.4", "12"}), "^Durchg\u00e4nge: 7 %, 3\\.4 MB/s, noch 12 s$");
}

TEST_F(German, GivesWayToEnglishAsAWhole) {
  setenv("LC_ALL", "C", 1);
  strcpy(messageReason, "");
  EXPECT_SHOWN(issue(WRITE_FAILED, "a"), ": Das Schreiben in die Datei a ist gescheitert\n$");
  failWith(TOO_MANY_STREAMS);  // has no umlaut, but the message has one
  EXPECT_SHOWN(issue(FILE_NOT_OPENED, "a"), ": The file a could not be opened: too many files are open\n$");
  failWith(CHANGED_BY_OTHERS);  // of which alone the translation has an umlaut
  EXPECT_SHOWN(issue(WRITE_FAILED, "\u00e4"), ": Writing to the file \u00e4 failed: something else has changed it\n$");
}

TEST_F(German, ShowsValuesThatTheTerminalLacksByTheirBytes) {
  setenv("LC_ALL", "C", 1);
  strcpy(messageReason, "");
  EXPECT_SHOWN(issue(WRITE_FAILED, "\u00e4\xe4"), "Datei \\\\xC3\\\\xA4\\\\xE4 ist gescheitert\n$");
}

}  // namespace
