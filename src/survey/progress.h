// How far a program is, on standard error while that is a terminal.
#pragma once

#include <cstdint>

// Shows it now and then; cheap enough to be called for every entry.
void showSurveyProgress(const char* step, uint64_t done, uint64_t all);

// Takes the line away before anything else is shown.
void endSurveyProgress();
