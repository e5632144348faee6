#include "platform/message_catalogue.h"

#define LOOK_FURTHER                                                                                 \
  " A work file left over from an earlier run (the input's name followed by .tmp) can be the cause." \
  " DEBUG_ERROR or a trace file shows more."

static constexpr CatalogueMessage catalogueMessages[] = {
    {380928300, SEVERITY_ERROR, SUBJECT,
     "Memory is exhausted. Give the conversion more memory or smaller slot counts."},
    {380928301, SEVERITY_ERROR, SUBJECT,
     "%s failed with return code %d: a position in a file could not be saved or restored."},
    {380928302, SEVERITY_ERROR, SUBJECT,
     "An entry could not be processed and the conversion has stopped." LOOK_FURTHER},
    {380928303, SEVERITY_ERROR, SUBJECT,
     "An entry was to be gathered where another one already is, and the conversion has stopped." LOOK_FURTHER},
    {380928304, SEVERITY_ERROR, REASON, "The file %s could not be opened"},
    {380928305, SEVERITY_ERROR, REASON, "The input file %s could not be prepared"},
    {380928306, SEVERITY_ERROR, REASON, "Writing to the file %s failed"},
    {380928307, SEVERITY_ERROR, REASON, "The next entry of the work file %s could not be read"},
    {380928308, SEVERITY_NOTICE, NO_ADDITION, "The conversion begins."},
    {380928309, SEVERITY_NOTICE, NO_ADDITION,
     "The entries of the input are being sorted into the output and the work file."},
    {380928310, SEVERITY_NOTICE, NO_ADDITION, "The work file is ready."},
    {380928311, SEVERITY_NOTICE, NO_ADDITION, "The passes over the work file begin."},
    {380928312, SEVERITY_NOTICE, NO_ADDITION, "A pass over the work file is under way."},
    {380928313, SEVERITY_NOTICE, NO_ADDITION, "The users and groups gathered in this pass are being written."},
    {380928314, SEVERITY_ERROR, REASON_AND_USAGE, "The command line cannot be used"},
    {380928315, SEVERITY_NOTICE, NO_ADDITION, "The conversion is complete."},
};

const char* const usageText =
    "usage: tqldif2v6 input output maxSecUserSlots maxSecGroupSlots [traceFile]\n"
    "  input             LDIF export of the registry; must be writable, is never changed\n"
    "  output            LDIF file to write in the version 6 layout; created or replaced\n"
    "  maxSecUserSlots   users gathered in memory in one pass, 1 or more\n"
    "  maxSecGroupSlots  groups gathered in memory in one pass, 1 or more\n"
    "  traceFile         when given, receives a trace that holds the entries; the work file\n"
    "                    (input.tmp) and a copy, TEMPORARY_INPUT_LDIF_FILE, are then kept\n"
    "environment: DEBUG_ERROR, set to anything, shows the details of an error on standard output\n"
    "exit status: 0 when the conversion is complete, 255 on any failure\n";

const CatalogueMessage* findCatalogueMessage(uint32_t code) {
  for (const CatalogueMessage& message : catalogueMessages)
    if (message.code == code) return &message;
  return nullptr;
}

int messageNumber(const CatalogueMessage& message) { return static_cast<int>(&message - catalogueMessages) + 1; }
