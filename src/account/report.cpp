#include "account/report.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <iterator>
#include <string>

#include "rules/attribute.h"
#include "rules/text.h"
#include "survey/shown_place.h"
#include "survey/shown_values.h"
#include "survey/spellings.h"

// By LineFate.
static constexpr const char* fateNames[] = {"not_written", "absorbed", "renamed",     "kept",
                                            "replaced",    "replaced", "bookkeeping", "looks_like_bookkeeping",
                                            "lost"};

static_assert(std::size(fateNames) == NUMBER_OF_FATES);

// By EntryState.
static constexpr const char* stateNames[] = {"not in the output as it should be", "copied", "merged", "not written",
                                             "lines of it read as nothing once they are written"};
static_assert(std::size(stateNames) == NUMBER_OF_STATES);

static constexpr int64_t SHOWN_OF_EACH = 10;

static bool isAsked(const AccountOptions& options) {
  return options.entry != nullptr || (options.all && !options.json);
}

void AccountReport::begin() {
  if (options_.json) fputs("{\"losses\": [", stdout);
}

// Kept until the end, because JSON has the list of the losses open meanwhile, and two lists cannot be written at
// once.
void AccountReport::take(const Finding& finding) {
  if (changesOf_[finding.id]++ < SHOWN_OF_EACH || options_.all || options_.json) changes_.push_back(finding);
}

void AccountReport::takeLoss(const EntryFate& entry, size_t line) {
  const uint64_t place = entry.begin + entry.origins[line].place;
  const LineFate fate = (*entry.fates)[line];
  if (options_.json) {
    const std::string attribute = attributeAt(input_, place);
    Json loss = {{"line", lineNumberOf(input_, place)},
                 {"dn", jsonDn(input_, entry.begin)},
                 {"attribute", attribute.empty() ? Json() : Json(attribute)},
                 {"how", fateNames[fate]}};
    if (options_.values) loss["text"] = attribute + valueAt(input_, place);
    // Written at once: a million losses need no memory.
    fputs(losses_ > 0 ? ",\n" : "\n", stdout);
    fputs(dumped(loss).c_str(), stdout);
  } else if (lossesOf_[fate] < SHOWN_OF_EACH) {
    // A screen takes no more of them; their number is counted all the same.
    shown_.push_back({entry.begin, place, fate});
  }
  ++lossesOf_[fate];
  ++losses_;
}

// The administrator may have the DN from anywhere, in another letter case and with other blanks.
static bool isDnLine(SurveyedFile& input, uint64_t place, std::string_view dn) {
  const std::string text = wholeLineAt(input, place);
  const Line line = scanLine(withoutMark(text));
  std::string decoded;
  return isNamed(line, "dn") &&
         isSameInAnyCase(withoutSpareBlanks(dn), withoutSpareBlanks(decodedValueOf(line, decoded)));
}

// It need not be the first line: what stands above it, or two entries without an empty line between them, are taken for
// one entry.
static bool hasDn(SurveyedFile& input, const EntryFate& entry, std::string_view dn) {
  const auto isOther = [&](const Line& line) {
    const Origin& origin = entry.origins[static_cast<size_t>(&line - entry.lines.data())];
    return isNamed(line, "dn") && origin.line != NO_LINE && isDnLine(input, entry.begin + origin.place, dn);
  };
  return isDnLine(input, entry.begin, dn) || std::any_of(entry.lines.begin(), entry.lines.end(), isOther);
}

bool AccountReport::isWanted(const EntryFate& entry) {
  if (options_.entry == nullptr) return true;
  if (asked_ == entry.begin) return isWanted_;
  asked_ = entry.begin;
  isWanted_ = hasDn(input_, entry, options_.entry);
  return isWanted_;
}

// Why a line is lost in whose place there is no other. Of a record that is missing that is said already.
static const char* reasonOf(const EntryFate& entry, const Line& line) {
  if (isBlankLine(line.view())) return "  (blank once it is written)";
  return entry.sources.empty() ? "" : "  (not merged)";
}

// The line that has taken the place of another one.
void AccountReport::writeTaker(const Line& taker, uint64_t source, Road road) {
  if (source == NO_PLACE)
    fputs("  by a line that is added", stdout);
  else
    printf("  by line %" PRId64, lineNumberOf(input_, source));
  if (isDropped(taker, road)) fputs(", which is dropped", stdout);
  if (options_.values) printf(": %s", harmless(std::string(taker.content())).c_str());
}

// The name of the attribute in a line of the input.
static std::string shownAttribute(SurveyedFile& input, uint64_t place) {
  const std::string attribute = attributeAt(input, place);
  return attribute.empty() ? "(no attribute name)" : attribute;
}

// What became of a line of the input, and why.
void AccountReport::writeFate(const EntryFate& entry, Takers& takers, size_t i) {
  const LineFate fate = (*entry.fates)[i];
  const Line& line = entry.lines[i];
  const uint64_t place = entry.begin + entry.origins[i].place;
  printf("  line %" PRId64 "  %s  %s", lineNumberOf(input_, place), fateNames[fate],
         shownAttribute(input_, place).c_str());
  if (options_.values) fputs(harmless(valueAt(input_, place)).c_str(), stdout);
  const Line* const taker = takers.takerOf(i);
  if (taker != nullptr) writeTaker(*taker, takers.placeOf(*taker), entry.road);
  if (fate == LOST && taker == nullptr) fputs(reasonOf(entry, line), stdout);
  puts("");
}

void AccountReport::writeHead(const EntryFate& entry) {
  printf("%sline %" PRId64 ": %s: %s", entriesWritten_++ > 0 ? "\n" : "", lineNumberOf(input_, entry.begin),
         shownDnAt(input_, entry.begin).c_str(), stateNames[entry.what]);
  if (entry.what == IS_MERGED) printf(" into %s", harmless(std::string(behindSpaces(entry.record.substr(3)))).c_str());
  puts("");
  written_ = entry.begin;
}

// The lines by their number, each with what became of it.
void AccountReport::writeEntry(const EntryFate& entry) {
  // The lines of an entry that is too long to be held come one by one.
  if (entry.road != OVERSIZED || written_ != entry.begin) writeHead(entry);
  Takers takers(entry);
  uint32_t last = NO_LINE;
  for (size_t i = 0; i < entry.lines.size(); ++i) {
    const Origin& origin = entry.origins[i];
    // Every line has its number, so that the list can be held beside the input.
    // Lines that were added, and further pieces of a long one, are none of the input.
    if (origin.line == NO_LINE || origin.isPiece || origin.line == last) continue;
    last = origin.line;
    writeFate(entry, takers, i);
  }
}

bool AccountReport::wantsEntries() const { return !options_.json && isAsked(options_); }

void AccountReport::takeEntry(const EntryFate& entry) {
  if (wantsEntries() && isWanted(entry)) writeEntry(entry);
}

static Json jsonDifference(SurveyedFile& input, SurveyedFile& output, const Difference& first) {
  if (!first.isAny) return {};
  return {{"input_line", first.inputPlace == NO_PLACE ? Json() : Json(lineNumberOf(input, first.inputPlace))},
          {"output_line", first.outputPlace == NO_RECORD ? Json() : Json(lineNumberOf(output, first.outputPlace))},
          {"text", first.text}};
}

// Everything in the output that does not come from a line of the input has been added, whatever it is.
static int64_t written(const Account& account) { return account.lines[KEPT] + account.lines[RENAMED]; }

void AccountReport::writeJson(const Account& account) {
  const auto& lines = account.lines;
  const auto& records = account.records;
  fputs(losses_ > 0 ? "\n],\n\"changes\": [" : "],\n\"changes\": [", stdout);
  // The list of losses ends here; what is kept follows it.
  bool isFirst = true;
  for (const Finding& change : changes_) {
    fputs(isFirst ? "\n" : ",\n", stdout);
    fputs(dumped(jsonProblem(input_, change, options_.values)).c_str(), stdout);
    isFirst = false;
  }
  const Json entries = {{"input", account.counts.entries},
                        {"copied", account.copied},
                        {"merged", account.merged},
                        {"not_written", account.notWritten}};
  const Json ofRecords = {{"users", records[USER_RECORD]},
                          {"groups", records[GROUP_RECORD]},
                          {"policies", records[POLICY_RECORD]},
                          {"containers", records[CONTAINER_RECORD]},
                          {"resource_credentials", records[CREDENTIALS_RECORD]},
                          {"straight_through", records[STRAIGHT_RECORD]}};
  const Json ofLines = {{"input", account.counts.attributeLines},
                        {"kept", lines[KEPT]},
                        {"renamed", lines[RENAMED]},
                        {"replaced", lines[REPLACED] + lines[REPLACED_BY_SAME]},
                        {"absorbed", lines[ABSORBED]},
                        {"bookkeeping", lines[BOOKKEEPING]},
                        {"looks_like_bookkeeping", lines[LOOKS_LIKE_BOOKKEEPING]},
                        {"not_written", lines[LEFT_OUT]},
                        {"lost", lines[LOST]},
                        {"added", account.outputLines - written(account)},
                        {"output", account.outputLines}};
  printf("%s],\n\"verdict\": \"%s\",\n\"first_difference\": %s,\n\"entries\": %s,\n\"records\": %s,\n\"lines\": %s}\n",
         isFirst ? "" : "\n", account.first.isAny ? "differs" : "complete",
         dumped(jsonDifference(input_, output_, account.first)).c_str(), dumped(entries).c_str(),
         dumped(ofRecords).c_str(), dumped(ofLines).c_str());
}

// Returns how many of each kind of losses and changes are shown, so that all of it fits on a screen; with many kinds
// that is none.
int64_t AccountReport::shownOfEach() const {
  constexpr int64_t ROOM = 15;           // lines of a screen that the counts leave
  constexpr int64_t AROUND_LOSSES = 3;   // an empty line, what they are, and how many more
  constexpr int64_t AROUND_CHANGES = 4;  // what they are takes two
  const auto isAny = [](int64_t count) { return count > 0; };
  const int64_t losses = std::count_if(std::begin(lossesOf_), std::end(lossesOf_), isAny);
  const int64_t changes = std::count_if(std::begin(changesOf_), std::end(changesOf_), isAny);
  if (options_.all || losses + changes == 0) return SHOWN_OF_EACH;
  const int64_t room = ROOM - losses * AROUND_LOSSES - changes * AROUND_CHANGES;
  return std::clamp<int64_t>(room / (losses + changes), 0, SHOWN_OF_EACH);
}

// Writes a kind of losses or changes, of which there are so many, with the first ones of a list.
template <typename List, typename IsOfKind, typename Write>
void AccountReport::writeKind(const std::string& name, const std::string& what, int64_t count, const List& list,
                              IsOfKind isOfKind, Write write) {
  const int64_t most = shownOfEach();
  if (most > 0)
    printf("\n%s:%s\n", name.c_str(), what.c_str());
  else
    printf("%s: %" PRId64 "\n", name.c_str(), count);
  int64_t shown = 0;
  for (const auto& one : list) {
    if (!isOfKind(one) || (shown == most && !options_.all)) continue;
    write(one);
    ++shown;
  }
  // Their number says how much there is to do.
  if (most > 0 && count > shown) printf("  and %" PRId64 " more\n", count - shown);
}

void AccountReport::writeLosses() {
  for (const LineFate fate : {REPLACED, LOOKS_LIKE_BOOKKEEPING, LOST}) {
    if (lossesOf_[fate] == 0) continue;
    const auto write = [&](const Loss& loss) {
      std::string line = shownAttribute(input_, loss.line);
      if (options_.values) line += valueAt(input_, loss.line);
      printf("  line %" PRId64 ": %s, %s\n", lineNumberOf(input_, loss.line), shownDnAt(input_, loss.entry).c_str(),
             harmless(line).c_str());
    };
    writeKind(
        fateNames[fate], {}, lossesOf_[fate], shown_, [&](const Loss& loss) { return loss.fate == fate; }, write);
  }
}

void AccountReport::writeChanges() {
  for (int id = 0; id < NUMBER_OF_FINDINGS; ++id) {
    if (changesOf_[id] == 0) continue;
    const FindingKind& kind = kindOf(static_cast<FindingId>(id));
    const auto write = [&](const Finding& change) {
      printf("  line %" PRId64 ": %s\n", lineNumberOf(input_, change.place()), shownDnAt(input_, change.entry).c_str());
    };
    writeKind(
        std::string(kind.id) + " (" + nameOf(kind.effect) + ")", std::string(" ") + kind.what, changesOf_[id], changes_,
        [&](const Finding& change) { return change.id == id; }, write);
  }
}

void AccountReport::writeText(const Account& account) {
  const auto& lines = account.lines;
  const auto& records = account.records;
  const Difference& first = account.first;
  if (options_.entry != nullptr && entriesWritten_ == 0)
    printf("No entry of the input has the DN %s.\n", harmless(options_.entry).c_str());
  // Between what was asked of entries and the rest.
  if (isAsked(options_)) puts("");
  const std::string input = harmless(options_.input);
  if (first.isAny) {
    printf("%s is not a complete conversion of %s.\nFirst difference: ", harmless(options_.output).c_str(),
           input.c_str());
    const bool isInBoth = first.outputPlace != NO_RECORD && first.inputPlace != NO_PLACE;
    if (first.outputPlace != NO_RECORD) printf("line %" PRId64 " of it", lineNumberOf(output_, first.outputPlace));
    if (isInBoth) fputs(", ", stdout);
    if (first.inputPlace != NO_PLACE) printf("line %" PRId64 " of the input", lineNumberOf(input_, first.inputPlace));
    printf(". %s\n", first.text.c_str());
  } else {
    printf("%s is a complete conversion of %s. Losses: %" PRId64 ".\n", harmless(options_.output).c_str(),
           input.c_str(), losses_);
  }
  // Who asks for one entry does not want the rest.
  if (options_.entry != nullptr) return;
  printf("\nEntries %" PRId64 ": copied %" PRId64 ", merged %" PRId64 ", not written %" PRId64 "\n",
         account.counts.entries, account.copied, account.merged, account.notWritten);
  printf("Records: users %" PRId64 ", groups %" PRId64 ", policies %" PRId64 ", policy containers %" PRId64
         ", resource credentials %" PRId64 ", copied straight through %" PRId64 "\n",
         records[USER_RECORD], records[GROUP_RECORD], records[POLICY_RECORD], records[CONTAINER_RECORD],
         records[CREDENTIALS_RECORD], records[STRAIGHT_RECORD]);
  printf("Lines of the input %" PRId64 ": kept %" PRId64 ", renamed %" PRId64 ", absorbed %" PRId64
         ", replaced %" PRId64 ",\n  bookkeeping %" PRId64 ", looking like bookkeeping %" PRId64
         ", not written %" PRId64 ", lost %" PRId64 "\n",
         account.counts.attributeLines, lines[KEPT], lines[RENAMED], lines[ABSORBED],
         lines[REPLACED] + lines[REPLACED_BY_SAME], lines[BOOKKEEPING], lines[LOOKS_LIKE_BOOKKEEPING], lines[LEFT_OUT],
         lines[LOST]);
  printf("Lines of the output %" PRId64 ": added %" PRId64 "\n", account.outputLines,
         account.outputLines - written(account));
  if (shownOfEach() == 0) puts("");
  writeLosses();
  writeChanges();
  if (isAnyFound() && !options_.all) puts("(--all shows all changes and what became of every line)");
}

void AccountReport::end(const Account& account) {
  if (options_.json)
    writeJson(account);
  else
    writeText(account);
}
