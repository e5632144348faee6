// The sixteen messages: code, severity, text; and the texts of their details.
#pragma once

#include <cstdint>

#include "platform/detail_texts.h"

enum Severity { SEVERITY_ERROR, SEVERITY_WARNING, SEVERITY_NOTICE, NUMBER_OF_SEVERITIES };

// As they stand in a message line and in a routing.
inline constexpr const char* severityNames[NUMBER_OF_SEVERITIES] = {"ERROR", "WARNING", "NOTICE"};

// What becomes of a text when the reporting side has filled in the details.
enum MessageAddition {
  NO_ADDITION,
  REASON,             // the reason follows
  SUBJECT,            // what it concerns and the reason follow
  REASON_AND_USAGE,   // the reason and the usage follow
  SENTENCE_BEHIND,    // values are put in, the sentence follows
  SENTENCE_IN_PLACE,  // the sentence stands in place of the text, the hint follows
};

struct CatalogueMessage {
  uint32_t code;
  Severity severity;
  MessageAddition addition;
  const char* text;  // printf format; the arguments are those of the code. Without any: {1} and so on are values
};

// Returns the message of a code, or null when the catalogue has none.
const CatalogueMessage* findCatalogueMessage(uint32_t code);

// Returns the number of the message in the first set of translations: 1 for the first code, and so on.
int messageNumber(const CatalogueMessage& message);

// The text of a detail, in which {1} and so on are values. In translations it has its own number in the second set.
const char* detailText(DetailText text);
