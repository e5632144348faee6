// JSON values, and what stands in them, as both programs write them.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "survey/findings.h"
#include "survey/surveyed_file.h"

using Json = nlohmann::json;

// Returns the value as JSON text; what is not UTF-8 is replaced in it.
std::string dumped(const Json& value);

// The number of the line of a place, and the DN of the entry there; null where there is none.
Json jsonLine(SurveyedFile& file, uint64_t place);
Json jsonDn(SurveyedFile& file, uint64_t entry);

// What is said of the line of a finding: its attribute, and its value if that is asked for.
std::string lineText(SurveyedFile& file, const Finding& finding, bool withValue);

// A finding as one of the problems or changes.
Json jsonProblem(SurveyedFile& file, const Finding& finding, bool withValue);
