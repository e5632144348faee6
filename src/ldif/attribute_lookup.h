// Attributes of the entry in the entry buffer, with folding undone and without line ends. The texts stay until the
// buffer is emptied, which is never changed here.
#pragma once

#include <cstdint>
#include <string_view>

// Returns the value of the first line that carries the attribute, as valueOf (rules/attribute.h) finds it; without data
// when there is none.
std::string_view obtainAttributeValueFromObjArray(const char* name);

// Returns the whole logical line that begins in the filled slot index. Ends the run with PROCESSING_FAILED
// when that slot holds a continuation line.
std::string_view obtainAttributeFromObjectArray(int32_t index);

// The same from the line's first colon on, the colon included.
std::string_view obtainAttributeValueFromObjectArray(int32_t index);
