#include "account/options.h"

#include <getopt.h>

#include "survey/program_end.h"

static constexpr char usage[] =
    "usage: tqldif2v6-account [--json] [--all] [--values] [--entry DN] INPUT OUTPUT\n"
    "  INPUT OUTPUT  the export and what the conversion has made of it; only read\n"
    "  --json        one JSON object instead of text\n"
    "  --all         what became of every line, by its number\n"
    "  --values      show values, too\n"
    "  --entry DN    what became of the entries of this DN, line by line\n"
    "  --help, --version\n"
    "exit status: 0 when the output is complete and nothing was lost, 1 for losses, changes or another output, 2 when\n"
    "the account itself failed\n";

AccountOptions readOptions(int argumentCount, char** arguments) {
  enum { JSON = 1, ALL, VALUES, ENTRY, HELP, VERSION };
  static constexpr option options[] = {{"json", no_argument, nullptr, JSON},
                                       {"all", no_argument, nullptr, ALL},
                                       {"values", no_argument, nullptr, VALUES},
                                       {"entry", required_argument, nullptr, ENTRY},
                                       {"help", no_argument, nullptr, HELP},
                                       {"version", no_argument, nullptr, VERSION},
                                       {nullptr, 0, nullptr, 0}};
  AccountOptions read;
  // The library says itself which option it does not know. Names behind two dashes may begin with one.
  for (int found = 0; (found = getopt_long(argumentCount, arguments, "", options, nullptr)) != -1;) {
    if (found == JSON) read.json = true;
    if (found == ALL) read.all = true;
    if (found == VALUES) read.values = true;
    if (found == ENTRY) read.entry = optarg;
    if (found == HELP) endWith(usage);
    if (found == VERSION) endWith("tqldif2v6-account " TQLDIF2V6_VERSION "\n");
    if (found == '?') endForUsage("an option is not known or incomplete", usage);
  }
  // A third name would be one too many to guess what was meant.
  if (argumentCount - optind != 2) endForUsage("two names are expected", usage);
  read.input = arguments[optind];
  read.output = arguments[optind + 1];
  return read;
}
