// Two entries of one owner become one.
#pragma once

// Merges two entries, each an array of lines closed by a null cell, into the entry buffer, whose former lines are
// freed. The inputs are only read. The result has the lines of the first input in their places, each with the
// value of the second input's first line that holds its attribute name; then the second input's remaining lines.
// Of secAuthority, the dn: line and the object classes the first input's count. Access-control, control and
// entry-UUID attributes are left out in their usual spellings, unless such a line of the second input is taken as
// the match of an attribute of the first. Ends the run with PROCESSING_FAILED for an empty input or a line without a
// colon.
void mergeObjects(char* const* inputObject1, char* const* inputObject2);
