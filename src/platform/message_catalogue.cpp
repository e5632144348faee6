#include "platform/message_catalogue.h"

#include <iterator>

// In the order of their codes, which is that of their numbers in translations.
static constexpr CatalogueMessage catalogueMessages[] = {
    {380928300, SEVERITY_ERROR, SUBJECT,
     "Memory is exhausted. Give the conversion more memory or smaller slot counts."},
    {380928301, SEVERITY_ERROR, SUBJECT,
     "%s failed with return code %d: a position in a file could not be saved or restored."},
    {380928302, SEVERITY_ERROR, SENTENCE_IN_PLACE, "An entry could not be processed, and the conversion has stopped."},
    {380928303, SEVERITY_ERROR, SENTENCE_IN_PLACE,
     "An entry was to be gathered where another one already is, and the conversion has stopped."},
    {380928304, SEVERITY_ERROR, REASON, "The file %s could not be opened"},
    {380928305, SEVERITY_ERROR, REASON, "The input file %s could not be prepared"},
    {380928306, SEVERITY_ERROR, REASON, "Writing to the file %s failed"},
    {380928307, SEVERITY_ERROR, REASON, "The next entry of the work file %s could not be read"},
    {380928308, SEVERITY_NOTICE, NO_ADDITION, "The conversion begins."},
    {380928309, SEVERITY_NOTICE, SENTENCE_BEHIND,
     "The entries of the input are being sorted into the output and the work file."},
    {380928310, SEVERITY_NOTICE, SENTENCE_BEHIND,
     "The work file is ready. Entries in it: users {1}, groups {2}, policies {3}, policy data {4}, maps {5}, "
     "resource credentials {6}. Entries copied to the output: authority information {7}, policies {8}, "
     "containers {9}, others {10}."},
    {380928311, SEVERITY_NOTICE, SENTENCE_BEHIND,
     "The passes over the work file begin, with slots for {1} users and {2} groups."},
    {380928312, SEVERITY_NOTICE, SENTENCE_BEHIND, "Pass {1} of about {2} over the work file is under way."},
    {380928313, SEVERITY_NOTICE, SENTENCE_BEHIND,
     "The users and groups gathered in this pass are being written: users {1}, groups {2}. {3} percent of the work "
     "file is done."},
    {380928314, SEVERITY_ERROR, REASON_AND_USAGE, "The command line cannot be used"},
    {380928315, SEVERITY_NOTICE, SENTENCE_BEHIND,
     "The conversion is complete. Written: users {1}, groups {2}, policies {3}, resource credentials {4}, "
     "entries copied as they were {5}. Not written: policy data {6}."},
};

// Ends that many sentences have in common: what has become of the run, and what to do.
#define STOPPED ", and the conversion has stopped. "
#define ADD_ATTRIBUTE STOPPED "Add the attribute or remove the "
#define START_AGAIN STOPPED "Make room or mend the disk, remove the work file and start again."

// By DetailText. A text that is put behind another begins with a blank. The reasons are no sentences: they stand behind
// a colon or in brackets.
static constexpr const char* detailTexts[] = {
    "",
    "whose DN cannot be shown",
    " (line {1})",

    // What stands behind the notices.
    "There is no work file from an earlier run.",
    "A work file from an earlier run is there, and its {1} bytes will be converted as well.",
    "The work file {7} could not be removed: {8}.",

    // What stands behind an error that such a work file may have led to.
    "A work file from an earlier run was converted as well and can be the cause.",

    // What is wrong with an entry. Each says what to do, because nobody has time to look it up in a maintenance window.
    "The user {1} has no secAuthority" ADD_ATTRIBUTE "user.",
    "The user {1} has no principalName" ADD_ATTRIBUTE "user.",
    "The entry {1} begins with the continuation of another line, such as a folded comment" STOPPED
    "Write the comment on one line or remove it.",
    "The entry {1} gets no install date because the local time is not known" STOPPED
    "Mend the time zone or add an installDate line.",
    "The entry {1} has more than 250,000 lines" STOPPED "Remove lines from it.",
    "The entry {1} of the work file is of an unknown class" STOPPED
    "It may be the rest of an entry with a line of 4,095 characters or more.",
    "The entry {1} has too long a DN, old or new" STOPPED "Shorten it to 4,094 characters at most.",
    "The entry {1} and all others that remain cannot be gathered" STOPPED "Try other slot counts.",
    "The entry {1} does not begin with a complete dn: line" STOPPED "Mend its first line.",
    "The entry {1} has a DN without a comma and so belongs to no user" STOPPED "Mend its DN or remove it.",
    "The entry {1} under cn=Users has no secAuthority" ADD_ATTRIBUTE "entry.",
    "The entry {1} under cn=Users has no secDN" ADD_ATTRIBUTE "entry.",
    "The map {1} has no secAuthority in its DN" STOPPED "Mend its DN or remove it.",
    "The map {1} has no secDN" ADD_ATTRIBUTE "map.",
    "The entry {1} names too long an owner DN" STOPPED "Shorten it to 19,998 characters at most.",
    "The user {1} has no secMap entry" STOPPED "Add its secMap entry or remove the user.",
    "The group {1} has no secMap entry" STOPPED "Add its secMap entry or remove the group.",
    "The entry {1} belongs to a user without a secUser entry of its own" STOPPED "Add that entry or remove this one.",
    "The map {1} belongs to a group without a secGroup entry" STOPPED "Add that entry or remove this one.",
    "The group {1} has no cn" ADD_ATTRIBUTE "group.",
    "The entry {1} has too long a name" STOPPED "Shorten it to 1,022 characters at most.",
    "The policy {1} has no secAuthority in its DN" STOPPED "Mend its DN or remove it.",
    "The entry {1} has a line without a colon" STOPPED "Mend the line; one that continues another begins with a blank.",
    "The entry {1} is of the same kind and owner as the entry {2}" STOPPED "Remove one of them.",
    "The entry {1} has more than the {2} lines that can be gathered of it" STOPPED "Remove lines from it.",

    // What is wrong with the files while entries go from one to the other.
    "The entry {1} could not be taken out of the work file {2} ({3})" START_AGAIN,
    "The entry {1} could not be passed over in the work file {2} ({3})" STOPPED
    "Mend the disk, remove the work file and start again.",
    "The entry {1} could not be written to the file {2} ({3})" START_AGAIN,
    "What had been gathered could not be taken out of the work file: remove it before you start again.",

    " Concerned: {1}",
    "an entry whose DN cannot be shown",
    " Reason: {1}",

    // Reasons why a file cannot be used beside those that the system knows.
    "not a regular file",
    "the file has a second hard link",
    "the file belongs to another user",
    "a symbolic link stands in its place",
    " (the input must be writable, although it is never changed)",
    "something else has replaced it",
    "another run is using it",
    "something else has changed it",
    "it has changed while it was read",
    "a standard stream leads to it",
    "too many files are open",
    "no position can be set in it",

    // Reasons why a command line cannot be used.
    "four or five arguments are expected",
    "a file name is too long",
    "a slot count must be a number of at least 1",
    "a slot count is too large",
    "two names lead to the same file: {1} and {2}",
    "standard error leads to the file {1}, which this run uses",
    "standard output leads to the file {1}, which this run uses",

    "usage: tqldif2v6 input output maxSecUserSlots maxSecGroupSlots [traceFile]\n"
    "  input             named first: LDIF export of the registry; must be writable, is never changed\n"
    "  output            named second: LDIF file to write in the version 6 layout; created, or replaced\n"
    "                    with all that it holds\n"
    "  maxSecUserSlots   users gathered in memory in one pass, 1 or more\n"
    "  maxSecGroupSlots  groups gathered in memory in one pass, 1 or more\n"
    "  traceFile         when given, receives a trace that holds the entries; the work file\n"
    "                    (input.tmp) and a copy, TEMPORARY_INPUT_LDIF_FILE, are then kept\n"
    "environment: DEBUG_ERROR, set to anything, shows the details of an error on standard output\n"
    "exit status: 0 when the conversion is complete, 255 on any failure",

    // Short, since terminals may be narrow.
    "preparation: {1} %, {2} MB/s, {3} s left",
    "passes: {1} %, {2} MB/s, {3} s left",

    "{1} has ended the conversion: the output is not complete.",
    "{1} has ended the conversion of {2}: the output {3} is not complete.",
    "{1} has ended the conversion of {2}: the output {3} is complete.",
};
static_assert(std::size(detailTexts) == NUMBER_OF_DETAIL_TEXTS);

const CatalogueMessage* findCatalogueMessage(uint32_t code) {
  for (const CatalogueMessage& message : catalogueMessages)
    if (message.code == code) return &message;
  return nullptr;
}

int messageNumber(const CatalogueMessage& message) { return static_cast<int>(&message - catalogueMessages) + 1; }

const char* detailText(DetailText text) { return detailTexts[text]; }
