// The sixteen messages: code, severity, text.
#pragma once

#include <cstdint>

enum Severity { SEVERITY_ERROR, SEVERITY_WARNING, SEVERITY_NOTICE, NUMBER_OF_SEVERITIES };

// As they stand in a message line and in a routing.
inline constexpr const char* severityNames[NUMBER_OF_SEVERITIES] = {"ERROR", "WARNING", "NOTICE"};

// What follows a text when the reporting side has filled in the details.
enum MessageAddition { NO_ADDITION, REASON, SUBJECT, REASON_AND_USAGE };

struct CatalogueMessage {
  uint32_t code;
  Severity severity;
  MessageAddition addition;
  const char* text;  // printf format; the arguments are those of the code
};

// Returns the message of a code, or null when the catalogue has none.
const CatalogueMessage* findCatalogueMessage(uint32_t code);

// Returns the number of the message in translations: 1 for the first code, and so on.
int messageNumber(const CatalogueMessage& message);

// How the tool is called; all of the help there is.
extern const char* const usageText;
