#include "survey/shown_values.h"

#include "survey/shown_place.h"

// Bytes that are not UTF-8 become the replacement character: the reader of JSON must not stumble over one odd name.
std::string dumped(const Json& value) { return value.dump(-1, ' ', false, Json::error_handler_t::replace); }

Json jsonLine(SurveyedFile& file, uint64_t place) {
  return place == NO_PLACE ? Json() : Json(lineNumberOf(file, place));
}

Json jsonDn(SurveyedFile& file, uint64_t entry) {
  if (entry == NO_PLACE) return {};
  const ShownDn dn = dnAt(file, entry);
  return dn.isKnown ? Json(dn.text) : Json();
}

// Values can be secrets, and terminals and reports are read by others: only the name is shown unless they are asked
// for.
std::string lineText(SurveyedFile& file, const Finding& finding, bool withValue) {
  if (finding.line == NO_PLACE) return {};
  return attributeAt(file, finding.line) + (withValue ? valueAt(file, finding.line) : "");
}

static std::string sentences(SurveyedFile& file, const Finding& finding, bool withValue) {
  const FindingKind& kind = kindOf(finding.id);
  const std::string line = lineText(file, finding, withValue);
  return std::string(kind.what) + (line.empty() ? "" : " (" + line + ")") + " " + kind.advice;
}

Json jsonProblem(SurveyedFile& file, const Finding& finding, bool withValue) {
  const FindingKind& kind = kindOf(finding.id);
  const char* const at = nameOf(finding.at);
  return {{"line", jsonLine(file, finding.place())},
          {"dn", jsonDn(file, finding.entry)},
          {"id", kind.id},
          {"effect", nameOf(kind.effect)},
          // Only what ends a run depends on slot counts.
          {"at", at != nullptr ? Json(at) : Json()},
          {"text", sentences(file, finding, withValue)}};
}
