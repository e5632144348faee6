#include "driver/command_line.h"

#include <sys/stat.h>
#include <unistd.h>

#include "driver/run_files.h"
#include "reporting/reporting.h"
#include "reporting/run_state.h"
#include "test_support.h"

namespace {

class CommandLine : public FreshRun {
 protected:
  void SetUp() override {
    FreshRun::SetUp();
    writeFile("in", "dn: o=a\n\n");
    input_ldif_filename[0] = output_ldif_filename[0] = temp_input_ldif_filename[0] = '\0';
  }
  static void take(Lines arguments) {
    arguments.insert(arguments.begin(), "tqldif2v6");
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    readCommandLine(static_cast<int>(arguments.size()), pointers.data());
  }
  // As the run goes on, with its files.
  static void read(const Lines& arguments) {
    take(arguments);
    openFilesOfRun();
  }
};

// One error message and the usage behind it.
constexpr char USAGE_MESSAGE[] = "^tqldif2v6: 380928314 ERROR: The command line cannot be used: [^\n]+\n.+\n$";

TEST_F(CommandLine, BecomesTheRunState) {
  take({"in", "out", "3", "2"});
  EXPECT_STREQ(input_ldif_filename, "in");
  EXPECT_STREQ(output_ldif_filename, "out");
  EXPECT_STREQ(temp_input_ldif_filename, "in.tmp");
  EXPECT_STREQ(debugFileName, "");
  EXPECT_EQ(max_number_of_secuser_slots, 3);
  EXPECT_EQ(max_number_of_secgroup_slots, 2);
  EXPECT_EQ(debug, 0);
}

TEST_F(CommandLine, SwitchesTracingOnWithATraceFile) {
  take({"in", "out", "3", "2", "trace"});
  EXPECT_STREQ(debugFileName, "trace");
  EXPECT_EQ(debug, 1);
}

struct CountCase {
  const char* name;
  const char* text;
  int32_t count;  // 0: refused
};
class SlotCount : public CommandLine, public testing::WithParamInterface<CountCase> {};
const CountCase countCases[] = {
    {"One", "1", 1},
    {"TrailingCharactersAreIgnored", "5x", 5},
    {"LeadingBlanksAndSign", " +7", 7},
    {"LeadingZerosAreDecimal", "010", 10},
    {"Largest", "2147483647", 2147483647},
    {"Zero", "0", 0},
    {"Negative", "-3", 0},
    {"NoDigits", "abc", 0},
    {"Empty", "", 0},
    {"HexadecimalIsZero", "0x5", 0},
    {"TooLargeFor32Bits", "2147483648", 0},
    {"WrapsToOneIn32Bits", "4294967297", 0},
    {"TooLargeForStrtol", "99999999999999999999", 0},
};
INSTANTIATE_CASES(SlotCount, countCases);
TEST_P(SlotCount, IsADecimalOfAtLeastOne) {
  if (GetParam().count > 0) {
    take({"in", "out", GetParam().text, "1"});
    EXPECT_EQ(max_number_of_secuser_slots, GetParam().count);
    take({"in", "out", "1", GetParam().text});
    EXPECT_EQ(max_number_of_secgroup_slots, GetParam().count);
  } else {
    EXPECT_EXIT(read({"in", "out", GetParam().text, "1"}), testing::ExitedWithCode(255), USAGE_MESSAGE);
    EXPECT_EXIT(read({"in", "out", "1", GetParam().text}), testing::ExitedWithCode(255), USAGE_MESSAGE);
  }
}

struct UsageCase {
  const char* name;
  Lines arguments;
};
class Usage : public CommandLine, public testing::WithParamInterface<UsageCase> {};
const UsageCase usageCases[] = {
    {"NoArgument", {}},
    {"ThreeArguments", {"in", "out", "1"}},
    {"SixArguments", {"in", "out", "1", "1", "trace", "more"}},
    {"InputNameTooLong", {repeated(4092, "x"), "out", "1", "1"}},
    {"OutputNameTooLong", {"in", repeated(4096, "x"), "1", "1"}},
    {"TraceNameTooLong", {"in", "out", "1", "1", repeated(1024, "x")}},
    {"InputAsOutput", {"in", "in", "1", "1"}},
    {"InputAsOutputByAnotherSpelling", {"in", ".//in", "1", "1"}},
    {"InputAsOutputByASymbolicLink", {"in", "symbolic", "1", "1"}},
    {"InputAsOutputByAHardLink", {"in", "hard", "1", "1"}},
    {"InputAsTrace", {"in", "out", "1", "1", "in"}},
    {"OutputAsTrace", {"in", "out", "1", "1", "out"}},
    {"OutputAsTraceByAnotherSpelling", {"in", "out", "1", "1", "./out"}},
    {"WorkFileAsOutput", {"in", "in.tmp", "1", "1"}},
    {"WorkFileAsTrace", {"in", "out", "1", "1", "in.tmp"}},
    {"PreservedWorkFileAsInput", {"TEMPORARY_INPUT_LDIF_FILE", "out", "1", "1", "trace"}},
    {"PreservedWorkFileAsOutput", {"in", "TEMPORARY_INPUT_LDIF_FILE", "1", "1", "trace"}},
    {"PreservedWorkFileAsTrace", {"in", "out", "1", "1", "TEMPORARY_INPUT_LDIF_FILE"}},
};
INSTANTIATE_CASES(Usage, usageCases);
TEST_P(Usage, CannotBeUsed) {
  ASSERT_EQ(symlink("in", "symbolic"), 0);
  ASSERT_EQ(link("in", "hard"), 0);
  writeFile("TEMPORARY_INPUT_LDIF_FILE", "dn: o=a\n\n");
  EXPECT_EXIT(read(GetParam().arguments), testing::ExitedWithCode(255), USAGE_MESSAGE);
  EXPECT_FALSE(exists("out"));
  EXPECT_FALSE(exists("trace"));
  EXPECT_EQ(readFile("in"), "dn: o=a\n\n");
}

TEST_F(CommandLine, TakesTheLongestNames) {
  take({repeated(4091, "x"), "out", "1", "1"});
  EXPECT_EQ(temp_input_ldif_filename, repeated(4091, "x") + ".tmp");
  take({"in", repeated(4095, "x"), "1", "1", repeated(1023, "y")});
  EXPECT_EQ(output_ldif_filename, repeated(4095, "x"));
  EXPECT_EQ(debugFileName, repeated(1023, "y"));
}

TEST_F(CommandLine, MayNameThePreservedWorkFileWhenNotTracing) {
  read({"in", "TEMPORARY_INPUT_LDIF_FILE", "1", "1"});
  EXPECT_STREQ(output_ldif_filename, "TEMPORARY_INPUT_LDIF_FILE");
}

TEST_F(CommandLine, MayNameADeviceTwice) {
  read({"in", "/dev/null", "1", "1", "/dev/null"});
  EXPECT_STREQ(output_ldif_filename, "/dev/null");
}

}  // namespace
