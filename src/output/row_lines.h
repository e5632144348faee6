// The lines of the entries that become one record, as the rules take them.
#pragma once

#include <cstdint>
#include <vector>

#include "cache/object_cache.h"

// The entries of an owner that are merged.
enum MergeInput { OWN_ENTRY, MAP_ENTRY, USERS_ENTRY, NUMBER_OF_MERGE_INPUTS };

// Room for their lines, used for every record.
inline std::vector<Line> mergeInputs[NUMBER_OF_MERGE_INPUTS];

// Returns the lines of the slot's row and of those in which it goes on. They stay until the next call for the input.
std::vector<Line>& linesOfRow(const CacheMatrix& matrix, int32_t slot, MergeInput input);

// The same of the owner's own entry, looked through once for its name and its record: the record takes the lines, which
// a merge changes. To be forgotten when another record begins.
const std::vector<Line>& lookAtOwnEntry(const CacheMatrix& matrix, int32_t slot);
std::vector<Line>& takeOwnEntry(const CacheMatrix& matrix, int32_t slot);
void forgetOwnEntry();
