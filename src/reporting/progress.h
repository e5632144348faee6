// How far the run is, for somebody who watches it at a terminal.
#pragma once

#include <cstdint>

#include "platform/detail_texts.h"

// Shows what is done of a phase, in bytes: percent, rate and time left. Only where standard error is a terminal, when
// the phase has lasted a second, and seldom enough to cost nothing.
void showProgress(DetailText phase, int64_t done, int64_t total);
