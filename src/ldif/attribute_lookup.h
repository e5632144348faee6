// Attributes of the entry in the entry buffer, handed out as fresh strings with folding undone. Every result
// is a copy without line ends that the caller gives back with freeLine. The entry buffer is never changed.
#pragma once

#include <cstdint>

// Returns the value of the first line that carries the attribute, in whatever case the name is written; null
// when there is none. The name (without colon) is looked for anywhere in the line: it also matches a longer
// attribute name that ends in it, and a value that holds it in lower case. Only spaces are skipped before the
// value, so a base-64 value comes with its second colon in front.
[[nodiscard]] char* obtainAttributeValueFromObjArray(const char* name);

// Returns the whole logical line that begins in the filled slot index. Ends the run with PROCESSING_FAILED
// when that slot holds a continuation line.
[[nodiscard]] char* obtainAttributeFromObjectArray(int32_t index);

// The same from the line's first colon on, the colon included.
[[nodiscard]] char* obtainAttributeValueFromObjectArray(int32_t index);
