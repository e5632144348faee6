#include "check/options.h"

#include <getopt.h>

#include <cerrno>
#include <cstdlib>

#include "rules/object_class.h"
#include "survey/program_end.h"

static constexpr char usage[] =
    "usage: tqldif2v6-check [--json] [--all] [--values] [--split GOOD REJECTED] INPUT [MAXUSERS MAXGROUPS]\n"
    "  INPUT               LDIF export of the registry; only read\n"
    "  MAXUSERS MAXGROUPS  the slot counts of the conversion; as many as there are users and groups by default\n"
    "  --json              one JSON object instead of text\n"
    "  --all               every problem instead of ten of each kind\n"
    "  --values            show values, too\n"
    "  --split             write the entries that cannot be converted to REJECTED and all others to GOOD\n"
    "  --help, --version\n"
    "exit status: 0 when nothing was found, 1 for problems, 2 when the check itself failed\n";

static int32_t readSlotCount(const char* text) {
  char* end = nullptr;
  errno = 0;
  const long long count = strtoll(text, &end, 10);
  // Stricter than the conversion, which takes the digits that it finds: a slip of the finger should not be foretold,
  // but told.
  if (errno != 0 || end == text || *end != '\0' || count < 1 || count > INT32_MAX)
    endForUsage("a slot count must be a number from 1 to 2147483647", usage);
  return static_cast<int32_t>(count);
}

CheckOptions readOptions(int argumentCount, char** arguments) {
  enum { JSON = 1, ALL, VALUES, SPLIT, HELP, VERSION };
  static constexpr option options[] = {{"json", no_argument, nullptr, JSON},
                                       {"all", no_argument, nullptr, ALL},
                                       {"values", no_argument, nullptr, VALUES},
                                       {"split", required_argument, nullptr, SPLIT},
                                       {"help", no_argument, nullptr, HELP},
                                       {"version", no_argument, nullptr, VERSION},
                                       {nullptr, 0, nullptr, 0}};
  CheckOptions read;
  for (int found = 0; (found = getopt_long(argumentCount, arguments, "", options, nullptr)) != -1;) {
    if (found == JSON) read.json = true;
    if (found == ALL) read.all = true;
    if (found == VALUES) read.values = true;
    if (found == SPLIT) {
      // An option there means that a name has been forgotten, and would become the name of a file.
      if (optind >= argumentCount || *optarg == '-' || *arguments[optind] == '-')
        endForUsage("--split needs two names that do not begin with a dash", usage);
      read.good = optarg;
      // getopt_long takes one argument of an option; the second one is the next word.
      read.rejected = arguments[optind++];
    }
    if (found == HELP) endWith(usage);
    if (found == VERSION) endWith("tqldif2v6-check " TQLDIF2V6_VERSION "\n");
    if (found == '?') endForUsage("an option is not known or incomplete", usage);
  }
  // Slot counts come in pairs: for one of them alone the other would have to be guessed.
  const int left = argumentCount - optind;
  if (left != 1 && left != 3) endForUsage("one or three arguments are expected", usage);
  read.input = arguments[optind];
  if (left == 3) {
    read.slots[USER_SIDE] = readSlotCount(arguments[optind + 1]);
    read.slots[GROUP_SIDE] = readSlotCount(arguments[optind + 2]);
  }
  return read;
}
